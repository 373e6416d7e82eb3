// Words in messages: quoting them, and finding which one a user may have meant.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace tool {

/// The text between single quotes.
std::string quoted(std::string_view text);

/// The text between double quotes, on one line: control characters of ASCII, and bytes beyond ASCII
/// in a text that is no UTF-8, are written by their numbers, as \x9b; a backslash stands before a
/// double quote or another backslash.
std::string double_quoted(std::string_view text);

/// The text as it may go to a terminal and on one line: a blank for a tab, '?' for any other
/// control character.
std::string printable(std::string_view text);

/// ", did you mean 'x'?" for the candidate that takes the fewest changes (a character more, less or
/// another, or two that change places) to become the word, ignoring case; nothing when even that
/// takes more than a third of the word's characters, rounded up.
std::string suggestion(std::string_view word, std::span<const std::string_view> candidates);

} // namespace tool
