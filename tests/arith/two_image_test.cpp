// Two-image arithmetic and logic through the C interface: which image gets
// the result, which are compared, saturation, the valid-bits clamp, and the
// order of the status codes.
#include "arith/arith_support.hpp"

namespace {

using lum::test::fill;
using lum::test::Image;
using lum::test::sample;

TEST(Add, SaturatesThenClampsTheDestinationToItsValidBits) {
    Image a(5, 2, lum_fmt_8u, lum_gray), b(5, 2, lum_fmt_8u, lum_gray), d(5, 2, lum_fmt_8u, lum_gray);
    fill<uint8_t>(a, 200);
    fill<uint8_t>(b, 100);
    ASSERT_EQ(lum_add(a, b, d), 0);
    EXPECT_EQ(sample<uint8_t>(d, 4, 1), 255);
    Image d7(5, 2, lum_fmt_8u, lum_gray, 7), d0(5, 2, lum_fmt_8u, lum_gray, 0);
    ASSERT_EQ(lum_add(a, b, d7), 0);
    EXPECT_EQ(sample<uint8_t>(d7, 0, 0), 127);
    fill<uint8_t>(a, 1);
    fill<uint8_t>(b, 2);
    ASSERT_EQ(lum_add(a, b, d0), 0);  // valid bits 0: everything cleared
    EXPECT_EQ(sample<uint8_t>(d0, 3, 1), 0);
    EXPECT_EQ(sample<uint8_t>(a, 3, 1), 1);  // sources untouched

    Image p(3, 3, lum_fmt_16u, lum_color, 12), q(3, 3, lum_fmt_16u, lum_color, 12), r(3, 3, lum_fmt_16u, lum_color, 12);
    fill<uint16_t>(p, 3000);
    fill<uint16_t>(q, 2000);
    sample<uint16_t>(q, 0, 0) = 0;
    ASSERT_EQ(lum_add(p, q, r), 0);
    EXPECT_EQ(sample<uint16_t>(r, 8, 2), 4095);
    EXPECT_EQ(sample<uint16_t>(r, 0, 0), 3000);

    Image f(4, 1, lum_fmt_32f, lum_color), g(4, 1, lum_fmt_32f, lum_color), h(4, 1, lum_fmt_32f, lum_color);
    fill<float>(f, 1.25f);
    fill<float>(g, -3.5f);
    ASSERT_EQ(lum_add(f, g, h), 0);
    EXPECT_EQ(sample<float>(h, 11, 0), -2.25f);
}

TEST(Add, ChecksInOrder) {
    Image a(4, 4, lum_fmt_8u, lum_gray), b(4, 4, lum_fmt_8u, lum_gray), d(4, 4, lum_fmt_8u, lum_gray);
    Image tall(4, 5, lum_fmt_8u, lum_gray), s16(4, 4, lum_fmt_16s, lum_gray), s16b(4, 4, lum_fmt_16s, lum_gray);
    Image s16c(4, 4, lum_fmt_16s, lum_gray), empty;
    EXPECT_EQ(lum_add(a, tall, d), -4);
    EXPECT_EQ(lum_add(a, b, tall), -4);
    EXPECT_EQ(lum_add(a, b, empty), -64);
    EXPECT_EQ(lum_add(empty, tall, d), -64);  // -64 before -4
    EXPECT_EQ(lum_add(a, b, 999999), -6);
    EXPECT_EQ(lum_add(s16, s16b, s16c), -1);
    // A three-channel layout on a format lum_add refuses: -1 comes before -65.
    lum_info odd = a.info();
    odd.channels = static_cast<lum_channels>(2);
    Image x, y, z;
    ASSERT_EQ(lum_init_image_ex(x, &odd), 0);
    ASSERT_EQ(lum_init_image_ex(y, &odd), 0);
    ASSERT_EQ(lum_init_image_ex(z, &odd), 0);
    EXPECT_EQ(lum_add(x, y, z), -65);
}

TEST(AddI, WritesIntoTheSecondImageAndKeepsItsAsymmetries) {
    Image a(4, 2, lum_fmt_8u, lum_gray), b(4, 2, lum_fmt_8u, lum_gray, 7);
    fill<uint8_t>(a, 100);
    fill<uint8_t>(b, 50);
    ASSERT_EQ(lum_addI(a, b), 0);
    EXPECT_EQ(sample<uint8_t>(b, 0, 0), 127);  // b's mask
    EXPECT_EQ(sample<uint8_t>(a, 0, 0), 100);

    // 16-bit a into a float b: converted and added, not clamped.
    Image w(3, 2, lum_fmt_16u, lum_gray, 12), f(3, 2, lum_fmt_32f, lum_gray);
    fill<uint16_t>(w, 4000);
    fill<float>(f, 0.5f);
    ASSERT_EQ(lum_addI(w, f), 0);
    EXPECT_EQ(sample<float>(f, 2, 1), 4000.5f);
    // 16-bit a with an 8-bit b: silently nothing.
    Image e(3, 2, lum_fmt_8u, lum_gray);
    e.randomize(3);
    const auto before = e.bytes();
    EXPECT_EQ(lum_addI(w, e), 0);
    EXPECT_EQ(e.bytes(), before);
    // ... but a three-channel 16-bit a with a float b is refused.
    Image w3(3, 2, lum_fmt_16u, lum_color), f3(3, 2, lum_fmt_32f, lum_color);
    EXPECT_EQ(lum_addI(w3, f3), -65);

    // 16-bit pair: clamped to b's valid bits; b with 16 bits keeps the saturated sum.
    Image p(2, 2, lum_fmt_16u, lum_gray, 16), q(2, 2, lum_fmt_16u, lum_gray, 10), r(2, 2, lum_fmt_16u, lum_gray, 16);
    fill<uint16_t>(p, 60000);
    fill<uint16_t>(q, 20);
    fill<uint16_t>(r, 10000);
    ASSERT_EQ(lum_addI(p, q), 0);
    EXPECT_EQ(sample<uint16_t>(q, 1, 1), 1023);
    ASSERT_EQ(lum_addI(p, r), 0);
    EXPECT_EQ(sample<uint16_t>(r, 1, 1), 65535);

    Image narrow(3, 3, lum_fmt_8u, lum_gray), c3(4, 2, lum_fmt_8u, lum_color);
    EXPECT_EQ(lum_addI(a, narrow), -4);
    EXPECT_EQ(lum_addI(a, c3), -4);
}

TEST(Add, AClampThatRefusesComesAfterTheSum) {
    // An 8-bit destination with 9 valid bits (lent: init refuses them): the saturated sum is written, then
    // the clamp refuses.
    Image a(3, 2, lum_fmt_8u, lum_gray), b(3, 2, lum_fmt_8u, lum_gray), owner(3, 2, lum_fmt_8u, lum_gray), d;
    lum_info nine = owner.info();
    nine.valid_bits = 9;
    ASSERT_EQ(lum_init_image_ex(d, &nine), 0);
    fill<uint8_t>(a, 200);
    fill<uint8_t>(b, 100);
    EXPECT_EQ(lum_add(a, b, d), -7);
    EXPECT_EQ(sample<uint8_t>(d, 2, 1), 255);
    EXPECT_EQ(lum_addI(a, d), -7);
    EXPECT_EQ(sample<uint8_t>(d, 0, 0), 255);

    // An 8-bit first image adds bytes into a 16-bit second one over its own row of bytes, then the second
    // image is clamped as 16-bit samples to its 10 valid bits.
    Image bytes(2, 1, lum_fmt_8u, lum_gray), words(2, 1, lum_fmt_16u, lum_gray, 10);
    fill<uint8_t>(bytes, 100);
    sample<uint16_t>(words, 0, 0) = 0x0102;
    sample<uint16_t>(words, 1, 0) = 5;
    ASSERT_EQ(lum_addI(bytes, words), 0);
    EXPECT_EQ(sample<uint16_t>(words, 0, 0), 1023);  // 0x6566 before the clamp
    EXPECT_EQ(sample<uint16_t>(words, 1, 0), 5);
}

TEST(Sub, SaturatesAtZeroAndRefusesFloat) {
    Image a(4, 2, lum_fmt_8u, lum_gray), b(4, 2, lum_fmt_8u, lum_gray), d(4, 2, lum_fmt_8u, lum_gray);
    fill<uint8_t>(a, 10);
    fill<uint8_t>(b, 30);
    ASSERT_EQ(lum_sub(a, b, d), 0);
    EXPECT_EQ(sample<uint8_t>(d, 3, 1), 0);
    ASSERT_EQ(lum_sub(b, a, d), 0);
    EXPECT_EQ(sample<uint8_t>(d, 3, 1), 20);
    Image f(4, 2, lum_fmt_32f, lum_gray), g(4, 2, lum_fmt_32f, lum_gray), h(4, 2, lum_fmt_32f, lum_gray);
    EXPECT_EQ(lum_sub(f, g, h), -1);
    Image w(4, 2, lum_fmt_16u, lum_color), x(4, 2, lum_fmt_16u, lum_color), y(4, 2, lum_fmt_16u, lum_color);
    fill<uint16_t>(w, 5000);
    fill<uint16_t>(x, 1234);
    ASSERT_EQ(lum_sub(w, x, y), 0);
    EXPECT_EQ(sample<uint16_t>(y, 11, 1), 3766);
}

TEST(Sub, ReadsTheFirstImageWithTheSecondImagesStep) {
    // Caller buffers: a with 8 bytes per row, b packed with 4.
    uint8_t abuf[8 * 4], bbuf[4 * 4] = {};
    for (int i = 0; i < 32; ++i) abuf[i] = uint8_t(100 + i);
    for (int i = 0; i < 16; ++i) bbuf[i] = 1;
    lum_info ia{4, 4, 0, 0, 8, lum_fmt_8u, 8, lum_gray, abuf};
    lum_info ib{4, 4, 0, 0, 4, lum_fmt_8u, 8, lum_gray, bbuf};
    Image a, b, d(4, 4, lum_fmt_8u, lum_gray);
    ASSERT_EQ(lum_init_image_ex(a, &ia), 0);
    ASSERT_EQ(lum_init_image_ex(b, &ib), 0);
    ASSERT_EQ(lum_sub(a, b, d), 0);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) EXPECT_EQ(sample<uint8_t>(d, x, y), 100 + 4 * y + x - 1);
    // The other way round a packed first image would be read past its 16 bytes: refused.
    EXPECT_EQ(lum_sub(b, a, d), -2);
}

