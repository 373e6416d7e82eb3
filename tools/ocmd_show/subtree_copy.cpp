// Depth-first copy of nodes with new indices.
#include "tools/ocmd_show/subtree_copy.h"

#include "tools/support/tree_shape.h"

#include <string_view>
#include <unordered_map>

namespace show {

namespace {

std::string attach_path_of(const LineSearch &search, uint16_t found) {
    std::string path;
    for (const uint16_t parent : search.parents_of(found))
        (path += path.empty() ? "" : ",") += tool::text_of(search.record().nodes[parent].name);
    return path.empty() ? search.record().attach_path : path;
}

} // namespace

SubtreeCopy::SubtreeCopy(const LineSearch &search, uint16_t found) {
    const std::vector<uint16_t> order = search.reached_from(found);
    std::unordered_map<uint16_t, uint16_t> index;
    for (const uint16_t node : order)
        index.emplace(node, static_cast<uint16_t>(index.size()));
    for (const uint16_t node : order) {
        tree_node_t &copy = nodes_.emplace_back(search.record().nodes[node]);
        for (size_t i = 0; i < copy.child_count; ++i)
            copy.children[i] = index.at(copy.children[i]);
    }
    record_ = {nodes_, kUsualVersion, kUsualPathKind, attach_path_of(search, found)};
}

} // namespace show
