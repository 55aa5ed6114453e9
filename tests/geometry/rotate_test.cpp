// Rotation through the C interface: right angles with nearest sampling are
// exact index permutations, the destination is cleared first, and the codes
// of the checks and of a non-finite angle.
#include <cmath>
#include <vector>

#include "support/support.hpp"

namespace {

using lum::test::Image;

TEST(Rotate, RightAnglesArePermutations) {
    const int w = 7, h = 5;
    Image src(w, h, lum_fmt_8u, lum_gray);
    src.randomize(1);
    struct Case { double angle, xs, ys; int dw, dh; };
    // x' = x cos + y sin + xs, y' = -x sin + y cos + ys.
    const Case cases[] = {{90, 0, w - 1, h, w}, {180, w - 1, h - 1, w, h}, {270, h - 1, 0, h, w}, {-90, h - 1, 0, h, w}};
    for (const Case& k : cases) {
        Image dst(k.dw, k.dh, lum_fmt_8u, lum_gray);
        dst.randomize(2);
        ASSERT_EQ(lum_rotate(src, dst, k.angle, k.xs, k.ys, 1), 0);
        const double r = k.angle * 3.141592653589793 / 180;
        const int c = int(std::lround(std::cos(r))), s = int(std::lround(std::sin(r)));
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const int dx = x * c + y * s + int(k.xs), dy = -x * s + y * c + int(k.ys);
                ASSERT_EQ(dst.at<uint8_t>(dx, dy), src.at<uint8_t>(x, y)) << k.angle << " at " << x << "," << y;
            }
    }
    // The example: 90 degrees with a y shift of width - 1 puts the top row in the left column, first pixel last.
    Image dst(h, w, lum_fmt_8u, lum_gray);
    ASSERT_EQ(lum_rotate(src, dst, 90, 0, w - 1, 1), 0);
    for (int x = 0; x < w; ++x) EXPECT_EQ(dst.at<uint8_t>(0, w - 1 - x), src.at<uint8_t>(x, 0));
}

TEST(Rotate, AngleZeroCopiesTheTopLeftAndClearsTheRest) {
    for (int code : {1, 2}) {
        Image src(6, 4, lum_fmt_16u, lum_gray), dst(9, 3, lum_fmt_16u, lum_gray);
        src.randomize(3);
        dst.randomize(4);
        ASSERT_EQ(lum_rotate(src, dst, 0, 0, 0, code), 0);
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 9; ++x) EXPECT_EQ(dst.at<uint16_t>(x, y), x < 6 ? src.at<uint16_t>(x, y) : 0) << code;
    }
}

TEST(Rotate, FloatAndColourLayoutsAreRotated) {
    Image f(8, 8, lum_fmt_32f, lum_gray), fd(8, 8, lum_fmt_32f, lum_gray);
    f.randomize(5);
    ASSERT_EQ(lum_rotate(f, fd, 180, 7, 7, 1), 0);
    EXPECT_EQ(fd.at<float>(0, 0), f.at<float>(7, 7));
    Image c(8, 8, lum_fmt_8u, lum_color), cd(8, 8, lum_fmt_8u, lum_color);
    c.randomize(6);
    ASSERT_EQ(lum_rotate(c, cd, 180, 7, 7, 2), 0);
    for (int ch = 0; ch < 3; ++ch) EXPECT_EQ(cd.at<uint8_t>(1, 2, ch), c.at<uint8_t>(6, 5, ch));
}

TEST(Rotate, LinearKeepsAConstantInsideAndFadesAtTheEdge) {
    Image src(20, 20, lum_fmt_8u, lum_gray), dst(40, 40, lum_fmt_8u, lum_gray);
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x) src.at<uint8_t>(x, y) = 200;
    ASSERT_EQ(lum_rotate(src, dst, 30, 10, 15, 2), 0);
    // The source centre (10, 10) lands at (10 cos + 10 sin + 10, -10 sin + 10 cos + 15).
    const double r = 30 * 3.141592653589793 / 180;
    const int cx = int(std::lround(10 * std::cos(r) + 10 * std::sin(r) + 10));
    const int cy = int(std::lround(-10 * std::sin(r) + 10 * std::cos(r) + 15));
    EXPECT_EQ(dst.at<uint8_t>(cx, cy), 200);
    EXPECT_EQ(dst.at<uint8_t>(39, 0), 0);
    EXPECT_EQ(dst.at<uint8_t>(0, 39), 0);
}

