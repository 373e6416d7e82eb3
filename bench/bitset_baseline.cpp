// Straightforward mask operations on std::bitset.
#include "bench/bitset_baseline.h"

namespace {

template <size_t N> std::bitset<N> range(int first, int count) {
    const auto shift = static_cast<size_t>(static_cast<int>(N) - count);
    return ~std::bitset<N>() >> shift << static_cast<size_t>(first);
}

} // namespace

template <size_t N> void BitsetBaseline<N>::unite(Set *dst, const Set *a) {
    *dst |= *a;
}
template <size_t N> void BitsetBaseline<N>::revert(Set *dst) {
    dst->flip();
}
template <size_t N> void BitsetBaseline<N>::exclusive(Set *dst, const Set *a, const Set *b) {
    *dst = *a ^ *b;
}
template <size_t N> void BitsetBaseline<N>::maskcopy(Set *dst, const Set *a, const Set *m) {
    *dst = (*a & *m) | (*dst & ~*m);
}
template <size_t N> void BitsetBaseline<N>::set_bit(Set *dst, int n) {
    dst->set(static_cast<size_t>(n));
}
template <size_t N> int BitsetBaseline<N>::is_bit_set(const Set *a, int n) {
    return a->test(static_cast<size_t>(n));
}
template <size_t N> void BitsetBaseline<N>::set_range(Set *dst, int first, int count) {
    *dst |= range<N>(first, count);
}
template <size_t N>
void BitsetBaseline<N>::union_range(Set *dst, const Set *a, int first, int count) {
    *dst |= *a & range<N>(first, count);
}
template <size_t N> int BitsetBaseline<N>::equal(const Set *a, const Set *b) {
    return *a == *b;
}
template <size_t N> int BitsetBaseline<N>::intersects(const Set *a, const Set *b) {
    return (*a & *b).any();
}
template <size_t N> int BitsetBaseline<N>::subset(const Set *a, const Set *b) {
    return (*a & *b) == *a;
}
template <size_t N> int BitsetBaseline<N>::bitcount(const Set *a) {
    return static_cast<int>(a->count());
}
template <size_t N> int BitsetBaseline<N>::next_bit(const Set *a, int n) {
    const size_t next = n < 0 ? a->_Find_first() : a->_Find_next(static_cast<size_t>(n));
    return next == N ? -1 : static_cast<int>(next);
}

template struct BitsetBaseline<128>;
template struct BitsetBaseline<256>;
