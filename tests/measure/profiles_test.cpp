// Line profiles: lengths and counts, the capacity and argument checks, the
// band of the fast profile (shifted along horizontal segments, across
// diagonal ones, the central line standing in at the edge) and the general
// profile's thick bands on images whose values make the result unambiguous.
#include <cmath>
#include <vector>

#include "support/support.hpp"

namespace {

using lum::test::Image;

// Samples that depend on the position through f.
template <class T, class F>
void paint(const Image& im, int w, int h, F f) {
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) im.at<T>(x, y) = static_cast<T>(f(x, y));
}

TEST(Profile, ThinHorizontalProfileIsTheRow) {
    Image im(12, 4, lum_fmt_8u, lum_gray);
    paint<uint8_t>(im, 12, 4, [](int x, int y) { return 10 * x + y; });
    for (auto fn : {lum_get_fast_profile, lum_get_profile}) {
        std::vector<uint8_t> out(20, 0xEE);
        uint32_t count = 20;
        ASSERT_EQ(fn(im, {0, 0}, {9, 0}, 1, out.data(), &count), 0);
        EXPECT_EQ(count, 10u);   // trunc(sqrt(10^2 + 1^2))
        for (int x = 0; x < 10; ++x) EXPECT_EQ(out[x], 10 * x);
        EXPECT_EQ(out[10], 0xEE);
    }
}

TEST(Profile, CountsAndChecks) {
    Image im(12, 8, lum_fmt_16u, lum_gray), col(12, 8, lum_fmt_8u, lum_color), f(12, 8, lum_fmt_32f, lum_gray), empty;
    std::vector<uint16_t> out(64);
    for (auto fn : {lum_get_fast_profile, lum_get_profile}) {
        uint32_t count = 9;   // L = 10
        EXPECT_EQ(fn(im, {0, 0}, {9, 0}, 1, out.data(), &count), -7);
        EXPECT_EQ(count, 9u);
        count = 64;
        EXPECT_EQ(fn(im, {0, 0}, {9, 0}, 0, out.data(), &count), -7);
        EXPECT_EQ(fn(im, {0, 0}, {9, 0}, 1, nullptr, &count), -7);
        EXPECT_EQ(fn(im, {0, 0}, {9, 0}, 1, out.data(), nullptr), -7);
        EXPECT_EQ(fn(im, {13, 0}, {9, 0}, 1, out.data(), &count), -7);
        EXPECT_EQ(fn(col, {0, 0}, {9, 0}, 1, out.data(), &count), -1);
        EXPECT_EQ(fn(empty, {0, 0}, {9, 0}, 1, out.data(), &count), -64);
        EXPECT_EQ(fn(77, {0, 0}, {9, 0}, 1, out.data(), &count), -6);
        // Both points equal: L = trunc(sqrt(2)) = 1.
        count = 64;
        im.at<uint16_t>(3, 4) = 777;
        ASSERT_EQ(fn(im, {3, 4}, {3, 4}, 1, out.data(), &count), 0);
        EXPECT_EQ(count, 1u);
        EXPECT_EQ(out[0], 777);
    }
    uint32_t count = 64;
    EXPECT_EQ(lum_get_fast_profile(im, {3, 4}, {3, 4}, 2, out.data(), &count), -7);
    EXPECT_EQ(count, 1u);   // L was stored before the band was refused
    count = 64;
    EXPECT_EQ(lum_get_fast_profile(f, {0, 0}, {9, 0}, 1, out.data(), &count), -1);
    EXPECT_EQ(lum_get_fast_profile(im, {0, 0}, {9, 9}, 1, out.data(), &count), -7);   // y beyond the height
    // A coordinate equal to the width passes the check; the sampling then fails.
    count = 64;
    int8_t status = 0;
    const std::string text =
        lum::test::captured_stdout([&] { status = lum_get_fast_profile(im, {0, 0}, {12, 0}, 1, out.data(), &count); });
    EXPECT_EQ(status, -5);
    EXPECT_EQ(count, 13u);   // set before the failure
    EXPECT_FALSE(text.empty());
}

TEST(FastProfile, HorizontalBandShiftsAlongTheSegment) {
    Image im(20, 5, lum_fmt_8u, lum_gray);
    paint<uint8_t>(im, 20, 5, [](int x, int y) { return 10 * x + y; });
    std::vector<uint8_t> out(32);
    uint32_t count = 32;
    // Three lines: the segment and its copies shifted by 1 and 2 columns; the
    // linear shrink of three rows to one takes the middle one, shifted by 1.
    ASSERT_EQ(lum_get_fast_profile(im, {0, 2}, {9, 2}, 3, out.data(), &count), 0);
    ASSERT_EQ(count, 10u);
    for (int x = 0; x < 10; ++x) EXPECT_EQ(out[x], 10 * (x + 1) + 2);
    // At the right edge the shifted lines leave the image and the central line stands in.
    ASSERT_EQ(lum_get_fast_profile(im, {10, 2}, {19, 2}, 3, out.data(), &count), 0);
    for (int x = 0; x < 10; ++x) EXPECT_EQ(out[x], 10 * (x + 10) + 2);
}

