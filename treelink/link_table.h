/* The link table of the current link: a GLib hash table without destroy functions, keyed by node
 * name. Keys and values are allocated with malloc. */
#ifndef TSH_TREELINK_LINK_TABLE_H
#define TSH_TREELINK_LINK_TABLE_H

#include "treelink/subtree_read.h"

/** Kinds of link table cells. */
#define TREELINK_CELL_OWNER 1
#define TREELINK_CELL_LOCATION 2

/** Value of a link table. All cells of a table have one kind: owners while files are read and
 * subtrees are resolved, locations while subtrees are linked. */
typedef union treelink_cell_t {
    subtree_entry_t *owner; /**< The record whose subtree contains the node. */
    uint32_t location;      /**< Index of the node in the linked array. */
} treelink_cell_t;

/** The current link table; null between links. */
TSH_API GHashTable *treelink_table;

/** Inserts the names of nodes first .. first + count - 1. Skips unnamed nodes. Reports a duplicate
 * name on standard error and keeps its cell.
 * @param file_name for that message; null: there is no message.
 * @param kind TREELINK_CELL_OWNER: the cell holds owner; TREELINK_CELL_LOCATION: the index.
 * @return 0. */
TSH_API int32_t insert_nodes_in_hashtable(GHashTable *table, const char *file_name,
                                          const tree_node_t *nodes, uint32_t first, int32_t count,
                                          int32_t kind, subtree_entry_t *owner);

/** Looks up a name in a table of locations; for an owner cell, returns 32 bits of the pointer.
 * @return 0 with *out set; -1 (*out unchanged) for an unknown name. */
TSH_API int32_t locate_node(GHashTable *table, const char *name, uint32_t *out);

/** Prints one entry to standard output: name, address of the cell and its location. A callback for
 * g_hash_table_foreach; the third argument is ignored. */
TSH_API void display_link_table(void *key, void *cell, void *unused);

/** Releases the key and the cell of one entry. A callback for g_hash_table_foreach_remove; the
 * third argument is ignored. @return 1: the entry is to be removed. */
TSH_API int32_t cleanup_link_table_entry(void *key, void *cell, void *unused);

/** Releases the memory of a link: the records of the unresolved list with their nodes; only the
 * head of the root list, and only if it has nodes; and the table with its entries, after which
 * treelink_table is null. The list heads are not changed and must not be used. @return 0. */
TSH_API int32_t treelink_cleanup(subtree_entry_t **unresolved_head, subtree_entry_t **root_head,
                                 GHashTable *table);

#endif
