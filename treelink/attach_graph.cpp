// Cycles among subtrees: the circles of wishes, and the search for a way back from both its ends.
#include "treelink/attach_graph_internal.h"

#include <algorithm>

namespace {

using tsh::SubtreeLinks;

constexpr uint32_t kNone = SubtreeLinks::kNone;

// Links that the searches of one link of files may follow, some seconds of work. A search costs
// the shorter of two ways, so only a vast tangle of cycles gets there.
constexpr uint64_t kMostSteps = uint64_t{1} << 28U;

// The strongly connected components of the graph, each subtree's told by one of their members: a
// depth-first walk that keeps, for every subtree, the oldest open one it leads back to.
std::vector<uint32_t> circles_of(const SubtreeLinks &links) {
    struct PathStep {
        uint32_t subtree;
        uint32_t next_link;
    };
    std::vector<uint32_t> age(links.subtrees(), 0); // order of entry from 1; 0: not entered yet
    std::vector<uint32_t> oldest(links.subtrees());
    std::vector<uint32_t> circle(links.subtrees(), kNone);
    std::vector<uint32_t> open; // entered, circle not yet known
    std::vector<PathStep> path;
    uint32_t entered = 0;
    const auto enter = [&](uint32_t subtree) {
        age[subtree] = oldest[subtree] = ++entered;
        open.push_back(subtree);
        path.push_back({subtree, links.newest(subtree)});
    };
    const auto lead_back = [&](uint32_t subtree, uint32_t reached_age) {
        oldest[subtree] = std::min(oldest[subtree], reached_age);
    };
    const auto close_circle = [&](uint32_t head) {
        const auto first = std::ranges::find(open.rbegin(), open.rend(), head).base() - 1;
        std::for_each(first, open.end(), [&](uint32_t member) { circle[member] = head; });
        open.erase(first, open.end());
    };

    for (uint32_t start = 0; start < links.subtrees(); ++start) {
        if (age[start] == 0)
            enter(start);
        while (!path.empty()) {
            PathStep &step = path.back();
            if (step.next_link != kNone) {
                const SubtreeLinks::Link &link = links.at(step.next_link);
                step.next_link = link.older;
                if (age[link.to] == 0)
                    enter(link.to);
                else if (circle[link.to] == kNone)
                    lead_back(step.subtree, age[link.to]);
                continue;
            }
            const uint32_t subtree = step.subtree;
            path.pop_back();
            if (oldest[subtree] == age[subtree])
                close_circle(subtree);
            else
                lead_back(path.back().subtree, oldest[subtree]);
        }
    }
    return circle;
}

} // namespace

void tsh::SubtreeLinks::add(uint32_t from, uint32_t to) {
    links_.push_back({to, newest_[from]});
    newest_[from] = static_cast<uint32_t>(links_.size() - 1);
}

void tsh::SubtreeSearch::start(uint32_t subtree) {
    ++round_;
    reached_.clear();
    current_ = 0;
    next_link_ = links_.newest(subtree);
    reach(subtree);
}

std::optional<uint32_t> tsh::SubtreeSearch::step() {
    while (next_link_ == kNone) {
        if (++current_ == reached_.size())
            return std::nullopt;
        next_link_ = links_.newest(reached_[current_]);
    }
    const SubtreeLinks::Link &link = links_.at(next_link_);
    next_link_ = link.older;
    reach(link.to);
    return link.to;
}

void tsh::SubtreeSearch::reach(uint32_t subtree) {
    if (has_reached(subtree))
        return;
    round_of_[subtree] = round_;
    reached_.push_back(subtree);
}

tsh::AttachGraph::AttachGraph(std::span<const tree_node_t> nodes, std::vector<uint32_t> firsts)
    : nodes_(nodes), firsts_(std::move(firsts)), wishes_(firsts_.size()), walked_(firsts_.size()),
      below_root_(nodes.size()), children_(firsts_.size()), parents_(firsts_.size()),
      downwards_(children_), upwards_(parents_), steps_left_(kMostSteps) {
    subtree_of_.reserve(nodes.size());
    for (uint32_t subtree = 0; subtree < firsts_.size(); ++subtree)
        subtree_of_.resize(end_of(subtree), static_cast<uint16_t>(subtree));
}

void tsh::AttachGraph::wish(uint32_t parent_node, uint32_t subtree) {
    wishes_.add(subtree_of_[parent_node], subtree);
}

void tsh::AttachGraph::find_circles() {
    circle_ = circles_of(wishes_);
}

bool tsh::AttachGraph::closes_cycle(uint32_t parent_node, uint32_t subtree) {
    return lies_on_circle(parent_node, subtree) && leads_to(subtree, subtree_of_[parent_node]);
}

void tsh::AttachGraph::made(uint32_t parent_node, uint32_t subtree) {
    if (!lies_on_circle(parent_node, subtree))
        return;
    children_.add(subtree_of_[parent_node], subtree);
    parents_.add(subtree, subtree_of_[parent_node]);
}

uint32_t tsh::AttachGraph::end_of(uint32_t subtree) const {
    return subtree + 1 < firsts_.size() ? firsts_[subtree + 1]
                                        : static_cast<uint32_t>(nodes_.size());
}

// A subtree is only ever entered at its root, so a parent that the root does not lead to ends
// every way that comes in.
bool tsh::AttachGraph::lies_on_circle(uint32_t parent_node, uint32_t subtree) {
    const uint32_t parent = subtree_of_[parent_node];
    if (circle_[parent] != circle_[subtree])
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
            return; // the root of another subtree, linked here before, or met already
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

// Looks from both ends in turn, so that it takes no longer than twice the shorter way: from one
// end of a chain or tree, in whatever order it is put together, that is next to nothing.
bool tsh::AttachGraph::leads_to(uint32_t from, uint32_t to) {
    downwards_.start(from);
    upwards_.start(to);
    if (upwards_.has_reached(from))
        return true;
    for (; steps_left_ > 0; --steps_left_) {
        const auto below = downwards_.step();
        if (!below)
            return false;
        if (upwards_.has_reached(*below))
            return true;
        const auto above = upwards_.step();
        if (!above)
            return false;
        if (downwards_.has_reached(*above))
            return true;
    }
    return true;
}
