// Depth of an array tree: the one walk that knows how to find a cycle or too deep a level, shared
// by cycle_check and by the check of whole trees.
#pragma once

#include "parse_tree/tree_node.h"

#include <cstdint>
#include <span>

namespace tsh {

enum class DepthFault { kNone, kCycle, kTooDeep };

struct DepthVerdict {
    DepthFault fault;
    uint32_t node; // the node whose link closes the cycle, or that lies below the last level
};

/// Walks everything reachable from node 0, each link once, without recursion or allocation. A
/// cycle of more than TREE_MAX_LEVELS nodes shows as too deep a level. Child counts are read as at
/// most TREE_MAX_CHILDREN; every child index must lie below nodes.size(), which is at most
/// TREE_MAX_NODES.
DepthVerdict judge_depth(std::span<const tree_node_t> nodes);

} // namespace tsh