TEST(Rotate, CodesAndTheClearedDestination) {
    Image a(8, 8, lum_fmt_8u, lum_gray), b(8, 8, lum_fmt_8u, lum_gray), c16(8, 8, lum_fmt_16u, lum_gray),
        c16c(8, 8, lum_fmt_16u, lum_color), d16c(8, 8, lum_fmt_16u, lum_color), col(8, 8, lum_fmt_8u, lum_color), empty;
    a.randomize(7);
    b.randomize(8);
    EXPECT_EQ(lum_rotate(a, b, 10, 0, 0, 3), -7);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) ASSERT_EQ(b.at<uint8_t>(x, y), 0);
    EXPECT_EQ(lum_rotate(c16, a, 0, 0, 0, 1), -4);
    EXPECT_EQ(lum_rotate(col, a, 0, 0, 0, 1), -4);
    EXPECT_EQ(lum_rotate(c16c, d16c, 0, 0, 0, 1), -1);
    EXPECT_EQ(lum_rotate(a, empty, 0, 0, 0, 1), -64);
    EXPECT_EQ(lum_rotate(empty, a, 0, 0, 0, 1), -64);
    EXPECT_EQ(lum_rotate(a, 99, 0, 0, 0, 1), -6);
    int8_t status = 0;
    const std::string out = lum::test::captured_stdout([&] { status = lum_rotate(a, b, NAN, 0, 0, 1); });
    EXPECT_EQ(status, -5);
    EXPECT_EQ(out, "IPP function failed,return value -13.\n");
    EXPECT_EQ(lum_rotate(a, b, INFINITY, 0, 0, 1), -5);
}

}  // namespace

namespace {

TEST(CallerBuffers, GeometryRefusesShortSteps) {
    std::vector<uint8_t> bytes(64, 9);
    lum_info info{10, 4, 0.0f, 0.0f, 5, lum_fmt_8u, 8, lum_gray, bytes.data()};
    lum::test::Image shorty, grey(10, 4, lum_fmt_8u, lum_gray);
    ASSERT_EQ(lum_init_image_ex(shorty, &info), 0);
    EXPECT_EQ(lum_mirrorI(shorty, 0), -2);
    EXPECT_EQ(lum_rotate(grey, shorty, 0, 0, 0, 1), -2);
    EXPECT_EQ(lum_rotate(shorty, grey, 0, 0, 0, 1), -2);
    EXPECT_EQ(lum_resize(grey, {0, 0}, {10, 4}, shorty, {0, 0}, {9, 4}, 2), -2);
    EXPECT_EQ(lum_resize(grey, {0, 0}, {10, 4}, shorty, {0, 0}, {7, 3}, 2), 0);   // fits the buffer
    uint32_t count = 16;
    uint8_t out[16];
    EXPECT_EQ(lum_get_fast_profile(shorty, {0, 0}, {9, 0}, 1, out, &count), -2);
    for (size_t i = 20; i < bytes.size(); ++i) ASSERT_EQ(bytes[i], 9);
}

}  // namespace

namespace {

// A source shifted far past the destination's right edge: the border fill of
// each row stops at the row's end. The destination is a caller's buffer
// without padding, followed by sentinels.
TEST(RotateBounds, SourceBeyondTheRightEdgeWritesOnlyTheRow) {
    for (int interpolation : {1, 2}) {
        std::vector<uint16_t> buffer(10 * 6 + 32, 0xABCD);
        lum_info info{10, 6, 0.0f, 0.0f, 20, lum_fmt_16u, 16, lum_gray, buffer.data()};
        lum::test::Image dst, src(10, 6, lum_fmt_16u, lum_gray);
        ASSERT_EQ(lum_init_image_ex(dst, &info), 0);
        src.randomize(3);
        EXPECT_EQ(lum_rotate(src, dst, 0.0, 1000.0, 0.0, interpolation), 0);
        for (size_t i = 0; i < 60; ++i) ASSERT_EQ(buffer[i], 0) << i;
        for (size_t i = 60; i < buffer.size(); ++i) ASSERT_EQ(buffer[i], 0xABCD) << i;
    }
}

}  // namespace
