// Histogram and Otsu kernels: every processor variant against references
// written straight from the definitions (levels in double precision, bin k
// is [level k, level k+1); Otsu's bin-centre scan with its skips and strict
// comparison), on odd widths and steps.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <vector>

#include "primitives/histogram.hpp"
#include "support/regions.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::for_each_variant;
using lum::test::kTestWidths;
using lum::test::Region;

double level(double lower, double upper, int bins, int k) {
    return lower + (double(k) * (double(upper) - double(lower))) / bins;
}

// Bin k holds level k <= v < level k + 1: the last level at or below v, found
// by binary search over the levels written out.
std::vector<uint32_t> reference_histogram(const std::vector<double>& samples, float lower, float upper, int bins) {
    std::vector<double> levels(size_t(bins) + 1);
    for (int k = 0; k <= bins; ++k) levels[k] = level(lower, upper, bins, k);
    std::vector<uint32_t> counts(bins, 0);
    for (double v : samples) {
        if (std::isnan(v)) continue;
        const auto k = std::upper_bound(levels.begin(), levels.end(), v) - levels.begin() - 1;
        if (k >= 0 && k < bins) ++counts[k];
    }
    return counts;
}

// The region's samples in order, as doubles.
template <class T>
std::vector<double> values_of(const Region<T>& r) {
    std::vector<double> v;
    for (int y = 0; y < r.rows; ++y)
        for (int i = 0; i < r.samples; ++i) v.push_back(double(r.get(i, y)));
    return v;
}

// A region whose samples (padding included) come from gen.
template <class T, class Gen>
Region<T> region_of(int w, int h, uint32_t seed, Gen&& gen) {
    Region<T> r(w, h, seed);
    std::mt19937 rng(seed);
    for (int y = 0; y < h; ++y)
        for (int i = 0; i < w; ++i) r.set(i, y, gen(rng));
    return r;
}

// The set-up steps, then the count; the work buffer deliberately off any boundary.
template <class T>
std::vector<uint32_t> run(int type, const Region<T>& s, float lower, float upper, int bins) {
    int spec_bytes = 0, buffer_bytes = 0;
    EXPECT_EQ(lum::prim::histogram_get_size(type, s.size(), bins + 1, &spec_bytes, &buffer_bytes), 0);
    std::vector<uint8_t> spec(spec_bytes), buffer(buffer_bytes + 1);
    EXPECT_EQ(lum::prim::histogram_init_uniform(type, lower, upper, bins + 1, spec.data()), 0);
    std::vector<uint32_t> counts(bins + 1, 0xDEADBEEF);
    EXPECT_EQ(lum::prim::histogram<T>(s.data(), s.step, s.size(), counts.data(), spec.data(), buffer.data() + 1), 0);
    EXPECT_EQ(counts[bins], 0xDEADBEEF) << "wrote past the last bin";
    counts.pop_back();
    return counts;
}

struct Bounds {
    float lower, upper;
    int bins;
};

// Bounds whose bins are coarser and finer than the values, off the values
// and on them, and more bins than values (each value then finds its bin).
TEST(HistogramKernels, IntegerSamplesMatchTheLevels) {
    const Bounds b8[] = {{0, 256, 256},  {0, 256, 1}, {10.5f, 200.25f, 7}, {-5, 300, 1000},
                         {0, 10, 4},     {3, 4, 3},   {-1e6f, 1e6f, 3},    {0.25f, 255.75f, 200000}};
    const Bounds b16[] = {{0, 65536, 256}, {100, 4000.5f, 33}, {-1, 70000, 7}, {1000, 1001, 1}, {0, 4999, 150001}};
    for_each_variant([&](int) {
        for (int w : kTestWidths) {
            Region<uint8_t> a(w, 3, w);
            const auto va = values_of(a);
            for (const Bounds& b : b8)
                ASSERT_EQ(run(lum::prim::hist_8u, a, b.lower, b.upper, b.bins),
                          reference_histogram(va, b.lower, b.upper, b.bins))
                    << "8u width " << w << " bins " << b.bins;
            Region<uint16_t> c(w, 3, w + 1, 5000);
            const auto vc = values_of(c);
            for (const Bounds& b : b16)
                ASSERT_EQ(run(lum::prim::hist_16u, c, b.lower, b.upper, b.bins),
                          reference_histogram(vc, b.lower, b.upper, b.bins))
                    << "16u width " << w << " bins " << b.bins;
        }
    });
}

