// Masked statistics kernels: every processor variant against a plain
// reference on odd widths and steps, including rows longer than the kernels'
// overflow-safe chunk.
#include <cmath>
#include <vector>

#include "primitives/mask.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;

template <class T>
void check(int w, int h, uint32_t seed) {
    const int step = w * int(sizeof(T)) + 6, mstep = w + 3;
    std::vector<uint8_t> src(size_t(step) * h), mask(size_t(mstep) * h);
    std::mt19937 rng(seed);
    for (auto& b : src) b = static_cast<uint8_t>(rng());
    for (auto& b : mask) b = rng() % 3 ? static_cast<uint8_t>(rng() % 4) : 0;
    uint64_t n = 0, sum = 0, sq = 0;
    T lo = static_cast<T>(~T{0}), hi = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            if (!mask[size_t(y) * mstep + x]) continue;
            T v;
            std::memcpy(&v, src.data() + size_t(y) * step + x * sizeof(T), sizeof v);
            ++n, sum += v, sq += uint64_t(v) * v;
            lo = std::min(lo, v), hi = std::max(hi, v);
        }
    const double mean = double(sum) / double(n);
    const double var = double(sq) / double(n) - mean * mean;
    const auto* s = reinterpret_cast<const T*>(src.data());
    double got_mean = 0, got_sd = 0, mean_only = 0;
    float got_lo = 0, got_hi = 0;
    if constexpr (sizeof(T) == 1) {
        ASSERT_EQ(lum::prim::mean_8u_c1mr(s, step, mask.data(), mstep, {w, h}, &mean_only), 0);
        ASSERT_EQ(lum::prim::mean_stddev_8u_c1mr(s, step, mask.data(), mstep, {w, h}, &got_mean, &got_sd), 0);
        ASSERT_EQ(lum::prim::min_max_8u_c1mr(s, step, mask.data(), mstep, {w, h}, &got_lo, &got_hi), 0);
    } else {
        ASSERT_EQ(lum::prim::mean_16u_c1mr(s, step, mask.data(), mstep, {w, h}, &mean_only), 0);
        ASSERT_EQ(lum::prim::mean_stddev_16u_c1mr(s, step, mask.data(), mstep, {w, h}, &got_mean, &got_sd), 0);
        ASSERT_EQ(lum::prim::min_max_16u_c1mr(s, step, mask.data(), mstep, {w, h}, &got_lo, &got_hi), 0);
    }
    EXPECT_EQ(mean_only, mean) << "width " << w;
    EXPECT_EQ(got_mean, mean) << "width " << w;
    EXPECT_EQ(got_sd, std::sqrt(var)) << "width " << w;
    EXPECT_EQ(got_lo, float(lo)) << "width " << w;
    EXPECT_EQ(got_hi, float(hi)) << "width " << w;
}

TEST(MaskedKernels, EveryVariantMatchesTheReference) {
    lum::test::for_each_variant([](int) {
        for (int w : {1, 15, 17, 63, 65, 1000}) {
            check<uint8_t>(w, 5, w);
            check<uint16_t>(w, 5, w + 1);
        }
        // Rows past 65536 samples, all selected at the largest value: no lane overflows.
        check<uint8_t>(70001, 1, 7);
        check<uint16_t>(70001, 1, 8);
    });
}

TEST(MaskedKernels, LargestValuesOverALongRow) {
    lum::test::for_each_variant([](int) {
        const int w = 140000;
        std::vector<uint16_t> src(w, 65535);
        std::vector<uint8_t> mask(w, 1);
        double mean = 0, sd = 1;
        ASSERT_EQ(lum::prim::mean_stddev_16u_c1mr(src.data(), 0, mask.data(), 0, {w, 1}, &mean, &sd), 0);
        EXPECT_EQ(mean, 65535.0);
        EXPECT_EQ(sd, 0.0);
        std::vector<uint8_t> bytes(w, 255);
        ASSERT_EQ(lum::prim::mean_stddev_8u_c1mr(bytes.data(), 0, mask.data(), 0, {w, 1}, &mean, &sd), 0);
        EXPECT_EQ(mean, 255.0);
        EXPECT_EQ(sd, 0.0);
    });
}

TEST(MaskedKernels, NullAndEmpty) {
    uint8_t b[4] = {};
    double m;
    float lo, hi;
    EXPECT_EQ(lum::prim::mean_8u_c1mr(nullptr, 4, b, 4, {1, 1}, &m), -8);
    EXPECT_EQ(lum::prim::mean_8u_c1mr(b, 4, nullptr, 4, {1, 1}, &m), -8);
    EXPECT_EQ(lum::prim::mean_stddev_8u_c1mr(b, 4, b, 4, {1, 1}, &m, nullptr), -8);
    EXPECT_EQ(lum::prim::min_max_8u_c1mr(b, 4, b, 4, {0, 1}, &lo, &hi), -6);
}

}  // namespace
