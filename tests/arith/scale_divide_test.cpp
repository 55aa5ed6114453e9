// Division, scaling, logarithm and level adjustment through the C interface:
// the numbers that pin behaviour, the order of the codes, and what is left
// alone.
#include <algorithm>
#include <cmath>

#include "arith/arith_support.hpp"

namespace {

using lum::test::fill;
using lum::test::Image;
using lum::test::sample;

TEST(DivI, DividesTheSecondImageAndWarnsOnZero) {
    Image a(3, 2, lum_fmt_8u, lum_gray), b(3, 2, lum_fmt_8u, lum_gray);
    fill<uint8_t>(a, 4);
    fill<uint8_t>(b, 100);
    sample<uint8_t>(b, 1, 0) = 10;  // 2.5 -> 2
    ASSERT_EQ(lum_divI(a, b), 0);
    EXPECT_EQ(sample<uint8_t>(b, 0, 0), 25);
    EXPECT_EQ(sample<uint8_t>(b, 1, 0), 2);
    EXPECT_EQ(sample<uint8_t>(a, 0, 0), 4);

    sample<uint8_t>(a, 0, 1) = 0;
    sample<uint8_t>(a, 1, 1) = 0;
    sample<uint8_t>(b, 1, 1) = 0;
    int8_t status = -1;
    const std::string out = lum::test::captured_stdout([&] { status = lum_divI(a, b); });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(out, "IPP function failed,return value 6.\n");
    EXPECT_EQ(sample<uint8_t>(b, 0, 1), 255);
    EXPECT_EQ(sample<uint8_t>(b, 1, 1), 0);

    Image f(2, 2, lum_fmt_32f, lum_color), g(2, 2, lum_fmt_32f, lum_color);
    fill<float>(f, 4.0f);
    fill<float>(g, 1.0f);
    ASSERT_EQ(lum_divI(f, g), 0);
    EXPECT_EQ(sample<float>(g, 5, 1), 0.25f);
}

TEST(DivI, RunsOverTheFirstImagesSizeAndChecksInOrder) {
    Image a(2, 2, lum_fmt_16u, lum_gray), b(4, 3, lum_fmt_16u, lum_gray);
    fill<uint16_t>(a, 3);
    fill<uint16_t>(b, 300);
    ASSERT_EQ(lum_divI(a, b), 0);
    EXPECT_EQ(sample<uint16_t>(b, 1, 1), 100);
    EXPECT_EQ(sample<uint16_t>(b, 2, 1), 300);
    EXPECT_EQ(sample<uint16_t>(b, 0, 2), 300);
    Image c(2, 2, lum_fmt_8u, lum_gray), s16(2, 2, lum_fmt_16s, lum_gray), s16b(2, 2, lum_fmt_16s, lum_gray), empty;
    EXPECT_EQ(lum_divI(a, c), -4);
    EXPECT_EQ(lum_divI(s16, s16b), -1);
    EXPECT_EQ(lum_divI(a, empty), -64);
    // A smaller b would be written past its buffer: refused.
    Image big(8, 8, lum_fmt_16u, lum_gray), small(2, 2, lum_fmt_16u, lum_gray);
    EXPECT_EQ(lum_divI(big, small), -2);
}

TEST(Scale, ExamplesAcrossFormats) {
    Image s(2, 1, lum_fmt_8u, lum_gray), d(2, 1, lum_fmt_8u, lum_gray);
    sample<uint8_t>(s, 0, 0) = 100;
    sample<uint8_t>(s, 1, 0) = 200;
    ASSERT_EQ(lum_scale(s, d, 2.0, 10.0), 0);
    EXPECT_EQ(sample<uint8_t>(d, 0, 0), 210);
    EXPECT_EQ(sample<uint8_t>(d, 1, 0), 255);

    Image w(2, 1, lum_fmt_16u, lum_gray, 12), n(2, 1, lum_fmt_8u, lum_gray);
    sample<uint16_t>(w, 0, 0) = 4095;
    ASSERT_EQ(lum_scale(w, n, 255.0 / 4095.0, 0.0), 0);
    EXPECT_EQ(sample<uint8_t>(n, 0, 0), 255);
    EXPECT_EQ(sample<uint8_t>(n, 1, 0), 0);

    Image f(2, 1, lum_fmt_32f, lum_gray);
    ASSERT_EQ(lum_scale(s, f, 0.1, 0.3), 0);
    EXPECT_EQ(sample<float>(f, 0, 0), float(100 * 0.1 + 0.3));
}

TEST(Scale, RegionWidthCountsSamples) {
    Image c(10, 2, lum_fmt_8u, lum_color);
    fill<uint8_t>(c, 10);
    ASSERT_EQ(lum_scaleI(c, 2.0, 0.0), 0);
    for (int i = 0; i < 30; ++i) EXPECT_EQ(sample<uint8_t>(c, i, 1), i < 10 ? 20 : 10) << i;

    Image s(4, 2, lum_fmt_16u, lum_color), d(4, 2, lum_fmt_16u, lum_gray);
    fill<uint16_t>(s, 7);
    ASSERT_EQ(lum_scale_rect(s, {1, 0}, d, {0, 1}, {3, 1}, 1.0, 1.0), 0);
    EXPECT_EQ(sample<uint16_t>(d, 0, 1), 8);  // source row starts at pixel 1 (sample 3), three samples
    EXPECT_EQ(sample<uint16_t>(d, 2, 1), 8);
    EXPECT_EQ(sample<uint16_t>(d, 3, 1), 0);
}

TEST(Scale, CodesInOrder) {
    Image s(4, 4, lum_fmt_8u, lum_gray), d(4, 4, lum_fmt_8u, lum_gray), small(3, 4, lum_fmt_8u, lum_gray);
    Image s16(4, 4, lum_fmt_16s, lum_gray), empty;
    EXPECT_EQ(lum_scale(s, small, 1, 0), -2);
    EXPECT_EQ(lum_scale(s, s16, 1, 0), -1);
    EXPECT_EQ(lum_scale(s16, s, 1, 0), -1);
    EXPECT_EQ(lum_scale(empty, d, 1, 0), -64);
    EXPECT_EQ(lum_scale(s, empty, 1, 0), -64);
    EXPECT_EQ(lum_scale_rect(s, {0, 0}, empty, {0, 0}, {5, 1}, 1, 0), -2);  // source region first
    EXPECT_EQ(lum_scale_rect(s, {-1, 0}, d, {0, 0}, {1, 1}, 1, 0), -7);
    EXPECT_EQ(lum_scale_rect(s, {0, 0}, d, {0, -1}, {1, 1}, 1, 0), -7);
    EXPECT_EQ(lum_scale_rect(s, {0, 0}, d, {0, 0}, {1, 0}, 1, 0), -7);
    EXPECT_EQ(lum_scale_rect(s, {0, 0}, d, {3, 3}, {2, 1}, 1, 0), -2);
    const lum_rect flat{0, 0, 0, 1}, past{1, 0, 4, 1};
    EXPECT_EQ(lum_scaleI_rect(s, 1, 0, &flat), -7);
    EXPECT_EQ(lum_scaleI_rect(s, 1, 0, &past), -2);
    EXPECT_EQ(lum_scaleI(s16, 1, 0), -1);
    EXPECT_EQ(lum_scaleI(empty, 1, 0), -64);
}

TEST(LnI, OneChannelFloatOnly) {
    Image f(3, 1, lum_fmt_32f, lum_gray);
    sample<float>(f, 0, 0) = 1.0f;
    sample<float>(f, 1, 0) = 2.7182817f;
    sample<float>(f, 2, 0) = 10.0f;
    ASSERT_EQ(lum_lnI(f), 0);
    EXPECT_EQ(sample<float>(f, 0, 0), 0.0f);
    EXPECT_NEAR(sample<float>(f, 1, 0), 1.0f, 1e-6f);
    EXPECT_NEAR(sample<float>(f, 2, 0), std::log(10.0f), 1e-6f);

    sample<float>(f, 0, 0) = 0.0f;
    int8_t status = -1;
    EXPECT_EQ(lum::test::captured_stdout([&] { status = lum_lnI(f); }), "IPP function failed,return value 7.\n");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(sample<float>(f, 0, 0), -HUGE_VALF);

    Image b(3, 1, lum_fmt_8u, lum_gray), c(3, 1, lum_fmt_32f, lum_color), w(3, 1, lum_fmt_16u, lum_color), empty;
    EXPECT_EQ(lum_lnI(b), -1);
    EXPECT_EQ(lum_lnI(c), -1);
    EXPECT_EQ(lum_lnI(w), -1);
    EXPECT_EQ(lum_lnI(empty), -64);
    EXPECT_EQ(lum_lnI(-2), -6);
}

TEST(Adjust, StretchesWithTruncatedLowAndExactFactor) {
    Image s(5, 1, lum_fmt_8u, lum_gray), d(5, 1, lum_fmt_8u, lum_gray);
    const uint8_t in[5] = {50, 200, 125, 30, 250};
    for (int i = 0; i < 5; ++i) sample<uint8_t>(s, i, 0) = in[i];
    double low = 50, high = 200;
    ASSERT_EQ(lum_adjust(s, d, &low, &high), 0);
    const uint8_t want[5] = {0, 255, 128, 0, 255};
    for (int i = 0; i < 5; ++i) EXPECT_EQ(sample<uint8_t>(d, i, 0), want[i]) << i;

    low = 50.9;  // subtracts 50, divides by 149.1
    ASSERT_EQ(lum_adjust(s, d, &low, &high), 0);
    EXPECT_EQ(sample<uint8_t>(d, 2, 0), uint8_t(std::nearbyint(75 * 255 / 149.1)));

    Image d7(5, 1, lum_fmt_8u, lum_gray, 7);
    low = 50;
    ASSERT_EQ(lum_adjust(s, d7, &low, &high), 0);
    EXPECT_EQ(sample<uint8_t>(d7, 1, 0), 127);
    EXPECT_EQ(sample<uint8_t>(d7, 4, 0), 169);  // 200 × 127 / 150: above high is not limited to 127
}

TEST(Adjust, LargeColourImagesFollowTheFormula) {
    Image s(500, 70, lum_fmt_8u, lum_color), d(500, 70, lum_fmt_8u, lum_color);
    s.randomize(21);
    const double low[3] = {20.7, 0, 100}, high[3] = {180, 255, 130.5};
    ASSERT_EQ(lum_adjust(s, d, low, high), 0);
    for (int y = 0; y < 70; ++y)
        for (int i = 0; i < 1500; ++i) {
            const int c = i % 3;
            const int base = std::max(0, sample<uint8_t>(s, i, y) - int(low[c]));
            const double v = std::nearbyint(base * (255.0 / (high[c] - low[c])));
            ASSERT_EQ(sample<uint8_t>(d, i, y), v > 255 ? 255 : int(v)) << i << "," << y;
        }
}

TEST(Adjust, ThreeChannelsUseTheirOwnLevelsAndCodesComeInOrder) {
    Image s(2, 1, lum_fmt_8u, lum_color), d(2, 1, lum_fmt_8u, lum_color);
    fill<uint8_t>(s, 100);
    const double low[3] = {0, 50, 100}, high[3] = {255, 150, 200};
    ASSERT_EQ(lum_adjust(s, d, low, high), 0);
    EXPECT_EQ(sample<uint8_t>(d, 3, 0), 100);
    EXPECT_EQ(sample<uint8_t>(d, 4, 0), uint8_t(std::nearbyint(50 * (255.0 / 100))));  // 127: 2.55 is just below
    EXPECT_EQ(sample<uint8_t>(d, 5, 0), 0);

    Image w(2, 1, lum_fmt_16u, lum_color), w2(2, 1, lum_fmt_16u, lum_color), g(2, 1, lum_fmt_8u, lum_gray);
    Image small(1, 1, lum_fmt_8u, lum_color), empty;
    EXPECT_EQ(lum_adjust(s, w, low, high), -4);
    EXPECT_EQ(lum_adjust(s, g, low, high), -4);
    EXPECT_EQ(lum_adjust(w, w2, low, high), -1);
    EXPECT_EQ(lum_adjust(s, small, low, high), -2);
    EXPECT_EQ(lum_adjust(empty, d, low, high), -64);
    EXPECT_EQ(lum_adjust(s, empty, low, high), -64);
    EXPECT_EQ(lum_adjust(s, d, nullptr, high), -7);
}

}  // namespace
