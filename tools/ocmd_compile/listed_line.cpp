// Spaces separate words, " / " separates submodes. Both are ordinary text between angle brackets.
#include "tools/ocmd_compile/listed_line.h"

#include "base/escape.h"
#include "tools/ocmd_compile/word_key.h"
#include "tools/support/types.h"
#include "tools/support/utf8.h"
#include "tools/support/wording.h"
#include "tools/support/yaml_text.h"

#include <algorithm>
#include <glib.h>
#include <span>
#include <utility>

namespace compiler {

using tool::quoted_start;

namespace {

constexpr std::string_view kSpaces = " \t";
constexpr std::string_view kEnters = " / ";
constexpr std::string_view kOptional = "[o]";
constexpr size_t kMostHelpBytes = sizeof tree_node_t::help - 1;

// Every word takes two levels of YAML, and the document one.
constexpr size_t kMostListedWords = (tool::kMostYamlLevels - 1) / 2;

bool is_space(char c) {
    return kSpaces.find(c) != std::string_view::npos;
}

std::string_view without_spaces(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kSpaces), text.size()));
    return text.substr(0, text.find_last_not_of(kSpaces) + 1);
}

// Returns the end of the word that begins at a position; npos if a bracket is not closed.
size_t end_of_word(std::string_view text, size_t at) {
    for (; at < text.size() && !is_space(text[at]); ++at) {
        if (text[at] != '<')
            continue;
        at = text.find('>', at);
        if (at == std::string_view::npos)
            return at;
    }
    return at;
}

bool take_suffix(std::string_view &text, std::string_view suffix) {
    if (text.size() <= suffix.size() || !text.ends_with(suffix))
        return false;
    text.remove_suffix(suffix.size());
    return true;
}

// A list has control characters as \xNN, and \x5c for a backslash that would look like that.
// Returns the keyword with these characters, if it is listed like this.
std::string unescaped(std::string_view listed) {
    std::string keyword;
    for (size_t i = 0; i < listed.size(); ++i) {
        const bool is_code = listed.substr(i).starts_with("\\x") && i + 3 < listed.size() &&
                             g_ascii_isxdigit(listed[i + 2]) && g_ascii_isxdigit(listed[i + 3]);
        keyword += is_code ? static_cast<char>(g_ascii_xdigit_value(listed[i + 2]) * 16 +
                                               g_ascii_xdigit_value(listed[i + 3]))
                           : listed[i];
        i += is_code ? 3 : 0;
    }
    const bool has_end = keyword.find('\0') != std::string::npos;
    return !has_end && base::reversibly_escaped(keyword) == listed ? keyword : std::string{listed};
}

// Finds the types whose names follow each other in a text, in the order of their list.
bool find_types(std::string_view text, std::span<const std::string_view> names,
                std::string &found) {
    if (text.empty())
        return true;
    for (size_t i = 0; i < names.size(); ++i) {
        if (!text.starts_with(names[i]))
            continue;
        const size_t size = found.size();
        (found += size == 0 ? "" : " | ") += names[i];
        if (find_types(text.substr(names[i].size()), names.subspan(i + 1), found))
            return true;
        found.resize(size);
    }
    return false;
}

// The types of a parameter as a grammar spells them. A type without a name is listed as nothing.
std::string types_of(std::string_view listed) {
    std::string found;
    if (listed.empty())
        return "0x0";
    return find_types(listed, tool::type_names(), found) ? found : std::string{listed};
}

std::string parameters_of(const WordKey &key) {
    std::string text;
    for (const uint32_t mask : key.masks())
        text += (text.empty() ? "<" : " <") + tool::types_text(mask) + ">";
    return text;
}

} // namespace

bool ListedLines::next(ListedLine &line) {
    line = {};
    const std::string_view bytes = file_.bytes();
    if (begin_ >= bytes.size())
        return false;
    const size_t end = std::min(bytes.find('\n', begin_), bytes.size());
    std::string_view text = bytes.substr(begin_, end - begin_);
    begin_ = end + 1;
    if (text.ends_with('\r'))
        text.remove_suffix(1);
    if (without_spaces(text).starts_with('#'))
        return true;
    text = without_help(text, line);
    if (!divide(text, line))
        line.words.clear();
    return true;
}

