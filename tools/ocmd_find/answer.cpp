// A property is a line of a name, a colon and a value; each word that may follow has its line.
#include "tools/ocmd_find/answer.h"

#include "base/escape.h"
#include "tools/support/command_lines.h"
#include "tools/support/program.h"
#include "tools/support/tree_shape.h"
#include "tools/support/utf8.h"
#include "tools/support/wording.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <set>
#include <utility>
#include <vector>

namespace find {

namespace {

using base::escaped;
using tool::printable;
using tool::TextOutput;

constexpr size_t kNameWidth = 12;
constexpr size_t kWidestWord = 32; // that is aligned with others

// Candidates with their help, each once. Omits those of the given node, whose last value is a LINE
// that could continue.
std::string listed_candidates(const tsh_answer_t &answer, const tree_node_t *read = nullptr) {
    std::vector<std::pair<std::string, std::string>> words;
    std::set<std::pair<std::string, std::string>> known;
    size_t width = 0;
    for (uint32_t n = 0; n < tsh_answer_candidate_count(&answer); ++n) {
        const tsh_candidate_t *candidate = tsh_answer_candidate(&answer, n);
        if (candidate->node == read)
            continue;
        std::pair word{escaped(candidate->text), escaped(candidate->node->help)};
        if (!known.insert(word).second)
            continue;
        width = std::max(width, std::min(word.first.size(), kWidestWord));
        words.push_back(std::move(word));
    }
    std::string text;
    for (const auto &[word, help] : words) {
        text.append("  ").append(word);
        if (!help.empty())
            text.append(width - std::min(width, word.size()) + 2, ' ').append(help);
        text += '\n';
    }
    return text;
}

void add_word(std::string &line, std::string_view word) {
    if (word.empty())
        return;
    // The byte after a closing quote would belong to the word before it.
    (line += line.empty() ? "" : line.ends_with('"') ? "  " : " ") += word;
}

void print_reading(const FileGrammar &grammar, const tsh_reading_t &reading, std::string_view typed,
                   TextOutput &output) {
    const bool is_complete = reading.command != nullptr;
    const tree_node_t &node = is_complete ? *reading.command : *reading.node;
    print_field(output, "command", command_of(reading));
    print_field(output, "line", typed_line(reading, typed));
    print_field(output, "complete", is_complete ? "yes" : "no");
    print_field(output, "node",
                std::string{node.name} + " (" + std::to_string(grammar.index_of(node)) + ")");
    print_field(output, "help", node.help);
    print_field(output, "function", node.func_id);
    print_field(output, "mode", node.mode_id);
    if (tool::is_submode(node))
        print_field(output, "submode", node.submode_help[0] == '\0' ? "yes" : node.submode_help);
}

void print_following(std::string_view heading, const tsh_context_t &context,
                     const std::string &line, const tree_node_t *read, tsh_answer_t &answer,
                     TextOutput &output) {
    checked(tsh_complete(&context, line.data(), line.size(), line.size(), 0, &answer));
    print_candidates(heading, answer, read, output);
}

} // namespace

std::string command_of(const tsh_reading_t &reading) {
    std::string line;
    for (uint32_t i = 0; i < reading.path_count; ++i) {
        const tree_node_t &node = *reading.path[i];
        add_word(line, tool::word_of(node));
        if (i + 1 < reading.path_count && (node.flags & TREE_FLAG_SUBMODE) != 0)
            add_word(line, "/");
    }
    return line;
}

std::string typed_line(const tsh_reading_t &reading, std::string_view typed) {
    std::string line;
    uint32_t level = 0;
    for (uint32_t i = 0; i < reading.word_count; ++i) {
        const tsh_word_t &word = reading.words[i];
        for (; level < word.level; ++level)
            add_word(line, "/");
        const std::string_view text =
            word.parameter < 0 ? std::string_view{word.text}
                               : typed.substr(word.range.begin, word.range.end - word.range.begin);
        const bool is_joined = i > 0 && reading.words[i - 1].range.end == word.range.begin &&
                               word.parameter == 0 && reading.words[i - 1].node == word.node &&
                               reading.words[i - 1].parameter < 0;
        if (is_joined)
            line += text;
        else
            add_word(line, text);
    }
    return line;
}

void print_field(TextOutput &output, std::string_view name, std::string_view value) {
    if (value.empty())
        return;
    output << name << ':';
    output.blanks(kNameWidth - name.size());
    output << escaped(value) << '\n';
}

void print_candidates(std::string_view heading, const tsh_answer_t &answer, const tree_node_t *read,
                      TextOutput &output) {
    const std::string candidates = listed_candidates(answer, read);
    if (!candidates.empty())
        output << heading << ":\n" << candidates;
}

size_t width_of(const std::string &text) {
    if (!tool::is_utf8(text))
        return tool::count_characters(text);
    size_t width = 0;
    for (const char *c = text.c_str(); *c != '\0'; c = g_utf8_next_char(c)) {
        const gunichar character = g_utf8_get_char(c);
        if (g_unichar_iszerowidth(character) == FALSE)
            width += g_unichar_iswide(character) != FALSE ? 2 : 1;
    }
    return width;
}

tsh_verdict_t checked(tsh_verdict_t verdict) {
    return verdict != TSH_NO_MEMORY ? verdict : throw std::bad_alloc{};
}

bool enter(tsh_context_t &context, const tsh_answer_t &answer) {
    const int32_t result = tsh_context_enter(&context, &answer);
    return result != -2 ? result == 0 : throw std::bad_alloc{};
}

void refuse_unreadable(const tsh_answer_t &answer) {
    const tsh_reason_t reason = tsh_answer_reason(&answer);
    if (reason == TSH_REASON_TOO_MANY_WORDS || reason == TSH_REASON_ZERO_BYTE)
        tool::fail("%s", tsh_answer_text(&answer));
}

tsh_verdict_t print_answer(const FileGrammar &grammar, std::string_view line, TextOutput &output) {
    const ContextPtr context = grammar.new_context();
    const AnswerPtr answer = grammar.new_answer();
    const tsh_verdict_t verdict =
        checked(tsh_resolve(context.get(), line.data(), line.size(), 0, answer.get()));
    refuse_unreadable(*answer);
    if (verdict == TSH_REFUSED || verdict == TSH_AMBIGUOUS) {
        print_refusal(*answer, line);
        return verdict;
    }
    for (uint32_t n = 0; n < tsh_answer_reading_count(answer.get()); ++n) {
        if (n > 0)
            output << '\n';
        print_reading(grammar, *tsh_answer_reading(answer.get(), n), line, output);
    }
    if (verdict == TSH_INCOMPLETE) {
        print_candidates("follows", *answer, nullptr, output);
        output.flush();
        tool::report("%s", tsh_answer_text(answer.get()));
    }
    if (verdict != TSH_ACCEPTED)
        return verdict;
    std::string continued{line};
    const AnswerPtr following = grammar.new_answer();
    print_following("follows", *context, continued.append(line.ends_with('"') ? "  " : " "),
                    tsh_answer_reading(answer.get(), 0)->node, *following, output);
    if (enter(*context, *answer))
        print_following("commands of the submode", *context, "", nullptr, *following, output);
    return verdict;
}

std::string suggestion_for(const tsh_answer_t &answer, std::string_view line) {
    const tsh_reason_t reason = tsh_answer_reason(&answer);
    if (reason != TSH_REASON_UNKNOWN && reason != TSH_REASON_VALUE)
        return "";
    const tsh_range_t range = tsh_answer_range(&answer);
    const std::string_view word = line.substr(range.begin, range.end - range.begin);
    std::vector<std::string_view> keywords;
    for (uint32_t n = 0; n < tsh_answer_candidate_count(&answer); ++n)
        if (const tsh_candidate_t *candidate = tsh_answer_candidate(&answer, n);
            candidate->insert[0] != '\0' &&
            (reason == TSH_REASON_UNKNOWN || !word.starts_with(candidate->insert)))
            keywords.emplace_back(candidate->insert);
    return escaped(tool::suggestion(word, keywords));
}

void print_refusal(const tsh_answer_t &answer, std::string_view line) {
    tool::report("%s%s", tsh_answer_text(&answer), suggestion_for(answer, line).c_str());
    const tsh_range_t range = tsh_answer_range(&answer);
    const std::string text = printable(line);
    const size_t left = width_of(text.substr(0, range.begin));
    const size_t width = width_of(text.substr(range.begin, range.end - range.begin));
    fprintf(stderr, "  %s\n  %s%s\n%s", text.c_str(), std::string(left, ' ').c_str(),
            std::string(std::max<size_t>(width, 1), '^').c_str(),
            listed_candidates(answer).c_str());
}

} // namespace find
