// Counting of the command lines of a tree without listing them: the lines below a shared node are
// counted once, however many paths lead to it.
#pragma once

#include "base/huge_pages.h"
#include "tools/support/tree_shape.h"

#include <compare>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace tool {

/// A saturating count of 128 bits: its maximum means "more". Two words, because 32-bit hosts have
/// no wider integer.
class Count {
public:
    constexpr Count(uint64_t number = 0) : low_(number) {}
    constexpr Count(uint64_t high, uint64_t low) : high_(high), low_(low) {}

    /// Reads decimal digits; nothing if there are others, none, or the number is too great.
    static std::optional<Count> parse(std::string_view digits);

    Count &operator+=(const Count &other) {
        low_ += other.low_;
        const uint64_t carry = low_ < other.low_ ? 1 : 0;
        const bool overflows = __builtin_add_overflow(high_, other.high_, &high_) ||
                               __builtin_add_overflow(high_, carry, &high_);
        if (overflows)
            high_ = low_ = UINT64_MAX;
        return *this;
    }

    /// Subtracts a number that is not greater.
    Count &operator-=(const Count &other) {
        high_ -= other.high_ + (low_ < other.low_ ? 1 : 0);
        low_ -= other.low_;
        return *this;
    }

    [[nodiscard]] uint64_t high() const { return high_; }
    [[nodiscard]] uint64_t low() const { return low_; }

    /// Returns whether the count exceeds the range.
    [[nodiscard]] bool is_beyond() const { return (high_ & low_) == UINT64_MAX; }
    [[nodiscard]] bool is_zero() const { return high_ == 0 && low_ == 0; }

    /// Returns the decimal text; "more than" and the maximum if the count exceeds the range.
    [[nodiscard]] std::string text() const;

    // The comparison that this makes has a literal 0.
    auto operator<=>(const Count &) const = default; // NOLINT(modernize-use-nullptr)

private:
    uint64_t high_ = 0;
    uint64_t low_ = 0;
};

/// Returns the number of command lines below each node of a valid tree, without the line of the
/// node; 0 for nodes that the root does not reach.
base::HugeVector<Count> count_lines_below(const LinkTable &links,
                                          std::span<const uint16_t> children_first);

} // namespace tool
