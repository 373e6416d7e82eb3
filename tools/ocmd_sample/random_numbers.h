// Random numbers in ascending order.
#pragma once

#include "base/huge_pages.h"
#include "tools/ocmd_sample/random.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>
#include <utility>
#include <vector>

namespace sample {

class RandomNumbers {
public:
    /// Draws fewer than 2^32 uniform numbers from 0 to the limit minus 1 and sorts them. The limit
    /// is not 0. Valid until the next call.
    std::span<const uint64_t> draw(size_t count, uint64_t limit, Random &random) {
        drawn_.resize(count);
        sorted_.resize(count);
        for (uint64_t &number : drawn_)
            number = random.below(limit);
        const auto bits = static_cast<unsigned>(std::bit_width(limit - 1));
        digit_counts_.assign((bits + kDigitBits - 1) / kDigitBits, {});
        for (const uint64_t number : drawn_)
            for (unsigned digit = 0; digit < digit_counts_.size(); ++digit)
                ++digit_counts_[digit][value_of(number, digit)];
        for (unsigned digit = 0; digit < digit_counts_.size(); ++digit)
            sort_by(digit);
        return drawn_;
    }

private:
    static constexpr unsigned kDigitBits = 8;
    using Counts = std::array<uint32_t, size_t{1} << kDigitBits>;

    static size_t value_of(uint64_t number, unsigned digit) {
        return number >> digit * kDigitBits & (std::tuple_size_v<Counts> - 1);
    }

    // A step of a radix sort. Numbers of the same digit stay in their order.
    void sort_by(unsigned digit) {
        Counts places = digit_counts_[digit];
        std::exclusive_scan(places.begin(), places.end(), places.begin(), uint32_t{0});
        for (const uint64_t number : drawn_)
            sorted_[places[value_of(number, digit)]++] = number;
        std::swap(drawn_, sorted_);
    }

    base::HugeVector<uint64_t> drawn_;
    base::HugeVector<uint64_t> sorted_;
    std::vector<Counts> digit_counts_; // of each digit, the numbers with each value
};

} // namespace sample
