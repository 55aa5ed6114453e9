// Constant arithmetic through the C interface: rectangles, the clamp over the
// whole image, the formats each operation takes, and the order of the codes.
#include "arith/arith_support.hpp"

namespace {

using lum::test::fill;
using lum::test::Image;
using lum::test::sample;

TEST(AddCI, SaturatesAndClampsTheWholeImageEvenForARectangle) {
    Image a(6, 4, lum_fmt_8u, lum_gray);
    fill<uint8_t>(a, 250);
    const uint8_t ten = 10;
    ASSERT_EQ(lum_addCI(a, &ten), 0);
    EXPECT_EQ(sample<uint8_t>(a, 5, 3), 255);

    Image b(6, 4, lum_fmt_8u, lum_gray, 7);
    fill<uint8_t>(b, 200);  // above the mask already, outside the rectangle too
    sample<uint8_t>(b, 0, 0) = 5;
    const lum_rect r{0, 0, 1, 1};
    ASSERT_EQ(lum_addCI_rect(b, &ten, &r), 0);
    EXPECT_EQ(sample<uint8_t>(b, 0, 0), 15);
    EXPECT_EQ(sample<uint8_t>(b, 5, 3), 127);
}

TEST(AddCI, RectangleFormTouchesOnlyItsRectangle) {
    Image a(7, 5, lum_fmt_16u, lum_color);
    a.randomize(3);
    const auto before = a.bytes();
    const uint16_t v = 1000;
    const lum_rect r{2, 1, 3, 2};
    ASSERT_EQ(lum_addCI_rect(a, &v, &r), 0);
    const uint32_t step = a.info().step_bytes;
    for (int y = 0; y < 5; ++y)
        for (int i = 0; i < 21; ++i) {
            const uint16_t old = reinterpret_cast<const uint16_t*>(before.data() + y * step)[i];
            const bool inside = y >= 1 && y < 3 && i >= 6 && i < 15;
            EXPECT_EQ(sample<uint16_t>(a, i, y), inside ? std::min(65535, old + 1000) : old) << i << "," << y;
        }
}

TEST(AddCI, ChecksRectanglesFormatsAndImages) {
    Image a(4, 4, lum_fmt_8u, lum_gray), f(4, 4, lum_fmt_32f, lum_gray), empty;
    const uint8_t v = 1;
    const lum_rect whole{0, 0, 4, 4}, shifted{1, 0, 4, 4}, flat{0, 0, 0, 5}, negative{-1, 0, 2, 2};
    a.randomize(2);
    EXPECT_EQ(lum_addCI_rect(a, &v, &shifted), -2);
    EXPECT_EQ(lum_addCI_rect(a, &v, &flat), -7);
    EXPECT_EQ(lum_addCI_rect(a, &v, &negative), -7);
    EXPECT_EQ(lum_addCI_rect(a, &v, nullptr), -7);
    EXPECT_EQ(lum_addCI(f, &v), -1);
    EXPECT_EQ(lum_addCI(empty, &v), -64);
    EXPECT_EQ(lum_addCI_rect(empty, &v, &shifted), -64);  // -64 before the rectangle
    Image b(4, 4, lum_fmt_8u, lum_gray);
    b.randomize(2);
    ASSERT_EQ(lum_addCI_rect(a, &v, &whole), 0);
    ASSERT_EQ(lum_addCI(b, &v), 0);
    EXPECT_EQ(a.bytes(), b.bytes());
}

TEST(ConstantInPlace, ClampAppliesInTheSamePassAndRefusesAfterWriting) {
    Image a(5, 3, lum_fmt_8u, lum_color, 7);
    fill<uint8_t>(a, 100);
    sample<uint8_t>(a, 14, 2) = 120;
    const uint8_t ten = 10;
    const double gain[3] = {1.5, 1.5, 1.5};  // one multiplier per channel
    ASSERT_EQ(lum_addCI(a, &ten), 0);
    EXPECT_EQ(sample<uint8_t>(a, 0, 0), 110);
    EXPECT_EQ(sample<uint8_t>(a, 14, 2), 127);
    ASSERT_EQ(lum_mulCI(a, gain), 0);
    EXPECT_EQ(sample<uint8_t>(a, 0, 0), 127);

    // 12 valid bits on a lent 8-bit image: the results are written, then the clamp refuses.
    Image owner(4, 2, lum_fmt_8u, lum_gray), n;
    lum_info twelve = owner.info();
    twelve.valid_bits = 12;
    ASSERT_EQ(lum_init_image_ex(n, &twelve), 0);
    fill<uint8_t>(n, 250);
    EXPECT_EQ(lum_addCI(n, &ten), -7);
    EXPECT_EQ(sample<uint8_t>(n, 3, 1), 255);
    fill<uint8_t>(n, 100);
    EXPECT_EQ(lum_mulCI(n, gain), -7);
    EXPECT_EQ(sample<uint8_t>(n, 3, 1), 150);

    // A rectangle's product is clamped with the whole image.
    Image w(4, 3, lum_fmt_16u, lum_gray, 12);
    fill<uint16_t>(w, 5000);
    const double one = 1.0;
    const lum_rect corner{0, 0, 1, 1};
    ASSERT_EQ(lum_mulCI_rect(w, &one, &corner), 0);
    EXPECT_EQ(sample<uint16_t>(w, 3, 2), 4095);
}

TEST(MulCI, RoundsToNearestSaturatesAndTakesOneChannelFloatOnly) {
    Image a(4, 2, lum_fmt_8u, lum_color);
    for (int i = 0; i < 12; ++i) sample<uint8_t>(a, i, 0) = uint8_t(10 * i + 5);
    const double f[3] = {0.5, 2.0, 10.0};
    ASSERT_EQ(lum_mulCI(a, f), 0);
    EXPECT_EQ(sample<uint8_t>(a, 0, 0), 2);   // 2.5 -> 2
    EXPECT_EQ(sample<uint8_t>(a, 1, 0), 30);  // 15 × 2
    EXPECT_EQ(sample<uint8_t>(a, 2, 0), 250);
    EXPECT_EQ(sample<uint8_t>(a, 3, 0), 18);  // 17.5 -> 18
    EXPECT_EQ(sample<uint8_t>(a, 5, 0), 255);

    Image w(2, 2, lum_fmt_16u, lum_gray, 12);
    fill<uint16_t>(w, 3000);
    const double two = 2.0;
    ASSERT_EQ(lum_mulCI(w, &two), 0);
    EXPECT_EQ(sample<uint16_t>(w, 1, 1), 4095);  // clamped to the valid bits

    Image g(3, 2, lum_fmt_32f, lum_gray), g3(3, 2, lum_fmt_32f, lum_color);
    fill<float>(g, 1.5f);
    const double k = -2.0;
    ASSERT_EQ(lum_mulCI(g, &k), 0);
    EXPECT_EQ(sample<float>(g, 2, 1), -3.0f);
    EXPECT_EQ(lum_mulCI(g3, f), -65);
    Image s16(2, 2, lum_fmt_16s, lum_gray);
    EXPECT_EQ(lum_mulCI(s16, &k), -1);
}

TEST(SubC, WritesTheDestinationAndComparesLayouts) {
    Image s(5, 2, lum_fmt_8u, lum_color), d(5, 2, lum_fmt_8u, lum_color);
    fill<uint8_t>(s, 5);
    sample<uint8_t>(s, 14, 1) = 100;
    const uint8_t v = 20;
    ASSERT_EQ(lum_subC(s, d, &v), 0);
    EXPECT_EQ(sample<uint8_t>(d, 0, 0), 0);
    EXPECT_EQ(sample<uint8_t>(d, 14, 1), 80);
    EXPECT_EQ(sample<uint8_t>(s, 14, 1), 100);

    Image w(5, 2, lum_fmt_16u, lum_gray), x(5, 2, lum_fmt_16u, lum_gray), f(5, 2, lum_fmt_32f, lum_gray);
    fill<uint16_t>(w, 40000);
    const uint16_t big = 1000;
    ASSERT_EQ(lum_subC(w, x, &big), 0);
    EXPECT_EQ(sample<uint16_t>(x, 4, 1), 39000);
    EXPECT_EQ(lum_subC(w, d, &big), -4);
    EXPECT_EQ(lum_subC(f, f, &big), -1);
}

}  // namespace
