/* Linking: builds the array with all subtrees, and attaches each to the nodes that its paths name.
 */
#ifndef TSH_TREELINK_ATTACH_H
#define TSH_TREELINK_ATTACH_H

#include "treelink/attach_points.h"
#include "treelink/node_array.h"

/** Set to 0 at the end of every link; otherwise for use by the program. */
TSH_API uint32_t tsh_current_position;

/** Stops reading files and links what was read. The array starts with the subtree at the head of
 * tsh_root_tree_table, followed by the resolvable subtrees, the one read last first, each followed
 * by the nodes borrowed for it. Each subtree is attached to every node that its attach path names.
 * Releases everything else of the link; the next file read starts a new link.
 *
 * Skips a path, with a message on standard error, if its name is not in the array, if a child of
 * the parent matches the same word, if the parent has 192 children, or if the link would create a
 * cycle. If the cycle search exceeds its limit, the path is not attached either. The message names
 * both nodes and their files. A subtree that names one parent twice is attached there once. A
 * subtree without any attached path stays in the array.
 *
 * @param out the linked array, released by the caller with free; null if there is none.
 * @return the number of nodes of the array; 0 without a subtree from the root file; -1 after a
 *         message on standard error if there are more than 65,536. */
TSH_API int32_t get_parse_tree(tree_node_t **out);

/** Copies the nodes of a record to index *next of the array, which must have enough capacity. Makes
 * their child indices relative to the start of the array, inserts their names into the table of
 * locations, stores the index in the record and advances *next.
 * @param head unused.
 * @return the index. */
TSH_API uint32_t add_subtree_in_main_tree(tree_node_t *array, uint32_t *next,
                                          subtree_entry_t **head, subtree_entry_t *record,
                                          GHashTable *table);

/** Returns whether two siblings would match the same word: keywords with equal tokens, or
 * parameters whose first types are equal and neither URI nor INTERFACE.
 * @return 1 after a message on standard error that names both, else 0. */
TSH_API int32_t check_conflicting_node(const tree_node_t *existing, const tree_node_t *added);

/** Compares a node with the children of a parent up to the first conflict.
 * @return as check_conflicting_node. */
TSH_API int32_t check_conflicting_children(const tree_node_t *array, int32_t parent,
                                           const tree_node_t *added);

/** Inserts a child into the parent's list, before the first child that sorts after it by
 * treelink_lexicograph_cmp. Does not change the parent's child_link_bits: bits at and after the
 * position of the new child then mark different links than before.
 * @return 0; -1 after a message on standard error if the parent has 192 children. */
TSH_API int32_t update_child_list(tree_node_t *array, uint32_t parent, uint32_t child);

#endif
