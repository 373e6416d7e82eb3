// Nodes of the old file are numbered in their order; those of the new file in one pass over its
// records, from the last one on, with later records fetched ahead of time.
#include "tools/ocmd_diff/node_pool.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace diff {

namespace {

constexpr size_t kUsualLinks = 32;  // at most
constexpr size_t kLinksOfLine = 32; // a cache line
constexpr size_t kAhead = 16;       // records

constexpr uint64_t mixed(uint64_t hash, uint64_t value) {
    hash = (hash ^ value) * 0x9E3779B97F4A7C15;
    return hash ^ hash >> 29U;
}

// A record spans many cache lines, few of which are read.
void fetch_word(const tree_node_t &node) {
    __builtin_prefetch(node.token);
    __builtin_prefetch(node.token + sizeof node.token - 1);
    __builtin_prefetch(&node.optional);
    __builtin_prefetch(&node.params[0].int_min);
    __builtin_prefetch(&node.param_count);
}

void fetch(const tree_node_t &node) {
    fetch_word(node);
    __builtin_prefetch(node.children + kLinksOfLine);
    __builtin_prefetch(node.children + 2 * kLinksOfLine - 16);
}

} // namespace

NodeNumber NodePool::add_old(tool::Nodes nodes) {
    if (nodes_.empty()) { // memory that stays untouched costs nothing
        nodes_.reserve(2 * nodes.size());
        origins_.reserve(2 * nodes.size());
        numbers_.reserve(2 * nodes.size());
        links_.reserve(kUsualLinks * nodes.size());
    }
    const auto tree = static_cast<uint32_t>(numbers_.size());
    for (size_t i = 0; i < nodes.size(); ++i) {
        if (i + kAhead < nodes.size()) {
            __builtin_prefetch(&nodes[i + kAhead].flags);
            __builtin_prefetch(&nodes[i + kAhead].child_count);
        }
        numbers_.push_back(append(candidate(nodes[i], tree)));
    }
    old_count_ = static_cast<uint32_t>(nodes_.size());
    old_ends_.push_back(old_count_);
    return root_of(tree);
}

NodePool::Candidate NodePool::candidate(const tree_node_t &record, uint32_t tree) {
    return {record,
            tree,
            {.word = kUnread,
             .label = labels_ == nullptr ? 0 : labels_->label_of(record),
             .is_final = tool::has_line(record),
             .is_submode = tool::is_submode(record),
             .link_count = static_cast<uint8_t>(record.child_count),
             .life = tool::has_line(record) ? Node::kLive : Node::kUnknown}};
}

NodeNumber NodePool::append(const Candidate &candidate) {
    nodes_.push_back(candidate.node);
    origins_.push_back({&candidate.record, candidate.tree, {}});
    link_count_ += candidate.node.link_count;
    return static_cast<NodeNumber>(nodes_.size() - 1);
}

NodeNumber NodePool::root_of(uint32_t tree) {
    return is_live(numbers_[tree]) ? numbers_[tree] : kNoNode;
}

// Two versions of a tree have most nodes in the same order. If they do not, the tree is added
// again, by hashes.
NodeNumber NodePool::add_new(tool::Nodes nodes) {
    const auto tree = static_cast<uint32_t>(numbers_.size());
    const size_t count = nodes_.size();
    const size_t links = link_count_;
    numbers_.resize(tree + nodes.size(), kNoNode);
    if (next_tree_ < old_ends_.size()) // the last nodes are compared first
        shift_ = old_ends_[next_tree_++] - static_cast<uint32_t>(numbers_.size());
    if (!match_all(nodes, tree)) {
        index_old();
        nodes_.resize(count);
        origins_.resize(count);
        link_count_ = links;
        std::fill(numbers_.begin() + tree, numbers_.end(), kNoNode);
        match_all(nodes, tree);
    }
    return root_of(tree);
}

// Children come before their parents. @return false if hashes are needed.
bool NodePool::match_all(tool::Nodes nodes, uint32_t tree) {
    if (match_backward(nodes, tree) || is_lost())
        return !is_lost();
    for (const uint16_t node : tool::children_first(tool::LinkTable{nodes}))
        if (numbers_[tree + node] == kNoNode)
            match(nodes[node], tree, tree + node);
    return !is_lost();
}

// Most trees have forward links only. @return false if this one has not, or hashes are needed.
bool NodePool::match_backward(tool::Nodes nodes, uint32_t tree) {
    for (size_t i = nodes.size(); i-- > 0;) {
        const auto place = static_cast<uint32_t>(tree + i);
        if (i >= kAhead) {
            fetch(nodes[i - kAhead]);
            const auto expected = place + shift_ - static_cast<uint32_t>(kAhead);
            if (expected < old_count_)
                fetch(*origins_[expected].record);
        }
        if (!match(nodes[i], tree, place) || is_lost())
            return false;
    }
    return true;
}

