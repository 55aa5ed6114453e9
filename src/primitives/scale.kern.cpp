// Linear scaling: one row loop per pair of sample types. Integer destinations
// compute in float lanes (widen, convert, multiply, add, clamp, round) and pack
// two or four vectors into one whole vector of samples; float destinations
// compute in double lanes, so that the product and the sum are rounded once,
// to float, at the end.
#include <climits>
#include <cmath>

#include "primitives/kernel.hpp"
#include "primitives/scale.hpp"

namespace lum::prim::LUM_ISA {

namespace {

// Samples as float lanes: integers exactly (below 2^24), floats as they are.
template <class V>
inline auto as_float(V v) {
    if constexpr (std::is_floating_point_v<simd::element_t<V>>) return v;
    else return simd::to_float(v);
}

// Whether s × a + b is exact in double for every integer sample s of S, with
// a and b floats: its bits then span at most 53 places, from the last
// mantissa bit of a or b (samples are integers) to the larger magnitude and
// one more for a carry. The double computation then rounds once, to float,
// like a fused multiply-add in single precision.
template <class S>
bool exact_in_double(double a, double b) {
    if (!std::isfinite(a) || !std::isfinite(b) || double(float(a)) != a || double(float(b)) != b) return false;
    int low = INT_MAX, high = INT_MIN;
    if (a != 0.0) {
        low = std::ilogb(a) - 23;
        high = std::ilogb(double(max_value<S>()) * std::fabs(a)) + 1;
    }
    if (b != 0.0) {
        low = min_of(low, std::ilogb(b) - 23);
        high = max_of(high, std::ilogb(b) + 1);
    }
    return low == INT_MAX || high - low + 1 <= 53;
}

}  // namespace

template <class S, class D>
int scale(const S* src, int src_step, D* dst, int dst_step, Size size, double a, double b) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    if constexpr (std::is_floating_point_v<D>) {
        // Single precision gives the same bits for every sample when b is ±0
        // and a a float (either way the exact product is rounded once to
        // float), or when a is 1 and b a float (a sum of two floats rounded
        // through double equals the sum rounded once: 53 ≥ 2 × 24 + 2).
        if ((b == 0.0 && double(float(a)) == a) || (a == 1.0 && double(float(b)) == b)) {
            const auto av = simd::splat(static_cast<float>(a)), bv = simd::splat(static_cast<float>(b));
            for_each_row(size, dst, src, [&](int y, auto stores) {
                unary_row<float>(row_at(src, src_step, y), row_at(dst, dst_step, y), size.width,
                                 [av, bv](simd::lanes_of<S, float> s) { return as_float(s) * av + bv; }, stores);
            });
            return st_ok;
        }
        if constexpr (simd::has_fma && !std::is_floating_point_v<S>) {
            if (exact_in_double<S>(a, b)) {
                const auto av = simd::splat(static_cast<float>(a)), bv = simd::splat(static_cast<float>(b));
                for_each_row(size, dst, src, [&](int y, auto stores) {
                    unary_row<float>(row_at(src, src_step, y), row_at(dst, dst_step, y), size.width,
                                     [av, bv](simd::lanes_of<S, float> s) {
                                         return simd::fused_multiply_add(simd::to_float(s), av, bv);
                                     }, stores);
                });
                return st_ok;
            }
        }
        // Steps of one double vector: its floats load, convert, multiply, add,
        // convert back and store in single instructions, with no shuffles to
        // split and join whole vectors of floats.
        const auto av = simd::splat(a), bv = simd::splat(b);
        for_each_row(size, dst, src, [&](int y, auto stores) {
            unary_row<double>(row_at(src, src_step, y), row_at(dst, dst_step, y), size.width,
                              [av, bv](simd::lanes_of<S, double> s) {
                                  return __builtin_convertvector(simd::to_double(s) * av + bv,
                                                                 simd::lanes_of<float, double>);
                              }, stores);
        });
    } else {
        const auto av = simd::splat(static_cast<float>(a)), bv = simd::splat(static_cast<float>(b));
        static constexpr int K = simd::lanes<D> / simd::lanes<float>;
        auto rounded = [av, bv](auto s) { return simd::round_for<D>(as_float(s) * av + bv); };
        for_each_row(size, dst, src, [&](int y, auto stores) {
            packing_row<float>(row_at(src, src_step, y), row_at(dst, dst_step, y), size.width,
                               [rounded](const simd::lanes_of<S, float> (&s)[K]) {
                                   if constexpr (K == 4)
                                       return simd::pack_sat<D>(rounded(s[0]), rounded(s[1]), rounded(s[2]), rounded(s[3]));
                                   else
                                       return simd::pack_sat<D>(rounded(s[0]), rounded(s[1]));
                               }, stores);
        });
    }
    return st_ok;
}

#define LUM_SCALE_FROM(S) \
    LUM_INSTANTIATE(scale, S, uint8_t) LUM_INSTANTIATE(scale, S, uint16_t) LUM_INSTANTIATE(scale, S, float)
LUM_SCALE_FROM(uint8_t)
LUM_SCALE_FROM(uint16_t)
LUM_SCALE_FROM(float)
#undef LUM_SCALE_FROM

}  // namespace lum::prim::LUM_ISA
