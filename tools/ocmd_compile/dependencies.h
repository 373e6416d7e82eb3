// Files of dependencies for make and Ninja, as compilers write them.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace compiler {

/// Returns whether make and Ninja both read the name in a rule as it is.
bool can_be_in_rule(std::string_view name);

/// Returns a rule with a newline at its end: the target depends on the files. Spaces, "$", "#" and
/// ":" are escaped. Precondition: all names can be in a rule.
std::string dependency_rule(std::string_view target, std::span<const std::string> files);

} // namespace compiler
