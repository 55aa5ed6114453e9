// Statistics kernels: every processor variant against plain references on odd
// widths and steps; float reductions give the same bits in every variant, and
// the pixel-wise max/min write only their region.
#include <algorithm>
#include <cmath>
#include <vector>

#include "primitives/stats.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::for_each_variant;

constexpr int kWidths[] = {1, 15, 17, 63, 65, 1000};

// Rows of `step` bytes of random samples; the step is deliberately odd in samples.
template <class T>
struct Region {
    int width, height, channels, step;
    std::vector<uint8_t> bytes;
    Region(int w, int h, int c, uint32_t seed, int range = 0) : width(w), height(h), channels(c) {
        step = (w * c + 3) * int(sizeof(T));
        bytes.assign(size_t(step) * h + 16, 0);
        std::mt19937 rng(seed);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w * c + 3; ++x) {
                T v;
                if constexpr (std::is_floating_point_v<T>)
                    v = std::uniform_real_distribution<float>(-1e4f, 1e4f)(rng);
                else
                    v = static_cast<T>(range ? rng() % range : rng());
                std::memcpy(bytes.data() + size_t(y) * step + x * sizeof(T), &v, sizeof(T));
            }
    }
    T* data() { return reinterpret_cast<T*>(bytes.data()); }
    T at(int i, int y) const {
        T v;
        std::memcpy(&v, bytes.data() + size_t(y) * step + i * sizeof(T), sizeof(T));
        return v;
    }
    Size size() const { return {width, height}; }
};

TEST(StatsKernels, IntegerSumsAreExact) {
    for_each_variant([](int) {
        for (int w : kWidths) {
            Region<uint8_t> a(w, 5, 1, w);
            Region<uint16_t> b(w, 5, 1, w + 1);
            uint64_t ra = 0, rb = 0;
            for (int y = 0; y < 5; ++y)
                for (int x = 0; x < w; ++x) ra += a.at(x, y), rb += b.at(x, y);
            double sa = -1, sb = -1;
            ASSERT_EQ(lum::prim::sum_8u_c1(a.data(), a.step, a.size(), &sa), 0);
            ASSERT_EQ(lum::prim::sum_16u_c1(b.data(), b.step, b.size(), &sb), 0);
            EXPECT_EQ(sa, double(ra)) << w;
            EXPECT_EQ(sb, double(rb)) << w;
        }
        // One row longer than the 32-bit partial sums' chunk, all at the maximum.
        std::vector<uint16_t> row(200000, 65535);
        double s = 0;
        ASSERT_EQ(lum::prim::sum_16u_c1(row.data(), 400000, {200000, 1}, &s), 0);
        EXPECT_EQ(s, 65535.0 * 200000);
    });
}

TEST(StatsKernels, FloatSumAndMomentsAgreeAcrossVariants) {
    for (int w : kWidths) {
        Region<float> a(w, 7, 1, 3 * w);
        double ref = 0;
        for (int y = 0; y < 7; ++y)
            for (int x = 0; x < w; ++x) ref += a.at(x, y);
        double mean_ref = ref / (7.0 * w), var = 0;
        for (int y = 0; y < 7; ++y)
            for (int x = 0; x < w; ++x) var += (a.at(x, y) - mean_ref) * (a.at(x, y) - mean_ref);
        const double sd_ref = std::sqrt(var / (7.0 * w));
        std::vector<double> sums, means, sds;
        for_each_variant([&](int) {
            double s, m, d;
            ASSERT_EQ(lum::prim::sum_32f_c1(a.data(), a.step, a.size(), &s), 0);
            ASSERT_EQ(lum::prim::mean_stddev_32f_c1(a.data(), a.step, a.size(), &m, &d), 0);
            EXPECT_NEAR(s, ref, 1e-9 * 1e4 * w * 7);
            EXPECT_NEAR(m, mean_ref, 1e-9 * 1e4);
            EXPECT_NEAR(d, sd_ref, 1e-7 * 1e4);
            sums.push_back(s), means.push_back(m), sds.push_back(d);
        });
        for (size_t i = 1; i < sums.size(); ++i) {
            EXPECT_EQ(sums[i], sums[0]) << w;
            EXPECT_EQ(means[i], means[0]) << w;
            EXPECT_EQ(sds[i], sds[0]) << w;
        }
    }
}

template <class T, class K>
void check_min_max(int channels, K kernel) {
    for (int w : kWidths) {
        Region<T> a(w, 4, channels, 7 * w + channels);
        T lo[3], hi[3];
        for (int c = 0; c < channels; ++c) {
            lo[c] = hi[c] = a.at(c, 0);
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < w; ++x) {
                    const T v = a.at(x * channels + c, y);
                    lo[c] = v < lo[c] ? v : lo[c];
                    hi[c] = v > hi[c] ? v : hi[c];
                }
        }
        T got_lo[3] = {}, got_hi[3] = {};
        ASSERT_EQ(kernel(a.data(), a.step, a.size(), got_lo, got_hi), 0);
        for (int c = 0; c < channels; ++c) {
            EXPECT_EQ(got_lo[c], lo[c]) << "width " << w << " channel " << c;
            EXPECT_EQ(got_hi[c], hi[c]) << "width " << w << " channel " << c;
        }
    }
}

