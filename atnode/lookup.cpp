// Keyword lookups: nearer levels of one subtree first, earlier subtrees before later ones.
#include "atnode/lookup.h"

#include "atnode/navigation_internal.h"

#include <cstring>
#include <strings.h>

using tsh::child_at;
using tsh::trace;
using tsh::traces_navigation;

namespace {

const tree_node_t *find_child(const tree_node_t *node, int32_t depth, const char *token) {
    const size_t length = strlen(token);
    for (int32_t i = 0; i < node->child_count; ++i) {
        const tree_node_t *child = child_at(node, i);
        if (traces_navigation())
            trace("atn child #%d, index #%p, token %s\n", i, static_cast<const void *>(child),
                  child->token);
        if (strncasecmp(child->token, token, length) == 0) {
            if (traces_navigation())
                trace("at token found at ~depth: %d", depth);
            return child;
        }
    }
    return nullptr;
}

} // namespace

const tree_node_t *atnode_find_token(const tree_node_t *node, int32_t depth, const char *token) {
    if (token == nullptr || token[0] == '\0' || node == nullptr || node->child_count == 0)
        return nullptr;
    if (traces_navigation())
        trace("\nRoot index: %p\n", static_cast<const void *>(node));
    if (const tree_node_t *child = find_child(node, depth, token))
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

int32_t node_token_cmp(const tree_node_t *node, const char *token) {
    if (token == nullptr || node == nullptr)
        return -1;
    if (traces_navigation())
        trace("Matching token [%s]\n", node->token);
    return strncasecmp(node->token, token, strlen(token));
}
