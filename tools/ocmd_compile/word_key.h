// The key of a word: `show`, `<INTEGER | HEX>`, `pace<INTEGER>`, `<>`.
#pragma once

#include "tools/ocmd_compile/grammar.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace compiler {

/// Reports an error in a part of the text that is being parsed.
using TellPart = std::function<void(std::string_view part, std::string text)>;

/// Returns the word of a key, or nothing after reporting its errors. With bytes set, the key was
/// tagged "!bytes". Requires the registered types.
std::optional<WordKey> read_word_key(std::string_view text, bool bytes, TextStore &texts,
                                     const TellPart &tell);

/// Decodes a string tagged "!bytes": `\x` and two digits are one byte, `\\` is a backslash.
std::optional<std::string> read_bytes(std::string_view text, const TellPart &tell);

} // namespace compiler
