// What a record holds where it should hold nothing. No reader looks there, but the bytes are in the
// file.
#pragma once

#include "parse_tree/tree_node.h"

#include <string>
#include <vector>

namespace show {

/// One text for each place: bytes behind the end of a text, parameters and links past their counts,
/// marks of links that are not there, reserved bytes. Mostly empty. The node is of a sound tree.
std::vector<std::string> strays_of(const tree_node_t &node);

} // namespace show
