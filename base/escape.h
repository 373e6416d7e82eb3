// Escapes for control characters, which files may hold and terminals obey.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <string>
#include <string_view>

namespace base {

/// Returns the first control character at or after a position: C0 or DEL, or C1 in UTF-8 (two
/// bytes) or as a single byte that belongs to no character of UTF-8. Returns an empty view at
/// the end of the text if there is none.
std::string_view find_control(std::string_view text, size_t from = 0);

/// Returns the text with each byte of a control character as \xNN.
std::string escaped(std::string_view text);

/// Like escaped, but the text can be restored: a backslash before an x and two hexadecimal digits,
/// which would look like an escape, is \x5c.
std::string reversibly_escaped(std::string_view text);

/// Returns whether reversibly_escaped returns another text.
bool has_escapes(std::string_view text);

/// Formats a message and writes it with control characters escaped; newlines at the end of the
/// format stay. Only the first 1023 bytes are written if there is no memory for more.
[[gnu::format(printf, 2, 0)]] void vprint_escaped(FILE *stream, const char *format, va_list values);
[[gnu::format(printf, 2, 3)]] void print_escaped(FILE *stream, const char *format, ...);

} // namespace base
