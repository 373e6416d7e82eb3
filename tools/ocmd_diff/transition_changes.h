// The differences at a transition that both trees have: accepted values and fields.
#pragma once

#include "tools/ocmd_diff/product_automaton.h"

#include <array>
#include <map>
#include <vector>

namespace diff {

class TransitionChanges {
public:
    explicit TransitionChanges(LineDfa &dfa) : dfa_(dfa) {}

    /// Returns a change for each field; none for a transition of one tree.
    const std::vector<Change> &of(const PairTransition &transition);

private:
    // Value sets of both sides, label sets of both sides, symbol.
    using Key = std::array<uint32_t, 5>;

    Key key_of(const PairTransition &transition);
    [[nodiscard]] std::vector<Change> changes_of(const Key &key) const;

    LineDfa &dfa_;
    const std::vector<Change> none_;
    std::map<Key, std::vector<Change>> changes_;
};

} // namespace diff
