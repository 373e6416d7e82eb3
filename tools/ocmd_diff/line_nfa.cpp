// Reading lines. Every symbol but the last is followed by a space; before the words of a submode
// is the symbol "/". At the start of a line or a submode, nothing has been read yet, and a node
// without a word changes nothing: if a line ends there, or a submode is entered there, it has an
// empty symbol.
#include "tools/ocmd_diff/line_nfa.h"

#include "tools/support/command_lines.h"
#include "tools/support/tree_shape.h"

namespace diff {

LineNfa::LineNfa(std::span<const tool::TreeFile *const> files, FieldLabels *labels)
    : nodes_(words_, labels) {
    for (const tool::TreeFile *file : files)
        add_file(*file);
    tree_size_ += nodes_.link_count();
}

void LineNfa::add_file(const tool::TreeFile &file) {
    const auto number = static_cast<uint32_t>(starts_.size());
    starts_.push_back(add_inner_state({InnerState::kStart, number, 0}));
    for (const tool::TreeRecord &record : file.records()) {
        tree_size_ += record.nodes.size();
        const NodeNumber root =
            number == 0 ? nodes_.add_old(record.nodes) : nodes_.add_new(record.nodes);
        if (root != kNoNode)
            records_.push_back({root, number, tool::begins_with_root(file, record)});
    }
}

NfaState LineNfa::add_inner_state(const InnerState &state) {
    inner_states_.push_back(state);
    return kFirstInnerState + static_cast<NfaState>(inner_states_.size() - 1);
}

// The state after the "/" of a submode, or after the empty symbol of a node without a word where a
// line ends.
NfaState LineNfa::beyond(NodeNumber number) {
    const auto [place, is_new] = beyond_.try_emplace(number);
    if (is_new) {
        const auto kind = nodes_[number].is_submode ? InnerState::kSubmode : InnerState::kEnd;
        place->second = add_inner_state({kind, number, 0});
    }
    return place->second;
}

NfaState LineNfa::with_pending(NfaState state, Values values) {
    if (values == kNoValues)
        return state;
    const auto [place, is_new] = pending_states_.try_emplace(uint64_t{state} << 32U | values);
    if (is_new)
        place->second = add_inner_state({InnerState::kPending, values, state});
    return place->second;
}

NfaState LineNfa::without_pending(NfaState state) const {
    if (state < kFirstInnerState)
        return state;
    const InnerState &inner = inner_states_[state - kFirstInnerState];
    return inner.kind == InnerState::kPending ? inner.next : state;
}

const LineNfa::Closure &LineNfa::closure_of(std::span<const NfaState> states) {
    ++round_;
    closure_.ends = false;
    closure_.transitions.clear();
    closure_.pending.clear();
    closure_.labels.clear();
    closure_.passed = 0;
    pending_ = kNoValues;
    for (const NfaState state : states)
        follow(state);
    return closure_;
}

void LineNfa::follow(NfaState state) {
    if (state >= kFirstInnerState) {
        follow(InnerState{inner_states_[state - kFirstInnerState]}); // a copy: states are added
    } else {
        end_word(state);
        walk();
    }
}

void LineNfa::follow(const InnerState &state) {
    switch (state.kind) {
    case InnerState::kStart:
        for (const Record &record : records_)
            if (record.file == state.number)
                begin_line(record);
        break;
    case InnerState::kSubmode:
        follow_links(state.number, true);
        walk();
        break;
    case InnerState::kInWord:
        add_transition(state.number, state.next);
        break;
    case InnerState::kEnd:
        closure_.labels.push_back(nodes_[state.number].label);
        end_line();
        break;
    case InnerState::kPending:
        ++round_; // a node without a word is passed once for each of these
        pending_ = state.number;
        follow(state.next);
        ++round_;
        pending_ = kNoValues;
        break;
    }
}

void LineNfa::begin_line(const Record &record) {
    if (record.begins_with_root)
        read_word(record.root, true);
    else
        follow_links(record.root, true);
    walk();
}

// The last word is that of the node, or, if the node has none, that of a node above it. Such a node
// has a label of the word only where a line ends at it.
void LineNfa::end_word(NodeNumber number) {
    const Node &last = nodes_[number];
    if (last.is_final || words_[last.word].kind != Word::kEmpty)
        closure_.labels.push_back(last.label);
    if (last.is_final)
        end_line();
    if (!last.is_submode)
        follow_links(number, false);
    else if (const auto links = nodes_.links_of(number); links.first < links.last)
        add_transition(slash_, beyond(number));
}

// The node has no word, and nothing has been read before it.
void LineNfa::end_no_word(NodeNumber number) {
    const Node &last = nodes_[number];
    if (last.is_final)
        add_transition(nothing_, last.is_submode ? number : beyond(number));
    if (!last.is_submode)
        follow_links(number, true);
}

void LineNfa::follow_links(NodeNumber number, bool is_fresh) {
    const auto links = nodes_.links_of(number);
    stack_.push_back({links.first, links.last, is_fresh});
}

void LineNfa::walk() {
    while (!stack_.empty()) {
        Frame &frame = stack_.back();
        if (frame.next_link == frame.last_link)
            stack_.pop_back();
        else
            read_word(nodes_.link(frame.next_link++), frame.is_fresh);
    }
}

void LineNfa::read_word(NodeNumber number, bool is_fresh) {
    const Word &word = words_[nodes_[number].word];
    switch (word.kind) {
    case Word::kOneSymbol:
        add_transition(word.spelling, number);
        break;
    case Word::kManySymbols:
        read_long_word(number);
        break;
    case Word::kEmpty:
        pass_wordless(number, is_fresh);
        break;
    }
}

// The states within the word are made from the last one on.
void LineNfa::read_long_word(NodeNumber number) {
    if (const Transition *known = long_words_.find(number, 0)) {
        add_transition(known->symbol, known->to);
        return;
    }
    const std::vector<Symbol> &symbols = words_.symbols_of(nodes_[number].word);
    NfaState next = number;
    for (size_t i = symbols.size() - 1; i > 0; --i)
        next = add_inner_state({InnerState::kInWord, symbols[i], next});
    long_words_.insert(number, 0, {symbols.front(), next, kNoValues});
    add_transition(symbols.front(), next);
}

void LineNfa::pass_wordless(NodeNumber number, bool is_fresh) {
    if (visited_.empty())
        visited_.resize(2 * nodes_.size());
    uint64_t &visited = visited_[2 * size_t{number} + static_cast<size_t>(is_fresh)];
    if (visited == round_)
        return;
    visited = round_;
    ++closure_.passed;
    if (is_fresh)
        end_no_word(number);
    else
        end_word(number);
}

void LineNfa::add_transition(Symbol symbol, NfaState to) {
    closure_.transitions.push_back({symbol, to, pending_});
}

void LineNfa::end_line() {
    closure_.ends = true;
    closure_.pending.push_back(pending_);
}

} // namespace diff
