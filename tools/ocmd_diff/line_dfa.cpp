// Subset construction with delayed output. Nothing recurses.
#include "tools/ocmd_diff/line_dfa.h"

#include "tools/support/program.h"

#include <algorithm>

namespace diff {

namespace {

constexpr State kNoState = UINT32_MAX;

} // namespace

LineDfa::LineDfa(LineNfa &nfa, FieldLabels *labels)
    : nfa_(nfa), labels_(labels), facts_of_(nfa.node_count(), kNotExpanded),
      budget_(kFreeBudget + kBudgetPerSize * nfa.size()) {
    edges_.reserve(nfa.size()); // memory that stays untouched costs nothing
}

Target LineDfa::start_of(size_t file) {
    const Target start = target_of(nfa_.start_of(file));
    return edges_of(start.state()).empty() ? Target{} : start;
}

State LineDfa::state_of(NfaState nfa_state) {
    if (nfa_state < kFirstInnerState)
        return nfa_state;
    const size_t index = nfa_state - kFirstInnerState;
    if (index >= inner_states_.size())
        inner_states_.resize(std::max(index + 1, 2 * inner_states_.size()), kNoState);
    if (inner_states_[index] == kNoState)
        inner_states_[index] = add(nfa_state, false);
    return inner_states_[index];
}

State LineDfa::state_of_all(std::span<const NfaState> nfa_states) {
    if (nfa_states.size() == 1)
        return state_of(nfa_states.front());
    spend(kSetCost + nfa_states.size());
    const uint32_t number = sets_.number_of(nfa_states);
    if (number == set_states_.size())
        set_states_.push_back(add(number, true));
    return set_states_[number];
}

State LineDfa::add(uint32_t number, bool is_set) {
    origins_.push_back({number, is_set, false});
    const auto state = static_cast<State>(nfa_.node_count() + origins_.size() - 1);
    origins_.back().has_pending =
        std::ranges::any_of(nfa_states_of(state), [this](NfaState nfa_state) {
            return nfa_.without_pending(nfa_state) != nfa_state;
        });
    return state;
}

std::span<const NfaState> LineDfa::nfa_states_of(State state) {
    const bool is_node = state < nfa_.node_count();
    if (!is_node && origin_of(state).is_set)
        return sets_[origin_of(state).number];
    single_ = is_node ? state : origin_of(state).number;
    return {&single_, 1};
}

Target LineDfa::target_of(NfaState nfa_state) {
    return Target{state_of(nfa_state), nfa_.is_final_leaf(nfa_state)};
}

void LineDfa::expand(State state) {
    const bool is_pending = has_pending(Target{state});
    const LineNfa::Closure &closure = nfa_.closure_of(nfa_states_of(state));
    spend(closure.transitions.size() + closure.passed / kPassedPerUnit);
    Facts facts{};
    facts.first_edge = edges_.size();
    facts.is_final = closure.ends;
    if (is_pending && closure.ends) {
        final_values_ = closure.pending;
        facts.final_values = nfa_.values().set_of(final_values_);
    }
    if (labels_ != nullptr) {
        label_set_ = closure.labels;
        facts.labels = labels_->set_of(label_set_);
    }
    add_edges(closure.transitions);
    facts.edge_count = static_cast<uint32_t>(edges_.size() - facts.first_edge);
    if (state >= facts_of_.size())
        facts_of_.resize(std::max(state + size_t{1}, facts_of_.size() * 3 / 2), kNotExpanded);
    facts_of_[state] = static_cast<uint32_t>(facts_.size());
    facts_.push_back(facts);
}

void LineDfa::add_edges(std::span<const LineNfa::Transition> transitions) {
    symbol_map_.clear();
    const size_t first_edge = edges_.size();
    repeated_.clear();
    for (const LineNfa::Transition &transition : transitions) {
        const auto index = static_cast<uint32_t>(edges_.size() - first_edge);
        const Values output = output_of(transition);
        if (const uint32_t *earlier = symbol_map_.insert(transition.symbol, index))
            repeated_.push_back({first_edge + *earlier, transition.to, output});
        else
            edges_.push_back({transition.symbol, target_of(transition.to), output});
    }
    if (!repeated_.empty())
        join_repeated();
}

Values LineDfa::output_of(const LineNfa::Transition &transition) {
    const Values values = nfa_.values_of(transition.to);
    return transition.pending == kNoValues ? values
                                           : nfa_.values().joined(transition.pending, values);
}

void LineDfa::join_repeated() {
    std::ranges::stable_sort(repeated_, {}, &Repeated::edge);
    for (auto first = repeated_.begin(); first != repeated_.end();) {
        const auto end = std::ranges::find_if(first, repeated_.end(), [&](const Repeated &other) {
            return other.edge != first->edge;
        });
        join(edges_[first->edge], {first, end});
        first = end;
    }
}

// A symbol that leads to several states leads to the set of them. If their outputs differ, the
// states keep them as pending values.
void LineDfa::join(Edge &edge, std::span<const Repeated> repeated) {
    const bool is_unique = std::ranges::all_of(
        repeated, [&](const Repeated &other) { return other.output == edge.output; });
    const auto add_state = [&](NfaState state, Values output) {
        joined_.push_back(is_unique ? state : nfa_.with_pending(state, output));
    };
    joined_.clear();
    add_state(nfa_states_of(edge.to.state()).front(), edge.output);
    for (const Repeated &other : repeated)
        add_state(other.to, other.output);
    drop_repeated_states();
    if (!is_unique)
        edge.output = kNoValues;
    if (joined_.size() > 1)
        edge.to = Target{state_of_all(joined_)};
}

// The others stay in the order of the tree.
void LineDfa::drop_repeated_states() {
    in_order_.clear();
    for (const NfaState state : joined_)
        in_order_.emplace_back(state, in_order_.size());
    std::ranges::sort(in_order_);
    const auto same = [](const auto &one, const auto &other) { return one.first == other.first; };
    const auto end = std::unique(in_order_.begin(), in_order_.end(), same);
    if (end == in_order_.end())
        return;
    in_order_.erase(end, in_order_.end());
    std::ranges::sort(in_order_, {}, &std::pair<NfaState, size_t>::second);
    std::ranges::transform(in_order_, joined_.begin(), &std::pair<NfaState, size_t>::first);
    joined_.resize(in_order_.size());
}

Target LineDfa::with_pending(Target target, Values values) {
    if (values == kNoValues)
        return target;
    const auto states = nfa_states_of(target.state());
    joined_.assign(states.begin(), states.end());
    for (NfaState &state : joined_)
        state = nfa_.with_pending(state, values);
    return Target{state_of_all(joined_)};
}

Target LineDfa::without_pending(Target target) {
    if (!has_pending(target))
        return target;
    const auto states = nfa_states_of(target.state());
    joined_.assign(states.begin(), states.end());
    for (NfaState &state : joined_)
        state = nfa_.without_pending(state);
    drop_repeated_states();
    return joined_.size() == 1 ? target_of(joined_.front()) : Target{state_of_all(joined_)};
}

void LineDfa::spend(size_t amount) {
    if (amount > budget_)
        tool::fail("comparison too complex: too many combinations of siblings with the same "
                   "spelling or of shared nodes without a word");
    budget_ -= amount;
}

} // namespace diff
