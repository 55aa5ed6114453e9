// In-place flips. About the horizontal axis rows trade places whole, one
// vector of each at a time. About the vertical axis (and for both axes) a
// pixel trades places with its mirror partner: chunks from both ends are
// reversed into two small buffers in the first-level cache and written back
// crosswise, so every sample is read and written once. A vector of pixels is
// reversed with one lane reversal, three-channel pixels as three planes.
#include "primitives/kernel.hpp"
#include "primitives/mirror.hpp"

namespace lum::prim::LUM_ISA {

namespace {

// Rows a and b (a != b) of n bytes trade places.
void swap_rows(uint8_t* a, uint8_t* b, int n) {
    using V = simd::vec<uint8_t>;
    constexpr int L = simd::lanes<uint8_t>;
    int i = 0;
    for (; i + 2 * L <= n; i += 2 * L) {
        const V a0 = simd::load(a + i), a1 = simd::load(a + i + L);
        const V b0 = simd::load(b + i), b1 = simd::load(b + i + L);
        simd::store(a + i, b0);
        simd::store(a + i + L, b1);
        simd::store(b + i, a0);
        simd::store(b + i + L, a1);
    }
    for (; i < n; i += L) {
        const int m = n - i;
        const V va = simd::load_first<V>(a + i, m), vb = simd::load_first<V>(b + i, m);
        simd::store_first(a + i, vb, m);
        simd::store_first(b + i, va, m);
    }
}

// d's pixel i = s's pixel n - 1 - i, for n pixels of CH samples (s and d apart).
template <class T, int CH>
void reverse_pixels(const T* __restrict s, T* __restrict d, int n) {
    using V = simd::vec<T>;
    constexpr int L = simd::lanes<T>;
    int i = 0;
    for (; i + L <= n; i += L) {
        const T* from = s + (n - i - L) * CH;
        if constexpr (CH == 1) {
            simd::store(d + i, simd::reverse(simd::load(from)));
        } else {
            V c0, c1, c2, a, b, c;
            simd::deinterleave3(simd::load(from), simd::load(from + L), simd::load(from + 2 * L), c0, c1, c2);
            simd::interleave3(simd::reverse(c0), simd::reverse(c1), simd::reverse(c2), a, b, c);
            simd::store(d + i * CH, a);
            simd::store(d + i * CH + L, b);
            simd::store(d + i * CH + 2 * L, c);
        }
    }
    for (; i < n; ++i) std::memcpy(d + i * CH, s + (n - 1 - i) * CH, CH * sizeof(T));
}

template <class T>
void copy_samples(const T* s, T* d, int n) {
    unary_row(s, d, n, [](auto v) { return v; });
}

// Pixel i of row a trades places with pixel w - 1 - i of row b; a may be b.
template <class T, int CH>
void swap_reversed(T* a, T* b, int w) {
    constexpr int K = 4096 / int(CH * sizeof(T));  // pixels per chunk
    T near[2 * K * CH], far[K * CH];
    const bool same = a == b;
    int i = 0;
    for (;;) {
        int n = K;
        if (same) {
            if (2 * (i + K) > w) break;
        } else {
            if (i >= w) break;
            n = w - i < K ? w - i : K;
        }
        T* left = a + i * CH;
        T* right = b + (w - i - n) * CH;
        reverse_pixels<T, CH>(left, near, n);
        reverse_pixels<T, CH>(right, far, n);
        copy_samples(far, left, n * CH);
        copy_samples(near, right, n * CH);
        i += n;
    }
    if (same && 2 * i < w) {  // the middle, fewer than 2K pixels
        const int m = w - 2 * i;
        reverse_pixels<T, CH>(a + i * CH, near, m);
        copy_samples(near, a + i * CH, m * CH);
    }
}

template <class T, int CH>
void flip(T* image, int step, Size size, int axis) {
    const int h = size.height, w = size.width;
    if (axis == 0) {
        for (int y = 0; y < h / 2; ++y)
            swap_rows(reinterpret_cast<uint8_t*>(row_at(image, step, y)),
                      reinterpret_cast<uint8_t*>(row_at(image, step, h - 1 - y)), int(w * CH * sizeof(T)));
    } else if (axis == 1) {
        for (int y = 0; y < h; ++y) swap_reversed<T, CH>(row_at(image, step, y), row_at(image, step, y), w);
    } else {
        for (int y = 0; y < (h + 1) / 2; ++y)
            swap_reversed<T, CH>(row_at(image, step, y), row_at(image, step, h - 1 - y), w);
    }
}

}  // namespace

template <class T>
int mirror(T* image, int step, Size size, int channels, int axis) {
    if (!image) return st_null;
    if (empty_region(size)) return st_size;
    if (axis < 0 || axis > 2 || (channels != 1 && channels != 3)) return st_bad_arg;
    if (channels == 1) flip<T, 1>(image, step, size, axis);
    else flip<T, 3>(image, step, size, axis);
    return st_ok;
}

LUM_INSTANTIATE(mirror, uint8_t)
LUM_INSTANTIATE(mirror, uint16_t)
LUM_INSTANTIATE(mirror, float)

}  // namespace lum::prim::LUM_ISA
