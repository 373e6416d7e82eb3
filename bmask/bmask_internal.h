// Masks as machine words, and searches. Every algorithm is a template over the record, here or in a
// .cpp file of this component; tables define the exported functions of both widths.
#pragma once

#include "bmask/bmask.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace tsh {

using MaskWord = uint64_t;
constexpr MaskWord kAllBits = ~MaskWord{0};
constexpr int32_t kWordBits = 64;

template <typename Mask> constexpr int32_t kMaskBits = 8 * sizeof(Mask::bits);
template <typename Mask> constexpr size_t kMaskWords = sizeof(Mask::bits) / sizeof(MaskWord);
template <typename Mask> using MaskWords = std::array<MaskWord, kMaskWords<Mask>>;

/// Returns a word in memory order, which suffices for bitwise operations.
template <typename Mask> MaskWord load_word(const Mask &mask, size_t i) {
    MaskWord word;
    memcpy(&word, mask.bits + i * sizeof word, sizeof word);
    return word;
}

template <typename Mask> MaskWords<Mask> load(const Mask &mask) {
    MaskWords<Mask> words;
    memcpy(words.data(), mask.bits, sizeof mask.bits);
    return words;
}

template <typename Mask> void store(Mask &mask, const MaskWords<Mask> &words) {
    memcpy(mask.bits, words.data(), sizeof mask.bits);
}

/// Converts between memory order and bit order. In bit order, the lowest bit position is the most
/// significant bit of the word.
constexpr MaskWord bit_order(MaskWord word) {
    if constexpr (std::endian::native == std::endian::little)
        return __builtin_bswap64(word);
    return word;
}

/// Returns a word in bit order with the bits at position and above set; any position is valid.
constexpr MaskWord bits_from(int64_t position) {
    if (position <= 0)
        return kAllBits;
    return position < kWordBits ? kAllBits >> position : 0;
}

enum class Bit : uint8_t { kSet, kFree };

/// Returns word i in bit order, with the wanted bits as ones.
template <Bit kWanted, typename Mask> MaskWord wanted_bits(const Mask &mask, size_t i) {
    const MaskWord word = load_word(mask, i);
    return bit_order(kWanted == Bit::kSet ? word : ~word);
}

/// Returns the lowest wanted bit at start or above, or -1.
template <Bit kWanted, typename Mask> int32_t find_bit(const Mask &mask, int32_t start) {
    auto from = static_cast<uint32_t>(start);
    if (from >= kMaskBits<Mask>) {
        if (start > 0)
            return -1;
        from = 0;
    }
    size_t i = from / kWordBits;
    MaskWord word = wanted_bits<kWanted>(mask, i) & kAllBits >> from % kWordBits;
    while (word == 0) {
        if (++i == kMaskWords<Mask>)
            return -1;
        word = wanted_bits<kWanted>(mask, i);
    }
    return static_cast<int32_t>(i) * kWordBits + std::countl_zero(word);
}

/// Returns the lowest wanted bit above n, or -1.
template <Bit kWanted, typename Mask> int32_t next_bit(const Mask &mask, int32_t n) {
    return n == INT32_MAX ? -1 : find_bit<kWanted>(mask, n + 1);
}

/// Returns the run of wanted bits that starts with the lowest one at start or above; first is -1 if
/// there is none.
template <Bit kWanted, typename Mask> bmask_range_t find_run(const Mask &mask, int32_t start) {
    constexpr Bit kOther = kWanted == Bit::kSet ? Bit::kFree : Bit::kSet;
    const int32_t first = find_bit<kWanted>(mask, start);
    if (first < 0)
        return {-1, -1};
    const int32_t end = find_bit<kOther>(mask, first);
    return {first, (end < 0 ? kMaskBits<Mask> : end) - 1};
}

} // namespace tsh
