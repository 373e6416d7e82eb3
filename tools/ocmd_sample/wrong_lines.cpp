// Each word of a line is changed by itself, and the resolver judges the result.
#include "tools/ocmd_sample/wrong_lines.h"

#include "tools/support/tree_shape.h"

#include <algorithm>
#include <array>

namespace sample {

namespace {

constexpr std::array kWrongForms{"?", "x", "-", "0x"};
constexpr const char *kSurplus = "surplus";

std::vector<std::string> misspelt(const std::string &keyword) {
    return {keyword + 'x', 'x' + keyword, keyword + '?'};
}

// Values past the bounds: below, above, too long.
std::vector<std::string> past_bounds(const parameter_info_t &parameter) {
    int64_t low = 0;
    int64_t high = 0;
    switch (tsh_parameter_bounds(nullptr, &parameter, &low, &high)) {
    case TSH_BOUNDS_NUMBERS: {
        const tsh_type_t *type =
            tsh_type_by_mask(nullptr, tsh_mask_next_type(parameter.type_mask, 0));
        const int base = type != nullptr && type->base == 16 ? 16 : 10;
        const auto text = [&](int64_t number) {
            std::array<char, 24> digits;
            snprintf(digits.data(), digits.size(), base == 16 && number >= 0 ? "%llx" : "%lld",
                     static_cast<long long>(number));
            return std::string{digits.data()};
        };
        return {text(low - 1), text(high + 1)};
    }
    case TSH_BOUNDS_LENGTH:
        return {std::string(static_cast<size_t>(high) + 1, 'x')};
    default:
        return {};
    }
}

} // namespace

void WrongLines::write(const Line &line) {
    if (!gather(line) || !writer_.is_accepted(checker_, join(line, words_.size())))
        return;
    for (size_t word = 0; word < words_.size(); ++word)
        if (!seen_.contains({line.record, line.nodes[words_[word].node_index]}))
            make_wrong(line, word);
    replace(line, words_.size(), kSurplus);
    for (const uint16_t node : line.nodes)
        seen_.insert({line.record, node});
}

bool WrongLines::gather(const Line &line) {
    words_.clear();
    for (size_t i = 0; i < line.nodes.size(); ++i) {
        const tree_node_t &node = speller_.node(line, i);
        const std::optional<std::vector<std::string>> texts = speller_.words_of(node);
        if (!texts)
            return false;
        const size_t keywords = texts->size() - node.param_count;
        for (size_t n = 0; n < texts->size(); ++n)
            words_.push_back({(*texts)[n], i, n < keywords ? nullptr : &node.params[n - keywords]});
    }
    return !words_.empty();
}

// A submode lies between two words.
bool WrongLines::begins_part(const Line &line, size_t word) const {
    const size_t above = word == 0 ? 0 : words_[word - 1].node_index;
    for (size_t i = above; word > 0 && i < words_[word].node_index; ++i)
        if (tool::is_submode(speller_.node(line, i)))
            return true;
    return word == 0;
}

size_t WrongLines::end_of_part(const Line &line, size_t word) const {
    while (++word < words_.size() && !begins_part(line, word)) {
    }
    return std::min(word, words_.size());
}

Spelling WrongLines::join(const Line &line, size_t count) const {
    Spelling spelling;
    for (size_t word = 0; word < count; ++word) {
        if (begins_part(line, word)) {
            if (word > 0)
                spelling.text += " / ";
            spelling.parts.push_back({spelling.text.size(), 0, 0});
        } else {
            spelling.text += ' ';
        }
        spelling.text += words_[word].text;
        spelling.parts.back().end = spelling.text.size();
        spelling.parts.back().node_count = words_[word].node_index + 1;
    }
    return spelling;
}

void WrongLines::make_wrong(const Line &line, size_t word) {
    const auto any = [&](const auto &texts) {
        std::ranges::any_of(texts, [&](const auto &text) { return replace(line, word, text); });
    };
    if (words_[word].parameter == nullptr) {
        any(misspelt(words_[word].text));
    } else {
        for (const std::string &text : past_bounds(*words_[word].parameter))
            replace(line, word, text);
        any(kWrongForms);
    }
    if (begins_part(line, word))
        return;
    const Spelling cut = join(line, word);
    if (cut_.insert(cut.text).second)
        refuses(line, cut, cut.text.size(), TSH_INCOMPLETE);
}

// Replaces a word, or adds one after the last.
bool WrongLines::replace(const Line &line, size_t word, const std::string &text) {
    const std::vector<Word> kept = words_;
    if (word == words_.size())
        words_.push_back({text, line.nodes.size() - 1, nullptr});
    else
        words_[word].text = text;
    const size_t place = join(line, word + 1).text.size() - text.size();
    const bool is_refused = refuses(line, join(line, end_of_part(line, word)), place, TSH_REFUSED);
    words_ = kept;
    return is_refused;
}

bool WrongLines::refuses(const Line &line, const Spelling &spelling, size_t place,
                         tsh_verdict_t verdict) {
    size_t begin = 0;
    if (writer_.resolve(checker_, spelling, begin) != verdict ||
        begin + tsh_answer_range(checker_.answer()).begin != place)
        return false;
    Line shortened = line;
    shortened.nodes.resize(spelling.parts.back().node_count);
    const size_t column = place - begin + writer_.indentation(spelling) + 1;
    writer_.write(shortened, spelling, false,
                  std::to_string(column) + ": " + tsh_answer_text(checker_.answer()));
    return true;
}

} // namespace sample
