// Mirror and resize through the C interface: check order and codes, flips of
// odd rectangles, the equal-size copy, the narrow-source fallback, constant
// images, and an up- and downscale round trip.
#include <cmath>

#include "support/support.hpp"

namespace {

using lum::test::Image;

TEST(Mirror, FlipsOnlyTheRectangleForEveryAxis) {
    for (lum_data_format f : {lum_fmt_8u, lum_fmt_16u, lum_fmt_32f})
        for (lum_channels c : {lum_gray, lum_color})
            for (int axis : {0, 1, 2}) {
                Image im(11, 9, f, c);
                im.randomize(axis + 7);
                const auto before = im.bytes();
                const lum_rect r{2, 3, 7, 5};
                ASSERT_EQ(lum_mirrorI_rect(im, axis, &r), 0);
                const int px = lum_get_data_byte(im) * c, step = static_cast<int>(im.info().step_bytes);
                auto want = before;
                for (int y = 0; y < r.height; ++y)
                    for (int x = 0; x < r.width; ++x) {
                        const int sy = axis == 1 ? y : r.height - 1 - y, sx = axis == 0 ? x : r.width - 1 - x;
                        std::memcpy(&want[(r.y + y) * step + (r.x + x) * px], &before[(r.y + sy) * step + (r.x + sx) * px], px);
                    }
                EXPECT_EQ(im.bytes(), want) << f << " " << c << " axis " << axis;
            }
}

TEST(Mirror, WholeImageExamplesAndCodes) {
    Image im(3, 2, lum_fmt_8u, lum_gray);
    for (int x = 0; x < 3; ++x) {
        im.at<uint8_t>(x, 0) = static_cast<uint8_t>(x + 1);
        im.at<uint8_t>(x, 1) = static_cast<uint8_t>(x + 4);
    }
    ASSERT_EQ(lum_mirrorI(im, 1), 0);
    EXPECT_EQ(im.at<uint8_t>(0, 0), 3);
    EXPECT_EQ(im.at<uint8_t>(2, 0), 1);
    ASSERT_EQ(lum_mirrorI(im, 0), 0);
    EXPECT_EQ(im.at<uint8_t>(0, 0), 6);
    ASSERT_EQ(lum_mirrorI(im, 2), 0);
    EXPECT_EQ(im.at<uint8_t>(0, 0), 1);
    EXPECT_EQ(im.at<uint8_t>(2, 1), 6);

    int8_t status = 0;
    const std::string out = lum::test::captured_stdout([&] { status = lum_mirrorI(im, 7); });
    EXPECT_EQ(status, -5);
    EXPECT_EQ(out, "IPP function failed,return value -13.\n");
    const lum_rect past{1, 0, 3, 2}, neg{-1, 0, 2, 2}, empty_rect{0, 0, 0, 2};
    EXPECT_EQ(lum_mirrorI_rect(im, 0, &past), -2);
    EXPECT_EQ(lum_mirrorI_rect(im, 0, &neg), -7);
    EXPECT_EQ(lum_mirrorI_rect(im, 0, &empty_rect), -7);
    EXPECT_EQ(lum_mirrorI_rect(im, 0, nullptr), -7);
    Image empty, s16(3, 3, lum_fmt_16s, lum_gray, 16);
    EXPECT_EQ(lum_mirrorI(empty, 0), -64);
    EXPECT_EQ(lum_mirrorI(999, 0), -6);
    if (s16.info().pix_type == lum_fmt_16s) {
        EXPECT_EQ(lum_mirrorI(s16, 0), -1);
    }
}

TEST(Resize, ChecksSourceThenDestinationThenLayout) {
    Image a(20, 20, lum_fmt_8u, lum_gray), b(20, 20, lum_fmt_8u, lum_gray), c16(20, 20, lum_fmt_16u, lum_gray),
        col(20, 20, lum_fmt_8u, lum_color), empty;
    EXPECT_EQ(lum_resize(empty, {0, 0}, {4, 4}, b, {0, 0}, {4, 4}, 1), -64);
    EXPECT_EQ(lum_resize(a, {-1, 0}, {4, 4}, empty, {0, 0}, {4, 4}, 1), -7);
    EXPECT_EQ(lum_resize(a, {0, 0}, {0, 4}, empty, {0, 0}, {4, 4}, 1), -7);
    EXPECT_EQ(lum_resize(a, {17, 0}, {4, 4}, empty, {0, 0}, {4, 4}, 1), -2);
    EXPECT_EQ(lum_resize(a, {0, 0}, {4, 4}, empty, {0, 0}, {4, 4}, 1), -64);
    EXPECT_EQ(lum_resize(a, {0, 0}, {4, 4}, b, {0, -1}, {4, 4}, 1), -7);
    EXPECT_EQ(lum_resize(a, {0, 0}, {4, 4}, b, {0, 17}, {4, 4}, 1), -2);
    EXPECT_EQ(lum_resize(a, {0, 0}, {8, 8}, c16, {0, 0}, {4, 4}, 2), -4);
    EXPECT_EQ(lum_resize(a, {0, 0}, {8, 8}, col, {0, 0}, {4, 4}, 2), -4);
    EXPECT_EQ(lum_resize(a, {0, 0}, {8, 8}, 77, {0, 0}, {4, 4}, 2), -6);
}

TEST(Resize, EqualSizesCopyWhateverTheCode) {
    Image a(120, 110, lum_fmt_16u, lum_color), b(130, 100, lum_fmt_16u, lum_color);
    a.randomize(1);
    for (int code : {1, 2, 16, 6, -3}) {
        lum_clear(b);
        ASSERT_EQ(lum_resize(a, {10, 5}, {100, 100}, b, {30, 0}, {100, 100}, code), 0);
        for (int y = 0; y < 100; ++y)
            ASSERT_EQ(std::memcmp(b.row(y) + 30 * 6, a.row(y + 5) + 10 * 6, 600), 0) << code;
    }
}

TEST(Resize, NarrowSourceFallsBackToNearest) {
    Image a(5, 50, lum_fmt_8u, lum_gray), linear(12, 20, lum_fmt_8u, lum_gray), nearest(12, 20, lum_fmt_8u, lum_gray);
    a.randomize(9);
    ASSERT_EQ(lum_resize(a, {0, 0}, {5, 50}, linear, {0, 0}, {12, 20}, 2), 0);
    ASSERT_EQ(lum_resize(a, {0, 0}, {5, 50}, nearest, {0, 0}, {12, 20}, 1), 0);
    EXPECT_EQ(linear.bytes(), nearest.bytes());
    // Nearest picks floor((d + 0.5) * S / D): column 0 of 12 from 5 is 0, column 11 is 4.
    EXPECT_EQ(nearest.at<uint8_t>(0, 0), a.at<uint8_t>(0, 1));
    EXPECT_EQ(nearest.at<uint8_t>(11, 19), a.at<uint8_t>(4, 48));
}

TEST(Resize, UnknownCodeReturnsZeroAndLeavesTheDestination) {
    Image a(64, 64, lum_fmt_8u, lum_gray), b(32, 32, lum_fmt_8u, lum_gray);
    a.randomize(2);
    b.randomize(3);
    const auto before = b.bytes();
    int8_t status = -1;
    const std::string out = lum::test::captured_stdout(
        [&] { status = lum_resize(a, {0, 0}, {64, 64}, b, {0, 0}, {32, 32}, 6); });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(out, "");
    EXPECT_EQ(b.bytes(), before);
}

TEST(Resize, ConstantStaysConstantUnderEveryInterpolation) {
    for (int code : {1, 2, 16}) {
        Image a(37, 23, lum_fmt_16u, lum_gray), b(53, 11, lum_fmt_16u, lum_gray);
        for (int y = 0; y < 23; ++y)
            for (int x = 0; x < 37; ++x) a.at<uint16_t>(x, y) = 40000;
        ASSERT_EQ(lum_resize(a, {0, 0}, {37, 23}, b, {0, 0}, {53, 11}, code), 0);
        for (int y = 0; y < 11; ++y)
            for (int x = 0; x < 53; ++x) ASSERT_EQ(b.at<uint16_t>(x, y), 40000) << code;
    }
}

TEST(Resize, UpThenDownOfASmoothImageStaysClose) {
    for (int code : {2, 16}) {
        Image a(40, 30, lum_fmt_32f, lum_gray), up(100, 75, lum_fmt_32f, lum_gray), back(40, 30, lum_fmt_32f, lum_gray);
        for (int y = 0; y < 30; ++y)
            for (int x = 0; x < 40; ++x) a.at<float>(x, y) = float(100 + 50 * std::sin(x * 0.15) * std::cos(y * 0.1));
        ASSERT_EQ(lum_resize(a, {0, 0}, {40, 30}, up, {0, 0}, {100, 75}, code), 0);
        ASSERT_EQ(lum_resize(up, {0, 0}, {100, 75}, back, {0, 0}, {40, 30}, code), 0);
        for (int y = 2; y < 28; ++y)
            for (int x = 2; x < 38; ++x) EXPECT_NEAR(back.at<float>(x, y), a.at<float>(x, y), 1.5) << code;
    }
}

TEST(Resize, WritesOnlyTheDestinationRectangle) {
    Image a(30, 30, lum_fmt_8u, lum_color), b(40, 40, lum_fmt_8u, lum_color);
    a.randomize(4);
    b.randomize(5);
    const auto before = b.bytes();
    ASSERT_EQ(lum_resize(a, {3, 3}, {20, 20}, b, {7, 9}, {13, 17}, 16), 0);
    const auto after = b.bytes();
    const int step = static_cast<int>(b.info().step_bytes);
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < step; ++x) {
            const bool inside = y >= 9 && y < 26 && x >= 21 && x < 60;
            if (!inside) {
                ASSERT_EQ(after[y * step + x], before[y * step + x]) << x << "," << y;
            }
        }
}

}  // namespace
