// Main trees made of documents: one document, or several that are linked.
#pragma once

#include "base/owners.h"
#include "tools/ocmd_compile/grammar.h"
#include "treelink/prebuilt_tree.h"

#include <cstdio>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace compiler {

/// Selects the directory of the prebuilt trees from which missing attach points are borrowed.
/// @param directory must live as long as the program uses it; null for none.
void use_prebuilt_trees(const char *directory);

/// Returns the paths of the prebuilt trees, whether they exist or not.
std::vector<std::string> prebuilt_paths();

/// Returns the paths of the prebuilt trees that exist. Exits with kError if that cannot be known.
std::vector<std::string> prebuilt_files();

/// Reads the prebuilt trees, for borrowed_below. If one exists but cannot be used, exits with
/// kError.
void read_prebuilt_trees();

/// Words by name, each with its document.
using NamedWords = std::unordered_map<std::string_view, std::pair<const Document *, const Word *>>;

/// Finds the node with this name that can be borrowed with its parents, up to a parent with a
/// defined name. Returns the child of that parent; null if there is none.
const dl_hash_entry_t *borrowed_below(std::string_view name, const NamedWords &defined);

/// A main tree of valid documents.
class MainTree {
public:
    /// Links the documents if there are several, with the one without attach points as the root.
    /// If the linker, which reports to standard error, leaves out a part, exits with kNegative.
    explicit MainTree(std::span<const Document> documents);

    /// Writes a main par file. The stream has a descriptor other than that of standard output.
    /// @return false, with errno set, if it cannot be written.
    [[nodiscard]] bool write(FILE *stream) const;

private:
    std::span<const Document> documents_;
    base::Block<tree_node_t> linked_; // null for one document
    uint32_t node_count_ = 0;         // of the linked tree
};

} // namespace compiler