TEST(HistogramKernels, ValueCountsOfEveryValue) {
    for_each_variant([&](int) {
        for (int w : kTestWidths) {
            Region<uint8_t> a(w, 3, w);
            Region<uint16_t> b(w, 3, w + 2);
            std::vector<uint32_t> want8(256, 0), want16(65536, 0), got8(256, 7), got16(65536, 7);
            for (double v : values_of(a)) ++want8[int(v)];
            for (double v : values_of(b)) ++want16[int(v)];
            std::vector<uint8_t> work(lum::prim::value_count_work_bytes<uint16_t>() + 1);
            ASSERT_EQ(lum::prim::count_values<uint8_t>(a.data(), a.step, a.size(), got8.data(), work.data() + 1), 0);
            ASSERT_EQ(lum::prim::count_values<uint16_t>(b.data(), b.step, b.size(), got16.data(), work.data() + 1), 0);
            ASSERT_EQ(got8, want8) << w;
            ASSERT_EQ(got16, want16) << w;
        }
    });
}

TEST(HistogramKernels, FloatSamplesOnAndAroundTheLevels) {
    // Samples drawn partly from the levels themselves and their neighbours.
    const Bounds bounds[] = {{-1000, 1000, 100}, {-3.3f, 7.7f, 13}, {0, 1, 70000}};
    for (const Bounds& b : bounds) {
        auto gen = [&](std::mt19937& r) {
            const int k = int(r() % (b.bins + 3)) - 1;
            const float on = float(level(b.lower, b.upper, b.bins, k));
            switch (r() % 4) {
                case 0: return on;
                case 1: return std::nextafter(on, -INFINITY);
                case 2: return std::nextafter(on, INFINITY);
                default: return std::uniform_real_distribution<float>(b.lower - 1, b.upper + 1)(r);
            }
        };
        for (int w : kTestWidths) {
            Region<float> a = region_of<float>(w, 4, w, gen);
            if (w > 2) a.set(w / 2, 1, NAN), a.set(1, 2, INFINITY), a.set(2, 3, -INFINITY);
            const auto want = reference_histogram(values_of(a), b.lower, b.upper, b.bins);
            for_each_variant([&](int) {
                ASSERT_EQ(run(lum::prim::hist_32f, a, b.lower, b.upper, b.bins), want)
                    << "width " << w << " bins " << b.bins;
            });
        }
    }
}

TEST(HistogramKernels, RefusedArguments) {
    int sb, bb;
    uint8_t spec[64];
    EXPECT_EQ(lum::prim::histogram_get_size(lum::prim::hist_8u, {1, 1}, 1, &sb, &bb), -13);
    EXPECT_EQ(lum::prim::histogram_get_size(0, {1, 1}, 3, &sb, &bb), -13);
    EXPECT_EQ(lum::prim::histogram_get_size(5, {1, 1}, 3, &sb, &bb), -13);
    EXPECT_EQ(lum::prim::histogram_get_size(lum::prim::hist_16s, {1, 1}, 3, &sb, &bb), 0);
    EXPECT_EQ(lum::prim::histogram_get_size(lum::prim::hist_8u, {0, 1}, 3, &sb, &bb), -6);
    EXPECT_EQ(lum::prim::histogram_get_size(lum::prim::hist_8u, {1, 1}, 3, nullptr, &bb), -8);
    EXPECT_EQ(lum::prim::histogram_init_uniform(lum::prim::hist_8u, 0, NAN, 3, spec), -13);
    EXPECT_EQ(lum::prim::histogram_init_uniform(lum::prim::hist_8u, 2, 1, 3, spec), -13);
    EXPECT_EQ(lum::prim::histogram_init_uniform(lum::prim::hist_8u, -FLT_MAX, FLT_MAX, 3, spec), 0);
    // A set-up block made for another sample type is refused.
    ASSERT_EQ(lum::prim::histogram_init_uniform(lum::prim::hist_16u, 0, 1, 3, spec), 0);
    uint8_t px[8] = {}, buffer[4096];
    uint32_t counts[2];
    EXPECT_EQ(lum::prim::histogram<uint8_t>(px, 8, {8, 1}, counts, spec, buffer), -13);
    EXPECT_EQ(lum::prim::histogram<uint8_t>(px, 8, {8, 1}, counts, spec, nullptr), -8);
    EXPECT_EQ(lum::prim::histogram<uint16_t>(reinterpret_cast<uint16_t*>(px), 8, {0, 1}, counts, spec, buffer), -6);
}

