// Resolution of attach points, and borrowing of missing ones.
#include "treelink/attach_points.h"

#include "parse_tree/tree_library.h"
#include "treelink/attach_internal.h"
#include "treelink/link_memory_internal.h"
#include "treelink/link_table_internal.h"

#include <algorithm>
#include <vector>

namespace {

constexpr const char *kBorrowedFileName = "main_tree.par";
constexpr uint32_t kBorrowedPathKind = 2;

// The result is defined by passes over the list, each of which tests every record that is not yet
// unresolvable, until a pass marks nothing unresolvable. The first pass suffices: all names of a
// record that it marks resolvable were found; names never leave the table or change owner; and new
// records are inserted after the tested one and are therefore tested in the same pass. Later passes
// would report and borrow nothing. They would only propagate "unresolvable" from owners to the
// records that depend on them, which can follow the dependencies directly.
class Resolver {
public:
    explicit Resolver(GHashTable *table) : table_(table) {}

    void resolve(subtree_entry_t *first) {
        for (subtree_entry_t *record = first; record != nullptr; record = record->next)
            if (record->status != SUBTREE_UNRESOLVABLE)
                test(*record);
        propagate();
    }

private:
    struct Dependency {
        const subtree_entry_t *owner;
        subtree_entry_t *record;
    };

    void test(subtree_entry_t &record) {
        for (const char *name : tsh::attach_paths_of(record)) {
            const treelink_cell_t *cell = find_or_borrow(name, record);
            if (cell == nullptr) {
                tsh::report_unresolved_path(name, record);
                return mark_unresolvable(record);
            }
            if (cell->owner == tsh_root_tree_table)
                continue;
            if (cell->owner->status == SUBTREE_UNRESOLVABLE)
                return mark_unresolvable(record);
            dependencies_.push_back({cell->owner, &record});
        }
        record.status = SUBTREE_RESOLVABLE;
    }

    const treelink_cell_t *find_or_borrow(const char *name, subtree_entry_t &record) {
        const treelink_cell_t *cell = tsh::find_cell(table_, name);
        if (cell == nullptr && node_pickup_from_main_tree(name, table_, &record) == 1)
            cell = tsh::find_cell(table_, name);
        return cell;
    }

    void mark_unresolvable(subtree_entry_t &record) {
        record.status = SUBTREE_UNRESOLVABLE;
        unresolvable_.push_back(&record);
    }

    void propagate() {
        if (!unresolvable_.empty())
            std::ranges::sort(dependencies_, {}, &Dependency::owner);
        while (!unresolvable_.empty()) {
            const subtree_entry_t *owner = unresolvable_.back();
            unresolvable_.pop_back();
            auto dependency =
                std::ranges::lower_bound(dependencies_, owner, {}, &Dependency::owner);
            for (; dependency != dependencies_.end() && dependency->owner == owner; ++dependency)
                if (dependency->record->status != SUBTREE_UNRESOLVABLE)
                    mark_unresolvable(*dependency->record);
        }
    }

    GHashTable *table_;
    std::vector<Dependency> dependencies_;
    std::vector<const subtree_entry_t *> unresolvable_; // and not yet propagated
};

const dl_hash_entry_t *find_prebuilt(const char *name) {
    for (GHashTable *table : {main_tree_dl_hash, main_tree2_dl_hash})
        if (const void *entry = tsh::find_name(table, name))
            return static_cast<const dl_hash_entry_t *>(entry);
    return nullptr;
}

// Inserts a copy of the node directly after the given record.
void borrow(const dl_hash_entry_t &entry, GHashTable *table, subtree_entry_t &record) {
    tree_node_t *copy = tsh::allocate<tree_node_t>(1).release();
    *copy = *entry.node;
    copy->flags &= ~TREE_FLAG_TERMINAL;
    copy->child_count = 0;
    std::ranges::fill(copy->children, uint16_t{0}); // indices into the prebuilt tree
    subtree_path_t path;
    populate_subtree_path(&path, kBorrowedPathKind, entry.parent->name);
    add_unresolved_subtree(&record.next, kBorrowedFileName, copy, 1, &path, table);
}

} // namespace

int32_t mark_resolvable_subtrees(subtree_entry_t **head, GHashTable *table) {
    main_tree_to_dl_hash();
    main_tree2_to_dl_hash();
    return tsh::at_api_boundary([&] {
        Resolver{table}.resolve(*head);
        tsh::release_name_table(table);
        if (table == treelink_table)
            treelink_table = nullptr;
        return 0;
    });
}

int32_t node_pickup_from_main_tree(const char *name, GHashTable *table, subtree_entry_t *record) {
    if (main_tree_dl_hash == nullptr)
        return 0;
    int32_t picked_up = 0;
    const dl_hash_entry_t *entry = find_prebuilt(name);
    while (entry != nullptr && entry->parent != nullptr) {
        borrow(*entry, table, *record);
        picked_up = 1;
        if (tsh::find_cell(table, entry->parent->name) != nullptr)
            break;
        entry = find_prebuilt(entry->parent->name);
    }
    return picked_up;
}
