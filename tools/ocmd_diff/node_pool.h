// Hash consing of nodes: a node that equals one of an earlier tree becomes the same.
#pragma once

#include "base/huge_pages.h"
#include "tools/ocmd_diff/field_labels.h"
#include "tools/ocmd_diff/word_table.h"
#include "tools/support/tree_shape.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace diff {

/// Equal numbers: nodes of the same word and label with the same links. Equal nodes of one tree may
/// have different numbers.
using NodeNumber = uint32_t;
constexpr NodeNumber kNoNode = UINT32_MAX;

struct Node {
    uint32_t word;
    uint32_t label;
    uint32_t first_link;
    uint8_t link_count; ///< Links to nodes at which or below which a line ends.
    bool is_final;      ///< A line ends here.
    bool is_submode;
};

class NodePool {
public:
    /// @param labels null if labels do not matter; all are 0 then.
    NodePool(WordTable &words, FieldLabels *labels) : words_(words), labels_(labels) {}

    /// Adds the nodes of a valid tree. @return the number of its root; kNoNode if it has no lines.
    NodeNumber add(tool::Nodes nodes);

    const Node &operator[](NodeNumber number) const { return nodes_[number]; }
    [[nodiscard]] NodeNumber link(uint32_t index) const { return links_[index]; }
    [[nodiscard]] size_t size() const { return nodes_.size(); }
    [[nodiscard]] size_t link_count() const { return links_.size(); }

private:
    using Links = std::span<const NodeNumber>;

    void index_nodes();
    bool add_backward(tool::Nodes nodes);
    bool add_node(tool::Nodes nodes, size_t index);
    NodeNumber number_of(const Node &node, Links links);
    NodeNumber append(const Node &node, Links links);
    [[nodiscard]] bool is_equal(NodeNumber number, const Node &node, Links links) const;
    [[nodiscard]] NodeNumber &slot_of(uint32_t hash, const Node &node, Links links);
    [[nodiscard]] Links links_of(const Node &node) const {
        return {links_.data() + node.first_link, node.link_count};
    }

    WordTable &words_;
    FieldLabels *labels_;
    std::vector<NodeNumber> numbers_; // of the nodes of the tree that is being added
    base::HugeVector<Node> nodes_;
    base::HugeVector<NodeNumber> links_;
    base::HugeVector<uint32_t> hashes_; // by node
    std::vector<NodeNumber> slots_;     // open addressing; nodes of earlier trees
    NodeNumber expected_ = 0;           // the number that is tried first
};

} // namespace diff
