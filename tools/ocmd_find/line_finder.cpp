// Junctions are made once and kept, for the lines of a configuration go the same ways again and
// again.
#include "tools/ocmd_find/line_finder.h"

#include "tools/support/tree_shape.h"

#include <algorithm>
#include <utility>

namespace find {

namespace {

// Places and candidates that are kept, at some two hundred bytes each; all are given up when there
// are more, and made again as needed.
constexpr size_t kMostKept = 1U << 20U;

} // namespace

size_t LineFinder::PlacesHash::operator()(const std::vector<Place> &places) const {
    uint64_t hash = 0;
    for (const Place &place : places) {
        const uint64_t bits = uint64_t{place.node} << 32U | uint64_t{place.values} << 1U |
                              static_cast<uint64_t>(place.is_entered);
        hash = (hash ^ bits) * 0x9E3779B97F4A7C15;
        hash ^= hash >> 29U;
    }
    return static_cast<size_t>(hash);
}

JunctionPtr LineFinder::junction_at(std::vector<Place> places) {
    std::sort(places.begin(), places.end());
    places.erase(std::unique(places.begin(), places.end()), places.end());
    if (const auto known = junctions_.find(places); known != junctions_.end())
        return known->second;

    auto made = std::make_shared<const Junction>(forest_, places);
    kept_ += made->size();
    if (kept_ > kMostKept) {
        junctions_.clear();
        kept_ = made->size();
    }
    junctions_.emplace(std::move(places), made);
    return made;
}

JunctionPtr LineFinder::junction_after(const std::vector<Match> &matches) {
    std::vector<Place> places(matches.size());
    std::ranges::transform(matches, places.begin(), &Match::to);
    return junction_at(std::move(places));
}

JunctionPtr LineFinder::submode_after(const Junction &end) {
    std::vector<Place> places;
    for (const Way &way : end.endings())
        if (tool::is_submode(forest_.node(way.node)))
            places.push_back({way.node, 0, true});
    return places.empty() ? nullptr : junction_at(std::move(places));
}

Resolution LineFinder::resolve(const JunctionPtr &start, const TypedLine &line, bool has_slashes) {
    Resolution resolution{{}, start, false};
    std::optional<Fallback> fallback;
    for (; resolution.word < line.words().size(); ++resolution.word) {
        if (has_slashes && enter_submode(resolution, line))
            continue;
        Reading reading = resolution.end->read(line, resolution.word);
        if (!reading.rest_matches.empty())
            fallback = {resolution.steps.size(),
                        {resolution.end, std::move(reading.rest_matches), resolution.word, true}};
        if (reading.matches.empty()) {
            resolution.reading = std::move(reading);
            break;
        }
        JunctionPtr next = junction_after(reading.matches);
        resolution.steps.push_back({std::exchange(resolution.end, std::move(next)),
                                    std::move(reading.matches), resolution.word, false});
    }
    resolution.is_read = resolution.word == line.words().size();
    if (fallback && !resolution.is_complete())
        fall_back(resolution, std::move(*fallback));
    return resolution;
}

void LineFinder::fall_back(Resolution &resolution, Fallback fallback) {
    resolution.steps.resize(fallback.step_count);
    resolution.end = junction_after(fallback.step.matches);
    resolution.steps.push_back(std::move(fallback.step));
    resolution.is_read = true;
}

bool LineFinder::enter_submode(Resolution &resolution, const TypedLine &line) {
    if (line.words()[resolution.word].text != "/")
        return false;
    JunctionPtr submode = submode_after(*resolution.end);
    if (submode == nullptr)
        return false;
    resolution.steps.push_back(
        {std::exchange(resolution.end, std::move(submode)), {}, resolution.word, false});
    return true;
}

} // namespace find
