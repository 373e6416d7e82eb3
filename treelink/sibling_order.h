/* Position of a subtree among the children of its attach point: before the first child that sorts
 * after it, otherwise last. The existing children keep their order. */
#ifndef TSH_TREELINK_SIBLING_ORDER_H
#define TSH_TREELINK_SIBLING_ORDER_H

#include "parse_tree/tree_node.h"

/** Compares by token, then by name, bytewise. Parameter positions, whose token is empty, sort
 * before keywords.
 * @return -1, 0 or 1 if the first node sorts before, equal to or after the second. */
TSH_API int32_t treelink_lexicograph_cmp(const tree_node_t *first, const tree_node_t *second);

#endif
