// Colour and channel-move kernels: every processor variant against a plain
// scalar reference on odd widths and steps, byte for byte, with the bytes
// around each region left alone.
#include <cmath>
#include <vector>

#include "primitives/channels.hpp"
#include "primitives/color.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::for_each_variant;

constexpr int kWidths[] = {1, 15, 17, 63, 65, 1000};
constexpr int kRows = 3;

// Random bytes with a region starting at a small offset; rows `step` bytes apart.
struct Canvas {
    int step;
    std::vector<uint8_t> bytes;
    Canvas(int step_, int rows, uint32_t seed) : step(step_), bytes(size_t(step_) * rows + 64) {
        std::mt19937 rng(seed);
        for (auto& b : bytes) b = static_cast<uint8_t>(rng());
    }
    template <class T>
    T* at(int x, int y, int channels, int offset = 0) {
        return reinterpret_cast<T*>(bytes.data() + offset + size_t(y) * step) + size_t(x) * channels;
    }
};

// Step with an odd number of spare samples, so rows are not 16-byte aligned.
template <class T>
int odd_step(int width, int channels) {
    return (width * channels + 3) * int(sizeof(T));
}

template <class T>
T round_saturate(float v) {
    const float top = sizeof(T) == 1 ? 255.0f : 65535.0f;
    const float r = std::nearbyint(v);
    return static_cast<T>(r < 0.0f ? 0.0f : r > top ? top : r);
}

template <class T, class Kernel>
void check_to_gray(Kernel& kernel, const float (&w)[3]) {
    for_each_variant([&](int) {
        for (int width : kWidths) {
            const int ss = odd_step<T>(width, 3), ds = odd_step<T>(width, 1);
            Canvas src(ss, kRows, width), got(ds, kRows, 7), want(ds, kRows, 7);
            ASSERT_EQ(kernel(src.at<T>(0, 0, 3), ss, got.at<T>(0, 0, 1, 2), ds, Size{width, kRows}, w), 0);
            for (int y = 0; y < kRows; ++y)
                for (int x = 0; x < width; ++x) {
                    const T* p = src.at<T>(x, y, 3);
                    *want.at<T>(x, y, 1, 2) = round_saturate<T>(w[0] * float(p[0]) + w[1] * float(p[1]) + w[2] * float(p[2]));
                }
            ASSERT_EQ(got.bytes, want.bytes) << "width " << width;
        }
    });
}

TEST(ColorKernels, ColorToGrayMatchesTheReference) {
    const float skewed[3] = {0.2f, 0.7f, 0.1f}, equal[3] = {1.0f / 3, 1.0f / 3, 1.0f / 3};
    check_to_gray<uint8_t>(lum::prim::color_to_gray_8u_c3c1r, skewed);
    check_to_gray<uint16_t>(lum::prim::color_to_gray_16u_c3c1r, skewed);
    check_to_gray<uint8_t>(lum::prim::color_to_gray_8u_c3c1r, equal);
    check_to_gray<uint16_t>(lum::prim::color_to_gray_16u_c3c1r, equal);
}

TEST(ColorKernels, GrayToColorMatchesTheReference) {
    for_each_variant([](int) {
        for (int width : kWidths) {
            const int ss = odd_step<uint8_t>(width, 1), ds = odd_step<uint8_t>(width, 3);
            Canvas src(ss, kRows, width), got(ds, kRows, 3), want(ds, kRows, 3);
            ASSERT_EQ(lum::prim::gray_to_color_8u_c1c3r(src.at<uint8_t>(0, 0, 1), ss, got.at<uint8_t>(0, 0, 3, 1), ds,
                                                         {width, kRows}),
                      0);
            for (int y = 0; y < kRows; ++y)
                for (int x = 0; x < width; ++x)
                    for (int c = 0; c < 3; ++c) want.at<uint8_t>(x, y, 3, 1)[c] = *src.at<uint8_t>(x, y, 1);
            ASSERT_EQ(got.bytes, want.bytes) << "width " << width;
        }
    });
}

