// Small services around array trees that the device's tree library would supply.
#include "parse_tree/tree_library.h"

#include "parse_tree/tree_depth_internal.h"
#include "platform/robust_string.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstdio>
#include <span>

namespace {

std::span<const uint16_t> links_of(const tree_node_t &node) {
    return {node.children, std::min<size_t>(node.child_count, TREE_MAX_CHILDREN)};
}

void display_node(const tree_node_t &node, uint16_t index, size_t level) {
    const auto indent = static_cast<int>(2 * std::min<size_t>(level, TREE_MAX_LEVELS));
    printf("%*s%u: %.*s \"%.*s\"", indent, "", index, TREE_NAME_SIZE, node.name, TREE_TOKEN_SIZE,
           node.token);
    for (const uint16_t child : links_of(node))
        printf(" %u", child);
    putchar('\n');
}

} // namespace

int32_t cycle_check(const tree_node_t *nodes, uint32_t /*unused1*/, uint32_t /*unused2*/) {
    return tsh::judge_depth({nodes, TREE_MAX_NODES}).fault == tsh::DepthFault::kNone ? 0 : 1;
}

void display_array_tree(const tree_node_t *nodes, uint32_t /*unused1*/, uint32_t /*unused2*/) {
    if (nodes == nullptr)
        return;
    struct PathStep {
        uint16_t node;
        uint16_t next_link;
    };
    std::bitset<TREE_MAX_NODES> printed;
    std::array<PathStep, TREE_MAX_NODES> path; // every node is entered at most once
    size_t depth = 0;
    const auto enter = [&](uint16_t node) {
        printed.set(node);
        display_node(nodes[node], node, depth);
        path[depth++] = {node, 0};
    };

    enter(0);
    while (depth > 0) {
        PathStep &step = path[depth - 1];
        const auto links = links_of(nodes[step.node]);
        if (step.next_link == links.size())
            --depth;
        else if (const uint16_t child = links[step.next_link++]; !printed[child])
            enter(child);
    }
}

void populate_subtree_path(subtree_path_t *record, uint32_t kind, const char *text) {
    record->kind = kind;
    robust_strncpy(record->path, text, sizeof record->path);
}

int32_t tsh_parse_tree_root_set(uint32_t /*index*/) {
    return 0;
}
