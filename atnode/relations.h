/* Relations between the nodes of the tree at g_atn. Downward relations come from the node; upward
 * and sideways ones from the traversal stack: its top is taken to be the parent of the node in
 * hand, or the node itself. None of them allocates or ends the process. */
#ifndef TSH_ATNODE_RELATIONS_H
#define TSH_ATNODE_RELATIONS_H

#include "atnode/stack.h"

/** What atnode_depth adds for every node but the root; 0 at start, set by programs only. */
TSH_API int32_t atnode_root_depth;

/** @return the first child; null for a null node or one without children. */
TSH_API const tree_node_t *atnode_first_child(const tree_node_t *node);

/** @return child n, counted from 0; null when there is none or for a null node. */
TSH_API const tree_node_t *atnode_nth_child(const tree_node_t *node, int32_t n);

/** The entry below the top when the node is the top entry, else the top entry; no child list is
 * consulted. Of a node that is the only entry, atnode_stack_peek reports on standard error that
 * nothing is below it.
 * @return null for a null node, for the root, and when the stack holds no such entry. */
TSH_API const tree_node_t *atnode_parent(const tree_node_t *node);

/** @return the first child of the node's parent, whether that lists the node or not; the root
 * itself for the root; null for a null node, without a parent, and when the parent has no children.
 */
TSH_API const tree_node_t *atnode_first_sibling(const tree_node_t *node);

/** The child after the node in its parent's list. A parent that does not list the node is reported
 * on standard error. Scans the list.
 * @return null at the end of the list, for the root, a null node, without a parent, and when the
 *         parent does not list the node. */
TSH_API const tree_node_t *atnode_next_sibling(const tree_node_t *node);

/** Position of the node in its parent's list, from 0. Scans the list.
 * @return -1 without a parent, for a null node, and when the parent does not list the node. */
TSH_API int32_t atnode_child_position(const tree_node_t *node);

/** Depth of the node: 1 for the root, 0 for null, else atnode_root_depth plus the height of the
 * stack, and one more unless the node is on top. */
TSH_API int32_t atnode_depth(const tree_node_t *node);

#endif
