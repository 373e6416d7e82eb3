// How the nodes of a sound tree hang together: what a record does not say of itself. Nothing here
// recurses, for a tree may be as deep as it has nodes.
#pragma once

#include "base/huge_pages.h"
#include "parse_tree/tree_node.h"

#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

namespace tool {

using Nodes = std::span<const tree_node_t>;

/// The links that a node has in use. The node is of a sound tree.
inline std::span<const uint16_t> links_of(const tree_node_t &node) {
    return {node.children, node.child_count};
}

/// The parameters that a node has in use.
inline std::span<const parameter_info_t> params_of(const tree_node_t &node) {
    return {node.params, node.param_count};
}

/// A text of a record, which ends at its zero or its field's end.
template <size_t Size> std::string_view text_of(const char (&field)[Size]) {
    return {field, strnlen(field, Size)};
}

/// The type masks of those parameters.
std::vector<uint32_t> type_masks_of(const tree_node_t &node);

/// Whether the node enters a submode.
inline bool is_submode(const tree_node_t &node) {
    return (node.flags & TREE_FLAG_SUBMODE) != 0;
}

/// Whether a command line ends at the node: it is a terminal or enters a submode.
inline bool has_line(const tree_node_t &node) {
    return (node.flags & (TREE_FLAG_TERMINAL | TREE_FLAG_SUBMODE)) != 0;
}

/// The links of a sound tree side by side, gathered in one pass over the records. Walks need little
/// else, and a record spans a thousand bytes.
class LinkTable {
public:
    explicit LinkTable(Nodes nodes);

    [[nodiscard]] size_t node_count() const { return lines_.size(); }
    [[nodiscard]] std::span<const uint16_t> below(uint32_t node) const {
        return {links_.data() + first_[node], first_[node + 1] - first_[node]};
    }

    [[nodiscard]] bool has_line(uint32_t node) const { return lines_[node] != 0; }

    /// Takes out all links to nodes that are not wanted, by a flag of each node.
    void keep_links_to(const std::vector<bool> &wanted);

private:
    std::vector<uint32_t> first_; // of each node in links_, and one past the last
    base::HugeVector<uint16_t> links_;
    std::vector<uint8_t> lines_;
};

/// The nodes that the root reaches, each behind all that it reaches itself.
std::vector<uint16_t> children_first(const LinkTable &links);

/// How many nodes lie on the shortest and on the longest way from the root to a node, both ends
/// counted; 0 for a node that is not reached.
struct Levels {
    uint32_t least = 0;
    uint32_t greatest = 0;
};

/// The levels of all nodes, in the order that children_first gives.
std::vector<Levels> measure_levels(const LinkTable &links, std::span<const uint16_t> order);

/// Who has a link to whom.
class ParentTable {
public:
    explicit ParentTable(const LinkTable &links);

    /// In the order of the array, whether the root reaches them or not.
    [[nodiscard]] std::span<const uint16_t> of(uint32_t node) const {
        return {parents_.data() + first_[node], first_[node + 1] - first_[node]};
    }

private:
    std::vector<uint32_t> first_; // of each node in parents_, and one past the last
    std::vector<uint16_t> parents_;
};

} // namespace tool
