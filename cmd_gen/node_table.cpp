// Gathering nodes: a walk that comes to each node once and keeps it on the way back.
#include "cmd_gen/node_table_internal.h"

#include <algorithm>

namespace {

size_t children_of(const tree_node_t &node) {
    return std::min<size_t>(node.child_count, TREE_MAX_CHILDREN);
}

} // namespace

namespace tsh {

bool NodeTable::gather(const tree_node_t &first, const Look &look) {
    first_ = &first;
    size_t depth = 0;
    if (!nodes_.reserve(kFirst + 1) || !meet(kFirst, depth++))
        return false;
    while (depth > 0) {
        Step &step = path_[depth - 1];
        const tree_node_t &node = *record_at(step.slot);
        if (step.children_done == children_of(node)) {
            if (!keep(step.slot, look(node)))
                return false;
            --depth;
        } else if (const uint16_t child = node.children[step.children_done++]; !met_[child]) {
            if (!meet(child, depth++))
                return false;
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

bool NodeTable::keep(uint32_t slot, const NodeLook &look) {
    const tree_node_t &node = *record_at(slot);
    const size_t children = look.entered || slot == kFirst ? children_of(node) : 0;
    if (!bytes_.grow(bytes_used_ + look.text.size() + children * sizeof node.children[0] +
                     kCopyChunk))
        return false;

    TableNode &kept = nodes_[slot];
    kept.place = static_cast<uint32_t>(bytes_used_);
    kept.text_length = static_cast<uint16_t>(look.text.size());
    kept.link_count = 0;
    kept.printed = look.printed;
    kept.submode = look.submode;
    kept.links_first = children > 0 && kept_[node.children[0]];
    bytes_used_ += look.text.copy(&bytes_[bytes_used_], look.text.size());
    for (size_t position = 0; position < children; ++position) {
        const uint16_t child = node.children[position];
        if (!kept_[child])
            continue;
        memcpy(&bytes_[bytes_used_], &child, sizeof child);
        bytes_used_ += sizeof child;
        ++kept.link_count;
    }
    kept_[slot] = kept.printed || kept.link_count != 0;
    return true;
}

} // namespace tsh
