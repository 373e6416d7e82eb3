/* What the device's tree library supplies around array trees: the cycle check, a listing for
 * debugging, attach-path records, the order of siblings and the notice of a new root tree. */
#ifndef TSH_PLATFORM_TREE_LIBRARY_H
#define TSH_PLATFORM_TREE_LIBRARY_H

#include "parse_tree/tree_node.h"

/** Tells whether a cycle can be reached from node 0, or a level below the 256th.
 * The two numbers are not used; callers pass 0. Child indices must lie inside the array.
 * @return 1 for a cycle or for too deep a tree, else 0. */
TSH_API int32_t cycle_check(const tree_node_t *nodes, uint32_t unused1, uint32_t unused2);

/** Prints the tree below node 0 on standard output, one line per node: index, name, token and
 * child indices, indented by level. A node with several parents is printed where it is met first.
 * The two numbers are not used; callers pass 0. A null array prints nothing. Child indices must
 * lie inside the array. */
TSH_API void display_array_tree(const tree_node_t *nodes, uint32_t unused1, uint32_t unused2);

/** Sets the kind of an attach-path record and copies the text, cut to its field. */
TSH_API void populate_subtree_path(subtree_path_t *record, uint32_t kind, const char *text);

/** Order of siblings in a linked tree: by token, then by name, bytewise. Parameter positions, whose
 * token is empty, come first. Independent of the order in which files are listed.
 * @return -1, 0 or 1 as the first node sorts before, with or after the second. */
TSH_API int32_t treelink_lexicograph_cmp(const tree_node_t *first, const tree_node_t *second);

/** Notice that the main tree just mapped is the current root tree. Nothing here needs it.
 * @return 0. */
TSH_API int32_t tsh_parse_tree_root_set(uint32_t index);

#endif
