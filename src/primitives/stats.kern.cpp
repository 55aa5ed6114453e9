// Statistics kernels: whole vectors per step and a zero-filled (or masked)
// tail per row. Byte sums take one psadbw per vector; 16-bit samples are
// summed as their bytes; squares of 8-bit and 16-bit samples come from
// pmaddwd. Float reductions run over 32 fixed double lanes and extremes over
// 192 bytes of fixed lanes, the same grouping at every level, so that every
// variant combines the samples in the same order.
#include <cmath>

#include "primitives/reduce.hpp"
#include "primitives/stats.hpp"

namespace lum::prim::LUM_ISA {

namespace {

using simd::vec;
using Sum32 = double_lanes<32>;
using D = Sum32::D;

}  // namespace

template <class T>
int sum(const T* src, int step, Size size, double* total) {
    if (!src || !total) return st_null;
    if (empty_region(size)) return st_size;
    if constexpr (std::is_floating_point_v<T>) {
        D lane[Sum32::kVectors] = {};
        for (int y = 0; y < size.height; ++y)
            Sum32::each(row_at(src, step, y), size.width, [&](int k, D d, Sum32::Mask) { lane[k] += d; });
        *total = Sum32::total(lane);
    } else {
        integer_sum<T> acc;
        for (int y = 0; y < size.height; ++y)
            each_vector(row_at(src, step, y), size.width, [&](vec<T> v) { acc.add(v); });
        *total = static_cast<double>(acc.total());
    }
    return st_ok;
}

// 192 bytes of lanes: a multiple of three samples and of every vector, so
// lane k always holds channel k mod channels.
template <class T>
int min_max(const T* src, int step, Size size, int channels, T* mn, T* mx) {
    if (!src || !mn || !mx) return st_null;
    if (empty_region(size)) return st_size;
    using V = vec<T>;
    using M = simd::mask_of<V>;
    constexpr int L = simd::lanes<T>;
    constexpr int G = 192 / simd::kBytes;
    constexpr int lanes = G * L;
    V lo[G], hi[G];
    for (int j = 0; j < G; ++j)
        for (int i = 0; i < L; ++i) lo[j][i] = hi[j][i] = load_one(src + (j * L + i) % channels);
    const int n = size.width * channels;
    for (int y = 0; y < size.height; ++y) {
        const T* s = row_at(src, step, y);
        int x = 0;
        for (; x + lanes <= n; x += lanes)
            for (int j = 0; j < G; ++j) {
                const V v = simd::load(s + x + j * L);
                lo[j] = simd::min(v, lo[j]);
                hi[j] = simd::max(hi[j], v);
            }
        for (int j = 0; x + j * L < n; ++j) {
            const int valid = n - x - j * L;
            const V v = simd::load_first<V>(s + x + j * L, valid);
            const M in = simd::first_lanes<M>(valid);
            lo[j] = in ? simd::min(v, lo[j]) : lo[j];
            hi[j] = in ? simd::max(hi[j], v) : hi[j];
        }
    }
    for (int c = 0; c < channels; ++c) {
        T a = lo[0][c], b = hi[0][c];
        for (int k = c + channels; k < lanes; k += channels) {
            const T l = lo[k / L][k % L], h = hi[k / L][k % L];
            a = l < a ? l : a;
            b = b < h ? h : b;
        }
        store_one(mn + c, a);
        store_one(mx + c, b);
    }
    return st_ok;
}

template <class T>
int mean_stddev(const T* src, int step, Size size, double* mean, double* stddev) {
    if (!src || !mean || !stddev) return st_null;
    if (empty_region(size)) return st_size;
    const uint64_t count = static_cast<uint64_t>(size.width) * static_cast<uint64_t>(size.height);
    if constexpr (std::is_floating_point_v<T>) {
        const double shift = static_cast<double>(load_one(src));
        D s1[Sum32::kVectors] = {}, s2[Sum32::kVectors] = {};
        for (int y = 0; y < size.height; ++y)
            Sum32::each(row_at(src, step, y), size.width, [&](int k, D v, Sum32::Mask in) {
                const D d = v - shift;
                s1[k] = in ? s1[k] + d : s1[k];
                s2[k] = in ? s2[k] + d * d : s2[k];
            });
        const double nd = static_cast<double>(count);
        const double m = Sum32::total(s1) / nd;
        const double var = Sum32::total(s2) / nd - m * m;
        *mean = shift + m;
        *stddev = std::sqrt(var > 0 ? var : 0.0);
    } else {
        integer_sum<T> sums;
        integer_squares<T> squares;
        for (int y = 0; y < size.height; ++y)
            each_vector(row_at(src, step, y), size.width, [&](vec<T> v) {
                sums.add(v);
                squares.add(v);
            });
        const uint64_t total = sums.total();
        exact_mean_stddev(total, squares.total(total), count, mean, stddev);
    }
    return st_ok;
}

LUM_INSTANTIATE(sum, uint8_t)
LUM_INSTANTIATE(sum, uint16_t)
LUM_INSTANTIATE(sum, float)
LUM_INSTANTIATE(min_max, uint8_t)
LUM_INSTANTIATE(min_max, uint16_t)
LUM_INSTANTIATE(min_max, float)
LUM_INSTANTIATE(mean_stddev, uint8_t)
LUM_INSTANTIATE(mean_stddev, uint16_t)
LUM_INSTANTIATE(mean_stddev, float)

}  // namespace lum::prim::LUM_ISA
