// The nodes of all trees of a file under one numbering.
#pragma once

#include "tools/support/tree_input.h"

#include <cstdint>
#include <vector>

namespace find {

using NodeNumber = uint32_t;

class Forest {
public:
    /// Takes a file with sound trees, which must outlive this.
    explicit Forest(const tool::TreeFile &file);

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

    std::vector<Tree> trees_;
    std::vector<NodeNumber> first_;
};

} // namespace find
