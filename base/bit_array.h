// Sets of numbers as bit arrays: number i is bit i % 8 of byte i / 8.
#pragma once

#include <cstddef>
#include <cstdint>

namespace base {

inline bool is_in_set(const uint8_t *bits, size_t number) {
    return (bits[number / 8] >> number % 8 & 1U) != 0;
}

inline void put_in_set(uint8_t *bits, size_t number) {
    bits[number / 8] = static_cast<uint8_t>(bits[number / 8] | 1U << number % 8);
}

} // namespace base
