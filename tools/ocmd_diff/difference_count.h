// The number of lines that a listing of the differences has.
#pragma once

#include "tools/ocmd_diff/pair_map.h"
#include "tools/ocmd_diff/product_automaton.h"
#include "tools/ocmd_diff/transition_changes.h"
#include "tools/support/command_count.h"

#include <cstdint>
#include <vector>

namespace diff {

struct Extent {
    tool::Count only_before;
    tool::Count only_after;
    tool::Count changed;

    Extent &operator+=(const Extent &other);
};

/// Counts the lines of each state once.
class LineCount {
public:
    explicit LineCount(LineDfa &dfa) : dfa_(dfa) {}

    /// Returns the number of lines that continue after a state, without one that ends there.
    tool::Count after(Target target);

private:
    struct Frame {
        State state;
        uint32_t next_edge;
        tool::Count sum;
    };

    bool take_edge(Frame &frame, const Edge &edge);

    LineDfa &dfa_;
    PairMap<tool::Count> counts_; // by state and 0
    std::vector<Frame> stack_;
};

class DifferenceCount {
public:
    explicit DifferenceCount(ProductAutomaton &product);

    /// Counts the lines of a listing from a pair on. Each pair is counted once; if there are too
    /// many, exits with kError, after a message.
    Extent count(const StatePair &start);

private:
    struct Frame {
        StatePair pair;
        ProductAutomaton::Cursor cursor;
        Extent sum;
    };

    void enter(const StatePair &pair);
    void leave();
    [[nodiscard]] Extent of_one_tree(const StatePair &pair);
    [[nodiscard]] Extent of_transition(const PairTransition &transition);
    const Extent *known(const StatePair &pair);

    ProductAutomaton &product_;
    LineDfa &dfa_;
    LineCount lines_;
    TransitionChanges changes_;
    PairMap<Extent> known_;
    std::vector<Frame> stack_;
    Extent total_;
};

} // namespace diff
