// Values of a YAML document.
#include "tools/ocmd_compile/yaml_values.h"

#include "tools/support/wording.h"

#include <algorithm>
#include <functional>
#include <map>
#include <utility>

namespace compiler {

using tool::quoted_start;

// ---- Reports ----

void YamlValues::error(SourceRange place, std::string text, std::vector<Note> notes) {
    ++errors_;
    messages_.error(*yaml_.file, place, std::move(text), std::move(notes));
}

void YamlValues::error_at(const KeyValue &pair, std::string text, std::vector<Note> notes) {
    error(place_of(pair), std::move(text), std::move(notes));
}

void YamlValues::error_at_key(const KeyValue &pair, std::string text, std::vector<Note> notes) {
    error(key_place(pair), std::move(text), std::move(notes));
}

void YamlValues::unknown_key(const KeyValue &pair, const char *where,
                             std::span<const std::string_view> known, const std::string &hint) {
    const bool is_shown = messages_.keeps_next(*yaml_.file);
    const std::string meant = is_shown ? tool::suggestion(key(pair).text, known) : "";
    error_at_key(pair, "unknown key " + quoted_start(key(pair).text) + " " + where +
                           (meant.empty() ? hint : meant));
}

Note YamlValues::note(SourceRange place, std::string text) const {
    return {yaml_.file, place, std::move(text)};
}

SourceRange YamlValues::place_of(const KeyValue &pair) const {
    const SourceRange place = yaml_[pair.value].place;
    return place.begin == place.end ? key_place(pair) : place;
}

// Parts of texts that stand in the file as they are have places of their own.
PartReporter YamlValues::part_reporter_at(SourceRange whole) {
    const auto report = [this, whole](std::string_view part, std::string text) {
        const auto bytes = reinterpret_cast<uintptr_t>(yaml_.file->bytes().data());
        const auto there = reinterpret_cast<uintptr_t>(part.data()); // or in the store of texts
        const bool inside = !part.empty() && there >= bytes + whole.begin &&
                            there + part.size() <= bytes + whole.end;
        const auto begin = static_cast<uint32_t>(there - bytes);
        error(inside ? SourceRange{begin, begin + static_cast<uint32_t>(part.size())} : whole,
              std::move(text));
    };
    return {report, messages_.keeps_next(*yaml_.file)};
}

// ---- Nodes ----

bool YamlValues::is_empty(const KeyValue &pair) const {
    const YamlNode &node = value(pair);
    return node.kind == YamlKind::kScalar && node.plain && node.text.empty();
}

// Aliases let a short file stand for an endless one. Each node is read once where it stands; beyond
// that, the largest tree repeats less than 16 nodes and 1 KB for each of its 65,536 words.
YamlValues::Budget YamlValues::full_budget(const YamlDocument &yaml) {
    constexpr size_t kRepeatedNodes = size_t{1} << 22U;
    constexpr size_t kRepeatedBytes = size_t{1} << 26U;
    constexpr size_t kBytesOfEscape = 2; // "\P" has 2 bytes and stands for 3
    return {yaml.nodes.size() + kRepeatedNodes,
            kBytesOfEscape * yaml.file->bytes().size() + kRepeatedBytes};
}

bool YamlValues::may_read(const KeyValue &pair) {
    const size_t bytes = key(pair).text.size() + value(pair).text.size();
    const bool is_enough = !left_.exhausted && left_.nodes > 0 && bytes <= left_.bytes;
    if (is_enough) {
        --left_.nodes;
        left_.bytes -= bytes;
    } else if (!left_.exhausted) {
        error_at_key(pair, "aliases repeat more than 4,194,304 nodes or 67,108,864 bytes");
        left_.exhausted = true;
    }
    return is_enough;
}

std::vector<KeyValue> YamlValues::items(uint32_t sequence) {
    std::vector<KeyValue> items;
    if (yaml_[sequence].kind == YamlKind::kSequence)
        for (uint32_t i = sequence + 1; i < yaml_[sequence].end && may_read({i, i});
             i = yaml_[i].end)
            items.push_back({i, i});
    return items;
}

std::vector<KeyValue> YamlValues::pairs(uint32_t mapping) {
    std::vector<KeyValue> pairs;
    if (yaml_[mapping].kind != YamlKind::kMapping)
        return pairs;
    constexpr size_t kUsual = 4;
    pairs.reserve(kUsual);
    for (uint32_t i = mapping + 1; i < yaml_[mapping].end;) {
        const KeyValue pair{i, yaml_[i].end};
        i = yaml_[pair.value].end;
        if (!may_read(pair))
            break;
        if (key(pair).kind == YamlKind::kScalar)
            pairs.push_back(pair);
        else if (key(pair).kind != YamlKind::kBroken)
            error_at_key(pair, "key must be a string");
    }
    return may_have_repeats(pairs) ? without_repeats(pairs) : pairs;
}

bool YamlValues::may_have_repeats(const std::vector<KeyValue> &pairs) const {
    constexpr size_t kFew = 8; // compared one by one sooner than sorted
    const auto text = [&](const KeyValue &pair) { return tagged_text(pair); };
    if (pairs.size() <= kFew) {
        for (auto pair = pairs.begin(); pair != pairs.end(); ++pair)
            if (std::ranges::find(pairs.begin(), pair, text(*pair), text) != pair)
                return true;
        return false;
    }
    std::vector<size_t> hashes(pairs.size());
    std::ranges::transform(pairs, hashes.begin(), [&](const KeyValue &pair) {
        return std::hash<std::string_view>{}(key(pair).text);
    });
    std::ranges::sort(hashes);
    return std::ranges::adjacent_find(hashes) != hashes.end();
}

std::vector<KeyValue> YamlValues::without_repeats(const std::vector<KeyValue> &pairs) {
    std::vector<KeyValue> firsts;
    std::map<std::pair<std::string_view, bool>, SourceRange> seen;
    for (const KeyValue &pair : pairs) {
        const auto [first, is_new] = seen.emplace(tagged_text(pair), key_place(pair));
        if (is_new)
            firsts.push_back(pair);
        else
            error_at_key(pair, "duplicate key " + quoted_start(key(pair).text),
                         {note(first->second, "first used here")});
    }
    return firsts;
}

std::optional<std::string_view> YamlValues::scalar_text(const KeyValue &pair) {
    const YamlNode &node = value(pair);
    if (!node.of_bytes)
        return node.text;
    return decoded_once(bytes_, index_of(pair), [&]() -> std::optional<std::string_view> {
        const std::optional<std::string> bytes =
            read_bytes(node.text, part_reporter_at(yaml_[pair.value].place));
        return bytes ? std::optional{texts_.keep(*bytes)} : std::nullopt;
    });
}

std::optional<WordKey> YamlValues::word_key(uint32_t scalar, SourceRange place) {
    const YamlNode &node = yaml_[scalar];
    return decoded_once(keys_, scalar, [&] {
        return read_word_key(node.text, node.of_bytes, texts_, part_reporter_at(place));
    });
}

template <typename Value, typename Decode>
std::optional<Value>
YamlValues::decoded_once(std::unordered_map<uint32_t, std::optional<Value>> &known, uint32_t scalar,
                         const Decode &decode) {
    if (!yaml_[scalar].anchored)
        return decode();
    const auto [entry, is_new] = known.try_emplace(scalar);
    if (is_new)
        entry->second = decode();
    else if (!entry->second)
        count_errors(1);
    return entry->second;
}

} // namespace compiler
