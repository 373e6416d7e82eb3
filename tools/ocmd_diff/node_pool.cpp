// One pass over the records, from the last one on, with later records fetched ahead of time.
#include "tools/ocmd_diff/node_pool.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace diff {

namespace {

constexpr NodeNumber kDead = kNoNode - 1; // no line ends at the node or below it
constexpr size_t kUsualLinks = 32;        // at most
constexpr size_t kLinksOfLine = 32;       // a cache line

constexpr uint64_t mixed(uint64_t hash, uint64_t value) {
    hash = (hash ^ value) * 0x9E3779B97F4A7C15;
    return hash ^ hash >> 29U;
}

uint32_t hash_of(const Node &node, std::span<const NodeNumber> links) {
    uint64_t hash = mixed(node.word, uint64_t{node.label} << 2U | (node.is_final ? 2U : 0U) |
                                         (node.is_submode ? 1U : 0U));
    for (const NodeNumber link : links)
        hash = mixed(hash, link);
    return static_cast<uint32_t>(hash >> 16U);
}

// A record spans many cache lines, few of which are read.
void fetch(const tree_node_t &node) {
    __builtin_prefetch(node.token);
    __builtin_prefetch(node.token + sizeof node.token - 1);
    __builtin_prefetch(&node.optional);
    __builtin_prefetch(node.params);
    __builtin_prefetch(&node.params[0].int_min);
    __builtin_prefetch(&node.param_count);
    __builtin_prefetch(node.children + kLinksOfLine);
    __builtin_prefetch(node.children + 2 * kLinksOfLine - 16);
}

} // namespace

NodeNumber NodePool::add(tool::Nodes nodes) {
    index_nodes();
    numbers_.assign(nodes.size(), kNoNode);
    if (nodes_.empty()) { // memory that stays untouched costs nothing
        nodes_.reserve(2 * nodes.size());
        links_.reserve(kUsualLinks * nodes.size());
        hashes_.reserve(2 * nodes.size());
    }
    if (!add_backward(nodes))
        for (const uint16_t node : tool::children_first(tool::LinkTable{nodes}))
            add_node(nodes, node);
    return numbers_.front() == kDead ? kNoNode : numbers_.front();
}

// Makes all nodes so far known to the next tree. All at once, because slots can be fetched ahead of
// time then.
void NodePool::index_nodes() {
    constexpr size_t kAhead = 16;
    slots_.assign(std::bit_ceil(2 * nodes_.size() + 1), kNoNode);
    const size_t mask = slots_.size() - 1;
    for (size_t i = 0; i < nodes_.size(); ++i) {
        if (i + kAhead < nodes_.size())
            __builtin_prefetch(&slots_[hashes_[i + kAhead] & mask]);
        NodeNumber &slot = slot_of(hashes_[i], nodes_[i], links_of(nodes_[i]));
        if (slot == kNoNode)
            slot = static_cast<NodeNumber>(i);
    }
    expected_ = 0;
}

// Children come before their parents, so that links lead to numbers. Most trees have forward links
// only. @return false if this one has not.
bool NodePool::add_backward(tool::Nodes nodes) {
    constexpr size_t kAhead = 16;
    for (size_t i = nodes.size(); i-- > 0;) {
        if (i >= kAhead)
            fetch(nodes[i - kAhead]);
        if (!add_node(nodes, i))
            return false;
    }
    return true;
}

// @return false if a child has no number yet.
bool NodePool::add_node(tool::Nodes nodes, size_t index) {
    const tree_node_t &record = nodes[index];
    std::array<NodeNumber, TREE_MAX_CHILDREN> links;
    uint8_t link_count = 0;
    for (const uint16_t child : tool::links_of(record)) {
        const NodeNumber link = numbers_[child];
        if (link == kNoNode)
            return false;
        links[link_count] = link;
        link_count = static_cast<uint8_t>(link_count + (link == kDead ? 0 : 1));
    }
    const bool is_final = tool::has_line(record);
    numbers_[index] = kDead;
    if (is_final || link_count > 0)
        numbers_[index] = number_of({.word = words_.number_of(record),
                                     .label = labels_ == nullptr ? 0 : labels_->label_of(record),
                                     .first_link = 0,
                                     .link_count = link_count,
                                     .is_final = is_final,
                                     .is_submode = tool::is_submode(record)},
                                    {links.data(), link_count});
    return true;
}

// Two versions of a tree have most nodes in the same order, so the number after the previous node's
// is tried first.
NodeNumber NodePool::number_of(const Node &node, Links links) {
    if (expected_ < nodes_.size() && is_equal(expected_, node, links))
        return expected_++;
    const uint32_t hash = hash_of(node, links);
    const NodeNumber known = slot_of(hash, node, links);
    if (known != kNoNode) {
        expected_ = known + 1;
        return known;
    }
    ++expected_; // this node may have replaced another one
    nodes_.push_back(node);
    nodes_.back().first_link = static_cast<uint32_t>(links_.size());
    links_.insert(links_.end(), links.begin(), links.end());
    hashes_.push_back(hash);
    return static_cast<NodeNumber>(nodes_.size() - 1);
}

// The slot of an equal node, or the one where it would be.
NodeNumber &NodePool::slot_of(uint32_t hash, const Node &node, Links links) {
    const size_t mask = slots_.size() - 1;
    size_t i = hash & mask;
    while (slots_[i] != kNoNode &&
           (hashes_[slots_[i]] != hash || !is_equal(slots_[i], node, links)))
        i = (i + 1) & mask;
    return slots_[i];
}

bool NodePool::is_equal(NodeNumber number, const Node &node, Links links) const {
    const Node &known = nodes_[number];
    return known.word == node.word && known.link_count == node.link_count &&
           known.label == node.label && known.is_final == node.is_final &&
           known.is_submode == node.is_submode &&
           std::equal(links.begin(), links.end(), links_.data() + known.first_link);
}

} // namespace diff
