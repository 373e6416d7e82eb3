// Texts of records hold any bytes; what most writers expect is UTF-8.
#pragma once

#include <glib.h>

#include <string_view>

namespace tool {

/// Whether the text is UTF-8: shortest forms only, no surrogates, nothing past U+10FFFF, no
/// zero bytes.
inline bool is_utf8(std::string_view text) {
    return text.empty() || g_utf8_validate_len(text.data(), text.size(), nullptr) != FALSE;
}

} // namespace tool
