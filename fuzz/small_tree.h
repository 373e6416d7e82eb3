// Small acyclic trees from fuzzer input, with few words, so that lines often have the same
// spelling.
#pragma once

#include "fuzz/input.h"
#include "param_reg/values.h"
#include "tests/support/random_tree.h"

#include <span>
#include <string>

inline std::string small_main_tree(Input &input) {
    constexpr const char *kWords[] = {"a", "ab", "b c", "/", "c-1", "D", "e"};
    constexpr uint32_t kTypes[] = {1, 2, 0x40100001, 0x40100008};
    const auto nodes = grammar::random_tree(input, kWords, kTypes);
    return {reinterpret_cast<const char *>(nodes.data()), nodes.size() * sizeof nodes[0]};
}

inline std::span<tree_node_t> nodes_in(std::string &tree) {
    return {reinterpret_cast<tree_node_t *>(tree.data()), tree.size() / sizeof(tree_node_t)};
}

// Returns such a tree with bounds of some parameters.
inline std::string small_bounded_tree(Input &input) {
    std::string tree = small_main_tree(input);
    for (tree_node_t &node : nodes_in(tree)) {
        if (node.param_count == 0)
            continue;
        parameter_info_t &parameter = node.params[0];
        const bool has_length = tsh_mask_bounds(nullptr, parameter.type_mask) == TSH_BOUNDS_LENGTH;
        (has_length ? parameter.int_min : parameter.int_max) = input.any_of(0, 2);
    }
    return tree;
}
