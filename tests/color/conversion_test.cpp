// Colour conversion and palette rendering through the C interface: check
// order and codes, the documented examples, the valid-bits clamp of the twist,
// and the saturating, additive palette rendering.
#include <vector>

#include "support/support.hpp"

namespace {

using lum::test::Image;

TEST(ColorToGray, MeanOfTheChannelsAndCheckOrder) {
    Image colour(2, 1, lum_fmt_8u, lum_color), grey(2, 1, lum_fmt_8u, lum_gray);
    const uint8_t px[2][3] = {{10, 20, 31}, {255, 255, 255}};
    for (int x = 0; x < 2; ++x)
        for (int c = 0; c < 3; ++c) colour.at<uint8_t>(x, 0, c) = px[x][c];
    ASSERT_EQ(lum_color_to_gray(colour, grey), 0);
    EXPECT_EQ(grey.at<uint8_t>(0, 0), 20);
    EXPECT_EQ(grey.at<uint8_t>(1, 0), 255);

    Image colour16(1, 1, lum_fmt_16u, lum_color), grey16(1, 1, lum_fmt_16u, lum_gray);
    colour16.at<uint16_t>(0, 0, 0) = 65535;
    colour16.at<uint16_t>(0, 0, 1) = 65535;
    colour16.at<uint16_t>(0, 0, 2) = 65534;
    ASSERT_EQ(lum_color_to_gray(colour16, grey16), 0);
    EXPECT_EQ(grey16.at<uint16_t>(0, 0), 65535);

    // The source is checked fully before the destination is looked at.
    Image empty, float_colour(2, 2, lum_fmt_32f, lum_color);
    EXPECT_EQ(lum_color_to_gray(grey, empty), -1);       // one-channel source
    EXPECT_EQ(lum_color_to_gray(empty, grey), -64);
    EXPECT_EQ(lum_color_to_gray(colour, empty), -64);
    EXPECT_EQ(lum_color_to_gray(colour, colour), -1);    // destination not grey
    EXPECT_EQ(lum_color_to_gray(float_colour, grey), -1);
    EXPECT_EQ(lum_color_to_gray(colour, 999), -6);
}

TEST(ColorToGray, RefusesADestinationTooSmallForTheSource) {
    Image colour(40, 30, lum_fmt_8u, lum_color), grey(4, 3, lum_fmt_8u, lum_gray);
    EXPECT_EQ(lum_color_to_gray(colour, grey), -2);
}

TEST(GrayToColor, ReplicatesAndAcceptsOnly8Bit) {
    Image grey(3, 2, lum_fmt_8u, lum_gray), colour(3, 2, lum_fmt_8u, lum_color);
    grey.randomize(3);
    ASSERT_EQ(lum_gray_to_color(grey, colour), 0);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            for (int c = 0; c < 3; ++c) EXPECT_EQ(colour.at<uint8_t>(x, y, c), grey.at<uint8_t>(x, y));
    Image grey16(3, 2, lum_fmt_16u, lum_gray), colour16(3, 2, lum_fmt_16u, lum_color), empty;
    EXPECT_EQ(lum_gray_to_color(grey16, empty), -1);
    EXPECT_EQ(lum_gray_to_color(grey, empty), -64);
    EXPECT_EQ(lum_gray_to_color(grey, colour16), -1);
    EXPECT_EQ(lum_gray_to_color(grey, grey), -1);
}

constexpr float kDouble[12] = {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0};

TEST(ColorTwist, InPlaceClampsToValidBits) {
    for (int bits : {12, 16}) {
        Image im(5, 3, lum_fmt_16u, lum_color, bits);
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 5; ++x)
                for (int c = 0; c < 3; ++c) im.at<uint16_t>(x, y, c) = static_cast<uint16_t>(1000 * (x + 1) + 3000 * y + c);
        ASSERT_EQ(lum_color_twistI(im, kDouble), 0);
        const int top = (1 << bits) - 1;
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 5; ++x)
                for (int c = 0; c < 3; ++c) {
                    const int want = 2 * (1000 * (x + 1) + 3000 * y + c);
                    const int sat = want > 65535 ? 65535 : want;
                    EXPECT_EQ(im.at<uint16_t>(x, y, c), sat > top ? top : sat) << bits << " bits";
                }
    }
}

TEST(ColorTwist, EightBitRoundsAndSaturates) {
    Image im(2, 1, lum_fmt_8u, lum_color);
    const uint8_t px[2][3] = {{10, 100, 200}, {0, 255, 1}};
    for (int x = 0; x < 2; ++x)
        for (int c = 0; c < 3; ++c) im.at<uint8_t>(x, 0, c) = px[x][c];
    // Channel 0 = sum of all, channel 1 = channel 2 - 100.25, channel 2 = half of channel 0 + 0.5.
    const float m[12] = {1, 1, 1, 0, 0, 0, 1, -100.25f, 0.5f, 0, 0, 0.5f};
    ASSERT_EQ(lum_color_twistI(im, m), 0);
    EXPECT_EQ(im.at<uint8_t>(0, 0, 0), 255);
    EXPECT_EQ(im.at<uint8_t>(0, 0, 1), 100);
    EXPECT_EQ(im.at<uint8_t>(0, 0, 2), 6);   // 5.5 rounds to even
    EXPECT_EQ(im.at<uint8_t>(1, 0, 0), 255);
    EXPECT_EQ(im.at<uint8_t>(1, 0, 1), 0);
    EXPECT_EQ(im.at<uint8_t>(1, 0, 2), 0);   // 0.5 rounds to even
}

