// What the navigation operations share: the way from an index to a node, and node names in traces.
#pragma once

#include "feature/tsh/src/trace_internal.h"
#include "parse_tree/tree_load.h"

namespace tsh {

inline const tree_node_t *child_at(const tree_node_t *parent, int32_t position) {
    return g_atn + parent->children[position];
}

inline bool traces_navigation() {
    return traces(TSH_TRACE_NAVIGATION);
}

/// A node as traces show it; a null entry of the stack must not end the program.
inline const char *label(const tree_node_t *node) {
    return node == nullptr ? "(null)" : node->name;
}

} // namespace tsh
