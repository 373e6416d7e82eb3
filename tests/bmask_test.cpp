// Masks of both widths against a model that knows only the bit order of the bytes.
#include "bmask/bmask.h"
#include "tests/support/harness.h"

#include <algorithm>
#include <bitset>
#include <climits>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <string>
#include <utility>

namespace {

#define OP(N, operation) static constexpr auto mask_##operation = bmask##N##_##operation;
// clang-format off
#define WIDTH(N)                                                                                   \
    struct Width##N {                                                                              \
        static constexpr int kBits = N;                                                            \
        using Mask = bmask##N##_t;                                                                 \
        OP(N, numbits) OP(N, new) OP(N, init) OP(N, delete) OP(N, fill) OP(N, clear) OP(N, copy)   \
        OP(N, set_bit) OP(N, clear_bit) OP(N, is_bit_set) OP(N, set_range_value) OP(N, set_range)  \
        OP(N, clear_range) OP(N, union) OP(N, intersection) OP(N, subtract) OP(N, revert)          \
        OP(N, xor) OP(N, maskcopy) OP(N, maskunion) OP(N, maskintersect) OP(N, masksubtract)       \
        OP(N, maskrevert) OP(N, union_range) OP(N, intersection_range) OP(N, subtract_range)       \
        OP(N, revert_range) OP(N, equal) OP(N, maskequal) OP(N, intersects) OP(N, subset)          \
        OP(N, bitcount) OP(N, compress) OP(N, uncompress) OP(N, find_bit) OP(N, find_free_bit)     \
        OP(N, find_prev_bit) OP(N, first_bit) OP(N, first_free_bit) OP(N, next_bit)                \
        OP(N, next_free_bit) OP(N, nth_bit) OP(N, nth_free_bit) OP(N, next_range)                  \
        OP(N, next_free_range) OP(N, is_range_free) OP(N, sprintf) OP(N, snprintf) OP(N, printf)   \
        OP(N, hex_printf) OP(N, printf_hex) OP(N, to_bitarray) OP(N, from_bitarray)                \
    }
// clang-format on

WIDTH(128);
WIDTH(256);

std::mt19937 generator{20};

int any_of(int low, int high) {
    return std::uniform_int_distribution(low, high)(generator);
}

template <typename W> class Masks : public testing::Test {
protected:
    static constexpr size_t N = W::kBits;
    using Mask = typename W::Mask;
    using Model = std::bitset<N>;

    static Mask mask_of(const Model &model) {
        Mask mask{N / 8, {}};
        for (size_t n = 0; n < N; ++n)
            mask.bits[n / 8] |= static_cast<uint8_t>(model[n] << (7 - n % 8));
        return mask;
    }

    // Few, many or all bits in runs of any length, as a model and as a mask.
    static std::pair<Model, Mask> any_set() {
        Model model;
        const int longest_run = 1 << any_of(0, 8);
        bool set = any_of(0, 1) != 0;
        for (size_t n = 0; n < N; set = !set)
            for (int run = any_of(1, longest_run); run > 0 && n < N; --run)
                model[n++] = set;
        return {model, mask_of(model)};
    }

    // A bit or a count: mostly near the mask, now and then as far away as it gets.
    static int any_bound() {
        return any_of(0, 9) != 0 ? any_of(-3, W::kBits + 3) : any_of(0, 1) != 0 ? INT_MIN : INT_MAX;
    }

    static Model range_of(int64_t first, int64_t count) {
        Model model;
        for (int n = 0; n < W::kBits; ++n)
            model[static_cast<size_t>(n)] = n >= first && n < first + count;
        return model;
    }

    // The set bit of the given rank at start or above, or -1.
    static int lowest(const Model &model, int64_t start, int rank = 0) {
        for (auto n = static_cast<size_t>(std::clamp<int64_t>(start, 0, N)); n < N; ++n)
            if (model[n] && rank-- == 0)
                return static_cast<int>(n);
        return -1;
    }

    static int last_of_run(const Model &model, int first) {
        const int end = lowest(~model, first);
        return (end < 0 ? W::kBits : end) - 1;
    }

    static std::string list_of(const Model &model) {
        std::ostringstream list;
        for (int first = lowest(model, 0), last = 0; first >= 0; first = lowest(model, last + 1)) {
            last = last_of_run(model, first);
            list << (list.tellp() > 0 ? "," : "") << first;
            if (last != first)
                list << '-' << last;
        }
        return list.str();
    }
};

