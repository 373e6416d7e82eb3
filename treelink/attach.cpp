// Putting the linked array together: copying subtrees, and linking them below their parents.
#include "treelink/attach.h"

#include "base/escape.h"
#include "feature/tsh/src/trace.h"
#include "param_reg/values.h"
#include "treelink/attach_graph_internal.h"
#include "treelink/attach_internal.h"
#include "treelink/link_memory_internal.h"
#include "treelink/link_report_internal.h"
#include "treelink/link_table_internal.h"
#include "treelink/sibling_order.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <vector>

uint32_t tsh_current_position;

namespace {

bool stand_for_same_word(const tree_node_t &existing, const tree_node_t &added) {
    if (existing.token[0] != '\0' || added.token[0] != '\0')
        return strcmp(existing.token, added.token) == 0;
    const uint32_t type = existing.params[0].type_mask;
    return existing.param_count != 0 && added.param_count != 0 &&
           type == added.params[0].type_mask && tsh_mask_may_repeat(nullptr, type) == 0;
}

void refuse(const tree_node_t &child, const tree_node_t &parent, const char *reason) {
    tsh::warn(tsh::Loss::kPart, "*** Tree Linking Error *** Node %s not attached below %s: %s\n",
              child.name, parent.name, reason);
}

// One attach path of a subtree that was copied, and the parent it names.
struct Wish {
    const subtree_entry_t *record;
    const char *name;
    uint32_t subtree;               // its number in the array, the root file's being 0
    uint32_t child;                 // index of its root
    std::optional<uint32_t> parent; // index of the node; nothing when the name is missing
};

// One link, from the judged records to the finished array.
class Linker {
public:
    // The records to be copied: the root file's first. Without one there is nothing to link.
    Linker() {
        if (tsh_root_tree_table == nullptr)
            return;
        records_.push_back(tsh_root_tree_table);
        for (subtree_entry_t *record = unresolved_subtree_table; record != nullptr;
             record = record->next)
            if (record->status == SUBTREE_RESOLVABLE)
                records_.push_back(record);
    }

    [[nodiscard]] uint64_t total() const {
        uint64_t sum = 0;
        for (const subtree_entry_t *record : records_)
            sum += record->node_count;
        return sum;
    }

    tree_node_t *link() {
        const auto count = static_cast<size_t>(total());
        base::Block<tree_node_t> array = tsh::allocate<tree_node_t>(count);
        nodes_ = {array.get(), count};
        copy_subtrees();
        const std::vector<Wish> wishes = collect_wishes();
        tsh::AttachGraph graph{nodes_, firsts()};
        for (const Wish &wish : wishes)
            if (wish.parent)
                graph.expect(*wish.parent, wish.subtree);
        graph.find_components();
        for (const Wish &wish : wishes)
            grant(wish, graph);
        return array.release();
    }

private:
    void copy_subtrees() {
        treelink_table = tsh::new_name_table();
        uint32_t next = 0;
        for (subtree_entry_t *record : records_)
            add_subtree_in_main_tree(nodes_.data(), &next, &unresolved_subtree_table, record,
                                     treelink_table);
    }

    [[nodiscard]] std::vector<uint32_t> firsts() const {
        std::vector<uint32_t> firsts(records_.size());
        std::ranges::transform(records_, firsts.begin(), &subtree_entry_t::position);
        return firsts;
    }

    [[nodiscard]] std::vector<Wish> collect_wishes() const {
        std::vector<Wish> wishes;
        for (uint32_t subtree = 1; subtree < records_.size(); ++subtree) {
            const subtree_entry_t *record = records_[subtree];
            for (const char *name : tsh::attach_paths_of(*record))
                if (name[0] != '\0')
                    wishes.push_back({record, name, subtree, record->position, locate(name)});
        }
        return wishes;
    }

    static std::optional<uint32_t> locate(const char *name) {
        uint32_t node = 0;
        return locate_node(treelink_table, name, &node) == 0 ? std::optional{node} : std::nullopt;
    }

    void grant(const Wish &wish, tsh::AttachGraph &graph) {
        last_parent_ = wish.parent.value_or(last_parent_);
        if (debug_flag == 1)
            printf("Status returned %d, located Node %u \n", wish.parent ? 0 : -1, last_parent_);
        if (!wish.parent)
            tsh::report_unresolved_path(wish.name, *wish.record);
        else if (attach(wish, *wish.parent, graph) && verbose != 0)
            base::print_escaped(stdout, "Linked subtree at attach path %s \n", wish.name);
    }

