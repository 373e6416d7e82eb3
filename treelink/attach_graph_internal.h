// Which subtree hangs below which, as far as that matters for cycles.
#pragma once

#include "parse_tree/tree_node.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tsh {

/// Links between subtrees, in one list per subtree.
class SubtreeLinks {
public:
    static constexpr uint32_t kNone = UINT32_MAX;
    struct Link {
        uint32_t to;
        uint32_t older; // the next link of the list, or kNone
    };

    explicit SubtreeLinks(size_t subtrees) : newest_(subtrees, kNone) {}
    void add(uint32_t from, uint32_t to);

    [[nodiscard]] size_t subtrees() const { return newest_.size(); }
    [[nodiscard]] uint32_t newest(uint32_t from) const { return newest_[from]; }
    [[nodiscard]] const Link &at(uint32_t link) const { return links_[link]; }

private:
    std::vector<uint32_t> newest_;
    std::vector<Link> links_;
};

/// What can be reached along links, found link by link.
class SubtreeSearch {
public:
    explicit SubtreeSearch(const SubtreeLinks &links)
        : links_(links), round_of_(links.subtrees()) {}

    void start(uint32_t subtree);
    /// Follows the next link. Where it leads; nothing when no link is left.
    std::optional<uint32_t> step();
    [[nodiscard]] bool has_reached(uint32_t subtree) const { return round_of_[subtree] == round_; }

private:
    void reach(uint32_t subtree);

    const SubtreeLinks &links_;
    std::vector<uint32_t> round_of_; // the last search that reached the subtree
    uint32_t round_ = 0;
    std::vector<uint32_t> reached_;
    size_t current_ = 0; // in reached_: whose links are being followed
    uint32_t next_link_ = SubtreeLinks::kNone;
};

/// Keeps the linked tree free of cycles. It is told every link that is wished for before the first
/// one is made, and so knows which of them lie on a circle of wishes. All others can never close a
/// cycle, whatever the order in which links are made; for those on a circle it looks for a way
/// from the child back to the parent.
class AttachGraph {
public:
    /// @param nodes the linked array; links within subtrees are read when they are needed.
    /// @param firsts index of each subtree's root, ascending.
    AttachGraph(std::span<const tree_node_t> nodes, std::vector<uint32_t> firsts);

    /// Takes the wish to link a subtree below a node. All wishes come before find_circles.
    void wish(uint32_t parent_node, uint32_t subtree);
    void find_circles();

    /// Whether the link would close a cycle with the links made so far.
    bool closes_cycle(uint32_t parent_node, uint32_t subtree);
    /// Takes note of a link that was made.
    void made(uint32_t parent_node, uint32_t subtree);

private:
    [[nodiscard]] uint32_t end_of(uint32_t subtree) const;
    bool lies_on_circle(uint32_t parent_node, uint32_t subtree);
    void find_nodes_below_root(uint32_t subtree);
    bool leads_to(uint32_t from, uint32_t to);

    std::span<const tree_node_t> nodes_;
    std::vector<uint32_t> firsts_;
    std::vector<uint16_t> subtree_of_; // by node
    SubtreeLinks wishes_;              // from parent to child
    std::vector<uint32_t> circle_;     // by subtree: equal for those on one circle
    std::vector<bool> walked_;         // by subtree: whether below_root_ is known
    std::vector<bool> below_root_;     // by node: whether the root of its subtree leads to it
    SubtreeLinks children_;            // links made on circles, by parent
    SubtreeLinks parents_;             // the same by child
    SubtreeSearch downwards_;
    SubtreeSearch upwards_;
    uint64_t steps_left_;
};

} // namespace tsh
