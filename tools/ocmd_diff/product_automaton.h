// The product automaton of two trees, whose paths lead to what only one of them accepts.
//
// Problem. A tree of 60,000 nodes may accept ten million lines, or 10^30, because nodes are shared.
// The lines that only one of two trees accepts are to be listed one by one, in an order that a
// reader can follow; equal trees are to be found equal about as fast as they are read. Nodes of the
// trees do not correspond: since the older version a node may have been copied, split or shared,
// and siblings may have the same spelling, so that one line ends at several nodes. The comparison
// is one of languages, not of nodes.
//
// Method. The lines of a tree are the language of a nondeterministic finite automaton (NFA) without
// cycles, LineNfa. Lines are compared as texts, so it reads symbols, the texts between spaces.
// 1. Hash consing, children first: nodes of the same word with the same links become one node of
//    the NFA, in both trees together. Parts that the trees have in common are shared from then on.
//    A node of the new tree is compared with the one in the same place of the old tree; hashes are
//    taken once too many differ there. Words are looked up when a walk reaches them.
// 2. Subset construction on demand, LineDfa: a state is the set of all nodes that a prefix of a
//    line leads to. A state is expanded only when a prefix that may make a difference leads there.
// 3. Equivalence of two states after Hopcroft and Karp, also on demand: depth-first search over the
//    pairs of states that one prefix leads to in either tree. A pair of one and the same state is
//    equal at once. A pair whose transitions all lead to equal pairs is equal, and a union-find
//    structure unites its states; since there are no cycles, nothing has to be assumed in advance.
//    One transition to a different pair makes all pairs on the path there different.
// 4. The walk over the pairs that differ, the product automaton. At a transition that only one tree
//    has, all lines below it differ.
// Parameters of the same spelling may accept different values. So the DFA is a transducer whose
// output is what the words accept. Where siblings of the same spelling accept different values its
// output is delayed, as in determinization of transducers (Choffrut, Mohri), until it is unique or
// the line ends. Two trees accept the same values in a line exactly if their outputs are equal.
//
// Cost. 1 is linear in nodes and links. Each pair of equal states that 3 visits unites two sets, so
// there are fewer of them than states; different pairs are visited by 4 anyway. With ten changed
// words 2 to 4 visit only the prefixes that lead to them. In the worst case, siblings of the same
// spelling, the number of states is exponential (the equivalence of acyclic NFAs is coNP-complete);
// the construction stops with a message when its budget, in proportion to the trees, is used up.
// The walk takes time in proportion to what it lists. Pairs that were visited are remembered while
// memory, in proportion to the trees, lasts; counting has to remember all of them, and in the worst
// case there are as many as the product of both trees' states.
//
// Alternatives. Minimizing both automata in one table (equal states get equal numbers) is linear
// however many pairs there are, but has to expand every state: 2 to 5 times the time of loading
// both trees, where this takes about 2. Walking pairs of nodes is wrong for siblings of the
// same spelling. Sorting both listings takes time and memory for all lines; the tests do it for
// small trees. Hashes of subtrees as proof of equality may call different trees equal.
#pragma once

#include "tools/ocmd_diff/line_dfa.h"
#include "tools/ocmd_diff/pair_map.h"
#include "tools/ocmd_diff/union_find.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace diff {

/// The states that one prefix leads to in both trees.
struct StatePair {
    Target before; ///< In the old tree.
    Target after;  ///< In the new tree.

    [[nodiscard]] bool is_of_both() const { return before.exists() && after.exists(); }
};

struct PairTransition {
    Symbol symbol;
    StatePair to;
    Values before = kNoValues; ///< Output of the old tree, if both have the transition,
    Values after = kNoValues;  ///< and of the new one.
};

class ProductAutomaton {
public:
    explicit ProductAutomaton(LineDfa &dfa);

    [[nodiscard]] LineDfa &dfa() { return dfa_; }

    /// The initial states of the first and the second file.
    [[nodiscard]] StatePair start() { return {dfa_.start_of(0), dfa_.start_of(1)}; }

    /// Returns whether there is anything to report from the pair on: lines, accepted values, or
    /// labels. The pair itself counts: whether a line ends there, its pending values and labels.
    bool differs(const StatePair &pair);

    /// Returns the oldest state that was found to be equal.
    State representative(State state) { return equal_.find(state); }

    /// The transitions of a pair to be read one by one.
    class Cursor {
        friend ProductAutomaton;
        size_t first = 0;
        size_t next = 0;
        size_t end = 0;
        bool is_kept = false;
    };

    /// Opens a cursor over all transitions from a pair of both trees where something is to be
    /// reported at the transition or after it. Words of the old tree come in its order. A word of
    /// the new tree alone comes after the words before it there, and after what the old tree alone
    /// has there.
    Cursor transitions_of(const StatePair &pair);

    /// The next transition, or nothing at the end, which closes the cursor. Of all open cursors
    /// only the one opened last may be moved.
    std::optional<PairTransition> next(Cursor &cursor);

private:
    static constexpr uint32_t kNotInBoth = UINT32_MAX;

    // A pair whose transitions are being compared.
    struct Frame {
        State before;
        State after;
        uint32_t next_edge;
        size_t first_match; // in matches_: the new tree's edges of the old tree's symbols
    };

    PairTransition joint(const Edge &before, const Edge &after);
    [[nodiscard]] std::optional<bool> known(const StatePair &pair);
    bool compare(Frame &frame);
    bool enter(const StatePair &pair);
    bool match_edges(State before, State after);
    void leave_equal();
    void leave_different();
    void remember_different(State before, State after);

    void append_transitions(const StatePair &pair, std::vector<PairTransition> &transitions);
    void match(std::span<const Edge> olds, std::span<const Edge> news);

    LineDfa &dfa_;
    const size_t most_kept_; // pairs and transitions
    SymbolMap symbol_map_;
    UnionFind equal_;
    PairMap<bool> different_;
    std::vector<Frame> stack_;
    std::vector<uint32_t> matches_;

    PairMap<Cursor> cursors_;
    std::vector<PairTransition> kept_;
    std::vector<PairTransition> passing_;
    std::vector<uint32_t> new_of_old_; // by edge: the edge of the same symbol, or kNotInBoth
    std::vector<bool> is_new_alone_;
    std::vector<PairTransition> found_;
};

} // namespace diff
