// Linear scaling: one unary row loop per pair of sample types. Integer
// destinations step by the lanes of float (widen, convert, multiply, add,
// clamp, round, narrow); float destinations by the lanes of double, so that
// the product and the sum are rounded once, to float, at the end.
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

}  // namespace

template <class S, class D>
int scale(const S* src, int src_step, D* dst, int dst_step, Size size, double a, double b) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    if constexpr (std::is_floating_point_v<D>) {
        using V = simd::vec<double>;
        const V av = V{} + a, bv = V{} + b;
        for (int y = 0; y < size.height; ++y)
            unary_row<double>(row_at(src, src_step, y), row_at(dst, dst_step, y), size.width,
                              [av, bv](simd::lanes_of<S, double> s) {
                                  return __builtin_convertvector(simd::to_double(s) * av + bv,
                                                                 simd::lanes_of<float, double>);
                              });
    } else {
        using V = simd::vec<float>;
        const V av = V{} + static_cast<float>(a), bv = V{} + static_cast<float>(b);
        for (int y = 0; y < size.height; ++y)
            unary_row<float>(row_at(src, src_step, y), row_at(dst, dst_step, y), size.width,
                             [av, bv](simd::lanes_of<S, float> s) {
                                 return simd::to_unsigned<D>(as_float(s) * av + bv);
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
