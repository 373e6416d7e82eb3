// Conversion of a known number of records.
#pragma once

#include "parse_tree/tree_node.h"

#include <span>

namespace tsh {

/// Convert every record with hton_array_tree and ntoh_array_tree, which a device may replace. The
/// implementations of this library then make one linear pass and follow no index.
void array_to_network(std::span<tree_node_t> nodes);
void array_to_host(std::span<tree_node_t> nodes);

} // namespace tsh
