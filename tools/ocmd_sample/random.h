// Random numbers that are the same on every host.
#pragma once

#include "tools/support/command_count.h"

#include <bit>
#include <cstdint>
#include <random>

namespace sample {

class Random {
public:
    explicit Random(uint64_t seed) : engine_(seed) {}

    /// Returns 64 random bits.
    uint64_t bits() { return engine_(); }

    /// Returns a uniform number from 0 to the limit minus 1. The limit is not 0.
    uint64_t below(uint64_t limit) {
        return limit <= UINT32_MAX ? below_32(limit) : below(tool::Count{limit}).low();
    }

    /// The same for 128 bits. Numbers of as many bits as the last one has are drawn until one is
    /// small enough, which takes two attempts at most on average.
    tool::Count below(const tool::Count &limit) {
        tool::Count last = limit;
        last -= 1;
        const uint64_t high_mask = mask_of(last.high());
        const uint64_t low_mask = last.high() != 0 ? UINT64_MAX : mask_of(last.low());
        for (;;) {
            const uint64_t high = high_mask == 0 ? 0 : bits() & high_mask;
            const tool::Count number{high, bits() & low_mask};
            if (number < limit)
                return number;
        }
    }

    /// Returns a uniform number from 0 on that is less than 1.
    double ratio() { return static_cast<double>(bits() >> 11U) * 0x1p-53; }

    /// Returns one of two results by chance.
    bool coin() { return bits() >> 63U != 0; }

private:
    // The high half of a product of 32 random bits and the limit. Of the numbers that share a high
    // half, the excess over the fewest is drawn again.
    uint64_t below_32(uint64_t limit) {
        for (;;) {
            const uint64_t product = half() * limit;
            const auto low = static_cast<uint32_t>(product);
            if (low >= limit || low >= (uint64_t{1} << 32U) % limit)
                return product >> 32U;
        }
    }

    // Returns 32 random bits, two times from one draw.
    uint64_t half() {
        has_half_ = !has_half_;
        if (has_half_)
            drawn_ = bits();
        return has_half_ ? drawn_ >> 32U : drawn_ & UINT32_MAX;
    }

    static uint64_t mask_of(uint64_t number) {
        return number == 0 ? 0 : UINT64_MAX >> static_cast<unsigned>(std::countl_zero(number));
    }

    std::mt19937_64 engine_;
    uint64_t drawn_ = 0;
    bool has_half_ = false; // of drawn_ is still unused
};

} // namespace sample