template <class T, class Kernel, class KernelI>
void check_twist(Kernel& kernel, KernelI& in_place, float scale) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<float> coeff(-1.2f, 1.7f), offset(-30.0f * scale, 120.0f * scale);
    float m[12];
    for (int i = 0; i < 12; ++i) m[i] = i % 4 == 3 ? offset(rng) : coeff(rng);
    for_each_variant([&](int) {
        for (int width : kWidths) {
            const int step = odd_step<T>(width, 3);
            Canvas src(step, kRows, width), got(step, kRows, 9), want(step, kRows, 9);
            ASSERT_EQ(kernel(src.at<T>(0, 0, 3), step, got.at<T>(0, 0, 3, 2), step, Size{width, kRows}, m), 0);
            for (int y = 0; y < kRows; ++y)
                for (int x = 0; x < width; ++x) {
                    const T* p = src.at<T>(x, y, 3);
                    T* q = want.at<T>(x, y, 3, 2);
                    for (int c = 0; c < 3; ++c)
                        q[c] = round_saturate<T>(m[4 * c] * float(p[0]) + m[4 * c + 1] * float(p[1]) +
                                                 m[4 * c + 2] * float(p[2]) + m[4 * c + 3]);
                }
            ASSERT_EQ(got.bytes, want.bytes) << "width " << width;
            // In place gives the same samples as from a separate source.
            Canvas inplace = src;
            ASSERT_EQ(in_place(inplace.at<T>(0, 0, 3, 2), step, Size{width, kRows}, m), 0);
            Canvas shifted = src;
            ASSERT_EQ(kernel(src.at<T>(0, 0, 3, 2), step, shifted.at<T>(0, 0, 3, 2), step, Size{width, kRows}, m), 0);
            ASSERT_EQ(inplace.bytes, shifted.bytes) << "in place, width " << width;
        }
    });
}

TEST(ColorKernels, TwistMatchesTheReference) {
    check_twist<uint8_t>(lum::prim::color_twist_8u_c3r, lum::prim::color_twist_8u_c3ir, 1.0f);
    check_twist<uint16_t>(lum::prim::color_twist_16u_c3r, lum::prim::color_twist_16u_c3ir, 256.0f);
}

TEST(ColorKernels, RefuseEmptyRegionsAndNullPointers) {
    uint8_t buf[64] = {};
    const float w[3] = {1, 1, 1};
    EXPECT_EQ(lum::prim::color_to_gray_8u_c3c1r(buf, 16, buf, 16, {0, 1}, w), -6);
    EXPECT_EQ(lum::prim::color_to_gray_8u_c3c1r(buf, 16, buf, 16, {1, 1}, nullptr), -8);
    EXPECT_EQ(lum::prim::color_twist_8u_c3ir(nullptr, 16, {1, 1}, w), -8);
    EXPECT_EQ(lum::prim::color_twist_16u_c3ir(reinterpret_cast<uint16_t*>(buf), 16, {1, -1}, w), -6);
    EXPECT_EQ(lum::prim::gray_to_color_8u_c1c3r(buf, 16, nullptr, 16, {1, 1}), -8);
}

TEST(ChannelKernels, OneIntoThreeTouchesOnlyItsChannel) {
    for_each_variant([](int) {
        for (int width : kWidths) {
            const int ss = odd_step<uint8_t>(width, 1), ds = odd_step<uint8_t>(width, 3);
            Canvas src(ss, kRows, width), got(ds, kRows, 4), want(ds, kRows, 4);
            ASSERT_EQ(lum::prim::copy_8u_c1c3r(src.at<uint8_t>(0, 0, 1), ss, got.at<uint8_t>(0, 0, 3, 1), ds,
                                                {width, kRows}),
                      0);
            for (int y = 0; y < kRows; ++y)
                for (int x = 0; x < width; ++x) want.at<uint8_t>(x, y, 3, 1)[0] = *src.at<uint8_t>(x, y, 1);
            ASSERT_EQ(got.bytes, want.bytes) << "width " << width;
        }
    });
}

