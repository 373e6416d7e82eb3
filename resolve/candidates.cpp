// A walk over the closure of the last layer, in the order of the child lists. It does not recurse.
#include "resolve/candidates_internal.h"

namespace tsh {

namespace {

constexpr uint8_t kWalked = 0x80;

} // namespace

const std::vector<NextWord> &NextWords::after(const LineParser &parser, const HiddenNodes &hidden,
                                              bool with_rest) {
    hidden_ = &hidden;
    words_.clear();
    frames_.clear();
    marks_.resize(grammar_.node_count());
    for (const NodeNumber node : marked_)
        marks_[node] = 0;
    marked_.clear();
    for (const Index index : parser.last_states()) {
        const State &state = parser.state(index);
        const NodeFacts &facts = grammar_.facts(state.node);
        const uint32_t read = values_read(state.position);
        if (is_within_rest(state.position)) {
            if (with_rest)
                add(state.node, static_cast<int32_t>(last_parameter(state.position)));
        } else if (state.position == Position::kBefore) {
            meet(state.node);
        } else if (state.position != Position::kEntered && read < facts.param_count) {
            add(state.node, static_cast<int32_t>(read));
        } else if (state.position == Position::kEntered || !facts.is_submode) {
            walk(state.node);
        }
    }
    return words_;
}

void NextWords::add(NodeNumber node, int32_t parameter) {
    const auto bit = static_cast<uint8_t>(1U << static_cast<uint32_t>(parameter + 1));
    if ((marks_[node] & bit) != 0)
        return;
    if (marks_[node] == 0)
        marked_.push_back(node);
    marks_[node] |= bit;
    words_.push_back({node, parameter});
}

void NextWords::meet(NodeNumber node) {
    if (hidden_->holds(node))
        return;
    const NodeFacts &facts = grammar_.facts(node);
    if (facts.has_word())
        add(node, facts.word != kNoWord ? -1 : 0);
    if (facts.is_passable() && !facts.hides_descendants)
        walk(node);
}

void NextWords::walk(NodeNumber first) {
    const bool is_under_way = !frames_.empty();
    const auto enter = [this](NodeNumber node) {
        if ((marks_[node] & kWalked) != 0)
            return;
        if (marks_[node] == 0)
            marked_.push_back(node);
        marks_[node] |= kWalked;
        frames_.push_back({node, 0});
    };
    enter(first);
    if (is_under_way)
        return; // the walk goes on there
    while (!frames_.empty()) {
        Frame &frame = frames_.back();
        if (frame.next_child == grammar_.record(frame.node).child_count)
            frames_.pop_back();
        else
            meet(grammar_.child(frame.node, frame.next_child++));
    }
}

} // namespace tsh
