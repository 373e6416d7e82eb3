/* What the device's tree library supplies around array trees: the cycle check, a listing for
 * debugging, attach-path records and the notice of a new root tree. A device would swap it. */
#ifndef TSH_PARSE_TREE_TREE_LIBRARY_H
#define TSH_PARSE_TREE_TREE_LIBRARY_H

#include "parse_tree/tree_node.h"

/** Tells whether a cycle can be reached from node 0, or a level below the 256th.
 * The two numbers are not used; callers pass 0. Child indices must lie inside the array.
 * Takes 384 KB of memory for the walk.
 * @return 1 for a cycle or for too deep a tree, and where there is no memory to tell, with errno
 * ENOMEM; else 0. */
TSH_API int32_t cycle_check(const tree_node_t *nodes, uint32_t unused1, uint32_t unused2);

/** Prints the tree below node 0 on standard output, one line per node: index, name, token and
 * child indices, indented by level. A node with several parents is printed where it is met first.
 * The two numbers are not used; callers pass 0. A null array prints nothing. Child indices must
 * lie inside the array. Takes 256 KB of memory for the walk; where there is none, one line
 * says so instead. */
TSH_API void display_array_tree(const tree_node_t *nodes, uint32_t unused1, uint32_t unused2);

/** Sets the kind of an attach-path record and copies the text, cut to its field. */
TSH_API void populate_subtree_path(subtree_path_t *record, uint32_t kind, const char *text);

/** Notice that the main tree just mapped is the current root tree. Nothing here needs it.
 * @return 0. */
TSH_API int32_t tsh_parse_tree_root_set(uint32_t index);

#endif
