/* The order in which the linker keeps the children of a node. */
#ifndef TSH_TREELINK_SIBLING_ORDER_H
#define TSH_TREELINK_SIBLING_ORDER_H

#include "parse_tree/tree_node.h"

/** Order of siblings in a linked tree: by token, then by name, bytewise. Parameter positions, whose
 * token is empty, come first. Independent of the order in which files are listed.
 * @return -1, 0 or 1 as the first node sorts before, with or after the second. */
TSH_API int32_t treelink_lexicograph_cmp(const tree_node_t *first, const tree_node_t *second);

#endif
