// Common operations on the linker's tables.
#pragma once

#include "treelink/link_table.h"

namespace tsh {

/// Creates an empty table with names as keys.
GHashTable *new_name_table();

/// Returns the value of a name; null for an unknown name.
void *find_name(GHashTable *table, const char *name);
inline const treelink_cell_t *find_cell(GHashTable *table, const char *name) {
    return static_cast<const treelink_cell_t *>(find_name(table, name));
}

/// Inserts a name that is not in the table. The table takes ownership of name and value.
void add_name(GHashTable *table, char *name, void *value);

/// Releases a table with its keys and values; null is ignored.
void release_name_table(GHashTable *table);

/// Releases a list of subtrees with their nodes; null is ignored.
void release_subtrees(subtree_entry_t *record);

/// Returns a copy of a node's name on the heap.
char *copy_name(const tree_node_t &node);

} // namespace tsh
