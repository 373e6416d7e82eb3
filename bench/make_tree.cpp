// Writer of large main par files for the benchmarks: make_tree SHAPE FILE [SIZE].
// Trees are layered: every node of a layer has the same number of children in the next, which
// several parents may share. "wide", "deep" and "shared" have about 10 million lines in 60,000
// nodes. "unlike" has 60,000 nodes with different keywords and functions, none of them optional or
// shared. The other shapes reach a limit, with keywords only: "full" has the maximum number of
// nodes, or SIZE, none of them shared; "crowded" has the maximum number of links per node; "chain"
// has 65,000 levels, or SIZE; "lines" has 100 million lines, or SIZE million.
#include "parse_tree/tree_node.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

struct Layer {
    uint32_t nodes;
    uint32_t links; // children of each node
    bool terminal;  // whether lines end here
};

using Layers = std::vector<Layer>;

// Which nodes of the next layer the children of a node are.
enum class Spread {
    kInTurn,    // those behind its sibling's, from the first again when there are no more
    kOnce,      // the same, as long as there are some
    kScattered, // anywhere, not side by side
};

struct Shape {
    Layers (*layers)(uint32_t size);
    uint32_t usual_size;
    Spread spread = Spread::kInTurn;
    bool has_parameters = true;
    bool is_unlike = false;
};

Layers wide_layers(uint32_t) {
    return {
        {1, 100, false}, {100, 100, false}, {10000, 50, true}, {42000, 20, true}, {7890, 0, true}};
}

Layers deep_layers(uint32_t) {
    Layers layers{{1, 2, false}};
    for (uint32_t level = 1; level <= 22; ++level)
        layers.push_back({2726, level == 22 ? 0U : 2U, level >= 3});
    return layers;
}

Layers shared_layers(uint32_t) {
    return {{1, 60, false},   {60, 8, true},     {12000, 8, true}, {12000, 8, true},
            {12000, 8, true}, {12000, 40, true}, {11930, 0, true}};
}

// The root has room for one child more, the redirect root.
constexpr uint32_t kMostBelowRoot = TREE_MAX_CHILDREN - 1;

Layers full_layers(uint32_t nodes) {
    const uint32_t below = nodes - 2 - kMostBelowRoot; // the root, its children
    const uint32_t third = std::min<uint32_t>(below, kMostBelowRoot * TREE_MAX_CHILDREN);
    return {{1, kMostBelowRoot, false},
            {kMostBelowRoot, TREE_MAX_CHILDREN, true},
            {third, TREE_MAX_CHILDREN, true},
            {below - third, 0, true}};
}

Layers unlike_layers(uint32_t nodes) {
    return {{1, 100, false}, {100, 100, true}, {10000, 5, true}, {nodes - 10102, 0, true}};
}

Layers crowded_layers(uint32_t) {
    constexpr uint32_t kThird = kMostBelowRoot * TREE_MAX_CHILDREN;
    return {{1, kMostBelowRoot, false},
            {kMostBelowRoot, TREE_MAX_CHILDREN, false},
            {kThird, TREE_MAX_CHILDREN, false},
            {TREE_MAX_NODES - 2 - kMostBelowRoot - kThird, 0, true}};
}

Layers chain_layers(uint32_t levels) {
    Layers layers(levels, {1, 1, false});
    layers.back() = {1, 0, true};
    return layers;
}

Layers line_layers(uint32_t millions) {
    return {{1, 100, false},
            {100, 100, false},
            {10000, 100, false},
            {10000, millions, false},
            {10000, 0, true}};
}

const std::map<std::string, Shape> kShapes{
    {"wide", {wide_layers, 0}},
    {"deep", {deep_layers, 0}},
    {"shared", {shared_layers, 0, Spread::kScattered}},
    {"full", {full_layers, TREE_MAX_NODES, Spread::kOnce, false}},
    {"unlike", {unlike_layers, 60000, Spread::kOnce, false, true}},
    {"crowded", {crowded_layers, 0, Spread::kInTurn, false}},
    {"chain", {chain_layers, 65000, Spread::kInTurn, false}},
    {"lines", {line_layers, 100, Spread::kInTurn, false}},
};

