// Formatting of strings in grammars: plain if they are unambiguous, else quoted.
#pragma once

#include <string>
#include <string_view>

namespace tool {

/// A value: plain, in double quotes, or tagged !bytes when it is no UTF-8. On one line, and the
/// same between braces and outside.
std::string yaml_value(std::string_view text);

/// The key of a word: its keyword, which may be empty, and its parameters as they are written. A
/// keyword that a reader would not take for one is tagged !bytes.
std::string yaml_word(std::string_view keyword, std::string_view parameters);

} // namespace tool
