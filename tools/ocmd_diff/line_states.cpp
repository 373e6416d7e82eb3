// Subset construction on the way down, classes on the way up. Neither recurses.
#include "tools/ocmd_diff/line_states.h"

#include "tools/support/program.h"

#include <algorithm>
#include <utility>

namespace diff {

namespace {

constexpr State kNoState = UINT32_MAX;
constexpr LineStates::Class kUnsettled = UINT32_MAX;
constexpr size_t kFirstSlots = 1024; // a power of two, as all sizes are

uint64_t mix(uint32_t one, uint32_t other) {
    uint64_t hash = (uint64_t{one} << 32U | other) + 0x9E3779B97F4A7C15;
    hash = (hash ^ hash >> 30U) * 0xBF58476D1CE4E5B9;
    hash = (hash ^ hash >> 27U) * 0x94D049BB133111EB;
    return hash ^ hash >> 31U;
}

State &slot_for(std::vector<State> &states, size_t place) {
    if (place >= states.size())
        states.resize(std::max(place + 1, 2 * states.size()), kNoState);
    return states[place];
}

} // namespace

LineStates::LineStates(LineAutomaton &automaton, FieldLabels *labels)
    : automaton_(automaton), labels_(labels), marks_(automaton.atoms().size()),
      left_to_spend_(kFreeSize + kMostPerSize * automaton.size()), first_of_class_{kNoState},
      hash_of_class_{0}, slots_(kFirstSlots, kNoLines) {
    facts_.reserve(automaton.size());
    classes_.reserve(automaton.size());
    edges_.reserve(automaton.size());
}

Target LineStates::reach(Position start) {
    const State first = state_at(start);
    if (classes_[first] == kUnsettled)
        open(first);
    while (!way_.empty()) {
        Level &level = way_.back();
        const Facts &facts = facts_[level.state];
        const size_t end = facts.first_edge + facts.edge_count;
        while (level.next_edge < end && classes_[edges_[level.next_edge].to.state()] != kUnsettled)
            ++level.next_edge;
        if (level.next_edge < end) {
            open(edges_[level.next_edge++].to.state());
        } else {
            settle(level.state);
            way_.pop_back();
        }
    }
    return classes_[first] == kNoLines ? Target{} : target_of(first);
}

State LineStates::state_at(Position position) {
    State &state = position < kFirstSpecial ? slot_for(node_states_, position)
                                            : slot_for(special_states_, position - kFirstSpecial);
    if (state == kNoState)
        state = add(position, false);
    return state;
}

State LineStates::state_at_all(std::span<const Position> positions) {
    spend(kSetSize + positions.size());
    const uint32_t number = sets_.number_of(positions);
    if (number == set_states_.size())
        set_states_.push_back(add(number, true));
    return set_states_[number];
}

State LineStates::add(uint32_t origin, bool is_set) {
    Facts facts{};
    facts.origin = origin;
    facts.is_set = is_set;
    facts_.push_back(facts);
    classes_.push_back(kUnsettled);
    return static_cast<State>(facts_.size() - 1);
}

std::span<const Position> LineStates::positions_of(State state) const {
    const Facts &facts = facts_[state];
    if (facts.is_set)
        return sets_[facts.origin];
    return {&facts.origin, 1};
}

// Learns what follows the state; the states there are left for later.
void LineStates::open(State state) {
    const LineAutomaton::Outlook &outlook = automaton_.look_from(positions_of(state));
    spend(outlook.steps.size() + outlook.passed / kPassedPerSize);
    const size_t first_edge = edges_.size();
    add_edges(outlook.steps);
    Facts &facts = facts_[state];
    facts.first_edge = first_edge;
    facts.edge_count = static_cast<uint32_t>(edges_.size() - first_edge);
    facts.ends = outlook.ends;
    if (labels_ != nullptr)
        facts.label = labels_->label_of(outlook.nodes);
    way_.push_back({state, first_edge});
}

void LineStates::add_edges(std::span<const LineAutomaton::Step> steps) {
    marks_.forget_all();
    const size_t first_edge = edges_.size();
    repeated_.clear();
    for (const LineAutomaton::Step &step : steps) {
        const auto place = static_cast<uint32_t>(edges_.size() - first_edge);
        if (const uint32_t *earlier = marks_.put(step.atom, place))
            repeated_.push_back({first_edge + *earlier, step.to});
        else
            edges_.push_back({step.atom, Target{state_at(step.to)}});
    }
    if (!repeated_.empty())
        join_repeated();
}

// An atom that leads to several positions leads to the state of them all.
void LineStates::join_repeated() {
    std::ranges::stable_sort(repeated_, {}, &Repeated::edge);
    for (auto one = repeated_.begin(); one != repeated_.end();) {
        Edge &edge = edges_[one->edge];
        const size_t number = one->edge;
        joined_ = {facts_[edge.to.state()].origin};
        for (; one != repeated_.end() && one->edge == number; ++one)
            joined_.push_back(one->to);
        drop_repeated_positions();
        if (joined_.size() > 1)
            edge.to = Target{state_at_all(joined_)};
    }
}

// What is left stays in the order of the tree.
void LineStates::drop_repeated_positions() {
    in_order_.clear();
    for (const Position position : joined_)
        in_order_.emplace_back(position, in_order_.size());
    std::ranges::sort(in_order_);
    const auto same = [](const auto &one, const auto &other) { return one.first == other.first; };
    const auto end = std::unique(in_order_.begin(), in_order_.end(), same);
    if (end == in_order_.end())
        return;
    in_order_.erase(end, in_order_.end());
    std::ranges::sort(in_order_, {}, &std::pair<Position, size_t>::second);
    std::ranges::transform(in_order_, joined_.begin(), &std::pair<Position, size_t>::first);
    joined_.resize(in_order_.size());
}

// All states that follow are settled.
void LineStates::settle(State state) {
    Facts &facts = facts_[state];
    const uint64_t hash =
        keep_live_edges(facts) + mix(facts.label, static_cast<uint32_t>(facts.ends));
    if (facts.edge_count == 0 && !facts.ends)
        classes_[state] = kNoLines;
    else
        classify(state, hash);
}

// The hash does not depend on the order.
uint64_t LineStates::keep_live_edges(Facts &facts) {
    uint64_t hash = 0;
    Edge *const first = edges_.data() + facts.first_edge;
    Edge *kept = first;
    for (const Edge *edge = first; edge != first + facts.edge_count; ++edge) {
        const State to = edge->to.state();
        if (classes_[to] == kNoLines)
            continue;
        hash += mix(edge->atom, classes_[to]);
        *kept++ = {edge->atom, target_of(to)};
    }
    facts.edge_count = static_cast<uint32_t>(kept - first);
    return hash;
}

Target LineStates::target_of(State state) const {
    const Facts &facts = facts_[state];
    return {state, facts.ends, facts.edge_count == 0};
}

void LineStates::classify(State state, uint64_t hash) {
    const size_t mask = slots_.size() - 1;
    for (size_t slot = static_cast<size_t>(hash) & mask;; slot = (slot + 1) & mask) {
        const Class known = slots_[slot];
        if (known == kNoLines) {
            classes_[state] = slots_[slot] = static_cast<Class>(first_of_class_.size());
            first_of_class_.push_back(state);
            hash_of_class_.push_back(hash);
            if (2 * first_of_class_.size() > slots_.size())
                grow_slots();
            return;
        }
        if (hash_of_class_[known] == hash && are_same(state, first_of_class_[known])) {
            classes_[state] = known;
            return;
        }
    }
}

void LineStates::grow_slots() {
    slots_.assign(2 * slots_.size(), kNoLines);
    const size_t mask = slots_.size() - 1;
    for (size_t known = 1; known < hash_of_class_.size(); ++known) {
        size_t slot = static_cast<size_t>(hash_of_class_[known]) & mask;
        while (slots_[slot] != kNoLines)
            slot = (slot + 1) & mask;
        slots_[slot] = static_cast<Class>(known);
    }
}

bool LineStates::are_same(State one, State other) {
    const auto ones = edges_of(one);
    const auto others = edges_of(other);
    if (facts_[one].ends != facts_[other].ends || facts_[one].label != facts_[other].label ||
        ones.size() != others.size())
        return false;
    const auto agree = [this](const Edge &edge, const Edge &another) {
        return edge.atom == another.atom &&
               classes_[edge.to.state()] == classes_[another.to.state()];
    };
    return std::ranges::equal(ones, others, agree) || are_same_in_some_order(ones, others);
}

bool LineStates::are_same_in_some_order(std::span<const Edge> ones, std::span<const Edge> others) {
    marks_.forget_all();
    for (const Edge &edge : ones)
        marks_.put(edge.atom, classes_[edge.to.state()]);
    return std::ranges::all_of(others, [this](const Edge &edge) {
        const uint32_t *line_class = marks_.find(edge.atom);
        return line_class != nullptr && *line_class == classes_[edge.to.state()];
    });
}

void LineStates::spend(size_t amount) {
    if (amount > left_to_spend_)
        tool::fail("siblings that are spelled alike, or long rows of shared nodes without a word, "
                   "can be told apart in too many ways; not compared");
    left_to_spend_ -= amount;
}

} // namespace diff