TEST(ColorTwist, UsesTheSourceStepForBothImagesAndClampsBySourceBits) {
    Image src(4, 2, lum_fmt_16u, lum_color, 10), dst(20, 2, lum_fmt_16u, lum_color, 16);
    ASSERT_NE(src.info().step_bytes, dst.info().step_bytes);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 4; ++x)
            for (int c = 0; c < 3; ++c) src.at<uint16_t>(x, y, c) = static_cast<uint16_t>(300 + 200 * x + y);
    ASSERT_EQ(lum_color_twist(src, dst, kDouble), 0);
    const int step = static_cast<int>(src.info().step_bytes);
    const auto* out = static_cast<const uint8_t*>(dst.info().frame_buf);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 4; ++x) {
            uint16_t v;
            std::memcpy(&v, out + step * y + 6 * x, 2);
            const int want = 2 * (300 + 200 * x + y);
            EXPECT_EQ(v, want > 1023 ? 1023 : want);
        }
    Image empty, grey(4, 2, lum_fmt_16u, lum_gray), f(4, 2, lum_fmt_32f, lum_color);
    EXPECT_EQ(lum_color_twist(grey, empty, kDouble), -1);
    EXPECT_EQ(lum_color_twist(src, empty, kDouble), -64);
    EXPECT_EQ(lum_color_twist(src, grey, kDouble), -1);
    EXPECT_EQ(lum_color_twist(f, f, kDouble), -1);
    EXPECT_EQ(lum_color_twistI(grey, kDouble), -1);
    EXPECT_EQ(lum_color_twistI(f, kDouble), -1);
    EXPECT_EQ(lum_color_twistI(empty, kDouble), -64);
}

// Palette renderer ---------------------------------------------------------

std::vector<uint8_t> ramp_palette() {
    std::vector<uint8_t> p(768);
    for (int i = 0; i < 256; ++i) {
        p[3 * i] = static_cast<uint8_t>(i);
        p[3 * i + 1] = static_cast<uint8_t>(255 - i);
        p[3 * i + 2] = static_cast<uint8_t>(i / 2);
    }
    return p;
}

TEST(ComputerColorBc, AddsThePaletteInReversedOrder) {
    Image grey(7, 5, lum_fmt_8u, lum_gray), colour(5, 3, lum_fmt_8u, lum_color);
    grey.randomize(11);
    const auto pal = ramp_palette();
    const lum_rect r{1, 2, 5, 3};
    ASSERT_EQ(lum_computer_color_bc(grey, colour, &r, pal.data(), 0.5, 10), 0);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x) {
            int i = static_cast<int>(grey.at<uint8_t>(x + 1, y + 2) * 0.5 + 10);
            i = i > 255 ? 255 : i;
            EXPECT_EQ(colour.at<uint8_t>(x, y, 0), pal[3 * i + 2]);
            EXPECT_EQ(colour.at<uint8_t>(x, y, 1), pal[3 * i + 1]);
            EXPECT_EQ(colour.at<uint8_t>(x, y, 2), pal[3 * i]);
        }
}

TEST(ComputerColorBc, BrightnessAndContrastBeyondTheRangePickTheEnds) {
    Image grey(9, 2, lum_fmt_8u, lum_gray), colour(9, 2, lum_fmt_8u, lum_color);
    grey.randomize(2);
    const auto pal = ramp_palette();
    const lum_rect r{0, 0, 9, 2};
    struct { double contrast; int brightness; int entry; } cases[] = {{1, -300, 0}, {1, 300, 255}, {1e12, 0, 0}};
    for (const auto& c : cases) {
        lum_clear(colour);
        ASSERT_EQ(lum_computer_color_bc(grey, colour, &r, pal.data(), c.contrast, c.brightness), 0);
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 9; ++x) EXPECT_EQ(colour.at<uint8_t>(x, y, 1), pal[3 * c.entry + 1]) << c.contrast;
    }
}

TEST(ComputerColorBc, TwoCallsSaturateAt255) {
    Image grey(6, 1, lum_fmt_8u, lum_gray), colour(6, 1, lum_fmt_8u, lum_color);
    std::vector<uint8_t> pal(768);
    for (int i = 0; i < 256; ++i) pal[3 * i + 2] = 200;
    const lum_rect r{0, 0, 6, 1};
    ASSERT_EQ(lum_computer_color_bc(grey, colour, &r, pal.data(), 1, 0), 0);
    ASSERT_EQ(lum_computer_color_bc(grey, colour, &r, pal.data(), 1, 0), 0);
    for (int x = 0; x < 6; ++x) {
        EXPECT_EQ(colour.at<uint8_t>(x, 0, 0), 255);
        EXPECT_EQ(colour.at<uint8_t>(x, 0, 1), 0);
    }
}

