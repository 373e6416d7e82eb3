// Acyclic graph of subtrees and the edges that attach them. attach_graph.cpp explains the method
// and its costs.
#pragma once

#include "parse_tree/tree_node.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tsh {

/// Adjacency lists: the outgoing edges of each subtree, the newest first.
class SubtreeEdges {
public:
    static constexpr uint32_t kNone = UINT32_MAX;
    struct Edge {
        uint32_t to;
        uint32_t older; // the next edge of the list, or kNone
    };

    explicit SubtreeEdges(size_t subtrees) : newest_(subtrees, kNone) {}
    void add(uint32_t from, uint32_t to);

    [[nodiscard]] size_t subtrees() const { return newest_.size(); }
    [[nodiscard]] uint32_t newest(uint32_t from) const { return newest_[from]; }
    [[nodiscard]] const Edge &at(uint32_t edge) const { return edges_[edge]; }

private:
    std::vector<uint32_t> newest_;
    std::vector<Edge> edges_;
};

/// A breadth-first search, one edge at a time.
class SubtreeSearch {
public:
    explicit SubtreeSearch(const SubtreeEdges &edges)
        : edges_(edges), round_of_(edges.subtrees()) {}

    void start(uint32_t subtree);
    /// Follows the next edge. Returns its target; nothing if no edge is left.
    std::optional<uint32_t> step();
    [[nodiscard]] bool has_reached(uint32_t subtree) const { return round_of_[subtree] == round_; }

private:
    void reach(uint32_t subtree);

    const SubtreeEdges &edges_;
    std::vector<uint32_t> round_of_; // the last search that reached the subtree
    uint32_t round_ = 0;
    std::vector<uint32_t> reached_;
    size_t current_ = 0; // index in reached_ of the subtree whose edges are being followed
    uint32_t next_edge_ = SubtreeEdges::kNone;
};

/// Result of a cycle check. All searches of one link share a limit; kUndecided: it was exceeded.
enum class Closes : uint8_t { kNothing, kCycle, kUndecided };

/// Incremental cycle detection: returns whether each new edge would close a cycle.
class AttachGraph {
public:
    /// @param nodes the linked array; links within subtrees are read when they are needed.
    /// @param firsts index of each subtree's root, ascending.
    AttachGraph(std::span<const tree_node_t> nodes, std::vector<uint32_t> firsts);

    /// Registers an edge that will be checked: a subtree to be attached to a node. All such calls
    /// must precede find_components.
    void expect(uint32_t parent_node, uint32_t subtree);
    void find_components();

    /// Returns whether the edge, which must be expected, would close a cycle with the edges so far.
    Closes closes(uint32_t parent_node, uint32_t subtree);
    /// Registers a new edge.
    void made(uint32_t parent_node, uint32_t subtree);

private:
    [[nodiscard]] uint32_t end_of(uint32_t subtree) const;
    bool may_lie_on_cycle(uint32_t parent_node, uint32_t subtree);
    void find_nodes_below_root(uint32_t subtree);
    Closes search_path(uint32_t from, uint32_t to);

    std::span<const tree_node_t> nodes_;
    std::vector<uint32_t> firsts_;
    std::vector<uint16_t> subtree_of_; // by node
    SubtreeEdges expected_;            // from parent to child
    std::vector<uint32_t> component_;  // by subtree: one member of its component
    std::vector<bool> walked_;         // by subtree: whether below_root_ is known
    std::vector<bool> below_root_;     // by node: whether the root of its subtree reaches it
    SubtreeEdges children_;            // edges inside components, by parent
    SubtreeEdges parents_;             // edges inside components, by child
    SubtreeSearch downwards_;
    SubtreeSearch upwards_;
    uint64_t steps_left_;
};

} // namespace tsh
