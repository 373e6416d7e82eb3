// Sets: life cycle, single bits and ranges, algebra, comparison and the compressed form.
#include "bmask/bmask_internal.h"

#include <cstdlib>
#include <numeric>

namespace {

using tsh::kMaskBits;
using tsh::load;
using tsh::load_word;
using tsh::MaskWord;
using tsh::MaskWords;
using tsh::store;

// Operations on a word of dst (d) and its operands.
constexpr auto kFill = [](MaskWord) { return tsh::kAllBits; };
constexpr auto kClear = [](MaskWord) { return MaskWord{0}; };
constexpr auto kUnion = [](MaskWord d, MaskWord a) { return d | a; };
constexpr auto kIntersection = [](MaskWord d, MaskWord a) { return d & a; };
constexpr auto kSubtract = [](MaskWord d, MaskWord a) { return d & ~a; };
constexpr auto kRevert = [](MaskWord d) { return ~d; };
constexpr auto kXor = [](MaskWord, MaskWord a, MaskWord b) { return a ^ b; };
constexpr auto kMaskCopy = [](MaskWord d, MaskWord a, MaskWord m) { return (a & m) | (d & ~m); };
constexpr auto kMaskUnion = [](MaskWord d, MaskWord a, MaskWord m) { return d | (a & m); };
constexpr auto kMaskIntersect = [](MaskWord d, MaskWord a, MaskWord m) { return d & (a | ~m); };
constexpr auto kMaskSubtract = [](MaskWord d, MaskWord a, MaskWord m) { return d & ~(a & m); };
constexpr auto kMaskRevert = [](MaskWord d, MaskWord m) { return d ^ m; };

// Comparisons of words.
constexpr auto kEqual = [](MaskWord a, MaskWord b) { return a == b; };
constexpr auto kMaskEqual = [](MaskWord a, MaskWord b, MaskWord m) { return ((a ^ b) & m) == 0; };
constexpr auto kDisjoint = [](MaskWord a, MaskWord b) { return (a & b) == 0; };
constexpr auto kSubset = [](MaskWord a, MaskWord b) { return (a & ~b) == 0; };

template <typename Operation, typename Words, typename... Operands>
Words combine(Operation operation, Words words, const Operands &...operands) {
    for (size_t i = 0; i < words.size(); ++i)
        words[i] = operation(words[i], operands[i]...);
    return words;
}

template <typename Mask, typename Operation, typename... Operands>
void update(Operation operation, Mask &dst, const Operands &...operands) {
    store(dst, combine(operation, load(dst), load(operands)...));
}

template <typename Mask> MaskWords<Mask> range_words(int32_t first, int32_t count) {
    MaskWords<Mask> words;
    for (size_t i = 0; i < words.size(); ++i) {
        const auto begin = first - static_cast<int64_t>(i) * tsh::kWordBits;
        words[i] = tsh::bit_order(tsh::bits_from(begin) & ~tsh::bits_from(begin + count));
    }
    return words;
}

template <typename Mask, typename Operation, typename... Operands>
void update_range(Operation operation, int32_t first, int32_t count, Mask &dst,
                  const Operands &...operands) {
    const MaskWords<Mask> old = load(dst);
    const MaskWords<Mask> updated = combine(operation, old, load(operands)...);
    store(dst, combine(kMaskCopy, old, updated, range_words<Mask>(first, count)));
}

template <typename Mask>
void set_range_value(Mask &mask, int32_t first, int32_t count, int32_t value) {
    if (value != 0)
        update_range(kFill, first, count, mask);
    else
        update_range(kClear, first, count, mask);
}

template <typename Mask> bool holds(int32_t n) {
    return n >= 0 && n < kMaskBits<Mask>;
}

constexpr uint8_t bit_in_byte(int32_t n) {
    return static_cast<uint8_t>(0x80U >> static_cast<unsigned>(n) % 8);
}

template <typename Mask> void set_bit(Mask &mask, int32_t n) {
    if (holds<Mask>(n))
        mask.bits[n / 8] |= bit_in_byte(n);
}

template <typename Mask> void clear_bit(Mask &mask, int32_t n) {
    if (holds<Mask>(n))
        mask.bits[n / 8] &= static_cast<uint8_t>(~bit_in_byte(n));
}

template <typename Mask> bool is_bit_set(const Mask &mask, int32_t n) {
    return holds<Mask>(n) && (mask.bits[n / 8] & bit_in_byte(n)) != 0;
}

template <typename Test, typename Mask, typename... Masks>
bool every_word(Test test, const Mask &first, const Masks &...others) {
    for (size_t i = 0; i < tsh::kMaskWords<Mask>; ++i)
        if (!test(load_word(first, i), load_word(others, i)...))
            return false;
    return true;
}

template <typename Mask> int32_t bitcount(const Mask &mask) {
    const MaskWords<Mask> words = load(mask);
    return std::accumulate(words.begin(), words.end(), 0,
                           [](int32_t sum, MaskWord word) { return sum + std::popcount(word); });
}

template <typename Mask> Mask *init(Mask *mask) {
    *mask = {sizeof mask->bits, {}};
    return mask;
}

template <typename Mask> Mask *new_mask() {
    auto *mask = static_cast<Mask *>(malloc(sizeof(Mask)));
    return mask == nullptr ? nullptr : init(mask);
}

} // namespace

