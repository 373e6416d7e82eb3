// Incremental cycle detection among subtrees.
//
// Problem: The linker adds edges one after another, each from a node of one subtree to the root of
// another, in a prescribed order. An edge that would close a cycle is rejected. The result depends
// on the edges before it, some of which may have been rejected for other reasons. This is
// incremental cycle detection in a directed graph whose vertices are the subtrees. A subtree is
// valid in itself and entered only at its root, so its inside matters only in one respect: whether
// the root reaches the node at which the edge starts.
//
// Method: All requested edges are known before the first one is added.
//  1. Find the strongly connected components of the graph of all requested edges with Tarjan's
//     depth-first search, in linear time. An edge between two components is on no cycle, whichever
//     edges are added. In a valid grammar every component is one subtree, so the second step is not
//     needed.
//  2. For an edge inside a component, search from both ends for a path from the child back to the
//     parent, over the edges inside components. The two breadth-first searches alternate, so they
//     cost at most twice the smaller one. At the end of a chain, or at the leaves of a tree, this
//     is very little, whatever the order of the edges.
//
// Alternatives, for n subtrees (up to 65,536) and m edges (up to 32 per subtree): - a search from
// one end only: simpler, but a chain of n subtrees in the wrong order costs n * n / 2 steps, two
// thousand million; - a reachability matrix with one bit per pair: answers immediately, but needs
// 512 MB, and a new edge may change n * n / 64 words; - a dynamic topological order (Pearce and
// Kelly), which limits the searches to the vertices between the two ends: m * sqrt(m) steps in its
// best form, but an order, its updates and two searches to maintain, for components that valid
// grammars do not have. The search from both ends has no better bound than m steps per edge, so the
// searches of one link share a limit. A search that exceeds it is undecided, and so are all later
// ones.
#include "treelink/attach_graph_internal.h"

#include <algorithm>

namespace {

using tsh::SubtreeEdges;

constexpr uint32_t kNone = SubtreeEdges::kNone;

// Limit of all searches of one link in pairs of steps: about 3 s, at 50 ns per pair if the edges do
// not fit into the cache. Measured with random attach paths, the worst cases found: 10,000 subtrees
// with 32 paths each need 60 million pairs, and a quarter of this limit would leave half of their
// paths undecided; 60,000 subtrees with 4 paths each do not finish within four times the limit, 13
// s.
constexpr uint64_t kMostSteps = uint64_t{1} << 26U;

// Returns the strongly connected components of the graph, each identified by one of its members.
// Uses Tarjan's depth-first search, which stores for every subtree the oldest open subtree that it
// reaches.
std::vector<uint32_t> components_of(const SubtreeEdges &edges) {
    struct PathStep {
        uint32_t subtree;
        uint32_t next_edge;
    };
    std::vector<uint32_t> age(edges.subtrees(), 0); // order of entry from 1; 0: not entered yet
    std::vector<uint32_t> oldest(edges.subtrees());
    std::vector<uint32_t> component(edges.subtrees(), kNone);
    std::vector<uint32_t> open; // entered, component not yet known
    std::vector<PathStep> path;
    uint32_t entered = 0;
    const auto enter = [&](uint32_t subtree) {
        age[subtree] = oldest[subtree] = ++entered;
        open.push_back(subtree);
        path.push_back({subtree, edges.newest(subtree)});
    };
    const auto lead_back = [&](uint32_t subtree, uint32_t reached_age) {
        oldest[subtree] = std::min(oldest[subtree], reached_age);
    };
    const auto close_component = [&](uint32_t head) {
        const auto first = std::ranges::find(open.rbegin(), open.rend(), head).base() - 1;
        std::for_each(first, open.end(), [&](uint32_t member) { component[member] = head; });
        open.erase(first, open.end());
    };

    for (uint32_t start = 0; start < edges.subtrees(); ++start) {
        if (age[start] == 0)
            enter(start);
        while (!path.empty()) {
            PathStep &step = path.back();
            if (step.next_edge != kNone) {
                const SubtreeEdges::Edge &edge = edges.at(step.next_edge);
                step.next_edge = edge.older;
                if (age[edge.to] == 0)
                    enter(edge.to);
                else if (component[edge.to] == kNone)
                    lead_back(step.subtree, age[edge.to]);
                continue;
            }
            const uint32_t subtree = step.subtree;
            path.pop_back();
            if (oldest[subtree] == age[subtree])
                close_component(subtree);
            else
                lead_back(path.back().subtree, oldest[subtree]);
        }
    }
    return component;
}

} // namespace

