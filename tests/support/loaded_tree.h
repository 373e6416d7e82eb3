// Grammar loaded as the process's main tree, for tests of navigation and enumeration.
#pragma once

#include "parse_tree/tree_load.h"
#include "tests/support/grammar.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace harness {

class LoadedTree {
public:
    explicit LoadedTree(const grammar::Word &root) : nodes_(grammar::lay_out(root)) {
        g_atn = atnode_root = nodes_.data();
    }

    const tree_node_t *node(const std::string &name) const {
        for (const tree_node_t &node : nodes_)
            if (node.name == name)
                return &node;
        throw std::out_of_range(name);
    }

private:
    std::vector<tree_node_t> nodes_;
};

} // namespace harness
