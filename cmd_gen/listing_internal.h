// Fast and traced command listing, and the code that both share.
#pragma once

#include "cmd_gen/enumeration.h"
#include "parse_tree/tree_load.h"

#include <string_view>

namespace tsh {

/// Result of a listing. kLostOutput: a write of the listing failed.
enum class ListResult : uint8_t { kDone, kNoMemory, kLostOutput };

/// Fast listing: collects all nodes first, and writes lines in large blocks.
[[nodiscard]] ListResult list_gathered(const tree_node_t &node, std::string_view prefix);

/// Traced listing: uses the operations that write traces, and prints every line immediately.
[[nodiscard]] ListResult list_traced(const tree_node_t *node, std::string_view prefix);

/// Separator before each word.
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
