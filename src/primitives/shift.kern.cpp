// Shift kernels: a unary row loop stepping by the lanes of the wider type.
// Bytes have no vector shift of their own: they are shifted as 16-bit lanes
// and the bits that crossed into the neighbouring byte are masked off.
#include "primitives/kernel.hpp"
#include "primitives/shift.hpp"

namespace lum::prim::LUM_ISA {

template <class S, class D, class Dir>
int shift(const S* src, int src_step, D* dst, int dst_step, Size size, uint32_t count) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    constexpr bool left = std::is_same_v<Dir, op::shift_left>;
    using W = typename widest<S, D>::type;
    using VS = simd::lanes_of<S, W>;
    using VW = simd::vec<W>;
    using V16 = simd::vec<uint16_t>;
    const bool clears = count >= 8 * sizeof(W);
    const unsigned c = clears ? 0u : count;
    // Lanes of W shifted by c; for bytes, the bits that stay inside their byte.
    const VW keep = simd::splat<W>(static_cast<W>(left ? max_value<W>() << c : max_value<W>() >> c));
    auto shifted = [c, keep](VW v) {
        if constexpr (sizeof(W) == 1) return (VW)(left ? (V16)v << c : (V16)v >> c) & keep;
        else return left ? v << c : v >> c;
    };
    for (int y = 0; y < size.height; ++y) {
        const S* s = row_at(src, src_step, y);
        D* d = row_at(dst, dst_step, y);
        if (clears) {
            unary_row<W>(s, d, size.width, [](VS) { return simd::lanes_of<D, W>{}; });
        } else if constexpr (sizeof(S) < sizeof(D)) {
            unary_row<W>(s, d, size.width, [shifted](VS v) { return shifted(simd::widen<W>(v)); });
        } else if constexpr (sizeof(S) > sizeof(D)) {
            packing_row<S>(s, d, size.width,
                           [shifted](const VS (&p)[2]) { return simd::pack_sat<D>(shifted(p[0]), shifted(p[1])); });
        } else {
            unary_row<W>(s, d, size.width, shifted);
        }
    }
    return st_ok;
}

#define LUM_SHIFT(S, D) LUM_INSTANTIATE(shift, S, D, op::shift_left) LUM_INSTANTIATE(shift, S, D, op::shift_right)
LUM_SHIFT(uint8_t, uint8_t)
LUM_SHIFT(uint8_t, uint16_t)
LUM_SHIFT(uint16_t, uint8_t)
LUM_SHIFT(uint16_t, uint16_t)
#undef LUM_SHIFT

}  // namespace lum::prim::LUM_ISA
