// Used children and parameters of a record, limited to its capacity.
#pragma once

#include "parse_tree/tree_node.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tsh {

inline std::span<const uint16_t> children_of(const tree_node_t &node) {
    return {node.children, std::min<size_t>(node.child_count, TREE_MAX_CHILDREN)};
}
inline std::span<uint16_t> children_of(tree_node_t &node) {
    return {node.children, std::min<size_t>(node.child_count, TREE_MAX_CHILDREN)};
}

inline std::span<const parameter_info_t> params_of(const tree_node_t &node) {
    return {node.params, std::min<size_t>(node.param_count, TREE_MAX_PARAMS)};
}

} // namespace tsh
