// What the files of the linker share of its tables.
#pragma once

#include "treelink/link_table.h"

namespace tsh {

/// An empty table with names as keys.
GHashTable *new_name_table();

/// The value stored under a name; null for an unknown one.
void *find_name(GHashTable *table, const char *name);
inline const treelink_cell_t *find_cell(GHashTable *table, const char *name) {
    return static_cast<const treelink_cell_t *>(find_name(table, name));
}

/// Stores a value under a name that the table does not know yet. The table takes both over.
void add_name(GHashTable *table, char *name, void *value);

/// Releases a table with its keys and values; null is ignored.
void release_name_table(GHashTable *table);

/// Releases a list of subtrees with their nodes; null is ignored.
void release_subtrees(subtree_entry_t *record);

/// A copy of a node's name on the heap.
char *copy_name(const tree_node_t &node);

} // namespace tsh
