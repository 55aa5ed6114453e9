// lum_convert and clamp_to_valid_bits through their interfaces: the four
// pairs, the order of the checks, and where the clamp may join the pass that
// produces the values.
#include "arith/clamp.hpp"
#include "image/registry.hpp"
#include "arith/arith_support.hpp"

namespace {

using lum::test::Image;
using lum::test::sample;

TEST(Convert, NarrowsWithSaturationWidensAndRoundsFloats) {
    Image s16(4, 1, lum_fmt_16u, lum_gray, 12), d8(4, 1, lum_fmt_8u, lum_gray);
    const uint16_t in[4] = {0, 200, 300, 4095};
    for (int x = 0; x < 4; ++x) s16.at<uint16_t>(x, 0) = in[x];
    ASSERT_EQ(lum_convert(s16, d8), 0);
    const uint8_t want8[4] = {0, 200, 255, 255};
    for (int x = 0; x < 4; ++x) EXPECT_EQ(d8.at<uint8_t>(x, 0), want8[x]);

    Image f(5, 1, lum_fmt_32f, lum_gray), g(5, 1, lum_fmt_8u, lum_gray);
    const float fin[5] = {1.4f, 1.6f, -3.0f, 300.0f, 2.5f};
    for (int x = 0; x < 5; ++x) f.at<float>(x, 0) = fin[x];
    ASSERT_EQ(lum_convert(f, g), 0);
    const uint8_t wantg[5] = {1, 2, 0, 255, 2};  // halves to even
    for (int x = 0; x < 5; ++x) EXPECT_EQ(g.at<uint8_t>(x, 0), wantg[x]);

    Image c8(3, 2, lum_fmt_8u, lum_color), c16(3, 2, lum_fmt_16u, lum_color), cf(3, 2, lum_fmt_32f, lum_color);
    c8.randomize(3);
    ASSERT_EQ(lum_convert(c8, c16), 0);
    ASSERT_EQ(lum_convert(c16, cf), 0);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 9; ++x) {
            EXPECT_EQ(sample<uint16_t>(c16, x, y), sample<uint8_t>(c8, x, y));
            EXPECT_EQ(sample<float>(cf, x, y), float(sample<uint8_t>(c8, x, y)));
        }
}

TEST(Convert, RefusesInCheckOrder) {
    Image a8(4, 4, lum_fmt_8u, lum_gray), f(4, 4, lum_fmt_32f, lum_gray), c8(4, 4, lum_fmt_8u, lum_color);
    Image f3(4, 4, lum_fmt_32f, lum_color), c8b(4, 4, lum_fmt_8u, lum_color), s16(4, 4, lum_fmt_16s, lum_gray);
    Image empty;
    EXPECT_EQ(lum_convert(a8, f), -1);  // 8u -> 32f is not a pair
    EXPECT_EQ(lum_convert(a8, c8), -65);     // channels before format
    EXPECT_EQ(lum_convert(f3, c8b), -1);     // three-channel float: -1, not -65
    EXPECT_EQ(lum_convert(s16, a8), -1);
    EXPECT_EQ(lum_convert(a8, a8), -1);
    EXPECT_EQ(lum_convert(empty, a8), -64);
    EXPECT_EQ(lum_convert(a8, empty), -64);
    EXPECT_EQ(lum_convert(-1, a8), -6);
    EXPECT_EQ(lum_convert(a8, 1 << 30), -6);
}

TEST(Convert, DestinationSmallerThanTheSourceRunsInsideItsBufferElseMinus2) {
    // Narrower rows run into the destination's padding: allowed.
    Image s(20, 2, lum_fmt_16u, lum_gray), d(18, 2, lum_fmt_8u, lum_gray);
    s.randomize(2);
    EXPECT_EQ(lum_convert(s, d), 0);
    // Fewer rows would write past the buffer: refused.
    Image tall(4, 8, lum_fmt_16u, lum_gray), flat(4, 2, lum_fmt_8u, lum_gray);
    EXPECT_EQ(lum_convert(tall, flat), -2);
}

TEST(ClampToValidBits, LowersOnlySamplesAboveTheMaskAndChecksInOrder) {
    Image a(5, 3, lum_fmt_16u, lum_color, 12);
    a.randomize(5, false);
    const auto before = a.bytes();
    img* im = lum::registry::slot(a);
    ASSERT_EQ(lum::clamp_to_valid_bits(*im, 4095), 0);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 15; ++x) {
            const uint16_t old = reinterpret_cast<const uint16_t*>(before.data() + size_t(y) * a.info().step_bytes)[x];
            EXPECT_EQ(sample<uint16_t>(a, x, y), old > 4095 ? 4095 : old);
        }
    Image b(4, 4, lum_fmt_8u, lum_gray), f(4, 4, lum_fmt_32f, lum_gray);
    EXPECT_EQ(lum::clamp_to_valid_bits(*lum::registry::slot(b), 256), -7);
    EXPECT_EQ(lum::clamp_to_valid_bits(*lum::registry::slot(f), 1), -1);
    img blank;
    EXPECT_EQ(lum::clamp_to_valid_bits(blank, 1), -64);
    EXPECT_EQ(lum::valid_bits_mask(*lum::registry::slot(a)), 4095);
    Image full(4, 4, lum_fmt_16u, lum_gray, 16);
    EXPECT_EQ(lum::valid_bits_mask(*lum::registry::slot(full)), 65535);

    // Operations lower their results to the top in the pass that produces them exactly where the clamp would pass.
    EXPECT_TRUE(lum::clamp_fuses(*im, 4095));
    EXPECT_TRUE(lum::clamp_fuses(*lum::registry::slot(b), 255));
    EXPECT_FALSE(lum::clamp_fuses(*lum::registry::slot(b), 256));
    EXPECT_FALSE(lum::clamp_fuses(*lum::registry::slot(f), 1));
    EXPECT_FALSE(lum::clamp_fuses(blank, 1));
    uint8_t buf[24] = {};
    lum_info short_rows{10, 4, 0, 0, 6, lum_fmt_8u, 8, lum_gray, buf};  // a step shorter than a row
    Image lent;
    ASSERT_EQ(lum_init_image_ex(lent, &short_rows), 0);
    EXPECT_FALSE(lum::clamp_fuses(*lum::registry::slot(lent), 255));
    EXPECT_EQ(lum::valid_bits_top<uint8_t>(65535), 255);
    EXPECT_EQ(lum::valid_bits_top<uint16_t>(4095), 4095);
}

}  // namespace
