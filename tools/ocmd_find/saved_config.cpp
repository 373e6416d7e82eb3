// A line is tried in the submode that was opened last, then in those around it; the first that
// knows it closes those inside.
#include "tools/ocmd_find/saved_config.h"

#include "tools/ocmd_find/answer.h"
#include "tools/support/program.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>

namespace find {

namespace {

// Unknown words for which the nearest known one is looked for, at up to a millisecond each.
constexpr uint32_t kMostNearest = 200;

// No shell is deeper inside: its stack of ancestors holds no more.
constexpr size_t kMostLevels = TREE_MAX_LEVELS;

// More than any shell writes; what has no end is not read to it.
constexpr size_t kMostLineBytes = size_t{1} << 26U;

// The stream's next line, without its newline; of one that is too long, a byte too many.
std::optional<std::string> next_line(FILE *stream) {
    std::string line;
    int byte = getc_unlocked(stream);
    if (byte == EOF)
        return std::nullopt;
    for (; byte != EOF && byte != '\n' && line.size() <= kMostLineBytes;
         byte = getc_unlocked(stream))
        line += static_cast<char>(byte);
    return line;
}

// Of lines that are no command, the one that more is known of tells the fault best.
bool is_closer(const Resolution &one, const Resolution &other) {
    const auto closeness = [](const Resolution &resolution) {
        const Reading &reading = resolution.reading;
        return std::pair{resolution.word, !reading.ambiguous.empty() || reading.value != nullptr};
    };
    return closeness(one) > closeness(other);
}

bool is_comment(const std::string &text) {
    const size_t first = text.find_first_not_of(" \t\r\f\v");
    return first == std::string::npos || text[first] == '!' || text[first] == '#';
}

} // namespace

bool ConfigCheck::check(FILE *stream, const std::string &name) {
    levels_ = {finder_.start()};
    name_ = name;
    line_number_ = 0;
    nearest_left_ = kMostNearest;
    bool are_all_known = true;
    while (std::optional<std::string> line = next_line(stream)) {
        ++line_number_;
        if (line->size() > kMostLineBytes)
            fail("a line of more than " + std::to_string(kMostLineBytes) +
                 " bytes, too long for a configuration");
        are_all_known = check_line(std::move(*line)) && are_all_known;
    }
    if (ferror(stream) != 0)
        fail(std::string{"cannot be read: "} + strerror(errno));
    return are_all_known;
}

bool ConfigCheck::check_line(std::string text) {
    if (is_comment(text))
        return true;
    const TypedLine line{std::move(text)};
    if (line.fault()) {
        tell(line.fault()->place, line.fault()->what);
        return false;
    }
    return line.words().empty() || enter_command(line);
}

bool ConfigCheck::enter_command(const TypedLine &line) {
    std::optional<Resolution> best;
    for (size_t level = levels_.size(); level-- > 0;) {
        Resolution resolution = finder_.resolve(levels_[level], line, false);
        if (resolution.is_complete()) {
            levels_.resize(level + 1);
            return open_submode(*resolution.end);
        }
        if (!best || is_closer(resolution, *best))
            best = std::move(resolution);
    }
    tell_refused(line, *best);
    return false;
}

void ConfigCheck::tell_refused(const TypedLine &line, const Resolution &closest) {
    const Refusal refusal = refusal_of(finder_.forest(), line, closest);
    // The first word might have been meant for any submode, the others for one only.
    std::vector<JunctionPtr> places = levels_;
    if (closest.word > 0)
        places = {closest.end};
    std::string suggestion;
    if (nearest_left_ > 0 && refusal.is_unknown) {
        --nearest_left_;
        suggestion = suggestion_for(line.words()[closest.word].text, places);
    }
    tell(refusal.place, refusal.what + suggestion);
}

bool ConfigCheck::open_submode(const Junction &end) {
    JunctionPtr submode = finder_.submode_after(end);
    if (submode == nullptr)
        return true;
    if (levels_.size() == kMostLevels) {
        tell(0, "more than " + std::to_string(kMostLevels - 1) + " submodes inside one another");
        return false;
    }
    levels_.push_back(std::move(submode));
    return true;
}

void ConfigCheck::tell(size_t place, const std::string &what) {
    output_ << name_ << ':' << line_number_ << ':' << static_cast<uint64_t>(place + 1) << ": "
            << what << '\n';
}

// What was told of lines comes first.
void ConfigCheck::fail(const std::string &what) {
    output_.flush();
    tool::fail("%s: %s", name_.c_str(), what.c_str());
}

} // namespace find
