// The nodes of all trees of a file under one numbering.
#pragma once

#include "param_reg/values.h"
#include "tools/support/tree_input.h"

#include <cstdint>
#include <vector>

namespace find {

using NodeNumber = uint32_t;

class Forest {
public:
    /// Takes a file with valid trees and the types of its parameters, null for the built-in ones.
    /// Both must outlive this.
    explicit Forest(const tool::TreeFile &file, const tsh_types_t *types = nullptr);

    [[nodiscard]] const tsh_types_t *types() const { return types_; }

    [[nodiscard]] const tree_node_t &node(NodeNumber number) const;

    /// Nodes below a node, in the order of its tree.
    [[nodiscard]] std::vector<NodeNumber> below(NodeNumber number) const;

    /// Nodes that lines begin with.
    [[nodiscard]] const std::vector<NodeNumber> &first() const { return first_; }

    /// The index of a node in its tree.
    [[nodiscard]] uint32_t index_of(NodeNumber number) const;

private:
    struct Tree {
        NodeNumber root;
        const tree_node_t *nodes;
    };
    [[nodiscard]] const Tree &tree_of(NodeNumber number) const;

    const tsh_types_t *types_;
    std::vector<Tree> trees_;
    std::vector<NodeNumber> first_;
};

} // namespace find
