// Parameter types by name: the registry as the tools use it.
#pragma once

#include "param_reg/param_registry.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// Fills the registry with the built-in types, once per process. Without memory throws
/// std::bad_alloc.
void register_types();

/// The bits of a type mask that tell family and class; types of different classes do not mix.
uint32_t class_bits(uint32_t mask);

/// The type of this name, ignoring case; null when there is none. Needs register_types.
const param_reg_info_t *find_type(std::string_view name);

/// The types of a mask, one for each of its type bits from the lowest on; null for one that is not
/// registered. Needs register_types.
std::vector<const param_reg_info_t *> types_of(uint32_t mask);

/// All registered names, in the registry's order.
std::vector<std::string_view> type_names();

/// A mask as a grammar writes it between angle brackets: names joined by " | ", or the number when
/// the registry cannot name all of it.
std::string types_text(uint32_t mask);

} // namespace tool
