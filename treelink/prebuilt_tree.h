/* Prebuilt trees, from which missing attach points are borrowed, and the tables of their nodes:
 * GLib hash tables without destroy functions, keyed by node name. Keys and values are allocated
 * with malloc. */
#ifndef TSH_TREELINK_PREBUILT_TREE_H
#define TSH_TREELINK_PREBUILT_TREE_H

#include "treelink/subtree_read.h"

/** Files of the prebuilt trees in their directory. */
#define PREBUILT_MAIN_TREE "main_tree.pars"
#define PREBUILT_MAIN_TREE2 "main_tree2.pars"

/** Value of the prebuilt-tree tables; both nodes are in the tree that was read. */
typedef struct dl_hash_entry_t {
    const tree_node_t *node;   /**< The node of that name. */
    const tree_node_t *parent; /**< The parent from which it was reached; null for the root. */
} dl_hash_entry_t;

/** The prebuilt-tree tables, null until built. Each owns its entries and the tree that they point
 * to; building it again releases both. */
TSH_API GHashTable *main_tree_dl_hash;  /**< Nodes of "main_tree.pars". */
TSH_API GHashTable *main_tree2_dl_hash; /**< Nodes of "main_tree2.pars". */

/** Directory of the prebuilt trees, set by the program and at most 187 characters long; null
 * (initially) if there are none. */
TSH_API char *prebuilt_main_tree_path;

/** Inserts a node and its descendants with their parents, in preorder. If several nodes have one
 * name, or a node has several parents, the last one takes effect. Skips an unnamed node and its
 * descendants. Runs in linear time in nodes and links, however many paths lead to a node.
 * @param base node 0 of the tree; the child indices must be in range.
 * @param parent of the node, null for a root.
 * @return 0. */
TSH_API int32_t atnodes_to_dl_hash(const tree_node_t *base, GHashTable *table, uint32_t index,
                                   const tree_node_t *parent);

/** Reads the prebuilt tree "main_tree.pars" into memory and builds main_tree_dl_hash of it.
 * @return 0; 1 on error, with the table unchanged: silently without a prebuilt directory; after
 *         "main_tree_to_hash: can't read file " on standard output if the directory is too long,
 *         the file cannot be read or its tree is invalid. Standard error then also names the file,
 *         unless it does not exist. */
TSH_API int32_t main_tree_to_dl_hash(void);

/** Reads "main_tree2.pars" and builds main_tree2_dl_hash in the same way. */
TSH_API int32_t main_tree2_to_dl_hash(void);

#endif
