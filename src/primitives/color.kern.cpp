// Colour kernels. A row is walked in blocks of lanes<float> pixels (4, 8 or 16
// by level): the block's channels become float planes, are weighed in single
// precision in the order the header gives, saturated, rounded half to even,
// and colour results go back interleaved. 8-bit pixels move between bytes and
// 32-bit planes by byte shuffles inside 16-byte lanes (load_byte_pixels,
// store_byte_pixels); 16-bit samples are widened as they lie and taken apart
// as 32-bit lanes.
// Per pixel the twist costs 9 products and 9 sums, the grey conversion 3 and
// 2, plus a dozen shuffles per block: the kernels run near the memory's speed.
#include "primitives/color.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

namespace {

using F = simd::vec<float>;
using I = simd::vec<int32_t>;
constexpr int kBlockPixels = simd::lanes<float>;

inline F splat(float v) { return F{} + v; }

inline int block_at(int x, int width) { return width - x < kBlockPixels ? width - x : kBlockPixels; }

// 3 × kBlockPixels interleaved samples as three planes of 32-bit lanes, and back.
// Bytes go by byte shuffles; 16-bit samples are widened as they lie and taken
// apart as 32-bit lanes, whose shuffles are single instructions.
template <class T>
inline void load_pixels(const T* p, I& c0, I& c1, I& c2) {
    if constexpr (sizeof(T) == 1) {
        simd::load_byte_pixels(p, c0, c1, c2);
    } else {
        using W = simd::lanes_of<T, int32_t>;
        constexpr int L = kBlockPixels;
        simd::deinterleave3((I)simd::widen<uint32_t>(simd::load_as<W>(p)),
                            (I)simd::widen<uint32_t>(simd::load_as<W>(p + L)),
                            (I)simd::widen<uint32_t>(simd::load_as<W>(p + 2 * L)), c0, c1, c2);
    }
}
template <class T>
inline void store_pixels(T* p, I c0, I c1, I c2) {
    if constexpr (sizeof(T) == 1) {
        simd::store_byte_pixels(p, c0, c1, c2);
    } else {
        constexpr int L = kBlockPixels;
        I a, b, c;
        simd::interleave3(c0, c1, c2, a, b, c);
        simd::store(p, simd::narrow_in_range<T>(a));
        simd::store(p + L, simd::narrow_in_range<T>(b));
        simd::store(p + 2 * L, simd::narrow_in_range<T>(c));
    }
}

// The three channels of `pixels` (at most kBlockPixels) interleaved pixels at
// p as float planes; reads exactly the 3 × pixels samples (a partial block
// through a copy).
template <class T>
inline void load_float_planes(const T* p, int pixels, F& c0, F& c1, F& c2) {
    I i0, i1, i2;
    if (pixels >= kBlockPixels) {
        load_pixels(p, i0, i1, i2);
    } else {
        T part[3 * kBlockPixels] = {};
        std::memcpy(part, p, 3 * sizeof(T) * static_cast<size_t>(pixels));
        load_pixels(part, i0, i1, i2);
    }
    c0 = simd::convert<float>(i0);
    c1 = simd::convert<float>(i1);
    c2 = simd::convert<float>(i2);
}

// Float planes saturated to [0, top] (NaN to 0), rounded half to even and
// stored as `pixels` interleaved pixels at p; nothing past them is written.
template <class T>
inline void store_sample_planes(T* p, int pixels, F c0, F c1, F c2, float top) {
    const F zero{}, limit = splat(top);
    const I i0 = simd::round_even(simd::clamp_float(c0, zero, limit));
    const I i1 = simd::round_even(simd::clamp_float(c1, zero, limit));
    const I i2 = simd::round_even(simd::clamp_float(c2, zero, limit));
    if (pixels >= kBlockPixels) {
        store_pixels(p, i0, i1, i2);
    } else {
        T part[3 * kBlockPixels];
        store_pixels(part, i0, i1, i2);
        std::memcpy(p, part, 3 * sizeof(T) * static_cast<size_t>(pixels));
    }
}

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
            F c0, c1, c2;
            load_float_planes(s + 3 * x, n, c0, c1, c2);
            const F grey = (w0 * c0 + w1 * c1) + w2 * c2;
            const F clamped = simd::clamp_float(grey, F{}, splat(top));
            simd::store_first(d + x, simd::narrow_in_range<T>(simd::round_even(clamped)), n);
        }
    }
    return st_ok;
}

template <class T>
int gray_to_color(const T* src, int src_step, T* dst, int dst_step, Size size) {
    static_assert(sizeof(T) == 1, "byte samples");
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    using V = simd::vec<T>;
    constexpr int L = simd::lanes<T>;
    for (int y = 0; y < size.height; ++y) {
        const T* s = row_at(src, src_step, y);
        T* d = row_at(dst, dst_step, y);
        int x = 0;
        for (; x + L <= size.width; x += L) {
            V a, b, c;
            simd::spread3(simd::load<T>(s + x), a, b, c);
            simd::store(d + 3 * x, a);
            simd::store(d + 3 * x + L, b);
            simd::store(d + 3 * x + 2 * L, c);
        }
        if (x < size.width) {
            const int samples = 3 * (size.width - x);
            V a, b, c;
            simd::spread3(simd::load_first<V>(s + x, size.width - x), a, b, c);
            simd::store_first(d + 3 * x, a, samples);
            if (samples > L) simd::store_first(d + 3 * x + L, b, samples - L);
            if (samples > 2 * L) simd::store_first(d + 3 * x + 2 * L, c, samples - 2 * L);
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
        auto block = [&](int x, int n) {
            F s0, s1, s2;
            load_float_planes(s + 3 * x, n, s0, s1, s2);
            const F o0 = ((m[0] * s0 + m[1] * s1) + m[2] * s2) + m[3];
            const F o1 = ((m[4] * s0 + m[5] * s1) + m[6] * s2) + m[7];
            const F o2 = ((m[8] * s0 + m[9] * s1) + m[10] * s2) + m[11];
            store_sample_planes(d + 3 * x, n, o0, o1, o2, limit);
        };
        int x = 0;
        for (; x + kBlockPixels <= size.width; x += kBlockPixels) block(x, kBlockPixels);
        if (x < size.width) block(x, size.width - x);
    }
    return st_ok;
}

LUM_INSTANTIATE(color_to_gray, uint8_t)
LUM_INSTANTIATE(color_to_gray, uint16_t)
LUM_INSTANTIATE(gray_to_color, uint8_t)
LUM_INSTANTIATE(color_twist, uint8_t)
LUM_INSTANTIATE(color_twist, uint16_t)

}  // namespace lum::prim::LUM_ISA
