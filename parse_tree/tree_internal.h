// Structure of a tree handle, and the mapping that it may own.
#pragma once

#include "parse_tree/par_file_internal.h"
#include "parse_tree/tree.h"

#include <span>
#include <sys/mman.h>
#include <utility>

namespace tsh {

/// A main par file mapped read-only; empty if it could not be mapped, with errno set.
class Mapping {
public:
    Mapping() = default;
    Mapping(const base::Descriptor &file, size_t size);
    ~Mapping() {
        if (!nodes_.empty())
            munmap(const_cast<tree_node_t *>(nodes_.data()), nodes_.size_bytes());
    }
    Mapping(Mapping &&other) noexcept : nodes_(std::exchange(other.nodes_, {})) {}
    Mapping &operator=(Mapping &&) = delete;

    [[nodiscard]] std::span<const tree_node_t> nodes() const { return nodes_; }
    /// Transfers the mapping to the caller.
    std::span<const tree_node_t> release() { return std::exchange(nodes_, {}); }

private:
    std::span<const tree_node_t> nodes_;
};

/// Returns whether a main par file can have this many bytes and fit into memory.
bool is_tree_size(off_t size);

/// Returns the redirect root of a valid tree; null if there is none.
const tree_node_t *find_redirect_root(const tree_node_t *nodes, const tree_node_t &root);

} // namespace tsh

struct tsh_tree_t {
    tsh::Mapping mapping; // empty when the caller owns the nodes
    std::span<const tree_node_t> nodes;
    const tree_node_t *redirect_root;
};
