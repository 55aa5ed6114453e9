// Colour kernels: every processor variant against a plain scalar reference on
// odd widths and steps at odd addresses, byte for byte, with the bytes around
// each region left alone.
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "primitives/color.hpp"
#include "primitives/palette.hpp"
#include "support/regions.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::for_each_variant;
using lum::test::kTestWidths;
using lum::test::Region;

constexpr int kRows = 3;

// Nearest integer (halves to even) within [0, top]; NaN gives 0.
template <class T>
T round_saturate(float v, T top) {
    if (!(v > 0.0f)) return 0;
    if (v >= float(top)) return top;
    return static_cast<T>(std::nearbyint(v));
}

// Floats at an odd address, as a caller may lend them.
struct OddFloats {
    std::vector<uint8_t> bytes;
    explicit OddFloats(const std::vector<float>& v) : bytes(4 * v.size() + 1) { std::memcpy(&bytes[1], v.data(), 4 * v.size()); }
    const float* get() const { return reinterpret_cast<const float*>(&bytes[1]); }
};

template <class T>
void check_to_gray(const std::vector<float>& w) {
    const OddFloats weights(w);
    const T top = std::numeric_limits<T>::max();
    for_each_variant([&](int) {
        for (int width : kTestWidths) {
            Region<T> src(3 * width, kRows, width);
            Region<T> got(width, kRows, 7), want = got;
            ASSERT_EQ(lum::prim::color_to_gray<T>(src.data(), src.step, got.data(), got.step, {width, kRows},
                                                  weights.get()),
                      0);
            for (int y = 0; y < kRows; ++y)
                for (int x = 0; x < width; ++x) {
                    const float v = w[0] * float(src.get(3 * x, y)) + w[1] * float(src.get(3 * x + 1, y)) +
                                    w[2] * float(src.get(3 * x + 2, y));
                    want.set(x, y, round_saturate<T>(v, top));
                }
            ASSERT_EQ(got.bytes, want.bytes) << "width " << width;
        }
    });
}

TEST(ColorKernels, ColorToGrayMatchesTheReference) {
    const std::vector<float> skewed = {0.2f, 0.7f, 0.1f}, equal = {1.0f / 3, 1.0f / 3, 1.0f / 3},
                             wild = {-0.5f, 1.75f, 0.3f};
    for (const auto& w : {skewed, equal, wild}) {
        check_to_gray<uint8_t>(w);
        check_to_gray<uint16_t>(w);
    }
}

TEST(ColorKernels, GrayToColorRepeatsTheSample) {
    for_each_variant([](int) {
        for (int width : kTestWidths) {
            Region<uint8_t> src(width, kRows, width), got(3 * width, kRows, 3), want = got;
            ASSERT_EQ(lum::prim::gray_to_color<uint8_t>(src.data(), src.step, got.data(), got.step, {width, kRows}), 0);
            for (int y = 0; y < kRows; ++y)
                for (int i = 0; i < 3 * width; ++i) want.set(i, y, src.get(i / 3, y));
            ASSERT_EQ(got.bytes, want.bytes) << "width " << width;
        }
    });
}

// Each sample's twist in the order the kernels promise, saturated to [0, top].
template <class T>
T twisted(const float* m, const T* p, int c, T top) {
    const float v = ((m[4 * c] * float(p[0]) + m[4 * c + 1] * float(p[1])) + m[4 * c + 2] * float(p[2])) + m[4 * c + 3];
    return round_saturate<T>(v, top);
}

template <class T>
void check_twist(const std::vector<float>& matrix, T top) {
    const OddFloats m(matrix);
    for_each_variant([&](int) {
        for (int width : kTestWidths) {
            Region<T> src(3 * width, kRows, width);
            Region<T> got(3 * width, kRows, 9), want = got;
            ASSERT_EQ(lum::prim::color_twist<T>(src.data(), src.step, got.data(), got.step, {width, kRows}, m.get(), top),
                      0);
            for (int y = 0; y < kRows; ++y)
                for (int x = 0; x < width; ++x) {
                    const T p[3] = {src.get(3 * x, y), src.get(3 * x + 1, y), src.get(3 * x + 2, y)};
                    for (int c = 0; c < 3; ++c) want.set(3 * x + c, y, twisted<T>(matrix.data(), p, c, top));
                }
            ASSERT_EQ(got.bytes, want.bytes) << "width " << width << ", top " << top;
            // In place gives what the separate destination got.
            ASSERT_EQ(lum::prim::color_twist<T>(src.data(), src.step, src.data(), src.step, {width, kRows}, m.get(), top),
                      0);
            for (int y = 0; y < kRows; ++y)
                for (int i = 0; i < 3 * width; ++i) ASSERT_EQ(src.get(i, y), got.get(i, y)) << "in place, width " << width;
        }
    });
}

std::vector<float> random_matrix(uint32_t seed, float scale) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> coeff(-1.2f, 1.7f), offset(-30.0f * scale, 120.0f * scale);
    std::vector<float> m(12);
    for (int i = 0; i < 12; ++i) m[i] = i % 4 == 3 ? offset(rng) : coeff(rng);
    return m;
}

