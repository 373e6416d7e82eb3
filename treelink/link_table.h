/* The linker's tables, GLib hash tables without destroy functions, keyed by node name: the link
 * table of the current link, and the two tables over the prebuilt trees that attach points are
 * borrowed from. Keys and values come from malloc. */
#ifndef TSH_TREELINK_LINK_TABLE_H
#define TSH_TREELINK_LINK_TABLE_H

#include "treelink/subtree_read.h"

/** Kinds of link table cells. */
#define TREELINK_CELL_OWNER 1
#define TREELINK_CELL_LOCATION 2

/** Value of a link table. The kind is that of the whole table: owners while files are read and
 * subtrees judged, locations while subtrees are linked. */
typedef union treelink_cell_t {
    subtree_entry_t *owner; /**< The record whose subtree contains the node. */
    uint32_t location;      /**< Index of the node in the linked array. */
} treelink_cell_t;

/** Value of the prebuilt-tree tables; both nodes lie inside the tree that was read. */
typedef struct dl_hash_entry_t {
    const tree_node_t *node;   /**< The node of that name. */
    const tree_node_t *parent; /**< The node through which it was reached; null for the root. */
} dl_hash_entry_t;

/** The current link table; null between links. */
TSH_API GHashTable *treelink_table;

/** The prebuilt-tree tables, null until built. Each owns its entries and the tree they point
 * into; building it anew releases both. */
TSH_API GHashTable *main_tree_dl_hash;  /**< Over "main_tree.pars". */
TSH_API GHashTable *main_tree2_dl_hash; /**< Over "main_tree2.pars". */

/** Directory of the prebuilt trees, set by the program and at most 187 characters long; null (at
 * start) when there are none. */
TSH_API char *prebuilt_main_tree_path;

/** Enters the names of nodes first .. first + count - 1. Unnamed nodes are left out. A name that
 * is known already keeps its cell and is reported on standard error.
 * @param file_name for that message.
 * @param kind TREELINK_CELL_OWNER: the cell holds owner; TREELINK_CELL_LOCATION: the index.
 * @return 0. */
TSH_API int32_t insert_nodes_in_hashtable(GHashTable *table, const char *file_name,
                                          const tree_node_t *nodes, uint32_t first, int32_t count,
                                          int32_t kind, subtree_entry_t *owner);

/** Looks a name up in a table of locations; of an owner's cell it gives 32 bits of the
 * pointer.
 * @return 0 with *out set; -1 (*out untouched) for an unknown name. */
TSH_API int32_t locate_node(GHashTable *table, const char *name, uint32_t *out);

/** Prints one entry on standard output: name, address of the cell and its location. A callback for
 * g_hash_table_foreach; the third argument is ignored. */
TSH_API void display_link_table(void *key, void *cell, void *unused);

/** Releases the key and the cell of one entry. A callback for g_hash_table_foreach_remove; the
 * third argument is ignored. @return 1: the entry is to be removed. */
TSH_API int32_t cleanup_link_table_entry(void *key, void *cell, void *unused);

/** Enters a node and everything below it, with their parents, as a preorder walk meets them: of
 * several nodes of one name, and of several parents of one node, the last one met counts. An
 * unnamed node and what lies below it are left out. The time taken is linear in nodes and links,
 * however many paths lead to a node.
 * @param base node 0 of the tree; the child indices must lie inside it.
 * @param parent of the node, null for a root.
 * @return 0. */
TSH_API int32_t atnodes_to_dl_hash(const tree_node_t *base, GHashTable *table, uint32_t index,
                                   const tree_node_t *parent);

/** Builds main_tree_dl_hash over the prebuilt tree "main_tree.pars", which is read into memory.
 * @return 0; 1 (the table keeps its value) silently without a prebuilt directory, and after
 *         "main_tree_to_hash: can't read file " on standard output when the directory is too long,
 *         the file cannot be read or its tree is invalid; standard error then names the file too,
 * unless there is none. */
TSH_API int32_t main_tree_to_dl_hash(void);

/** The same for main_tree2_dl_hash and "main_tree2.pars". */
TSH_API int32_t main_tree2_to_dl_hash(void);

/** Ends a link: releases the records of the unresolved list with their nodes; of the root list the
 * head alone, and only if it has nodes; and the table with its entries, which treelink_table then
 * no longer points to. The list heads keep their value, which is of no more use. @return 0. */
TSH_API int32_t treelink_cleanup(subtree_entry_t **unresolved_head, subtree_entry_t **root_head,
                                 GHashTable *table);

#endif
