// Writes a large main par file for the speed measurements: make_tree wide|deep|shared FILE.
// Trees are layered: every node of a layer has the same number of children in the next, which
// several parents share, so 60,000 nodes spell some 10 million lines.
#include "parse_tree/tree_node.h"

#include <cstdio>
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

struct Shape {
    std::vector<Layer> layers;
    bool scattered; // children anywhere in the next layer, not side by side
};

std::vector<Layer> deep_layers() {
    std::vector<Layer> layers{{1, 2, false}};
    for (uint32_t level = 1; level <= 22; ++level)
        layers.push_back({2726, level == 22 ? 0U : 2U, level >= 3});
    return layers;
}

const std::map<std::string, Shape> kShapes{
    {"wide",
     {{{1, 100, false}, {100, 100, false}, {10000, 50, true}, {42000, 20, true}, {7890, 0, true}},
      false}},
    {"deep", {deep_layers(), false}},
    {"shared",
     {{{1, 60, false},
       {60, 8, true},
       {12000, 8, true},
       {12000, 8, true},
       {12000, 8, true},
       {12000, 40, true},
       {11930, 0, true}},
      true}},
};

std::mt19937 generator{20240229}; // a fixed seed, so that figures compare from run to run

uint32_t random_number() {
    return static_cast<uint32_t>(generator());
}

bool one_in(uint32_t n) {
    return random_number() % n == 0;
}

constexpr uint32_t kParamTypes[] = {0x00000001, 0x40000002, 0x40100003, 0x40200001, 0x40300004};

tree_node_t make_node(uint32_t index, bool terminal) {
    tree_node_t node{};
    snprintf(node.name, sizeof node.name, "node%u", index);
    if (one_in(5)) {
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

std::vector<tree_node_t> make_tree(const Shape &shape) {
    std::vector<tree_node_t> nodes;
    for (const Layer &layer : shape.layers)
        for (uint32_t i = 0; i < layer.nodes; ++i)
            nodes.push_back(make_node(static_cast<uint32_t>(nodes.size()), layer.terminal));

    uint32_t first = 0;
    for (size_t level = 0; level + 1 < shape.layers.size(); ++level) {
        const Layer &layer = shape.layers[level];
        const uint32_t below = first + layer.nodes;
        const uint32_t room = shape.layers[level + 1].nodes;
        for (uint32_t i = 0; i < layer.nodes; ++i) {
            tree_node_t &node = nodes[first + i];
            const uint32_t start = shape.scattered ? random_number() % room : i * layer.links;
            const uint32_t step = shape.scattered ? 97 : 1;
            node.child_count = static_cast<uint16_t>(layer.links);
            for (uint32_t c = 0; c < layer.links; ++c)
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
    const auto shape = kShapes.find(argc == 3 ? argv[1] : "");
    if (shape == kShapes.end()) {
        fputs("usage: make_tree wide|deep|shared FILE\n", stderr);
        return 1;
    }
    const std::vector<tree_node_t> nodes = make_tree(shape->second);
    FILE *file = fopen(argv[2], "wb");
    if (file == nullptr ||
        fwrite(nodes.data(), sizeof nodes[0], nodes.size(), file) != nodes.size() ||
        fclose(file) != 0) {
        perror(argv[2]);
        return 1;
    }
    return 0;
}
