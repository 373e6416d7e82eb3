/* Walks over the tree at g_atn that hand each node to a caller's visit function. They trust the
 * tree: child indices name nodes of it and no link leads back to an ancestor, as the check of a
 * loaded main tree ensures. None of them allocates. */
#ifndef TSH_ATNODE_WALK_H
#define TSH_ATNODE_WALK_H

#include "atnode/relations.h"

/** Called on each node with the caller's argument; the result is ignored, and a walk cannot be
 * stopped. It leaves the traversal stack as it found it. */
typedef int32_t (*atnode_visit_t)(const tree_node_t *node, int32_t argument);

/** Visits the node and everything below it, each node before its children, a shared node once per
 * path. Nothing for a null node. The three numbers are carried along and not looked at. The
 * traversal stack is not used. Takes at most 300 KB of call stack, however deep the tree. */
TSH_API void atnode_traverse(const tree_node_t *node, int32_t carried1, int32_t carried2,
                             int32_t carried3, atnode_visit_t visit, int32_t argument);

/** The walk of atnode_traverse, for a node that is not null. */
TSH_API void atn_preorder_traverse(const tree_node_t *node, atnode_visit_t visit, int32_t carried1,
                                   int32_t carried2, int32_t carried3, int32_t argument);

/** Visits the children of the node in order, the node being on the traversal stack meanwhile. */
TSH_API void atnode_children_foreach(const tree_node_t *node, atnode_visit_t visit,
                                     int32_t argument);

/** Visits all siblings of the node, itself included, in order; for the root only the root. The
 * parent must be on top of the traversal stack. */
TSH_API void atnode_sibling_foreach(const tree_node_t *node, atnode_visit_t visit,
                                    int32_t argument);

/** Visits the optional nodes below the optional siblings of the node (itself included), following
 * chains of optional nodes downwards. Optional nodes at the reference depth are entered but not
 * visited; a submode node is entered only when its optional field is 4. The parent must be on top
 * of the traversal stack.
 * @param depth the reference depth; a negative one stands for atnode_depth(node). */
TSH_API void atnode_look_ahead_foreach(const tree_node_t *node, atnode_visit_t visit, int32_t depth,
                                       int32_t argument);

#endif
