// Histogram and Otsu threshold by handle: check order and codes, bin edges,
// rectangles, and the 16-bit threshold path.
#include <algorithm>
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
    Image w16(16, 8, lum_fmt_16u, lum_gray);
    EXPECT_EQ(lum_otsu_get_threshold(w16, nullptr), -7);
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

TEST(Otsu, SixteenBitThresholdComesBackInSixteenBitUnits) {
    Image w(30, 20, lum_fmt_16u, lum_gray);
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 30; ++x) w.at<uint16_t>(x, y) = (x + y) % 3 ? 1000 : 3000;
    int32_t t = -1;
    ASSERT_EQ(lum_otsu_get_threshold(w, &t), 0);
    EXPECT_GE(t, 1000);
    EXPECT_LT(t, 3000);
    // A constant image gives its own value.
    Image c(9, 9, lum_fmt_16u, lum_gray);
    for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 9; ++x) c.at<uint16_t>(x, y) = 4321;
    ASSERT_EQ(lum_otsu_get_threshold(c, &t), 0);
    EXPECT_EQ(t, 4321);
}

// Samples 257 * v span the whole 16-bit range when v spans 0..255, so the
// rescaled image is v itself and the threshold is 257 times the 8-bit one.
// The 16-bit path is the 8-bit threshold of the image scaled through its
// extremes and narrowed, mapped back: the same steps run one by one through
// the interface give the same threshold, for the whole image and for a
// rectangle (measured at the top-left corner).
TEST(Otsu, SixteenBitPathFollowsScalingAndNarrowing) {
    std::mt19937 rng(11);
    for (int round = 0; round < 16; ++round) {
        const int w = 9 + round * 13, h = 5 + round * 3;
        Image wide(w, h, lum_fmt_16u, lum_gray, 12), scaled(w, h, lum_fmt_16u, lum_gray), narrow(w, h, lum_fmt_8u, lum_gray);
        const int base = int(rng() % 2000), spread = 1 + int(rng() % 2000);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) wide.at<uint16_t>(x, y) = uint16_t(base + int(rng() % spread) * (rng() % 3 ? 1 : 2));
        uint16_t lo = 0, hi = 0;
        ASSERT_EQ(lum_img_min_max(wide, &lo, &hi), 0);
        if (lo == hi) continue;
        const double a = 255.0 / double(hi - lo), b = -double(lo) * a;
        ASSERT_EQ(lum_scale(wide, scaled, a, b), 0);
        ASSERT_EQ(lum_convert(scaled, narrow), 0);
        for (const lum_rect r : {lum_rect{0, 0, w, h}, lum_rect{3, 2, w - 4, h - 3}}) {
            const lum_rect at_origin{0, 0, r.width, r.height};
            int32_t t8 = -1, t16 = -1;
            ASSERT_EQ(lum_otsu_get_threshold_rect(narrow, &at_origin, &t8), 0);
            ASSERT_EQ(lum_otsu_get_threshold_rect(wide, &r, &t16), 0);
            EXPECT_EQ(t16, int32_t((double(t8) - b) / a)) << "round " << round << " width " << r.width;
        }
    }
}

TEST(Otsu, SixteenBitPathMatchesTheEightBitImageItRescalesTo) {
    std::mt19937 rng(3);
    for (int round = 0; round < 12; ++round) {
        const int w = 20 + round * 7, h = 11 + round;
        Image g(w, h, lum_fmt_8u, lum_gray), wide(w, h, lum_fmt_16u, lum_gray);
        const int a = int(rng() % 120), b = 130 + int(rng() % 120);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const int centre = rng() % 3 ? a : b;
                g.at<uint8_t>(x, y) = uint8_t(std::clamp(centre + int(rng() % 41) - 20, 0, 255));
            }
        g.at<uint8_t>(0, 0) = 0;
        g.at<uint8_t>(w - 1, h - 1) = 255;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) wide.at<uint16_t>(x, y) = uint16_t(257 * g.at<uint8_t>(x, y));
        int32_t t8 = -1, t16 = -1;
        ASSERT_EQ(lum_otsu_get_threshold(g, &t8), 0);
        ASSERT_EQ(lum_otsu_get_threshold(wide, &t16), 0);
        EXPECT_NEAR(t16, 257 * t8, 1) << "round " << round;

        // The rectangle's size is measured at the rescaled image's top-left corner.
        lum_rect r{10, 5, w - 12, h - 6}, at_origin{0, 0, w - 12, h - 6};
        ASSERT_EQ(lum_otsu_get_threshold_rect(g, &at_origin, &t8), 0);
        ASSERT_EQ(lum_otsu_get_threshold_rect(wide, &r, &t16), 0);
        EXPECT_NEAR(t16, 257 * t8, 1) << "round " << round;
    }
}

}  // namespace
