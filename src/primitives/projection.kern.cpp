// Projection kernels. A row's extreme is a vector of running extremes folded
// once at the end of the row; a row's mean is its exact total (psadbw sums
// for integers, 16 fixed double lanes for floats); column means add each row
// into 32-bit column sums (64-bit every 65536 rows) or double sums, and divide
// once.
#include <cmath>

#include "primitives/projection.hpp"
#include "primitives/reduce.hpp"

namespace lum::prim::LUM_ISA {

namespace {

using simd::vec;

template <class Op>
struct extreme {
    template <class V>
    V operator()(V a, V b) const {
        if constexpr (std::is_same_v<Op, op::max>) return simd::max(a, b);
        else return simd::min(a, b);
    }
};

// Nearest sample value, halves to even, saturated; floats pass as they are.
template <class T>
inline T to_sample(double v) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(v);
    } else {
        constexpr double top = static_cast<double>(max_value<T>());
        double r = std::nearbyint(v);
        r = r > 0.0 ? r : 0.0;
        r = r < top ? r : top;
        return static_cast<T>(static_cast<int32_t>(r));
    }
}

}  // namespace

template <class T, class Op>
int row_extreme(const T* src, int step, T* dst, int dst_step, Size size) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    using V = vec<T>;
    constexpr int L = simd::lanes<T>;
    const extreme<Op> pick;
    const int n = size.width;
    for (int y = 0; y < size.height; ++y) {
        const T* s = row_at(src, step, y);
        V best = simd::splat(load_one(s));
        int x = 0;
        for (; x + L <= n; x += L) best = pick(best, simd::load(s + x));
        if (x < n) {
            const V v = simd::load_first<V>(s + x, n - x);
            best = simd::first_lanes<simd::mask_of<V>>(n - x) ? pick(best, v) : best;
        }
        store_one(row_at(dst, dst_step, y), fold_lanes(best, pick));
    }
    return st_ok;
}

template <class T>
int row_mean(const T* src, int step, T* dst, int dst_step, Size size) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y) {
        const T* s = row_at(src, step, y);
        double total;
        if constexpr (std::is_floating_point_v<T>) {
            total = double_lanes<16>::row_total(s, size.width);
        } else {
            integer_sum<T> acc;
            each_vector(s, size.width, [&](vec<T> v) { acc.add(v); });
            total = static_cast<double>(acc.total());
        }
        store_one(row_at(dst, dst_step, y), to_sample<T>(total / size.width));
    }
    return st_ok;
}

template <class T>
int column_mean(const T* src, int step, Size size, T* row, void* work) {
    if (!src || !row || !work) return st_null;
    if (empty_region(size)) return st_size;
    const int n = size.width;
    const double count = size.height;
    if constexpr (std::is_floating_point_v<T>) {
        auto* sums = static_cast<double*>(work);
        for (int x = 0; x < n; ++x) sums[x] = 0.0;
        for (int y = 0; y < size.height; ++y)
            binary_row<double>(row_at(src, step, y), sums, sums, n, [](simd::lanes_of<float, double> v, vec<double> s) {
                return s + simd::floats_to_doubles(v);
            });
        for (int x = 0; x < n; ++x) store_one(row + x, to_sample<T>(sums[x] / count));
    } else {
        // 32-bit sums hold 65536 rows of 16-bit samples (and far more of 8-bit ones).
        constexpr int chunk = sizeof(T) == 1 ? (1 << 24) : (1 << 16);
        auto* part = static_cast<uint32_t*>(work);
        auto* whole = reinterpret_cast<uint64_t*>(static_cast<uint8_t*>(work) + align64(4 * int64_t{n}));
        for (int x = 0; x < n; ++x) whole[x] = 0;
        for (int y0 = 0; y0 < size.height; y0 += chunk) {
            for (int x = 0; x < n; ++x) part[x] = 0;
            const int y1 = size.height - y0 < chunk ? size.height : y0 + chunk;
            for (int y = y0; y < y1; ++y)
                binary_row<uint32_t>(row_at(src, step, y), part, part, n,
                                     [](simd::lanes_of<T, uint32_t> v, vec<uint32_t> s) {
                                         return s + simd::widen<uint32_t>(v);
                                     });
            for (int x = 0; x < n; ++x) whole[x] += part[x];
        }
        for (int x = 0; x < n; ++x) store_one(row + x, to_sample<T>(static_cast<double>(whole[x]) / count));
    }
    return st_ok;
}

template <class T>
int accumulator_mean(const float* acc, int acc_step, T* dst, int dst_step, Size size, uint32_t count) {
    if (!acc || !dst) return st_null;
    if (empty_region(size)) return st_size;
    if (count == 0) return st_bad_arg;
    const float n = static_cast<float>(count);
    const auto mean = [n](vec<float> a) {
        if constexpr (std::is_floating_point_v<T>) return a / n;
        else return simd::narrow_sat<T>(simd::round_clamped(a / n, static_cast<float>(max_value<T>())));
    };
    with_stores_for(int64_t{size.width} * size.height * sizeof(T), [&](auto stores) {
        for (int y = 0; y < size.height; ++y)
            unary_row<float>(row_at(acc, acc_step, y), row_at(dst, dst_step, y), size.width, mean, stores);
        if (stores) simd::stream_fence();
    });
    return st_ok;
}

LUM_INSTANTIATE(row_extreme, uint8_t, op::max)
LUM_INSTANTIATE(row_extreme, uint16_t, op::max)
LUM_INSTANTIATE(row_extreme, uint8_t, op::min)
LUM_INSTANTIATE(row_extreme, uint16_t, op::min)
LUM_INSTANTIATE(row_mean, uint8_t)
LUM_INSTANTIATE(row_mean, uint16_t)
LUM_INSTANTIATE(row_mean, float)
LUM_INSTANTIATE(column_mean, uint8_t)
LUM_INSTANTIATE(column_mean, uint16_t)
LUM_INSTANTIATE(column_mean, float)
LUM_INSTANTIATE(accumulator_mean, uint8_t)
LUM_INSTANTIATE(accumulator_mean, uint16_t)
LUM_INSTANTIATE(accumulator_mean, float)

}  // namespace lum::prim::LUM_ISA
