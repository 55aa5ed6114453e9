// Colour kernels. A row is walked in blocks of lanes<float> pixels (4, 8 or 16
// by level): the block's channels become float planes, are weighed in single
// precision in the order the header gives, saturated, rounded half to even,
// and colour results go back interleaved. 8-bit pixels move between bytes and
// 32-bit planes by byte shuffles inside 16-byte lanes (load_byte_pixels,
// store_byte_pixels); 16-bit samples are widened as they lie and taken apart
// as 32-bit lanes. The twist takes whole groups of blocks where that saves
// shuffles (kGroupBlocks).
// Per pixel the twist costs 9 products and 9 sums, the grey conversion 3 and
// 2, plus a few shuffles: the arithmetic, not the shuffles, sets the pace.
#include "primitives/color.hpp"
#include "primitives/kernel.hpp"

#include <algorithm>

namespace lum::prim::LUM_ISA {

namespace {

using F = simd::vec<float>;
using I = simd::vec<int32_t>;
constexpr int kBlockPixels = simd::lanes<float>;

inline F splat(float v) { return F{} + v; }

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
// A streaming store writes a block in pieces of kPieceBytes<T> bytes (three
// 16-byte pieces of a byte block, three vectors of a 16-bit block), where the
// level has stores of that size.
template <class T>
constexpr int kPieceBytes = sizeof(T) == 1 ? 16 : simd::kBytes / 2;
template <class T>
constexpr bool kStreams = sizeof(T) == 1 ? simd::kBytes == 64 : simd::kBytes / 2 >= 16;

template <class T, class Stream>
inline void store_pixels(T* p, I c0, I c1, I c2, Stream) {
    constexpr int L = kBlockPixels;
    if constexpr (sizeof(T) == 1) {
        if constexpr (Stream::value && kStreams<T>) {
            const simd::vec<uint8_t> b = simd::pack_byte_pixels(c0, c1, c2);
            simd::stream(p, simd::lower_half(simd::lower_half(b)));
            simd::stream(p + 16, simd::upper_half(simd::lower_half(b)));
            simd::stream(p + 32, simd::lower_half(simd::upper_half(b)));
        } else {
            simd::store_byte_pixels(p, c0, c1, c2);
        }
    } else {
        I a, b, c;
        simd::interleave3(c0, c1, c2, a, b, c);
        if constexpr (Stream::value && kStreams<T>) {
            simd::stream(p, simd::narrow_in_range<T>(a));
            simd::stream(p + L, simd::narrow_in_range<T>(b));
            simd::stream(p + 2 * L, simd::narrow_in_range<T>(c));
        } else {
            simd::store(p, simd::narrow_in_range<T>(a));
            simd::store(p + L, simd::narrow_in_range<T>(b));
            simd::store(p + 2 * L, simd::narrow_in_range<T>(c));
        }
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

// A float plane rounded half to even and saturated to [0, limit] (NaN to 0)
// on its way to T samples. Where the packs that follow saturate below 0 (and
// NaN's INT32_MIN) themselves, only the top is clamped here.
template <bool PackSaturates>
inline I round_samples(F c, F limit) {
    if constexpr (PackSaturates) return simd::round_even(simd::min_keep_nan(c, limit));
    else return simd::round_even(simd::clamp_float(c, F{}, limit));
}

// Float planes rounded and saturated to [0, top] and stored as `pixels`
// interleaved pixels at p; nothing past them is written.
template <class T, class Stream>
inline void store_sample_planes(T* p, int pixels, F c0, F c1, F c2, float top, Stream stores) {
    const F limit = splat(top);
    constexpr bool saturates = sizeof(T) == 1;
    const I i0 = round_samples<saturates>(c0, limit), i1 = round_samples<saturates>(c1, limit),
            i2 = round_samples<saturates>(c2, limit);
    if (pixels >= kBlockPixels) {
        store_pixels(p, i0, i1, i2, stores);
    } else {
        T part[3 * kBlockPixels];
        store_pixels(part, i0, i1, i2, cached_stores{});
        std::memcpy(p, part, 3 * sizeof(T) * static_cast<size_t>(pixels));
    }
}

// Blocks taken together so that their 3 × kBytes bytes are three whole
// vectors and fewer shuffles reach each pixel: four byte blocks, each brought
// to its lanes by one two-source shuffle (where the level has byte shuffles),
// or two 16-bit blocks taken apart as 32-bit lanes of sample pairs.
template <class T>
constexpr int kGroupBlocks = sizeof(T) == 2 ? 2 : simd::kBytes >= 32 ? 4 : 1;

template <class T, int G>
inline void load_group(const T* p, F (&planes)[G][3]) {
    I i[G][3];
    simd::prefetch_ahead_span<3 * G * kBlockPixels * int(sizeof(T))>(p);
    if constexpr (sizeof(T) == 1) simd::load_byte_pixels4(p, i);
    else simd::load_word_pixels2(p, i);
    for (int k = 0; k < G; ++k)
        for (int ch = 0; ch < 3; ++ch) planes[k][ch] = simd::convert<float>(i[k][ch]);
}

template <class T, int G, class Stream>
inline void store_group(T* p, const F (&planes)[G][3], float top, Stream) {
    const F limit = splat(top);
    I i[G][3];
    for (int k = 0; k < G; ++k)
        for (int ch = 0; ch < 3; ++ch) i[k][ch] = round_samples<true>(planes[k][ch], limit);
    simd::vec<T> out[3];
    if constexpr (sizeof(T) == 1) simd::pack_byte_pixels4(i, out);
    else simd::pack_word_pixels2(i, out);
    for (int m = 0; m < 3; ++m) {
        if constexpr (Stream::value) simd::stream(p + m * simd::lanes<T>, out[m]);
        else simd::store(p + m * simd::lanes<T>, out[m]);
    }
}

}  // namespace

// Destinations larger than the caches are written with streaming stores
// (with_stores_for), after a head that brings each row to their alignment.

template <class T>
int color_to_gray(const T* src, int src_step, T* dst, int dst_step, Size size, const float* weights) {
    if (!src || !dst || !weights) return st_null;
    if (empty_region(size)) return st_size;
    const F w0 = splat(load_one(weights)), w1 = splat(load_one(weights + 1)), w2 = splat(load_one(weights + 2));
    const F zero{}, top = splat(float(max_value<T>()));
    using V = simd::lanes_of<T, float>;
    with_stores_for(int64_t{size.width} * size.height * sizeof(T), [&](auto stores) {
        for (int y = 0; y < size.height; ++y) {
            const T* s = row_at(src, src_step, y);
            row_steps<kBlockPixels, V>(row_at(dst, dst_step, y), size.width, stores, [&](int x, int n) {
                F c0, c1, c2;
                load_float_planes(s + 3 * x, n, c0, c1, c2);
                const F grey = (w0 * c0 + w1 * c1) + w2 * c2;
                return simd::narrow_in_range<T>(simd::round_even(simd::clamp_float(grey, zero, top)));
            });
        }
        if (stores) simd::stream_fence();
    });
    return st_ok;
}

template <class T>
int gray_to_color(const T* src, int src_step, T* dst, int dst_step, Size size) {
    static_assert(sizeof(T) == 1, "byte samples");
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    using V = simd::vec<T>;
    constexpr int L = simd::lanes<T>;
    with_stores_for(3 * int64_t{size.width} * size.height, [&](auto stores) {
        for (int y = 0; y < size.height; ++y) {
            const T* s = row_at(src, src_step, y);
            T* d = row_at(dst, dst_step, y);
            pixel_blocks<L, sizeof(V)>(d, size.width, stores, [&](int x, int n, auto block_stores) {
                V a, b, c;
                if (n == L) prefetch_step<L>(s, x);
                simd::spread3(simd::load_first<V>(s + x, n), a, b, c);
                T* out = d + 3 * x;
                if constexpr (decltype(block_stores)::value) {
                    simd::stream(out, a);
                    simd::stream(out + L, b);
                    simd::stream(out + 2 * L, c);
                } else if (n == L) {
                    simd::store(out, a);
                    simd::store(out + L, b);
                    simd::store(out + 2 * L, c);
                } else {
                    const int samples = 3 * n;
                    simd::store_first(out, a, samples);
                    if (samples > L) simd::store_first(out + L, b, samples - L);
                    if (samples > 2 * L) simd::store_first(out + 2 * L, c, samples - 2 * L);
                }
            });
        }
        if (stores) simd::stream_fence();
    });
    return st_ok;
}

template <class T>
int color_twist(const T* src, int src_step, T* dst, int dst_step, Size size, const float* matrix, T top) {
    if (!src || !dst || !matrix) return st_null;
    if (empty_region(size)) return st_size;
    F m[12];
    for (int i = 0; i < 12; ++i) m[i] = splat(load_one(matrix + i));
    const float limit = float(top);
    const auto twist = [m](F s0, F s1, F s2, F (&o)[3]) {
        o[0] = ((m[0] * s0 + m[1] * s1) + m[2] * s2) + m[3];
        o[1] = ((m[4] * s0 + m[5] * s1) + m[6] * s2) + m[7];
        o[2] = ((m[8] * s0 + m[9] * s1) + m[10] * s2) + m[11];
    };
    constexpr int G = kGroupBlocks<T>;
    constexpr int kAlign = G == 1 ? kPieceBytes<T> : simd::kBytes;
    with_stores_for(bytes_written(3 * int64_t{size.width} * size.height * sizeof(T), dst, src), [&](auto stores) {
        auto level_stores = std::conditional_t<G == 1 && !kStreams<T>, cached_stores, decltype(stores)>{};
        for (int y = 0; y < size.height; ++y) {
            const T* s = row_at(src, src_step, y);
            T* d = row_at(dst, dst_step, y);
            pixel_blocks<G * kBlockPixels, kAlign>(d, size.width, level_stores, [&](int x, int n, auto block_stores) {
                if constexpr (G > 1) {
                    if (n == G * kBlockPixels) {
                        F in[G][3], out[G][3];
                        load_group(s + 3 * x, in);
                        for (int k = 0; k < G; ++k) twist(in[k][0], in[k][1], in[k][2], out[k]);
                        store_group(d + 3 * x, out, limit, block_stores);
                        return;
                    }
                }
                // Single blocks: a group's partial ends, or every block where groups do not pay.
                using BlockStores = std::conditional_t<G == 1, decltype(block_stores), cached_stores>;
                for (int b = x; b < x + n; b += kBlockPixels) {
                    const int k = std::min(kBlockPixels, x + n - b);
                    F s0, s1, s2, o[3];
                    load_float_planes(s + 3 * b, k, s0, s1, s2);
                    twist(s0, s1, s2, o);
                    store_sample_planes(d + 3 * b, k, o[0], o[1], o[2], limit, BlockStores{});
                }
            });
        }
        if (stores) simd::stream_fence();
    });
    return st_ok;
}

LUM_INSTANTIATE(color_to_gray, uint8_t)
LUM_INSTANTIATE(color_to_gray, uint16_t)
LUM_INSTANTIATE(gray_to_color, uint8_t)
LUM_INSTANTIATE(color_twist, uint8_t)
LUM_INSTANTIATE(color_twist, uint16_t)

}  // namespace lum::prim::LUM_ISA
