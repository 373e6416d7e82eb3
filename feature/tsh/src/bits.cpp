// Bit positions and counts, with CPU instructions.
#include "feature/tsh/src/bits.h"

#include <bit>
#include <limits>

namespace {

template <typename Word> int32_t next_set_bit(Word value, int32_t after) {
    const auto start = static_cast<uint32_t>(after) + 1;
    if (start >= std::numeric_limits<Word>::digits)
        return -1;
    const auto rest = static_cast<Word>(value >> start);
    return rest == 0 ? -1 : static_cast<int32_t>(start) + std::countr_zero(rest);
}

} // namespace

int32_t bit_pos_get32(uint32_t value, int32_t after) {
    return next_set_bit(value, after);
}

int32_t bit_pos_get64(uint64_t value, int32_t after) {
    return next_set_bit(value, after);
}

int32_t bit_count_get(uint32_t value) {
    return std::popcount(value);
}

int32_t bit_count_get64(uint64_t value) {
    return std::popcount(value);
}
