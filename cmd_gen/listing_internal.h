// The two ways to list the commands below a node, and what both make of a node.
#pragma once

#include "cmd_gen/enumeration.h"
#include "parse_tree/tree_load.h"

#include <string_view>

namespace tsh {

/// How a listing ended. kLostOutput: a write of its own failed.
enum class ListResult : uint8_t { kDone, kNoMemory, kLostOutput };

/// The fast way: nodes are gathered first, and lines leave in large blocks.
[[nodiscard]] ListResult list_gathered(const tree_node_t &node, std::string_view prefix);

/// The way that shows in the traces: every step by the operations that trace it, every line printed
/// at once.
[[nodiscard]] ListResult list_traced(const tree_node_t *node, std::string_view prefix);

/// What stands before each word.
constexpr std::string_view kWordGap = "  ";

inline bool is_left_out(const tree_node_t &node) {
    return cmd_gen_mode_single == 1 &&
           (intf_subtree_mask_equal(node.intf_mask) == 0 ||
            perms_mask_valid(node.perms_mask) == 0 ||
            (node.flags & (TREE_FLAG_EXCLUDED | TREE_FLAG_EXCLUDED_ALSO)) != 0);
}

inline bool is_submode(const tree_node_t &node) {
    return (node.flags & TREE_FLAG_SUBMODE) != 0;
}

inline bool has_line(const tree_node_t &node) {
    return (node.flags & (TREE_FLAG_TERMINAL | TREE_FLAG_SUBMODE)) != 0;
}

inline bool is_entered(const tree_node_t &node) {
    return node.child_count != 0 && !(is_submode(node) && cmd_gen_mode_single == 1);
}

} // namespace tsh
