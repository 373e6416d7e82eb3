/* Building the linked tree: which subtrees can be attached, what has to be borrowed from the
 * prebuilt trees for them, and the one array that holds them all, every subtree below the nodes
 * that its attach path names. Also a growable node array for programs that build trees of their
 * own. */
#ifndef TSH_TREELINK_ATTACH_H
#define TSH_TREELINK_ATTACH_H

#include "treelink/link_table.h"

/** 0 at the end of every link; otherwise the program's own. */
TSH_API uint32_t tsh_current_position;

/** Ends the reading of files and links what was read. The array begins with the subtree at the
 * head of tsh_root_tree_table, followed by the attachable subtrees, the one read last first, with
 * what was borrowed for one right behind it; each is attached below every node that its attach path
 * names. Everything else of the link is
 * released, and the next file read starts a new one.
 *
 * A path is left out, with a message on standard error, when its name is not in the array, when a
 * child of the parent stands for the same word, when the parent has 192 children, and when it
 * would close a cycle. A subtree that names one parent twice is linked there once. A subtree none
 * of whose paths is linked stays in the array. If the cycle search exceeds its limit, the path is
 * not attached either. The message names both nodes and their files.
 *
 * @param out the linked array, released by the caller with free; null when there is none.
 * @return the nodes of the array; 0 without a subtree from the root file; -1 after a message on
 *         standard error when there are more than 65,536. */
TSH_API int32_t get_parse_tree(tree_node_t **out);

/** Judges every subtree of the list and releases the link table. A subtree is resolvable when
 * every name of its attach path is in the table, or can be borrowed (see
 * node_pickup_from_main_tree), and lies in no subtree that is unresolvable. A name that cannot be
 * found is reported on standard error. Both prebuilt tables are built first. The time taken grows
 * with subtrees and attach paths as sorting them does. @return 0. */
TSH_API int32_t mark_resolvable_subtrees(subtree_entry_t **head, GHashTable *table);

/** Borrows a node from the prebuilt trees, the first one that knows it, and then its ancestors up
 * to the first whose name is in the table. Each becomes a subtree of one node, not terminal,
 * without children, attached below its parent; the new records follow the given one in its list,
 * ancestors first, and enter the table.
 * @return 1; 0 without main_tree_dl_hash, for an unknown name and for the root of a prebuilt tree,
 *         which has no parent to be attached to. */
TSH_API int32_t node_pickup_from_main_tree(const char *name, GHashTable *table,
                                           subtree_entry_t *record);

/** Copies a record's nodes to place *next of the array, which has room for them, makes their child
 * indices count from the start of the array, enters their names in the table of locations, stores
 * the place in the record and advances *next.
 * @param head not used.
 * @return the place. */
TSH_API uint32_t add_subtree_in_main_tree(tree_node_t *array, uint32_t *next,
                                          subtree_entry_t **head, subtree_entry_t *record,
                                          GHashTable *table);

/** Tells whether two siblings would stand for the same word: keywords of equal tokens, or
 * parameters whose first types are equal and neither URI nor INTERFACE.
 * @return 1 after a message on standard error that names both, else 0. */
TSH_API int32_t check_conflicting_node(const tree_node_t *existing, const tree_node_t *added);

/** Compares a node with the children of a parent up to the first conflict. @return as above. */
TSH_API int32_t check_conflicting_children(const tree_node_t *array, int32_t parent,
                                           const tree_node_t *added);

/** Inserts a child into the parent's list, in front of the first child that sorts after it by
 * treelink_lexicograph_cmp. The parent's child_link_bits stay as they are: bits at and after the
 * position of the new child then mark other links than before.
 * @return 0; -1 after a message on standard error when the parent has 192 children. */
TSH_API int32_t update_child_list(tree_node_t *array, uint32_t parent, uint32_t child);

/** The growable array. The capacity is meaningful once a growing call has set it; after an exact
 * call the program sets it before the array may grow. */
TSH_API tree_node_t *tsh_main_tree;
TSH_API uint32_t tsh_main_tree_node_count; /**< Nodes in use, kept by the program. */
TSH_API uint32_t tsh_main_tree_max_nodes;  /**< Capacity in nodes. */

#define ASSIGN_SPACE_EXACT 20 /**< A mode of assign_space. */

/** Makes room in tsh_main_tree; new nodes are all zero.
 * ASSIGN_SPACE_EXACT: a fresh array of node_count nodes; count and capacity stay as they are, and
 * the array before is the program's to release.
 * Any other mode: an array of 5 nodes if there is none, then twice the capacity until node_count
 * more than the nodes in use fit, their sum being taken in 32 bits. An array whose capacity is 0 is
 * taken to hold just the nodes in use. When the array cannot grow, the process ends with status 255
 * after a message on standard output. @return 0. */
TSH_API int32_t assign_space(int8_t mode, uint32_t node_count);

/** Adds first to every child index of nodes first .. first + count - 1, in 16 bits. */
TSH_API void adjust_indices(tree_node_t *nodes, uint32_t first, uint32_t count);

#endif
