// Structure of a valid tree: links, depth, parents. No function recurses, because a tree may be as
// deep as it has nodes.
#pragma once

#include "base/huge_pages.h"
#include "parse_tree/tree_node.h"

#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {

using Nodes = std::span<const tree_node_t>;

/// Returns the links of a node of a valid tree.
inline std::span<const uint16_t> links_of(const tree_node_t &node) {
    return {node.children, node.child_count};
}

/// Returns the parameters of a node of a valid tree.
inline std::span<const parameter_info_t> params_of(const tree_node_t &node) {
    return {node.params, node.param_count};
}

/// Returns a string of a record, which ends at its NUL or with its field.
template <size_t Size> std::string_view text_of(const char (&field)[Size]) {
    return {field, strnlen(field, Size)};
}

/// Returns the type masks of the parameters.
std::vector<uint32_t> type_masks_of(const tree_node_t &node);

/// Returns whether the node enters a submode.
inline bool is_submode(const tree_node_t &node) {
    return (node.flags & TREE_FLAG_SUBMODE) != 0;
}

/// Returns whether a command line ends at the node: it is a terminal or enters a submode.
inline bool has_line(const tree_node_t &node) {
    return (node.flags & (TREE_FLAG_TERMINAL | TREE_FLAG_SUBMODE)) != 0;
}

/// Links of a valid tree in one array, collected in one pass over the records. Walks need little
/// else, and a record has a thousand bytes.
class LinkTable {
public:
    explicit LinkTable(Nodes nodes);

    [[nodiscard]] size_t node_count() const { return lines_.size(); }
    [[nodiscard]] std::span<const uint16_t> below(uint32_t node) const {
        return {links_.data() + first_[node], first_[node + 1] - first_[node]};
    }

    [[nodiscard]] bool has_line(uint32_t node) const { return lines_[node] != 0; }

    /// Removes all links for which a predicate of parent and child is false.
    template <typename Predicate> void keep_links(Predicate is_kept) {
        uint32_t kept = 0;
        for (uint32_t node = 0; node < node_count(); ++node) {
            const uint32_t begin = std::exchange(first_[node], kept);
            for (uint32_t link = begin; link < first_[node + 1]; ++link)
                if (is_kept(node, links_[link]))
                    links_[kept++] = links_[link];
        }
        first_.back() = kept;
    }

    /// Removes all links to nodes that are not wanted, by a flag per node.
    void keep_links_to(const std::vector<bool> &wanted);

private:
    std::vector<uint32_t> first_; // of each node in links_, and one past the last
    base::HugeVector<uint16_t> links_;
    std::vector<uint8_t> lines_;
};

/// Returns the nodes that the root reaches, each after its descendants.
std::vector<uint16_t> children_first(const LinkTable &links);

/// Number of nodes on the shortest and on the longest path from the root to a node, including both;
/// 0 for a node that is not reached.
struct Levels {
    uint32_t least = 0;
    uint32_t greatest = 0;
};

/// Returns the levels of all nodes; order is the result of children_first.
std::vector<Levels> measure_levels(const LinkTable &links, std::span<const uint16_t> order);

/// Parents of each node.
class ParentTable {
public:
    explicit ParentTable(const LinkTable &links);

    /// Returns the parents in the order of the array, including those that the root does not reach.
    [[nodiscard]] std::span<const uint16_t> of(uint32_t node) const {
        return {parents_.data() + first_[node], first_[node + 1] - first_[node]};
    }

private:
    std::vector<uint32_t> first_; // of each node in parents_, and one past the last
    std::vector<uint16_t> parents_;
};

} // namespace tool
