// A depth-first walk with a path of its own, bounded by the deepest tree that is allowed.
#include "parse_tree/tree_depth_internal.h"

#include <algorithm>
#include <array>

namespace {

constexpr uint16_t kUnseen = 0;
constexpr uint16_t kOnPath = UINT16_MAX;

struct PathStep {
    uint32_t node;
    uint16_t next_link;
    uint16_t levels_below; // highest tree seen below this node so far
};

uint16_t link_count(const tree_node_t &node) {
    return std::min<uint16_t>(node.child_count, TREE_MAX_CHILDREN);
}

} // namespace

tsh::DepthVerdict tsh::judge_depth(std::span<const tree_node_t> nodes) {
    // Levels of the tree below and including each finished node.
    std::array<uint16_t, TREE_MAX_NODES> levels;
    std::fill_n(levels.begin(), nodes.size(), kUnseen);
    std::array<PathStep, TREE_MAX_LEVELS> path;
    size_t depth = 0;
    const auto enter = [&](uint32_t node) {
        levels[node] = kOnPath;
        path[depth++] = {node, 0, 0};
    };

    if (!nodes.empty())
        enter(0);
    while (depth > 0) {
        PathStep &step = path[depth - 1];
        const tree_node_t &node = nodes[step.node];
        if (step.next_link == link_count(node)) {
            const auto height = static_cast<uint16_t>(step.levels_below + 1);
            levels[step.node] = height;
            if (--depth > 0)
                path[depth - 1].levels_below = std::max(path[depth - 1].levels_below, height);
            continue;
        }
        const uint16_t child = node.children[step.next_link++];
        if (levels[child] == kOnPath)
            return {DepthFault::kCycle, step.node};
        const size_t height = std::max<size_t>(levels[child], 1);
        if (depth + height > TREE_MAX_LEVELS)
            return {DepthFault::kTooDeep, child};
        if (levels[child] == kUnseen)
            enter(child);
        else
            step.levels_below = std::max(step.levels_below, levels[child]);
    }
    return {DepthFault::kNone, 0};
}
