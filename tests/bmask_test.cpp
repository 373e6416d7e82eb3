// Masks of both widths against a model that knows only the bit order of the bytes.
#include "bmask/bmask.h"
#include "tests/support/harness.h"

#include <algorithm>
#include <bitset>
#include <climits>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>

namespace {

#define TWIN(N, operation) static constexpr auto mask_##operation = bmask##N##_##operation;
#define WIDTH(N)                                                                                   \
    struct Width##N {                                                                              \
        static constexpr int kBits = N;                                                            \
        using Mask = bmask##N##_t;                                                                 \
        TWIN(N, numbits)                                                                           \
        TWIN(N, new)                                                                               \
        TWIN(N, init)                                                                              \
        TWIN(N, delete)                                                                            \
        TWIN(N, fill) TWIN(N, clear) TWIN(N, copy) TWIN(N, set_bit) TWIN(N, clear_bit) TWIN(       \
            N, is_bit_set) TWIN(N, set_range_value) TWIN(N, set_range) TWIN(N, clear_range)        \
            TWIN(N, union) TWIN(N, intersection) TWIN(N, subtract) TWIN(N, revert) TWIN(N, xor)    \
                TWIN(N, maskcopy) TWIN(N, maskunion) TWIN(N, maskintersect) TWIN(N, masksubtract)  \
                    TWIN(N, maskrevert) TWIN(N, union_range) TWIN(N, intersection_range)           \
                        TWIN(N, subtract_range) TWIN(N, revert_range) TWIN(N, equal)               \
                            TWIN(N, maskequal) TWIN(N, intersects) TWIN(N, subset)                 \
                                TWIN(N, bitcount) TWIN(N, compress) TWIN(N, uncompress)            \
                                    TWIN(N, find_bit) TWIN(N, find_free_bit) TWIN(N,               \
                                                                                  find_prev_bit)   \
                                        TWIN(N, first_bit) TWIN(N, first_free_bit)                 \
                                            TWIN(N, next_bit) TWIN(N, next_free_bit)               \
                                                TWIN(N, nth_bit) TWIN(N, nth_free_bit)             \
                                                    TWIN(N, next_range) TWIN(N, next_free_range)   \
                                                        TWIN(N, is_range_free) TWIN(N, sprintf)    \
                                                            TWIN(N, snprintf) TWIN(N, printf)      \
                                                                TWIN(N, hex_printf)                \
                                                                    TWIN(N, printf_hex)            \
                                                                        TWIN(N, to_bitarray)       \
                                                                            TWIN(N, from_bitarray) \
    }

WIDTH(128);
WIDTH(256);

template <typename Width> class Masks : public testing::Test {
protected:
    using Mask = typename Width::Mask;
    static constexpr int N = Width::kBits;
    using Model = std::bitset<N>;

    static Mask mask_of(const Model &model) {
        Mask mask{N / 8, {}};
        for (size_t n = 0; n < N; ++n)
            mask.bits[n / 8] |= static_cast<uint8_t>(model[n] << (7 - n % 8));
        return mask;
    }

    static Mask mask_of(std::initializer_list<size_t> bits) {
        Model model;
        for (const size_t n : bits)
            model.set(n);
        return mask_of(model);
    }

    static Model model_of(const Mask &mask) {
        EXPECT_EQ(mask.nbytes, N / 8);
        Model model;
        for (size_t n = 0; n < N; ++n)
            model[n] = (mask.bits[n / 8] >> (7 - n % 8) & 1) != 0;
        return model;
    }

    int any_of(int low, int high) { return std::uniform_int_distribution(low, high)(random_); }

    // Few, many or all bits, in runs of any length.
    Model any_model() {
        Model model;
        const int longest_run = 1 << any_of(0, 8);
        bool set = any_of(0, 1) != 0;
        for (size_t n = 0; n < N; set = !set)
            for (int run = any_of(1, longest_run); run > 0 && n < N; --run)
                model[n++] = set;
        return model;
    }

    // A first bit or a count: mostly near the mask, now and then as far away as it gets.
    int any_bound() { return any_of(0, 9) == 0 ? any_of(INT_MIN, INT_MAX) : any_of(-3, N + 3); }

    static Model range_of(int64_t first, int64_t count) {
        Model model;
        for (int n = 0; n < N; ++n)
            model[static_cast<size_t>(n)] = n >= first && n < first + count;
        return model;
    }

    // The n-th bit at start or above that is set in the model, or -1.
    static int lowest(const Model &model, int64_t start, int rank = 0) {
        for (auto n = static_cast<size_t>(std::clamp<int64_t>(start, 0, N)); n < N; ++n)
            if (model[n] && rank-- == 0)
                return static_cast<int>(n);
        return -1;
    }

    using Runs = std::vector<std::pair<size_t, size_t>>;
    static Runs runs_of(const Model &model) {
        Runs runs;
        for (size_t n = 0; n < N; ++n)
            if (model[n] && n > 0 && model[n - 1])
                runs.back().second = n;
            else if (model[n])
                runs.emplace_back(n, n);
        return runs;
    }

    static std::string list_of(const Model &model) {
        std::string list;
        for (const auto &[first, last] : runs_of(model)) {
            list.append(list.empty() ? "" : ",").append(std::to_string(first));
            if (first != last)
                list.append("-").append(std::to_string(last));
        }
        return list;
    }

    std::mt19937 random_{20};
};

