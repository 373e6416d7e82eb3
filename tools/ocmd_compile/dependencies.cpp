// Names are escaped as GCC does for make; Ninja reads them in the same way.
#include "tools/ocmd_compile/dependencies.h"

namespace compiler {

namespace {

void put_name(std::string &rule, std::string_view name) {
    size_t backslashes = 0; // before the current byte
    for (const char c : name) {
        if (c == ' ' || c == '\t') // backslashes before it would escape each other
            rule.append(backslashes + 1, '\\');
        else if (c == '#' || c == ':')
            rule += '\\';
        else if (c == '$')
            rule += '$';
        rule += c;
        backslashes = c == '\\' ? backslashes + 1 : 0;
    }
}

} // namespace

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
