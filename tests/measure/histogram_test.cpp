// Histogram and Otsu threshold by handle: check order and codes, bin edges,
// rectangles, and the 16-bit threshold path.
#include <cmath>
#include <vector>

#include "support/support.hpp"

namespace {

using lum::test::Image;
using lum::test::captured_stdout;

TEST(Histogram, ChecksInOrder) {
    Image g(16, 8, lum_fmt_8u, lum_gray), c(16, 8, lum_fmt_8u, lum_color), blank;
    std::vector<uint32_t> counts(8);
    lum_rect wide{1, 0, 16, 8}, neg{0, -1, 4, 4};
    EXPECT_EQ(lum_histogram(blank, 0, 256, counts.data(), 8), -64);
    EXPECT_EQ(lum_histogram_rect(g, &neg, 0, 256, counts.data(), 8), -7);
    EXPECT_EQ(lum_histogram_rect(g, &wide, 0, 256, nullptr, 8), -2);
    EXPECT_EQ(lum_histogram_rect(g, nullptr, 0, 256, counts.data(), 8), -7);
    EXPECT_EQ(lum_histogram(c, 0, 256, nullptr, 0), -1);  // channels before the arguments
    EXPECT_EQ(lum_histogram(g, 0, 256, nullptr, 8), -7);
    EXPECT_EQ(lum_histogram(g, 0, 256, counts.data(), 0), -7);
    EXPECT_EQ(lum_histogram(g, 5, 5, counts.data(), 8), -7);
    EXPECT_EQ(lum_histogram(g, 6, 5, counts.data(), 8), -7);
    int8_t st = 0;
    EXPECT_EQ(captured_stdout([&] { st = lum_histogram(g, 0, 256, counts.data(), -3); }),
              "IPP function failed,return value -13.\n");
    EXPECT_EQ(st, -5);
    Image s16(16, 8, lum_fmt_16s, lum_gray, 16);
    EXPECT_EQ(lum_histogram(s16, 0, 256, counts.data(), 8), -1);
    EXPECT_EQ(lum_histogram(-2, 0, 256, counts.data(), 8), -6);
}

TEST(Histogram, OneBinCountsEveryPixelAndEdgesAreHalfOpen) {
    Image g(300, 7, lum_fmt_8u, lum_gray);
    g.randomize(5);
    uint32_t one = 0;
    ASSERT_EQ(lum_histogram(g, 0, 256, &one, 1), 0);
    EXPECT_EQ(one, 300u * 7);

    // Values 0..255 once each in row 0 of a one-row rectangle.
    for (int x = 0; x < 256; ++x) g.at<uint8_t>(x, 0) = uint8_t(x);
    lum_rect row{0, 0, 256, 1};
    uint32_t counts[5] = {9, 9, 9, 9, 9};
    // Levels 0, 2.5, 5, 7.5, 10: a sample on a level belongs to the bin above it;
    // 10 (the upper bound) and everything above it is not counted.
    ASSERT_EQ(lum_histogram_rect(g, &row, 0, 10, counts, 4), 0);
    EXPECT_EQ(counts[0], 3u);  // 0 1 2
    EXPECT_EQ(counts[1], 2u);  // 3 4
    EXPECT_EQ(counts[2], 3u);  // 5 6 7
    EXPECT_EQ(counts[3], 2u);  // 8 9
    EXPECT_EQ(counts[4], 9u);  // past the bins: untouched
    // Samples below the lower bound are not counted either.
    ASSERT_EQ(lum_histogram_rect(g, &row, 250, 256, counts, 3), 0);
    EXPECT_EQ(counts[0] + counts[1] + counts[2], 6u);
}

TEST(Histogram, SixteenBitAndFloatRectangles) {
    Image a(40, 30, lum_fmt_16u, lum_gray, 12);
    a.randomize(9);
    lum_rect r{5, 6, 20, 10};
    std::vector<uint32_t> counts(16);
    ASSERT_EQ(lum_histogram_rect(a, &r, 0, 4096, counts.data(), 16), 0);
    std::vector<uint32_t> want(16, 0);
    for (int y = 6; y < 16; ++y)
        for (int x = 5; x < 25; ++x) ++want[a.at<uint16_t>(x, y) / 256];
    EXPECT_EQ(counts, want);

    Image f(3, 1, lum_fmt_32f, lum_gray, 32);
    f.at<float>(0, 0) = 0.5f;
    f.at<float>(1, 0) = 1.0f;   // the upper bound: not counted
    f.at<float>(2, 0) = NAN;    // not counted anywhere
    uint32_t two[2];
    ASSERT_EQ(lum_histogram(f, 0, 1, two, 2), 0);
    EXPECT_EQ(two[0], 0u);
    EXPECT_EQ(two[1], 1u);  // 0.5 sits on the middle level
}

TEST(Otsu, ChecksInOrder) {
    Image g(16, 8, lum_fmt_8u, lum_gray), c(16, 8, lum_fmt_8u, lum_color), blank;
    Image s16(16, 8, lum_fmt_16s, lum_gray, 16), f(16, 8, lum_fmt_32f, lum_gray, 32);
    int32_t t = -99;
    lum_rect edge{4, 0, 12, 8}, wide{4, 0, 13, 8}, flat{0, 0, 4, 0};
    EXPECT_EQ(lum_otsu_get_threshold(blank, &t), -64);
    EXPECT_EQ(lum_otsu_get_threshold_rect(g, &edge, &t), 0);
    EXPECT_EQ(lum_otsu_get_threshold_rect(g, &wide, &t), -2);
    EXPECT_EQ(lum_otsu_get_threshold_rect(g, &flat, &t), -7);
    EXPECT_EQ(lum_otsu_get_threshold(c, nullptr), -1);  // channels before the output
    EXPECT_EQ(lum_otsu_get_threshold(g, nullptr), -7);
    t = -99;
    EXPECT_EQ(lum_otsu_get_threshold(s16, &t), -1);
    EXPECT_EQ(lum_otsu_get_threshold(f, &t), -1);
    EXPECT_EQ(t, -99);
}

TEST(Otsu, EightBitTwoLevelsGiveTheLowerOne) {
    Image g(20, 10, lum_fmt_8u, lum_gray);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 20; ++x) g.at<uint8_t>(x, y) = (x + y) % 2 ? 200 : 10;
    int32_t t = -1;
    ASSERT_EQ(lum_otsu_get_threshold(g, &t), 0);
    EXPECT_EQ(t, 10);
    // A rectangle is measured where it lies: only the 200s of column 1 and 3.
    for (int y = 0; y < 10; ++y) g.at<uint8_t>(1, y) = 200, g.at<uint8_t>(3, y) = 60;
    lum_rect r{1, 0, 3, 10};
    ASSERT_EQ(lum_otsu_get_threshold_rect(g, &r, &t), 0);
    EXPECT_GE(t, 60);
    EXPECT_LT(t, 200);
}

}  // namespace