// Gives the node at a place its number. @return false if a child has none yet.
bool NodePool::match(const tree_node_t &record, uint32_t tree, uint32_t place) {
    NodeNumber greatest = 0;
    for (const uint16_t child : tool::links_of(record))
        greatest = std::max(greatest, numbers_[tree + child]);
    if (greatest == kNoNode)
        return false;
    // No old node has a link to a new one.
    const Candidate sought = candidate(record, tree);
    NodeNumber number = greatest < old_count_ ? find_old(sought, place) : kNoNode;
    if (number == kNoNode)
        number = append(sought);
    numbers_[place] = number;
    return true;
}

// The equal node of the old file, or kNoNode. From where a node was inserted or removed on, all are
// expected one place further.
NodeNumber NodePool::find_old(const Candidate &candidate, uint32_t place) {
    const NodeNumber expected = place + shift_;
    for (const NodeNumber number : {expected, expected - 1, expected + 1})
        if (number < old_count_ && is_equal(number, candidate)) {
            shift_ = number - place;
            return number;
        }
    ++misses_;
    if (slots_.empty())
        return kNoNode;
    const NodeNumber known = slot_of(hash_of(candidate), candidate);
    if (known != kNoNode)
        shift_ = known - place;
    return known;
}

void NodePool::index_old() {
    slots_.assign(std::bit_ceil(2 * size_t{old_count_} + 1), kNoNode);
    for (NodeNumber number = 0; number < old_count_; ++number) {
        if (number + kAhead < old_count_)
            fetch(*origins_[number + kAhead].record);
        const Origin &origin = origins_[number];
        const Candidate old{*origin.record, origin.tree, nodes_[number]};
        hashes_.push_back(hash_of(old));
        NodeNumber &slot = slot_of(hashes_.back(), old);
        if (slot == kNoNode)
            slot = number;
    }
}

// The slot of an equal node, or the one where it would be.
NodeNumber &NodePool::slot_of(uint32_t hash, const Candidate &candidate) {
    const size_t mask = slots_.size() - 1;
    size_t i = hash & mask;
    while (slots_[i] != kNoNode && (hashes_[slots_[i]] != hash || !is_equal(slots_[i], candidate)))
        i = (i + 1) & mask;
    return slots_[i];
}

uint32_t NodePool::hash_of(const Candidate &candidate) const {
    const Node &node = candidate.node;
    uint64_t hash =
        mixed(WordTable::hash_of(candidate.record),
              uint64_t{node.label} << 2U | (node.is_final ? 2U : 0U) | (node.is_submode ? 1U : 0U));
    for (const uint16_t child : tool::links_of(candidate.record))
        hash = mixed(hash, numbers_[candidate.tree + child]);
    return static_cast<uint32_t>(hash >> 16U);
}

bool NodePool::is_equal(NodeNumber number, const Candidate &candidate) const {
    const Node &known = nodes_[number];
    const Node &node = candidate.node;
    if (known.link_count != node.link_count || known.is_final != node.is_final ||
        known.is_submode != node.is_submode || known.label != node.label ||
        !WordTable::have_same_word(*origins_[number].record, candidate.record))
        return false;
    const Origin &origin = origins_[number];
    const NodeNumber *olds = numbers_.data() + origin.tree;
    const NodeNumber *news = numbers_.data() + candidate.tree;
    NodeNumber difference = 0;
    for (size_t i = 0; i < node.link_count; ++i)
        difference |= olds[origin.record->children[i]] ^ news[candidate.record.children[i]];
    return difference == 0;
}

void NodePool::read_links(Origin &origin, size_t count) {
    origin.links.first = static_cast<uint32_t>(links_.size());
    const auto below = [&](size_t i) { return numbers_[origin.tree + origin.record->children[i]]; };
    for (size_t i = 0; i < count; ++i)
        if (nodes_[below(i)].word == kUnread)
            fetch_word(*origins_[below(i)].record);
    for (size_t i = 0; i < count; ++i) {
        if (is_live(below(i)))
            links_.push_back(below(i));
    }
    origin.links.last = static_cast<uint32_t>(links_.size());
}

// A depth-first search for the first line, which stores its findings about the nodes on the path.
bool NodePool::is_live(NodeNumber number) {
    if (nodes_[number].life == Node::kUnknown) {
        steps_.push_back({number, 0});
        while (!steps_.empty())
            if (!go_down())
                steps_.pop_back();
    }
    return nodes_[number].life == Node::kLive;
}

// Goes on below the last step. @return false if nothing is left to do there.
bool NodePool::go_down() {
    Step &step = steps_.back();
    Node &node = nodes_[step.number];
    const Origin &origin = origins_[step.number];
    while (node.life != Node::kLive && step.next_child < node.link_count) {
        const NodeNumber child = numbers_[origin.tree + origin.record->children[step.next_child]];
        if (nodes_[child].life == Node::kUnknown) {
            steps_.push_back({child, 0});
            return true;
        }
        node.life = nodes_[child].life;
        ++step.next_child;
    }
    if (node.life == Node::kUnknown)
        node.life = Node::kDead;
    return false;
}

} // namespace diff
