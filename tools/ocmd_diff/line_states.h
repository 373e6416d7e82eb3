// The automaton of lines made deterministic: one state for every set of positions that some
// beginning of a line leads to, in the order in which the tree has them, and equal classes for
// states that the same lines follow.
#pragma once

#include "base/huge_pages.h"
#include "tools/ocmd_diff/field_labels.h"
#include "tools/ocmd_diff/line_automaton.h"
#include "tools/ocmd_diff/sequence_table.h"

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace diff {

using State = uint32_t;

/// Where an edge leads, with what is most often asked of that state.
class Target {
public:
    /// Nowhere.
    Target() = default;
    explicit Target(State state) : bits_(state) {}
    Target(State state, bool ends, bool is_leaf)
        : bits_(state | (ends ? kEnds : 0) | (is_leaf ? kLeaf : 0)) {}

    [[nodiscard]] bool exists() const { return bits_ != kNone; }
    [[nodiscard]] State state() const { return bits_ & kStateBits; }
    [[nodiscard]] bool ends() const { return (bits_ & kEnds) != 0; }    ///< A line ends there.
    [[nodiscard]] bool is_leaf() const { return (bits_ & kLeaf) != 0; } ///< None goes on.
    [[nodiscard]] bool ends_all() const { return (bits_ & ~kStateBits) == (kEnds | kLeaf); }

private:
    static constexpr uint32_t kEnds = 1U << 31U;
    static constexpr uint32_t kLeaf = 1U << 30U;
    static constexpr uint32_t kStateBits = kLeaf - 1;
    static constexpr uint32_t kNone = kStateBits;
    uint32_t bits_ = kNone;
};

struct Edge {
    Atom atom;
    Target to;
};

class LineStates {
public:
    /// @param labels null when lines are compared by their words alone: all labels are 0 then.
    ///        Else lines that differ in a label on their way count as different.
    LineStates(LineAutomaton &automaton, FieldLabels *labels);

    /// The state that lines from a position begin in, with all that follow from it. Ends the run
    /// with kTrouble, after a message, when siblings that are spelled alike, or shared rows of
    /// nodes without a word, make the work out of proportion to the trees.
    /// @return nowhere when there are no lines.
    Target reach(Position start);

    /// The edges of a state in the order of its tree, one for each atom; only those that a line
    /// ends behind.
    [[nodiscard]] std::span<const Edge> edges_of(State state) const {
        return {edges_.data() + facts_[state].first_edge, facts_[state].edge_count};
    }

    /// Equal for states that the same lines follow; kNoLines where none does.
    using Class = uint32_t;
    static constexpr Class kNoLines = 0;
    [[nodiscard]] Class class_of(State state) const { return classes_[state]; }

    /// A state of this class, the same for all of it.
    [[nodiscard]] State first_of(Class line_class) const { return first_of_class_[line_class]; }

    /// The label of the nodes that the last word may stand for.
    [[nodiscard]] uint32_t label_of(State state) const { return facts_[state].label; }

    /// Classes are numbered so that the edges of a state lead to lower ones than its own.
    [[nodiscard]] size_t class_count() const { return first_of_class_.size(); }

    [[nodiscard]] LineAutomaton &automaton() const { return automaton_; }

private:
    // What all states may take, in units of some ten bytes: some for small trees, and so much for
    // each node and link. Trees without nodes that are spelled alike take 1 for each. Nodes without
    // a word count a little wherever they are passed: they take no room, but time, for what follows
    // a shared one is looked at again and again.
    static constexpr size_t kFreeSize = 1U << 20U;
    static constexpr size_t kMostPerSize = 4;
    static constexpr size_t kPassedPerSize = 64; // a pass takes a few ns
    static constexpr size_t kSetSize = 8;        // of a state of several positions, beside these

    struct Facts {
        size_t first_edge = 0;
        uint32_t edge_count = 0;
        uint32_t origin; // its position, or its set's number if it has several
        uint32_t label = 0;
        bool is_set;
        bool ends = false;
    };
    struct Level {
        State state;
        size_t next_edge;
    };
    struct Repeated {
        size_t edge; // that has the atom already
        Position to;
    };

    [[nodiscard]] std::span<const Position> positions_of(State state) const;
    State state_at(Position position);
    State state_at_all(std::span<const Position> positions);
    State add(uint32_t origin, bool is_set);
    [[nodiscard]] Target target_of(State state) const;

    void open(State state);
    void add_edges(std::span<const LineAutomaton::Step> steps);
    void join_repeated();
    void drop_repeated_positions();
    void settle(State state);
    uint64_t keep_live_edges(Facts &facts);
    void classify(State state, uint64_t hash);
    void grow_slots();
    [[nodiscard]] bool are_same(State one, State other);
    [[nodiscard]] bool are_same_in_some_order(std::span<const Edge> ones,
                                              std::span<const Edge> others);
    void spend(size_t amount);

    LineAutomaton &automaton_;
    FieldLabels *labels_;
    AtomMarks marks_;
    base::HugeVector<Facts> facts_;   // by state
    base::HugeVector<Class> classes_; // by state
    base::HugeVector<Edge> edges_;
    std::vector<State> node_states_;    // by position
    std::vector<State> special_states_; // by position from kFirstSpecial on
    SequenceTable<Position> sets_;
    std::vector<State> set_states_; // by number of the set
    std::vector<Level> way_;
    std::vector<Repeated> repeated_;
    std::vector<Position> joined_;
    std::vector<std::pair<Position, size_t>> in_order_; // of joined_: position and place
    size_t left_to_spend_;

    std::vector<State> first_of_class_;
    std::vector<uint64_t> hash_of_class_;
    std::vector<Class> slots_; // open addressing by hash; kNoLines where free
};

} // namespace diff