using Widths = testing::Types<Width128, Width256>;
TYPED_TEST_SUITE(Masks, Widths);

// What an operation makes of the mask D.
#define BECOMES(expected, operation, ...)                                                          \
    {                                                                                              \
        auto dst = D;                                                                              \
        TypeParam::mask_##operation(&dst __VA_OPT__(, ) __VA_ARGS__);                              \
        const auto wanted = this->mask_of(expected);                                               \
        EXPECT_EQ(memcmp(&dst, &wanted, sizeof dst), 0) << #operation;                             \
    }

#define TELLS(expected, operation, ...)                                                            \
    EXPECT_EQ(TypeParam::mask_##operation(&D __VA_OPT__(, ) __VA_ARGS__), expected) << #operation

TYPED_TEST(Masks, AlgebraAndComparisonsFollowTheModel) {
    using W = TypeParam;
    for (int round = 0; round < 1000; ++round) {
        const auto [d, D] = this->any_set();
        const auto [a, A] = this->any_set();
        const auto [m, M] = this->any_set();
        const int n = this->any_bound();
        const int count = this->any_bound();
        const auto bit = this->range_of(n, 1);
        const auto r = this->range_of(n, count);
        // clang-format off
        BECOMES(d | ~d, fill);               BECOMES(d & ~d, clear);
        BECOMES(d & ~d, init);               BECOMES(a, copy, &A);
        BECOMES(d | a, union, &A);           BECOMES(d & a, intersection, &A);
        BECOMES(d & ~a, subtract, &A);       BECOMES(d & ~d, subtract, &dst);
        BECOMES(a ^ m, xor, &A, &M);         BECOMES(a ^ d, xor, &A, &dst);
        BECOMES(~d, revert);                 BECOMES((a & m) | (d & ~m), maskcopy, &A, &M);
        BECOMES(d ^ m, maskrevert, &M);      BECOMES(d | (a & m), maskunion, &A, &M);
        BECOMES(d | bit, set_bit, n);        BECOMES(d & (a | ~m), maskintersect, &A, &M);
        BECOMES(d & ~bit, clear_bit, n);     BECOMES(d & ~(a & m), masksubtract, &A, &M);
        BECOMES(d | r, set_range, n, count); BECOMES(d | r, set_range_value, n, count, -1);
        BECOMES(d & ~r, clear_range, n, count); BECOMES(d & ~r, set_range_value, n, count, 0);
        BECOMES(d ^ r, revert_range, n, count); BECOMES(d | (a & r), union_range, &A, n, count);
        BECOMES(d & (a | ~r), intersection_range, &A, n, count);
        BECOMES(d & ~(a & r), subtract_range, &A, n, count);
        const auto common = this->mask_of(d & a);
        TELLS((d & bit).any(), is_bit_set, n);
        TELLS(d == a, equal, &A);            TELLS(1, equal, &D);
        TELLS((d & a).any(), intersects, &A); TELLS((d & ~a).none(), subset, &A);
        TELLS(((d ^ a) & m).none(), maskequal, &A, &M); TELLS(1, maskequal, &common, &A);
        TELLS(static_cast<int>(d.count()), bitcount);
        // clang-format on
        EXPECT_EQ(W::mask_subset(&common, &A), 1);
        uint8_t packed[32];
        const int size = W::mask_compress(&A, packed, W::kBits / 8);
        BECOMES(a, uncompress, packed, static_cast<uint32_t>(size));
    }
}

TYPED_TEST(Masks, SearchesFollowTheModel) {
    using W = TypeParam;
    for (int round = 0; round < 1000; ++round) {
        const auto [set, D] = this->any_set();
        const int n = this->any_bound();
        const int k = this->any_bound();
        const auto up_to_n = set & this->range_of(0, int64_t{n} + 1);
        const int below = static_cast<int>(up_to_n.count()) - 1;
        const bmask_range_t gap{n, k};
        const auto above_n = set & this->range_of(int64_t{n} + 1, int64_t{k} - n);
        // clang-format off
        TELLS(this->lowest(set, 0), first_bit);  TELLS(this->lowest(~set, 0), first_free_bit);
        TELLS(this->lowest(set, n), find_bit, n); TELLS(this->lowest(~set, n), find_free_bit, n);
        TELLS(this->lowest(set, int64_t{n} + 1), next_bit, n);
        TELLS(this->lowest(~set, int64_t{n} + 1), next_free_bit, n);
        TELLS(k < 0 ? -1 : this->lowest(set, 0, k), nth_bit, k);
        TELLS(k < 0 ? -1 : this->lowest(~set, 0, k), nth_free_bit, k);
        TELLS(below < 0 ? -1 : this->lowest(set, 0, below), find_prev_bit, n);
        TELLS(above_n.none(), is_range_free, &gap);
        // clang-format on
        const int last = any_of(0, 3) == 0 ? 0 : n;
        const int64_t start = last == 0 ? 0 : int64_t{last} + 2; // a run ends before a gap
        for (const bool free : {false, true}) {
            bmask_range_t run{1, last};
            const auto bits = free ? ~set : set;
            const int first = this->lowest(bits, start);
            const int found = (free ? W::mask_next_free_range : W::mask_next_range)(&D, &run);
            EXPECT_EQ(found == 0 ? run.first : found, first);
            EXPECT_EQ(run.last, first < 0 ? last : this->last_of_run(bits, first));
        }
    }
}

TYPED_TEST(Masks, TextComesWholeOrInPiecesAndBitArraysReverseEveryByte) {
    using W = TypeParam;
    for (int round = 0; round < 300; ++round) {
        const auto [model, mask] = this->any_set();
        char text[BMASK256_TEXT_SIZE];
        const std::string list = this->list_of(model);
        EXPECT_EQ(W::mask_sprintf(text, &mask), static_cast<int>(list.size()));
        EXPECT_EQ(text, list);

        std::string joined;
        uint8_t done = 0;
        for (uint8_t restart = 1; done == 0; restart = 0) {
            const auto capacity = static_cast<uint32_t>(any_of(8, 40));
            text[capacity] = '#';
            const int length = W::mask_snprintf(text, capacity, &mask, restart, &done);
            ASSERT_EQ(strlen(text), length);
            ASSERT_EQ(text[capacity], '#');
            joined.append(joined.empty() || length == 0 ? "" : ",").append(text);
        }
        EXPECT_EQ(joined, list);
        EXPECT_EQ(printf_curr_idx, 0);

        const int length = any_of(-1, W::kBits / 8 + 2);
        const auto used = static_cast<size_t>(std::max(length, 0));
        uint8_t array[40];
        memset(array, 0xEE, sizeof array);
        W::mask_to_bitarray(&mask, array, length);
        for (size_t n = 0; n < used * 8; ++n)
            ASSERT_EQ(array[n / 8] >> n % 8 & 1, n < W::kBits && model[n]);
        EXPECT_EQ(array[used], 0xEE);
        const auto D = this->mask_of(~model);
        BECOMES(model & this->range_of(0, length * 8), from_bitarray, array, length);
    }
}

TYPED_TEST(Masks, WorkedValues) {
    using W = TypeParam;
    auto *mask = W::mask_new();
    EXPECT_EQ(mask->nbytes, W::mask_numbits() / 8);
    W::mask_delete(mask);

    const auto some = this->mask_of(0b1000101110);
    char text[8] = "#######";
    uint8_t done = 9;
    EXPECT_EQ(W::mask_snprintf(text, 3, &some, 1, &done), 0);
    EXPECT_EQ(W::mask_snprintf(nullptr, 0, &some, 1, &done), 0);
    EXPECT_EQ(done, 0);

    const auto printed = [this](auto print, uint32_t bits) {
        const auto shown = this->mask_of(bits);
        return harness::in_child([&] { return print(&shown), 0; }).out;
    };
    EXPECT_EQ(printed(W::mask_printf, 0b1000101110), "1-3,5,9");
    EXPECT_EQ(printed(W::mask_hex_printf, 0b1000101110), "0x1-0x3,0x5,0x9");
    EXPECT_EQ(printed(W::mask_hex_printf, 0x80000003), "0-0x1,0x1f");
    EXPECT_EQ(printed(W::mask_hex_printf, 0), "");
    EXPECT_EQ(printed(W::mask_printf_hex, 0xA510), "08a5" + std::string(W::kBits / 4 - 4, '0'));
}

} // namespace
