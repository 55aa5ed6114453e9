// Projection kernels: every processor variant against plain references on odd
// widths and steps at odd addresses: row extremes, row and column means, and
// the rounded, saturated mean of a float accumulator; the bytes around each
// destination untouched.
#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "primitives/projection.hpp"
#include "support/regions.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::for_each_variant;
using lum::test::kTestWidths;
using lum::test::Region;
namespace op = lum::prim::op;

constexpr int kRows = 5;

template <class T, class Op>
void check_row_extremes() {
    for (int w : kTestWidths) {
        Region<T> src(w, kRows, w);
        // One destination sample per row, down a column of a 3-sample-wide region.
        Region<T> got(3, kRows, w + 50), want = got;
        for (int y = 0; y < kRows; ++y) {
            T m = src.get(0, y);
            for (int x = 0; x < w; ++x)
                m = std::is_same_v<Op, op::max> ? std::max(m, src.get(x, y)) : std::min(m, src.get(x, y));
            want.set(1, y, m);
        }
        T* column = reinterpret_cast<T*>(got.bytes.data() + got.at_byte(1, 0));
        ASSERT_EQ((lum::prim::row_extreme<T, Op>(src.data(), src.step, column, got.step, src.size())), 0);
        ASSERT_EQ(got.bytes, want.bytes) << "width " << w;
    }
}

TEST(ProjectionKernels, RowExtremes) {
    for_each_variant([](int) {
        check_row_extremes<uint8_t, op::max>();
        check_row_extremes<uint8_t, op::min>();
        check_row_extremes<uint16_t, op::max>();
        check_row_extremes<uint16_t, op::min>();
    });
}

template <class T>
T rounded(double v) {
    if constexpr (std::is_floating_point_v<T>) return T(v);
    else return T(std::clamp(std::nearbyint(v), 0.0, double(std::numeric_limits<T>::max())));
}

// Random samples; floats on a grid of eighths, so that every sum is exact.
template <class T>
Region<T> samples(int w, int h, uint32_t seed) {
    Region<T> r(w, h, seed);
    std::mt19937 rng(seed);
    if constexpr (std::is_floating_point_v<T>)
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) r.set(x, y, float(int(rng() % 2001) - 1000) * 0.125f);
    return r;
}

template <class T>
void check_means() {
    for (int w : kTestWidths) {
        const int h = 6;
        const Region<T> src = samples<T>(w, h, w * 3);
        Region<T> col(3, h, w), want_col = col;
        Region<T> row(w, 1, w + 1), want_row = row;
        std::vector<uint8_t> work(lum::prim::column_mean_work_bytes(w));
        for (int y = 0; y < h; ++y) {
            double s = 0;
            for (int x = 0; x < w; ++x) s += src.get(x, y);
            want_col.set(2, y, rounded<T>(s / w));
        }
        for (int x = 0; x < w; ++x) {
            double s = 0;
            for (int y = 0; y < h; ++y) s += src.get(x, y);
            want_row.set(x, 0, rounded<T>(s / h));
        }
        T* column = reinterpret_cast<T*>(col.bytes.data() + col.at_byte(2, 0));
        ASSERT_EQ(lum::prim::row_mean<T>(src.data(), src.step, column, col.step, src.size()), 0);
        ASSERT_EQ(lum::prim::column_mean<T>(src.data(), src.step, src.size(), row.data(), work.data()), 0);
        ASSERT_EQ(col.bytes, want_col.bytes) << "row means, width " << w;
        ASSERT_EQ(row.bytes, want_row.bytes) << "column means, width " << w;
    }
}

TEST(ProjectionKernels, RowAndColumnMeans) {
    for_each_variant([](int) {
        check_means<uint8_t>();
        check_means<uint16_t>();
        check_means<float>();
    });
}

// Column sums of 16-bit samples outgrow 32 bits after 65537 rows.
TEST(ProjectionKernels, ColumnMeanOfVeryTallFrames) {
    for_each_variant([](int) {
        const int h = 70000;
        std::vector<uint16_t> column(h, 65535);
        column[5] = 0;
        std::vector<uint8_t> work(lum::prim::column_mean_work_bytes(1));
        uint16_t mean = 0;
        ASSERT_EQ(lum::prim::column_mean<uint16_t>(column.data(), 2, {1, h}, &mean, work.data()), 0);
        EXPECT_EQ(mean, uint16_t(std::nearbyint(65535.0 * (h - 1) / h)));
    });
}

template <class T>
void check_accumulator_mean(uint32_t frames) {
    for (int w : kTestWidths) {
        Region<float> acc(w, kRows, w);
        std::mt19937 rng(w);
        for (int y = 0; y < kRows; ++y)
            for (int x = 0; x < w; ++x) acc.set(x, y, float(int(rng() % 300000)) * 0.5f - 1000.0f);
        if (w > 3) acc.set(1, 1, NAN), acc.set(2, 1, 1e30f), acc.set(3, 1, -1e30f);
        Region<T> got(w, kRows, w + 9), want = got;
        for (int y = 0; y < kRows; ++y)
            for (int x = 0; x < w; ++x) {
                const float v = acc.get(x, y) / float(frames);
                want.set(x, y, std::isnan(v) && !std::is_floating_point_v<T> ? T(0) : rounded<T>(v));
            }
        ASSERT_EQ(lum::prim::accumulator_mean<T>(acc.data(), acc.step, got.data(), got.step, acc.size(), frames), 0);
        ASSERT_EQ(got.bytes, want.bytes) << "width " << w;
    }
}

TEST(ProjectionKernels, AccumulatorMeanRoundsAndSaturates) {
    for_each_variant([](int) {
        check_accumulator_mean<uint8_t>(3);
        check_accumulator_mean<uint16_t>(16);
        check_accumulator_mean<float>(7);
        // A destination larger than the caches, written with streaming stores.
        const int w = 1501, h = 1400;
        Region<float> acc(w, h, 9);
        Region<uint16_t> got(w, h, 10), want = got;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                acc.set(x, y, float((x * 7 + y * 13) % 5000) * 3.0f);
                want.set(x, y, rounded<uint16_t>(acc.get(x, y) / 3.0f));
            }
        ASSERT_EQ(lum::prim::accumulator_mean<uint16_t>(acc.data(), acc.step, got.data(), got.step, acc.size(), 3), 0);
        ASSERT_EQ(got.bytes, want.bytes);
    });
    float acc[2] = {1e9f, -5.0f};
    uint16_t out[2];
    EXPECT_EQ(lum::prim::accumulator_mean<uint16_t>(acc, 8, out, 4, {2, 1}, 0), -13);
    EXPECT_EQ(lum::prim::accumulator_mean<uint16_t>(acc, 8, nullptr, 4, {2, 1}, 1), -8);
    EXPECT_EQ((lum::prim::row_extreme<uint8_t, op::max>(nullptr, 8, nullptr, 4, {2, 1})), -8);
    EXPECT_EQ(lum::prim::row_mean<float>(acc, 8, acc, 4, {0, 1}), -6);
    EXPECT_EQ(lum::prim::column_mean<float>(acc, 8, {2, 1}, acc, nullptr), -8);
}

}  // namespace
