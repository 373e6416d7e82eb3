// Common parts of the navigation operations: child lookup by position, and node names in traces.
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

/// Returns the name of a node for traces; also valid for a null entry of the stack.
inline const char *label(const tree_node_t *node) {
    return node == nullptr ? "(null)" : node->name;
}

} // namespace tsh
