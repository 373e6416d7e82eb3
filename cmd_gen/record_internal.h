// How a node's record in the dump is put together.
#pragma once

#include "base/text_builder.h"
#include "parse_tree/tree_node.h"

namespace tsh {

/// Room for the widest verbose record: indentation, texts, two parameters and 192 child indices.
using Record = base::TextBuilder<8192>;

/// Adds what print_at_node prints of a node at any level but TREE_DUMP_VERBOSE.
void add_short_record(Record &record, const tree_node_t &node);

} // namespace tsh
