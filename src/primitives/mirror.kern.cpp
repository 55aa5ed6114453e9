// In-place flips. Rows swap whole for the horizontal axis; for the vertical
// axis and for both, pixels are exchanged with their mirror partner so that no
// row buffer is needed.
#include "primitives/kernel.hpp"
#include "primitives/mirror.hpp"

namespace lum::prim::LUM_ISA {

namespace {

// Through a small stack block: three block copies run at copy speed.
template <class T>
void swap_rows(T* __restrict a, T* __restrict b, int n) {
    constexpr int kChunk = 2048 / int(sizeof(T));
    alignas(64) T t[kChunk];
    for (int i = 0; i < n; i += kChunk) {
        const size_t bytes = size_t(n - i < kChunk ? n - i : kChunk) * sizeof(T);
        std::memcpy(t, a + i, bytes);
        std::memcpy(a + i, b + i, bytes);
        std::memcpy(b + i, t, bytes);
    }
}

// Pixel i of row a trades places with pixel width-1-i of row b (a != b).
template <class T, int CH>
void swap_reversed(T* __restrict a, T* __restrict b, int width) {
    T* __restrict e = b + (width - 1) * CH;
    for (int i = 0; i < width; ++i)
        for (int c = 0; c < CH; ++c) {
            const T t = a[i * CH + c];
            a[i * CH + c] = e[c - i * CH];
            e[c - i * CH] = t;
        }
}

template <class T>
void reverse_samples(T* p, int n) {
    T* __restrict lo = p;
    T* __restrict hi = p + n - 1;
    for (int i = 0; i < n / 2; ++i) {
        const T t = lo[i];
        lo[i] = hi[-i];
        hi[-i] = t;
    }
}

// Three-channel pixels: reversing the samples reverses the pixels and, inside
// each, the channels; swapping channels 0 and 2 back restores them. Both
// passes are plain vector loops, unlike a reversal of 3-sample groups.
template <class T, int CH>
void reverse_row(T* p, int width) {
    reverse_samples(p, width * CH);
    if constexpr (CH == 3) {
        T* __restrict q = p;
        for (int i = 0; i < width; ++i) {
            const T t = q[3 * i];
            q[3 * i] = q[3 * i + 2];
            q[3 * i + 2] = t;
        }
    }
}

template <class T, int CH>
int mirror(T* image, int step, Size size, int axis) {
    if (!image) return st_null;
    if (empty_region(size)) return st_size;
    if (axis < 0 || axis > 2) return st_bad_arg;
    const int h = size.height, w = size.width;
    if (axis == 0) {
        for (int y = 0; y < h / 2; ++y) swap_rows(row_at(image, step, y), row_at(image, step, h - 1 - y), w * CH);
    } else if (axis == 1) {
        for (int y = 0; y < h; ++y) reverse_row<T, CH>(row_at(image, step, y), w);
    } else {
        for (int y = 0; y < h / 2; ++y) swap_reversed<T, CH>(row_at(image, step, y), row_at(image, step, h - 1 - y), w);
        if (h % 2) reverse_row<T, CH>(row_at(image, step, h / 2), w);
    }
    return st_ok;
}

}  // namespace

int mirror_8u_c1ir(uint8_t* p, int s, Size z, int a) { return mirror<uint8_t, 1>(p, s, z, a); }
int mirror_8u_c3ir(uint8_t* p, int s, Size z, int a) { return mirror<uint8_t, 3>(p, s, z, a); }
int mirror_16u_c1ir(uint16_t* p, int s, Size z, int a) { return mirror<uint16_t, 1>(p, s, z, a); }
int mirror_16u_c3ir(uint16_t* p, int s, Size z, int a) { return mirror<uint16_t, 3>(p, s, z, a); }
int mirror_32f_c1ir(float* p, int s, Size z, int a) { return mirror<float, 1>(p, s, z, a); }
int mirror_32f_c3ir(float* p, int s, Size z, int a) { return mirror<float, 3>(p, s, z, a); }

}  // namespace lum::prim::LUM_ISA
