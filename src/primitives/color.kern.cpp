// Colour-to-grey, grey-to-colour and colour twist kernels. Products are summed
// in single precision without fused multiply-add, so that every processor
// variant rounds exactly like the baseline.
#pragma GCC optimize("fp-contract=off")

#include "primitives/color.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

namespace {

// Saturate to [0, top], then round half to even by the 1.5 * 2^23 trick, which
// vectorizes on every level (no rounding instruction needed). NaN becomes 0.
inline float saturate_round(float v, float top) {
    const float lo = v > 0.0f ? v : 0.0f;
    const float hi = lo < top ? lo : top;
    return (hi + 12582912.0f) - 12582912.0f;
}

template <class T>
constexpr float top_of() {
    return sizeof(T) == 1 ? 255.0f : 65535.0f;
}

// Equal weights of 1/3: the float sum of products differs from the exact mean
// by far less than 1/6, and the exact mean is never within 1/6 of a half, so
// rounding the exact mean, (sum + 1) / 3, gives the same integer.
inline uint8_t mean_of_three(unsigned sum) { return static_cast<uint8_t>(((sum + 1) * 21846u) >> 16); }
inline uint16_t mean_of_three_16(unsigned sum) { return static_cast<uint16_t>((sum + 1) / 3u); }

template <class T>
int mean_of_three(const T* src, int src_step, T* dst, int dst_step, Size size) {
    for (int y = 0; y < size.height; ++y) {
        const T* __restrict s = row_at(src, src_step, y);
        T* __restrict d = row_at(dst, dst_step, y);
        for (int x = 0; x < size.width; ++x) {
            const unsigned sum = unsigned(s[3 * x]) + s[3 * x + 1] + s[3 * x + 2];
            if constexpr (sizeof(T) == 1)
                d[x] = mean_of_three(sum);
            else
                d[x] = mean_of_three_16(sum);
        }
    }
    return st_ok;
}

template <class T>
int to_gray(const T* src, int src_step, T* dst, int dst_step, Size size, const float* weights) {
    if (!src || !dst || !weights) return st_null;
    if (empty_region(size)) return st_size;
    const float w0 = weights[0], w1 = weights[1], w2 = weights[2];
    if (w0 == 1.0f / 3.0f && w1 == w0 && w2 == w0) return mean_of_three(src, src_step, dst, dst_step, size);
    constexpr float top = top_of<T>();
    for (int y = 0; y < size.height; ++y) {
        const T* __restrict s = row_at(src, src_step, y);
        T* __restrict d = row_at(dst, dst_step, y);
        for (int x = 0; x < size.width; ++x) {
            const float v = w0 * float(s[3 * x]) + w1 * float(s[3 * x + 1]) + w2 * float(s[3 * x + 2]);
            d[x] = static_cast<T>(static_cast<int>(saturate_round(v, top)));
        }
    }
    return st_ok;
}

// Pixels go through a small planar float block: the stride-3 gathers and
// scatters stay simple copies, and the arithmetic runs on whole vectors.
constexpr int kBlock = 256;

template <class T>
void twist_row(const T* s_in, T* d_out, int width, const float* m) {
    alignas(64) T p0[kBlock], p1[kBlock], p2[kBlock];
    alignas(64) T q0[kBlock], q1[kBlock], q2[kBlock];
    constexpr float top = top_of<T>();
    // Held in locals: stores through the 8-bit block arrays could otherwise alias the matrix.
    const float m0 = m[0], m1 = m[1], m2 = m[2], m3 = m[3], m4 = m[4], m5 = m[5];
    const float m6 = m[6], m7 = m[7], m8 = m[8], m9 = m[9], m10 = m[10], m11 = m[11];
    for (int x0 = 0; x0 < width; x0 += kBlock) {
        const int n = width - x0 < kBlock ? width - x0 : kBlock;
        const T* s = s_in + 3 * x0;
        for (int i = 0; i < n; ++i) {
            p0[i] = s[3 * i];
            p1[i] = s[3 * i + 1];
            p2[i] = s[3 * i + 2];
        }
        for (int i = 0; i < n; ++i) {
            const float a = float(p0[i]), b = float(p1[i]), c = float(p2[i]);
            q0[i] = static_cast<T>(static_cast<int>(saturate_round(m0 * a + m1 * b + m2 * c + m3, top)));
            q1[i] = static_cast<T>(static_cast<int>(saturate_round(m4 * a + m5 * b + m6 * c + m7, top)));
            q2[i] = static_cast<T>(static_cast<int>(saturate_round(m8 * a + m9 * b + m10 * c + m11, top)));
        }
        T* d = d_out + 3 * x0;
        for (int i = 0; i < n; ++i) {
            d[3 * i] = q0[i];
            d[3 * i + 1] = q1[i];
            d[3 * i + 2] = q2[i];
        }
    }
}

template <class T>
int twist(const T* src, int src_step, T* dst, int dst_step, Size size, const float* matrix) {
    if (!src || !dst || !matrix) return st_null;
    if (empty_region(size)) return st_size;
    float m[12];
    for (int i = 0; i < 12; ++i) m[i] = matrix[i];
    for (int y = 0; y < size.height; ++y) twist_row(row_at(src, src_step, y), row_at(dst, dst_step, y), size.width, m);
    return st_ok;
}

}  // namespace

int color_to_gray_8u_c3c1r(const uint8_t* s, int ss, uint8_t* d, int ds, Size z, const float* w) {
    return to_gray(s, ss, d, ds, z, w);
}
int color_to_gray_16u_c3c1r(const uint16_t* s, int ss, uint16_t* d, int ds, Size z, const float* w) {
    return to_gray(s, ss, d, ds, z, w);
}

int gray_to_color_8u_c1c3r(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y) {
        const uint8_t* __restrict s = row_at(src, src_step, y);
        uint8_t* __restrict d = row_at(dst, dst_step, y);
        for (int x = 0; x < size.width; ++x) {
            d[3 * x] = s[x];
            d[3 * x + 1] = s[x];
            d[3 * x + 2] = s[x];
        }
    }
    return st_ok;
}

int color_twist_8u_c3r(const uint8_t* s, int ss, uint8_t* d, int ds, Size z, const float* m) {
    return twist(s, ss, d, ds, z, m);
}
int color_twist_8u_c3ir(uint8_t* p, int s, Size z, const float* m) { return twist<uint8_t>(p, s, p, s, z, m); }
int color_twist_16u_c3r(const uint16_t* s, int ss, uint16_t* d, int ds, Size z, const float* m) {
    return twist(s, ss, d, ds, z, m);
}
int color_twist_16u_c3ir(uint16_t* p, int s, Size z, const float* m) { return twist<uint16_t>(p, s, p, s, z, m); }

}  // namespace lum::prim::LUM_ISA
