// From words to records.
#pragma once

#include "tools/ocmd_compile/grammar.h"

#include <vector>

namespace compiler {

/// The records of a sound document, in host order.
std::vector<tree_node_t> lay_out(const Document &document);

} // namespace compiler
