// Layout of words as records.
#pragma once

#include "tools/ocmd_compile/grammar.h"

#include <cstddef>
#include <span>
#include <vector>

namespace compiler {

/// Returns the records of a valid document, in host order.
std::vector<tree_node_t> lay_out(const Document &document);

/// Fills records, those of the words from the first one on.
void lay_out(const Document &document, size_t first, std::span<tree_node_t> records);

} // namespace compiler
