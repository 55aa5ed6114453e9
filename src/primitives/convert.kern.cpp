// Format conversion kernels: one unary row loop per pair of sample types,
// stepping by the lanes of the wider type. Widening is a zero extension,
// narrowing a saturating pack, floats go through the rounding conversion.
#include "primitives/convert.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

template <class S, class D>
int convert(const S* src, int src_step, D* dst, int dst_step, Size size, int rounding) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    if (rounding != round_zero && rounding != round_nearest) return st_bad_arg;
    for (int y = 0; y < size.height; ++y) {
        const S* s = row_at(src, src_step, y);
        D* d = row_at(dst, dst_step, y);
        if constexpr (std::is_floating_point_v<S>) {
            using V = simd::lanes_of<S, S>;
            using F = simd::vec<float>;
            if (rounding == round_nearest) {
                unary_row<float>(s, d, size.width, [](V v) { return simd::to_unsigned<D>(v); });
            } else {
                // Truncation of the lanes clamped to D's range (NaN to 0 by the first clamp).
                constexpr float top = static_cast<float>(max_value<D>());
                unary_row<float>(s, d, size.width, [](V v) {
                    const F low = v > F{} ? v : F{};
                    return simd::narrow_sat<D>(simd::convert<int32_t>(low < top ? low : F{} + top));
                });
            }
        } else if constexpr (std::is_floating_point_v<D>) {
            unary_row<float>(s, d, size.width, [](simd::lanes_of<S, float> v) { return simd::to_float(v); });
        } else if constexpr (sizeof(D) > sizeof(S)) {
            unary_row(s, d, size.width, [](simd::lanes_of<S, D> v) { return simd::widen<D>(v); });
        } else {
            unary_row(s, d, size.width, [](simd::vec<S> v) { return simd::narrow_sat<D>(v); });
        }
    }
    return st_ok;
}

LUM_INSTANTIATE(convert, uint8_t, uint16_t)
LUM_INSTANTIATE(convert, uint16_t, uint8_t)
LUM_INSTANTIATE(convert, uint16_t, float)
LUM_INSTANTIATE(convert, float, uint8_t)

}  // namespace lum::prim::LUM_ISA
