/* Services of the device's tree library for array trees: cycle check, listing for debugging,
 * attach-path records and notification of a new root tree. Replaceable by the device's own library.
 */
#ifndef TSH_PARSE_TREE_TREE_LIBRARY_H
#define TSH_PARSE_TREE_TREE_LIBRARY_H

#include "parse_tree/tree_node.h"

/** Returns whether node 0 reaches a cycle or more than 256 levels. The two integers are unused;
 * callers pass 0. Child indices must be inside the array. Allocates 384 KB for the walk.
 * @return 1 for a cycle or too many levels; 1 with errno ENOMEM if out of memory; else 0. */
TSH_API int32_t cycle_check(const tree_node_t *nodes, uint32_t unused1, uint32_t unused2);

/** Prints the tree of node 0 to standard output, one line per node: index, name, token and child
 * indices, indented by level. A shared node is printed at its first occurrence. The two integers
 * are unused; callers pass 0. For a null array, prints nothing. Child indices must be inside the
 * array. Allocates 256 KB for the walk; if out of memory, prints one line that says so instead. */
TSH_API void display_array_tree(const tree_node_t *nodes, uint32_t unused1, uint32_t unused2);

/** Sets the kind of an attach-path record and copies the text, truncated to its field. */
TSH_API void populate_subtree_path(subtree_path_t *record, uint32_t kind, const char *text);

/** Called when a main tree becomes the root tree. Does nothing. @return 0. */
TSH_API int32_t tsh_parse_tree_root_set(uint32_t index);

#endif