// The exported functions, one operation per row.
// clang-format off
// NOLINTBEGIN(bugprone-macro-parentheses): a type takes none
#define EXPORT_SETS(N, Mask)                                                                       \
    int32_t bmask##N##_numbits(void) { return kMaskBits<Mask>; }                                   \
    Mask *bmask##N##_new(void) { return new_mask<Mask>(); }                                        \
    Mask *bmask##N##_init(Mask *mask) { return init(mask); }                                       \
    void bmask##N##_delete(Mask *mask) { free(mask); }                                             \
    void bmask##N##_fill(Mask *mask) { update(kFill, *mask); }                                     \
    void bmask##N##_clear(Mask *mask) { update(kClear, *mask); }                                   \
    void bmask##N##_copy(Mask *dst, const Mask *src) { store(*dst, load(*src)); }                  \
                                                                                                   \
    void bmask##N##_set_bit(Mask *mask, int32_t n) { set_bit(*mask, n); }                          \
    void bmask##N##_clear_bit(Mask *mask, int32_t n) { clear_bit(*mask, n); }                      \
    int32_t bmask##N##_is_bit_set(const Mask *mask, int32_t n) { return is_bit_set(*mask, n); }    \
    void bmask##N##_set_range_value(Mask *mask, int32_t first, int32_t count, int32_t value)       \
        { set_range_value(*mask, first, count, value); }                                           \
    void bmask##N##_set_range(Mask *mask, int32_t first, int32_t count)                            \
        { update_range(kFill, first, count, *mask); }                                              \
    void bmask##N##_clear_range(Mask *mask, int32_t first, int32_t count)                          \
        { update_range(kClear, first, count, *mask); }                                             \
                                                                                                   \
    void bmask##N##_union(Mask *dst, const Mask *a) { update(kUnion, *dst, *a); }                  \
    void bmask##N##_intersection(Mask *dst, const Mask *a) { update(kIntersection, *dst, *a); }    \
    void bmask##N##_subtract(Mask *dst, const Mask *a) { update(kSubtract, *dst, *a); }            \
    void bmask##N##_revert(Mask *dst) { update(kRevert, *dst); }                                   \
    void bmask##N##_xor(Mask *dst, const Mask *a, const Mask *b) { update(kXor, *dst, *a, *b); }   \
                                                                                                   \
    void bmask##N##_maskcopy(Mask *dst, const Mask *a, const Mask *m)                              \
        { update(kMaskCopy, *dst, *a, *m); }                                                       \
    void bmask##N##_maskunion(Mask *dst, const Mask *a, const Mask *m)                             \
        { update(kMaskUnion, *dst, *a, *m); }                                                      \
    void bmask##N##_maskintersect(Mask *dst, const Mask *a, const Mask *m)                         \
        { update(kMaskIntersect, *dst, *a, *m); }                                                  \
    void bmask##N##_masksubtract(Mask *dst, const Mask *a, const Mask *m)                          \
        { update(kMaskSubtract, *dst, *a, *m); }                                                   \
    void bmask##N##_maskrevert(Mask *dst, const Mask *m) { update(kMaskRevert, *dst, *m); }        \
                                                                                                   \
    void bmask##N##_union_range(Mask *dst, const Mask *a, int32_t first, int32_t count)            \
        { update_range(kUnion, first, count, *dst, *a); }                                          \
    void bmask##N##_intersection_range(Mask *dst, const Mask *a, int32_t first, int32_t count)     \
        { update_range(kIntersection, first, count, *dst, *a); }                                   \
    void bmask##N##_subtract_range(Mask *dst, const Mask *a, int32_t first, int32_t count)         \
        { update_range(kSubtract, first, count, *dst, *a); }                                       \
    void bmask##N##_revert_range(Mask *dst, int32_t first, int32_t count)                          \
        { update_range(kRevert, first, count, *dst); }                                             \
                                                                                                   \
    int32_t bmask##N##_equal(const Mask *a, const Mask *b) { return every_word(kEqual, *a, *b); }  \
    int32_t bmask##N##_maskequal(const Mask *a, const Mask *b, const Mask *m)                      \
        { return every_word(kMaskEqual, *a, *b, *m); }                                             \
    int32_t bmask##N##_intersects(const Mask *a, const Mask *b)                                    \
        { return !every_word(kDisjoint, *a, *b); }                                                 \
    int32_t bmask##N##_subset(const Mask *a, const Mask *b)                                        \
        { return every_word(kSubset, *a, *b); }                                                    \
    int32_t bmask##N##_bitcount(const Mask *a) { return bitcount(*a); }                            \
                                                                                                   \
    int32_t bmask##N##_compress(const Mask *mask, uint8_t *buffer, uint32_t capacity)              \
        { return bitset_compress(mask, buffer, capacity); }                                        \
    int32_t bmask##N##_uncompress(Mask *mask, const uint8_t *buffer, uint32_t length)              \
        { return bitset_uncompress(mask, buffer, length); }
// NOLINTEND(bugprone-macro-parentheses)
// clang-format on

EXPORT_SETS(128, bmask128_t)
EXPORT_SETS(256, bmask256_t)
