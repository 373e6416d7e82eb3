/* Relations between the nodes of the tree at g_atn. Children are read from the node; parents and
 * siblings are determined by the traversal stack: the top entry must be the parent of the node, or
 * the node itself. No operation allocates memory or ends the process. */
#ifndef TSH_ATNODE_RELATIONS_H
#define TSH_ATNODE_RELATIONS_H

#include "atnode/stack.h"

/** Number that atnode_depth adds for every node except the root; initially 0, set by programs only.
 */
TSH_API int32_t atnode_root_depth;

/** Returns the first child; null for a null node or one without children. */
TSH_API const tree_node_t *atnode_first_child(const tree_node_t *node);

/** Returns child n, counted from 0; null if there is none, and for a null node. */
TSH_API const tree_node_t *atnode_nth_child(const tree_node_t *node, int32_t n);

/** Returns the parent of a node: the entry below the top if the node is the top entry, else the top
 * entry. No child list is read. If the node is the only entry, atnode_stack_peek reports on
 * standard error that there is no entry below it.
 * @return null for a null node, for the root, and if the stack has no such entry. */
TSH_API const tree_node_t *atnode_parent(const tree_node_t *node);

/** Returns the first child of the node's parent, even if the parent does not list the node; the
 * root itself for the root; null for a null node, without a parent, and if the parent has no
 * children. */
TSH_API const tree_node_t *atnode_first_sibling(const tree_node_t *node);

/** Returns the child after the node in its parent's list. Scans the list. If the parent does not
 * list the node, reports this on standard error.
 * @return null at the end of the list, for the root, for a null node, without a parent, and if the
 *         parent does not list the node. */
TSH_API const tree_node_t *atnode_next_sibling(const tree_node_t *node);

/** Returns the position of the node in its parent's list, counted from 0. Scans the list.
 * @return -1 without a parent, for a null node, and if the parent does not list the node. */
TSH_API int32_t atnode_child_position(const tree_node_t *node);

/** Returns the depth of the node: 1 for the root, 0 for null, else atnode_root_depth plus the
 * height of the stack, and one more unless the node is on top. */
TSH_API int32_t atnode_depth(const tree_node_t *node);

#endif
