// Conversion kernels: every processor variant against a plain reference on
// odd widths, steps and addresses, byte for byte.
#include <cmath>

#include "primitives/convert.hpp"
#include "support/unary_check.hpp"

namespace {

using lum::prim::round_nearest;
using lum::prim::round_zero;
using lum::prim::Size;
using lum::test::expect_unary_matches;

template <class S, class D>
auto converter(int rounding) {
    return [rounding](const S* s, int ss, D* d, int ds, Size z) { return lum::prim::convert<S, D>(s, ss, d, ds, z, rounding); };
}

// Float samples clamped to the byte range, NaN to 0 (rows past the first read
// samples across the random fill, so NaN and infinities occur).
float clamped(float v) { return !(v > 0.f) ? 0.f : v > 255.f ? 255.f : v; }

TEST(ConvertKernels, EveryPairMatchesTheReference) {
    expect_unary_matches<uint8_t, uint16_t>("8u to 16u", converter<uint8_t, uint16_t>(round_nearest),
                                            [](uint8_t v, uint16_t, int) { return uint16_t(v); });
    expect_unary_matches<uint16_t, uint8_t>("16u to 8u", converter<uint16_t, uint8_t>(round_nearest),
                                            [](uint16_t v, uint8_t, int) { return uint8_t(v > 255 ? 255 : v); });
    expect_unary_matches<uint16_t, float>("16u to 32f", converter<uint16_t, float>(round_nearest),
                                          [](uint16_t v, float, int) { return float(v); });
    // Float samples include halves, negatives and samples above 255.
    expect_unary_matches<float, uint8_t>("32f to 8u, nearest", converter<float, uint8_t>(round_nearest),
                                         [](float v, uint8_t, int) { return uint8_t(std::nearbyint(clamped(v))); });
    expect_unary_matches<float, uint8_t>("32f to 8u, toward zero", converter<float, uint8_t>(round_zero),
                                         [](float v, uint8_t, int) { return uint8_t(clamped(v)); });
}

TEST(ConvertKernels, HalvesGoToEvenNaNToZero) {
    const float in[8] = {0.5f, 1.5f, 2.5f, 254.5f, 255.5f, -0.5f, std::nanf(""), INFINITY};
    const uint8_t nearest[8] = {0, 2, 2, 254, 255, 0, 0, 255}, zero[8] = {0, 1, 2, 254, 255, 0, 0, 255};
    lum::test::for_each_variant([&](int) {
        uint8_t out[8];
        ASSERT_EQ((lum::prim::convert<float, uint8_t>(in, 32, out, 8, {8, 1}, round_nearest)), 0);
        EXPECT_EQ(0, std::memcmp(out, nearest, 8));
        ASSERT_EQ((lum::prim::convert<float, uint8_t>(in, 32, out, 8, {8, 1}, round_zero)), 0);
        EXPECT_EQ(0, std::memcmp(out, zero, 8));
    });
}

TEST(ConvertKernels, RefuseEmptyRegionsNullPointersAndUnknownRounding) {
    using namespace lum::prim;
    uint8_t b[64] = {};
    uint16_t w[64] = {};
    float f[16] = {};
    EXPECT_EQ((convert<uint8_t, uint16_t>(b, 8, w, 16, {0, 1}, round_nearest)), st_size);
    EXPECT_EQ((convert<uint16_t, uint8_t>(w, 8, b, 16, {1, 0}, round_nearest)), st_size);
    EXPECT_EQ((convert<uint16_t, float>(nullptr, 8, f, 16, {1, 1}, round_nearest)), st_null);
    EXPECT_EQ((convert<float, uint8_t>(f, 8, nullptr, 8, {0, 1}, round_nearest)), st_null);
    EXPECT_EQ((convert<float, uint8_t>(f, 8, b, 8, {0, 1}, 7)), st_size);
    EXPECT_EQ((convert<float, uint8_t>(f, 8, b, 8, {1, 1}, 7)), st_bad_arg);
}

}  // namespace
