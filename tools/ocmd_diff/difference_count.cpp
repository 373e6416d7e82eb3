// Sums over classes, which are numbered from the ends of lines upwards, and over pairs of classes.
#include "tools/ocmd_diff/difference_count.h"

#include "tools/support/program.h"

namespace diff {

namespace {

// Pairs that there is room for, at some hundred bytes each: for small trees, and for nodes and
// links.
constexpr size_t kFreePairs = 1U << 20U;
constexpr size_t kSizePerPair = 4;

std::vector<tool::Count> count_lines(const LineStates &states) {
    std::vector<tool::Count> lines(states.class_count());
    for (LineStates::Class c = LineStates::kNoLines + 1; c < states.class_count(); ++c)
        for (const Edge &edge : states.edges_of(states.first_of(c))) {
            lines[c] += lines[states.class_of(edge.to.state())];
            lines[c] += static_cast<uint64_t>(edge.to.ends());
        }
    return lines;
}

} // namespace

Extent &Extent::operator+=(const Extent &other) {
    only_before += other.only_before;
    only_after += other.only_after;
    changed += other.changed;
    return *this;
}

DifferenceCount::DifferenceCount(Difference &difference)
    : difference_(difference), states_(difference.states()), lines_(count_lines(states_)) {}

Extent DifferenceCount::count(const Pair &start) {
    if (!start.is_of_both())
        return alone(start);
    enter(start);
    while (true) {
        Level &level = way_.back();
        if (level.next_step < steps_.size()) {
            const Pair to = steps_[level.next_step++].to;
            level.sum += of_step(to);
            if (!to.is_of_both())
                level.sum += alone(to);
            else if (const auto known = known_.find(key_of(to)); known != known_.end())
                level.sum += known->second;
            else
                enter(to);
            continue;
        }
        const Level done = level;
        steps_.resize(done.first_step);
        way_.pop_back();
        if (way_.empty())
            return done.sum;
        way_.back().sum += done.sum;
        remember(done);
    }
}

// The lines of the one tree that has any there.
Extent DifferenceCount::alone(const Pair &pair) const {
    Extent extent;
    if (pair.before.exists())
        extent.only_before = lines_[states_.class_of(pair.before.state())];
    else
        extent.only_after = lines_[states_.class_of(pair.after.state())];
    return extent;
}

// What is told at the step itself.
Extent DifferenceCount::of_step(const Pair &to) const {
    const bool ends_before = to.before.exists() && to.before.ends();
    const bool ends_after = to.after.exists() && to.after.ends();
    Extent extent;
    extent.only_before = static_cast<uint64_t>(ends_before && !ends_after);
    extent.only_after = static_cast<uint64_t>(ends_after && !ends_before);
    extent.changed =
        static_cast<uint64_t>(to.is_of_both() && states_.label_of(to.before.state()) !=
                                                     states_.label_of(to.after.state()));
    return extent;
}

uint64_t DifferenceCount::key_of(const Pair &pair) const {
    return uint64_t{states_.class_of(pair.before.state())} << 32U |
           states_.class_of(pair.after.state());
}

void DifferenceCount::remember(const Level &level) {
    const size_t most = kFreePairs + states_.automaton().size() / kSizePerPair;
    if (known_.size() >= most)
        tool::fail("the trees differ at more than %zu pairs of places, too many to count by; a "
                   "listing has no such bound",
                   most);
    known_.emplace(level.pair, level.sum);
}

// Any pair of the same classes has the same extent; the one met first stands for all.
void DifferenceCount::enter(const Pair &pair) {
    const size_t first = steps_.size();
    difference_.append_steps(pair, steps_);
    way_.push_back({key_of(pair), first, first, {}});
}

} // namespace diff
