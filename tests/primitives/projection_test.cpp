// Projection kernels: every processor variant against plain references on odd
// widths and steps: row and column extremes and means, the float accumulator
// and its rounded, saturated mean.
#include <algorithm>
#include <cmath>
#include <vector>

#include "primitives/projection.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::for_each_variant;

constexpr int kWidths[] = {1, 15, 17, 63, 65, 1000};

template <class T>
struct Plane {
    int width, height, step;
    std::vector<T> data;  // step in samples is width + 3
    Plane(int w, int h, uint32_t seed, int range) : width(w), height(h), step((w + 3) * int(sizeof(T))) {
        data.resize(size_t(w + 3) * h);
        std::mt19937 rng(seed);
        for (auto& v : data) {
            if constexpr (std::is_floating_point_v<T>)
                v = float(int(rng() % 2001) - 1000) * 0.125f;
            else
                v = T(rng() % range);
        }
    }
    T at(int x, int y) const { return data[size_t(y) * (width + 3) + x]; }
    Size size() const { return {width, height}; }
};

TEST(ProjectionKernels, RowAndColumnExtremes) {
    for_each_variant([](int) {
        for (int w : kWidths) {
            const int h = 5;
            Plane<uint16_t> p(w, h, w, 65536);
            // Destination column with a stride of 7 samples; the rest must stay as it was.
            std::vector<uint16_t> col(7 * h + 7, 0xABCD), want = col;
            for (int y = 0; y < h; ++y) {
                uint16_t m = p.at(0, y);
                for (int x = 0; x < w; ++x) m = std::max(m, p.at(x, y));
                want[7 * y + 3] = m;
            }
            ASSERT_EQ(lum::prim::row_max_16u_c1(p.data.data(), p.step, col.data() + 3, 14, p.size()), 0);
            ASSERT_EQ(col, want) << w;

            Plane<uint8_t> q(w, h, w + 1, 256);
            std::vector<uint8_t> row(w + 1, 200), wrow = row;
            for (int x = 0; x < w; ++x)
                for (int y = 0; y < h; ++y) wrow[x] = std::min(wrow[x], q.at(x, y));
            ASSERT_EQ(lum::prim::column_min_8u_c1ir(q.data.data(), q.step, q.size(), row.data()), 0);
            ASSERT_EQ(row, wrow) << w;
        }
    });
}

template <class T>
T rounded(double v) {
    if constexpr (std::is_floating_point_v<T>) return T(v);
    else return T(std::clamp(std::nearbyint(v), 0.0, double(std::numeric_limits<T>::max())));
}

template <class T, class RowK, class ColK>
void check_means(RowK row_mean, ColK column_mean, int range) {
    for (int w : kWidths) {
        const int h = 6;
        Plane<T> p(w, h, w * 3, range);
        std::vector<T> col(h * 2), row(w);
        std::vector<double> work(w);
        ASSERT_EQ(row_mean(p.data.data(), p.step, col.data(), 2 * int(sizeof(T)), p.size()), 0);
        ASSERT_EQ(column_mean(p.data.data(), p.step, p.size(), row.data(), work.data()), 0);
        for (int y = 0; y < h; ++y) {
            double s = 0;
            for (int x = 0; x < w; ++x) s += p.at(x, y);
            ASSERT_EQ(col[2 * y], rounded<T>(s / w)) << "row " << y << " width " << w;
        }
        for (int x = 0; x < w; ++x) {
            double s = 0;
            for (int y = 0; y < h; ++y) s += p.at(x, y);
            ASSERT_EQ(row[x], rounded<T>(s / h)) << "column " << x << " width " << w;
        }
    }
}

TEST(ProjectionKernels, RowAndColumnMeans) {
    for_each_variant([](int) {
        check_means<uint8_t>(lum::prim::row_mean_8u_c1, lum::prim::column_mean_8u_c1, 256);
        check_means<uint16_t>(lum::prim::row_mean_16u_c1, lum::prim::column_mean_16u_c1, 65536);
        check_means<float>(lum::prim::row_mean_32f_c1, lum::prim::column_mean_32f_c1, 0);
    });
}

TEST(ProjectionKernels, AccumulatorAndItsMean) {
    for_each_variant([](int) {
        for (int w : kWidths) {
            const int h = 3, frames = 4;
            std::vector<Plane<uint8_t>> seq;
            for (int f = 0; f < frames; ++f) seq.emplace_back(w, h, 100 * w + f, 256);
            std::vector<float> acc(size_t(w + 1) * h, -1.0f);
            const int acc_step = (w + 1) * 4;
            for (int f = 0; f < frames; ++f)
                ASSERT_EQ(lum::prim::accumulate_8u_c1(seq[f].data.data(), seq[f].step, acc.data(), acc_step, {w, h},
                                                      f == 0),
                          0);
            std::vector<uint8_t> out(size_t(w + 2) * h, 7);
            ASSERT_EQ(lum::prim::accumulator_mean_8u_c1(acc.data(), acc_step, out.data(), w + 2, {w, h}, frames), 0);
            for (int y = 0; y < h; ++y) {
                for (int x = 0; x < w; ++x) {
                    float s = 0;
                    for (int f = 0; f < frames; ++f) s += float(seq[f].at(x, y));
                    ASSERT_EQ(acc[size_t(y) * (w + 1) + x], s);
                    ASSERT_EQ(out[size_t(y) * (w + 2) + x], uint8_t(std::nearbyint(s / frames))) << w;
                }
                ASSERT_EQ(acc[size_t(y) * (w + 1) + w], -1.0f);  // beyond the region: untouched
                ASSERT_EQ(out[size_t(y) * (w + 2) + w], 7);
            }
        }
    });
    float acc[2] = {1e9f, -5.0f};
    uint16_t out[2];
    ASSERT_EQ(lum::prim::accumulator_mean_16u_c1(acc, 8, out, 4, {2, 1}, 1), 0);
    EXPECT_EQ(out[0], 65535);  // saturated
    EXPECT_EQ(out[1], 0);
    EXPECT_EQ(lum::prim::accumulator_mean_16u_c1(acc, 8, out, 4, {2, 1}, 0), -13);
}

}  // namespace
