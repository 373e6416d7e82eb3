// Types and bounds of the parameters of words, and their differences between two trees.
#pragma once

#include "parse_tree/tree_node.h"
#include "tools/ocmd_diff/sequence_table.h"
#include "tools/ocmd_diff/value_changes.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace diff {

/// The values that the parameters of successive words accept, as a sequence with an entry for each
/// word that has parameters.
using Values = uint32_t;
constexpr Values kNoValues = 0; ///< The empty sequence.

/// A set of such sequences.
using ValueSet = uint32_t;
constexpr ValueSet kOnlyNoValues = 0; ///< The set with the empty sequence alone.

/// Interned sequences and sets: equal ones have equal numbers.
class AcceptedValues {
public:
    AcceptedValues();

    /// Returns the sequence of this node's word alone; kNoValues for a word without parameters.
    /// Needs tool::register_types.
    Values of_word(const tree_node_t &node);

    /// Returns the concatenation of two sequences.
    Values joined(Values first, Values second);

    /// Returns the set of these sequences, which are reordered.
    ValueSet set_of(std::vector<Values> &sequences);
    ValueSet set_of(Values sequence);

    /// Returns how two different sets of one line differ: a change for each field. Words are named
    /// unless the only one ends with the last symbol of the line.
    [[nodiscard]] std::vector<Change> changes(ValueSet before, ValueSet after,
                                              std::string_view last_symbol) const;

private:
    struct Word {
        std::string symbol; // the last one of the word, which shows its parameters
        NamedValues values;
    };

    [[nodiscard]] bool have_length(ValueSet set, size_t length) const;
    [[nodiscard]] std::vector<Change> changes_of_word(size_t index, ValueSet before, ValueSet after,
                                                      std::string_view last_symbol) const;
    [[nodiscard]] std::vector<uint32_t> words_at(size_t index, ValueSet set) const;

    SequenceTable<uint64_t> keys_;      // last symbol, and what the word accepts
    std::vector<Word> words_;           // by number of the key
    SequenceTable<uint32_t> sequences_; // of words
    SequenceTable<Values> sets_;
};

} // namespace diff
