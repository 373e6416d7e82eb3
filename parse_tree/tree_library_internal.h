// The tree library on arrays of a known size.
#pragma once

#include "parse_tree/tree_library.h"

#include <span>

namespace tsh {

/// Returns what cycle_check, which a device may replace, tells of a tree of at most TREE_MAX_NODES
/// nodes. The one here passes over links that lead outside it. Throws std::bad_alloc.
int32_t cycle_check_of(std::span<const tree_node_t> nodes);

} // namespace tsh
