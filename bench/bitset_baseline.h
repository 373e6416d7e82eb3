// Mask operations on std::bitset, in a shared library like the masks: if the compiler could inline
// the baseline into the measuring loop, calls would be compared with no calls.
#pragma once

#include <bitset>
#include <cstddef>

template <size_t N> struct [[gnu::visibility("default")]] BitsetBaseline {
    using Set = std::bitset<N>;

    static void unite(Set * dst, const Set *a);
    static void revert(Set * dst);
    static void exclusive(Set * dst, const Set *a, const Set *b);
    static void maskcopy(Set * dst, const Set *a, const Set *m);
    static void set_bit(Set * dst, int n);
    static int is_bit_set(const Set *a, int n);
    static void set_range(Set * dst, int first, int count);
    static void union_range(Set * dst, const Set *a, int first, int count);
    static int equal(const Set *a, const Set *b);
    static int intersects(const Set *a, const Set *b);
    static int subset(const Set *a, const Set *b);
    static int bitcount(const Set *a);
    static int next_bit(const Set *a, int n); // -1 asks for the first, -1 is none
};

extern template struct BitsetBaseline<128>;
extern template struct BitsetBaseline<256>;
