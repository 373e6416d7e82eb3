// Counting the command lines of a tree without listing them: what lies below a shared node is
// counted once, however many ways lead there.
#pragma once

#include "base/huge_pages.h"
#include "tools/support/tree_shape.h"

#include <cstdint>
#include <span>
#include <string>

namespace tool {

/// A count of 128 bits that knows when it is too small: its greatest value says "more". Plain
/// words, for 32-bit hosts have no wider integer.
class Count {
public:
    constexpr Count(uint64_t number = 0) : low_(number) {}

    Count &operator+=(const Count &other) {
        low_ += other.low_;
        const uint64_t carry = low_ < other.low_ ? 1 : 0;
        const bool overflows = __builtin_add_overflow(high_, other.high_, &high_) ||
                               __builtin_add_overflow(high_, carry, &high_);
        if (overflows)
            high_ = low_ = UINT64_MAX;
        return *this;
    }

    /// True when the count is greater than any that can be told.
    [[nodiscard]] bool is_beyond() const { return (high_ & low_) == UINT64_MAX; }
    [[nodiscard]] bool is_zero() const { return high_ == 0 && low_ == 0; }

    /// In decimal; "more than" and the greatest number that can be told when it is beyond.
    [[nodiscard]] std::string text() const;

    bool operator==(const Count &) const = default;

private:
    uint64_t high_ = 0;
    uint64_t low_ = 0;
};

/// The number of command lines below each node of a sound tree, its own line not counted; 0 for
/// nodes that the root does not reach.
base::HugeVector<Count> count_lines_below(const LinkTable &links,
                                          std::span<const uint16_t> children_first);

} // namespace tool
