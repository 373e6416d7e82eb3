// Texts of records hold any bytes; what most writers expect is UTF-8.
#pragma once

#include <glib.h>

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace tool {

/// Whether the text is UTF-8: shortest forms only, no surrogates, nothing past U+10FFFF, no
/// zero bytes.
inline bool is_utf8(std::string_view text) {
    return text.empty() || g_utf8_validate_len(text.data(), text.size(), nullptr) != FALSE;
}

/// Whether a byte is a control character of ASCII: it may end a line or upset a terminal.
inline bool is_control(char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
}

/// Whether the byte at a position belongs to a control character, C1 in UTF-8 included.
inline bool is_control_at(std::string_view text, size_t at) {
    const auto is_c1 = [&](size_t first) {
        return first + 1 < text.size() && text[first] == '\xC2' &&
               static_cast<unsigned char>(text[first + 1]) < 0xA0;
    };
    return is_control(text[at]) || is_c1(at) || (at > 0 && is_c1(at - 1));
}

/// Whether a byte belongs to a character of UTF-8 that began before it.
inline bool is_inside_character(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

/// How many characters of UTF-8 begin in the text.
inline size_t count_characters(std::string_view text) {
    return text.size() - static_cast<size_t>(std::ranges::count_if(text, is_inside_character));
}

} // namespace tool
