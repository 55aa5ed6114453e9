// Format conversion kernels: one row loop per pair of sample types. Widening
// is a zero extension, narrowing a saturating pack of two or four vectors into
// one, floats go through the rounding conversion first.
#include "primitives/convert.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

template <class S, class D>
int convert(const S* src, int src_step, D* dst, int dst_step, Size size, int rounding) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    if (rounding != round_zero && rounding != round_nearest) return st_bad_arg;
    constexpr int K = simd::lanes<D> / simd::lanes<std::conditional_t<std::is_floating_point_v<S>, float, S>>;
    using V = simd::vec<S>;
    for_each_row(size, dst, src, [&](int y, auto stores) {
        const S* s = row_at(src, src_step, y);
        D* d = row_at(dst, dst_step, y);
        if constexpr (std::is_floating_point_v<S>) {
            static_assert(K == 4, "floats to bytes");
            if (rounding == round_nearest) {
                packing_row<float>(s, d, size.width, [](const V (&p)[K]) {
                    return simd::pack_sat<D>(simd::round_for<D>(p[0]), simd::round_for<D>(p[1]), simd::round_for<D>(p[2]),
                                             simd::round_for<D>(p[3]));
                }, stores);
            } else {
                // Truncation of the lanes clamped to D's range (NaN to 0 by the first clamp).
                constexpr float top = static_cast<float>(max_value<D>());
                auto truncated = [](V v) {
                    const V low = v > V{} ? v : V{};
                    return simd::convert<int32_t>(low < top ? low : V{} + top);
                };
                packing_row<float>(s, d, size.width, [truncated](const V (&p)[K]) {
                    return simd::pack_sat<D>(truncated(p[0]), truncated(p[1]), truncated(p[2]), truncated(p[3]));
                }, stores);
            }
        } else if constexpr (std::is_floating_point_v<D>) {
            unary_row<float>(s, d, size.width, [](simd::lanes_of<S, float> v) { return simd::to_float(v); }, stores);
        } else if constexpr (sizeof(D) > sizeof(S)) {
            unary_row(s, d, size.width, [](simd::lanes_of<S, D> v) { return simd::widen<D>(v); }, stores);
        } else {
            packing_row<S>(s, d, size.width, [](const V (&p)[2]) { return simd::pack_sat<D>(p[0], p[1]); }, stores);
        }
    });
    return st_ok;
}

LUM_INSTANTIATE(convert, uint8_t, uint16_t)
LUM_INSTANTIATE(convert, uint16_t, uint8_t)
LUM_INSTANTIATE(convert, uint16_t, float)
LUM_INSTANTIATE(convert, float, uint8_t)

}  // namespace lum::prim::LUM_ISA