TEST(FastProfile, DiagonalBandRunsAcross) {
    Image im(16, 16, lum_fmt_16u, lum_gray);
    // Constant across the anti-diagonal direction, so every line of the band
    // across the (1, 1) segment reads the same values.
    paint<uint16_t>(im, 16, 16, [](int x, int y) { return 100 * (x + y); });
    std::vector<uint16_t> out(32);
    uint32_t count = 32;
    ASSERT_EQ(lum_get_fast_profile(im, {2, 2}, {12, 12}, 3, out.data(), &count), 0);
    ASSERT_EQ(count, 15u);   // trunc(sqrt(11^2 + 11^2))
    // S = 11 samples resampled to 15: the samples 400, 600, ... 2400 by nearest index.
    for (uint32_t i = 0; i < count; ++i) {
        const double centre = (i + 0.5) * 11 / 15 - 0.5;
        EXPECT_NEAR(out[i], 400 + 200 * centre, 200.0) << i;
    }
    EXPECT_EQ(out[0], 400);
    EXPECT_EQ(out[14], 2400);
}

TEST(GeneralProfile, HorizontalThickBandAlongTheSegment) {
    Image im(20, 12, lum_fmt_8u, lum_gray);
    paint<uint8_t>(im, 20, 12, [](int x, int) { return 7 * x; });
    std::vector<uint8_t> out(32);
    uint32_t count = 32;
    ASSERT_EQ(lum_get_profile(im, {2, 5}, {12, 5}, 3, out.data(), &count), 0);
    ASSERT_EQ(count, 11u);
    for (int i = 0; i < 11; ++i) EXPECT_EQ(out[i], 7 * (2 + i)) << i;
}

TEST(GeneralProfile, VerticalThickBand) {
    Image im(9, 14, lum_fmt_16u, lum_gray);
    paint<uint16_t>(im, 9, 14, [](int, int y) { return 10 * y; });
    std::vector<uint16_t> out(32);
    uint32_t count = 32;
    ASSERT_EQ(lum_get_profile(im, {4, 1}, {4, 11}, 5, out.data(), &count), 0);
    ASSERT_EQ(count, 11u);
    for (int i = 0; i < 11; ++i) EXPECT_EQ(out[i], 10 * (1 + i)) << i;
}

TEST(GeneralProfile, DiagonalThickBandOnALinearImage) {
    Image im(16, 16, lum_fmt_32f, lum_gray);
    paint<float>(im, 16, 16, [](int x, int y) { return float(x + y); });
    std::vector<float> out(32);
    uint32_t count = 32;
    ASSERT_EQ(lum_get_profile(im, {0, 0}, {10, 10}, 3, out.data(), &count), 0);
    ASSERT_EQ(count, 15u);
    // x + y grows by sqrt(2) per pixel along the diagonal and is constant across it.
    for (uint32_t i = 0; i < count; ++i) EXPECT_NEAR(out[i], i * std::sqrt(2.0), 1e-3) << i;
}

}  // namespace

namespace {

// The thick general profile turns a borrowed image into a band of whole
// samples, whatever valid bits the caller's description gives (0 from a
// zeroed lum_info, or more than an 8-bit sample holds).
TEST(GeneralProfile, ThickBandOnBorrowedImagesWhateverTheirValidBits) {
    const int w = 20, h = 12;
    std::vector<uint16_t> words(w * h);
    std::vector<uint8_t> bytes(w * h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            words[y * w + x] = static_cast<uint16_t>(1000 * x + 3);
            bytes[y * w + x] = static_cast<uint8_t>(7 * x);
        }
    const lum_info infos[] = {{w, h, 0.0f, 0.0f, 2 * w, lum_fmt_16u, 0, lum_gray, words.data()},
                              {w, h, 0.0f, 0.0f, 2 * w, lum_fmt_16u, 5, lum_gray, words.data()},
                              {w, h, 0.0f, 0.0f, w, lum_fmt_8u, 12, lum_gray, bytes.data()}};
    for (const lum_info& info : infos) {
        lum::test::Image im;
        ASSERT_EQ(lum_init_image_ex(im, &info), 0);
        std::vector<uint16_t> out(32);
        uint32_t count = 32;
        ASSERT_EQ(lum_get_profile(im, {2, 5}, {12, 5}, 3, out.data(), &count), 0) << info.valid_bits;
        ASSERT_EQ(count, 11u);
        for (int i = 0; i < 11; ++i) {
            const int want = info.pix_type == lum_fmt_16u ? 1000 * (2 + i) + 3 : 7 * (2 + i);
            const int got = info.pix_type == lum_fmt_16u ? out[i] : reinterpret_cast<const uint8_t*>(out.data())[i];
            EXPECT_EQ(got, want) << i;
        }
    }
}

}  // namespace