using Widths = testing::Types<Width128, Width256>;
TYPED_TEST_SUITE(Masks, Widths);

TYPED_TEST(Masks, AlgebraAndComparisonsFollowTheModel) {
    using W = TypeParam;
    for (int round = 0; round < 1000; ++round) {
        const auto d = this->any_model();
        const auto a = this->any_model();
        const auto m = this->any_model();
        const auto mask_d = this->mask_of(d);
        const auto mask_a = this->mask_of(a);
        const auto mask_m = this->mask_of(m);
        const auto *pd = &mask_d;
        const auto *pa = &mask_a;
        const auto *pm = &mask_m;
        const auto changes = [&](const char *name, const auto &expected, auto change) {
            auto dst = mask_d;
            change(&dst);
            EXPECT_EQ(this->model_of(dst), expected) << name;
        };
        const typename TestFixture::Model none;
        changes("fill", ~none, [](auto *dst) { W::mask_fill(dst); });
        changes("clear", none, [](auto *dst) { W::mask_clear(dst); });
        changes("init", none, [](auto *dst) { EXPECT_EQ(W::mask_init(dst), dst); });
        changes("copy", a, [&](auto *dst) { W::mask_copy(dst, pa); });
        changes("union", d | a, [&](auto *dst) { W::mask_union(dst, pa); });
        changes("intersection", d & a, [&](auto *dst) { W::mask_intersection(dst, pa); });
        changes("subtract", d & ~a, [&](auto *dst) { W::mask_subtract(dst, pa); });
        changes("subtract itself", none, [](auto *dst) { W::mask_subtract(dst, dst); });
        changes("revert", ~d, [](auto *dst) { W::mask_revert(dst); });
        changes("xor", a ^ m, [&](auto *dst) { W::mask_xor(dst, pa, pm); });
        changes("xor into b", a ^ d, [&](auto *dst) { W::mask_xor(dst, pa, dst); });
        changes("maskcopy", (a & m) | (d & ~m), [&](auto *dst) { W::mask_maskcopy(dst, pa, pm); });
        changes("maskunion", d | (a & m), [&](auto *dst) { W::mask_maskunion(dst, pa, pm); });
        changes("maskintersect", d & (a | ~m),
                [&](auto *dst) { W::mask_maskintersect(dst, pa, pm); });
        changes("masksubtract", d & ~(a & m),
                [&](auto *dst) { W::mask_masksubtract(dst, pa, pm); });
        changes("maskrevert", d ^ m, [&](auto *dst) { W::mask_maskrevert(dst, pm); });

        const int n = this->any_bound();
        const int count = this->any_bound();
        const auto bit = this->range_of(n, 1);
        const auto range = this->range_of(n, count);
        changes("set_bit", d | bit, [&](auto *dst) { W::mask_set_bit(dst, n); });
        changes("clear_bit", d & ~bit, [&](auto *dst) { W::mask_clear_bit(dst, n); });
        EXPECT_EQ(W::mask_is_bit_set(pd, n), (d & bit).any());
        changes("set_range", d | range, [&](auto *dst) { W::mask_set_range(dst, n, count); });
        changes("clear_range", d & ~range, [&](auto *dst) { W::mask_clear_range(dst, n, count); });
        changes("set_range_value 0", d & ~range,
                [&](auto *dst) { W::mask_set_range_value(dst, n, count, 0); });
        changes("set_range_value -1", d | range,
                [&](auto *dst) { W::mask_set_range_value(dst, n, count, -1); });
        changes("union_range", d | (a & range),
                [&](auto *dst) { W::mask_union_range(dst, pa, n, count); });
        changes("intersection_range", d & (a | ~range),
                [&](auto *dst) { W::mask_intersection_range(dst, pa, n, count); });
        changes("subtract_range", d & ~(a & range),
                [&](auto *dst) { W::mask_subtract_range(dst, pa, n, count); });
        changes("revert_range", d ^ range, [&](auto *dst) { W::mask_revert_range(dst, n, count); });

        const auto common = this->mask_of(d & a);
        EXPECT_EQ(W::mask_equal(pd, pa), d == a);
        EXPECT_EQ(W::mask_equal(pd, pd), 1);
        EXPECT_EQ(W::mask_maskequal(pd, pa, pm), ((d ^ a) & m).none());
        EXPECT_EQ(W::mask_maskequal(pd, &common, pa), 1);
        EXPECT_EQ(W::mask_intersects(pd, pa), (d & a).any());
        EXPECT_EQ(W::mask_subset(pd, pa), (d & ~a).none());
        EXPECT_EQ(W::mask_subset(&common, pa), 1);
        EXPECT_EQ(W::mask_bitcount(pd), static_cast<int>(d.count()));

        uint8_t packed[W::kBits / 8];
        auto unpacked = mask_a;
        const int size = W::mask_compress(pd, packed, sizeof packed);
        EXPECT_EQ(W::mask_uncompress(&unpacked, packed, static_cast<uint32_t>(size)), 0);
        EXPECT_EQ(this->model_of(unpacked), d);
    }
}

