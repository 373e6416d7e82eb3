// One array for what is kept, one that grows and shrinks with the cursors in use.
#include "tools/ocmd_diff/pair_steps.h"

namespace diff {

namespace {

// What may be kept, in steps of 12 bytes: some for small trees, and so many for each node and link.
constexpr size_t kFreeSteps = 1U << 22U;
constexpr size_t kStepsPerSize = 2;
constexpr size_t kStepsPerPair = 5; // what a pair takes beside its steps

} // namespace

PairSteps::PairSteps(Difference &difference)
    : difference_(difference),
      most_kept_(kFreeSteps + kStepsPerSize * difference.states().automaton().size()) {}

PairSteps::Cursor PairSteps::from(const Pair &pair) {
    const uint64_t key = uint64_t{pair.before.state()} << 32U | pair.after.state();
    if (const auto known = known_.find(key); known != known_.end())
        return known->second;
    Cursor cursor;
    cursor.is_kept = kept_.size() + kStepsPerPair * known_.size() < most_kept_;
    std::vector<PairStep> &steps = cursor.is_kept ? kept_ : passing_;
    cursor.first = cursor.next = steps.size();
    difference_.append_steps(pair, steps);
    cursor.end = steps.size();
    if (cursor.is_kept)
        known_.emplace(key, cursor);
    return cursor;
}

std::optional<PairStep> PairSteps::take(Cursor &cursor) {
    if (cursor.next < cursor.end)
        return (cursor.is_kept ? kept_ : passing_)[cursor.next++];
    if (!cursor.is_kept)
        passing_.resize(cursor.first);
    return std::nullopt;
}

} // namespace diff
