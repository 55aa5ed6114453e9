// Copies and channel moves through the C interface: check order and codes,
// rectangles that touch only their pixels, and the failure message of a
// refused channel order.
#include <algorithm>
#include <vector>

#include "support/support.hpp"

namespace {

using lum::test::Image;

TEST(CopyRect, CopiesOnlyTheRectangle) {
    for (lum_data_format f : {lum_fmt_8u, lum_fmt_16u, lum_fmt_32f})
        for (lum_channels c : {lum_gray, lum_color}) {
            Image src(21, 9, f, c), dst(17, 11, f, c), ref(17, 11, f, c);
            src.randomize(1);
            dst.randomize(2);
            ref.randomize(2);
            ASSERT_EQ(lum_copy_rect(src, {3, 2}, dst, {5, 4}, {12, 7}), 0);
            const int bpp = lum_get_data_byte(src) * c;
            for (int y = 0; y < 7; ++y)
                std::memcpy(ref.row(4 + y) + 5 * bpp, src.row(2 + y) + 3 * bpp, size_t(12) * bpp);
            EXPECT_EQ(dst.bytes(), ref.bytes()) << f << " " << c;
        }
}

TEST(CopyRect, ChecksSourceThenDestinationThenLayout) {
    Image a(10, 6, lum_fmt_8u, lum_gray), b(10, 6, lum_fmt_8u, lum_gray), c16(10, 6, lum_fmt_16u, lum_gray),
        col(10, 6, lum_fmt_8u, lum_color), empty;
    EXPECT_EQ(lum_copy_rect(a, {0, 0}, b, {0, 0}, {10, 6}), 0);     // exactly to both edges
    EXPECT_EQ(lum_copy_rect(a, {1, 0}, b, {0, 0}, {10, 6}), -2);
    EXPECT_EQ(lum_copy_rect(a, {0, 0}, b, {0, 1}, {10, 6}), -2);
    EXPECT_EQ(lum_copy_rect(a, {0, 0}, b, {-1, 0}, {3, 3}), -7);
    EXPECT_EQ(lum_copy_rect(a, {-1, 0}, empty, {0, 0}, {3, 3}), -7);
    EXPECT_EQ(lum_copy_rect(a, {0, 0}, empty, {0, 0}, {0, 3}), -7);
    EXPECT_EQ(lum_copy_rect(empty, {-1, 0}, b, {0, 0}, {3, 3}), -64);
    EXPECT_EQ(lum_copy_rect(a, {0, 0}, empty, {0, 0}, {3, 3}), -64);
    EXPECT_EQ(lum_copy_rect(a, {0, 0}, c16, {0, 0}, {3, 3}), -4);
    EXPECT_EQ(lum_copy_rect(a, {0, 0}, col, {0, 0}, {3, 3}), -4);
    EXPECT_EQ(lum_copy_rect(a, {0, 0}, 500, {0, 0}, {3, 3}), -6);
}

TEST(Copy, WholeImageNeedsTheSameLayout) {
    Image a(13, 5, lum_fmt_16u, lum_color), b(13, 5, lum_fmt_16u, lum_color), c(13, 6, lum_fmt_16u, lum_color);
    a.randomize(4);
    ASSERT_EQ(lum_copy(a, b), 0);
    for (int y = 0; y < 5; ++y) EXPECT_EQ(std::memcmp(a.row(y), b.row(y), 13 * 6), 0);
    EXPECT_EQ(lum_copy(a, c), -4);
    Image e1, e2;
    EXPECT_EQ(lum_copy(a, e1), -4);   // layout compared before initialisation
    EXPECT_EQ(lum_copy(e1, e2), -64);
}

TEST(CopyGray2Color, WritesOneChannel) {
    Image grey(5, 3, lum_fmt_8u, lum_gray), colour(5, 3, lum_fmt_8u, lum_color);
    grey.randomize(1);
    colour.randomize(2);
    const auto before = colour.bytes();
    ASSERT_EQ(lum_copy_gray2color(grey, colour, 1), 0);
    const int step = static_cast<int>(colour.info().step_bytes);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x) {
            EXPECT_EQ(colour.at<uint8_t>(x, y, 0), before[y * step + 3 * x]);
            EXPECT_EQ(colour.at<uint8_t>(x, y, 1), grey.at<uint8_t>(x, y));
            EXPECT_EQ(colour.at<uint8_t>(x, y, 2), before[y * step + 3 * x + 2]);
        }
    EXPECT_EQ(lum_copy_gray2color(grey, colour, 3), -7);
    EXPECT_EQ(lum_copy_gray2color(grey, colour, -1), -7);
    Image empty, g16(5, 3, lum_fmt_16u, lum_gray);
    EXPECT_EQ(lum_copy_gray2color(g16, empty, 0), -1);
    EXPECT_EQ(lum_copy_gray2color(grey, empty, 7), -64);
    EXPECT_EQ(lum_copy_gray2color(grey, grey, 7), -1);
    // A grey image larger than the colour one would write past its buffer.
    Image big(40, 30, lum_fmt_8u, lum_gray);
    EXPECT_EQ(lum_copy_gray2color(big, colour, 0), -2);
}

