// Names of parameter types in the tools.
#pragma once

#include "param_reg/values.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// Registers the built-in types, once per process, for the library's listing of command lines.
/// Throws std::bad_alloc.
void register_types();

/// Returns the names of all built-in types.
std::vector<std::string_view> type_names();

/// Returns the names of the built-in types of a mask, lowest type bit first.
std::vector<std::string_view> names_of_types(uint32_t mask);

/// Returns a mask in the format of a grammar, without the angle brackets.
std::string types_text(uint32_t mask);

/// Returns whether a mask may include a type whose values have a maximum length.
bool may_have_length(uint32_t mask);

/// Returns whether the bounds of a parameter can be a maximum length, including 0 (none).
bool has_length(const parameter_info_t &parameter);

} // namespace tool
