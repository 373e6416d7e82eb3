// Nonzero bytes in unused parts of a record. Readers ignore them.
#pragma once

#include "parse_tree/tree_node.h"

#include <string>
#include <vector>

namespace show {

/// Returns a text for each place with such bytes: after the end of a string, beyond a count, in
/// reserved bytes. Usually there is none. The node is of a valid tree.
std::vector<std::string> strays_of(const tree_node_t &node);

} // namespace show
