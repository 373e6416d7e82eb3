// The deterministic automaton of the command lines, built on demand by subset construction.
#pragma once

#include "base/huge_pages.h"
#include "tools/ocmd_diff/field_labels.h"
#include "tools/ocmd_diff/line_nfa.h"
#include "tools/ocmd_diff/sequence_table.h"

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace diff {

/// A set of NFA states, in the order of the tree. The set of one node has the node's number.
using State = uint32_t;

/// The end of a transition, or none.
class Target {
public:
    Target() = default;
    explicit Target(State state, bool is_final_leaf = false)
        : bits_(state | (is_final_leaf ? kFinalLeaf : 0)) {}

    [[nodiscard]] bool exists() const { return bits_ != kNowhere; }
    [[nodiscard]] State state() const { return bits_ & ~kFinalLeaf; }

    /// Returns whether the line certainly ends there; may be false for some such states.
    [[nodiscard]] bool is_final_leaf() const { return (bits_ & kFinalLeaf) != 0; }

    bool operator==(const Target &) const = default;

private:
    static constexpr uint32_t kFinalLeaf = 1U << 31U;
    static constexpr uint32_t kNowhere = kFinalLeaf - 1;
    uint32_t bits_ = kNowhere;
};

struct Edge {
    Symbol symbol;
    Target to;
    Values output; ///< What the words accept that the line has read since the last output.
};

/// The automaton is a transducer: it reads lines and outputs what their parameters accept. If
/// several NFA states are reached by words that accept different values, the output is delayed:
/// the states keep it as pending values until it is unique, or the line ends.
class LineDfa {
public:
    /// @param labels the one of the NFA, or null.
    LineDfa(LineNfa &nfa, FieldLabels *labels);

    /// Returns the initial state of a file; none if the file has no lines.
    Target start_of(size_t file);

    /// Returns the transitions of a state in the order of its tree, at most one for each symbol; a
    /// line ends after each of them. Valid until the next state is expanded. Exits with kError,
    /// after a message, if the construction exceeds its budget.
    std::span<const Edge> edges_of(State state) {
        const Facts &facts = expanded(state);
        return {edges_.data() + facts.first_edge, facts.edge_count};
    }

    /// Returns whether a line ends in the state.
    bool is_final(Target target) {
        return target.is_final_leaf() || expanded(target.state()).is_final;
    }

    /// Returns the pending values with which lines end in the state.
    ValueSet final_values(State state) { return expanded(state).final_values; }

    /// Returns the label set of the nodes that may have the last word; 0 without labels.
    uint32_t labels_of(State state) { return labels_ == nullptr ? 0 : expanded(state).labels; }

    /// Returns whether the state has pending values.
    [[nodiscard]] bool has_pending(Target target) const {
        return target.state() >= nfa_.node_count() && origin_of(target.state()).has_pending;
    }

    /// Return the state with these values pending, and with none.
    Target with_pending(Target target, Values values);
    Target without_pending(Target target);

    [[nodiscard]] const LineNfa &nfa() const { return nfa_; }
    [[nodiscard]] const FieldLabels *labels() const { return labels_; }
    [[nodiscard]] ValueSet set_of(Values values) { return nfa_.values().set_of(values); }

private:
    // Budget of all states, in units of some ten bytes: a constant for small trees, and an amount
    // for each node and link. Trees without siblings of the same spelling need 1 for each. Nodes
    // without a word need no memory, but time each time they are passed.
    static constexpr size_t kFreeBudget = 1U << 20U;
    static constexpr size_t kBudgetPerSize = 4;
    static constexpr size_t kPassedPerUnit = 64; // each takes a few ns
    static constexpr size_t kSetCost = 8;

    // Properties of an expanded state.
    struct Facts {
        size_t first_edge;
        uint32_t edge_count;
        uint32_t labels = 0;
        ValueSet final_values = kOnlyNoValues;
        bool is_final;
    };

    // The NFA states of a state that is not a single node.
    struct Origin {
        uint32_t number; // the NFA state, or the number of the set
        bool is_set;
        bool has_pending;
    };

    struct Repeated {
        size_t edge; // of the same symbol
        NfaState to;
        Values output;
    };

    static constexpr uint32_t kNotExpanded = UINT32_MAX;

    const Facts &expanded(State state) {
        if (state >= facts_of_.size() || facts_of_[state] == kNotExpanded)
            expand(state);
        return facts_[facts_of_[state]];
    }
    void expand(State state);
    [[nodiscard]] const Origin &origin_of(State state) const {
        return origins_[state - nfa_.node_count()];
    }
    std::span<const NfaState> nfa_states_of(State state); // valid until the next call
    State state_of(NfaState nfa_state);
    State state_of_all(std::span<const NfaState> nfa_states);
    State add(uint32_t number, bool is_set);
    Target target_of(NfaState nfa_state);
    Values output_of(const LineNfa::Transition &transition);

    void add_edges(std::span<const LineNfa::Transition> transitions);
    void join_repeated();
    void join(Edge &edge, std::span<const Repeated> repeated);
    void drop_repeated_states();
    void spend(size_t amount);

    LineNfa &nfa_;
    FieldLabels *labels_;
    SymbolMap symbol_map_;
    base::HugeVector<Facts> facts_;
    std::vector<uint32_t> facts_of_; // by state: the index of its facts, or kNotExpanded
    NfaState single_ = 0;            // of nfa_states_of
    std::vector<Origin> origins_;    // by state, from the number of nodes on
    base::HugeVector<Edge> edges_;
    std::vector<State> inner_states_; // by NFA state from kFirstInnerState on
    SequenceTable<NfaState> sets_;
    std::vector<State> set_states_; // by number of the set
    std::vector<Values> final_values_;
    std::vector<uint32_t> label_set_;
    std::vector<Repeated> repeated_;
    std::vector<NfaState> joined_;
    std::vector<std::pair<NfaState, size_t>> in_order_; // of joined_: state and index
    size_t budget_;
};

} // namespace diff
