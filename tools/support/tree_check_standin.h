// The check of trees until the library offers it: the same names and results, fewer checks told.
#pragma once

#include "parse_tree/tree_node.h"

#include <algorithm>
#include <bitset>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

struct tsh_tree_fault_t {
    const char *check;
    const char *what;
    uint32_t node;
    int32_t position;
    uint16_t child;
};
using tsh_tree_fault_fn = int32_t (*)(const tsh_tree_fault_t *fault, void *context);

inline uint32_t tsh_tree_check(const tree_node_t *nodes, uint32_t count, tsh_tree_fault_fn report,
                               void *context) {
    uint32_t faults = 0;
    const auto tell = [&](const char *check, const char *what, uint32_t node) {
        const tsh_tree_fault_t fault{check, what, node, -1, 0};
        report(&fault, context);
        ++faults;
    };
    for (uint32_t i = 0; i < count; ++i) {
        const tree_node_t &node = nodes[i];
        if (node.param_count > TREE_MAX_PARAMS)
            tell("param-count", "param_count is above 2", i);
        if (node.child_count > TREE_MAX_CHILDREN) {
            tell("child-count", "child_count is above 192", i);
            continue;
        }
        std::vector<uint16_t> links{node.children, node.children + node.child_count};
        std::sort(links.begin(), links.end());
        if (!links.empty() && links.back() >= count)
            tell("child-index", "a child index lies outside the tree", i);
        if (std::adjacent_find(links.begin(), links.end()) != links.end())
            tell("child-twice", "a child is listed twice", i);
        for (const auto &[text, size] : {std::pair{node.name, sizeof node.name},
                                         {node.token, sizeof node.token},
                                         {node.help, sizeof node.help},
                                         {node.submode_help, sizeof node.submode_help},
                                         {node.aux_text, sizeof node.aux_text},
                                         {node.func_id, sizeof node.func_id},
                                         {node.mode_id, sizeof node.mode_id},
                                         {node.aux_label, sizeof node.aux_label}})
            if (memchr(text, 0, size) == nullptr)
                tell("unterminated-text", "a text is not terminated", i);
    }
    if (faults > 0 || count == 0)
        return faults;
    // Kahn: what is left when nodes without unvisited parents are taken away lies on cycles.
    std::vector<uint8_t> reached(count);
    std::vector<uint32_t> parents(count);
    std::vector<uint16_t> list{0};
    reached[0] = 1;
    for (size_t next = 0; next < list.size(); ++next)
        for (uint16_t c = 0; c < nodes[list[next]].child_count; ++c) {
            const uint16_t child = nodes[list[next]].children[c];
            ++parents[child];
            if (!reached[child]) {
                reached[child] = 1;
                list.push_back(child);
            }
        }
    const size_t all = list.size();
    list.clear();
    if (parents[0] == 0)
        list.push_back(0);
    for (size_t next = 0; next < list.size(); ++next)
        for (uint16_t c = 0; c < nodes[list[next]].child_count; ++c)
            if (const uint16_t child = nodes[list[next]].children[c]; --parents[child] == 0)
                list.push_back(child);
    if (list.size() < all)
        tell("cycle", "a link leads back to an ancestor", 0);
    return faults;
}

inline size_t tsh_tree_fault_text(const tree_node_t * /*nodes*/, uint32_t /*count*/,
                                  const tsh_tree_fault_t *fault, char *buffer, size_t capacity) {
    return static_cast<size_t>(snprintf(buffer, capacity, "node %u: %s", fault->node, fault->what));
}