SourceRange ListedLines::place_of(std::string_view part) const {
    const auto begin = static_cast<uint32_t>(part.data() - file_.bytes().data());
    return {begin, begin + static_cast<uint32_t>(part.size())};
}

bool ListedLines::fails(std::string_view part, std::string text) {
    messages_.error(file_, place_of(part), std::move(text));
    return false;
}

// Two spaces and "#" begin the help text.
std::string_view ListedLines::without_help(std::string_view text, ListedLine &line) {
    for (size_t hash = text.find('#'); hash != std::string_view::npos;
         hash = text.find('#', hash + 1)) {
        if (hash < 2 || !is_space(text[hash - 1]) || !is_space(text[hash - 2]))
            continue;
        line.help = without_spaces(text.substr(hash + 1));
        line.help_place = place_of(line.help);
        return text.substr(0, hash);
    }
    return text;
}

bool ListedLines::divide(std::string_view text, ListedLine &line) {
    bool begins_part = true;
    for (size_t at = 0; at < text.size();) {
        if (text.substr(at).starts_with(kEnters)) {
            if (begins_part)
                line.words.push_back({{}, place_of(text.substr(at + 1, 1))});
            line.words.back().enters = true;
            begins_part = true;
            at += kEnters.size();
        } else if (is_space(text[at])) {
            ++at;
        } else {
            const size_t end = end_of_word(text, at);
            if (end == std::string_view::npos)
                return fails(text.substr(at), "missing '>'");
            const std::string_view word = text.substr(at, end - at);
            if (word == "/")
                return fails(word, "'/' is not between two words");
            line.words.push_back({word, place_of(word)});
            begins_part = false;
            at = end;
        }
    }
    if (begins_part && !line.words.empty())
        line.words.push_back({{}, place_of(text.substr(text.size()))});
    if (line.words.size() > kMostListedWords)
        return fails(line.words[kMostListedWords].text,
                     "too many words in a line (limit: " + std::to_string(kMostListedWords) + ")");
    if (line.help.size() > kMostHelpBytes)
        return fails(line.help, "help text too long: " + std::to_string(line.help.size()) +
                                    " bytes (limit: " + std::to_string(kMostHelpBytes) + ")");
    if (!tool::is_utf8(line.help))
        return fails(line.help, "help text is not UTF-8");
    return true;
}

std::optional<ListedWord> read_listed_word(std::string_view text, const SourceFile &file,
                                           SourceRange place, TextStore &texts,
                                           Messages &messages) {
    const auto error = [&](std::string_view, std::string message) {
        messages.error(file, place, std::move(message));
    };
    ListedWord word;
    if (text.empty())
        return ListedWord{"<>"};
    std::string_view keyword = text.substr(0, text.find('<'));
    std::string_view rest = text.substr(keyword.size());
    word.is_optional = take_suffix(keyword, kOptional);
    std::string parameters;
    while (!rest.empty()) {
        const size_t close = rest.find('>');
        if (rest.front() != '<' || close == std::string_view::npos) {
            error(rest, "unexpected " + quoted_start(rest) + " after a parameter");
            return std::nullopt;
        }
        (parameters += parameters.empty() ? "<" : " <") +=
            types_of(rest.substr(1, close - 1)) + ">";
        rest.remove_prefix(close + 1);
        if (rest.starts_with(kOptional)) {
            word.is_optional = true;
            rest.remove_prefix(kOptional.size());
        }
    }
    const std::string token = unescaped(keyword);
    const auto key =
        read_word_key(token + parameters, false, texts, {error, messages.keeps_next(file)});
    if (!key)
        return std::nullopt;
    word.key = tool::yaml_word(token, parameters_of(*key));
    return word;
}

} // namespace compiler
