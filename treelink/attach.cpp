// Building of the linked array: copies subtrees and attaches them to their parents.
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

bool match_same_word(const tree_node_t &existing, const tree_node_t &added) {
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

// One attach path of a copied subtree, and the parent that it names.
struct Attachment {
    const subtree_entry_t *record;
    const char *name;
    uint32_t subtree;               // its number in the array; 0 is the root file's
    uint32_t child;                 // index of its root
    std::optional<uint32_t> parent; // index of the node; nothing if the name is missing
};

// One link, from the resolved records to the complete array.
class Linker {
public:
    // Collects the records to copy, the root file's first. Without a root there is nothing to link.
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
        const std::vector<Attachment> attachments = collect_attachments();
        tsh::AttachGraph graph{nodes_, firsts()};
        for (const Attachment &attachment : attachments)
            if (attachment.parent)
                graph.expect(*attachment.parent, attachment.subtree);
        graph.find_components();
        for (const Attachment &attachment : attachments)
            process(attachment, graph);
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

    [[nodiscard]] std::vector<Attachment> collect_attachments() const {
        std::vector<Attachment> attachments;
        for (uint32_t subtree = 1; subtree < records_.size(); ++subtree) {
            const subtree_entry_t *record = records_[subtree];
            for (const char *name : tsh::attach_paths_of(*record))
                if (name[0] != '\0')
                    attachments.push_back({record, name, subtree, record->position, locate(name)});
        }
        return attachments;
    }

    static std::optional<uint32_t> locate(const char *name) {
        uint32_t node = 0;
        return locate_node(treelink_table, name, &node) == 0 ? std::optional{node} : std::nullopt;
    }

    void process(const Attachment &attachment, tsh::AttachGraph &graph) {
        last_parent_ = attachment.parent.value_or(last_parent_);
        if (debug_flag == 1)
            printf("Status returned %d, located Node %u \n", attachment.parent ? 0 : -1,
                   last_parent_);
        if (!attachment.parent)
            tsh::report_unresolved_path(attachment.name, *attachment.record);
        else if (attach(attachment, *attachment.parent, graph) && verbose != 0)
            base::print_escaped(stdout, "Linked subtree at attach path %s \n", attachment.name);
    }

    // Returns whether a link was created.
    bool attach(const Attachment &attachment, uint32_t parent, tsh::AttachGraph &graph) {
        const tree_node_t &child_node = nodes_[attachment.child];
        const tree_node_t &parent_node = nodes_[parent];
        if (check_conflicting_children(nodes_.data(), static_cast<int32_t>(parent), &child_node) !=
            0)
            return false;
        const std::span links{parent_node.children, parent_node.child_count};
        if (std::ranges::find(links, attachment.child) != links.end())
            return false; // duplicate name, and of a type that may be its own sibling
        const tsh::Closes closes = graph.closes(parent, attachment.subtree);
        if (closes != tsh::Closes::kNothing) {
            const std::string files = std::string{attachment.record->file_name} + " and " +
                                      record_at(parent).file_name + ")";
            refuse(child_node, parent_node,
                   ((closes == tsh::Closes::kCycle ? "link would create a cycle ("
                                                   : "cycle search limit reached (") +
                    files)
                       .c_str());
            return false;
        }
        if (update_child_list(nodes_.data(), parent, attachment.child) != 0)
            return false;
        graph.made(parent, attachment.subtree);
        return true;
    }

    // Returns the record from which a node of the array was copied.
    [[nodiscard]] const subtree_entry_t &record_at(uint32_t node) const {
        const auto next = std::ranges::upper_bound(records_, node, {}, &subtree_entry_t::position);
        return **(next - 1);
    }

    std::vector<subtree_entry_t *> records_;
    std::span<tree_node_t> nodes_;
    uint32_t last_parent_ = 0; // for the debug line
};

void end_link() {
    // treelink_cleanup releases only the head of the root list.
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
    const int32_t result = tsh::at_api_boundary([&] {
        Linker linker;
        const uint64_t total = linker.total();
        if (total > TREE_MAX_NODES) {
            tsh::warn(tsh::Loss::kPart,
                      "*** Tree Linking Error *** The linked tree would have %" PRIu64
                      " nodes (limit: %d)\n",
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
    const char *file_name = record->file_name[0] == '\0' ? nullptr : record->file_name;
    insert_nodes_in_hashtable(table, file_name, array, place,
                              static_cast<int32_t>(record->node_count), TREELINK_CELL_LOCATION,
                              nullptr);
    record->position = place;
    *next = place + record->node_count;
    return place;
}

int32_t check_conflicting_node(const tree_node_t *existing, const tree_node_t *added) {
    if (!match_same_word(*existing, *added))
        return 0;
    // With a duplicate path, the subtree conflicts with itself, and nothing is lost.
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
        refuse(array[child], node, "parent has 192 children (limit)");
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
