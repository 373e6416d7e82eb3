// Few lines need the resolver. Readings that are equally good spell a word differently only where a
// value is typed, because keywords in full are preferred to everything else.
#include "tools/ocmd_sample/line_speller.h"

#include "feature/tsh/src/str_list.h"
#include "tools/ocmd_find/answer.h"
#include "tools/ocmd_find/config_lines.h"
#include "tools/ocmd_find/saved_config.h"
#include "tools/ocmd_sample/parameter_values.h"
#include "tools/support/command_lines.h"
#include "tools/support/tree_shape.h"

#include <algorithm>
#include <cctype>
#include <set>

namespace sample {

namespace {

// Nodes of a line that cannot have too many words: a keyword, two values and a slash each.
constexpr size_t kMostUndoubted = STR_LIST_MAX_WORDS / (TREE_MAX_PARAMS + 2);

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

bool leaves_submode(std::string_view line) {
    static const find::LeavingWords words;
    const auto is_line = [lower = in_lower_case(line)](const std::string &word) {
        return word == lower;
    };
    return std::ranges::any_of(words.one, is_line) || std::ranges::any_of(words.all, is_line);
}

LineSpeller::LineSpeller(const tool::TreeFile &file, const LineNumbers &numbers, ValueStyle values,
                         Random &random)
    : file_(file), numbers_(numbers), values_(values), random_(random),
      words_(file.records().size()) {
    for (size_t record = 0; record < words_.size(); ++record)
        words_[record].resize(file.records()[record].nodes.size());
}

void Word::set(std::string_view text, std::pmr::memory_resource &memory) {
    size_ = static_cast<uint32_t>(text.size());
    char *place = inside_.data();
    if (!is_inside())
        outside_ = place = static_cast<char *>(
            memory.allocate(kSlash.size() + size_ + base::kCopyChunk, alignof(char)));
    place += kSlash.copy(place, kSlash.size());
    text.copy(place, text.size());
}

void LineSpeller::learn(size_t record, uint16_t index, Word &word) {
    const tree_node_t &node = file_.records()[record].nodes[index];
    word.add(Word::kKnown | facts_of(node));
    if (!has_fixed_words() && node.param_count > 0)
        return;
    bool has_value = true;
    word.set(text_of(node, values_, has_value), texts_);
    word.add(has_value ? 0U : Word::kWithoutValue);
}

// In the order of the file. What a word needs of its record is requested from memory in advance.
void LineSpeller::learn_all(size_t record) {
    constexpr size_t kAhead = 16;
    const auto nodes = file_.records()[record].nodes;
    std::vector<bool> is_reached(nodes.size());
    for (const uint16_t node : numbers_.children_first(record))
        is_reached[node] = true;
    for (size_t node = 0; node < nodes.size(); ++node) {
        const tree_node_t &later = nodes[std::min(node + kAhead, nodes.size() - 1)];
        __builtin_prefetch(&later.token);
        __builtin_prefetch(&later.flags);
        __builtin_prefetch(&later.param_count);
        if (is_reached[node])
            word(record, static_cast<uint16_t>(node));
    }
}

unsigned LineSpeller::facts_of(const tree_node_t &node) const {
    const unsigned facts = (tool::is_submode(node) ? Word::kSubmode : 0U) |
                           (node.optional != 0 ? Word::kOptional : 0U);
    if (values_ == ValueStyle::kTypes)
        return facts;
    const std::string_view token = tool::text_of(node.token);
    const bool has_value = node.param_count > 0;
    const bool is_unusual = !has_word(node) || !std::ranges::all_of(token, is_usual) ||
                            (tool::is_submode(node) && leaves_submode(token));
    return facts | (has_value ? Word::kHasValue : 0U) |
           (has_value && token.empty() ? Word::kValueFirst : 0U) |
           (takes_rest(node) ? Word::kTakesRest : 0U) | (is_unusual ? Word::kUnusual : 0U);
}

// Too many words; and where a value is typed, words before it that may have been understood in
// several ways, and siblings that could be meant by the same value.
bool LineSpeller::adds_doubt(size_t record, std::span<const uint16_t> nodes, ValueStyle values) {
    const Word &last = word(record, nodes.back());
    if (values_ == ValueStyle::kTypes)
        return false;
    const auto above = nodes.first(nodes.size() - 1);
    if (nodes.size() > kMostUndoubted || last.has(Word::kUnusual) ||
        (!above.empty() && word(record, above.back()).has(Word::kTakesRest)))
        return true;
    if (!last.has(Word::kHasValue))
        return false;
    const bool has_root = numbers_.begins_with_root(record);
    if ((!has_root && has_doubt_below(record, 0)) ||
        std::ranges::any_of(above, [&](uint16_t node) { return has_doubt_below(record, node); }))
        return true;
    if (!last.has(Word::kValueFirst) || (has_root && above.empty()))
        return false;
    return collides(record, above.empty() ? 0 : above.back(), nodes.back(), values);
}

bool LineSpeller::has_doubt_below(size_t record, uint16_t node) {
    Word &word = words_[record][node];
    if (!word.has(Word::kSiblingsKnown))
        word.add(Word::kSiblingsKnown | (finds_doubt_below(record, node) ? Word::kDoubtBelow : 0U));
    return word.has(Word::kDoubtBelow);
}

// Siblings with the same keyword, or with the same types, are entered by one word.
bool LineSpeller::finds_doubt_below(size_t record, uint16_t node) const {
    std::set<std::string> keywords;
    std::set<uint32_t> types;
    const auto nodes = file_.records()[record].nodes;
    return std::ranges::any_of(numbers_.links(record).below(node), [&](uint16_t index) {
        const tree_node_t &child = nodes[index];
        if (child.optional != 0 || !has_word(child))
            return true;
        return child.token[0] != '\0'
                   ? !keywords.insert(in_lower_case(tool::text_of(child.token))).second
                   : !types.insert(child.params[0].type_mask).second;
    });
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
bool LineSpeller::collides(size_t record, uint16_t parent, uint16_t node, ValueStyle values) {
    const auto siblings = numbers_.links(record).below(parent);
    if (siblings.size() == 1 || values == ValueStyle::kRandom)
        return siblings.size() > 1;
    const uint64_t key = static_cast<uint64_t>(record) << 32U | uint32_t{parent} << 16U | node;
    const auto [place, is_new] = collisions_.try_emplace(key, false);
    if (!is_new)
        return place->second;
    const auto nodes = file_.records()[record].nodes;
    const parameter_info_t &own = nodes[node].params[0];
    const std::string value = example_of(own, example_for(values)).value_or("");
    const std::string folded = in_lower_case(value);
    place->second = std::ranges::any_of(siblings, [&](uint16_t sibling) {
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
    std::string &text = spelling.text;
    text.clear();
    spelling.parts.clear();
    spelling.leaves_out = false;
    spelling.has_value = true;
    bool is_doubtful = numbers_.record_count() > 1;
    size_t begin = 0;
    for (size_t i = 0; i < line.nodes.size(); ++i) {
        const Word &word = this->word(line.record, line.nodes[i]);
        const bool is_last = i + 1 == line.nodes.size();
        is_doubtful =
            is_doubtful || adds_doubt(line.record, std::span{line.nodes}.first(i + 1), values);
        const bool is_left_out = optional != OptionalWords::kWith && word.has(Word::kOptional) &&
                                 (!word.has(Word::kSubmode) || is_last) &&
                                 (optional == OptionalWords::kWithout || random_.coin());
        spelling.leaves_out |= is_left_out;
        if (!is_left_out) {
            const size_t place = text.size();
            if (place > begin)
                text += ' ';
            if (values == ValueStyle::kRandom && word.has(Word::kHasValue))
                text += text_of(node(line, i), values, spelling.has_value);
            else
                text += word.text();
            if (place > begin && text.size() == place + 1)
                text.resize(place);
            spelling.has_value = spelling.has_value && !word.has(Word::kWithoutValue);
        }
        if (is_last || word.has(Word::kSubmode)) {
            if (spelling.leaves_out && text.size() == begin)
                return false;
            spelling.parts.push_back({begin, text.size(), i + 1});
            if (!is_last)
                text += Word::kSlash;
            begin = text.size();
        }
    }
    spelling.is_doubtful = values_ != ValueStyle::kTypes && (is_doubtful || spelling.leaves_out);
    return true;
}

// ---- Checks ----

LineChecker::Resolver &LineChecker::top_resolver() {
    if (!resolver_)
        resolver_.emplace(file_);
    tsh_context_t *context = resolver_->context.get();
    tsh_context_leave(context, tsh_context_depth(context));
    return *resolver_;
}

tsh_verdict_t LineChecker::resolve(std::string_view typed, uint32_t options) {
    const Resolver &resolver = top_resolver();
    return find::checked(tsh_resolve(resolver.context.get(), typed.data(), typed.size(), options,
                                     resolver.answer.get()));
}

tsh_verdict_t LineChecker::resolve_saved(const Spelling &spelling, uint32_t options) {
    const Resolver &resolver = top_resolver();
    for (size_t i = 0;; ++i) {
        const std::string_view part = spelling.part(i);
        const tsh_verdict_t verdict =
            find::checked(tsh_resolve(resolver.context.get(), part.data(), part.size(),
                                      TSH_SAVED_LINE | options, resolver.answer.get()));
        if (i + 1 == spelling.parts.size() || verdict != TSH_ACCEPTED)
            return verdict;
        if (!find::enter(*resolver.context, *resolver.answer))
            return TSH_REFUSED;
    }
}

bool LineChecker::accepts_typed(const Spelling &spelling) {
    has_too_many_submodes_ = false;
    return resolve(spelling.text, TSH_BRIEF) == TSH_ACCEPTED;
}

bool LineChecker::accepts_saved(const Spelling &spelling) {
    const size_t entered = spelling.parts.size() - 1;
    has_too_many_submodes_ = entered > find::kMostSubmodes;
    if (has_too_many_submodes_)
        return false;
    for (size_t i = 0; i < spelling.parts.size(); ++i) {
        const bool is_last = i + 1 == spelling.parts.size();
        if (find::is_comment(spelling.part(i)) || (!is_last && leaves_submode(spelling.part(i))))
            return false;
    }
    if (resolve_saved(spelling, TSH_BRIEF) != TSH_ACCEPTED)
        return false;
    const bool enters = tsh_answer_reading(answer(), 0)->is_submode != 0;
    has_too_many_submodes_ = enters && entered == find::kMostSubmodes;
    return !has_too_many_submodes_;
}

} // namespace sample