TYPED_TEST(Masks, SearchesFollowTheModel) {
    using W = TypeParam;
    for (int round = 0; round < 1000; ++round) {
        const auto set = this->any_model();
        const auto free = ~set;
        const auto mask = this->mask_of(set);
        const int n = this->any_bound();
        const int k = this->any_bound();
        EXPECT_EQ(W::mask_find_bit(&mask, n), this->lowest(set, n));
        EXPECT_EQ(W::mask_find_free_bit(&mask, n), this->lowest(free, n));
        EXPECT_EQ(W::mask_next_bit(&mask, n), this->lowest(set, int64_t{n} + 1));
        EXPECT_EQ(W::mask_next_free_bit(&mask, n), this->lowest(free, int64_t{n} + 1));
        EXPECT_EQ(W::mask_first_bit(&mask), this->lowest(set, 0));
        EXPECT_EQ(W::mask_first_free_bit(&mask), this->lowest(free, 0));
        EXPECT_EQ(W::mask_nth_bit(&mask, k), k < 0 ? -1 : this->lowest(set, 0, k));
        EXPECT_EQ(W::mask_nth_free_bit(&mask, k), k < 0 ? -1 : this->lowest(free, 0, k));
        const auto up_to_n = set & this->range_of(0, int64_t{n} + 1);
        const int below = static_cast<int>(up_to_n.count()) - 1;
        EXPECT_EQ(W::mask_find_prev_bit(&mask, n), below < 0 ? -1 : this->lowest(set, 0, below));
        const bmask_range_t range{n, k};
        const auto beyond_first = this->range_of(int64_t{n} + 1, int64_t{k} - n);
        EXPECT_EQ(W::mask_is_range_free(&mask, &range), (set & beyond_first).none());

        const auto runs_by = [&](auto next) {
            typename TestFixture::Runs runs;
            bmask_range_t run{1, 0};
            while (next(&mask, &run) == 0)
                runs.emplace_back(run.first, run.last);
            return runs;
        };
        EXPECT_EQ(runs_by(W::mask_next_range), this->runs_of(set));
        EXPECT_EQ(runs_by(W::mask_next_free_range), this->runs_of(free));
    }
}

