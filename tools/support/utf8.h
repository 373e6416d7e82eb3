// Checks of characters and strings. Strings of records may contain any bytes; most are UTF-8.
#pragma once

#include <glib.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace tool {

/// Returns whether the text is valid UTF-8: shortest forms only, no surrogates, nothing above
/// U+10FFFF, no NUL.
inline bool is_utf8(std::string_view text) {
    return text.empty() || g_utf8_validate_len(text.data(), text.size(), nullptr) != FALSE;
}

/// Returns whether a byte is an ASCII control character, which may end a line or confuse a
/// terminal.
inline bool is_control(char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
}

/// Returns whether the byte at a position belongs to a control character, including C1 in UTF-8.
inline bool is_control_at(std::string_view text, size_t at) {
    const auto is_c1 = [&](size_t first) {
        return first + 1 < text.size() && text[first] == '\xC2' &&
               static_cast<unsigned char>(text[first + 1]) < 0xA0;
    };
    return is_control(text[at]) || is_c1(at) || (at > 0 && is_c1(at - 1));
}

/// Returns whether a byte is a continuation byte of UTF-8.
inline bool is_inside_character(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

/// Returns the text with each byte that belongs to no valid character as "\xNN".
std::string with_invalid_bytes_escaped(std::string_view text);

/// Returns the number of UTF-8 characters that start in the text.
inline size_t count_characters(std::string_view text) {
    return text.size() - static_cast<size_t>(std::ranges::count_if(text, is_inside_character));
}

} // namespace tool
