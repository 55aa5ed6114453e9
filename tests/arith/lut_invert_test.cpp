// Look-up tables and inversion through the C interface: table layouts and
// their two asymmetries, valid-bits masks, sizes and the order of the codes.
#include <vector>

#include "arith/arith_support.hpp"

namespace {

using lum::test::fill;
using lum::test::Image;
using lum::test::sample;

TEST(Lut, InvertingTableAndGrayToColourPalette) {
    Image s(5, 3, lum_fmt_8u, lum_gray), d(5, 3, lum_fmt_8u, lum_gray), c(6, 4, lum_fmt_8u, lum_color);
    s.randomize(7);
    uint8_t inv[256], palette[256 * 3];
    for (int i = 0; i < 256; ++i) {
        inv[i] = uint8_t(255 - i);
        palette[3 * i] = uint8_t(i);
        palette[3 * i + 1] = uint8_t(i / 2);
        palette[3 * i + 2] = uint8_t(255 - i);
    }
    ASSERT_EQ(lum_lut(s, d, inv), 0);
    ASSERT_EQ(lum_lut(s, c, palette), 0);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x) {
            const uint8_t v = sample<uint8_t>(s, x, y);
            EXPECT_EQ(sample<uint8_t>(d, x, y), 255 - v);
            EXPECT_EQ(sample<uint8_t>(c, 3 * x + 1, y), v / 2);
            EXPECT_EQ(sample<uint8_t>(c, 3 * x + 2, y), 255 - v);
        }
    EXPECT_EQ(sample<uint8_t>(c, 15, 0), 0);  // beyond the source's width: untouched
}

TEST(Lut, ThreeChannelTablesKeepTheirOffsetsAndTheSharedThirdTable) {
    Image s(3, 2, lum_fmt_16u, lum_color, 10), d(3, 2, lum_fmt_16u, lum_color);
    s.randomize(8);
    std::vector<uint16_t> t(3 * 1024);
    for (int i = 0; i < 1024; ++i) {
        t[i] = uint16_t(i + 1);
        t[1024 + i] = uint16_t(2 * i);
        t[2048 + i] = 7;  // never read
    }
    ASSERT_EQ(lum_lut(s, d, t.data()), 0);
    for (int x = 0; x < 3; ++x) {
        EXPECT_EQ(sample<uint16_t>(d, 3 * x, 1), sample<uint16_t>(s, 3 * x, 1) + 1);
        EXPECT_EQ(sample<uint16_t>(d, 3 * x + 1, 1), 2 * sample<uint16_t>(s, 3 * x + 1, 1));
        EXPECT_EQ(sample<uint16_t>(d, 3 * x + 2, 1), 2 * sample<uint16_t>(s, 3 * x + 2, 1));
    }
    // 8-bit three-channel tables sit 256 bytes apart whatever the valid bits.
    Image s8(2, 1, lum_fmt_8u, lum_color, 4), d8(2, 1, lum_fmt_8u, lum_gray);
    uint8_t t8[768] = {};
    for (int i = 0; i < 768; ++i) t8[i] = uint8_t(i / 256 * 100 + i % 256);
    fill<uint8_t>(s8, 3);
    // The destination's channels are not examined: its row takes three samples a pixel, inside its padding.
    ASSERT_EQ(lum_lut(s8, d8, t8), 0);
    EXPECT_EQ(sample<uint8_t>(d8, 5, 0), 203);
    Image d83(2, 1, lum_fmt_8u, lum_color);
    ASSERT_EQ(lum_lut(s8, d83, t8), 0);
    EXPECT_EQ(sample<uint8_t>(d83, 0, 0), 3);
    EXPECT_EQ(sample<uint8_t>(d83, 1, 0), 103);
    EXPECT_EQ(sample<uint8_t>(d83, 2, 0), 203);
}

TEST(Lut, CodesInOrder) {
    Image s(4, 4, lum_fmt_8u, lum_gray), d(4, 4, lum_fmt_8u, lum_gray), small(4, 3, lum_fmt_8u, lum_gray);
    Image f(4, 4, lum_fmt_32f, lum_gray), w(4, 4, lum_fmt_16u, lum_gray), w3(4, 4, lum_fmt_16u, lum_color), empty;
    uint16_t table[65536] = {};
    EXPECT_EQ(lum_lut(s, small, table), -2);
    EXPECT_EQ(lum_lut(s, d, nullptr), -7);
    EXPECT_EQ(lum_lut(small, d, nullptr), -7);
    EXPECT_EQ(lum_lut(f, d, table), -1);
    EXPECT_EQ(lum_lut(w, w3, table), -65);
    EXPECT_EQ(lum_lut(w3, w, table), -65);
    EXPECT_EQ(lum_lut(empty, d, table), -64);
    EXPECT_EQ(lum_lut(s, -1, table), -6);
}

TEST(Invert, InvertsWithinTheValidBits) {
    Image s(3, 2, lum_fmt_8u, lum_color), d(3, 2, lum_fmt_8u, lum_color);
    sample<uint8_t>(s, 0, 0) = 0;
    sample<uint8_t>(s, 8, 1) = 200;
    ASSERT_EQ(lum_invert(s, d), 0);
    EXPECT_EQ(sample<uint8_t>(d, 0, 0), 255);
    EXPECT_EQ(sample<uint8_t>(d, 8, 1), 55);

    Image w(3, 1, lum_fmt_16u, lum_gray, 12), v(3, 1, lum_fmt_16u, lum_gray, 12);
    sample<uint16_t>(w, 0, 0) = 0;
    sample<uint16_t>(w, 1, 0) = 4000;
    sample<uint16_t>(w, 2, 0) = 5000;
    ASSERT_EQ(lum_invert(w, v), 0);
    EXPECT_EQ(sample<uint16_t>(v, 0, 0), 4095);
    EXPECT_EQ(sample<uint16_t>(v, 1, 0), 95);
    EXPECT_EQ(sample<uint16_t>(v, 2, 0), 0);

    // In place the destination is filled with the mask before the source is read: all zero.
    ASSERT_EQ(lum_invert(w, w), 0);
    EXPECT_EQ(sample<uint16_t>(w, 1, 0), 0);

    Image f(3, 1, lum_fmt_32f, lum_gray), g(3, 1, lum_fmt_32f, lum_gray), wide(4, 2, lum_fmt_8u, lum_color);
    EXPECT_EQ(lum_invert(f, g), -1);
    EXPECT_EQ(lum_invert(s, wide), -4);
}

}  // namespace
