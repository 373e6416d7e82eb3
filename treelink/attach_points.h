/* Resolution of attach points: which subtrees can be attached, with missing nodes borrowed from
 * prebuilt trees. */
#ifndef TSH_TREELINK_ATTACH_POINTS_H
#define TSH_TREELINK_ATTACH_POINTS_H

#include "treelink/link_table.h"
#include "treelink/prebuilt_tree.h"

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

#endif
