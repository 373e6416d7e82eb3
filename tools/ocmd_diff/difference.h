// What only one of two trees accepts, found without listing either.
//
// The problem. A tree of 60,000 nodes may stand for ten million lines, or for 10^30, because nodes
// are shared; what only one of two trees accepts is to be told line by line, in an order that a
// reader can follow, and equal trees are to be known as equal in the time it takes to read them.
// Nodes do not match up between the trees: a node may have been copied, split or shared since, and
// siblings may be spelled alike, so that one line ends at several nodes. The question is about
// lines, and so about languages, not about nodes.
//
// The method. Each tree is a nondeterministic finite automaton without cycles (LineAutomaton).
// 1. Subset construction makes it deterministic (LineStates): a state is the set of all nodes that
//    some beginning of a line leads to. Siblings that are spelled alike fall together there, and
//    nodes without a word are the empty steps.
// 2. Hash consing, bottom-up, makes it minimal, for both trees in one table: states with the same
//    ending and the same classes behind the same atoms have one class. For automata without cycles
//    that is all of minimization, and two states have one class exactly when the same lines follow
//    them. Lines are told apart as texts: an automaton reads atoms, the stretches between blanks,
//    so two ways to spell one text are one line.
// 3. The product automaton, the pairs of states that one beginning leads to in both trees, is
//    walked from its start. A pair of one class is passed by, with all its lines; every other pair
//    has at least one line of difference below it, so the walk spends its time on results alone.
//    Where one side has no state, all lines of the other are listed.
//
// What it costs. Time and memory for 1 and 2 are linear in nodes and links as long as no siblings
// are spelled alike and no nodes without a word are shared. What lies below such a node is looked
// at from every place above it. Subsets of siblings that are spelled alike can be exponential in
// number, as deciding whether two such automata accept the same lines is coNP-complete. The
// construction gives up at a bound that is in proportion to the trees. 3 takes time in proportion
// to what it lists. What pairs differ in is remembered, for shared nodes make pairs come up again,
// as long as there is room; counting needs to remember all of it, and there may be as many pairs as
// the product of both trees' nodes.
//
// The alternatives. Walking pairs of nodes without classes is simpler, and as fast for trees that
// hang together alike, but equal pairs then have to be remembered: of two trees with nodes shared
// in different ways there may be billions. Sorting both listings and comparing them (what comm
// does, and what the tests compare with) takes time and room for all lines. Hashes of whole
// subtrees instead of classes save the comparison that a class is found by, and may call different
// lines equal.
#pragma once

#include "tools/ocmd_diff/line_states.h"

#include <cstdint>
#include <span>
#include <vector>

namespace diff {

/// What one beginning of a line leads to in both trees.
struct Pair {
    Target before; ///< In the old tree.
    Target after;  ///< In the new one.

    [[nodiscard]] bool is_of_both() const { return before.exists() && after.exists(); }
};

/// A pair one atom further on.
struct PairStep {
    Atom atom;
    Pair to;
};

/// The pairs of two trees, without those that have nothing to tell.
class Difference {
public:
    explicit Difference(const LineStates &states)
        : states_(states), marks_(states.automaton().atoms().size()) {}

    [[nodiscard]] const LineStates &states() const { return states_; }

    /// Whether anything differs from there on: lines, or labels on their way.
    [[nodiscard]] bool is_at(const Pair &pair) const {
        if (!pair.is_of_both())
            return pair.before.exists() || pair.after.exists();
        return states_.class_of(pair.before.state()) != states_.class_of(pair.after.state());
    }

    /// Appends the steps from a pair of both trees to all pairs where something differs. A word of
    /// the old tree stands where that tree has it; one of the new tree alone stands behind the
    /// words before it there, after what the old tree alone has at that place.
    void append_steps(const Pair &pair, std::vector<PairStep> &steps);

private:
    static constexpr uint32_t kNotInBoth = UINT32_MAX;

    void match(std::span<const Edge> olds, std::span<const Edge> news);
    void append_new(std::span<const Edge> news, size_t from, std::vector<PairStep> &steps) const;

    const LineStates &states_;
    AtomMarks marks_;
    std::vector<uint32_t> new_of_old_; // by edge: the edge of the same atom, or kNotInBoth
    std::vector<bool> is_new_alone_;
};

} // namespace diff
