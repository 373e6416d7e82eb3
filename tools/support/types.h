// Parameter types as the tools name them.
#pragma once

#include "param_reg/values.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// Registers the built-in types, once per process, for the library's listing of command lines.
/// Throws std::bad_alloc without memory.
void register_types();

/// The names of all built-in types.
std::vector<std::string_view> type_names();

/// The names of the built-in types of a mask, lowest type bit first.
std::vector<std::string_view> names_of_types(uint32_t mask);

/// A mask as a grammar spells it between angle brackets.
std::string types_text(uint32_t mask);

/// Whether a mask may include a type whose values have a maximum length.
bool may_have_length(uint32_t mask);

/// Whether the bounds that a parameter stores can be a maximum length, 0 (none) included.
bool has_length(const parameter_info_t &parameter);

} // namespace tool
