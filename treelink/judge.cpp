// Judging which subtrees can be attached, and borrowing missing attach points.
#include "treelink/attach.h"

#include "parse_tree/tree_library.h"
#include "treelink/attach_internal.h"
#include "treelink/link_memory_internal.h"
#include "treelink/link_table_internal.h"

#include <algorithm>
#include <vector>

namespace {

constexpr const char *kBorrowedFileName = "main_tree.par";
constexpr uint32_t kBorrowedPathKind = 2;

// The verdict is defined by passes over the list that repeat until one of them marks nothing
// unresolvable, each testing every record not yet unresolvable. It is enough to make the first.
// A record that comes out of it resolvable had all its names looked up and found; names never
// leave the table or change owner; and the records that are added, are added behind the one under
// test and so are tested in the same pass. Nothing is left for later passes to report or to
// borrow: they only carry "unresolvable" from owners on to the records that need them, and that
// can follow the needs directly.
class Judging {
public:
    explicit Judging(GHashTable *table) : table_(table) {}

    void judge(subtree_entry_t *first) {
        for (subtree_entry_t *record = first; record != nullptr; record = record->next)
            if (record->status != SUBTREE_UNRESOLVABLE)
                test(*record);
        spread();
    }

private:
    struct Need {
        const subtree_entry_t *owner;
        subtree_entry_t *record;
    };

    void test(subtree_entry_t &record) {
        for (const char *name : tsh::attach_paths_of(record)) {
            const treelink_cell_t *cell = find_or_borrow(name, record);
            if (cell == nullptr) {
                tsh::report_unresolved_path(name, record);
                return refuse(record);
            }
            if (cell->owner == tsh_root_tree_table)
                continue;
            if (cell->owner->status == SUBTREE_UNRESOLVABLE)
                return refuse(record);
            needs_.push_back({cell->owner, &record});
        }
        record.status = SUBTREE_RESOLVABLE;
    }

    const treelink_cell_t *find_or_borrow(const char *name, subtree_entry_t &record) {
        const treelink_cell_t *cell = tsh::find_cell(table_, name);
        if (cell == nullptr && node_pickup_from_main_tree(name, table_, &record) == 1)
            cell = tsh::find_cell(table_, name);
        return cell;
    }

    void refuse(subtree_entry_t &record) {
        record.status = SUBTREE_UNRESOLVABLE;
        refused_.push_back(&record);
    }

    void spread() {
        if (!refused_.empty())
            std::ranges::sort(needs_, {}, &Need::owner);
        while (!refused_.empty()) {
            const subtree_entry_t *owner = refused_.back();
            refused_.pop_back();
            auto need = std::ranges::lower_bound(needs_, owner, {}, &Need::owner);
            for (; need != needs_.end() && need->owner == owner; ++need)
                if (need->record->status != SUBTREE_UNRESOLVABLE)
                    refuse(*need->record);
        }
    }

    GHashTable *table_;
    std::vector<Need> needs_;
    std::vector<const subtree_entry_t *> refused_; // and not yet spread
};

const dl_hash_entry_t *find_prebuilt(const char *name) {
    for (GHashTable *table : {main_tree_dl_hash, main_tree2_dl_hash})
        if (const void *entry = tsh::find_name(table, name))
            return static_cast<const dl_hash_entry_t *>(entry);
    return nullptr;
}

// Files a copy of the node directly behind the given record.
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
    return tsh::at_c_edge([&] {
        Judging{table}.judge(*head);
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
