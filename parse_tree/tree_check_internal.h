// The check of whole trees as the library's own readers make it: sound, or the first fault.
#pragma once

#include "parse_tree/tree_check.h"

#include <cstdio>
#include <optional>
#include <span>

namespace tsh {

/// The first fault that tsh_tree_check would report. Throws std::bad_alloc where that check would
/// report that there is no memory.
std::optional<tsh_tree_fault_t> check_tree(std::span<const tree_node_t> nodes);

/// Writes one line about a fault: the file and the text of the fault.
void report_tree_fault(FILE *stream, const char *file, std::span<const tree_node_t> nodes,
                       const tsh_tree_fault_t &fault);

} // namespace tsh
