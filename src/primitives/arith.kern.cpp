// Element-wise kernels: each operation is a functor on vectors, fed to the
// row loop of its shape (kernel.hpp). Memory-bound: one load per source
// sample and one store per destination sample, whole vectors and a masked
// tail per row.
#include <cmath>

#include "primitives/arith.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

namespace {

using simd::element_t;

template <class V>
constexpr bool float_lanes = std::is_floating_point_v<element_t<V>>;

// The vector body of each operation.
template <class Op>
struct lanes_of_op {
    template <class V>
    V operator()(V a, V b) const {
        if constexpr (std::is_same_v<Op, op::add>) {
            if constexpr (float_lanes<V>) return a + b;
            else return simd::add_sat(a, b);
        } else if constexpr (std::is_same_v<Op, op::sub>) {
            if constexpr (float_lanes<V>) return a - b;
            else return simd::sub_sat(a, b);
        } else if constexpr (std::is_same_v<Op, op::rsub>) {
            if constexpr (float_lanes<V>) return b - a;
            else return simd::sub_sat(b, a);
        } else if constexpr (std::is_same_v<Op, op::abs_diff>) {
            return simd::abs_diff(a, b);
        } else if constexpr (std::is_same_v<Op, op::min>) {
            return simd::min(a, b);
        } else if constexpr (std::is_same_v<Op, op::max>) {
            return simd::max(a, b);
        } else if constexpr (std::is_same_v<Op, op::bit_and>) {
            return a & b;
        } else if constexpr (std::is_same_v<Op, op::bit_or>) {
            return a | b;
        } else {
            static_assert(std::is_same_v<Op, op::bit_xor>);
            return a ^ b;
        }
    }
};

// Integer quotients o / d of whole vectors of T, in float lanes part by part
// (operands below 2^16, so the float quotient is never within rounding error
// of a half it is not exactly on), rounded half to even and packed. A zero
// divisor needs no case of its own: x / 0 is infinite for x > 0, which
// saturates to the maximum, and 0 / 0 is NaN, which converts to a negative
// lane that the pack raises to 0.
template <class T>
struct integer_quotient {
    using V = simd::vec<T>;
    static constexpr int K = simd::lanes<T> / simd::lanes<float>;
    template <int k>
    static auto part(V divisor, V dividend) {
        return simd::round_for<T>(simd::to_float(simd::part<K, k>(dividend)) / simd::to_float(simd::part<K, k>(divisor)));
    }
    V operator()(V divisor, V dividend) const {
        if constexpr (K == 4)
            return simd::pack_sat<T>(part<0>(divisor, dividend), part<1>(divisor, dividend), part<2>(divisor, dividend),
                                     part<3>(divisor, dividend));
        else
            return simd::pack_sat<T>(part<0>(divisor, dividend), part<1>(divisor, dividend));
    }
};

// Natural logarithm of float lanes: the exponent is split off and ln of the
// mantissa in [√½, √2) comes from a minimax polynomial, error within about
// one unit in the last place; subnormals are scaled by 2^23 first.
struct logarithm {
    using V = simd::vec<float>;
    using I = simd::vec<int32_t>;
    V operator()(V in) const {
        const auto tiny = in < 1.17549435e-38f;
        const V v = tiny ? in * 8388608.0f : in;
        const I bits = (I)v;
        V e = simd::convert<float>(((bits >> 23) & 0xFF) - 126) - (tiny ? V{} + 23.0f : V{});
        V m = (V)((bits & 0x007FFFFF) | 0x3F000000);  // [0.5, 1)
        const auto low = m < 0.707106781186547524f;
        e = low ? e - 1.0f : e;
        m = low ? m + m - 1.0f : m - 1.0f;
        const V z = m * m;
        V y = V{} + 7.0376836292e-2f;
        y = y * m - 1.1514610310e-1f;
        y = y * m + 1.1676998740e-1f;
        y = y * m - 1.2420140846e-1f;
        y = y * m + 1.4249322787e-1f;
        y = y * m - 1.6668057665e-1f;
        y = y * m + 2.0000714765e-1f;
        y = y * m - 2.4999993993e-1f;
        y = y * m + 3.3333331174e-1f;
        y = y * m * z;
        y = y - 2.12194440e-4f * e;
        y = y - 0.5f * z;
        V r = m + y;
        r = r + 0.693359375f * e;
        const V special = in == 0.0f ? V{} - HUGE_VALF : V{} + NAN;
        r = in > 0.0f ? r : special;
        return in == HUGE_VALF ? V{} + HUGE_VALF : r;
    }
};

}  // namespace

