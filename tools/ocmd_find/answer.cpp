// Answers are lines of a name, a colon and a value; words that may follow are lines of their own.
#include "tools/ocmd_find/answer.h"

#include "tools/ocmd_find/trail.h"
#include "tools/support/grammar_fields.h"
#include "tools/support/program.h"
#include "tools/support/tree_shape.h"
#include "tools/support/utf8.h"
#include "tools/support/wording.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace find {

namespace {

using tool::printable;
using tool::TextOutput;

// Words with their help, each once.
using Words = std::vector<std::pair<std::string, std::string>>;

constexpr size_t kNameWidth = 12;
constexpr size_t kWidestWord = 32; // that is lined up with others

template <size_t N> std::string text_in(const char (&field)[N]) {
    return printable(tool::text_of(field));
}

Words words_of(const Forest &forest, std::span<const Candidate *const> candidates) {
    Words words;
    std::set<Words::value_type> known;
    for (const Candidate *candidate : candidates) {
        Words::value_type word{printable(word_of(forest, *candidate)),
                               text_in(forest.node(candidate->way.node).help)};
        if (known.insert(word).second)
            words.push_back(std::move(word));
    }
    return words;
}

Words words_after(const Forest &forest, const Junction &junction) {
    std::vector<const Candidate *> candidates(junction.candidates().size());
    std::ranges::transform(junction.candidates(), candidates.begin(),
                           [](const Candidate &candidate) { return &candidate; });
    return words_of(forest, candidates);
}

Words words_of(const Forest &forest, const std::vector<Match> &matches) {
    std::vector<const Candidate *> candidates(matches.size());
    std::ranges::transform(matches, candidates.begin(), &Match::candidate);
    return words_of(forest, candidates);
}

std::string listed(const Words &words) {
    size_t width = 0;
    for (const auto &[word, help] : words)
        width = std::max(width, std::min(word.size(), kWidestWord));
    std::string text;
    for (const auto &[word, help] : words) {
        text.append("  ").append(word);
        if (!help.empty())
            text.append(width - std::min(width, word.size()) + 2, ' ').append(help);
        text += '\n';
    }
    return text;
}

std::string in_a_row(const Words &words) {
    std::string text;
    for (const auto &[word, help] : words)
        (text += text.empty() ? "" : ", ") += word;
    return text;
}

// A field without a value is left out.
void print_field(TextOutput &output, std::string_view name, std::string_view value) {
    if (value.empty())
        return;
    output << name << ':';
    output.blanks(kNameWidth - name.size());
    output << value << '\n';
}

void print_node(const Forest &forest, const Trail &trail, const Way &way, bool is_complete,
                TextOutput &output) {
    const tree_node_t &node = forest.node(way.node);
    const bool is_submode = tool::is_submode(node);
    print_field(output, "command", printable(trail.command));
    print_field(output, "line", printable(trail.line));
    print_field(output, "complete", is_complete ? "yes" : "no");
    print_field(output, "node",
                text_in(node.name) + " (" + std::to_string(forest.index_of(way.node)) + ")");
    print_field(output, "help", text_in(node.help));
    print_field(output, "function", text_in(node.func_id));
    print_field(output, "mode", text_in(node.mode_id));
    if (is_complete && is_submode)
        print_field(output, "submode",
                    node.submode_help[0] == '\0' ? "yes" : text_in(node.submode_help));
}

void print_following(std::string_view heading, const Forest &forest, const Junction &junction,
                     TextOutput &output) {
    if (!junction.candidates().empty())
        output << heading << ":\n" << listed(words_after(forest, junction));
}

// Where a line stands that may not end yet.
std::vector<Way> unfinished(const Junction &junction) {
    std::vector<Way> ways;
    for (uint32_t i = 0; i < junction.places().size(); ++i)
        ways.push_back({junction.places()[i].node, i});
    return ways;
}

// What of a line is to blame, and where it begins.
struct Blamed {
    std::string_view text;
    size_t place;
};

// What was measured as a value, else the word.
Blamed blamed_in(const TypedLine &line, const Resolution &resolution) {
    const TypedWord &word = line.words()[resolution.word];
    const Candidate *value = resolution.reading.value;
    if (value == nullptr)
        return {word.text, word.place};
    if (value->check->takes_rest())
        return {line.rest_from(resolution.word), line.place_with_quote(resolution.word)};
    return {word.value(), word.place};
}

// Columns of a terminal that a text takes up.
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

} // namespace

void print_answer(LineFinder &finder, const TypedLine &line, const Resolution &resolution,
                  TextOutput &output) {
    const Forest &forest = finder.forest();
    const Junction &end = *resolution.end;
    const bool is_complete = resolution.is_complete();
    const std::vector<Way> ways = is_complete ? end.endings() : unfinished(end);
    for (size_t i = 0; i < ways.size(); ++i) {
        if (i > 0)
            output << '\n';
        if (ways[i].node != Place::kStart)
            print_node(forest, trail_of(forest, line, resolution, ways[i]), ways[i], is_complete,
                       output);
    }
    print_following("follows", forest, end, output);
    if (const JunctionPtr submode = finder.submode_after(end))
        print_following("commands of the submode", forest, *submode, output);
}

Refusal refusal_of(const Forest &forest, const TypedLine &line, const Resolution &resolution) {
    if (resolution.is_read)
        return {"the command is not complete", line.text().size(), 0};
    const Reading &reading = resolution.reading;
    const Blamed blamed = blamed_in(line, resolution);
    Refusal refusal{tool::quoted(printable(blamed.text)), blamed.place, blamed.text.size()};
    if (!reading.ambiguous.empty()) {
        refusal.what += " is ambiguous: " + in_a_row(words_of(forest, reading.ambiguous));
    } else if (resolution.end->candidates().empty()) {
        refusal.what += " is too much: nothing can follow here";
    } else if (reading.value != nullptr) {
        refusal.what = "invalid " + printable(word_of(forest, *reading.value)) + " " +
                       refusal.what + ": " + reading.value_fault;
        refusal.is_unknown = reading.value->keyword.empty();
    } else {
        refusal.what += " is unknown here";
        refusal.is_unknown = true;
    }
    return refusal;
}

std::string suggestion_for(std::string_view word, std::span<const JunctionPtr> junctions) {
    std::vector<std::string_view> keywords;
    for (const JunctionPtr &junction : junctions)
        for (const Candidate &candidate : junction->candidates())
            if (!candidate.keyword.empty())
                keywords.push_back(candidate.keyword);
    return printable(tool::suggestion(word, keywords));
}

void tell_refusal(const Forest &forest, const TypedLine &line, const Resolution &resolution) {
    const Refusal refusal = refusal_of(forest, line, resolution);
    const std::string suggestion =
        refusal.is_unknown
            ? suggestion_for(line.words()[resolution.word].text, {&resolution.end, 1})
            : "";
    tool::tell("%s%s", refusal.what.c_str(), suggestion.c_str());
    const std::string text = printable(line.text());
    const size_t left = width_of(text.substr(0, refusal.place));
    const size_t width = width_of(text.substr(refusal.place, refusal.length));
    const Words words = resolution.reading.ambiguous.empty()
                            ? words_after(forest, *resolution.end)
                            : words_of(forest, resolution.reading.ambiguous);
    fprintf(stderr, "  %s\n  %s%s\n%s", text.c_str(), std::string(left, ' ').c_str(),
            std::string(std::max<size_t>(width, 1), '^').c_str(), listed(words).c_str());
}

} // namespace find
