// Linear scaling kernels: one row loop per pair of sample types, the same
// loop serving the in-place forms (source and destination rows then alias).
#include <cmath>

#include "primitives/kernel.hpp"
#include "primitives/scale.hpp"


namespace lum::prim::LUM_ISA {

namespace {

// Integer destinations: single precision, as the fast algorithm allows (the
// error stays below 2^-24 of the result), rounded to nearest with halves to
// even by adding and removing 1.5 × 2^23 after clamping to the range.
// Float destinations: double precision, rounded once to float.
template <class D>
struct store {
    using math = float;
    static D from(float v) {
        constexpr float top = D(~D(0));
        v = v > 0.0f ? v : 0.0f;  // NaN included
        v = v < top ? v : top;
        v = (v + 12582912.0f) - 12582912.0f;
        return static_cast<D>(static_cast<int>(v));
    }
};
template <>
struct store<float> {
    using math = double;
    static float from(double v) { return static_cast<float>(v); }
};

// Integer to integer with every result below 2^22 in magnitude: rounding by
// the added constant needs no clamp beforehand, and the range is enforced on
// integers (the same results, fewer operations).
template <class S, class D>
void scale_row_bounded(const S* __restrict s, D* __restrict d, int n, float a, float b) {
    constexpr int top = D(~D(0));
    for (int x = 0; x < n; ++x) {
        const float v = (float(s[x]) * a + b + 12582912.0f) - 12582912.0f;
        const int r = static_cast<int>(v);
        d[x] = static_cast<D>(r < 0 ? 0 : r > top ? top : r);
    }
}

template <class S>
bool results_bounded(double a, double b) {
    if constexpr (std::is_same_v<S, float>) {
        return false;
    } else {
        const double far = double(S(~S(0))) * a + b;
        return std::fabs(b) < 4.0e6 && std::fabs(far) < 4.0e6;  // NaN fails too
    }
}

template <class S, class D>
void scale_row(const S* __restrict s, D* __restrict d, int n, double a, double b) {
    using M = typename store<D>::math;
    const M am = static_cast<M>(a), bm = static_cast<M>(b);
    for (int x = 0; x < n; ++x) d[x] = store<D>::from(M(s[x]) * am + bm);
}

// Same loop without the no-alias promise, for in-place rows.
template <class T>
void scale_row_in_place(T* p, int n, double a, double b) {
    using M = typename store<T>::math;
    const M am = static_cast<M>(a), bm = static_cast<M>(b);
    for (int x = 0; x < n; ++x) p[x] = store<T>::from(M(p[x]) * am + bm);
}

template <class S, class D>
int scale(const S* src, int src_step, D* dst, int dst_step, Size z, double a, double b) {
    if (!src || !dst) return st_null;
    if (empty_region(z)) return st_size;
    [[maybe_unused]] const bool bounded = results_bounded<S>(a, b);
    for (int y = 0; y < z.height; ++y) {
        const S* s = row_at(src, src_step, y);
        D* d = row_at(dst, dst_step, y);
        if (static_cast<const void*>(s) == static_cast<const void*>(d) && sizeof(S) == sizeof(D))
            scale_row_in_place(d, z.width, a, b);
        else if constexpr (!std::is_same_v<D, float>) {
            if (bounded)
                scale_row_bounded(s, d, z.width, static_cast<float>(a), static_cast<float>(b));
            else
                scale_row(s, d, z.width, a, b);
        } else
            scale_row(s, d, z.width, a, b);
    }
    return st_ok;
}

}  // namespace

#define LUM_SCALE(name, S, D) \
    int name(const S* s, int ss, D* d, int ds, Size z, double a, double b) { return scale(s, ss, d, ds, z, a, b); }
LUM_SCALE(scale_8u8u_c1r, uint8_t, uint8_t)
LUM_SCALE(scale_8u16u_c1r, uint8_t, uint16_t)
LUM_SCALE(scale_8u32f_c1r, uint8_t, float)
LUM_SCALE(scale_16u8u_c1r, uint16_t, uint8_t)
LUM_SCALE(scale_16u16u_c1r, uint16_t, uint16_t)
LUM_SCALE(scale_16u32f_c1r, uint16_t, float)
LUM_SCALE(scale_32f8u_c1r, float, uint8_t)
LUM_SCALE(scale_32f16u_c1r, float, uint16_t)
LUM_SCALE(scale_32f32f_c1r, float, float)
#undef LUM_SCALE

int scale_8u_c1ir(uint8_t* p, int step, Size z, double a, double b) { return scale(p, step, p, step, z, a, b); }
int scale_16u_c1ir(uint16_t* p, int step, Size z, double a, double b) { return scale(p, step, p, step, z, a, b); }
int scale_32f_c1ir(float* p, int step, Size z, double a, double b) { return scale(p, step, p, step, z, a, b); }

}  // namespace lum::prim::LUM_ISA
