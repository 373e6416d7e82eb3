// Searches: backward scan, bits by rank, and runs of bits.
#include "bmask/bmask_internal.h"

namespace {

using tsh::Bit;
using tsh::find_bit;
using tsh::kMaskBits;
using tsh::kWordBits;
using tsh::MaskWord;
using tsh::next_bit;
using tsh::wanted_bits;

template <typename Mask> int32_t find_prev_bit(const Mask &mask, int32_t start) {
    if (start < 0)
        return -1;
    const int32_t from = std::min(start, kMaskBits<Mask> - 1);
    auto i = static_cast<size_t>(from / kWordBits);
    MaskWord word = wanted_bits<Bit::kSet>(mask, i) & ~tsh::bits_from(from % kWordBits + 1);
    while (word == 0) {
        if (i-- == 0)
            return -1;
        word = wanted_bits<Bit::kSet>(mask, i);
    }
    return static_cast<int32_t>(i) * kWordBits + kWordBits - 1 - std::countr_zero(word);
}

// Returns the bit of rank k of a word in bit order with more than k bits set.
int32_t nth_in_word(MaskWord word, int32_t k) {
    constexpr MaskWord kFirst = MaskWord{1} << (kWordBits - 1);
    for (; k > 0; --k)
        word &= ~(kFirst >> std::countl_zero(word));
    return std::countl_zero(word);
}

template <Bit kWanted, typename Mask> int32_t nth_bit(const Mask &mask, int32_t k) {
    if (k < 0)
        return -1;
    for (size_t i = 0; i < tsh::kMaskWords<Mask>; ++i) {
        const MaskWord word = wanted_bits<kWanted>(mask, i);
        const int32_t count = std::popcount(word);
        if (k < count)
            return static_cast<int32_t>(i) * kWordBits + nth_in_word(word, k);
        k -= count;
    }
    return -1;
}

// The bit after a run is of the other kind, so the next run starts at last + 2 or later.
template <Bit kWanted, typename Mask> int32_t next_range(const Mask &mask, bmask_range_t &range) {
    if (range.last > kMaskBits<Mask> - 3)
        return -1;
    const bool at_start = range.first == 1 && range.last == 0;
    const bmask_range_t run = tsh::find_run<kWanted>(mask, at_start ? 0 : range.last + 2);
    range.first = run.first;
    if (run.first < 0)
        return -1;
    range.last = run.last;
    return 0;
}

template <typename Mask> bool is_range_free(const Mask &mask, const bmask_range_t &range) {
    const int32_t taken = next_bit<Bit::kSet>(mask, range.first);
    return taken < 0 || taken > range.last;
}

} // namespace

// The exported functions, one operation per row.
// clang-format off
// NOLINTBEGIN(bugprone-macro-parentheses): a type takes none
#define EXPORT_SEARCHES(N, Mask)                                                                   \
    int32_t bmask##N##_find_bit(const Mask *mask, int32_t start)                                   \
        { return find_bit<Bit::kSet>(*mask, start); }                                              \
    int32_t bmask##N##_find_free_bit(const Mask *mask, int32_t start)                              \
        { return find_bit<Bit::kFree>(*mask, start); }                                             \
    int32_t bmask##N##_find_prev_bit(const Mask *mask, int32_t start)                              \
        { return find_prev_bit(*mask, start); }                                                    \
    int32_t bmask##N##_first_bit(const Mask *mask) { return find_bit<Bit::kSet>(*mask, 0); }       \
    int32_t bmask##N##_first_free_bit(const Mask *mask) { return find_bit<Bit::kFree>(*mask, 0); } \
    int32_t bmask##N##_next_bit(const Mask *mask, int32_t n)                                       \
        { return next_bit<Bit::kSet>(*mask, n); }                                                  \
    int32_t bmask##N##_next_free_bit(const Mask *mask, int32_t n)                                  \
        { return next_bit<Bit::kFree>(*mask, n); }                                                 \
    int32_t bmask##N##_nth_bit(const Mask *mask, int32_t k)                                        \
        { return nth_bit<Bit::kSet>(*mask, k); }                                                   \
    int32_t bmask##N##_nth_free_bit(const Mask *mask, int32_t k)                                   \
        { return nth_bit<Bit::kFree>(*mask, k); }                                                  \
    int32_t bmask##N##_next_range(const Mask *mask, bmask_range_t *range)                          \
        { return next_range<Bit::kSet>(*mask, *range); }                                           \
    int32_t bmask##N##_next_free_range(const Mask *mask, bmask_range_t *range)                     \
        { return next_range<Bit::kFree>(*mask, *range); }                                          \
    int32_t bmask##N##_is_range_free(const Mask *mask, const bmask_range_t *range)                 \
        { return is_range_free(*mask, *range); }
// NOLINTEND(bugprone-macro-parentheses)
// clang-format on

EXPORT_SEARCHES(128, bmask128_t)
EXPORT_SEARCHES(256, bmask256_t)
