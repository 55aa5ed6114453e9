// Masked mean, standard deviation and extremes: a vector of samples and the
// mask bytes under it per step, the mask widened to the sample's width and
// turned into a lane select, so unselected samples add 0 to the sums and
// nothing to the extremes. Sums, squares and counts are exact.
#include "primitives/mask.hpp"
#include "primitives/reduce.hpp"
#include "primitives/stats.hpp"

namespace lum::prim::LUM_ISA {

namespace {

using simd::vec;

// f(samples, selected lanes) over a row of n samples and its mask: lanes
// past the row are unselected and hold 0.
template <class T, class F>
inline void each_masked(const T* s, const uint8_t* m, int n, F&& f) {
    using V = vec<T>;
    using MV = simd::lanes_of<uint8_t, T>;
    constexpr int L = simd::lanes<T>;
    auto step = [&](V v, MV bytes) {
        V sel;
        if constexpr (sizeof(T) == 1) sel = (V)(bytes != 0);
        else sel = (V)(simd::widen<T>(bytes) != 0);
        f(v & sel, sel);
    };
    int x = 0;
    for (; x + L <= n; x += L) step(simd::load(s + x), simd::load_as<MV>(m + x));
    if (x < n) step(simd::load_first<V>(s + x, n - x), simd::load_first<MV>(m + x, n - x));
}

}  // namespace

template <class T>
int masked_moments(const T* src, int src_step, const uint8_t* mask, int mask_step, Size size, double* mean,
                   double* stddev, int with_stddev) {
    if (!src || !mask || !mean || (with_stddev && !stddev)) return st_null;
    if (empty_region(size)) return st_size;
    integer_sum<T> sums;
    integer_sum<uint8_t> counts;
    integer_squares<T> squares;
    for (int y = 0; y < size.height; ++y) {
        const T* s = row_at(src, src_step, y);
        const uint8_t* m = row_at(mask, mask_step, y);
        // The selects are all-ones lanes: their lowest byte counts one per selected sample.
        if (with_stddev)
            each_masked(s, m, size.width, [&](vec<T> v, vec<T> sel) {
                sums.add(v);
                squares.add(v);
                counts.add((vec<uint8_t>)(sel & 1));
            });
        else
            each_masked(s, m, size.width, [&](vec<T> v, vec<T> sel) {
                sums.add(v);
                counts.add((vec<uint8_t>)(sel & 1));
            });
    }
    const uint64_t total = sums.total(), count = counts.total();
    double unused;
    exact_mean_stddev(total, with_stddev ? squares.total(total) : 0, count, mean, with_stddev ? stddev : &unused);
    return st_ok;
}

template <class T>
int masked_min_max(const T* src, int src_step, const uint8_t* mask, int mask_step, Size size, float* minimum,
                   float* maximum) {
    if (!src || !mask || !minimum || !maximum) return st_null;
    if (empty_region(size)) return st_size;
    using V = vec<T>;
    constexpr T top = static_cast<T>(max_value<T>());
    V lo = simd::splat(top), hi{};
    for (int y = 0; y < size.height; ++y)
        each_masked(row_at(src, src_step, y), row_at(mask, mask_step, y), size.width, [&](V v, V sel) {
            lo = simd::min(lo, v | ~sel);
            hi = simd::max(hi, v);
        });
    auto low = [](auto a, auto b) { return simd::min(a, b); };
    auto high = [](auto a, auto b) { return simd::max(a, b); };
    T l = fold_lanes(lo, low), h = fold_lanes(hi, high);
    // Any selected sample leaves l <= h; l > h means nothing was selected.
    if (l > h) l = h = 0;
    *minimum = static_cast<float>(l);
    *maximum = static_cast<float>(h);
    return st_ok;
}

LUM_INSTANTIATE(masked_moments, uint8_t)
LUM_INSTANTIATE(masked_moments, uint16_t)
LUM_INSTANTIATE(masked_min_max, uint8_t)
LUM_INSTANTIATE(masked_min_max, uint16_t)

}  // namespace lum::prim::LUM_ISA
