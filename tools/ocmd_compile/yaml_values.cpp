// Values of a YAML document.
#include "tools/ocmd_compile/yaml_values.h"

#include "tools/support/wording.h"

#include <algorithm>
#include <map>
#include <utility>

namespace compiler {

using tool::quoted;

// ---- Telling ----

void YamlValues::fault(Place place, std::string text, std::vector<Note> notes) {
    ++faults_;
    messages_.fault(*yaml_.file, place, std::move(text), std::move(notes));
}

void YamlValues::fault_at(const Pair &pair, std::string text, std::vector<Note> notes) {
    fault(place_of(pair), std::move(text), std::move(notes));
}

void YamlValues::fault_at_key(const Pair &pair, std::string text, std::vector<Note> notes) {
    fault(key_place(pair), std::move(text), std::move(notes));
}

void YamlValues::unknown_key(const Pair &pair, const char *where,
                             std::span<const std::string_view> known, const std::string &hint) {
    const bool is_shown = faults_ < Messages::kMostPerFile; // what is not need not be looked for
    const std::string meant = is_shown ? tool::suggestion(key(pair).text, known) : "";
    fault_at_key(pair, "unknown key " + quoted(key(pair).text) + " " + where +
                           (meant.empty() ? hint : meant));
}

Note YamlValues::note(Place place, std::string text) const {
    return {yaml_.file, place, std::move(text)};
}

Place YamlValues::place_of(const Pair &pair) const {
    const Place place = yaml_[pair.value].place;
    return place.begin == place.end ? key_place(pair) : place;
}

// Parts of texts that stand in the file as they are have places of their own.
TellPart YamlValues::tell_parts_at(Place whole) {
    return [this, whole](std::string_view part, std::string text) {
        const auto bytes = reinterpret_cast<uintptr_t>(yaml_.file->bytes().data());
        const auto there = reinterpret_cast<uintptr_t>(part.data()); // or in the store of texts
        const bool inside = !part.empty() && there >= bytes + whole.begin &&
                            there + part.size() <= bytes + whole.end;
        const auto begin = static_cast<uint32_t>(there - bytes);
        fault(inside ? Place{begin, begin + static_cast<uint32_t>(part.size())} : whole,
              std::move(text));
    };
}

// ---- Nodes ----

bool YamlValues::is_empty(const Pair &pair) const {
    const YamlNode &node = value(pair);
    return node.kind == YamlKind::kScalar && node.plain && node.text.empty();
}

// Aliases let a short text stand for an endless one. Each node is read once where it stands, and
// the largest tree may repeat a list of 128 permissions for every word.
bool YamlValues::may_read(uint32_t item) {
    constexpr size_t kMostRepeated = size_t{1} << 24U;
    const size_t most = yaml_.nodes.size() + kMostRepeated;
    if (read_ == most)
        fault(yaml_[item].place, "aliases repeat more than any grammar says");
    return read_++ < most;
}

std::vector<Pair> YamlValues::items(uint32_t sequence) {
    std::vector<Pair> items;
    if (yaml_[sequence].kind == YamlKind::kSequence)
        for (uint32_t i = sequence + 1; i < yaml_[sequence].end && may_read(i); i = yaml_[i].end)
            items.push_back({i, i});
    return items;
}

std::vector<Pair> YamlValues::pairs(uint32_t mapping) {
    std::vector<Pair> pairs;
    if (yaml_[mapping].kind != YamlKind::kMapping)
        return pairs;
    for (uint32_t i = mapping + 1; i < yaml_[mapping].end && may_read(i);) {
        const Pair pair{i, yaml_[i].end};
        i = yaml_[pair.value].end;
        if (key(pair).kind == YamlKind::kScalar)
            pairs.push_back(pair);
        else if (key(pair).kind != YamlKind::kBroken)
            fault_at_key(pair, "key must be a string");
    }
    const auto text = [&](const Pair &pair) { return tagged_text(pair); };
    std::vector<Pair> sorted = pairs;
    std::ranges::sort(sorted, {}, text);
    return std::ranges::adjacent_find(sorted, {}, text) == sorted.end() ? pairs
                                                                        : without_repeats(pairs);
}

std::vector<Pair> YamlValues::without_repeats(const std::vector<Pair> &pairs) {
    std::vector<Pair> firsts;
    std::map<std::pair<std::string_view, bool>, Place> seen;
    for (const Pair &pair : pairs) {
        const auto [first, is_new] = seen.emplace(tagged_text(pair), key_place(pair));
        if (is_new)
            firsts.push_back(pair);
        else
            fault_at_key(pair, "duplicate key " + quoted(key(pair).text),
                         {note(first->second, "first used here")});
    }
    return firsts;
}

std::optional<std::string_view> YamlValues::scalar_text(const Pair &pair) {
    const YamlNode &node = value(pair);
    if (!node.of_bytes)
        return node.text;
    const std::optional<std::string> bytes =
        read_bytes(node.text, tell_parts_at(yaml_[pair.value].place));
    return bytes ? std::optional{texts_.keep(*bytes)} : std::nullopt;
}

std::optional<WordKey> YamlValues::word_key(uint32_t scalar, Place place) {
    const YamlNode &node = yaml_[scalar];
    return read_word_key(node.text, node.of_bytes, texts_, tell_parts_at(place));
}

} // namespace compiler
