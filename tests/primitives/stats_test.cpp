// Statistics kernels: every processor variant against plain references on
// odd widths and steps at odd addresses; integer results exact, float
// reductions the same bits in every variant.
#include <cmath>
#include <limits>
#include <vector>

#include "primitives/stats.hpp"
#include "support/regions.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::for_each_variant;
using lum::test::kTestWidths;
using lum::test::Region;

constexpr int kRows = 5;

template <class T>
double reference_sum(const Region<T>& r) {
    double s = 0;
    for (int y = 0; y < r.rows; ++y)
        for (int i = 0; i < r.samples; ++i) s += double(r.get(i, y));
    return s;
}

TEST(StatsKernels, IntegerSumsAreExact) {
    for_each_variant([](int) {
        for (int w : kTestWidths) {
            Region<uint8_t> a(w, kRows, w);
            Region<uint16_t> b(w, kRows, w + 1);
            double sa = -1, sb = -1;
            ASSERT_EQ(lum::prim::sum<uint8_t>(a.data(), a.step, a.size(), &sa), 0);
            ASSERT_EQ(lum::prim::sum<uint16_t>(b.data(), b.step, b.size(), &sb), 0);
            EXPECT_EQ(sa, reference_sum(a)) << w;
            EXPECT_EQ(sb, reference_sum(b)) << w;
        }
        // A row far longer than any partial sum's reach, all at the maximum.
        std::vector<uint16_t> row(200001, 65535);
        double s = 0;
        ASSERT_EQ(lum::prim::sum<uint16_t>(row.data(), 0, {200001, 3}, &s), 0);
        EXPECT_EQ(s, 65535.0 * 200001 * 3);
    });
}

// The two-pass definition, in long double.
template <class T>
void reference_moments(const Region<T>& r, double& mean, double& sd) {
    long double s = 0, q = 0;
    const long double n = (long double)r.samples * r.rows;
    for (int y = 0; y < r.rows; ++y)
        for (int i = 0; i < r.samples; ++i) s += r.get(i, y);
    const long double m = s / n;
    for (int y = 0; y < r.rows; ++y)
        for (int i = 0; i < r.samples; ++i) q += (r.get(i, y) - m) * (r.get(i, y) - m);
    mean = double(m);
    sd = double(std::sqrt(q / n));
}

TEST(StatsKernels, IntegerMomentsMatchTwoPassReference) {
    for_each_variant([](int) {
        for (int w : kTestWidths) {
            Region<uint8_t> a(w, kRows, w + 5);
            Region<uint16_t> b(w, kRows, w + 6);
            double m, d, rm, rd;
            reference_moments(a, rm, rd);
            ASSERT_EQ(lum::prim::mean_stddev<uint8_t>(a.data(), a.step, a.size(), &m, &d), 0);
            EXPECT_NEAR(m, rm, 1e-12 * 255);
            EXPECT_NEAR(d, rd, 1e-10 * 255);
            reference_moments(b, rm, rd);
            ASSERT_EQ(lum::prim::mean_stddev<uint16_t>(b.data(), b.step, b.size(), &m, &d), 0);
            EXPECT_NEAR(m, rm, 1e-12 * 65535);
            EXPECT_NEAR(d, rd, 1e-10 * 65535);
        }
        // Constant images long enough to overflow any 32-bit partial sum of
        // squares: exact moments leave no deviation at all.
        std::vector<uint8_t> bytes(700001, 255);
        std::vector<uint16_t> words(140001, 65535);
        double m = -1, d = -1;
        ASSERT_EQ(lum::prim::mean_stddev<uint8_t>(bytes.data(), 0, {700001, 2}, &m, &d), 0);
        EXPECT_EQ(m, 255.0);
        EXPECT_EQ(d, 0.0);
        ASSERT_EQ(lum::prim::mean_stddev<uint16_t>(words.data(), 0, {140001, 40}, &m, &d), 0);
        EXPECT_EQ(m, 65535.0);
        EXPECT_EQ(d, 0.0);
        // One step below the top in a sea of the top: the variance is tiny and exact.
        words[77] = 65534;
        ASSERT_EQ(lum::prim::mean_stddev<uint16_t>(words.data(), 0, {140001, 1}, &m, &d), 0);
        EXPECT_DOUBLE_EQ(d, std::sqrt(140000.0) / 140001.0);
    });
}

