// The tree library on arrays of a known size.
#pragma once

#include "parse_tree/tree_library.h"

#include <span>

namespace tsh {

/// What cycle_check tells, of a tree of at most TREE_MAX_NODES nodes. Links that lead outside it
/// are passed by. Throws std::bad_alloc.
bool has_cycle_or_is_too_deep(std::span<const tree_node_t> nodes);

} // namespace tsh
