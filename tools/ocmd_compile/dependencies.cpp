// Names are escaped as GCC does for make; Ninja reads them in the same way.
#include "tools/ocmd_compile/dependencies.h"

#include <algorithm>
#include <glib.h>

namespace compiler {

namespace {

// Any byte of a character of UTF-8, a letter or a digit, or one of those below. For all others, one
// of the two has another meaning, or Ninja ends the name.
bool is_readable(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 || g_ascii_isalnum(c) ||
           std::string_view{"_-./+,@!{}~ #$:"}.find(c) != std::string_view::npos;
}

void put_name(std::string &rule, std::string_view name) {
    for (const char c : name) {
        if (c == ' ' || c == '#' || c == ':')
            rule += '\\';
        else if (c == '$')
            rule += '$';
        rule += c;
    }
}

} // namespace

bool can_be_in_rule(std::string_view name) {
    return std::ranges::all_of(name, is_readable) && !name.starts_with('~') &&
           !name.ends_with(' ') && !name.ends_with(':');
}

std::string dependency_rule(std::string_view target, std::span<const std::string> files) {
    std::string rule;
    put_name(rule, target);
    rule += ':';
    for (const std::string &file : files) {
        rule += " \\\n  ";
        put_name(rule, file);
    }
    return rule += '\n';
}

} // namespace compiler
