// Small trees from random numbers or from the bytes of a fuzzer.
#pragma once

#include "parse_tree/tree_node.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <span>
#include <vector>

namespace grammar {

// Returns a small acyclic tree of few words: with submodes, shared nodes, optional words, nodes
// without a word, and siblings and lines with the same spelling. next() returns numbers.
template <typename Next>
std::vector<tree_node_t> random_tree(Next &&next, std::span<const char *const> words,
                                     std::span<const uint32_t> types) {
    const auto one_in = [&](uint32_t n) { return next() % n == 0; };
    std::vector<tree_node_t> nodes(4 + next() % 16);
    for (size_t i = 1; i < nodes.size(); ++i) {
        tree_node_t &node = nodes[i];
        snprintf(node.name, sizeof node.name, "n%zu", i);
        if (!one_in(4))
            snprintf(node.token, sizeof node.token, "%s", words[next() % words.size()]);
        if (one_in(4)) {
            node.param_count = 1;
            node.params[0].type_mask = types[next() % types.size()];
        }
        node.optional = one_in(6) ? 1 : 0;
        node.flags = (one_in(2) ? TREE_FLAG_TERMINAL : 0) | (one_in(4) ? TREE_FLAG_SUBMODE : 0);
        for (size_t links = 1 + next() % 2; links > 0; --links) {
            tree_node_t &parent = nodes[next() % i];
            uint16_t *const end = parent.children + parent.child_count;
            if (std::find(parent.children, end, i) == end)
                parent.children[parent.child_count++] = static_cast<uint16_t>(i);
        }
    }
    return nodes;
}

} // namespace grammar
