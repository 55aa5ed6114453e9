// Masked statistics kernels: every processor variant against a plain
// reference on odd widths and steps at odd addresses, including rows longer
// than any partial sum's reach.
#include <cmath>
#include <vector>

#include "primitives/mask.hpp"
#include "support/regions.hpp"
#include "support/support.hpp"

namespace {

using lum::test::kTestWidths;
using lum::test::Region;

template <class T>
void check(int w, int h, uint32_t seed) {
    Region<T> src(w, h, seed);
    Region<uint8_t> mask(w, h, seed + 1, 4);
    uint64_t n = 0, sum = 0;
    unsigned __int128 sq = 0;
    T lo = static_cast<T>(~T{0}), hi = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            if (!mask.get(x, y)) continue;
            const T v = src.get(x, y);
            ++n, sum += v, sq += uint64_t(v) * v;
            lo = std::min(lo, v), hi = std::max(hi, v);
        }
    if (n == 0) lo = hi = 0;
    const double mean = n ? double(sum) / double(n) : 0.0;
    const double nd = double(n);
    const double sd = n ? std::sqrt(double(n * sq - (unsigned __int128)sum * sum) / (nd * nd)) : 0.0;
    double got_mean = -1, got_sd = -1, mean_only = -1;
    float got_lo = -1, got_hi = -1;
    const auto size = src.size();
    ASSERT_EQ(lum::prim::masked_moments<T>(src.data(), src.step, mask.data(), mask.step, size, &mean_only, nullptr, 0), 0);
    ASSERT_EQ(lum::prim::masked_moments<T>(src.data(), src.step, mask.data(), mask.step, size, &got_mean, &got_sd, 1), 0);
    ASSERT_EQ(lum::prim::masked_min_max<T>(src.data(), src.step, mask.data(), mask.step, size, &got_lo, &got_hi), 0);
    EXPECT_EQ(mean_only, mean) << "width " << w;
    EXPECT_EQ(got_mean, mean) << "width " << w;
    EXPECT_EQ(got_sd, sd) << "width " << w;
    EXPECT_EQ(got_lo, float(lo)) << "width " << w;
    EXPECT_EQ(got_hi, float(hi)) << "width " << w;
}

TEST(MaskedKernels, EveryVariantMatchesTheReference) {
    lum::test::for_each_variant([](int) {
        for (int w : kTestWidths) {
            check<uint8_t>(w, 5, w);
            check<uint16_t>(w, 5, w + 1);
        }
        check<uint8_t>(70001, 2, 7);
        check<uint16_t>(70001, 2, 8);
    });
}

// The largest values everywhere: any lane that overflows leaves a deviation.
// One sample a step lower in a sea of 65535 gives the exact tiny deviation
// that subtracting squared means loses.
TEST(MaskedKernels, ExactMomentsOfExtremeValues) {
    lum::test::for_each_variant([](int) {
        const int w = 140000;
        std::vector<uint16_t> src(w, 65535);
        std::vector<uint8_t> mask(w, 1);
        double mean = 0, sd = 1;
        ASSERT_EQ(lum::prim::masked_moments<uint16_t>(src.data(), 0, mask.data(), 0, {w, 8}, &mean, &sd, 1), 0);
        EXPECT_EQ(mean, 65535.0);
        EXPECT_EQ(sd, 0.0);
        std::vector<uint8_t> bytes(w, 255);
        ASSERT_EQ(lum::prim::masked_moments<uint8_t>(bytes.data(), 0, mask.data(), 0, {w, 40}, &mean, &sd, 1), 0);
        EXPECT_EQ(mean, 255.0);
        EXPECT_EQ(sd, 0.0);
        src[3] = 65534;
        ASSERT_EQ(lum::prim::masked_moments<uint16_t>(src.data(), 0, mask.data(), 0, {w, 1}, &mean, &sd, 1), 0);
        EXPECT_DOUBLE_EQ(sd, std::sqrt(double(w - 1)) / w);
    });
}

TEST(MaskedKernels, NullAndEmpty) {
    uint8_t b[4] = {};
    double m;
    float lo, hi;
    EXPECT_EQ(lum::prim::masked_moments<uint8_t>(nullptr, 4, b, 4, {1, 1}, &m, nullptr, 0), -8);
    EXPECT_EQ(lum::prim::masked_moments<uint8_t>(b, 4, nullptr, 4, {1, 1}, &m, nullptr, 0), -8);
    EXPECT_EQ(lum::prim::masked_moments<uint8_t>(b, 4, b, 4, {1, 1}, nullptr, nullptr, 0), -8);
    EXPECT_EQ(lum::prim::masked_moments<uint8_t>(b, 4, b, 4, {1, 1}, &m, nullptr, 1), -8);
    EXPECT_EQ(lum::prim::masked_min_max<uint8_t>(b, 4, b, 4, {0, 1}, &lo, &hi), -6);
    EXPECT_EQ(lum::prim::masked_min_max<uint16_t>(reinterpret_cast<uint16_t*>(b), 4, b, 4, {1, 1}, &lo, nullptr), -8);
}

}  // namespace