TEST(SubI, WritesIntoTheFirstImage) {
    Image a(3, 3, lum_fmt_32f, lum_color), b(3, 3, lum_fmt_32f, lum_color);
    fill<float>(a, 1.0f);
    fill<float>(b, 2.5f);
    ASSERT_EQ(lum_subI(a, b), 0);
    EXPECT_EQ(sample<float>(a, 8, 2), -1.5f);
    EXPECT_EQ(sample<float>(b, 8, 2), 2.5f);
    Image c(3, 3, lum_fmt_8u, lum_gray), e(3, 3, lum_fmt_8u, lum_gray);
    fill<uint8_t>(c, 9);
    fill<uint8_t>(e, 4);
    ASSERT_EQ(lum_subI(e, c), 0);
    EXPECT_EQ(sample<uint8_t>(e, 0, 0), 0);
    EXPECT_EQ(sample<uint8_t>(c, 0, 0), 9);
    Image w(3, 3, lum_fmt_16u, lum_gray);
    EXPECT_EQ(lum_subI(c, w), -4);  // formats compared
}

TEST(AbsDiff, ComparesNothingAndDispatchesOnTheFirstImage) {
    Image a(4, 2, lum_fmt_8u, lum_color), b(4, 2, lum_fmt_8u, lum_color), d(4, 2, lum_fmt_8u, lum_color);
    fill<uint8_t>(a, 10);
    fill<uint8_t>(b, 250);
    ASSERT_EQ(lum_absDiff(a, b, d), 0);
    EXPECT_EQ(sample<uint8_t>(d, 11, 1), 240);
    // A larger second image of another format is read as a's layout.
    Image big(8, 4, lum_fmt_16u, lum_gray);
    ASSERT_EQ(lum_absDiff(a, big, d), 0);
    EXPECT_EQ(sample<uint8_t>(d, 0, 0), 10);
    Image w(4, 2, lum_fmt_16u, lum_color), f(4, 2, lum_fmt_32f, lum_gray), empty;
    EXPECT_EQ(lum_absDiff(w, w, w), -65);
    EXPECT_EQ(lum_absDiff(f, f, f), -1);
    EXPECT_EQ(lum_absDiff(a, b, empty), -64);
    // A smaller third image would be written past its buffer: refused.
    Image small(2, 1, lum_fmt_8u, lum_gray);
    EXPECT_EQ(lum_absDiff(a, b, small), -2);
}

