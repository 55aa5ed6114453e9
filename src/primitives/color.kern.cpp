// Colour-to-grey, grey-to-colour and colour twist kernels. Products are summed
// in single precision.

#include "primitives/color.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

namespace {

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
            d[x] = static_cast<T>(saturate_round(v, top));
        }
    }
    return st_ok;
}

// The twist runs on the interleaved samples as they lie: sample j of channel
// c = j % 3 is a weighted sum of its neighbours j - 2 .. j + 2 with weights
// that repeat every three samples (zero where a neighbour belongs to another
// pixel), so no channel shuffles are needed and every loop is a plain vector
// loop. Zero terms leave the single-precision sums exactly as
// ((m0*s0 + m1*s1) + m2*s2) + m3.
constexpr int kBlock = 64;              // pixels per block
constexpr int kSamples = 3 * kBlock;

struct TwistWeights {
    alignas(64) float w[5][kSamples];
    alignas(64) float k[kSamples];
};

void build_weights(const float* m, TwistWeights& t) {
    for (int j = 0; j < kSamples; ++j) {
        const int c = j % 3;
        for (int n = 0; n < 5; ++n) {
            const int input = n - 2 + c;  // channel of the neighbour inside this pixel
            t.w[n][j] = input >= 0 && input < 3 ? m[4 * c + input] : 0.0f;
        }
        t.k[j] = m[4 * c + 3];
    }
}

template <class T>
void twist_row(const T* s_in, T* d_out, int width, const TwistWeights& t) {
    constexpr float top = top_of<T>();
    alignas(64) float f[kSamples + 4];
    for (int x0 = 0; x0 < width; x0 += kBlock) {
        const int n = 3 * (width - x0 < kBlock ? width - x0 : kBlock);
        // Copied first, so the in-place form reads the whole block before writing it.
        const T* s = s_in + 3 * x0;
        f[0] = f[1] = 0.0f;
        for (int j = 0; j < n; ++j) f[j + 2] = float(s[j]);
        f[n + 2] = f[n + 3] = 0.0f;
        T* d = d_out + 3 * x0;
        for (int j = 0; j < n; ++j) {
            const float v = t.w[0][j] * f[j] + t.w[1][j] * f[j + 1] + t.w[2][j] * f[j + 2] + t.w[3][j] * f[j + 3] +
                            t.w[4][j] * f[j + 4] + t.k[j];
            d[j] = static_cast<T>(saturate_round(v, top));
        }
    }
}

template <class T>
int twist(const T* src, int src_step, T* dst, int dst_step, Size size, const float* matrix) {
    if (!src || !dst || !matrix) return st_null;
    if (empty_region(size)) return st_size;
    TwistWeights weights;
    build_weights(matrix, weights);
    for (int y = 0; y < size.height; ++y)
        twist_row(row_at(src, src_step, y), row_at(dst, dst_step, y), size.width, weights);
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