TEST(StatsKernels, FloatSumAndMomentsAreTheSameBitsInEveryVariant) {
    for (int w : kTestWidths) {
        Region<float> a(w, 7, 3 * w);
        // Samples of a spread well below their mean, where a one-pass variance loses most.
        std::mt19937 rng(w);
        for (int y = 0; y < 7; ++y)
            for (int x = 0; x < w; ++x) a.set(x, y, 1000.0f + float(int(rng() % 2001) - 1000) * 0.125f);
        double ref_sum = reference_sum(a), ref_mean, ref_sd;
        reference_moments(a, ref_mean, ref_sd);
        std::vector<double> got;
        for_each_variant([&](int) {
            double s, m, d;
            ASSERT_EQ(lum::prim::sum<float>(a.data(), a.step, a.size(), &s), 0);
            ASSERT_EQ(lum::prim::mean_stddev<float>(a.data(), a.step, a.size(), &m, &d), 0);
            EXPECT_NEAR(s, ref_sum, 1e-12 * 1125 * w * 7);
            EXPECT_NEAR(m, ref_mean, 1e-12 * 1125);
            EXPECT_NEAR(d, ref_sd, 1e-9 * 1125);
            got.insert(got.end(), {s, m, d});
        });
        for (size_t i = 3; i < got.size(); ++i) EXPECT_EQ(got[i], got[i % 3]) << w;
    }
}

template <class T>
void check_min_max(int channels) {
    for (int w : kTestWidths) {
        Region<T> a(w * channels, 4, 7 * w + channels);
        T want_lo[3], want_hi[3];
        for (int c = 0; c < channels; ++c) {
            want_lo[c] = want_hi[c] = a.get(c, 0);
            for (int y = 0; y < 4; ++y)
                for (int x = 0; x < w; ++x) {
                    const T v = a.get(x * channels + c, y);
                    want_lo[c] = v < want_lo[c] ? v : want_lo[c];
                    want_hi[c] = v > want_hi[c] ? v : want_hi[c];
                }
        }
        // Results go to arrays at odd addresses too.
        uint8_t out[2 * 3 * sizeof(T) + 2];
        T* lo = reinterpret_cast<T*>(out + 1);
        T* hi = reinterpret_cast<T*>(out + 1 + 3 * sizeof(T));
        ASSERT_EQ(lum::prim::min_max<T>(a.data(), a.step, {w, 4}, channels, lo, hi), 0);
        for (int c = 0; c < channels; ++c) {
            T l, h;
            std::memcpy(&l, lo + c, sizeof l);
            std::memcpy(&h, hi + c, sizeof h);
            EXPECT_EQ(l, want_lo[c]) << "width " << w << " channel " << c;
            EXPECT_EQ(h, want_hi[c]) << "width " << w << " channel " << c;
        }
    }
}

TEST(StatsKernels, MinMaxPerChannel) {
    for_each_variant([](int) {
        for (int channels : {1, 3}) {
            check_min_max<uint8_t>(channels);
            check_min_max<uint16_t>(channels);
            check_min_max<float>(channels);
        }
    });
}

// NaN samples never replace a value, and a channel whose first sample is NaN
// keeps it: every variant gives the same answer for the same samples.
TEST(StatsKernels, FloatExtremesWithNaNAgreeAcrossVariants) {
    for (int w : {1, 17, 200}) {
        Region<float> a(3 * w, 3, w);
        for (int i = 0; i < 3 * w; i += 7) a.set(i, i % 3, NAN);
        std::vector<std::vector<uint32_t>> runs;
        for_each_variant([&](int) {
            float lo[3], hi[3];
            ASSERT_EQ(lum::prim::min_max<float>(a.data(), a.step, {w, 3}, 3, lo, hi), 0);
            std::vector<uint32_t> bits(6);
            std::memcpy(bits.data(), lo, 12);
            std::memcpy(bits.data() + 3, hi, 12);
            runs.push_back(bits);
        });
        for (const auto& r : runs) EXPECT_EQ(r, runs[0]) << w;
    }
}

TEST(StatsKernels, NullAndEmptyRegions) {
    uint8_t px[4] = {};
    double s;
    uint8_t lo[3], hi[3];
    EXPECT_EQ(lum::prim::sum<uint8_t>(nullptr, 4, {1, 1}, &s), -8);
    EXPECT_EQ(lum::prim::sum<uint8_t>(px, 4, {1, 1}, nullptr), -8);
    EXPECT_EQ(lum::prim::sum<uint8_t>(px, 4, {0, 1}, &s), -6);
    EXPECT_EQ(lum::prim::min_max<uint8_t>(px, 4, {1, -1}, 1, lo, hi), -6);
    EXPECT_EQ(lum::prim::min_max<uint8_t>(px, 4, {1, 1}, 3, nullptr, hi), -8);
    EXPECT_EQ(lum::prim::mean_stddev<uint8_t>(px, 4, {1, 1}, &s, nullptr), -8);
    EXPECT_EQ(lum::prim::mean_stddev<float>(reinterpret_cast<float*>(px), 4, {1, 0}, &s, &s), -6);
}

}  // namespace
