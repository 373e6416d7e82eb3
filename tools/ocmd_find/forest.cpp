// Numbers follow one another from tree to tree.
#include "tools/ocmd_find/forest.h"

#include "tools/support/command_lines.h"
#include "tools/support/tree_shape.h"

#include <algorithm>
#include <iterator>

namespace find {

Forest::Forest(const tool::TreeFile &file, const tsh_types_t *types) : types_(types) {
    size_t next_root = 0;
    for (const tool::TreeRecord &record : file.records()) {
        const auto root = static_cast<NodeNumber>(next_root);
        trees_.push_back({root, record.nodes.data()});
        next_root += record.nodes.size();
        if (tool::begins_with_root(file, record)) {
            first_.push_back(root);
            continue;
        }
        const auto words = below(root);
        first_.insert(first_.end(), words.begin(), words.end());
    }
}

const Forest::Tree &Forest::tree_of(NodeNumber number) const {
    return *std::prev(std::ranges::upper_bound(trees_, number, {}, &Tree::root));
}

const tree_node_t &Forest::node(NodeNumber number) const {
    const Tree &tree = tree_of(number);
    return tree.nodes[number - tree.root];
}

uint32_t Forest::index_of(NodeNumber number) const {
    return number - tree_of(number).root;
}

std::vector<NodeNumber> Forest::below(NodeNumber number) const {
    const Tree &tree = tree_of(number);
    std::vector<NodeNumber> nodes;
    for (const uint16_t link : tool::links_of(tree.nodes[number - tree.root]))
        nodes.push_back(tree.root + link);
    return nodes;
}

} // namespace find