template <class T, class Op>
int binary(const T* a, int a_step, const T* b, int b_step, T* d, int d_step, Size size) {
    if (!a || !b || !d) return st_null;
    if (empty_region(size)) return st_size;
    with_stores_for(bytes_written(int64_t{size.width} * size.height * sizeof(T), d, a, b), [&](auto stores) {
        for (int y = 0; y < size.height; ++y)
            binary_row(row_at(a, a_step, y), row_at(b, b_step, y), row_at(d, d_step, y), size.width,
                       lanes_of_op<Op>{}, stores);
        if (stores) simd::stream_fence();
    });
    return st_ok;
}

template <class T, class Op>
int constant(const T* s, int s_step, T* d, int d_step, Size size, const T* values, int channels) {
    if (!s || !d || !values) return st_null;
    if (empty_region(size)) return st_size;
    simd::vec<T> k[3];
    channel_constants(values, channels, k);
    with_stores_for(bytes_written(int64_t{size.width} * size.height * sizeof(T), d, s), [&](auto stores) {
        for (int y = 0; y < size.height; ++y)
            constant_row(row_at(s, s_step, y), row_at(d, d_step, y), size.width, k, lanes_of_op<Op>{}, stores);
        if (stores) simd::stream_fence();
    });
    return st_ok;
}

template <class T, class Op>
int binary_clamped(const T* a, int a_step, const T* b, int b_step, T* d, int d_step, Size size, T top) {
    if (!a || !b || !d) return st_null;
    if (empty_region(size)) return st_size;
    const simd::vec<T> high = simd::splat(top);
    with_stores_for(bytes_written(int64_t{size.width} * size.height * sizeof(T), d, a, b), [&](auto stores) {
        for (int y = 0; y < size.height; ++y)
            binary_row(row_at(a, a_step, y), row_at(b, b_step, y), row_at(d, d_step, y), size.width,
                       [high](simd::vec<T> x, simd::vec<T> z) { return simd::min(lanes_of_op<Op>{}(x, z), high); },
                       stores);
        if (stores) simd::stream_fence();
    });
    return st_ok;
}

template <class T, class Op>
int constant_clamped(const T* s, int s_step, T* d, int d_step, Size size, const T* values, int channels, T top) {
    if (!s || !d || !values) return st_null;
    if (empty_region(size)) return st_size;
    simd::vec<T> k[3];
    channel_constants(values, channels, k);
    const simd::vec<T> high = simd::splat(top);
    with_stores_for(bytes_written(int64_t{size.width} * size.height * sizeof(T), d, s), [&](auto stores) {
        for (int y = 0; y < size.height; ++y)
            constant_row(row_at(s, s_step, y), row_at(d, d_step, y), size.width, k,
                         [high](simd::vec<T> x, simd::vec<T> c) { return simd::min(lanes_of_op<Op>{}(x, c), high); },
                         stores);
        if (stores) simd::stream_fence();
    });
    return st_ok;
}