std::mt19937 generator{20240229}; // a fixed seed, so that figures compare from run to run

uint32_t random_number() {
    return static_cast<uint32_t>(generator());
}

bool one_in(uint32_t n) {
    return random_number() % n == 0;
}

constexpr uint32_t kParamTypes[] = {0x00000001, 0x40000002, 0x40100003, 0x40200001, 0x40300004};

tree_node_t make_node(uint32_t index, bool terminal, bool may_be_parameter) {
    tree_node_t node{};
    snprintf(node.name, sizeof node.name, "node%u", index);
    if (one_in(5) && may_be_parameter) {
        node.param_count = 1;
        node.params[0].type_mask = kParamTypes[random_number() % std::size(kParamTypes)];
    } else {
        snprintf(node.token, sizeof node.token, "word%u", index % 1000);
    }
    node.optional = one_in(6) ? 1 : 0;
    node.flags = terminal ? TREE_FLAG_TERMINAL : one_in(20) ? TREE_FLAG_SUBMODE : 0;
    node.intf_mask = random_number();
    if ((node.intf_mask & TREE_INTF_ANY) != 0)
        node.intf_mask = node.intf_mask | TREE_INTF_IMPLIED;
    return node;
}

std::vector<tree_node_t> make_tree(const Shape &shape, const Layers &layers) {
    std::vector<tree_node_t> nodes;
    for (const Layer &layer : layers)
        for (uint32_t i = 0; i < layer.nodes; ++i)
            nodes.push_back(make_node(static_cast<uint32_t>(nodes.size()), layer.terminal,
                                      shape.has_parameters));
    for (size_t i = 0; shape.is_unlike && i < nodes.size(); ++i) {
        snprintf(nodes[i].token, sizeof nodes[i].token, "word%zu", i);
        snprintf(nodes[i].func_id, sizeof nodes[i].func_id, "function%zu", i);
        nodes[i].optional = 0;
    }

    uint32_t first = 0;
    for (size_t level = 0; level + 1 < layers.size(); ++level) {
        const Layer &layer = layers[level];
        const uint32_t below = first + layer.nodes;
        const uint32_t room = layers[level + 1].nodes;
        for (uint32_t i = 0; i < layer.nodes; ++i) {
            tree_node_t &node = nodes[first + i];
            const bool scattered = shape.spread == Spread::kScattered;
            const uint32_t start = scattered ? random_number() % room : i * layer.links;
            const uint32_t step = scattered ? 97 : 1;
            uint32_t links = layer.links;
            if (shape.spread == Spread::kOnce)
                links = std::min(links, room - std::min(room, start));
            node.child_count = static_cast<uint16_t>(links);
            for (uint32_t c = 0; c < links; ++c)
                node.children[c] = static_cast<uint16_t>(below + (start + c * step) % room);
        }
        first = below;
    }

    // The redirect root that every main tree has, as the last child of the root.
    const auto redirect = static_cast<uint16_t>(nodes.size());
    tree_node_t node{};
    strcpy(node.name, "tsh_redirect_root");
    nodes[0].children[nodes[0].child_count++] = redirect;
    nodes.push_back(node);
    return nodes;
}

} // namespace

int main(int argc, char **argv) {
    const auto found = kShapes.find(argc == 3 || argc == 4 ? argv[1] : "");
    if (found == kShapes.end()) {
        fputs("usage: make_tree SHAPE FILE [SIZE]\n", stderr);
        return 1;
    }
    const Shape &shape = found->second;
    const auto size =
        argc == 4 ? static_cast<uint32_t>(strtoul(argv[3], nullptr, 10)) : shape.usual_size;
    const std::vector<tree_node_t> nodes = make_tree(shape, shape.layers(size));
    FILE *file = fopen(argv[2], "wb");
    if (file == nullptr ||
        fwrite(nodes.data(), sizeof nodes[0], nodes.size(), file) != nodes.size() ||
        fclose(file) != 0) {
        perror(argv[2]);
        return 1;
    }
    return 0;
}
