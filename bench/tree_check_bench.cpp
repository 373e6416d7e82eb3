// Benchmark of the tree check with 65,536 nodes against reading the bytes once: for a tree as the
// compiler writes it (links lead forward), and for links that lead backward, which require a walk.
#include "bench/ratio_report.h"
#include "parse_tree/tree_check_internal.h"

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <span>
#include <string>
#include <vector>

namespace {

using Tree = std::vector<tree_node_t>;

// Twenty children a node, in preorder-like places: the children of node i follow each other.
Tree forward_tree() {
    Tree nodes(TREE_MAX_NODES);
    uint32_t next = 1;
    for (tree_node_t &node : nodes) {
        snprintf(node.name, sizeof node.name, "node%zu", static_cast<size_t>(&node - nodes.data()));
        snprintf(node.token, sizeof node.token, "word");
        while (node.child_count < 20 && next < nodes.size())
            node.children[node.child_count++] = static_cast<uint16_t>(next++);
    }
    return nodes;
}

Tree backward_tree() {
    Tree nodes = forward_tree();
    std::reverse(nodes.begin() + 1, nodes.end());
    for (tree_node_t &node : nodes)
        for (uint16_t &child : std::span{node.children}.first(node.child_count))
            child = static_cast<uint16_t>(TREE_MAX_NODES - child);
    return nodes;
}

uint64_t sum_of_bytes(const Tree &nodes) {
    const auto *words = reinterpret_cast<const uint32_t *>(nodes.data());
    return std::accumulate(words, words + nodes.size() * TREE_NODE_SIZE / sizeof *words,
                           uint64_t{0});
}

void add_pair(const char *name, const Tree &tree) {
    benchmark::RegisterBenchmark((std::string(name) + "/ours").c_str(),
                                 [&tree](benchmark::State &state) {
                                     for ([[maybe_unused]] auto round : state)
                                         if (tsh::check_tree(tree).has_value())
                                             state.SkipWithError("the tree is sound");
                                 })
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((std::string(name) + "/baseline").c_str(),
                                 [&tree](benchmark::State &state) {
                                     for ([[maybe_unused]] auto round : state)
                                         benchmark::DoNotOptimize(sum_of_bytes(tree));
                                 })
        ->Unit(benchmark::kMillisecond);
}

} // namespace

int main(int argc, char **argv) {
    const Tree forward = forward_tree();
    const Tree backward = backward_tree();
    add_pair("check forward links", forward);
    add_pair("check backward links", backward);
    return run_side_by_side(argc, argv, 1.0);
}