    // True when a link was made.
    bool attach(const Wish &wish, uint32_t parent, tsh::AttachGraph &graph) {
        const tree_node_t &child_node = nodes_[wish.child];
        const tree_node_t &parent_node = nodes_[parent];
        if (check_conflicting_children(nodes_.data(), static_cast<int32_t>(parent), &child_node) !=
            0)
            return false;
        const std::span links{parent_node.children, parent_node.child_count};
        if (std::ranges::find(links, wish.child) != links.end())
            return false; // named twice, and of a type that may stand beside itself
        const tsh::Closes closes = graph.closes(parent, wish.subtree);
        if (closes != tsh::Closes::kNothing) {
            const std::string files =
                std::string{wish.record->file_name} + " and " + record_at(parent).file_name + ")";
            refuse(child_node, parent_node,
                   ((closes == tsh::Closes::kCycle ? "link would create a cycle ("
                                                   : "cycle search limit reached (") +
                    files)
                       .c_str());
            return false;
        }
        if (update_child_list(nodes_.data(), parent, wish.child) != 0)
            return false;
        graph.made(parent, wish.subtree);
        return true;
    }

    // The record that a node of the array was copied from.
    [[nodiscard]] const subtree_entry_t &record_at(uint32_t node) const {
        const auto next = std::ranges::upper_bound(records_, node, {}, &subtree_entry_t::position);
        return **(next - 1);
    }

    std::vector<subtree_entry_t *> records_;
    std::span<tree_node_t> nodes_;
    uint32_t last_parent_ = 0; // for the debug line
};

void end_link() {
    // Of a root file with several subtrees only the head is released there.
    subtree_entry_t *rest = tsh_root_tree_table == nullptr ? nullptr : tsh_root_tree_table->next;
    treelink_cleanup(&unresolved_subtree_table, &tsh_root_tree_table, treelink_table);
    tsh::release_subtrees(rest);
    unresolved_subtree_table = nullptr;
    tsh_root_tree_table = nullptr;
    tsh_current_position = 0;
    fresh_tree_linking = 1;
}

} // namespace

int32_t get_parse_tree(tree_node_t **out) {
    *out = nullptr;
    mark_resolvable_subtrees(&unresolved_subtree_table, treelink_table);
    const int32_t result = tsh::at_c_edge([&] {
        Linker linker;
        const uint64_t total = linker.total();
        if (total > TREE_MAX_NODES) {
            tsh::warn(tsh::Loss::kPart,
                      "*** Tree Linking Error *** The linked tree would have %" PRIu64
                      " nodes, but child indices reach only %d\n",
                      total, TREE_MAX_NODES);
            return -1;
        }
        if (total > 0)
            *out = linker.link();
        return static_cast<int32_t>(total);
    });
    end_link();
    return result;
}

uint32_t add_subtree_in_main_tree(tree_node_t *array, uint32_t *next, subtree_entry_t ** /*head*/,
                                  subtree_entry_t *record, GHashTable *table) {
    const uint32_t place = *next;
    std::copy_n(record->nodes, record->node_count, array + place);
    adjust_indices(array, place, record->node_count);
    insert_nodes_in_hashtable(table, record->file_name, array, place,
                              static_cast<int32_t>(record->node_count), TREELINK_CELL_LOCATION,
                              nullptr);
    record->position = place;
    *next = place + record->node_count;
    return place;
}

int32_t check_conflicting_node(const tree_node_t *existing, const tree_node_t *added) {
    if (!stand_for_same_word(*existing, *added))
        return 0;
    // A path that is named twice meets the subtree itself, and loses nothing.
    tsh::warn(existing == added ? tsh::Loss::kNothing : tsh::Loss::kPart,
              "*** Tree Linking Error *** Conflicting nodes %s and %s attaching below the same "
              "parent\n",
              existing->name, added->name);
    return 1;
}

int32_t check_conflicting_children(const tree_node_t *array, int32_t parent,
                                   const tree_node_t *added) {
    const tree_node_t &node = array[parent];
    const std::span links{node.children, node.child_count};
    return std::ranges::any_of(
        links, [&](uint16_t child) { return check_conflicting_node(&array[child], added) != 0; });
}

int32_t update_child_list(tree_node_t *array, uint32_t parent, uint32_t child) {
    tree_node_t &node = array[parent];
    if (node.child_count >= TREE_MAX_CHILDREN) {
        refuse(array[child], node, "it has 192 children already");
        return -1;
    }
    uint16_t *end = node.children + node.child_count;
    uint16_t *place = std::find_if(node.children, end, [&](uint16_t existing) {
        const int32_t order = treelink_lexicograph_cmp(&array[existing], &array[child]);
        return static_cast<int16_t>(order) > 0;
    });
    std::copy_backward(place, end, end + 1);
    *place = static_cast<uint16_t>(child);
    ++node.child_count;
    return 0;
}
