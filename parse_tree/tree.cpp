// Tree handles: a mapped or borrowed array of nodes that has passed the tree check.
#include "parse_tree/tree_internal.h"

#include "parse_tree/load_error_internal.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

namespace {

using Nodes = std::span<const tree_node_t>;

constexpr char kRedirectRootName[] = "tsh_redirect_root";

tsh_tree_t *fail(const tsh_error_t &reason, tsh_error_t *error) {
    if (error != nullptr)
        *error = reason;
    return nullptr;
}

tsh_tree_t *make_tree(tsh::Mapping mapping, Nodes nodes, tsh_error_t *error) {
    nodes = nodes.first(std::min<size_t>(nodes.size(), TREE_MAX_NODES));
    const tsh_error_t reason = tsh::tree_error(nodes);
    if (reason.code != TSH_ERROR_NONE)
        return fail(reason, error);
    auto *tree = new (std::nothrow)
        tsh_tree_t{std::move(mapping), nodes, tsh::find_redirect_root(nodes.data(), nodes.front())};
    if (tree == nullptr)
        return fail({TSH_ERROR_NO_MEMORY, 0, "out of memory"}, error);
    if (error != nullptr)
        *error = {};
    return tree;
}

} // namespace

namespace tsh {

// Larger sizes and node counts do not fit into memory or into the loader's results.
bool is_tree_size(off_t size) {
    return size % TREE_NODE_SIZE == 0 && size / TREE_NODE_SIZE <= INT32_MAX &&
           static_cast<uintmax_t>(size) <= SIZE_MAX;
}

// Maps all pages at once, because the tree check reads every record. In a larger file, only the
// records that child indices can address are read.
Mapping::Mapping(const base::Descriptor &file, size_t size) {
    const int pages = size <= size_t{TREE_MAX_NODES} * TREE_NODE_SIZE ? MAP_POPULATE : 0;
    void *mapping = mmap(nullptr, size, PROT_READ, MAP_SHARED | pages, file.number(), 0);
    if (mapping != MAP_FAILED)
        nodes_ = {static_cast<const tree_node_t *>(mapping), size / TREE_NODE_SIZE};
}

// If the node has no children, the redirect root is the root, whatever its unused links contain.
const tree_node_t *find_redirect_root(const tree_node_t *nodes, const tree_node_t &root) {
    for (uint16_t position = 1; position < root.child_count; ++position) {
        const tree_node_t &child = nodes[root.children[position]];
        if (strncmp(child.name, kRedirectRootName, sizeof kRedirectRootName) == 0)
            return child.child_count == 0 ? nodes : nodes + child.children[0];
    }
    return nullptr;
}

} // namespace tsh

tsh_tree_t *tsh_tree_open(const char *path, tsh_error_t *error) {
    errno = 0;
    const base::Descriptor file = tsh::open_par_file(path);
    const off_t size = file.size();
    if (size <= 0 || !tsh::is_tree_size(size))
        return fail(tsh::mapping_error(path, errno), error);
    tsh::Mapping mapping{file, static_cast<size_t>(size)};
    const Nodes nodes = mapping.nodes();
    if (nodes.empty())
        return fail(tsh::mapping_error(path, errno), error);
    return make_tree(std::move(mapping), nodes, error);
}

tsh_tree_t *tsh_tree_over(const tree_node_t *nodes, uint32_t node_count, tsh_error_t *error) {
    if (nodes == nullptr || node_count == 0)
        return fail({TSH_ERROR_FORMAT, 0, "there is no node"}, error);
    return make_tree({}, {nodes, node_count}, error);
}

void tsh_tree_close(tsh_tree_t *tree) {
    delete tree;
}

uint32_t tsh_tree_node_count(const tsh_tree_t *tree) {
    return static_cast<uint32_t>(tree->nodes.size());
}

const tree_node_t *tsh_tree_root(const tsh_tree_t *tree) {
    return tree->nodes.data();
}

const tree_node_t *tsh_tree_redirect_root(const tsh_tree_t *tree) {
    return tree->redirect_root;
}

int32_t tsh_tree_index(const tsh_tree_t *tree, const tree_node_t *node) {
    const auto distance =
        reinterpret_cast<uintptr_t>(node) - reinterpret_cast<uintptr_t>(tree->nodes.data());
    const bool is_inside = distance < tree->nodes.size_bytes() && distance % TREE_NODE_SIZE == 0;
    return is_inside ? static_cast<int32_t>(distance / TREE_NODE_SIZE) : -1;
}

const tree_node_t *tsh_tree_child(const tsh_tree_t *tree, const tree_node_t *node, uint32_t n) {
    return n < node->child_count ? &tree->nodes[node->children[n]] : nullptr;
}
