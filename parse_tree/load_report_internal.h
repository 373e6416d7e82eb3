// What init_parse_tree tells of a file that it cannot load, beside the messages of the operations
// it calls: one line on standard error with the file's name, the reason and, where the file looks
// like another kind of file that people hand over, that.
#pragma once

#include "parse_tree/tree_node.h"

#include <span>

namespace tsh {

/// A file that could not be mapped; error is the errno of the attempt.
void report_unmapped(const char *path, int error);

/// Checks a tree that was mapped. Returns whether it is unsound.
bool report_if_unsound(const char *path, std::span<const tree_node_t> nodes);

/// A sound tree that has no redirect root.
void report_no_redirect_root(const char *path, std::span<const tree_node_t> nodes);

} // namespace tsh