template <class T, class Split, class Merge>
void check_split_merge(Split& split, Merge& merge) {
    for_each_variant([&](int) {
        for (int width : kWidths) {
            const int cs = odd_step<T>(width, 3), ps = odd_step<T>(width, 1);
            Canvas colour(cs, kRows, width), p0(ps, kRows, 1), p1(ps, kRows, 2), p2(ps, kRows, 3);
            Canvas w0 = p0, w1 = p1, w2 = p2;
            T* planes[3] = {p0.at<T>(0, 0, 1, 2), p1.at<T>(0, 0, 1, 2), p2.at<T>(0, 0, 1, 2)};
            ASSERT_EQ(split(colour.at<T>(0, 0, 3), cs, planes, ps, Size{width, kRows}), 0);
            Canvas* want[3] = {&w0, &w1, &w2};
            for (int y = 0; y < kRows; ++y)
                for (int x = 0; x < width; ++x)
                    for (int c = 0; c < 3; ++c) *want[c]->template at<T>(x, y, 1, 2) = colour.at<T>(x, y, 3)[c];
            ASSERT_EQ(p0.bytes, w0.bytes);
            ASSERT_EQ(p1.bytes, w1.bytes);
            ASSERT_EQ(p2.bytes, w2.bytes);

            // Merging the planes into a shifted copy of the colour canvas rebuilds exactly the region.
            Canvas back(cs, kRows, 99), expect = back;
            const T* cplanes[3] = {planes[0], planes[1], planes[2]};
            ASSERT_EQ(merge(cplanes, ps, back.at<T>(0, 0, 3, 2), cs, Size{width, kRows}), 0);
            for (int y = 0; y < kRows; ++y)
                for (int x = 0; x < width; ++x)
                    for (int c = 0; c < 3; ++c) expect.at<T>(x, y, 3, 2)[c] = colour.at<T>(x, y, 3)[c];
            ASSERT_EQ(back.bytes, expect.bytes) << "width " << width;
        }
    });
}

TEST(ChannelKernels, SplitAndMergeMatchTheReference) {
    check_split_merge<uint8_t>(lum::prim::copy_8u_c3p3r, lum::prim::copy_8u_p3c3r);
    check_split_merge<uint16_t>(lum::prim::copy_16u_c3p3r, lum::prim::copy_16u_p3c3r);
}

TEST(ChannelKernels, SwapFollowsTheOrderAndRefusesBadIndices) {
    const int32_t orders[][3] = {{2, 1, 0}, {1, 2, 0}, {0, 0, 2}, {0, 1, 2}};
    for_each_variant([&](int) {
        for (const auto& order : orders)
            for (int width : kWidths) {
                const int step = odd_step<uint8_t>(width, 3);
                Canvas got(step, kRows, width), want = got;
                ASSERT_EQ(lum::prim::swap_channels_8u_c3ir(got.at<uint8_t>(0, 0, 3, 1), step, {width, kRows}, order), 0);
                for (int y = 0; y < kRows; ++y)
                    for (int x = 0; x < width; ++x) {
                        uint8_t* p = want.at<uint8_t>(x, y, 3, 1);
                        const uint8_t v[3] = {p[order[0]], p[order[1]], p[order[2]]};
                        for (int c = 0; c < 3; ++c) p[c] = v[c];
                    }
                ASSERT_EQ(got.bytes, want.bytes) << "width " << width;
            }
    });
    uint8_t px[3] = {1, 2, 3};
    const int32_t bad[][3] = {{3, 1, 0}, {0, -1, 2}};
    for (const auto& order : bad) {
        EXPECT_LT(lum::prim::swap_channels_8u_c3ir(px, 3, {1, 1}, order), 0);
        EXPECT_EQ(px[0], 1);
    }
}

}  // namespace
