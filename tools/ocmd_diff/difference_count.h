// The extent of a difference, counted without listing it.
#pragma once

#include "tools/ocmd_diff/difference.h"
#include "tools/support/command_count.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace diff {

/// How many lines a listing has of each kind.
struct Extent {
    tool::Count only_before;
    tool::Count only_after;
    tool::Count changed;

    Extent &operator+=(const Extent &other);
};

class DifferenceCount {
public:
    explicit DifferenceCount(Difference &difference);

    /// What a listing from there has. Each pair of classes is counted once; ends the run with
    /// kTrouble, after a message, when there are more of them than there is room for.
    Extent count(const Pair &start);

private:
    struct Level {
        uint64_t pair;
        size_t first_step;
        size_t next_step;
        Extent sum;
    };

    void enter(const Pair &pair);
    void remember(const Level &level);
    [[nodiscard]] Extent alone(const Pair &pair) const;
    [[nodiscard]] Extent of_step(const Pair &to) const;
    [[nodiscard]] uint64_t key_of(const Pair &pair) const;

    Difference &difference_;
    const LineStates &states_;
    std::vector<tool::Count> lines_; // that follow, by class
    std::unordered_map<uint64_t, Extent> known_;
    std::vector<PairStep> steps_;
    std::vector<Level> way_;
};

} // namespace diff
