// Words in messages: quoting them, and finding which one a user may have meant.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace tool {

/// The text between single quotes.
std::string quoted(std::string_view text);

/// Returns the text between single quotes; of a text that is longer than a line, its beginning.
std::string quoted_start(std::string_view text);

/// Returns the text between double quotes, on one line: control characters, and bytes beyond ASCII
/// in a text that is not UTF-8, as \xNN; a backslash before a double quote or another backslash.
std::string double_quoted(std::string_view text);

/// Returns the text for a terminal, each byte in its old place: a space for a tab, a question mark
/// for any other control character. Names are not shortened so: base/escape.h.
std::string printable(std::string_view text);

/// ", did you mean 'x'?" for the candidate that takes the fewest changes (a character more, less or
/// another, or two that change places) to become the word, ignoring case; nothing when even that
/// takes more than a third of the word's characters, rounded up.
std::string suggestion(std::string_view word, std::span<const std::string_view> candidates);

} // namespace tool
