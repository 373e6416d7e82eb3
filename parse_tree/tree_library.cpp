// Small services around array trees that the device's tree library would supply.
#include "parse_tree/tree_library_internal.h"

#include "base/escape.h"
#include "parse_tree/tree_walk_internal.h"
#include "platform/robust_string.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <new>
#include <span>
#include <vector>

namespace {

using tsh::TreeWalk;
using Event = TreeWalk::Event;

void display_node(const tree_node_t &node, uint16_t index, size_t level) {
    const auto indent = static_cast<int>(2 * std::min<size_t>(level, TREE_MAX_LEVELS));
    base::print_escaped(stdout, "%*s%u: %.*s \"%.*s\"", indent, "", index, TREE_NAME_SIZE,
                        node.name, TREE_TOKEN_SIZE, node.token);
    for (const uint16_t child : tsh::links_of(node))
        printf(" %u", child);
    putchar('\n');
}

// Size of the tree if the caller is in this library; cycle_check does not receive it.
thread_local std::span<const tree_node_t> tree_in_hand;

// The walk leaves a node after its descendants, so the heights of its children are known.
// Throws std::bad_alloc.
bool has_cycle_or_is_too_deep(std::span<const tree_node_t> nodes) {
    TreeWalk walk{nodes};
    std::vector<uint16_t> heights(nodes.size());
    for (Event event = walk.next(); event != Event::kEnd; event = walk.next()) {
        if (event == Event::kBackLink)
            return true;
        uint16_t &height = heights[walk.node()];
        height = 1;
        if (event == Event::kLeft)
            for (const uint16_t child : tsh::links_of(nodes[walk.node()]))
                if (child < nodes.size())
                    height = std::max(height, static_cast<uint16_t>(heights[child] + 1));
        if (walk.depth() - 1 + height > TREE_MAX_LEVELS)
            return true;
    }
    return false;
}

} // namespace

int32_t tsh::cycle_check_of(std::span<const tree_node_t> nodes) {
    tree_in_hand = nodes;
    errno = 0;
    const int32_t result = cycle_check(nodes.data(), 0, 0);
    tree_in_hand = {};
    if (result > 0 && errno == ENOMEM)
        throw std::bad_alloc{};
    return result;
}

int32_t cycle_check(const tree_node_t *nodes, uint32_t /*unused1*/, uint32_t /*unused2*/) {
    try {
        const bool is_known = !tree_in_hand.empty() && nodes == tree_in_hand.data();
        const std::span tree = is_known ? tree_in_hand : std::span{nodes, TREE_MAX_NODES};
        return has_cycle_or_is_too_deep(tree) ? 1 : 0;
    } catch (const std::bad_alloc &) {
        errno = ENOMEM;
        return 1;
    }
}

void display_array_tree(const tree_node_t *nodes, uint32_t /*unused1*/, uint32_t /*unused2*/) {
    if (nodes == nullptr)
        return;
    try {
        TreeWalk walk{{nodes, TREE_MAX_NODES}};
        for (Event event = walk.next(); event != Event::kEnd; event = walk.next())
            if (event == Event::kEntered)
                display_node(nodes[walk.node()], walk.node(), walk.depth() - 1);
    } catch (const std::bad_alloc &) {
        puts("No memory to list the tree");
    }
}

void populate_subtree_path(subtree_path_t *record, uint32_t kind, const char *text) {
    record->kind = kind;
    robust_strncpy(record->path, text, sizeof record->path);
}

int32_t tsh_parse_tree_root_set(uint32_t /*index*/) {
    return 0;
}
