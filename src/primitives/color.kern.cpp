// Colour kernels. A row is walked in blocks of lanes<float> pixels (4, 8 or 16
// by level): the block's three channels are loaded as planes
// (load_planes), converted to float lanes, weighed in single precision in the
// order the header gives, rounded half to even and saturated, narrowed to the
// sample type and, for colour results, interleaved back (store_planes). Per
// pixel the twist costs 9 products and 9 sums, the grey conversion 3 and 2;
// the rest is shuffles, so every kernel runs near the memory's speed.
#include "primitives/color.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

namespace {

using F = simd::vec<float>;
// One channel of a block: lanes<float> samples of T.
template <class T>
using Block = simd::lanes_of<T, float>;
constexpr int kBlockPixels = simd::lanes<float>;

inline F splat(float v) { return F{} + v; }

// Float lanes as samples: rounded half to even, saturated to [0, top], NaN to 0.
template <class T>
inline Block<T> to_samples(F v, float top) {
    return simd::narrow_sat<T>(simd::round_clamped(v, top));
}

inline int block_at(int x, int width) { return width - x < kBlockPixels ? width - x : kBlockPixels; }

}  // namespace

template <class T>
int color_to_gray(const T* src, int src_step, T* dst, int dst_step, Size size, const float* weights) {
    if (!src || !dst || !weights) return st_null;
    if (empty_region(size)) return st_size;
    const F w0 = splat(load_one(weights)), w1 = splat(load_one(weights + 1)), w2 = splat(load_one(weights + 2));
    constexpr float top = float(max_value<T>());
    for (int y = 0; y < size.height; ++y) {
        const T* s = row_at(src, src_step, y);
        T* d = row_at(dst, dst_step, y);
        for (int x = 0; x < size.width; x += kBlockPixels) {
            const int n = block_at(x, size.width);
            Block<T> c0, c1, c2;
            load_planes(s + 3 * x, n, c0, c1, c2);
            const F grey = (w0 * simd::to_float(c0) + w1 * simd::to_float(c1)) + w2 * simd::to_float(c2);
            simd::store_first(d + x, to_samples<T>(grey, top), n);
        }
    }
    return st_ok;
}

template <class T>
int gray_to_color(const T* src, int src_step, T* dst, int dst_step, Size size) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    using V = simd::vec<T>;
    constexpr int L = simd::lanes<T>;
    for (int y = 0; y < size.height; ++y) {
        const T* s = row_at(src, src_step, y);
        T* d = row_at(dst, dst_step, y);
        for (int x = 0; x < size.width; x += L) {
            const int n = size.width - x < L ? size.width - x : L;
            const V v = simd::load_first<V>(s + x, n);
            store_planes(d + 3 * x, n, v, v, v);
        }
    }
    return st_ok;
}

template <class T>
int color_twist(const T* src, int src_step, T* dst, int dst_step, Size size, const float* matrix, T top) {
    if (!src || !dst || !matrix) return st_null;
    if (empty_region(size)) return st_size;
    F m[12];
    for (int i = 0; i < 12; ++i) m[i] = splat(load_one(matrix + i));
    const float limit = float(top);
    for (int y = 0; y < size.height; ++y) {
        const T* s = row_at(src, src_step, y);
        T* d = row_at(dst, dst_step, y);
        for (int x = 0; x < size.width; x += kBlockPixels) {
            const int n = block_at(x, size.width);
            Block<T> c0, c1, c2;
            load_planes(s + 3 * x, n, c0, c1, c2);
            const F s0 = simd::to_float(c0), s1 = simd::to_float(c1), s2 = simd::to_float(c2);
            const F o0 = ((m[0] * s0 + m[1] * s1) + m[2] * s2) + m[3];
            const F o1 = ((m[4] * s0 + m[5] * s1) + m[6] * s2) + m[7];
            const F o2 = ((m[8] * s0 + m[9] * s1) + m[10] * s2) + m[11];
            store_planes(d + 3 * x, n, to_samples<T>(o0, limit), to_samples<T>(o1, limit), to_samples<T>(o2, limit));
        }
    }
    return st_ok;
}

LUM_INSTANTIATE(color_to_gray, uint8_t)
LUM_INSTANTIATE(color_to_gray, uint16_t)
LUM_INSTANTIATE(gray_to_color, uint8_t)
LUM_INSTANTIATE(color_twist, uint8_t)
LUM_INSTANTIATE(color_twist, uint16_t)

}  // namespace lum::prim::LUM_ISA
