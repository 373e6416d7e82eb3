// Table of the nodes that lead to a line, with the texts that a walk prints, collected before the
// walk. A shared node is visited thousands of times, and its record is much larger than its entry
// here. Every step of the walk leads to a line, because all other nodes are omitted.
#pragma once

#include "base/output_block.h"
#include "cmd_gen/line_walk_internal.h"
#include "cmd_gen/store_internal.h"
#include "parse_tree/tree_node.h"

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>

namespace tsh {

/// Properties of a node for a walk.
struct NodeContent {
    std::string_view text; // its printed text; valid until the next call
    bool printed = false;
    bool submode = false;
    bool entered = false; // its descendants are printed as well
};

/// A node in the table. Its text and its links are adjacent.
struct TableNode {
    uint32_t offset;
    uint16_t text_length;
    uint8_t link_count; // children that lead to a line
    bool printed : 1;
    bool submode : 1;
    bool links_first : 1; // the first link is the record's first child
};

class NodeTable {
public:
    using Describe = std::function<NodeContent(const tree_node_t &)>;
    class Leaves;

    /// A position among the links of a node, for walk_lines.
    struct Cursor {
        const TableNode *node;
        unsigned position;
        unsigned end;
    };
    using Node = const TableNode &;

    explicit NodeTable(Resize resize) : nodes_(resize), bytes_(resize), path_(resize) {}

    /// Collects a node and its descendants from the records of a tree. Calls describe once per
    /// node, for descendants before their ancestors. The first node is always entered. Links to an
    /// ancestor are omitted.
    /// @return false if out of memory.
    [[nodiscard]] bool gather(const tree_node_t *records, const tree_node_t &first,
                              const Describe &describe);

    /// Number of collected nodes; no path is longer.
    [[nodiscard]] size_t size() const { return met_.count(); }

    [[nodiscard]] const TableNode &first() const { return nodes_[kFirst]; }

    /// Returns a node of the tree by its index, or a node without text and links if it was not
    /// collected. Index 0 also finds the first node, if it is that record.
    [[nodiscard]] const TableNode &at(uint16_t index) const {
        constexpr static TableNode kNone{};
        if (met_[index])
            return nodes_[index];
        return records_ + index == first_ ? first() : kNone;
    }

    /// Returns the text of a node; its memory is readable in chunks of kCopyChunk bytes.
    [[nodiscard]] std::string_view text_of(const TableNode &node) const {
        return {bytes_.data() + node.offset, node.text_length};
    }

    [[nodiscard]] const TableNode &linked(const TableNode &node, unsigned position) const {
        return nodes_[link_at(links_of(node), position)];
    }

    /// Returns the first link of the first node. If siblings is false, only a link to the first
    /// child of the record is used.
    [[nodiscard]] Cursor first_cursor(bool siblings) const { return enter(first(), siblings); }

    [[nodiscard]] static bool at_end(const Cursor &cursor) { return cursor.position == cursor.end; }
    static void advance(Cursor &cursor) { ++cursor.position; }
    [[nodiscard]] Node child_at(const Cursor &cursor) const {
        return linked(*cursor.node, cursor.position);
    }
    [[nodiscard]] static bool is_leaf(Node node) { return node.link_count == 0; }
    [[nodiscard]] MetNode meet(Node node) const {
        return {record_of(node), text_of(node), node.printed, node.submode, true};
    }
    [[nodiscard]] static Cursor enter(Node node, bool siblings) {
        return {&node, 0, siblings ? node.link_count : (node.links_first ? 1U : 0U)};
    }

    /// Prints adjacent leaves in one loop: most lines end in a leaf.
    template <typename Sink> void print_leaves(Cursor &cursor, Sink &sink) const;

    /// Returns the record of the node in the tree.
    [[nodiscard]] const tree_node_t *record_of(const TableNode &node) const {
        return record_at(static_cast<uint32_t>(&node - nodes_.data()));
    }

private:
    // Slot of the first node, which need not have an index.
    static constexpr uint32_t kFirst = TREE_MAX_NODES;

    struct Step {
        uint32_t slot;
        uint32_t children_met; // children before this position
    };

    [[nodiscard]] const tree_node_t *record_at(uint32_t slot) const {
        return slot == kFirst ? first_ : records_ + slot;
    }

    [[nodiscard]] const char *links_of(const TableNode &node) const {
        return bytes_.data() + node.offset + node.text_length;
    }

    static uint16_t link_at(const char *links, unsigned position) {
        uint16_t link;
        memcpy(&link, links + position * sizeof link, sizeof link);
        return link;
    }

    bool meet(uint32_t slot, size_t depth);
    bool keep(uint32_t slot, const NodeContent &content, std::span<const uint16_t> children);

    const tree_node_t *records_ = nullptr; // of the tree
    const tree_node_t *first_ = nullptr;
    std::bitset<kFirst + 1> met_;
    std::bitset<kFirst + 1> kept_; // nodes that lead to a line
    Store<TableNode> nodes_;       // by index
    Store<char> bytes_;            // texts and links
    size_t bytes_used_ = 0;
    Store<Step> path_; // to the current node, while collecting
};

/// Adjacent leaves among the links of a node, starting at a position.
class NodeTable::Leaves {
public:
    Leaves(const NodeTable &table, const TableNode &node, unsigned position, unsigned end)
        : nodes_(table.nodes_.data()), bytes_(table.bytes_.data()), links_(table.links_of(node)),
          position_(position), end_(end) {}

    [[nodiscard]] bool more() const { return position_ < end_ && leaf().link_count == 0; }

    std::string_view take() {
        const TableNode &node = leaf();
        ++position_;
        return {bytes_ + node.offset, node.text_length};
    }

    /// Returns the position of the next link.
    [[nodiscard]] unsigned position() const { return position_; }

private:
    [[nodiscard]] const TableNode &leaf() const { return nodes_[link_at(links_, position_)]; }

    const TableNode *nodes_;
    const char *bytes_;
    const char *links_;
    unsigned position_;
    unsigned end_;
};

template <typename Sink> void NodeTable::print_leaves(Cursor &cursor, Sink &sink) const {
    cursor.position =
        sink.print(Leaves(*this, *cursor.node, cursor.position, cursor.end)).position();
}

} // namespace tsh
