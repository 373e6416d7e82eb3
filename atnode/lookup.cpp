// Keyword lookups: children before deeper levels, and earlier subtrees before later ones.
#include "atnode/lookup.h"

#include "atnode/navigation_internal.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <strings.h>
#include <vector>

using tsh::child_at;
using tsh::trace;
using tsh::traces_navigation;

namespace {

// Returns the first matching child; calls on_child for each child that is compared.
template <typename OnChild>
const tree_node_t *find_child(const tree_node_t *nodes, const tree_node_t &node, const char *token,
                              const OnChild &on_child) {
    const size_t length = strlen(token);
    for (int32_t i = 0; i < node.child_count; ++i) {
        const tree_node_t *child = nodes + node.children[i];
        on_child(i, child);
        if (strncasecmp(child->token, token, length) == 0)
            return child;
    }
    return nullptr;
}

const tree_node_t *find_child_traced(const tree_node_t *node, int32_t depth, const char *token) {
    const auto trace_child = [](int32_t i, const tree_node_t *child) {
        if (traces_navigation())
            trace("atn child #%d, index #%p, token %s\n", i, static_cast<const void *>(child),
                  child->token);
    };
    const tree_node_t *child = find_child(g_atn, *node, token, trace_child);
    if (child != nullptr && traces_navigation())
        trace("at token found at ~depth: %d", depth);
    return child;
}

const tree_node_t *find_silently(const tsh_tree_t *tree, const tree_node_t &node,
                                 const char *token) {
    return find_child(tsh_tree_root(tree), node, token, [](int32_t, const tree_node_t *) {});
}

// Searches depth first below a node whose children do not match. A node that was already searched
// with as many remaining levels is not searched again. Throws std::bad_alloc.
const tree_node_t *find_below(const tsh_tree_t *tree, const tree_node_t &first, uint32_t depth,
                              const char *token) {
    struct Frame {
        const tree_node_t *node;
        uint32_t next_child;
    };
    depth = std::min(depth, tsh_tree_node_count(tree));        // no path is longer
    std::vector<uint32_t> searched(tsh_tree_node_count(tree)); // remaining levels, by node
    std::vector<Frame> path{{&first, 0}};
    while (!path.empty()) {
        const auto levels =
            static_cast<uint32_t>(depth + 1 - path.size()); // levels to search below a child
        Frame &frame = path.back();
        const tree_node_t *child = tsh_tree_child(tree, frame.node, frame.next_child++);
        if (child == nullptr || levels == 0) {
            path.pop_back();
            continue;
        }
        uint32_t &best = searched[static_cast<size_t>(tsh_tree_index(tree, child))];
        if (best >= levels)
            continue;
        best = levels;
        if (const tree_node_t *found = find_silently(tree, *child, token))
            return found;
        path.push_back({child, 0});
    }
    return nullptr;
}

} // namespace

const tree_node_t *atnode_find_token(const tree_node_t *node, int32_t depth, const char *token) {
    if (token == nullptr || token[0] == '\0' || node == nullptr || node->child_count == 0)
        return nullptr;
    if (traces_navigation())
        trace("\nRoot index: %p\n", static_cast<const void *>(node));
    if (const tree_node_t *child = find_child_traced(node, depth, token))
        return child;
    if (depth <= 0) {
        if (traces_navigation())
            trace("atn Depth expired, aborting");
        return nullptr;
    }
    for (int32_t i = 0; i < node->child_count; ++i)
        if (const tree_node_t *found = atnode_find_token(child_at(node, i), depth - 1, token))
            return found;
    return nullptr;
}

const tree_node_t *tsh_tree_find_token(const tsh_tree_t *tree, const tree_node_t *node,
                                       uint32_t depth, const char *token) {
    if (token == nullptr || token[0] == '\0' || node == nullptr)
        return nullptr;
    const tree_node_t *child = find_silently(tree, *node, token);
    if (child != nullptr || depth == 0)
        return child;
    try {
        return find_below(tree, *node, depth, token);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

int32_t node_token_cmp(const tree_node_t *node, const char *token) {
    if (token == nullptr || node == nullptr)
        return -1;
    if (traces_navigation())
        trace("Matching token [%s]\n", node->token);
    return strncasecmp(node->token, token, strlen(token));
}
