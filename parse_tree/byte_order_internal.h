// Conversion of a known number of records: one linear pass that never follows an index.
#pragma once

#include "parse_tree/tree_node.h"

#include <span>

namespace tsh {

/// Exchanges host and network order of every record; its own inverse.
void swap_array_order(std::span<tree_node_t> nodes);

} // namespace tsh
