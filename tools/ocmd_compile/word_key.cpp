// Parser for the key of a word: the keyword up to the first '<', then parameters.
#include "tools/ocmd_compile/word_key.h"

#include "param_reg/values.h"
#include "tools/support/types.h"
#include "tools/support/wording.h"

#include <algorithm>
#include <charconv>
#include <glib.h>
#include <string_view>
#include <system_error>
#include <vector>

namespace compiler {

namespace {

using tool::quoted;
using tool::quoted_start;

constexpr std::string_view kBlanks = " \t";

std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    text.remove_suffix(text.size() - (text.find_last_not_of(kBlanks) + 1));
    return text;
}

// The type that was probably meant: the one spelled nearly so, or the first one that begins so.
std::string advice_for(std::string_view name) {
    const std::vector<std::string_view> types = tool::type_names();
    std::string near = tool::suggestion(name, types);
    if (!near.empty())
        return near;
    const auto longer = std::ranges::find_if(types, [&](std::string_view type) {
        return type.size() > name.size() &&
               g_ascii_strncasecmp(type.data(), name.data(), name.size()) == 0;
    });
    return longer == types.end() ? "; --list-types prints all types"
                                 : ", did you mean " + quoted(*longer) + "?";
}

// Parses one alternative between angle brackets: a type name or a mask in hexadecimal.
std::optional<uint32_t> read_type(std::string_view text, const PartReporter &report) {
    if (text.starts_with("0x") || text.starts_with("0X")) {
        uint32_t mask = 0;
        const auto [end, error] =
            std::from_chars(text.data() + 2, text.data() + text.size(), mask, 16);
        if (error == std::errc{} && end == text.data() + text.size())
            return mask;
        report(text, "invalid type mask " + quoted_start(text) + "; expected a 32-bit number");
        return {};
    }
    if (const tsh_type_t *type = tsh_type_by_name(nullptr, text.data(), text.size()))
        return type->mask;
    if (text.empty())
        report(text, "missing parameter type");
    else
        report(text, "unknown parameter type " + quoted_start(text) +
                         (report.is_shown() ? advice_for(text) : ""));
    return {};
}

// Parses the text between '<' and '>': types of one class, separated by '|'.
std::optional<uint32_t> read_types(std::string_view text, const PartReporter &report) {
    std::optional<uint32_t> mask;
    for (;;) {
        const size_t bar = std::min(text.find('|'), text.size());
        const std::string_view name = trimmed(text.substr(0, bar));
        const std::optional<uint32_t> type = read_type(name, report);
        if (!type)
            return {};
        if (mask && tsh_mask_class(*mask) != tsh_mask_class(*type)) {
            report(name, "types " + quoted(tool::types_text(*mask)) + " and " + quoted_start(name) +
                             " belong to different classes; a parameter has one class");
            return {};
        }
        mask = mask.value_or(0) | *type;
        if (bar == text.size())
            return mask;
        text.remove_prefix(bar + 1);
    }
}

// Parses everything from the first '<' on.
bool read_parameters(std::string_view text, WordKey &key, const PartReporter &report) {
    while (!text.empty()) {
        const size_t close = text.find('>');
        if (text.front() != '<' || close == std::string_view::npos) {
            report(text, text.front() == '<'
                             ? "missing '>'"
                             : "unexpected text after a parameter; expected '<TYPE>'");
            return false;
        }
        const std::optional<uint32_t> mask = read_types(text.substr(1, close - 1), report);
        if (!mask)
            return false;
        if (key.parameter_count == TREE_MAX_PARAMS) {
            report(text, "too many parameters (limit: 2)");
            return false;
        }
        key.types[key.parameter_count++] = *mask;
        text = trimmed(text.substr(close + 1));
    }
    return true;
}

} // namespace

std::optional<std::string> read_bytes(std::string_view text, const PartReporter &report) {
    std::string bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        const std::string_view code = text.substr(i, 4);
        if (code[0] != '\\') {
            bytes += code[0];
        } else if (code.starts_with("\\\\")) {
            bytes += '\\';
            ++i;
        } else if (code.size() == 4 && code[1] == 'x' && g_ascii_isxdigit(code[2]) &&
                   g_ascii_isxdigit(code[3])) {
            bytes += static_cast<char>(g_ascii_xdigit_value(code[2]) * 16 +
                                       g_ascii_xdigit_value(code[3]));
            i += 3;
        } else {
            report(code, R"(invalid escape in !bytes; expected '\xNN' or '\\')");
            return {};
        }
    }
    return bytes;
}

std::optional<WordKey> read_word_key(std::string_view text, bool bytes, TextStore &texts,
                                     const PartReporter &report) {
    constexpr size_t kMostBytes = TREE_TOKEN_SIZE - 1;
    WordKey key;
    if (text == "<>")
        return key;
    const size_t bracket = std::min(text.find('<'), text.size());
    key.token = text.substr(0, bracket);
    if (bytes) {
        const std::optional<std::string> token = read_bytes(key.token, report);
        if (!token)
            return {};
        key.token = texts.keep(*token);
    }
    if (key.token.size() > kMostBytes) {
        report(text.substr(0, bracket), "keyword too long: " + std::to_string(key.token.size()) +
                                            " bytes (limit: " + std::to_string(kMostBytes) + ")");
        return {};
    }
    if (text.empty()) {
        report(text, "empty key; write <> for a node without a word");
        return {};
    }
    if (key.token.find('\0') != std::string_view::npos) {
        report(text, "keyword contains a NUL byte");
        return {};
    }
    if (!read_parameters(text.substr(bracket), key, report))
        return {};
    return key;
}

} // namespace compiler
