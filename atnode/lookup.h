/* Lookups by keyword in the tree at g_atn. A token matches a node when it is a prefix of the node's
 * token, compared without regard to case. So a parameter node, whose token is empty, is matched by
 * the empty token alone. The tree is trusted as by the walks. */
#ifndef TSH_ATNODE_LOOKUP_H
#define TSH_ATNODE_LOOKUP_H

#include "parse_tree/tree_node.h"

/** The first match below a node: its children in order, then the subtrees of its children in order.
 * Ambiguous prefixes are not detected. Takes some hundred bytes of call stack for each level that
 * it goes down.
 * @param depth levels looked at below the children: 0 looks at the children alone.
 * @return null when nothing matches, and for a null node or a null or empty token. */
TSH_API const tree_node_t *atnode_find_token(const tree_node_t *node, int32_t depth,
                                             const char *token);

/** @return 0 when the token matches the node, else the sign of the first difference; -1 for a null
 * token or node. */
TSH_API int32_t node_token_cmp(const tree_node_t *node, const char *token);

#endif
