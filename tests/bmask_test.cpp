// Tests of masks of both widths, with the fuzzer's model and examples.
#include "bmask/bmask.h"
#include "tests/support/replay.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace {

TEST(Masks, FollowTheModel) {
    replay(1000, 1500);
}

// Both widths have the same operations; N is the width in bits.
template <size_t N> struct Example {
    std::vector<std::pair<int32_t, int32_t>> runs; // first bit and number of bits
    const char *text;
    int32_t count;
    int32_t first;
    int32_t first_free;
    int32_t next_after_5;
    int32_t previous_from_100;
};

template <size_t N> std::vector<Example<N>> examples() {
    constexpr int32_t kAll = N;
    return {
        {.runs = {},
         .text = "",
         .count = 0,
         .first = -1,
         .first_free = 0,
         .next_after_5 = -1,
         .previous_from_100 = -1},
        {.runs = {{0, 1}},
         .text = "0",
         .count = 1,
         .first = 0,
         .first_free = 1,
         .next_after_5 = -1,
         .previous_from_100 = 0},
        {.runs = {{1, 3}, {5, 1}, {9, 2}},
         .text = "1-3,5,9-10",
         .count = 6,
         .first = 1,
         .first_free = 0,
         .next_after_5 = 9,
         .previous_from_100 = 10},
        {.runs = {{7, 2}, {63, 2}},
         .text = "7-8,63-64",
         .count = 4,
         .first = 7,
         .first_free = 0,
         .next_after_5 = 7,
         .previous_from_100 = 64},
        {.runs = {{kAll - 1, 1}},
         .text = N == 128 ? "127" : "255",
         .count = 1,
         .first = kAll - 1,
         .first_free = 0,
         .next_after_5 = kAll - 1,
         .previous_from_100 = -1},
        {.runs = {{0, kAll}},
         .text = N == 128 ? "0-127" : "0-255",
         .count = kAll,
         .first = 0,
         .first_free = -1,
         .next_after_5 = 6,
         .previous_from_100 = 100},
    };
}

// The operations of one width.
template <typename Mask> struct Operations {
    void (*set_range)(Mask *, int32_t, int32_t);
    int32_t (*print)(char *, const Mask *);
    int32_t (*count)(const Mask *);
    int32_t (*first)(const Mask *);
    int32_t (*first_free)(const Mask *);
    int32_t (*next)(const Mask *, int32_t);
    int32_t (*previous)(const Mask *, int32_t);
};

template <size_t N, typename Mask>
void expect_examples(const Operations<Mask> &mask_operations, Mask empty) {
    for (const Example<N> &example : examples<N>()) {
        SCOPED_TRACE(std::to_string(N) + " bits: " + example.text);
        Mask mask = empty;
        for (const auto &[first, count] : example.runs)
            mask_operations.set_range(&mask, first, count);
        char text[BMASK256_TEXT_SIZE] = "";
        mask_operations.print(text, &mask);
        EXPECT_STREQ(text, example.text);
        EXPECT_EQ(mask_operations.count(&mask), example.count);
        EXPECT_EQ(mask_operations.first(&mask), example.first);
        EXPECT_EQ(mask_operations.first_free(&mask), example.first_free);
        EXPECT_EQ(mask_operations.next(&mask, 5), example.next_after_5);
        EXPECT_EQ(mask_operations.previous(&mask, 100), example.previous_from_100);
    }
}

TEST(Masks, AreSearchedAndPrintedAsInTheExamples) {
    const Operations<bmask128_t> narrow{
        bmask128_set_range,      bmask128_sprintf,  bmask128_bitcount,     bmask128_first_bit,
        bmask128_first_free_bit, bmask128_next_bit, bmask128_find_prev_bit};
    const Operations<bmask256_t> wide{
        bmask256_set_range,      bmask256_sprintf,  bmask256_bitcount,     bmask256_first_bit,
        bmask256_first_free_bit, bmask256_next_bit, bmask256_find_prev_bit};
    expect_examples<128>(narrow, bmask128_t{BMASK128_BYTES, {}});
    expect_examples<256>(wide, bmask256_t{BMASK256_BYTES, {}});
}

template <typename Mask, typename Print> void expect_no_text(const Mask *mask, Print print) {
    char text[8] = "#######";
    uint8_t done = 9;
    EXPECT_EQ(print(text, 3, mask, 1, &done), 0);
    EXPECT_EQ(print(nullptr, 0, mask, 1, &done), 0);
    EXPECT_EQ(done, 0);
}

TEST(Masks, AreAllocatedForTheirWidthAndPrintedIfTheyFit) {
    bmask128_t *narrow = bmask128_new();
    bmask256_t *wide = bmask256_new();
    EXPECT_EQ(narrow->nbytes * 8, bmask128_numbits());
    EXPECT_EQ(wide->nbytes * 8, bmask256_numbits());
    bmask128_set_range(narrow, 1, 3);
    bmask256_set_range(wide, 1, 3);
    expect_no_text(narrow, bmask128_snprintf);
    expect_no_text(wide, bmask256_snprintf);
    bmask128_delete(narrow);
    bmask256_delete(wide);
}

} // namespace
