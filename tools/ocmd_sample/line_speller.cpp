// Few lines need the resolver: a line whose words each exclude their siblings has one reading.
#include "tools/ocmd_sample/line_speller.h"

#include "tools/ocmd_find/answer.h"
#include "tools/ocmd_find/config_lines.h"
#include "tools/ocmd_sample/parameter_values.h"
#include "tools/support/command_lines.h"
#include "tools/support/tree_shape.h"

#include <algorithm>
#include <cctype>
#include <set>

namespace sample {

namespace {

enum Fact : uint8_t {
    kSubmode = 1,
    kOptional = 2,
    kValueFirst = 4,  // begins with a parameter
    kManyBelow = 8,   // has several children
    kDoubtBelow = 16, // a child may be skipped, or has the keyword of another
    kDoubtful = 32,   // its word is not what one types
    kHasValue = 64,
    kWithoutValue = 128 // no value is known, or it cannot be printed
};

bool is_usual(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_' || c == '.' ||
           c == '+' || c == ':';
}

bool is_printable(std::string_view text) {
    return std::ranges::none_of(text, [](char c) { return static_cast<unsigned char>(c) < ' '; });
}

std::string in_lower_case(std::string_view text) {
    std::string lower{text};
    std::ranges::transform(lower, lower.begin(), [](unsigned char c) { return std::tolower(c); });
    return lower;
}

bool takes_rest(const tree_node_t &node) {
    return std::ranges::any_of(tool::params_of(node), [](const parameter_info_t &parameter) {
        return tsh_mask_takes_rest(nullptr, parameter.type_mask) != 0;
    });
}

bool has_word(const tree_node_t &node) {
    return node.token[0] != '\0' || node.param_count > 0;
}

tsh_example_t example_for(ValueStyle style) {
    if (style == ValueStyle::kLowest)
        return TSH_EXAMPLE_LOWEST;
    return style == ValueStyle::kHighest ? TSH_EXAMPLE_HIGHEST : TSH_EXAMPLE_TYPICAL;
}

} // namespace

LineSpeller::LineSpeller(const tool::TreeFile &file, const LineNumbers &numbers, ValueStyle values,
                         Random &random)
    : file_(file), numbers_(numbers), values_(values), random_(random),
      words_(file.records().size()) {
    for (size_t record = 0; record < words_.size(); ++record) {
        const auto nodes = file.records()[record].nodes;
        words_[record].resize(nodes.size());
        for (const uint16_t index : numbers.children_first(record)) {
            Word &word = words_[record][index];
            word.facts = facts_of(record, index);
            bool has_value = true;
            word.text = text_of(nodes[index], values, has_value);
            if (!has_value)
                word.facts |= kWithoutValue;
        }
    }
}

uint8_t LineSpeller::facts_of(size_t record, uint16_t index) const {
    const auto nodes = file_.records()[record].nodes;
    const tree_node_t &node = nodes[index];
    const std::string_view token = tool::text_of(node.token);
    unsigned facts = (tool::is_submode(node) ? kSubmode : 0) | (node.optional != 0 ? kOptional : 0);
    if (values_ == ValueStyle::kTypes)
        return static_cast<uint8_t>(facts);
    if (token.empty() && node.param_count > 0)
        facts |= kValueFirst;
    if (!has_word(node) || !std::ranges::all_of(token, is_usual))
        facts |= kDoubtful;
    if (node.param_count > 0)
        facts |= kHasValue;
    const auto children = numbers_.links(record).below(index);
    if (children.size() > 1)
        facts |= kManyBelow;
    std::set<std::string> keywords;
    const bool is_doubtful = std::ranges::any_of(children, [&](uint16_t child) {
        const std::string_view keyword = tool::text_of(nodes[child].token);
        return nodes[child].optional != 0 || !has_word(nodes[child]) ||
               (!keyword.empty() && !keywords.insert(in_lower_case(keyword)).second);
    });
    if (is_doubtful || takes_rest(node))
        facts |= kDoubtBelow;
    return static_cast<uint8_t>(facts);
}

std::optional<std::vector<std::string>> LineSpeller::words_of(const tree_node_t &node,
                                                              ValueStyle values) const {
    std::vector<std::string> words;
    if (node.token[0] != '\0')
        words.emplace_back(tool::text_of(node.token));
    for (const parameter_info_t &parameter : tool::params_of(node)) {
        std::optional<std::string> value = values == ValueStyle::kRandom
                                               ? random_value_of(parameter, random_)
                                               : example_of(parameter, example_for(values));
        if (!value)
            return std::nullopt;
        words.push_back(std::move(*value));
    }
    if (!std::ranges::all_of(words, is_printable))
        return std::nullopt;
    return words;
}

std::string LineSpeller::text_of(const tree_node_t &node, ValueStyle values,
                                 bool &has_value) const {
    if (values == ValueStyle::kTypes)
        return tool::spelled_word(node);
    const std::optional<std::vector<std::string>> words = words_of(node, values);
    has_value = has_value && words.has_value();
    std::string text;
    for (const std::string &word : words.value_or(std::vector<std::string>{}))
        (text += text.empty() ? "" : " ") += word;
    return text;
}

// Whether the parameter that a word of a line begins with has a sibling that could be meant by the
// same value. Random values could mean any.
bool LineSpeller::collides(const Line &line, size_t index, ValueStyle values) {
    if (values == ValueStyle::kRandom || values == ValueStyle::kTypes)
        return values == ValueStyle::kRandom;
    const uint16_t parent = index == 0 ? 0 : line.nodes[index - 1];
    const uint64_t key =
        static_cast<uint64_t>(line.record) << 32U | uint32_t{parent} << 16U | line.nodes[index];
    const auto [place, is_new] = collisions_.try_emplace(key, false);
    if (!is_new)
        return place->second;
    const auto nodes = file_.records()[line.record].nodes;
    const parameter_info_t &own = node(line, index).params[0];
    const std::string value = example_of(own, example_for(values)).value_or("");
    const std::string folded = in_lower_case(value);
    place->second =
        std::ranges::any_of(numbers_.links(line.record).below(parent), [&](uint16_t sibling) {
            const tree_node_t &other = nodes[sibling];
            const std::string keyword = in_lower_case(tool::text_of(other.token));
            if (!keyword.empty())
                return keyword.starts_with(folded) || folded.starts_with(keyword);
            return other.params[0].type_mask != own.type_mask &&
                   tsh_value_check(nullptr, &other.params[0], value.data(), value.size(), nullptr,
                                   nullptr) == TSH_CHECK_ACCEPTED;
        });
    return place->second;
}

void LineSpeller::spell(const Line &line, OptionalWords optional, Spelling &spelling,
                        bool with_other_values) {
    const ValueStyle values = with_other_values ? ValueStyle::kRandom : values_;
    if (!try_to_spell(line, optional, values, spelling))
        try_to_spell(line, OptionalWords::kWith, values, spelling);
}

// @return false if a part is empty because words were left out.
bool LineSpeller::try_to_spell(const Line &line, OptionalWords optional, ValueStyle values,
                               Spelling &spelling) {
    const std::vector<Word> &words = words_[line.record];
    std::string &text = spelling.text;
    text.clear();
    spelling.parts.clear();
    spelling.leaves_out = false;
    spelling.has_value = true;
    bool is_doubtful = numbers_.record_count() > 1;
    unsigned above = numbers_.begins_with_root(line.record) ? 0 : words[0].facts;
    size_t begin = 0;
    for (size_t i = 0; i < line.nodes.size(); ++i) {
        const Word &word = words[line.nodes[i]];
        const unsigned facts = word.facts;
        const bool is_last = i + 1 == line.nodes.size();
        is_doubtful |= (above & kDoubtBelow) != 0 || (facts & kDoubtful) != 0 ||
                       ((above & kManyBelow) != 0 && (facts & kValueFirst) != 0 && !is_doubtful &&
                        collides(line, i, values));
        above = facts;
        const bool is_left_out = optional != OptionalWords::kWith && (facts & kOptional) != 0 &&
                                 ((facts & kSubmode) == 0 || is_last) &&
                                 (optional == OptionalWords::kWithout || random_.coin());
        spelling.leaves_out |= is_left_out;
        if (!is_left_out) {
            const size_t place = text.size();
            if (place > begin)
                text += ' ';
            if (values == ValueStyle::kRandom && (facts & kHasValue) != 0)
                text += text_of(node(line, i), values, spelling.has_value);
            else
                text += word.text;
            if (place > begin && text.size() == place + 1)
                text.resize(place);
            spelling.has_value = spelling.has_value && (facts & kWithoutValue) == 0;
        }
        if (is_last || (facts & kSubmode) != 0) {
            if (spelling.leaves_out && text.size() == begin)
                return false;
            spelling.parts.push_back({begin, text.size(), i + 1});
            if (!is_last)
                text += " / ";
            begin = text.size();
        }
    }
    spelling.is_doubtful = values_ != ValueStyle::kTypes && (is_doubtful || spelling.leaves_out);
    return true;
}

// ---- Checks ----

tsh_verdict_t LineChecker::resolve(std::string_view typed, uint32_t options) {
    tsh_context_leave(context_.get(), tsh_context_depth(context_.get()));
    return find::checked(
        tsh_resolve(context_.get(), typed.data(), typed.size(), options, answer_.get()));
}

tsh_verdict_t LineChecker::resolve_saved(const Spelling &spelling, uint32_t options) {
    tsh_context_leave(context_.get(), tsh_context_depth(context_.get()));
    for (size_t i = 0;; ++i) {
        const std::string_view part = spelling.part(i);
        const tsh_verdict_t verdict = find::checked(tsh_resolve(
            context_.get(), part.data(), part.size(), TSH_SAVED_LINE | options, answer_.get()));
        if (i + 1 == spelling.parts.size())
            return verdict;
        if (verdict != TSH_ACCEPTED)
            return verdict;
        if (!find::enter(*context_, *answer_))
            return TSH_REFUSED;
    }
}

bool LineChecker::accepts_typed(const Spelling &spelling) {
    return resolve(spelling.text, TSH_BRIEF) == TSH_ACCEPTED;
}

bool LineChecker::accepts_saved(const Spelling &spelling) {
    for (size_t i = 0; i < spelling.parts.size(); ++i)
        if (find::is_comment(spelling.part(i)))
            return false;
    return resolve_saved(spelling, TSH_BRIEF) == TSH_ACCEPTED;
}

} // namespace sample
