// Random numbers in ascending order.
#pragma once

#include "base/huge_pages.h"
#include "tools/ocmd_sample/random.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace sample {

class RandomNumbers {
public:
    /// Draws uniform numbers from 0 to the limit minus 1 and sorts them. The limit is not 0. Valid
    /// until the next call.
    std::span<const uint64_t> draw(size_t count, uint64_t limit, Random &random) {
        drawn_.resize(count);
        sorted_.resize(count);
        for (uint64_t &number : drawn_)
            number = random.below(limit);
        const auto bits = static_cast<unsigned>(std::bit_width(limit - 1));
        for (unsigned shift = 0; shift < bits; shift += kDigitBits)
            sort_by_digit(shift);
        return drawn_;
    }

private:
    static constexpr unsigned kDigitBits = 8;
    static constexpr size_t kDigits = size_t{1} << kDigitBits;

    // A step of a radix sort. Numbers of the same digit stay in their order.
    void sort_by_digit(unsigned shift) {
        const auto digit_of = [shift](uint64_t number) { return number >> shift & (kDigits - 1); };
        std::array<size_t, kDigits + 1> places{};
        for (const uint64_t number : drawn_)
            ++places[digit_of(number) + 1];
        for (size_t digit = 1; digit < kDigits; ++digit)
            places[digit] += places[digit - 1];
        for (const uint64_t number : drawn_)
            sorted_[places[digit_of(number)]++] = number;
        std::swap(drawn_, sorted_);
    }

    base::HugeVector<uint64_t> drawn_;
    base::HugeVector<uint64_t> sorted_;
};

} // namespace sample