TEST(ComputerColorBc, SixteenBitSamplesShiftByTheirValidBits) {
    Image grey(3, 1, lum_fmt_16u, lum_gray, 12), colour(3, 1, lum_fmt_8u, lum_color);
    grey.at<uint16_t>(0, 0) = 4095;
    grey.at<uint16_t>(1, 0) = 2048;
    grey.at<uint16_t>(2, 0) = 15;
    const auto pal = ramp_palette();
    const lum_rect r{0, 0, 3, 1};
    ASSERT_EQ(lum_computer_color_bc(grey, colour, &r, pal.data(), 1, 0), 0);
    EXPECT_EQ(colour.at<uint8_t>(0, 0, 2), 255);
    EXPECT_EQ(colour.at<uint8_t>(1, 0, 2), 128);
    EXPECT_EQ(colour.at<uint8_t>(2, 0, 2), 0);
}

TEST(ComputerColorBc, CheckOrder) {
    Image grey(8, 4, lum_fmt_8u, lum_gray), colour(8, 4, lum_fmt_8u, lum_color), empty;
    Image wide(9, 4, lum_fmt_8u, lum_color), colour16(8, 4, lum_fmt_16u, lum_color), f(8, 4, lum_fmt_32f, lum_gray);
    const auto pal = ramp_palette();
    const lum_rect whole{0, 0, 8, 4}, zero_w{0, 0, 0, 4}, past{1, 0, 8, 4};
    EXPECT_EQ(lum_computer_color_bc(empty, colour, &whole, pal.data(), 1, 0), -64);
    EXPECT_EQ(lum_computer_color_bc(grey, empty, &zero_w, pal.data(), 1, 0), -7);
    EXPECT_EQ(lum_computer_color_bc(grey, empty, &past, pal.data(), 1, 0), -2);
    EXPECT_EQ(lum_computer_color_bc(colour, empty, &whole, pal.data(), 1, 0), -1);
    EXPECT_EQ(lum_computer_color_bc(grey, empty, &whole, pal.data(), 1, 0), -64);
    EXPECT_EQ(lum_computer_color_bc(grey, wide, &whole, nullptr, 1, 0), -7);
    EXPECT_EQ(lum_computer_color_bc(grey, wide, &whole, pal.data(), 1, 0), -2);
    EXPECT_EQ(lum_computer_color_bc(grey, colour16, &whole, pal.data(), 1, 0), -1);
    EXPECT_EQ(lum_computer_color_bc(f, colour, &whole, pal.data(), 1, 0), -1);
    EXPECT_EQ(lum_computer_color_bc(grey, colour, nullptr, pal.data(), 1, 0), -7);
}

}  // namespace

namespace {

// A caller's 16-bit buffers at odd addresses with odd steps: every colour and
// channel operation computes the same samples as on the library's own images.
TEST(CallerBuffers, SixteenBitSamplesAtOddAddresses) {
    constexpr int w = 37, h = 3;
    Image colour(w, h, lum_fmt_16u, lum_color, 12);
    colour.randomize(21);
    std::vector<uint8_t> host_colour(size_t(6 * w + 3) * h + 1), host_grey(size_t(2 * w + 5) * h + 1);
    lum_info ci{w, h, 0, 0, 6 * w + 3, lum_fmt_16u, 12, lum_color, host_colour.data() + 1};
    lum_info gi{w, h, 0, 0, 2 * w + 5, lum_fmt_16u, 12, lum_gray, host_grey.data() + 1};
    Image borrowed, grey;
    ASSERT_EQ(lum_init_image_ex(borrowed, &ci), 0);
    ASSERT_EQ(lum_init_image_ex(grey, &gi), 0);
    ASSERT_EQ(lum_copy(colour, borrowed), 0);

    Image want_grey(w, h, lum_fmt_16u, lum_gray, 12);
    ASSERT_EQ(lum_color_to_gray(colour, want_grey), 0);
    ASSERT_EQ(lum_color_to_gray(borrowed, grey), 0);
    const float m[12] = {1.5f, 0.25f, 0, 7, 0, 1, 0, -3, 0.5f, 0.5f, 0.5f, 0};
    ASSERT_EQ(lum_color_twistI(colour, m), 0);
    ASSERT_EQ(lum_color_twistI(borrowed, m), 0);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            uint16_t g;
            std::memcpy(&g, host_grey.data() + 1 + size_t(y) * gi.step_bytes + 2 * x, 2);
            EXPECT_EQ(g, want_grey.at<uint16_t>(x, y));
            for (int c = 0; c < 3; ++c) {
                uint16_t v;
                std::memcpy(&v, host_colour.data() + 1 + size_t(y) * ci.step_bytes + 6 * x + 2 * c, 2);
                EXPECT_EQ(v, colour.at<uint16_t>(x, y, c));
                EXPECT_LE(v, 4095);
            }
        }
}

}  // namespace
