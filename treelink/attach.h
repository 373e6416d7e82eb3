/* Linking: resolves attach paths, borrows missing nodes from prebuilt trees, and builds the array
 * with all subtrees. Also a growable node array for programs that build their own trees. */
#ifndef TSH_TREELINK_ATTACH_H
#define TSH_TREELINK_ATTACH_H

#include "treelink/link_table.h"

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

/** Sets the status of every subtree of the list and releases the link table. A subtree is
 * resolvable if every name of its attach path is in the table, or can be borrowed (see
 * node_pickup_from_main_tree), and is not in an unresolvable subtree. Reports a name that cannot be
 * found on standard error. Builds both prebuilt tables first. Runs in n log n time in subtrees and
 * attach paths. @return 0. */
TSH_API int32_t mark_resolvable_subtrees(subtree_entry_t **head, GHashTable *table);

/** Borrows a node from the first prebuilt tree that contains it, and then its ancestors up to the
 * first whose name is in the table. Each becomes a subtree of one node, not terminal and without
 * children, attached to its parent. The new records are inserted into the table, and into the list
 * after the given record, ancestors first.
 * @return 1; 0 without main_tree_dl_hash, for an unknown name, and for the root of a prebuilt tree,
 *         which has no parent. */
TSH_API int32_t node_pickup_from_main_tree(const char *name, GHashTable *table,
                                           subtree_entry_t *record);

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

/** The growable array. A growing call sets the capacity; after an exact call, the program must set
 * it before the array may grow. */
TSH_API tree_node_t *tsh_main_tree;
TSH_API uint32_t tsh_main_tree_node_count; /**< Nodes in use, set by the program. */
TSH_API uint32_t tsh_main_tree_max_nodes;  /**< Capacity in nodes. */

#define ASSIGN_SPACE_EXACT 20 /**< A mode of assign_space. */

/** Allocates memory for tsh_main_tree; new nodes are all zero.
 * - ASSIGN_SPACE_EXACT: allocates a new array of node_count nodes. Count and capacity do not
 * change, and the program must release the previous array.
 * - Any other mode: allocates an array of 5 nodes if there is none, then doubles the capacity until
 *   node_count more nodes fit (sum in 32 bits). If the capacity is 0, the array is assumed to
 *   contain only the nodes in use. If the array cannot grow, exits with status 255 after a message
 *   on standard output.
 * @return 0. */
TSH_API int32_t assign_space(int8_t mode, uint32_t node_count);

/** Adds first to every child index of nodes first .. first + count - 1, in 16 bits. */
TSH_API void adjust_indices(tree_node_t *nodes, uint32_t first, uint32_t count);

#endif