TEST(SplitMerge, RoundTripAndCheckOrder) {
    for (lum_data_format f : {lum_fmt_8u, lum_fmt_16u}) {
        Image colour(11, 4, f, lum_color), p0(11, 4, f, lum_gray), p1(11, 4, f, lum_gray), p2(11, 4, f, lum_gray);
        colour.randomize(8);
        ASSERT_EQ(lum_copy_color2channels(colour, p0, p1, p2), 0);
        const Image* planes[3] = {&p0, &p1, &p2};
        for (int c = 0; c < 3; ++c)
            for (int x = 0; x < 11; ++x)
                if (f == lum_fmt_8u)
                    ASSERT_EQ(planes[c]->at<uint8_t>(x, 2), colour.at<uint8_t>(x, 2, c));
                else
                    ASSERT_EQ(planes[c]->at<uint16_t>(x, 3), colour.at<uint16_t>(x, 3, c));
        Image back(11, 4, f, lum_color);
        ASSERT_EQ(lum_copy_channels2color(p0, p1, p2, back), 0);
        for (int y = 0; y < 4; ++y)
            EXPECT_EQ(std::memcmp(back.row(y), colour.row(y), size_t(33) * lum_get_data_byte(colour)), 0);
    }
    Image c16(4, 4, lum_fmt_16u, lum_color), c8(4, 4, lum_fmt_8u, lum_color), g8(4, 4, lum_fmt_8u, lum_gray),
        f32(4, 4, lum_fmt_32f, lum_color), empty;
    EXPECT_EQ(lum_copy_color2channels(c16, g8, g8, g8), -1);
    EXPECT_EQ(lum_copy_color2channels(f32, empty, empty, empty), -1);
    EXPECT_EQ(lum_copy_color2channels(g8, empty, empty, empty), -1);
    EXPECT_EQ(lum_copy_color2channels(c8, g8, empty, c8), -64);
    EXPECT_EQ(lum_copy_color2channels(c8, g8, g8, c8), -1);
    EXPECT_EQ(lum_copy_channels2color(empty, empty, empty, g8), -1);   // colour image first
    EXPECT_EQ(lum_copy_channels2color(empty, g8, g8, c8), -64);
    EXPECT_EQ(lum_copy_channels2color(g8, g8, g8, c16), -1);
    // Planes smaller than the colour image would be walked past their buffers.
    Image big(40, 30, lum_fmt_8u, lum_color);
    EXPECT_EQ(lum_copy_color2channels(big, g8, g8, g8), -2);
    EXPECT_EQ(lum_copy_channels2color(g8, g8, g8, big), -2);
}

TEST(SwapChannels, ReordersInPlaceAndReportsABadOrder) {
    Image im(3, 2, lum_fmt_8u, lum_color);
    im.randomize(6);
    const auto before = im.bytes();
    const int32_t reverse[3] = {2, 1, 0};
    ASSERT_EQ(lum_swap_channels(im, reverse), 0);
    const int step = static_cast<int>(im.info().step_bytes);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            for (int c = 0; c < 3; ++c) EXPECT_EQ(im.at<uint8_t>(x, y, c), before[y * step + 3 * x + 2 - c]);
    const int32_t bad[3] = {0, 1, 3};
    const auto kept = im.bytes();
    int8_t status = 0;
    const std::string out = lum::test::captured_stdout([&] { status = lum_swap_channels(im, bad); });
    EXPECT_EQ(status, -5);
    EXPECT_EQ(out, "IPP function failed,return value -13.\n");
    EXPECT_EQ(im.bytes(), kept);
    Image g(3, 2, lum_fmt_8u, lum_gray), c16(3, 2, lum_fmt_16u, lum_color), empty;
    EXPECT_EQ(lum_swap_channels(g, reverse), -1);
    EXPECT_EQ(lum_swap_channels(c16, reverse), -1);
    EXPECT_EQ(lum_swap_channels(empty, reverse), -64);
}

}  // namespace

namespace {

// A caller's buffer whose step is shorter than a row: whole-image walks would
// leave its rows x step bytes, so every operation refuses before writing.
TEST(CallerBuffers, ShortStepsAreRefusedBeforeAnyWrite) {
    std::vector<uint8_t> bytes(64, 9);
    lum_info info{10, 4, 0.0f, 0.0f, 5, lum_fmt_8u, 8, lum_gray, bytes.data()};
    lum::test::Image shorty, grey(10, 4, lum_fmt_8u, lum_gray), colour(10, 4, lum_fmt_8u, lum_color);
    ASSERT_EQ(lum_init_image_ex(shorty, &info), 0);
    EXPECT_EQ(lum_copy_rect(grey, {0, 0}, shorty, {0, 0}, {10, 4}), -2);
    EXPECT_EQ(lum_copy_rect(shorty, {0, 0}, grey, {0, 0}, {10, 4}), -2);
    EXPECT_EQ(lum_copy_rect(grey, {0, 0}, shorty, {0, 0}, {5, 3}), 0);   // within the buffer
    EXPECT_EQ(lum_gray_to_color(shorty, colour), -2);
    EXPECT_EQ(lum_copy_gray2color(shorty, colour, 0), -2);
    const lum_rect r{0, 0, 10, 4};
    std::vector<uint8_t> palette(768);
    EXPECT_EQ(lum_computer_color_bc(shorty, colour, &r, palette.data(), 1, 0), -2);
    EXPECT_TRUE(std::all_of(bytes.begin() + 20, bytes.end(), [](uint8_t b) { return b == 9; }));
}

}  // namespace
