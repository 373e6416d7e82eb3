// Choosing among the ways in which YAML writes a text.
#include "tools/support/yaml_text.h"

#include "tools/support/utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace tool {

namespace {

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Characters that mean nothing to YAML inside a text, whatever stands around them.
bool is_harmless(char c) {
    return is_letter(c) || is_digit(c) || (c != '\0' && strchr("_-./<>|@()+=*~$;^ ", c) != nullptr);
}

bool can_stand_plain(std::string_view text) {
    if (text.empty() || text.back() == ' ')
        return false;
    return (is_letter(text[0]) || is_digit(text[0]) || text[0] == '<' || text[0] == '_') &&
           std::ranges::all_of(text, is_harmless);
}

// What readers of YAML like to take for a number, a truth or nothing.
bool looks_like_no_text(std::string_view text) {
    constexpr std::array<std::string_view, 9> kWords{"true", "false", "yes", "no",  "y",
                                                     "n",    "on",    "off", "null"};
    std::string lower{text};
    std::ranges::transform(lower, lower.begin(),
                           [](char c) { return is_letter(c) ? static_cast<char>(c | 0x20) : c; });
    return is_digit(text[0]) || std::ranges::find(kWords, lower) != kWords.end();
}

std::string coded(const char *format, unsigned code) {
    std::array<char, 12> text;
    return {text.data(), static_cast<size_t>(snprintf(text.data(), text.size(), format, code))};
}

// Characters beyond ASCII that a reader refuses or takes for the end of a line, as bytes.
bool is_unprintable(std::string_view text) {
    const auto at = [&](size_t i) { return static_cast<uint8_t>(i < text.size() ? text[i] : 0); };
    return (at(0) == 0xC2 && at(1) < 0xA0) ||
           (at(0) == 0xE2 && at(1) == 0x80 && (at(2) == 0xA8 || at(2) == 0xA9)) ||
           (at(0) == 0xEF && at(1) == 0xBB && at(2) == 0xBF) ||
           (at(0) == 0xEF && at(1) == 0xBF && at(2) >= 0xBE);
}

// The code of a character of two or three bytes, and how many they are.
unsigned code_of(std::string_view text, size_t &length) {
    const auto low_bits = [&](size_t i) { return static_cast<unsigned>(text[i]) & 0x3FU; };
    length = (static_cast<uint8_t>(text[0]) & 0xE0U) == 0xC0U ? 2 : 3;
    if (length == 2)
        return (static_cast<unsigned>(text[0]) & 0x1FU) << 6U | low_bits(1);
    return (static_cast<unsigned>(text[0]) & 0x0FU) << 12U | low_bits(1) << 6U | low_bits(2);
}

// A text of UTF-8 in double quotes.
std::string in_double_quotes(std::string_view text) {
    std::string quoted{'"'};
    while (!text.empty()) {
        const char c = text[0];
        size_t length = 1;
        if (is_unprintable(text))
            quoted += coded("\\u%04X", code_of(text, length));
        else if (is_control(c))
            quoted += coded("\\x%02X", static_cast<uint8_t>(c));
        else
            (quoted += c == '"' || c == '\\' ? "\\" : "") += c;
        text.remove_prefix(length);
    }
    return quoted + '"';
}

// Bytes as `!bytes` has them, without quotes.
std::string with_byte_codes(std::string_view bytes) {
    std::string text;
    for (const char c : bytes) {
        if (c == '\\')
            text += "\\\\";
        else if (c < ' ' || c > '~' || c == '<' || c == '\'')
            text += coded("\\x%02x", static_cast<uint8_t>(c));
        else
            text += c;
    }
    return text;
}

// What has no quote and no byte beyond ASCII in it can stand in single quotes as it is.
std::string tagged_as_bytes(const std::string &text) {
    return "!bytes '" + text + '\'';
}

} // namespace

std::string yaml_value(std::string_view text) {
    if (!is_utf8(text))
        return tagged_as_bytes(with_byte_codes(text));
    return can_stand_plain(text) && !looks_like_no_text(text) ? std::string{text}
                                                              : in_double_quotes(text);
}

std::string yaml_word(std::string_view keyword, std::string_view parameters) {
    const bool needs_codes = !is_utf8(keyword) || std::ranges::any_of(keyword, [](char c) {
        return is_control(c) || c == ' ' || c == '<';
    });
    if (needs_codes)
        return tagged_as_bytes(with_byte_codes(keyword).append(parameters));
    const std::string word = std::string{keyword}.append(parameters);
    return can_stand_plain(word) ? word : in_double_quotes(word);
}

} // namespace tool
