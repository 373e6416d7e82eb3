// Comparison of the fields of records that do not determine what a line accepts.
#pragma once

#include "parse_tree/tree_node.h"
#include "tools/ocmd_diff/sequence_table.h"
#include "tools/ocmd_diff/value_changes.h"

#include <cstdint>
#include <string>
#include <vector>

namespace diff {

/// Interned field values: nodes with equal fields have equal labels. A number for a set of labels
/// is a label set.
class FieldLabels {
public:
    /// Needs tool::register_types.
    uint32_t label_of(const tree_node_t &node);

    /// Returns the number of a set, which is reordered; equal sets have equal numbers.
    uint32_t set_of(std::vector<uint32_t> &labels);

    /// Returns how two different label sets differ: a change for each field.
    [[nodiscard]] std::vector<Change> changes(uint32_t before, uint32_t after) const;

private:
    SequenceTable<char> values_; // the bytes of all compared fields
    std::string bytes_;
    std::vector<const tree_node_t *> first_with_; // by label
    SequenceTable<uint32_t> sets_;
};

} // namespace diff