TEST(ColorKernels, TwistMatchesTheReference) {
    check_twist<uint8_t>(random_matrix(5, 1.0f), 255);
    check_twist<uint16_t>(random_matrix(6, 256.0f), 65535);
    check_twist<uint16_t>(random_matrix(7, 16.0f), 4095);  // results kept within 12 valid bits
    // Products beyond the integer range, infinities and NaN saturate like any other value (NaN to 0).
    const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    check_twist<uint8_t>({1e30f, 0, 0, 0, -1e30f, 1, 0, 0, 0, 0, 1, nan}, 255);
    check_twist<uint16_t>({0, 0, 0, inf, 0, 0, 0, -inf, 0.5f, 0.5f, 0.5f, 0.5f}, 65535);
    check_twist<uint16_t>({1e30f, 0, 0, 0, -1e30f, 1, 0, 0, 0, 0, 1, nan}, 4095);
}

// Palette entry of a sample: truncation toward zero (INT32_MIN outside the
// 32-bit range), the arithmetic shift, then the clamp to the palette.
int palette_entry(double sample, double contrast, double brightness, int shift) {
    const double v = sample * contrast + brightness;
    int32_t k = v > -2147483649.0 && v < 2147483648.0 ? static_cast<int32_t>(v) : INT32_MIN;
    k >>= shift;
    return k < 0 ? 0 : k > 255 ? 255 : k;
}

template <class T>
void check_palette(double contrast, double brightness, int shift) {
    std::mt19937 rng(41);
    std::vector<uint8_t> palette(768);
    for (auto& b : palette) b = static_cast<uint8_t>(rng());
    lum::prim::PaletteColours pc{};
    pc.contrast = contrast;
    pc.brightness = brightness;
    pc.shift = shift;
    // 8-bit samples index the table directly; 16-bit samples index palette entries.
    for (int v = 0; v < 256; ++v) {
        const int k = sizeof(T) == 1 ? palette_entry(v, contrast, brightness, 0) : v;
        for (int c = 0; c < 3; ++c) pc.colour[v][c] = palette[3 * k + 2 - c];
    }
    for_each_variant([&](int) {
        for (int width : kTestWidths) {
            Region<T> src(width, kRows, width);
            Region<uint8_t> got(3 * width, kRows, 5), want = got;
            ASSERT_EQ(lum::prim::palette_add<T>(src.data(), src.step, got.data(), got.step, {width, kRows}, &pc), 0);
            for (int y = 0; y < kRows; ++y)
                for (int x = 0; x < width; ++x) {
                    const int k = palette_entry(src.get(x, y), contrast, brightness, sizeof(T) == 1 ? 0 : shift);
                    for (int c = 0; c < 3; ++c) {
                        const int sum = want.get(3 * x + c, y) + palette[3 * k + 2 - c];
                        want.set(3 * x + c, y, static_cast<uint8_t>(sum > 255 ? 255 : sum));
                    }
                }
            ASSERT_EQ(got.bytes, want.bytes) << "width " << width << ", contrast " << contrast;
        }
    });
}

TEST(ColorKernels, PaletteAddsTheColourOfEachSample) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (double contrast : {1.0, 0.37, -3.0, 1e12, nan}) {
        check_palette<uint8_t>(contrast, 5.0, 0);
        check_palette<uint16_t>(contrast, -20.5, 4);
        check_palette<uint16_t>(contrast, 70000.0, 8);
    }
}

TEST(ColorKernels, RefuseEmptyRegionsAndNullPointers) {
    using namespace lum::prim;
    uint8_t b[64] = {};
    const float w[12] = {1, 1, 1};
    auto* wide = reinterpret_cast<uint16_t*>(b);
    EXPECT_EQ(color_to_gray<uint8_t>(b, 16, b, 16, {0, 1}, w), st_size);
    EXPECT_EQ(color_to_gray<uint16_t>(wide, 16, wide, 16, {1, 1}, nullptr), st_null);
    EXPECT_EQ(gray_to_color<uint8_t>(b, 16, nullptr, 16, {1, 1}), st_null);
    EXPECT_EQ(gray_to_color<uint8_t>(b, 16, b, 16, {1, -1}), st_size);
    EXPECT_EQ(color_twist<uint8_t>(nullptr, 16, b, 16, {1, 1}, w, 255), st_null);
    EXPECT_EQ(color_twist<uint8_t>(b, 16, b, 16, {1, 1}, nullptr, 255), st_null);
    EXPECT_EQ(color_twist<uint16_t>(wide, 16, wide, 16, {1, -1}, w, 65535), st_size);
    const PaletteColours pc{};
    EXPECT_EQ(palette_add<uint8_t>(b, 16, b, 16, {1, 1}, nullptr), st_null);
    EXPECT_EQ(palette_add<uint16_t>(wide, 16, b, 16, {0, 1}, &pc), st_size);
    EXPECT_EQ(std::vector<uint8_t>(b, b + 64), std::vector<uint8_t>(64, 0));
}

}  // namespace