TEST(Logic, WritesIntoTheSecondImageAndIgnoresOddChannelCounts) {
    Image a(3, 2, lum_fmt_16u, lum_color), b(3, 2, lum_fmt_16u, lum_color);
    fill<uint16_t>(a, 0x0F0F);
    fill<uint16_t>(b, 0x00FF);
    ASSERT_EQ(lum_or(a, b), 0);
    EXPECT_EQ(sample<uint16_t>(b, 8, 1), 0x0FFF);
    EXPECT_EQ(sample<uint16_t>(a, 8, 1), 0x0F0F);
    ASSERT_EQ(lum_and(a, b), 0);
    EXPECT_EQ(sample<uint16_t>(b, 0, 0), 0x0F0F);
    ASSERT_EQ(lum_xor(a, b), 0);
    EXPECT_EQ(sample<uint16_t>(b, 0, 0), 0);

    Image f(3, 2, lum_fmt_32f, lum_gray), g(3, 2, lum_fmt_32f, lum_gray), c(3, 2, lum_fmt_16u, lum_gray);
    EXPECT_EQ(lum_xor(f, g), -1);
    EXPECT_EQ(lum_and(a, c), -4);
    uint8_t buf[64] = {1, 2, 3};
    lum_info odd{4, 2, 0, 0, 16, lum_fmt_8u, 8, static_cast<lum_channels>(2), buf};
    Image x, y;
    ASSERT_EQ(lum_init_image_ex(x, &odd), 0);
    ASSERT_EQ(lum_init_image_ex(y, &odd), 0);
    EXPECT_EQ(lum_and(x, y), 0);
    EXPECT_EQ(buf[0], 1);
}

TEST(TwoImage, PrimitiveFailureIsPrintedAndGivesMinus5WithoutClamp) {
    // A caller's image without a buffer: the kernel's null-pointer status surfaces.
    lum_info none{4, 2, 0, 0, 16, lum_fmt_8u, 8, lum_gray, nullptr};
    Image a, b, d;
    ASSERT_EQ(lum_init_image_ex(a, &none), 0);
    ASSERT_EQ(lum_init_image_ex(b, &none), 0);
    ASSERT_EQ(lum_init_image_ex(d, &none), 0);
    int8_t status = 0;
    const std::string out = lum::test::captured_stdout([&] { status = lum_add(a, b, d); });
    EXPECT_EQ(status, -5);
    EXPECT_EQ(out, "IPP function failed,return value -8.\n");
}

}  // namespace
