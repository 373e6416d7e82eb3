// Files of dependencies for make and Ninja, as compilers write them.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace compiler {

/// Returns a rule with a newline at its end: the target depends on the files. Spaces, "$", "#" and
/// ":" are escaped.
std::string dependency_rule(std::string_view target, std::span<const std::string> files);

} // namespace compiler
