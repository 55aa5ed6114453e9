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

template <class T>
int to_gray(const T* src, int src_step, T* dst, int dst_step, Size size, const float* weights) {
    if (!src || !dst || !weights) return st_null;
    if (empty_region(size)) return st_size;
    const float w0 = weights[0], w1 = weights[1], w2 = weights[2];
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
    alignas(64) float p0[kBlock], p1[kBlock], p2[kBlock];
    alignas(64) float q0[kBlock], q1[kBlock], q2[kBlock];
    constexpr float top = top_of<T>();
    for (int x0 = 0; x0 < width; x0 += kBlock) {
        const int n = width - x0 < kBlock ? width - x0 : kBlock;
        const T* s = s_in + 3 * x0;
        for (int i = 0; i < n; ++i) {
            p0[i] = float(s[3 * i]);
            p1[i] = float(s[3 * i + 1]);
            p2[i] = float(s[3 * i + 2]);
        }
        for (int i = 0; i < n; ++i) {
            q0[i] = saturate_round(m[0] * p0[i] + m[1] * p1[i] + m[2] * p2[i] + m[3], top);
            q1[i] = saturate_round(m[4] * p0[i] + m[5] * p1[i] + m[6] * p2[i] + m[7], top);
            q2[i] = saturate_round(m[8] * p0[i] + m[9] * p1[i] + m[10] * p2[i] + m[11], top);
        }
        T* d = d_out + 3 * x0;
        for (int i = 0; i < n; ++i) {
            d[3 * i] = static_cast<T>(static_cast<int>(q0[i]));
            d[3 * i + 1] = static_cast<T>(static_cast<int>(q1[i]));
            d[3 * i + 2] = static_cast<T>(static_cast<int>(q2[i]));
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