TYPED_TEST(Masks, ListsComeWholeOrInPieces) {
    using W = TypeParam;
    for (int round = 0; round < 300; ++round) {
        const auto model = this->any_model();
        const auto mask = this->mask_of(model);
        const std::string list = this->list_of(model);
        char text[1024];
        EXPECT_EQ(W::mask_sprintf(text, &mask), static_cast<int>(list.size()));
        EXPECT_EQ(text, list);

        std::string joined;
        uint8_t done = 0;
        for (uint8_t restart = 1; done == 0; restart = 0) {
            char piece[40];
            const auto capacity = static_cast<uint32_t>(this->any_of(8, sizeof piece));
            memset(piece, '#', sizeof piece);
            const int length = W::mask_snprintf(piece, capacity, &mask, restart, &done);
            ASSERT_EQ(strlen(piece), length);
            ASSERT_TRUE(
                std::all_of(piece + capacity, std::end(piece), [](char c) { return c == '#'; }));
            joined.append(joined.empty() || length == 0 ? "" : ",").append(piece);
        }
        EXPECT_EQ(joined, list);
        EXPECT_EQ(printf_curr_idx, 0);
    }
}

TYPED_TEST(Masks, BitArraysReverseEveryByte) {
    using W = TypeParam;
    constexpr int kBytes = W::kBits / 8;
    for (int length = -1; length < kBytes + 3; ++length) {
        const auto model = this->any_model();
        const auto mask = this->mask_of(model);
        uint8_t array[kBytes + 4];
        memset(array, 0xEE, sizeof array);
        W::mask_to_bitarray(&mask, array, length);
        const auto used = static_cast<size_t>(std::max(length, 0));
        for (size_t n = 0; n < used * 8; ++n)
            ASSERT_EQ(array[n / 8] >> n % 8 & 1, n < W::kBits && model[n]);
        EXPECT_EQ(array[used], 0xEE);
        auto loaded = this->mask_of(~model);
        W::mask_from_bitarray(&loaded, array, length);
        EXPECT_EQ(this->model_of(loaded), model & this->range_of(0, length * 8));
    }
}

TYPED_TEST(Masks, WorkedValues) {
    using W = TypeParam;
    auto *mask = W::mask_new();
    EXPECT_EQ(W::mask_numbits(), W::kBits);
    EXPECT_EQ(mask->nbytes, W::kBits / 8);
    EXPECT_EQ(W::mask_bitcount(mask), 0);
    W::mask_set_range(mask, 3, 10);
    EXPECT_EQ(memcmp(mask->bits, "\x1F\xF8\0", 3), 0);
    W::mask_delete(mask);

    const auto some = this->mask_of({1, 2, 3, 5, 9});
    const auto empty = this->mask_of({});
    char text[8] = "#######";
    uint8_t done = 9;
    EXPECT_EQ(W::mask_snprintf(text, 6, &some, 1, &done), 5);
    EXPECT_STREQ(text, "1-3,5");
    EXPECT_EQ(done, 0);
    EXPECT_EQ(W::mask_snprintf(text, 3, &some, 1, &done), 0);
    EXPECT_EQ(printf_curr_idx, 0);
    EXPECT_EQ(W::mask_snprintf(nullptr, 0, &some, 1, &done), 0);
    EXPECT_EQ(done, 0);
    EXPECT_EQ(W::mask_snprintf(text, 8, &empty, 1, &done), 0);
    EXPECT_EQ(done, 1);

    // The iteration is over behind a run that leaves no room for another.
    const auto ends = this->mask_of({0, 1, 2, 7, W::kBits - 2});
    bmask_range_t run{7, 7};
    EXPECT_EQ(W::mask_next_range(&ends, &run), 0);
    EXPECT_EQ(W::mask_next_range(&ends, &run), -1);
    EXPECT_EQ(run.last, W::kBits - 2);

    const auto printed = [](auto print, const auto &printed_mask) {
        return harness::in_child([&] { return print(&printed_mask), 0; }).out;
    };
    EXPECT_EQ(printed(W::mask_printf, some), "1-3,5,9");
    EXPECT_EQ(printed(W::mask_hex_printf, some), "0x1-0x3,0x5,0x9");
    EXPECT_EQ(printed(W::mask_hex_printf, this->mask_of({0, 1, 31})), "0-0x1,0x1f");
    EXPECT_EQ(printed(W::mask_hex_printf, empty), "");
    EXPECT_EQ(printed(W::mask_printf_hex, this->mask_of({4, 8, 10, 13, 15})),
              "08a5" + std::string(W::kBits / 4 - 4, '0'));
}

} // namespace
