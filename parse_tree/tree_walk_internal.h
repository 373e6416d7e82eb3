// Depth-first walk over an array tree, used by the tree check, the debug listing and the cycle
// check.
#pragma once

#include "parse_tree/tree_node.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>
#include <vector>

namespace tsh {

/// Returns the links of a node that may be followed: none if its child count exceeds the capacity.
inline std::span<const uint16_t> links_of(const tree_node_t &node) {
    const size_t count = node.child_count <= TREE_MAX_CHILDREN ? node.child_count : 0;
    return {node.children, count};
}

/// Walk over all nodes that node 0 reaches, in the order of the child lists. Every node is entered
/// once, every link examined once. Links out of range are skipped. Depth is not limited, and cycles
/// are allowed: the path is stored as parent indices of the nodes on it.
class TreeWalk {
public:
    enum class Event {
        kEntered,  // first visit of node()
        kBackLink, // link position() of node() leads back to a node on the path, maybe itself
        kLeft,     // all links of node() have been followed
        kEnd,
    };

    /// Uses only the first TREE_MAX_NODES nodes. Throws std::bad_alloc.
    explicit TreeWalk(std::span<const tree_node_t> nodes)
        : nodes_(nodes.first(std::min<size_t>(nodes.size(), TREE_MAX_NODES))),
          steps_(nodes_.size()) {}

    Event next();
    [[nodiscard]] uint16_t node() const { return node_; }
    [[nodiscard]] uint16_t position() const { return position_; }
    /// Number of nodes on the path from node 0 to node(), including both.
    [[nodiscard]] size_t depth() const { return depth_; }

private:
    static constexpr uint16_t kUnseen = 0;
    static constexpr uint16_t kEntered = 1; // plus one for each link followed
    static constexpr uint16_t kFinished = UINT16_MAX;

    // Number of siblings by which records are prefetched. A walk of 65,536 nodes takes a third less
    // time than without prefetch; with 1, it saves half of that.
    static constexpr size_t kAhead = 4;

    struct Step {
        uint16_t parent; // of a node on the path
        uint16_t stage;
    };

    Event enter(uint16_t node, uint16_t parent) {
        steps_[node] = {parent, kEntered};
        node_ = node;
        ++depth_;
        return Event::kEntered;
    }

    std::span<const tree_node_t> nodes_;
    std::vector<Step> steps_; // by node
    uint16_t node_ = 0;
    uint16_t position_ = 0;
    size_t depth_ = 0;
    bool has_left_ = false; // node() has been left, its parent is next
};

inline TreeWalk::Event TreeWalk::next() {
    if (depth_ == 0)
        return has_left_ || nodes_.empty() ? Event::kEnd : enter(0, 0);
    if (has_left_) {
        if (--depth_ == 0)
            return Event::kEnd;
        has_left_ = false;
        node_ = steps_[node_].parent;
    }

    uint16_t &stage = steps_[node_].stage;
    for (const auto links = links_of(nodes_[node_]); stage - kEntered < std::ssize(links);) {
        position_ = static_cast<uint16_t>(stage++ - kEntered);
        const uint16_t child = links[position_];
        if (child >= nodes_.size() || steps_[child].stage == kFinished)
            continue;
        if (steps_[child].stage != kUnseen)
            return Event::kBackLink;
        if (position_ + kAhead < links.size() && links[position_ + kAhead] < nodes_.size())
            __builtin_prefetch(&nodes_[links[position_ + kAhead]].child_count);
        return enter(child, node_);
    }
    stage = kFinished;
    has_left_ = true;
    return Event::kLeft;
}

} // namespace tsh
