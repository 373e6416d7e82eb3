// The check of a whole tree against the rules of its records. Every tree that comes from a file
// passes it once, before anything follows an index from it.
#pragma once

#include "parse_tree/tree_node.h"

#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>

namespace tsh {

/// The first broken rule of a tree: the node that breaks it and what is wrong there.
struct TreeFault {
    uint32_t node;
    const char *what;
};

/// Judges every record (counts, child indices, children listed twice, texts without terminator),
/// reachable or not, and then what can be reached from node 0 (cycles, more than 256 levels).
/// Linear in nodes and links; neither recurses nor allocates.
std::optional<TreeFault> check_tree(std::span<const tree_node_t> nodes);

/// Writes one line about a fault: the file, the node's index and printable name, the fault.
void report_tree_fault(FILE *stream, const char *file, std::span<const tree_node_t> nodes,
                       const TreeFault &fault);

} // namespace tsh
