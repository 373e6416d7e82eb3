// Operations of the tree library on arrays of a known size.
#pragma once

#include "parse_tree/tree_library.h"

#include <span>

namespace tsh {

/// Returns the result of cycle_check, which a device may replace, for a tree of at most
/// TREE_MAX_NODES nodes. The implementation of this library skips links out of range. Throws
/// std::bad_alloc.
int32_t cycle_check_of(std::span<const tree_node_t> nodes);

} // namespace tsh
