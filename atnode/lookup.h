/* Lookups by keyword, in the tree at g_atn or in the tree of a handle. A token matches a node if
 * it is a case-insensitive prefix of the node's token. A parameter node has an empty token, so only
 * the empty token matches it. The first match wins; ambiguous prefixes are not detected. */
#ifndef TSH_ATNODE_LOOKUP_H
#define TSH_ATNODE_LOOKUP_H

#include "parse_tree/tree.h"

/** Returns the first match among the descendants of a node of the tree at g_atn: its children in
 * order, then the subtrees of its children in order. Does not validate the tree, like the walks.
 * Children are always those of the tree at g_atn, whatever tree the node belongs to. Uses about a
 * hundred bytes of call stack per level.
 * @param depth number of levels to search below the children; 0 searches only the children.
 * @return null if nothing matches, and for a null node or a null or empty token. */
TSH_API const tree_node_t *atnode_find_token(const tree_node_t *node, int32_t depth,
                                             const char *token);

/** Returns the first match in the same way in the tree of a handle. The call stack does not grow
 * with the depth. A shared node is not searched again at the same or a greater depth.
 * @return null also if out of memory: 4 bytes per node of the tree, none at depth 0. */
TSH_API const tree_node_t *tsh_tree_find_token(const tsh_tree_t *tree, const tree_node_t *node,
                                               uint32_t depth, const char *token);

/** Compares a token with a node.
 * @return 0 if the token matches the node, else the sign of the first difference; -1 for a null
 *         token or node. */
TSH_API int32_t node_token_cmp(const tree_node_t *node, const char *token);

#endif
