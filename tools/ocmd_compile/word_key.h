// The key of a word: `show`, `<INTEGER | HEX>`, `pace<INTEGER>`, `<>`.
#pragma once

#include "tools/ocmd_compile/grammar.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace compiler {

/// Tells of a fault in a part of the text that is being read.
using TellPart = std::function<void(std::string_view part, std::string text)>;

/// The word that a key stands for, or nothing after its faults were told. With bytes set the text
/// was tagged "!bytes". Needs the registry's types.
std::optional<WordKey> read_word_key(std::string_view text, bool bytes, TextStore &texts,
                                     const TellPart &tell);

/// A text that was tagged "!bytes": `\x` and two digits are one byte, `\\` is a backslash.
std::optional<std::string> read_bytes(std::string_view text, const TellPart &tell);

} // namespace compiler
