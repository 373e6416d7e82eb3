/* Lookups by keyword, in the tree at g_atn or in the tree of a handle. A token matches a node when
 * it is a prefix of the node's token, compared without regard to case. So a parameter node, whose
 * token is empty, is matched by the empty token alone. The first match wins; ambiguous prefixes are
 * not detected. */
#ifndef TSH_ATNODE_LOOKUP_H
#define TSH_ATNODE_LOOKUP_H

#include "parse_tree/tree.h"

/** The first match below a node of the tree at g_atn: its children in order, then the subtrees of
 * its children in order. The tree is trusted as by the walks, and children are always those of the
 * tree at g_atn, whatever tree the node is of. Takes some hundred bytes of call stack for each
 * level that it goes down.
 * @param depth levels looked at below the children: 0 looks at the children alone.
 * @return null when nothing matches, and for a null node or a null or empty token. */
TSH_API const tree_node_t *atnode_find_token(const tree_node_t *node, int32_t depth,
                                             const char *token);

/** The same in the tree of a handle. Without call stack in proportion to depth, and without
 * searching a shared node twice at one depth or at a greater one.
 * @return null also without memory: 4 bytes for each node of the tree, none at depth 0. */
TSH_API const tree_node_t *tsh_tree_find_token(const tsh_tree_t *tree, const tree_node_t *node,
                                               uint32_t depth, const char *token);

/** @return 0 when the token matches the node, else the sign of the first difference; -1 for a null
 * token or node. */
TSH_API int32_t node_token_cmp(const tree_node_t *node, const char *token);

#endif
