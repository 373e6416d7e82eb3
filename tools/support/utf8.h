// Texts of records hold any bytes; what most writers expect is UTF-8.
#pragma once

#include <string_view>

namespace tool {

/// Whether the text is UTF-8: shortest forms only, no surrogates, nothing past U+10FFFF.
bool is_utf8(std::string_view text);

} // namespace tool
