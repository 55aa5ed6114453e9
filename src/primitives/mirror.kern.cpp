// In-place flips. About the horizontal axis rows trade places whole, vectors
// of each at a time. About the vertical axis (and for both axes) a block of
// pixels trades places with its mirror block, both reversed on the way, so
// every sample is read and written once. A vector of pixels is reversed with
// one lane reversal; three vectors of three-channel pixels with three, and two
// shifted copies that put channels 0 and 2 back.
#include "primitives/kernel.hpp"
#include "primitives/mirror.hpp"

namespace lum::prim::LUM_ISA {

namespace {

// Rows a and b (a != b) of n bytes trade places. The next pair is a + step
// and b - step (the rows meet in the middle): the lines kPrefetchAhead bytes
// on are prefetched in that order, so that b's are taken from the row above
// once the distance reaches past the row's end.
void swap_rows(uint8_t* a, uint8_t* b, int n, int step) {
    using V = simd::vec<uint8_t>;
    constexpr int L = simd::lanes<uint8_t>, U = 4;
    const uintptr_t pa = reinterpret_cast<uintptr_t>(a), pb = reinterpret_cast<uintptr_t>(b);
    int i = 0;
    for (; i + U * L <= n; i += U * L) {
        V va[U], vb[U];
        for (int k = 0; k < U; ++k) {
            const uintptr_t t = uintptr_t(i + k * L) + simd::kPrefetchAhead;
            const bool next = t >= uintptr_t(n);
            simd::prefetch_at(pa + t + (next ? uintptr_t(step) - uintptr_t(n) : 0));
            simd::prefetch_at(pb + t - (next ? uintptr_t(step) + uintptr_t(n) : 0));
            va[k] = simd::load(a + i + k * L);
            vb[k] = simd::load(b + i + k * L);
        }
        for (int k = 0; k < U; ++k) {
            simd::store(a + i + k * L, vb[k]);
            simd::store(b + i + k * L, va[k]);
        }
    }
    for (; i < n; i += L) {
        const int m = n - i;
        const V va = simd::load_first<V>(a + i, m), vb = simd::load_first<V>(b + i, m);
        simd::store_first(a + i, vb, m);
        simd::store_first(b + i, va, m);
    }
}

// L pixels of CH samples from p, and their reversal: one vector of one-channel
// pixels, three vectors of three-channel ones (reversed as three planes).
template <class T, int CH>
struct Block {
    using V = simd::vec<T>;
    static constexpr int L = simd::lanes<T>;
    V v[CH];
    static Block load(const T* p) {
        Block b;
        for (int k = 0; k < CH; ++k) b.v[k] = simd::load(p + k * L);
        return b;
    }
    void store(T* p) const {
        for (int k = 0; k < CH; ++k) simd::store(p + k * L, v[k]);
    }
    // Three-channel pixels: reversing the 3L samples reverses the pixels and,
    // inside each, the channels; channels 0 and 2 then trade places again, each
    // sample taken from two samples on (channel 0) or two back (channel 2).
    Block reversed() const {
        Block r;
        if constexpr (CH == 1) {
            r.v[0] = simd::reverse(v[0]);
        } else {
            constexpr auto I = std::make_index_sequence<L>();
            const V s[3] = {simd::reverse(v[2]), simd::reverse(v[1]), simd::reverse(v[0])};
            r.v[0] = restore<0>(V{}, s[0], s[1], I);
            r.v[1] = restore<1>(s[0], s[1], s[2], I);
            r.v[2] = restore<2>(s[1], s[2], V{}, I);
        }
        return r;
    }

private:
    using M = simd::mask_of<V>;
    // Sample j of vector K of the reversed block: from j + 2 where (KL + j) % 3 == 0, j − 2 where it is 2.
    template <int K, size_t... J>
    static V restore(V before, V here, V after, std::index_sequence<J...>) {
        const V ahead = __builtin_shufflevector(here, after, int(J + 2)...);
        const V back = __builtin_shufflevector(before, here, int(J + L - 2)...);
        const M first{((K * L + int(J)) % 3 == 0 ? -1 : 0)...};
        const M last{((K * L + int(J)) % 3 == 2 ? -1 : 0)...};
        return first ? ahead : last ? back : here;
    }
};

template <class T, int CH>
inline void swap_pixels(T* a, T* b) {
    T t[CH];
    std::memcpy(t, a, sizeof t);
    std::memcpy(a, b, sizeof t);
    std::memcpy(b, t, sizeof t);
}

// Pixel i of row a trades places with pixel w - 1 - i of row b (a != b).
template <class T, int CH>
void swap_reversed(T* a, T* b, int w) {
    using B = Block<T, CH>;
    constexpr int L = B::L;
    int i = 0;
    for (; i + L <= w; i += L) {
        T* far = b + (w - i - L) * CH;
        const B x = B::load(a + i * CH), y = B::load(far);
        y.reversed().store(a + i * CH);
        x.reversed().store(far);
    }
    for (; i < w; ++i) swap_pixels<T, CH>(a + i * CH, b + (w - 1 - i) * CH);
}

// Row a reversed in place: blocks from both ends trade places reversed; the
// middle, fewer than two blocks, pixel by pixel.
template <class T, int CH>
void reverse_row(T* a, int w) {
    using B = Block<T, CH>;
    constexpr int L = B::L;
    int lo = 0, hi = w;
    for (; hi - lo >= 2 * L; lo += L, hi -= L) {
        const B x = B::load(a + lo * CH), y = B::load(a + (hi - L) * CH);
        y.reversed().store(a + lo * CH);
        x.reversed().store(a + (hi - L) * CH);
    }
    for (; lo < hi - 1; ++lo, --hi) swap_pixels<T, CH>(a + lo * CH, a + (hi - 1) * CH);
}

template <class T, int CH>
void flip(T* image, int step, Size size, int axis) {
    const int h = size.height, w = size.width;
    if (axis == 0) {
        for (int y = 0; y < h / 2; ++y)
            swap_rows(reinterpret_cast<uint8_t*>(row_at(image, step, y)),
                      reinterpret_cast<uint8_t*>(row_at(image, step, h - 1 - y)), int(w * CH * sizeof(T)), step);
    } else if (axis == 1) {
        for (int y = 0; y < h; ++y) reverse_row<T, CH>(row_at(image, step, y), w);
    } else {
        for (int y = 0; y < h / 2; ++y) swap_reversed<T, CH>(row_at(image, step, y), row_at(image, step, h - 1 - y), w);
        if (h % 2) reverse_row<T, CH>(row_at(image, step, h / 2), w);
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
