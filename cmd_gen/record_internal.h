// Formatting of dump records.
#pragma once

#include "base/text_builder.h"
#include "parse_tree/tree_node.h"

namespace tsh {

/// Buffer for the largest verbose record: indentation, strings, two parameters and 192 child
/// indices.
using Record = base::TextBuilder<8192>;

/// Adds the output of print_at_node at any level except TREE_DUMP_VERBOSE.
void add_short_record(Record &record, const tree_node_t &node);

} // namespace tsh