// Otsu's scan written plainly, in the same single precision.
int reference_otsu(const std::vector<double>& samples) {
    std::vector<uint32_t> h(256, 0);
    for (double v : samples) ++h[int(v)];
    uint64_t total = 0;
    for (uint32_t c : h) total += c;
    const float n = float(total);
    const float s = std::fabs(n) <= FLT_EPSILON ? 0.0f : 1.0f / n;
    float moment = 0;
    for (int i = 0; i < 256; ++i) moment += (float(i) + 0.5f) * float(h[i]);
    const float mu_t = s * moment;
    float w0 = 0, mu = 0, best = 0, t = 0;
    for (int i = 0; i < 256; ++i) {
        const float p = s * float(h[i]);
        w0 += p;
        const float w1 = 1.0f - w0;
        if (std::min(w0, w1) < FLT_EPSILON || std::max(w0, w1) > 1.0f - FLT_EPSILON) continue;
        mu += p * (float(i) + 0.5f);
        const float d = w1 * mu - (mu_t - mu) * w0;
        const float v = d * d / (w1 * w0);
        if (v > best) t = float(i) + 0.5f;
        best = std::max(best, v);
    }
    return int(t);
}

TEST(OtsuKernel, MatchesTheDirectScanOnRandomAndBimodalImages) {
    std::mt19937 seeds(7);
    for (int round = 0; round < 60; ++round) {
        const int w = kTestWidths[round % 11], h = 1 + round % 9;
        const int a = int(seeds() % 256), b = int(seeds() % 256), spread = 1 + int(seeds() % 40);
        auto gen = [&](std::mt19937& r) {
            if (round % 3 == 0) return uint8_t(r());
            const int centre = r() % 2 ? a : b;
            return uint8_t(std::clamp(centre + int(r() % (2 * spread)) - spread, 0, 255));
        };
        const Region<uint8_t> s = region_of<uint8_t>(w, h, round, gen);
        const int want = reference_otsu(values_of(s));
        for_each_variant([&](int) {
            uint8_t t = 99;
            ASSERT_EQ(lum::prim::otsu_threshold_8u_c1(s.data(), s.step, s.size(), &t), 0);
            ASSERT_EQ(int(t), want) << "round " << round;
        });
    }
}

TEST(OtsuKernel, TiesConstantsAndRefusals) {
    std::vector<uint8_t> two(64);
    for (size_t i = 0; i < two.size(); ++i) two[i] = i % 2 ? 200 : 10;
    uint8_t t = 99;
    ASSERT_EQ(lum::prim::otsu_threshold_8u_c1(two.data(), 16, {16, 4}, &t), 0);
    EXPECT_EQ(t, 10);  // every bin from 10 to 199 ties; the first one wins
    std::vector<uint8_t> flat(64, 77);
    ASSERT_EQ(lum::prim::otsu_threshold_8u_c1(flat.data(), 16, {16, 4}, &t), 0);
    EXPECT_EQ(t, 0);  // no bin is evaluated
    EXPECT_EQ(lum::prim::otsu_threshold_8u_c1(flat.data(), 15, {16, 4}, &t), -13);
    EXPECT_EQ(lum::prim::otsu_threshold_8u_c1(flat.data(), 16, {16, 0}, &t), -6);
    EXPECT_EQ(lum::prim::otsu_threshold_8u_c1(flat.data(), 16, {16, 4}, nullptr), -8);
}

}  // namespace
