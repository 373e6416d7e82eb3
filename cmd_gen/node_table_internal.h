// What a walk prints of each node, gathered before it begins. A shared node is met thousands of
// times, and its record spans more memory than all that is kept here. Nodes that print nothing and
// have nothing printed below them are left out, so every step of the walk leads to a line.
#pragma once

#include "cmd_gen/line_walk_internal.h"
#include "cmd_gen/output_block_internal.h"
#include "cmd_gen/store_internal.h"
#include "parse_tree/tree_node.h"

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>

namespace tsh {

/// What a walk makes of a node.
struct NodeLook {
    std::string_view text; // what is printed of it; valid until the next look
    bool printed = false;
    bool submode = false;
    bool entered = false; // whether what is below it is printed, too
};

/// A gathered node. Its text and its links lie next to each other in the table.
struct TableNode {
    uint32_t place;
    uint16_t text_length;
    uint8_t link_count; // children that are printed or have something printed below them
    bool printed : 1;
    bool submode : 1;
    bool links_first : 1; // the first link is the record's first child
};

class NodeTable {
public:
    using Look = std::function<NodeLook(const tree_node_t &)>;
    class Leaves;

    /// A position among the links of a gathered node, for LineWalk.
    struct Place {
        const TableNode *node;
        unsigned position;
        unsigned end;
    };
    using Node = const TableNode &;

    explicit NodeTable(Resize resize) : nodes_(resize), bytes_(resize), path_(resize) {}

    /// Gathers a node and what is below it among the records of a tree, looking at each node once,
    /// at what is below a node before the node. The first node is entered whatever its look. Links
    /// that lead back to an ancestor are left out.
    /// @return false when memory runs out.
    [[nodiscard]] bool gather(const tree_node_t *records, const tree_node_t &first,
                              const Look &look);

    /// Nodes gathered; no path is longer.
    [[nodiscard]] size_t size() const { return met_.count(); }

    [[nodiscard]] const TableNode &first() const { return nodes_[kFirst]; }

    /// A node of the tree by its index; one without text and links if it was not gathered. The
    /// first node is found here by index 0 as well, if it is that record.
    [[nodiscard]] const TableNode &at(uint16_t index) const {
        constexpr static TableNode kNone{};
        if (met_[index])
            return nodes_[index];
        return records_ + index == first_ ? first() : kNone;
    }

    /// A node's text, readable in whole chunks.
    [[nodiscard]] std::string_view text_of(const TableNode &node) const {
        return {bytes_.data() + node.place, node.text_length};
    }

    [[nodiscard]] const TableNode &linked(const TableNode &node, unsigned position) const {
        return nodes_[link_at(links_of(node), position)];
    }

    /// The first link of the first node. Without siblings, only one to the record's first child
    /// counts.
    [[nodiscard]] Place first_place(bool siblings) const { return enter(first(), siblings); }

    [[nodiscard]] static bool at_end(const Place &place) { return place.position == place.end; }
    static void advance(Place &place) { ++place.position; }
    [[nodiscard]] Node child_at(const Place &place) const {
        return linked(*place.node, place.position);
    }
    [[nodiscard]] static bool is_leaf(Node node) { return node.link_count == 0; }
    [[nodiscard]] MetNode meet(Node node) const {
        return {record_of(node), text_of(node), node.printed, node.submode, true};
    }
    [[nodiscard]] static Place enter(Node node, bool siblings) {
        return {&node, 0, siblings ? node.link_count : (node.links_first ? 1U : 0U)};
    }

    /// Most lines end in a leaf, so those that stand side by side are printed in one go.
    template <typename Sink> void print_leaves(Place &place, Sink &sink) const;

    /// The node's record in the tree.
    [[nodiscard]] const tree_node_t *record_of(const TableNode &node) const {
        return record_at(static_cast<uint32_t>(&node - nodes_.data()));
    }

private:
    // The first node need not be one that an index can name.
    static constexpr uint32_t kFirst = TREE_MAX_NODES;

    struct Step {
        uint32_t slot;
        uint32_t children_met; // all before this one
    };

    [[nodiscard]] const tree_node_t *record_at(uint32_t slot) const {
        return slot == kFirst ? first_ : records_ + slot;
    }

    [[nodiscard]] const char *links_of(const TableNode &node) const {
        return bytes_.data() + node.place + node.text_length;
    }

    static uint16_t link_at(const char *links, unsigned position) {
        uint16_t link;
        memcpy(&link, links + position * sizeof link, sizeof link);
        return link;
    }

    bool meet(uint32_t slot, size_t depth);
    bool keep(uint32_t slot, const NodeLook &look, std::span<const uint16_t> children);

    const tree_node_t *records_ = nullptr; // of the tree
    const tree_node_t *first_ = nullptr;
    std::bitset<kFirst + 1> met_;
    std::bitset<kFirst + 1> kept_; // worth a link
    Store<TableNode> nodes_;       // by index
    Store<char> bytes_;            // texts and links
    size_t bytes_used_ = 0;
    Store<Step> path_; // to the node in hand, while gathering
};

/// The leaves that follow each other among a node's links, from a position on.
class NodeTable::Leaves {
public:
    Leaves(const NodeTable &table, const TableNode &node, unsigned position, unsigned end)
        : nodes_(table.nodes_.data()), bytes_(table.bytes_.data()), links_(table.links_of(node)),
          position_(position), end_(end) {}

    [[nodiscard]] bool more() const { return position_ < end_ && leaf().link_count == 0; }

    std::string_view take() {
        const TableNode &node = leaf();
        ++position_;
        return {bytes_ + node.place, node.text_length};
    }

    /// Of the first link that was not taken.
    [[nodiscard]] unsigned position() const { return position_; }

private:
    [[nodiscard]] const TableNode &leaf() const { return nodes_[link_at(links_, position_)]; }

    const TableNode *nodes_;
    const char *bytes_;
    const char *links_;
    unsigned position_;
    unsigned end_;
};

template <typename Sink> void NodeTable::print_leaves(Place &place, Sink &sink) const {
    place.position = sink.print(Leaves(*this, *place.node, place.position, place.end)).position();
}

} // namespace tsh