TEST(StatsKernels, MinMaxPerChannel) {
    for_each_variant([](int) {
        check_min_max<uint8_t>(1, lum::prim::min_max_8u_c1);
        check_min_max<uint8_t>(3, lum::prim::min_max_8u_c3);
        check_min_max<uint16_t>(1, lum::prim::min_max_16u_c1);
        check_min_max<uint16_t>(3, lum::prim::min_max_16u_c3);
        check_min_max<float>(1, lum::prim::min_max_32f_c1);
        check_min_max<float>(3, lum::prim::min_max_32f_c3);
    });
}

TEST(StatsKernels, IntegerMomentsMatchTwoPassReference) {
    for_each_variant([](int) {
        for (int w : kWidths) {
            Region<uint8_t> a(w, 6, 1, w + 5);
            Region<uint16_t> b(w, 6, 1, w + 6);
            auto reference = [&](auto& r, double& mean, double& sd) {
                double s = 0;
                for (int y = 0; y < 6; ++y)
                    for (int x = 0; x < w; ++x) s += r.at(x, y);
                mean = s / (6.0 * w);
                double q = 0;
                for (int y = 0; y < 6; ++y)
                    for (int x = 0; x < w; ++x) q += (r.at(x, y) - mean) * (r.at(x, y) - mean);
                sd = std::sqrt(q / (6.0 * w));
            };
            double m, d, rm, rd;
            reference(a, rm, rd);
            ASSERT_EQ(lum::prim::mean_stddev_8u_c1(a.data(), a.step, a.size(), &m, &d), 0);
            EXPECT_NEAR(m, rm, 1e-12 * 255);
            EXPECT_NEAR(d, rd, 1e-10 * 255);
            reference(b, rm, rd);
            ASSERT_EQ(lum::prim::mean_stddev_16u_c1(b.data(), b.step, b.size(), &m, &d), 0);
            EXPECT_NEAR(m, rm, 1e-12 * 65535);
            EXPECT_NEAR(d, rd, 1e-10 * 65535);
        }
    });
}

template <class T, class K, class KI>
void check_pick(bool max, K kernel, KI in_place) {
    for (int w : kWidths) {
        Region<T> a(w, 3, 1, w), b(w, 3, 1, w + 100), got(w, 3, 1, 9), want(w, 3, 1, 9);
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < w; ++x) {
                const T v = max ? std::max(a.at(x, y), b.at(x, y)) : std::min(a.at(x, y), b.at(x, y));
                std::memcpy(want.bytes.data() + size_t(y) * want.step + x * sizeof(T), &v, sizeof(T));
            }
        ASSERT_EQ(kernel(a.data(), a.step, b.data(), b.step, got.data(), got.step, a.size()), 0);
        ASSERT_EQ(got.bytes, want.bytes) << "width " << w;
        // In place into the second operand: same samples, padding untouched.
        Region<T> c = b;
        for (int y = 0; y < 3; ++y)
            std::memcpy(c.bytes.data() + size_t(y) * c.step, want.bytes.data() + size_t(y) * want.step, w * sizeof(T));
        ASSERT_EQ(in_place(a.data(), a.step, b.data(), b.step, a.size()), 0);
        ASSERT_EQ(b.bytes, c.bytes) << "in place, width " << w;
    }
}

TEST(StatsKernels, PixelwiseMaxMinWriteOnlyTheRegion) {
    for_each_variant([](int) {
        check_pick<uint8_t>(true, lum::prim::max_8u_c1, lum::prim::max_8u_c1ir);
        check_pick<uint8_t>(false, lum::prim::min_8u_c1, lum::prim::min_8u_c1ir);
        check_pick<uint16_t>(true, lum::prim::max_16u_c1, lum::prim::max_16u_c1ir);
        check_pick<uint16_t>(false, lum::prim::min_16u_c1, lum::prim::min_16u_c1ir);
    });
}

TEST(StatsKernels, NullAndEmptyRegions) {
    uint8_t px[4] = {};
    double s;
    uint8_t lo, hi;
    EXPECT_EQ(lum::prim::sum_8u_c1(nullptr, 4, {1, 1}, &s), -8);
    EXPECT_EQ(lum::prim::sum_8u_c1(px, 4, {0, 1}, &s), -6);
    EXPECT_EQ(lum::prim::min_max_8u_c1(px, 4, {1, -1}, &lo, &hi), -6);
    EXPECT_EQ(lum::prim::min_max_8u_c3(px, 4, {1, 1}, nullptr, &hi), -8);
    EXPECT_EQ(lum::prim::mean_stddev_8u_c1(px, 4, {1, 1}, &s, nullptr), -8);
    EXPECT_EQ(lum::prim::max_8u_c1(px, 4, px, 4, nullptr, 4, {1, 1}), -8);
    EXPECT_EQ(lum::prim::min_16u_c1ir(nullptr, 4, nullptr, 4, {0, 0}), -8);
}

}  // namespace
