// Random numbers in ascending order.
#pragma once

#include "base/huge_pages.h"
#include "tools/ocmd_sample/random.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace sample {

template <typename Number> class SortedNumbers {
public:
    /// Draws fewer than 2^32 uniform numbers from 0 to the limit minus 1 and sorts them. The limit
    /// is not 0. Valid until the next call.
    std::span<const Number> draw(size_t count, uint64_t limit, Random &random);

private:
    void sort_by_digit(unsigned shift);

    base::HugeVector<Number> drawn_;
    base::HugeVector<Number> sorted_;
};

extern template class SortedNumbers<uint32_t>;
extern template class SortedNumbers<uint64_t>;

/// Random numbers of the width that they need.
class RandomNumbers {
public:
    /// Passes a span of numbers on that SortedNumbers draws.
    template <typename Use> void draw(size_t count, uint64_t limit, Random &random, Use use) {
        if (limit - 1 <= UINT32_MAX)
            use(narrow_.draw(count, limit, random));
        else
            use(wide_.draw(count, limit, random));
    }

private:
    SortedNumbers<uint32_t> narrow_;
    SortedNumbers<uint64_t> wide_;
};

} // namespace sample
