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

// Natural logarithm of float lanes, within 2 units in the last place of the
// exact value over every positive float (checked exhaustively). x = z · 2^k
// with z in [0.699, 1.398); z's top mantissa bits pick one of 16 intervals
// and its centre c from kLogCentre (c = 1 where z can be 1, else the end
// nearest 1, so that ln c and ln(1 + r) never cancel); z - c is exact, and
// ln z = ln c + ln(1 + r) with r = (z - c) / c below 0.062 in magnitude,
// ln(1 + r) = r + r² q(r) from a cubic fitted to that range. k ln 2 is added
// in two parts, the first exact for every k. Subnormals are scaled by 2^23
// first.
alignas(64) constexpr float kLogCentre[16] = {
    0x1.76p-1f, 0x1.86p-1f, 0x1.96p-1f, 0x1.a6p-1f, 0x1.b6p-1f, 0x1.c6p-1f, 0x1.d6p-1f, 0x1.e6p-1f,
    0x1.f6p-1f, 0x1.0p+0f,  0x1.06p+0f, 0x1.16p+0f, 0x1.26p+0f, 0x1.36p+0f, 0x1.46p+0f, 0x1.56p+0f};
alignas(64) constexpr float kLogInverse[16] = {  // 1 / c rounded to float
    0x1.5e75bcp+0f, 0x1.501502p+0f, 0x1.42d662p+0f, 0x1.3698e0p+0f, 0x1.2b404ap+0f, 0x1.20b470p+0f,
    0x1.16e068p+0f, 0x1.0db20ap+0f, 0x1.051980p+0f, 0x1.000000p+0f, 0x1.f4465ap-1f, 0x1.d77b66p-1f,
    0x1.bdd2b8p-1f, 0x1.a6d01ap-1f, 0x1.920fb4p-1f, 0x1.7f4060p-1f};
alignas(64) constexpr float kLogOfCentre[16] = {  // ln c rounded to float
    -0x1.419b42p-2f, -0x1.16b5ccp-2f, -0x1.db13dcp-3f, -0x1.8beafep-3f, -0x1.3fb45ap-3f, -0x1.ec7398p-4f,
    -0x1.5e95a4p-4f, -0x1.aaef2ep-5f, -0x1.432a92p-6f, 0.0f,           0x1.7b91b0p-6f,  0x1.51b074p-4f,
    0x1.1b72aep-3f,  0x1.87fa06p-3f,  0x1.ef0adcp-3f,  0x1.2895a2p-2f};

struct logarithm {
    using V = simd::vec<float>;
    using I = simd::vec<int32_t>;
    using U = simd::vec<uint32_t>;
    V operator()(V in) const {
        const auto tiny = in < 1.17549435e-38f;
        // Bit patterns in unsigned lanes: negative inputs (whose result is
        // chosen below) must not overflow a signed subtraction.
        const U bits = (U)(tiny ? in * 8388608.0f : in);
        const U from_centre = bits - 0x3f330000u;  // bits of 0.69922
        const I index = (I)((from_centre >> 19) & 15u);
        const V z = (V)(bits - (from_centre & 0xff800000u));
        const V k = simd::convert<float>(((I)from_centre >> 23) - (tiny ? I{} + 23 : I{}));
        const V r = (z - simd::lookup16(kLogCentre, index)) * simd::lookup16(kLogInverse, index);
        const V q = ((0x1.8daac4p-3f * r - 0x1.00740ep-2f) * r + 0x1.5557d2p-2f) * r - 0x1.ffffeep-2f;
        const V ln = (k * 0x1.62e4p-1f + simd::lookup16(kLogOfCentre, index)) + ((r + (r * r) * q) + k * 0x1.7f7d1cp-20f);
        const V special = in == 0.0f ? V{} - HUGE_VALF : V{} + NAN;
        const V r_or_special = in > 0.0f ? ln : special;
        return in == HUGE_VALF ? V{} + HUGE_VALF : r_or_special;
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