template <class T>
int divide(const T* divisor, int divisor_step, T* d, int d_step, Size size) {
    if (!divisor || !d) return st_null;
    if (empty_region(size)) return st_size;
    using V = simd::vec<T>;
    simd::mask_of<V> zeros{};
    auto quotient = [&zeros](V x, V v, int valid = simd::lanes<T>) {
        zeros |= (x == V{}) & simd::first_lanes<simd::mask_of<V>>(valid);
        if constexpr (std::is_floating_point_v<T>) return v / x;
        else return integer_quotient<T>{}(x, v);
    };
    for (int y = 0; y < size.height; ++y)
        binary_row(row_at(divisor, divisor_step, y), row_at(d, d_step, y), row_at(d, d_step, y), size.width, quotient);
    for (int i = 0; i < simd::lanes<T>; ++i)
        if (zeros[i] != 0) return st_div_zero;
    return st_ok;
}

template <class S>
int accumulate(const S* s, int s_step, float* acc, int acc_step, Size size, int replace) {
    if (!s || !acc) return st_null;
    if (empty_region(size)) return st_size;
    using VS = simd::lanes_of<S, float>;
    using V = simd::vec<float>;
    for (int y = 0; y < size.height; ++y) {
        const S* src = row_at(s, s_step, y);
        float* sum = row_at(acc, acc_step, y);
        if (replace)
            unary_row(src, sum, size.width, [](VS v) { return simd::to_float(v); });
        else
            binary_row(src, sum, sum, size.width, [](VS v, V old) { return old + simd::to_float(v); });
    }
    return st_ok;
}

int ln_32f(float* p, int step, Size size) {
    if (!p) return st_null;
    if (empty_region(size)) return st_size;
    simd::vec<int32_t> bad{};
    for (int y = 0; y < size.height; ++y)
        unary_row(row_at(p, step, y), row_at(p, step, y), size.width,
                  [&bad](simd::vec<float> v, int valid = simd::lanes<float>) {
                      bad |= (v > 0.0f ? simd::vec<int32_t>{} : simd::vec<int32_t>{} + 1) &
                             simd::first_lanes<simd::vec<int32_t>>(valid);
                      return logarithm{}(v);
                  });
    for (int i = 0; i < simd::lanes<int32_t>; ++i)
        if (bad[i]) return st_domain;
    return st_ok;
}

#define LUM_EVERY_INTEGER(name, Op) LUM_INSTANTIATE(name, uint8_t, Op) LUM_INSTANTIATE(name, uint16_t, Op)
#define LUM_EVERY_SAMPLE(name, Op) LUM_EVERY_INTEGER(name, Op) LUM_INSTANTIATE(name, float, Op)
LUM_EVERY_SAMPLE(binary, op::add)
LUM_EVERY_SAMPLE(binary, op::sub)
LUM_EVERY_INTEGER(binary, op::abs_diff)
LUM_EVERY_INTEGER(binary, op::min)
LUM_EVERY_INTEGER(binary, op::max)
LUM_INSTANTIATE(binary, uint8_t, op::bit_and)
LUM_INSTANTIATE(binary, uint8_t, op::bit_or)
LUM_INSTANTIATE(binary, uint8_t, op::bit_xor)
LUM_EVERY_INTEGER(constant, op::add)
LUM_EVERY_INTEGER(constant, op::sub)
LUM_EVERY_INTEGER(constant, op::rsub)
LUM_EVERY_INTEGER(constant, op::min)
LUM_EVERY_INTEGER(binary_clamped, op::add)
LUM_EVERY_INTEGER(constant_clamped, op::add)
LUM_INSTANTIATE(divide, uint8_t)
LUM_INSTANTIATE(divide, uint16_t)
LUM_INSTANTIATE(divide, float)
LUM_INSTANTIATE(accumulate, uint8_t)
LUM_INSTANTIATE(accumulate, uint16_t)
LUM_INSTANTIATE(accumulate, float)
#undef LUM_EVERY_SAMPLE
#undef LUM_EVERY_INTEGER

}  // namespace lum::prim::LUM_ISA
