// Loading errors of main trees, with a guess at the actual file format.
#pragma once

#include "parse_tree/tree.h"

#include <span>

namespace tsh {

/// Returns why a file could not be mapped; error is the errno of the attempt, 0 if no call failed.
tsh_error_t mapping_error(const char *path, int error);

/// Returns the first error of a tree; TSH_ERROR_NONE for a valid one.
tsh_error_t tree_error(std::span<const tree_node_t> nodes);

/// Returns the error of a valid tree without a redirect root.
tsh_error_t redirect_root_error(std::span<const tree_node_t> nodes);

} // namespace tsh
