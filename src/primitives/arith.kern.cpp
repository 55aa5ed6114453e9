// Two-region kernels: saturating add/subtract, absolute difference, bitwise
// logic, division and the in-place logarithm. Rows are plain loops over
// samples; a three-channel region is the one-channel loop over 3 × width.
#include <cmath>

#include "primitives/arith.hpp"
#include "primitives/kernel.hpp"


namespace lum::prim::LUM_ISA {

namespace {

template <class T>
constexpr int64_t max_value() { return (int64_t(1) << (8 * sizeof(T))) - 1; }

// Exact result × 2^-s, to nearest with halves to even, then saturated.
template <class T>
T scaled(int64_t exact, int s) {
    int64_t v = exact;
    if (s > 0) {
        if (s > 62) {
            v = 0;
        } else {
            const int64_t q = v >> s, r = v - (q << s), half = int64_t(1) << (s - 1);
            v = q + ((r > half || (r == half && (q & 1))) ? 1 : 0);
        }
    } else if (s < 0) {
        v = (v == 0 || -s > 40) ? (v > 0 ? max_value<T>() + 1 : v < 0 ? -1 : 0) : v * (int64_t(1) << -s);
    }
    return static_cast<T>(v < 0 ? 0 : v > max_value<T>() ? max_value<T>() : v);
}

// Runs row(d, a, b, n) over every row of a region of two sources and a destination.
template <class S1, class S2, class D, class Row>
int for_rows(const S1* src1, int step1, const S2* src2, int step2, D* dst, int dst_step, Size size, int channels,
             Row row) {
    if (!src1 || !src2 || !dst) return st_null;
    if (empty_region(size)) return st_size;
    const int n = size.width * channels;
    for (int y = 0; y < size.height; ++y) row(row_at(dst, dst_step, y), row_at(src1, step1, y), row_at(src2, step2, y), n);
    return st_ok;
}

template <class T>
int add_int(const T* s1, int t1, const T* s2, int t2, T* d, int td, Size z, int ch, int scale) {
    if (scale != 0)
        return for_rows(s1, t1, s2, t2, d, td, z, ch, [scale](T* o, const T* a, const T* b, int n) {
            for (int x = 0; x < n; ++x) o[x] = scaled<T>(int64_t(a[x]) + b[x], scale);
        });
    return for_rows(s1, t1, s2, t2, d, td, z, ch, [](T* __restrict o, const T* __restrict a, const T* __restrict b, int n) {
        for (int x = 0; x < n; ++x) {
            const unsigned v = unsigned(a[x]) + unsigned(b[x]);
            o[x] = static_cast<T>(v > unsigned(max_value<T>()) ? unsigned(max_value<T>()) : v);
        }
    });
}

// o = b − a (a the subtrahend), saturating at 0.
template <class T>
int sub_int(const T* s1, int t1, const T* s2, int t2, T* d, int td, Size z, int ch, int scale) {
    if (scale != 0)
        return for_rows(s1, t1, s2, t2, d, td, z, ch, [scale](T* o, const T* a, const T* b, int n) {
            for (int x = 0; x < n; ++x) o[x] = scaled<T>(int64_t(b[x]) - a[x], scale);
        });
    return for_rows(s1, t1, s2, t2, d, td, z, ch, [](T* __restrict o, const T* __restrict a, const T* __restrict b, int n) {
        for (int x = 0; x < n; ++x) o[x] = static_cast<T>((b[x] > a[x] ? b[x] : a[x]) - a[x]);
    });
}

template <class T, class Op>
int float_two(const T* s1, int t1, const T* s2, int t2, T* d, int td, Size z, int ch, Op op) {
    return for_rows(s1, t1, s2, t2, d, td, z, ch, [op](T* __restrict o, const T* __restrict a, const T* __restrict b, int n) {
        for (int x = 0; x < n; ++x) o[x] = op(a[x], b[x]);
    });
}

template <class T>
int absdiff(const T* s1, int t1, const T* s2, int t2, T* d, int td, Size z, int ch) {
    return for_rows(s1, t1, s2, t2, d, td, z, ch, [](T* __restrict o, const T* __restrict a, const T* __restrict b, int n) {
        for (int x = 0; x < n; ++x) o[x] = static_cast<T>((a[x] > b[x] ? a[x] : b[x]) - (a[x] > b[x] ? b[x] : a[x]));
    });
}

// In-place forms: the source-destination region is both the second source
// and the destination. Rows are handed over without __restrict between them.
template <class T, class Row>
int inplace(const T* src, int src_step, T* sd, int sd_step, Size z, int ch, Row row) {
    if (!src || !sd) return st_null;
    if (empty_region(z)) return st_size;
    const int n = z.width * ch;
    for (int y = 0; y < z.height; ++y) row(row_at(sd, sd_step, y), row_at(src, src_step, y), n);
    return st_ok;
}

template <class T>
int add_int_i(const T* s, int ts, T* sd, int tsd, Size z, int ch, int scale) {
    if (scale != 0)
        return inplace(s, ts, sd, tsd, z, ch, [scale](T* o, const T* a, int n) {
            for (int x = 0; x < n; ++x) o[x] = scaled<T>(int64_t(o[x]) + a[x], scale);
        });
    return inplace(s, ts, sd, tsd, z, ch, [](T* __restrict o, const T* __restrict a, int n) {
        for (int x = 0; x < n; ++x) {
            const unsigned v = unsigned(a[x]) + unsigned(o[x]);
            o[x] = static_cast<T>(v > unsigned(max_value<T>()) ? unsigned(max_value<T>()) : v);
        }
    });
}

template <class T>
int sub_int_i(const T* s, int ts, T* sd, int tsd, Size z, int ch, int scale) {
    if (scale != 0)
        return inplace(s, ts, sd, tsd, z, ch, [scale](T* o, const T* a, int n) {
            for (int x = 0; x < n; ++x) o[x] = scaled<T>(int64_t(o[x]) - a[x], scale);
        });
    return inplace(s, ts, sd, tsd, z, ch, [](T* __restrict o, const T* __restrict a, int n) {
        for (int x = 0; x < n; ++x) o[x] = static_cast<T>((o[x] > a[x] ? o[x] : a[x]) - a[x]);
    });
}

template <class T, class Op>
int plain_i(const T* s, int ts, T* sd, int tsd, Size z, int ch, Op op) {
    return inplace(s, ts, sd, tsd, z, ch, [op](T* __restrict o, const T* __restrict a, int n) {
        for (int x = 0; x < n; ++x) o[x] = op(o[x], a[x]);
    });
}

// Integer quotients: exact enough in float (operands below 2^16, so the
// quotient's float error stays far from the nearest half), rounded by adding
// and removing 1.5 × 2^23.
template <class T>
int div_int_i(const T* s, int ts, T* sd, int tsd, Size z, int ch, int scale) {
    if (!s || !sd) return st_null;
    if (empty_region(z)) return st_size;
    const int n = z.width * ch;
    unsigned zeros = 0;
    constexpr T top = static_cast<T>(max_value<T>());
    for (int y = 0; y < z.height; ++y) {
        T* o = row_at(sd, tsd, y);
        const T* a = row_at(s, ts, y);
        if (scale != 0) {
            const double unit = std::ldexp(1.0, -scale);
            for (int x = 0; x < n; ++x) {
                zeros |= a[x] == 0;
                const double q = a[x] == 0 ? (o[x] ? double(top) : 0.0) : std::nearbyint(double(o[x]) * unit / a[x]);
                o[x] = static_cast<T>(q > double(top) ? top : q);
            }
            continue;
        }
        T* __restrict out = o;
        const T* __restrict div = a;
        unsigned row_zeros = 0;
        for (int x = 0; x < n; ++x) {
            // A zero divisor is replaced by 1 before dividing so that every lane
            // converts a finite quotient; the lane then takes the x / 0 value.
            const int d = div[x], o = out[x];
            const int zero = d == 0;
            const float q = (float(o) / float(d + zero) + 12582912.0f) - 12582912.0f;
            const int quotient = static_cast<int>(q);
            const int when_zero = o != 0 ? int(top) : 0;
            row_zeros |= unsigned(zero);
            out[x] = static_cast<T>(zero ? when_zero : quotient);
        }
        zeros |= row_zeros;
    }
    return zeros ? st_div_zero : st_ok;
}

int div_float_i(const float* s, int ts, float* sd, int tsd, Size z, int ch) {
    if (!s || !sd) return st_null;
    if (empty_region(z)) return st_size;
    const int n = z.width * ch;
    unsigned zeros = 0;
    for (int y = 0; y < z.height; ++y) {
        float* __restrict o = row_at(sd, tsd, y);
        const float* __restrict a = row_at(s, ts, y);
        for (int x = 0; x < n; ++x) {
            zeros |= a[x] == 0.0f ? 1u : 0u;
            o[x] = o[x] / a[x];
        }
    }
    return zeros ? st_div_zero : st_ok;
}

// Natural logarithm of a positive normal or subnormal float: the exponent is
// split off and ln of the mantissa in [√½, √2) comes from a minimax
// polynomial, error within about one unit in the last place.
inline float as_float(uint32_t u) {
    float f;
    std::memcpy(&f, &u, 4);
    return f;
}
inline uint32_t as_bits(float f) {
    uint32_t u;
    std::memcpy(&u, &f, 4);
    return u;
}

void ln_row(float* __restrict p, int n, unsigned& domain) {
    unsigned bad = 0;
    for (int x = 0; x < n; ++x) {
        const float in = p[x];
        const bool tiny = in < 1.17549435e-38f;
        const float v = tiny ? in * 8388608.0f : in;  // subnormals scaled by 2^23
        const uint32_t bits = as_bits(v);
        float e = float(int((bits >> 23) & 0xFFu) - 126) - (tiny ? 23.0f : 0.0f);
        float m = as_float((bits & 0x007FFFFFu) | 0x3F000000u);  // [0.5, 1)
        const bool low = m < 0.707106781186547524f;
        e = low ? e - 1.0f : e;
        m = low ? m + m - 1.0f : m - 1.0f;
        const float z = m * m;
        float y = 7.0376836292e-2f;
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
        float r = m + y;
        r = r + 0.693359375f * e;
        const float special = in == 0.0f ? -HUGE_VALF : NAN;
        r = in > 0.0f ? r : special;
        r = in == HUGE_VALF ? HUGE_VALF : r;
        bad |= in > 0.0f ? 0u : 1u;
        p[x] = r;
    }
    domain |= bad;
}

}  // namespace

#define LUM_SAT_TWO(name, op, T, ch) \
    int name(const T* a, int ta, const T* b, int tb, T* d, int td, Size z, int s) { return op<T>(a, ta, b, tb, d, td, z, ch, s); }
LUM_SAT_TWO(add_8u_c1rsfs, add_int, uint8_t, 1)
LUM_SAT_TWO(add_8u_c3rsfs, add_int, uint8_t, 3)
LUM_SAT_TWO(add_16u_c1rsfs, add_int, uint16_t, 1)
LUM_SAT_TWO(add_16u_c3rsfs, add_int, uint16_t, 3)
LUM_SAT_TWO(sub_8u_c1rsfs, sub_int, uint8_t, 1)
LUM_SAT_TWO(sub_8u_c3rsfs, sub_int, uint8_t, 3)
LUM_SAT_TWO(sub_16u_c1rsfs, sub_int, uint16_t, 1)
LUM_SAT_TWO(sub_16u_c3rsfs, sub_int, uint16_t, 3)
#undef LUM_SAT_TWO

namespace {
constexpr auto plus = [](float a, float b) { return a + b; };
constexpr auto minus_first = [](float a, float b) { return b - a; };
}  // namespace

int add_32f_c1r(const float* a, int ta, const float* b, int tb, float* d, int td, Size z) {
    return float_two(a, ta, b, tb, d, td, z, 1, plus);
}
int add_32f_c3r(const float* a, int ta, const float* b, int tb, float* d, int td, Size z) {
    return float_two(a, ta, b, tb, d, td, z, 3, plus);
}
int sub_32f_c1r(const float* a, int ta, const float* b, int tb, float* d, int td, Size z) {
    return float_two(a, ta, b, tb, d, td, z, 1, minus_first);
}
int sub_32f_c3r(const float* a, int ta, const float* b, int tb, float* d, int td, Size z) {
    return float_two(a, ta, b, tb, d, td, z, 3, minus_first);
}
int absdiff_8u_c1r(const uint8_t* a, int ta, const uint8_t* b, int tb, uint8_t* d, int td, Size z) {
    return absdiff(a, ta, b, tb, d, td, z, 1);
}
int absdiff_8u_c3r(const uint8_t* a, int ta, const uint8_t* b, int tb, uint8_t* d, int td, Size z) {
    return absdiff(a, ta, b, tb, d, td, z, 3);
}
int absdiff_16u_c1r(const uint16_t* a, int ta, const uint16_t* b, int tb, uint16_t* d, int td, Size z) {
    return absdiff(a, ta, b, tb, d, td, z, 1);
}

#define LUM_SAT_INPLACE(name, op, T, ch) \
    int name(const T* a, int ta, T* d, int td, Size z, int s) { return op<T>(a, ta, d, td, z, ch, s); }
LUM_SAT_INPLACE(add_8u_c1irsfs, add_int_i, uint8_t, 1)
LUM_SAT_INPLACE(add_8u_c3irsfs, add_int_i, uint8_t, 3)
LUM_SAT_INPLACE(add_16u_c1irsfs, add_int_i, uint16_t, 1)
LUM_SAT_INPLACE(add_16u_c3irsfs, add_int_i, uint16_t, 3)
LUM_SAT_INPLACE(sub_8u_c1irsfs, sub_int_i, uint8_t, 1)
LUM_SAT_INPLACE(sub_8u_c3irsfs, sub_int_i, uint8_t, 3)
LUM_SAT_INPLACE(sub_16u_c1irsfs, sub_int_i, uint16_t, 1)
LUM_SAT_INPLACE(sub_16u_c3irsfs, sub_int_i, uint16_t, 3)
LUM_SAT_INPLACE(div_8u_c1irsfs, div_int_i, uint8_t, 1)
LUM_SAT_INPLACE(div_8u_c3irsfs, div_int_i, uint8_t, 3)
LUM_SAT_INPLACE(div_16u_c1irsfs, div_int_i, uint16_t, 1)
LUM_SAT_INPLACE(div_16u_c3irsfs, div_int_i, uint16_t, 3)
#undef LUM_SAT_INPLACE

#define LUM_PLAIN_INPLACE(name, T, ch, expr) \
    int name(const T* a, int ta, T* d, int td, Size z) { \
        return plain_i(a, ta, d, td, z, ch, [](T o, T s) { return static_cast<T>(expr); }); \
    }
LUM_PLAIN_INPLACE(add_32f_c1ir, float, 1, o + s)
LUM_PLAIN_INPLACE(add_32f_c3ir, float, 3, o + s)
LUM_PLAIN_INPLACE(sub_32f_c1ir, float, 1, o - s)
LUM_PLAIN_INPLACE(sub_32f_c3ir, float, 3, o - s)
LUM_PLAIN_INPLACE(and_8u_c1ir, uint8_t, 1, o & s)
LUM_PLAIN_INPLACE(and_8u_c3ir, uint8_t, 3, o & s)
LUM_PLAIN_INPLACE(and_16u_c1ir, uint16_t, 1, o & s)
LUM_PLAIN_INPLACE(and_16u_c3ir, uint16_t, 3, o & s)
LUM_PLAIN_INPLACE(or_8u_c1ir, uint8_t, 1, o | s)
LUM_PLAIN_INPLACE(or_8u_c3ir, uint8_t, 3, o | s)
LUM_PLAIN_INPLACE(or_16u_c1ir, uint16_t, 1, o | s)
LUM_PLAIN_INPLACE(or_16u_c3ir, uint16_t, 3, o | s)
LUM_PLAIN_INPLACE(xor_8u_c1ir, uint8_t, 1, o ^ s)
LUM_PLAIN_INPLACE(xor_8u_c3ir, uint8_t, 3, o ^ s)
LUM_PLAIN_INPLACE(xor_16u_c1ir, uint16_t, 1, o ^ s)
LUM_PLAIN_INPLACE(xor_16u_c3ir, uint16_t, 3, o ^ s)
#undef LUM_PLAIN_INPLACE

int add_16u32f_c1ir(const uint16_t* src, int src_step, float* sd, int sd_step, Size z) {
    if (!src || !sd) return st_null;
    if (empty_region(z)) return st_size;
    for (int y = 0; y < z.height; ++y) {
        const uint16_t* __restrict a = row_at(src, src_step, y);
        float* __restrict o = row_at(sd, sd_step, y);
        for (int x = 0; x < z.width; ++x) o[x] = o[x] + float(a[x]);
    }
    return st_ok;
}

int div_32f_c1ir(const float* a, int ta, float* d, int td, Size z) { return div_float_i(a, ta, d, td, z, 1); }
int div_32f_c3ir(const float* a, int ta, float* d, int td, Size z) { return div_float_i(a, ta, d, td, z, 3); }

int ln_32f_c1ir(float* p, int step, Size z) {
    if (!p) return st_null;
    if (empty_region(z)) return st_size;
    unsigned domain = 0;
    for (int y = 0; y < z.height; ++y) ln_row(row_at(p, step, y), z.width, domain);
    return domain ? st_domain : st_ok;
}

}  // namespace lum::prim::LUM_ISA
