// Masks of both widths: the fuzzer's model of all that is calculated and printed, and the rest.
#include "bmask/bmask.h"
#include "tests/support/replay.h"

#include <gtest/gtest.h>

namespace {

TEST(Masks, FollowTheModel) {
    replay(1000, 1500);
}

template <typename Mask, typename Print> void expect_no_text(const Mask *mask, Print print) {
    char text[8] = "#######";
    uint8_t done = 9;
    EXPECT_EQ(print(text, 3, mask, 1, &done), 0);
    EXPECT_EQ(print(nullptr, 0, mask, 1, &done), 0);
    EXPECT_EQ(done, 0);
}

TEST(Masks, AreMadeForTheirWidthAndPrintedWhereTheyFit) {
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
