// Quoting of words in messages, and suggestions for misspelled words.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace tool {

/// Returns the text in single quotes.
std::string quoted(std::string_view text);

/// Returns the text in single quotes; only its start if it is longer than a line.
std::string quoted_start(std::string_view text);

/// Returns the text in double quotes, on one line: control characters, and bytes beyond ASCII
/// in a text that is not UTF-8, as \xNN; a backslash before a double quote or another backslash.
std::string double_quoted(std::string_view text);

/// Returns the text for a terminal, with every byte at the same position: a space for a tab, a
/// question mark for any other control character. For names, see base/escape.h.
std::string printable(std::string_view text);

/// Returns ", did you mean 'x'?" for the candidate with the smallest edit distance to the word
/// (insertion, deletion, substitution, transposition), ignoring case; nothing if this distance
/// exceeds a third of the word's characters, rounded up.
std::string suggestion(std::string_view word, std::span<const std::string_view> candidates);

} // namespace tool
