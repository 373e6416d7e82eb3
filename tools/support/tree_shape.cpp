// Links, order, levels and parents of the nodes of a tree.
#include "tools/support/tree_shape.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace tool {

std::vector<uint32_t> type_masks_of(const tree_node_t &node) {
    std::vector<uint32_t> masks;
    for (const parameter_info_t &parameter : params_of(node))
        masks.push_back(parameter.type_mask);
    return masks;
}

LinkTable::LinkTable(Nodes nodes) {
    first_.reserve(nodes.size() + 1);
    links_.reserve(nodes.size() * TREE_MAX_CHILDREN); // memory that is never accessed costs nothing
    lines_.reserve(nodes.size());
    for (const tree_node_t &node : nodes) {
        const auto links = links_of(node);
        first_.push_back(static_cast<uint32_t>(links_.size()));
        links_.insert(links_.end(), links.begin(), links.end());
        lines_.push_back(tool::has_line(node) ? 1 : 0);
    }
    first_.push_back(static_cast<uint32_t>(links_.size()));
}

void LinkTable::keep_links_to(const std::vector<bool> &wanted) {
    if (std::ranges::find(wanted, false) == wanted.end())
        return;
    keep_links([&](uint32_t /*from*/, uint16_t to) { return wanted[to]; });
}

std::vector<uint16_t> children_first(const LinkTable &links) {
    struct Step {
        uint16_t node;
        uint16_t next_link;
    };
    std::vector<uint8_t> met(links.node_count());
    std::vector<Step> way;
    std::vector<uint16_t> order;
    order.reserve(links.node_count());
    const auto enter = [&](uint16_t node) {
        met[node] = 1;
        way.push_back({node, 0});
    };

    enter(0);
    while (!way.empty()) {
        Step &step = way.back();
        const auto below = links.below(step.node);
        while (step.next_link < below.size() && met[below[step.next_link]] != 0)
            ++step.next_link;
        if (step.next_link < below.size()) {
            enter(below[step.next_link++]);
        } else {
            order.push_back(step.node);
            way.pop_back();
        }
    }
    return order;
}

// In the order from parents to children, all paths to a node are known before its children are
// visited.
std::vector<Levels> measure_levels(const LinkTable &links, std::span<const uint16_t> order) {
    std::vector<Levels> levels(links.node_count());
    levels[0] = {1, 1};
    std::for_each(order.rbegin(), order.rend(), [&](uint16_t node) {
        const Levels from = levels[node];
        for (const uint16_t child : links.below(node)) {
            Levels &to = levels[child];
            to.least = to.least == 0 ? from.least + 1 : std::min(to.least, from.least + 1);
            to.greatest = std::max(to.greatest, from.greatest + 1);
        }
    });
    return levels;
}

ParentTable::ParentTable(const LinkTable &links) : first_(links.node_count() + 1) {
    const auto count = static_cast<uint32_t>(links.node_count());
    for (uint32_t node = 0; node < count; ++node)
        for (const uint16_t child : links.below(node))
            ++first_[child + size_t{1}];
    std::partial_sum(first_.begin(), first_.end(), first_.begin());
    parents_.resize(first_.back());
    std::vector<uint32_t> next{first_.begin(), first_.end() - 1};
    for (uint32_t node = 0; node < count; ++node)
        for (const uint16_t child : links.below(node))
            parents_[next[child]++] = static_cast<uint16_t>(node);
}

} // namespace tool
