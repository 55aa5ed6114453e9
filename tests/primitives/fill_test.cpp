// Fill, copy and "greater than T becomes V" kernels: every processor variant
// against a plain reference on odd widths and steps at odd addresses, byte for
// byte, with the bytes around the region left alone; and the dispatch.
#include <cstring>
#include <string>
#include <vector>

#include "primitives/fill.hpp"
#include "support/regions.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::for_each_variant;
using lum::test::kTestWidths;
using lum::test::Region;

constexpr int kRows = 3;

template <class T>
void check_fill(const T (&values)[3]) {
    for_each_variant([&](int) {
        for (int channels : {1, 3})
            for (int w : kTestWidths) {
                const int n = w * channels;
                Region<T> got(n, kRows, w), want = got;
                ASSERT_EQ(lum::prim::fill<T>(got.data(), got.step, {n, kRows}, values, channels), 0);
                for (int y = 0; y < kRows; ++y)
                    for (int i = 0; i < n; ++i) want.set(i, y, values[channels == 3 ? i % 3 : 0]);
                ASSERT_EQ(got.bytes, want.bytes) << channels << " channels, width " << w;
            }
    });
}

TEST(FillKernels, EveryChannelTakesItsValue) {
    check_fill<uint8_t>({1, 254, 3});
    check_fill<uint16_t>({7, 65535, 300});
    check_fill<float>({-2.5f, 0.0f, 1e30f});
}

TEST(CopyKernels, CopyOnlyTheRegionBetweenDifferentSteps) {
    for_each_variant([](int) {
        for (int w : kTestWidths) {
            Region<uint8_t> src(w, kRows, 1), got(w + 3, kRows, 2), want = got;
            ASSERT_EQ(lum::prim::copy_bytes(src.data(), src.step, got.data() + 2, got.step, {w, kRows}), 0);
            for (int y = 0; y < kRows; ++y)
                for (int i = 0; i < w; ++i) want.set(i + 2, y, src.get(i, y));
            ASSERT_EQ(got.bytes, want.bytes) << "width " << w;
        }
    });
}

// A rectangle copied within one image onto itself, shifted along its rows.
TEST(CopyKernels, RowsMayOverlapTheirSource) {
    Region<uint8_t> got(40, kRows, 5), want = got;
    const Region<uint8_t> before = got;
    ASSERT_EQ(lum::prim::copy_bytes(got.data(), got.step, got.data() + 3, got.step, {30, kRows}), 0);
    for (int y = 0; y < kRows; ++y)
        for (int i = 0; i < 30; ++i) want.set(i + 3, y, before.get(i, y));
    EXPECT_EQ(got.bytes, want.bytes);
}

template <class T>
void check_threshold_gt(const T (&thresholds)[3], const T (&values)[3]) {
    for_each_variant([&](int) {
        for (int channels : {1, 3})
            for (int w : kTestWidths) {
                const int n = w * channels;
                Region<T> got(n, kRows, w), want = got;
                ASSERT_EQ(lum::prim::threshold_gt<T>(got.data(), got.step, {n, kRows}, thresholds, values, channels), 0);
                for (int y = 0; y < kRows; ++y)
                    for (int i = 0; i < n; ++i) {
                        const int c = channels == 3 ? i % 3 : 0;
                        if (want.get(i, y) > thresholds[c]) want.set(i, y, values[c]);
                    }
                ASSERT_EQ(got.bytes, want.bytes) << channels << " channels, width " << w;
            }
    });
}

TEST(ThresholdKernels, GreaterThanBecomesTheChannelsValue) {
    check_threshold_gt<uint8_t>({100, 0, 254}, {7, 200, 255});
    check_threshold_gt<uint16_t>({4095, 100, 65534}, {4095, 1, 3});
    check_threshold_gt<float>({0.0f, -10.0f, 500.0f}, {1.0f, -1.0f, 2.0f});
}

TEST(KernelStatus, EmptyRegionsAndNullPointers) {
    using namespace lum::prim;
    uint8_t b[16] = {};
    const uint8_t one = 1;
    EXPECT_EQ(fill<uint8_t>(b, 16, {0, 1}, &one, 1), st_size);
    EXPECT_EQ(fill<uint8_t>(b, 16, {1, -1}, &one, 1), st_size);
    EXPECT_EQ(fill<uint8_t>(nullptr, 16, {1, 1}, &one, 1), st_null);
    EXPECT_EQ(fill<uint8_t>(b, 16, {1, 1}, nullptr, 1), st_null);
    EXPECT_EQ(copy_bytes(nullptr, 16, b, 16, {1, 1}), st_null);
    EXPECT_EQ(copy_bytes(b, 16, b + 1, 16, {0, 1}), st_size);
    EXPECT_EQ(threshold_gt<uint8_t>(b, 16, {1, 1}, &one, nullptr, 1), st_null);
    EXPECT_EQ(threshold_gt<uint8_t>(b, 16, {1, 0}, &one, &one, 1), st_size);
    EXPECT_EQ(fill_bytes(0, b, 0), st_size);
    EXPECT_EQ(fill_bytes(0, nullptr, 1), st_null);
    EXPECT_EQ(std::vector<uint8_t>(b, b + 16), std::vector<uint8_t>(16, 0));
}

TEST(Dispatch, IndexIsDetectedOnceAndCanBeForced) {
    const int detected = lum::prim::detect_dispatch_index();
    EXPECT_GE(detected, 0);
    EXPECT_LE(detected, 5);
    lum::prim::force_dispatch_index(-1);
    uint8_t b = 0;
    const uint8_t one = 1;
    lum::prim::fill<uint8_t>(&b, 1, {1, 1}, &one, 1);  // first call takes the initialisation path
    EXPECT_EQ(lum::prim::g_dispatch_index.load(), detected);
    EXPECT_EQ(b, 1);
    EXPECT_EQ(lum::prim::compiled_level_for(5), 2);
    EXPECT_EQ(lum::prim::compiled_level_for(4), 1);
    EXPECT_EQ(lum::prim::compiled_level_for(3), 0);
}



}  // namespace
