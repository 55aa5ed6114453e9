// Image statistics by handle: check order and codes, the one-channel reading
// of the sum, totals beyond 32 bits, per-channel extremes, which image
// receives max/min every, and the silent success for 16s and 32f.
#include <algorithm>
#include <cmath>
#include <memory>

#include "support/support.hpp"

namespace {

using lum::test::Image;
using lum::test::captured_stdout;

TEST(ImageStats, RectangleChecksInOrder) {
    Image im(20, 10, lum_fmt_8u, lum_gray);
    double s, m, d;
    uint8_t lo, hi;
    lum_rect all{0, 0, 20, 10}, wide{0, 0, 21, 10}, tall{1, 1, 19, 10}, neg{-1, 0, 5, 5}, flat{0, 0, 0, 5};
    EXPECT_EQ(lum_sum_rect(im, &all, &s), 0);
    EXPECT_EQ(lum_sum_rect(im, &wide, &s), -2);
    EXPECT_EQ(lum_img_min_max_rect(im, &tall, &lo, &hi), -2);
    EXPECT_EQ(lum_img_mean_stddev_rect(im, &neg, &m, &d), -7);
    EXPECT_EQ(lum_sum_rect(im, &flat, &s), -7);
    EXPECT_EQ(lum_sum_rect(im, nullptr, &s), -7);
    // The rectangle is checked before the outputs, the outputs before the format.
    EXPECT_EQ(lum_img_min_max_rect(im, &wide, nullptr, &hi), -2);
    EXPECT_EQ(lum_img_min_max(im, &lo, nullptr), -7);
    EXPECT_EQ(lum_img_mean_stddev(im, nullptr, &d), -7);
    Image s16(4, 4, lum_fmt_16s, lum_gray, 16);
    EXPECT_EQ(lum_img_min_max(s16, nullptr, nullptr), -7);
    EXPECT_EQ(lum_img_min_max(s16, &lo, &hi), -1);
    EXPECT_EQ(lum_sum(s16, &s), -1);
    EXPECT_EQ(lum_img_mean_stddev(s16, &m, &d), -1);
    // Handles and initialisation come first of all.
    Image blank;
    EXPECT_EQ(lum_sum_rect(blank, nullptr, &s), -64);
    EXPECT_EQ(lum_sum(-1, &s), -6);
    EXPECT_EQ(lum_img_mean_stddev(1 << 20, &m, &d), -6);
}

TEST(ImageStats, SumTotalsBeyondThirtyTwoBits) {
    Image a(1000, 1000, lum_fmt_8u, lum_gray);
    for (int y = 0; y < 1000; ++y) std::memset(a.row(y), 255, 1000);
    double s = 0;
    ASSERT_EQ(lum_sum(a, &s), 0);
    EXPECT_EQ(s, 255000000.0);
    Image b(3000, 1000, lum_fmt_16u, lum_gray);
    for (int y = 0; y < 1000; ++y)
        for (int x = 0; x < 3000; ++x) b.at<uint16_t>(x, y) = 65535;
    ASSERT_EQ(lum_sum(b, &s), 0);
    EXPECT_EQ(s, 65535.0 * 3e6);
    lum_rect r{1000, 10, 5, 2};
    b.at<uint16_t>(1000, 10) = 1;
    ASSERT_EQ(lum_sum_rect(b, &r, &s), 0);
    EXPECT_EQ(s, 65535.0 * 9 + 1);
    // A null total reaches the kernel, which refuses it.
    int8_t st = 0;
    EXPECT_EQ(captured_stdout([&] { st = lum_sum(a, nullptr); }), "IPP function failed,return value -8.\n");
    EXPECT_EQ(st, -5);
}

TEST(ImageStats, SumReadsEachRowAsOneChannel) {
    Image c(4, 2, lum_fmt_8u, lum_color);
    for (int y = 0; y < 2; ++y)
        for (int i = 0; i < 12; ++i) c.row(y)[i] = uint8_t(i + 1);
    double s = 0;
    ASSERT_EQ(lum_sum(c, &s), 0);
    EXPECT_EQ(s, 2.0 * (1 + 2 + 3 + 4));  // the first width samples of each row
    lum_rect r{1, 0, 2, 1};
    ASSERT_EQ(lum_sum_rect(c, &r, &s), 0);
    EXPECT_EQ(s, 4.0 + 5.0);  // starts at pixel 1, reads two samples
}

TEST(ImageStats, MinMaxKeepsTypeAndChannels) {
    Image c(33, 9, lum_fmt_8u, lum_color);
    c.randomize(3);
    c.at<uint8_t>(5, 5, 0) = 0, c.at<uint8_t>(6, 5, 1) = 255;
    for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 33; ++x) c.at<uint8_t>(x, y, 2) = uint8_t(100 + (x + y) % 7);
    uint8_t lo[4] = {9, 9, 9, 9}, hi[4] = {9, 9, 9, 9};
    ASSERT_EQ(lum_img_min_max(c, lo, hi), 0);
    EXPECT_EQ(lo[0], 0);
    EXPECT_EQ(hi[1], 255);
    EXPECT_EQ(lo[2], 100);
    EXPECT_EQ(hi[2], 106);
    EXPECT_EQ(lo[3], 9);  // three values, no more
    Image f(5, 5, lum_fmt_32f, lum_gray, 32);
    f.at<float>(2, 3) = -1.5f;
    f.at<float>(4, 4) = 2.25f;
    float flo = 0, fhi = 0;
    ASSERT_EQ(lum_img_min_max(f, &flo, &fhi), 0);
    EXPECT_EQ(flo, -1.5f);
    EXPECT_EQ(fhi, 2.25f);
    lum_rect r{3, 0, 2, 5};
    ASSERT_EQ(lum_img_min_max_rect(f, &r, &flo, &fhi), 0);
    EXPECT_EQ(flo, 0.0f);
    EXPECT_EQ(fhi, 2.25f);
}

