// Reasons why a main tree cannot be used, with a guess at what the file is instead.
#pragma once

#include "parse_tree/tree.h"

#include <span>

namespace tsh {

/// Why a file could not be mapped; error is the errno of the attempt, 0 if the system refused
/// nothing.
tsh_error_t mapping_error(const char *path, int error);

/// The first rule that a tree breaks; TSH_ERROR_NONE for a valid one.
tsh_error_t tree_error(std::span<const tree_node_t> nodes);

/// Of a valid tree that has no redirect root.
tsh_error_t redirect_root_error(std::span<const tree_node_t> nodes);

} // namespace tsh