void tsh::SubtreeEdges::add(uint32_t from, uint32_t to) {
    edges_.push_back({to, newest_[from]});
    newest_[from] = static_cast<uint32_t>(edges_.size() - 1);
}

void tsh::SubtreeSearch::start(uint32_t subtree) {
    ++round_;
    reached_.clear();
    current_ = 0;
    next_edge_ = edges_.newest(subtree);
    reach(subtree);
}

std::optional<uint32_t> tsh::SubtreeSearch::step() {
    while (next_edge_ == kNone) {
        if (++current_ == reached_.size())
            return std::nullopt;
        next_edge_ = edges_.newest(reached_[current_]);
    }
    const SubtreeEdges::Edge &edge = edges_.at(next_edge_);
    next_edge_ = edge.older;
    reach(edge.to);
    return edge.to;
}

void tsh::SubtreeSearch::reach(uint32_t subtree) {
    if (has_reached(subtree))
        return;
    round_of_[subtree] = round_;
    reached_.push_back(subtree);
}

tsh::AttachGraph::AttachGraph(std::span<const tree_node_t> nodes, std::vector<uint32_t> firsts)
    : nodes_(nodes), firsts_(std::move(firsts)), expected_(firsts_.size()), walked_(firsts_.size()),
      below_root_(nodes.size()), children_(firsts_.size()), parents_(firsts_.size()),
      downwards_(children_), upwards_(parents_), steps_left_(kMostSteps) {
    subtree_of_.reserve(nodes.size());
    for (uint32_t subtree = 0; subtree < firsts_.size(); ++subtree)
        subtree_of_.resize(end_of(subtree), static_cast<uint16_t>(subtree));
}

void tsh::AttachGraph::expect(uint32_t parent_node, uint32_t subtree) {
    expected_.add(subtree_of_[parent_node], subtree);
}

void tsh::AttachGraph::find_components() {
    component_ = components_of(expected_);
}

tsh::Closes tsh::AttachGraph::closes(uint32_t parent_node, uint32_t subtree) {
    if (!may_lie_on_cycle(parent_node, subtree))
        return Closes::kNothing;
    return search_path(subtree, subtree_of_[parent_node]);
}

void tsh::AttachGraph::made(uint32_t parent_node, uint32_t subtree) {
    if (!may_lie_on_cycle(parent_node, subtree))
        return;
    children_.add(subtree_of_[parent_node], subtree);
    parents_.add(subtree, subtree_of_[parent_node]);
}

uint32_t tsh::AttachGraph::end_of(uint32_t subtree) const {
    return subtree + 1 < firsts_.size() ? firsts_[subtree + 1]
                                        : static_cast<uint32_t>(nodes_.size());
}

// A subtree is entered only at its root, so no path leads through a parent that the root does not
// reach.
bool tsh::AttachGraph::may_lie_on_cycle(uint32_t parent_node, uint32_t subtree) {
    const uint32_t parent = subtree_of_[parent_node];
    if (component_[parent] != component_[subtree])
        return false;
    if (!walked_[parent])
        find_nodes_below_root(parent);
    return below_root_[parent_node];
}

void tsh::AttachGraph::find_nodes_below_root(uint32_t subtree) {
    const uint32_t first = firsts_[subtree];
    const uint32_t end = end_of(subtree);
    std::vector<uint32_t> pending;
    const auto reach = [&](uint32_t node) {
        if (node < first || node >= end || below_root_[node])
            return; // the root of another subtree that was linked here, or already visited
        below_root_[node] = true;
        pending.push_back(node);
    };
    reach(first);
    while (!pending.empty()) {
        const tree_node_t &node = nodes_[pending.back()];
        pending.pop_back();
        std::for_each_n(std::begin(node.children), node.child_count, reach);
    }
    walked_[subtree] = true;
}

tsh::Closes tsh::AttachGraph::search_path(uint32_t from, uint32_t to) {
    downwards_.start(from);
    upwards_.start(to);
    if (upwards_.has_reached(from))
        return Closes::kCycle;
    for (; steps_left_ > 0; --steps_left_) {
        const auto below = downwards_.step();
        if (!below)
            return Closes::kNothing;
        if (upwards_.has_reached(*below))
            return Closes::kCycle;
        const auto above = upwards_.step();
        if (!above)
            return Closes::kNothing;
        if (downwards_.has_reached(*above))
            return Closes::kCycle;
    }
    return Closes::kUndecided;
}