TEST(ImageStats, MeanStddevOneChannelOnly) {
    Image a(101, 37, lum_fmt_16u, lum_gray);
    a.randomize(11);
    lum_rect r{3, 4, 90, 30};
    double s = 0, q = 0;
    for (int y = 4; y < 34; ++y)
        for (int x = 3; x < 93; ++x) s += a.at<uint16_t>(x, y);
    const double mean_ref = s / 2700;
    for (int y = 4; y < 34; ++y)
        for (int x = 3; x < 93; ++x) q += std::pow(a.at<uint16_t>(x, y) - mean_ref, 2);
    double m = 0, d = 0;
    ASSERT_EQ(lum_img_mean_stddev_rect(a, &r, &m, &d), 0);
    EXPECT_NEAR(m, mean_ref, 1e-9);
    EXPECT_NEAR(d, std::sqrt(q / 2700), 1e-7);
    Image c(4, 4, lum_fmt_8u, lum_color);
    EXPECT_EQ(lum_img_mean_stddev(c, &m, &d), -65);
    Image f(4, 4, lum_fmt_32f, lum_gray, 32);
    f.at<float>(0, 0) = 16.0f;
    ASSERT_EQ(lum_img_mean_stddev(f, &m, &d), 0);
    EXPECT_DOUBLE_EQ(m, 1.0);
    EXPECT_DOUBLE_EQ(d, std::sqrt((225.0 + 15.0) / 16));
}

TEST(ImageStats, MaxMinEveryWritesTheThirdImage) {
    Image a(19, 3, lum_fmt_16u, lum_gray), b(19, 3, lum_fmt_16u, lum_gray), d(19, 3, lum_fmt_16u, lum_gray);
    a.randomize(1), b.randomize(2);
    const auto a0 = a.bytes(), b0 = b.bytes();
    ASSERT_EQ(lum_img_max_every(a, b, d), 0);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 19; ++x)
            ASSERT_EQ(d.at<uint16_t>(x, y), std::max(a.at<uint16_t>(x, y), b.at<uint16_t>(x, y)));
    ASSERT_EQ(lum_img_min_every(a, b, d), 0);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 19; ++x)
            ASSERT_EQ(d.at<uint16_t>(x, y), std::min(a.at<uint16_t>(x, y), b.at<uint16_t>(x, y)));
    EXPECT_EQ(a.bytes(), a0);
    EXPECT_EQ(b.bytes(), b0);

    Image f1(8, 8, lum_fmt_32f, lum_gray, 32), f2(8, 8, lum_fmt_32f, lum_gray, 32), f3(8, 8, lum_fmt_32f, lum_gray, 32);
    f1.randomize(4);
    f3.randomize(5);
    const auto f3_before = f3.bytes();
    EXPECT_EQ(lum_img_max_every(f1, f2, f3), 0);
    EXPECT_EQ(f3.bytes(), f3_before);

    Image c1(8, 8, lum_fmt_8u, lum_color), c2(8, 8, lum_fmt_8u, lum_color), c3(8, 8, lum_fmt_8u, lum_color);
    EXPECT_EQ(lum_img_min_every(c1, c2, c3), -65);
    Image other(8, 9, lum_fmt_8u, lum_color), blank;
    EXPECT_EQ(lum_img_max_every(c1, other, c3), -4);
    EXPECT_EQ(lum_img_max_every(c1, c2, other), -4);
    EXPECT_EQ(lum_img_max_every(c1, c2, f3), -4);
    EXPECT_EQ(lum_img_max_every(c1, c2, blank), -64);
}

}  // namespace

namespace {

// A lent 100 x 10 buffer of exactly 500 bytes stepping 50: a whole-image read
// would leave it, so every measurement refuses with -2 before reading a row
// (under AddressSanitizer a read past the 500 bytes fails the test), while a
// rectangle inside the buffer is measured.
TEST(CallerBuffers, MeasurementsStayInsideRowsTimesStepBytes) {
    auto bytes = std::make_unique<uint8_t[]>(500);
    std::fill_n(bytes.get(), 500, uint8_t{3});
    lum_info info{100, 10, 0.0f, 0.0f, 50, lum_fmt_8u, 8, lum_gray, bytes.get()};
    Image lent;
    ASSERT_EQ(lum_init_image_ex(lent, &info), 0);
    double s = -1, m, d;
    uint8_t lo, hi;
    int32_t t;
    std::vector<uint32_t> counts(16);
    EXPECT_EQ(lum_sum(lent, &s), -2);
    EXPECT_EQ(s, -1);
    EXPECT_EQ(lum_img_min_max(lent, &lo, &hi), -2);
    EXPECT_EQ(lum_img_mean_stddev(lent, &m, &d), -2);
    EXPECT_EQ(lum_histogram(lent, 0, 256, counts.data(), 16), -2);
    EXPECT_EQ(lum_otsu_get_threshold(lent, &t), -2);
    const lum_rect inside{0, 0, 50, 10};
    ASSERT_EQ(lum_sum_rect(lent, &inside, &s), 0);
    EXPECT_EQ(s, 3.0 * 500);
}

}  // namespace
