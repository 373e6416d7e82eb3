// Link table, and cleanup of a link.
#include "treelink/link_table.h"

#include "base/escape.h"
#include "platform/robust_string.h"
#include "treelink/link_memory_internal.h"
#include "treelink/link_report_internal.h"
#include "treelink/link_table_internal.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <glib.h>

GHashTable *treelink_table;

namespace {

treelink_cell_t *new_cell(int32_t kind, subtree_entry_t *owner, uint32_t location) {
    auto *cell = tsh::allocate<treelink_cell_t>(1).release();
    *cell = {};
    if (kind == TREELINK_CELL_OWNER)
        cell->owner = owner;
    else
        cell->location = location;
    return cell;
}

} // namespace

GHashTable *tsh::new_name_table() {
    return g_hash_table_new(g_str_hash, g_str_equal);
}

void tsh::release_subtrees(subtree_entry_t *record) {
    while (record != nullptr) {
        subtree_entry_t *next = record->next;
        free(record->nodes);
        free(record);
        record = next;
    }
}

void *tsh::find_name(GHashTable *table, const char *name) {
    return table == nullptr ? nullptr : g_hash_table_lookup(table, name);
}

void tsh::add_name(GHashTable *table, char *name, void *value) {
    g_hash_table_insert(table, name, value);
}

void tsh::release_name_table(GHashTable *table) {
    if (table == nullptr)
        return;
    GHashTableIter entry;
    g_hash_table_iter_init(&entry, table);
    for (void *name, *value; g_hash_table_iter_next(&entry, &name, &value) != 0;)
        cleanup_link_table_entry(name, value, nullptr);
    g_hash_table_destroy(table); // does not look at the released names
}

char *tsh::copy_name(const tree_node_t &node) {
    const size_t size = strnlen(node.name, sizeof node.name) + 1;
    return robust_strncpy(allocate<char>(size).release(), node.name, size);
}

int32_t insert_nodes_in_hashtable(GHashTable *table, const char *file_name,
                                  const tree_node_t *nodes, uint32_t first, int32_t count,
                                  int32_t kind, subtree_entry_t *owner) {
    for (int32_t i = 0; i < count; ++i) {
        const uint32_t location = first + static_cast<uint32_t>(i);
        if (nodes[location].name[0] == '\0')
            continue;
        char *name = tsh::copy_name(nodes[location]);
        if (tsh::find_name(table, name) == nullptr) {
            tsh::add_name(table, name, new_cell(kind, owner, location));
            continue;
        }
        if (file_name != nullptr)
            tsh::warn(tsh::Loss::kNothing,
                      "*** Treelink Warning ***: Duplicate nodename %s in %s\n", name, file_name);
        free(name);
    }
    return 0;
}

int32_t locate_node(GHashTable *table, const char *name, uint32_t *out) {
    const treelink_cell_t *cell = tsh::find_cell(table, name);
    if (cell == nullptr)
        return -1;
    *out = cell->location;
    return 0;
}

void display_link_table(void *key, void *cell, void * /*unused*/) {
    const auto address = static_cast<int32_t>(reinterpret_cast<intptr_t>(cell));
    const auto location = static_cast<int32_t>(static_cast<treelink_cell_t *>(cell)->location);
    base::print_escaped(stdout, "Nodename:%s  Ptr:%d Location:%d\n", static_cast<const char *>(key),
                        address, location);
}

int32_t cleanup_link_table_entry(void *key, void *cell, void * /*unused*/) {
    free(key);
    free(cell);
    return 1;
}

int32_t treelink_cleanup(subtree_entry_t **unresolved_head, subtree_entry_t **root_head,
                         GHashTable *table) {
    tsh::release_subtrees(*unresolved_head);
    subtree_entry_t *root = *root_head;
    if (root != nullptr && root->nodes != nullptr) {
        free(root->nodes);
        free(root);
    }
    tsh::release_name_table(table);
    if (table == treelink_table)
        treelink_table = nullptr;
    return 0;
}
