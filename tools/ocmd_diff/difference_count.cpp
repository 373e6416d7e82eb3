// Sums over states and over pairs of states, each in a walk without recursion.
#include "tools/ocmd_diff/difference_count.h"

#include "tools/support/program.h"

namespace diff {

namespace {

// Pairs that can be counted, at some hundred bytes each: a constant for small trees, and an amount
// for nodes and links.
constexpr size_t kFreePairs = 1U << 20U;
constexpr size_t kSizePerPair = 4;

} // namespace

Extent &Extent::operator+=(const Extent &other) {
    only_before += other.only_before;
    only_after += other.only_after;
    changed += other.changed;
    return *this;
}

tool::Count LineCount::after(Target target) {
    if (target.is_final_leaf())
        return 0;
    if (const tool::Count *count = counts_.find(target.state(), 0))
        return *count;
    stack_.push_back({target.state(), 0, 0});
    while (true) {
        Frame &frame = stack_.back();
        const auto edges = dfa_.edges_of(frame.state);
        bool is_taken = true;
        while (is_taken && frame.next_edge < edges.size())
            is_taken = take_edge(frame, edges[frame.next_edge]);
        if (!is_taken)
            continue;
        const Frame done = frame;
        stack_.pop_back();
        counts_.insert(done.state, 0, done.sum);
        if (stack_.empty())
            return done.sum;
    }
}

// Adds the lines of an edge to the sum. @return false if they have to be counted first.
bool LineCount::take_edge(Frame &frame, const Edge &edge) {
    if (!edge.to.is_final_leaf()) {
        const Target to = dfa_.without_pending(edge.to);
        const tool::Count *count = counts_.find(to.state(), 0);
        if (count == nullptr) {
            stack_.push_back({to.state(), 0, 0});
            return false;
        }
        frame.sum += *count;
        if (!dfa_.is_final(to)) {
            ++frame.next_edge;
            return true;
        }
    }
    ++frame.next_edge;
    frame.sum += 1;
    return true;
}

DifferenceCount::DifferenceCount(ProductAutomaton &product)
    : product_(product), dfa_(product.dfa()), lines_(dfa_), changes_(dfa_) {}

Extent DifferenceCount::count(const StatePair &start) {
    if (!start.is_of_both())
        return of_one_tree(start);
    enter(start);
    while (!stack_.empty()) {
        Frame &frame = stack_.back();
        const auto transition = product_.next(frame.cursor);
        if (!transition) {
            leave();
            continue;
        }
        frame.sum += of_transition(*transition);
        if (!transition->to.is_of_both())
            frame.sum += of_one_tree(transition->to);
        else if (const Extent *extent = known(transition->to))
            frame.sum += *extent;
        else if (product_.differs(transition->to))
            enter(transition->to);
    }
    return total_;
}

Extent DifferenceCount::of_one_tree(const StatePair &pair) {
    Extent extent;
    if (pair.before.exists())
        extent.only_before = lines_.after(pair.before);
    else
        extent.only_after = lines_.after(pair.after);
    return extent;
}

Extent DifferenceCount::of_transition(const PairTransition &transition) {
    const auto &[before, after] = transition.to;
    const bool ends_before = before.exists() && dfa_.is_final(before);
    const bool ends_after = after.exists() && dfa_.is_final(after);
    Extent extent;
    extent.only_before = ends_before && !ends_after ? 1 : 0;
    extent.only_after = ends_after && !ends_before ? 1 : 0;
    extent.changed = changes_.of(transition).size();
    return extent;
}

const Extent *DifferenceCount::known(const StatePair &pair) {
    return known_.find(product_.representative(pair.before.state()),
                       product_.representative(pair.after.state()));
}

void DifferenceCount::enter(const StatePair &pair) {
    stack_.push_back({pair, product_.transitions_of(pair), {}});
}

void DifferenceCount::leave() {
    const Frame done = stack_.back();
    stack_.pop_back();
    if (stack_.empty())
        total_ = done.sum;
    else
        stack_.back().sum += done.sum;
    const size_t most = kFreePairs + dfa_.nfa().size() / kSizePerPair;
    if (known_.size() >= most)
        tool::fail("more than %zu differing pairs of states; --stat cannot count them, run without "
                   "--stat",
                   most);
    known_.insert(product_.representative(done.pair.before.state()),
                  product_.representative(done.pair.after.state()), done.sum);
}

} // namespace diff
