// What nodes say of their words, so that lines of both trees can be compared by it: function, mode,
// help, permissions, interface kinds, ids and bounds.
#pragma once

#include "tools/ocmd_diff/line_automaton.h"

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace diff {

/// Labels are equal for sets of nodes that say the same, however many nodes say it.
class FieldLabels {
public:
    explicit FieldLabels(const LineAutomaton &automaton) : automaton_(automaton) {}

    /// The label of a set of nodes; 0 for none.
    uint32_t label_of(std::span<const NodeNumber> nodes);

    /// How two labels differ: a line for each field, indented, with the values of either side.
    [[nodiscard]] std::string changes(uint32_t before, uint32_t after) const;

private:
    using Saying = uint32_t; // what one node says
    using Sayings = std::vector<Saying>;

    Saying saying_of(NodeNumber node);

    const LineAutomaton &automaton_;
    std::unordered_map<std::string, Saying> sayings_;
    std::vector<NodeNumber> first_with_; // by saying
    std::map<Sayings, uint32_t> labels_{{{}, 0}};
    std::vector<const Sayings *> sets_{&labels_.begin()->first}; // by label
};

} // namespace diff
