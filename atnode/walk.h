/* Walks over the tree at g_atn that call a visit function for each node. They do not validate the
 * tree: child indices must be in range, and no link may lead to an ancestor, as the check of a
 * loaded main tree ensures. No walk allocates memory. */
#ifndef TSH_ATNODE_WALK_H
#define TSH_ATNODE_WALK_H

#include "atnode/relations.h"

/** Called for each node with the caller's argument. The result is ignored; a walk cannot be
 * stopped. The function must leave the traversal stack unchanged. */
typedef int32_t (*atnode_visit_t)(const tree_node_t *node, int32_t argument);

/** Visits the node and its descendants in preorder, a shared node once per path. Does nothing for a
 * null node. The three integers are unused, and so is the traversal stack. Uses at most 300 KB of
 * call stack, whatever the depth of the tree. */
TSH_API void atnode_traverse(const tree_node_t *node, int32_t carried1, int32_t carried2,
                             int32_t carried3, atnode_visit_t visit, int32_t argument);

/** Walks like atnode_traverse; the node must not be null. */
TSH_API void atn_preorder_traverse(const tree_node_t *node, atnode_visit_t visit, int32_t carried1,
                                   int32_t carried2, int32_t carried3, int32_t argument);

/** Visits the children of the node in order, with the node on the traversal stack. */
TSH_API void atnode_children_foreach(const tree_node_t *node, atnode_visit_t visit,
                                     int32_t argument);

/** Visits all siblings of the node, including itself, in order; for the root only the root. The
 * parent must be on top of the traversal stack. */
TSH_API void atnode_sibling_foreach(const tree_node_t *node, atnode_visit_t visit,
                                    int32_t argument);

/** Visits the optional descendants of the optional siblings of the node (including itself) that are
 * reachable through optional nodes only. Optional nodes at the reference depth are entered but not
 * visited; a submode node is entered only if its optional field is 4. The parent must be on top of
 * the traversal stack.
 * @param depth the reference depth; a negative value means atnode_depth(node). */
TSH_API void atnode_look_ahead_foreach(const tree_node_t *node, atnode_visit_t visit, int32_t depth,
                                       int32_t argument);

#endif
