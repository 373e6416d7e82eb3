// Growable node array, and adjustment of child indices.
#include "treelink/node_array.h"

#include "feature/tsh/src/trace.h"
#include "parse_tree/tree_library.h"
#include "parse_tree/tree_node_internal.h"
#include "treelink/link_memory_internal.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

tree_node_t *tsh_main_tree;
uint32_t tsh_main_tree_node_count;
uint32_t tsh_main_tree_max_nodes;

namespace {

constexpr uint32_t kFirstCapacity = 5;
constexpr int kCannotGrowStatus = 255;

int32_t printed_address(const void *address) {
    return static_cast<int32_t>(reinterpret_cast<intptr_t>(address));
}

// An array that will be printed has the capacity for every index, because an incomplete tree may
// contain any. Memory that is never accessed costs nothing.
void *allocate_nodes(uint32_t capacity) {
    const uint32_t reach = debug_flag == 1 ? TREE_MAX_NODES : 0;
    return calloc(std::max(capacity, reach), sizeof(tree_node_t));
}

void double_capacity(uint32_t wanted) {
    const uint32_t old_capacity = tsh_main_tree_max_nodes;
    const uint32_t capacity = 2 * old_capacity;
    void *grown = old_capacity > UINT32_MAX / 2 ? nullptr : allocate_nodes(capacity);
    if (grown == nullptr) {
        puts("Fatal error: Memory could not be allocated ");
        exit(kCannotGrowStatus);
    }
    const base::Block<tree_node_t> old_array{tsh_main_tree};
    tsh_main_tree = static_cast<tree_node_t *>(grown);
    tsh_main_tree_max_nodes = capacity;
    std::copy_n(old_array.get(), old_capacity, tsh_main_tree);
    if (debug_flag != 1)
        return;
    printf("Old size = %d, Numnodes = %d, Allocated memory = %d \n",
           static_cast<int32_t>(old_capacity), static_cast<int32_t>(wanted),
           static_cast<int32_t>(capacity));
    printf("Old memory was %d, new is %d \n", printed_address(old_array.get()),
           printed_address(tsh_main_tree));
    display_array_tree(tsh_main_tree, 0, 0);
}

void make_first_array() {
    tsh_main_tree = tsh::allocate_zeroed<tree_node_t>(kFirstCapacity).release();
    tsh_main_tree_max_nodes = kFirstCapacity;
    if (debug_flag == 1)
        printf("Allocated memory = %u \n", kFirstCapacity);
}

} // namespace

int32_t assign_space(int8_t mode, uint32_t node_count) {
    if (mode == ASSIGN_SPACE_EXACT) {
        tsh_main_tree = tsh::allocate_zeroed<tree_node_t>(node_count).release();
        return 0;
    }
    if (tsh_main_tree == nullptr)
        make_first_array();
    else if (tsh_main_tree_max_nodes == 0)
        tsh_main_tree_max_nodes = std::max(tsh_main_tree_node_count, 1U);
    while (node_count + tsh_main_tree_node_count > tsh_main_tree_max_nodes)
        double_capacity(node_count);
    return 0;
}

void adjust_indices(tree_node_t *nodes, uint32_t first, uint32_t count) {
    for (tree_node_t &node : std::span{nodes + first, count}) {
        for (uint16_t &child : tsh::children_of(node))
            child = static_cast<uint16_t>(child + first);
    }
}
