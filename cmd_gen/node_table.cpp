// Collection of nodes: a walk that visits each node once and stores it on the way back.
#include "cmd_gen/node_table_internal.h"

#include "parse_tree/tree_node_internal.h"

#include <cstring>

namespace tsh {

bool NodeTable::gather(const tree_node_t *records, const tree_node_t &first,
                       const Describe &describe) {
    records_ = records;
    first_ = &first;
    size_t depth = 0;
    if (!nodes_.reserve(kFirst + 1) || !meet(kFirst, depth++))
        return false;
    while (depth > 0) {
        Step &step = path_[depth - 1];
        const tree_node_t &node = *record_at(step.slot);
        const std::span children = children_of(node);
        while (step.children_met < children.size() && met_[children[step.children_met]])
            ++step.children_met;
        if (step.children_met < children.size()) {
            if (!meet(children[step.children_met], depth++))
                return false;
        } else {
            if (!keep(step.slot, describe(node), children))
                return false;
            --depth;
        }
    }
    return true;
}

bool NodeTable::meet(uint32_t slot, size_t depth) {
    if (!path_.grow(depth + 1))
        return false;
    met_[slot] = true;
    path_[depth] = {slot, 0};
    return true;
}

bool NodeTable::keep(uint32_t slot, const NodeContent &content,
                     std::span<const uint16_t> children) {
    const size_t most = content.text.size() + children.size_bytes() + base::kCopyChunk;
    if (!bytes_.grow(bytes_used_ + most))
        return false;
    if (!content.entered && slot != kFirst)
        children = {};

    char *const text = &bytes_[bytes_used_];
    char *const links = text + content.text.copy(text, content.text.size());
    size_t link_count = 0;
    for (const uint16_t child : children) { // a dropped link is overwritten by the next one
        memcpy(links + link_count * sizeof child, &child, sizeof child);
        link_count += kept_[child] ? 1 : 0;
    }
    nodes_[slot] = {static_cast<uint32_t>(bytes_used_),
                    static_cast<uint16_t>(content.text.size()),
                    static_cast<uint8_t>(link_count),
                    content.printed,
                    content.submode,
                    !children.empty() && kept_[children[0]]};
    kept_[slot] = content.printed || link_count != 0;
    bytes_used_ += content.text.size() + link_count * sizeof children[0];
    return true;
}

} // namespace tsh
