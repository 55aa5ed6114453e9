// Shifts in place and into a second image through the C interface: the
// valid-bits test of right shifts, shift-then-narrow and widen-then-shift,
// and the order of the region checks.
#include "arith/arith_support.hpp"

namespace {

using lum::test::fill;
using lum::test::Image;
using lum::test::sample;

TEST(ShiftInPlace, ShiftsLogicallyAndTestsRightCountsAgainstValidBits) {
    Image a(4, 2, lum_fmt_16u, lum_gray, 12);
    fill<uint16_t>(a, 4095);
    EXPECT_EQ(lum_RShiftI(a, 13), -3);
    ASSERT_EQ(lum_RShiftI(a, 4), 0);
    EXPECT_EQ(sample<uint16_t>(a, 3, 1), 255);
    ASSERT_EQ(lum_LShiftI(a, 12), 0);  // no clamp: above the valid bits
    EXPECT_EQ(sample<uint16_t>(a, 3, 1), 0xF000);
    ASSERT_EQ(lum_RShiftI(a, 12), 0);  // a count equal to the valid bits passes
    EXPECT_EQ(sample<uint16_t>(a, 3, 1), 0xF);

    Image b(4, 2, lum_fmt_8u, lum_gray);
    fill<uint8_t>(b, 0x1F);
    ASSERT_EQ(lum_LShiftI(b, 4), 0);
    EXPECT_EQ(sample<uint8_t>(b, 0, 0), 0xF0);
    ASSERT_EQ(lum_LShiftI(b, 40), 0);  // beyond the sample width: all zero
    EXPECT_EQ(sample<uint8_t>(b, 0, 0), 0);
}

TEST(ShiftInPlace, RectangleAndCodes) {
    Image a(5, 3, lum_fmt_8u, lum_gray);
    fill<uint8_t>(a, 1);
    const lum_rect r{1, 1, 2, 1}, past{4, 0, 2, 1};
    ASSERT_EQ(lum_LShiftI_rect(a, 3, &r), 0);
    EXPECT_EQ(sample<uint8_t>(a, 1, 1), 8);
    EXPECT_EQ(sample<uint8_t>(a, 2, 1), 8);
    EXPECT_EQ(sample<uint8_t>(a, 3, 1), 1);
    EXPECT_EQ(sample<uint8_t>(a, 1, 0), 1);
    EXPECT_EQ(lum_LShiftI_rect(a, 1, &past), -2);
    EXPECT_EQ(lum_RShiftI_rect(a, 9, &past), -2);  // rectangle before the valid bits
    Image c(5, 3, lum_fmt_8u, lum_color), f(5, 3, lum_fmt_32f, lum_gray), empty;
    EXPECT_EQ(lum_LShiftI(c, 1), -1);
    EXPECT_EQ(lum_RShiftI(c, 1), -1);
    EXPECT_EQ(lum_LShiftI(f, 1), -1);
    EXPECT_EQ(lum_RShiftI(empty, 1), -64);
}

TEST(ShiftInto, NarrowsAfterShiftingAndWidensBeforeShifting) {
    Image s(3, 1, lum_fmt_16u, lum_gray, 12), d(3, 1, lum_fmt_8u, lum_gray);
    sample<uint16_t>(s, 0, 0) = 4095;
    sample<uint16_t>(s, 1, 0) = 1000;
    sample<uint16_t>(s, 2, 0) = 4095;
    ASSERT_EQ(lum_RShift(s, d, 4), 0);
    EXPECT_EQ(sample<uint8_t>(d, 0, 0), 255);
    EXPECT_EQ(sample<uint8_t>(d, 1, 0), 62);
    ASSERT_EQ(lum_RShift(s, d, 2), 0);
    EXPECT_EQ(sample<uint8_t>(d, 1, 0), 250);
    ASSERT_EQ(lum_RShift(s, d, 3), 0);
    EXPECT_EQ(sample<uint8_t>(d, 0, 0), 255);  // 511 saturated

    Image b(2, 1, lum_fmt_8u, lum_gray), w(2, 1, lum_fmt_16u, lum_gray);
    sample<uint8_t>(b, 0, 0) = 200;
    ASSERT_EQ(lum_LShift(b, w, 2), 0);
    EXPECT_EQ(sample<uint16_t>(w, 0, 0), 800);
    Image b2(2, 1, lum_fmt_8u, lum_gray), w2(2, 1, lum_fmt_16u, lum_gray);
    ASSERT_EQ(lum_LShift(b, b2, 2), 0);
    EXPECT_EQ(sample<uint8_t>(b2, 0, 0), 32);  // 800 & 0xFF
    ASSERT_EQ(lum_RShift(w, w2, 3), 0);
    EXPECT_EQ(sample<uint16_t>(w2, 0, 0), 100);
}

TEST(ShiftInto, LargeRegionsMatchTheSampleBySampleRule) {
    Image s(700, 90, lum_fmt_16u, lum_gray), d(701, 91, lum_fmt_8u, lum_gray);
    Image b(700, 90, lum_fmt_8u, lum_gray), w(700, 90, lum_fmt_16u, lum_gray);
    s.randomize(11);
    b.randomize(12);
    ASSERT_EQ(lum_RShift_rect(s, {0, 0}, d, {1, 1}, {700, 90}, 3), 0);
    ASSERT_EQ(lum_LShift(b, w, 9), 0);
    for (int y = 0; y < 90; ++y)
        for (int x = 0; x < 700; ++x) {
            const int shifted = sample<uint16_t>(s, x, y) >> 3;
            ASSERT_EQ(sample<uint8_t>(d, x + 1, y + 1), shifted > 255 ? 255 : shifted) << x << "," << y;
            ASSERT_EQ(sample<uint16_t>(w, x, y), uint16_t(sample<uint8_t>(b, x, y) << 9)) << x << "," << y;
        }
    EXPECT_EQ(sample<uint8_t>(d, 0, 0), 0);
}

TEST(ShiftInto, RegionsAndCodesInOrder) {
    Image s(8, 6, lum_fmt_16u, lum_gray), d(8, 6, lum_fmt_16u, lum_gray), small(4, 4, lum_fmt_16u, lum_gray);
    s.randomize(1);
    ASSERT_EQ(lum_LShift_rect(s, {2, 1}, d, {5, 3}, {3, 3}, 1), 0);
    EXPECT_EQ(sample<uint16_t>(d, 5, 3), uint16_t(sample<uint16_t>(s, 2, 1) << 1));
    EXPECT_EQ(sample<uint16_t>(d, 7, 5), uint16_t(sample<uint16_t>(s, 4, 3) << 1));
    EXPECT_EQ(sample<uint16_t>(d, 4, 3), 0);
    Image empty, c3(8, 6, lum_fmt_16u, lum_color), f(8, 6, lum_fmt_32f, lum_gray);
    EXPECT_EQ(lum_RShift(s, small, 1), -2);  // the destination is smaller than the source
    EXPECT_EQ(lum_RShift_rect(s, {0, 0}, d, {0, 0}, {9, 1}, 1), -2);
    EXPECT_EQ(lum_RShift_rect(s, {0, 0}, d, {-1, 0}, {1, 1}, 1), -7);
    EXPECT_EQ(lum_RShift_rect(s, {0, 0}, d, {0, 0}, {0, 1}, 1), -7);
    EXPECT_EQ(lum_RShift_rect(s, {0, 0}, d, {0, 0}, {1, 1}, 1), 0);
    EXPECT_EQ(lum_RShift_rect(s, {0, 0}, d, {8, 0}, {1, 1}, 1), -2);  // one column past the destination
    EXPECT_EQ(lum_RShift_rect(s, {8, 0}, empty, {0, 0}, {1, 1}, 1), -2);  // source region before -64
    EXPECT_EQ(lum_RShift(s, empty, 1), -64);
    EXPECT_EQ(lum_RShift(c3, d, 1), -65);
    EXPECT_EQ(lum_RShift(s, f, 1), -1);
    EXPECT_EQ(lum_RShift(empty, d, 1), -64);
    EXPECT_EQ(lum_LShift(s, -3, 1), -6);
}

}  // namespace
