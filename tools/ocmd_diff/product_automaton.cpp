// Equivalence of states on demand, and the transitions between pairs of different states.
#include "tools/ocmd_diff/product_automaton.h"

#include <algorithm>

namespace diff {

namespace {

// What may be kept: a constant for small trees, and an amount for each node and link.
constexpr size_t kFreeKept = 1U << 22U;
constexpr size_t kPairsPerSize = 2;

} // namespace

ProductAutomaton::ProductAutomaton(LineDfa &dfa)
    : dfa_(dfa), most_kept_(kFreeKept + kPairsPerSize * dfa.nfa().size()) {}

bool ProductAutomaton::differs(const StatePair &pair) {
    if (!pair.is_of_both())
        return pair.before.exists() || pair.after.exists();
    if (const auto answer = known(pair))
        return *answer;
    bool is_equal = enter(pair);
    while (is_equal && !stack_.empty())
        is_equal = compare(stack_.back());
    if (!is_equal)
        leave_different();
    return !is_equal;
}

// Returns whether the pair differs, if that is known.
std::optional<bool> ProductAutomaton::known(const StatePair &pair) {
    if (pair.before.is_final_leaf() && pair.after.is_final_leaf() && dfa_.labels() == nullptr)
        return false;
    const State before = equal_.find(pair.before.state());
    const State after = equal_.find(pair.after.state());
    if (before == after)
        return false;
    if (different_.find(before, after) != nullptr)
        return true;
    return std::nullopt;
}

// Goes on with the pair on top of the stack. @return false at a difference.
bool ProductAutomaton::compare(Frame &frame) {
    const auto olds = dfa_.edges_of(frame.before);
    const auto news = dfa_.edges_of(frame.after);
    while (frame.next_edge < olds.size()) {
        const size_t i = frame.next_edge++;
        const Edge &before = olds[i];
        const Edge &after = news[matches_[frame.first_match + i]];
        if (before.to == after.to && before.output == after.output)
            continue;
        const PairTransition transition = joint(before, after);
        if (transition.before != transition.after)
            return false;
        const auto answer = known(transition.to);
        if (!answer)
            return enter(transition.to);
        if (*answer)
            return false;
    }
    leave_equal();
    return true;
}

// Puts a pair on the stack. @return false if its states differ themselves.
bool ProductAutomaton::enter(const StatePair &pair) {
    const State before = pair.before.state();
    const State after = pair.after.state();
    const bool is_final = dfa_.is_final(pair.before);
    if (is_final == dfa_.is_final(pair.after) &&
        (!is_final || dfa_.final_values(before) == dfa_.final_values(after)) &&
        dfa_.labels_of(before) == dfa_.labels_of(after) && match_edges(before, after))
        return true;
    remember_different(before, after);
    return false;
}

// Pushes a frame of the two states. @return false if their symbols are not the same.
bool ProductAutomaton::match_edges(State before, State after) {
    dfa_.edges_of(before); // both are expanded before either is read
    dfa_.edges_of(after);
    const auto olds = dfa_.edges_of(before);
    const auto news = dfa_.edges_of(after);
    if (olds.size() != news.size())
        return false;
    const size_t first_match = matches_.size();
    const auto first_other = std::ranges::mismatch(olds, news, {}, &Edge::symbol, &Edge::symbol);
    const auto in_order = static_cast<size_t>(first_other.in1 - olds.begin());
    for (size_t i = 0; i < in_order; ++i)
        matches_.push_back(static_cast<uint32_t>(i));
    if (in_order < olds.size()) {
        symbol_map_.clear();
        for (size_t i = in_order; i < news.size(); ++i)
            symbol_map_.insert(news[i].symbol, static_cast<uint32_t>(i));
    }
    for (size_t i = in_order; i < olds.size(); ++i) {
        const uint32_t *same = symbol_map_.find(olds[i].symbol);
        if (same == nullptr) {
            matches_.resize(first_match);
            return false;
        }
        matches_.push_back(*same);
    }
    stack_.push_back({before, after, 0, first_match});
    return true;
}

void ProductAutomaton::leave_equal() {
    const Frame frame = stack_.back();
    equal_.unite(frame.before, frame.after);
    matches_.resize(frame.first_match);
    stack_.pop_back();
}

// Every pair on the stack leads to the difference.
void ProductAutomaton::leave_different() {
    for (const Frame &frame : stack_)
        remember_different(frame.before, frame.after);
    stack_.clear();
    matches_.clear();
}

void ProductAutomaton::remember_different(State before, State after) {
    if (different_.size() < most_kept_)
        different_.insert(equal_.find(before), equal_.find(after), true);
}

// The transition that both trees have. If either delays its output, both do.
PairTransition ProductAutomaton::joint(const Edge &before, const Edge &after) {
    if (!dfa_.has_pending(before.to) && !dfa_.has_pending(after.to))
        return {before.symbol, {before.to, after.to}, before.output, after.output};
    return {
        before.symbol,
        {dfa_.with_pending(before.to, before.output), dfa_.with_pending(after.to, after.output)}};
}

ProductAutomaton::Cursor ProductAutomaton::transitions_of(const StatePair &pair) {
    const State before = pair.before.state();
    const State after = pair.after.state();
    if (const Cursor *known = cursors_.find(before, after))
        return *known;
    Cursor cursor;
    cursor.is_kept = kept_.size() + cursors_.size() < most_kept_;
    std::vector<PairTransition> &transitions = cursor.is_kept ? kept_ : passing_;
    cursor.first = cursor.next = transitions.size();
    append_transitions(pair, transitions);
    cursor.end = transitions.size();
    if (cursor.is_kept)
        cursors_.insert(before, after, cursor);
    return cursor;
}

std::optional<PairTransition> ProductAutomaton::next(Cursor &cursor) {
    if (cursor.next < cursor.end)
        return (cursor.is_kept ? kept_ : passing_)[cursor.next++];
    if (!cursor.is_kept)
        passing_.resize(cursor.first);
    return std::nullopt;
}

void ProductAutomaton::append_transitions(const StatePair &pair,
                                          std::vector<PairTransition> &transitions) {
    dfa_.edges_of(pair.before.state());
    dfa_.edges_of(pair.after.state());
    const auto olds = dfa_.edges_of(pair.before.state());
    const auto news = dfa_.edges_of(pair.after.state());
    match(olds, news);
    found_.clear();
    size_t next_new = 0; // edges of the new tree alone from there on come next
    const auto take_new = [&] {
        for (; next_new < news.size() && is_new_alone_[next_new]; ++next_new)
            found_.push_back(
                {news[next_new].symbol, {{}, dfa_.without_pending(news[next_new].to)}});
    };
    for (size_t i = 0; i < olds.size(); ++i) {
        const uint32_t same = new_of_old_[i];
        if (same == kNotInBoth) {
            found_.push_back({olds[i].symbol, {dfa_.without_pending(olds[i].to), {}}});
            continue;
        }
        take_new();
        found_.push_back(joint(olds[i], news[same]));
        next_new = same + size_t{1};
    }
    take_new();
    std::ranges::copy_if(
        found_, std::back_inserter(transitions),
        [this](const PairTransition &one) { return one.before != one.after || differs(one.to); });
}

void ProductAutomaton::match(std::span<const Edge> olds, std::span<const Edge> news) {
    symbol_map_.clear();
    for (size_t i = 0; i < news.size(); ++i)
        symbol_map_.insert(news[i].symbol, static_cast<uint32_t>(i));
    is_new_alone_.assign(news.size(), true);
    new_of_old_.resize(olds.size());
    for (size_t i = 0; i < olds.size(); ++i) {
        const uint32_t *same = symbol_map_.find(olds[i].symbol);
        new_of_old_[i] = same == nullptr ? kNotInBoth : *same;
        if (same != nullptr)
            is_new_alone_[*same] = false;
    }
}

} // namespace diff
