// Fill, copy and in-place "greater than T becomes V" kernels. Fill and
// threshold repeat their per-channel constants every three vectors
// (channel_constants), so a three-channel row is the one-channel loop over
// three times the width: one store (fill) or a load, a compare, a select and
// a store (threshold) per vector.
#include "primitives/fill.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

namespace {

// d[i] = op(d[i], a[i % 3 × lanes ...], b[...]): constant_row with two sets of
// per-channel constants, in place.
template <class T, class Op>
inline void two_constants_row(T* d, int n, const simd::vec<T> (&a)[3], const simd::vec<T> (&b)[3], const Op& op) {
    using V = simd::vec<T>;
    constexpr int L = simd::lanes<T>;
    int x = 0;
    for (; x + 3 * L <= n; x += 3 * L)
        for (int j = 0; j < 3; ++j) simd::store(d + x + j * L, op(simd::load(d + x + j * L), a[j], b[j]));
    for (int j = 0; x < n; x += L, ++j) {
        const int m = n - x;
        simd::store_first(d + x, op(simd::load_first<V>(d + x, m), a[j], b[j]), m);
    }
}

template <class T>
struct greater_becomes {
    using V = simd::vec<T>;
    V operator()(V s, V threshold, V value) const { return s > threshold ? value : s; }
};

}  // namespace

int fill_bytes(uint8_t value, uint8_t* dst, int32_t length) {
    if (!dst) return st_null;
    if (length <= 0) return st_size;
    std::memset(dst, value, static_cast<size_t>(length));
    return st_ok;
}

template <class T>
int fill(T* dst, int step, Size size, const T* values, int channels) {
    if (!dst || !values) return st_null;
    if (empty_region(size)) return st_size;
    T c[3];
    for (int i = 0; i < (channels == 3 ? 3 : 1); ++i) c[i] = load_one(values + i);
    simd::vec<T> k[3];
    channel_constants(c, channels, k);
    constexpr int L = simd::lanes<T>;
    for (int y = 0; y < size.height; ++y) {
        T* d = row_at(dst, step, y);
        int x = 0;
        for (; x + 3 * L <= size.width; x += 3 * L)
            for (int j = 0; j < 3; ++j) simd::store(d + x + j * L, k[j]);
        for (int j = 0; x < size.width; x += L, ++j) simd::store_first(d + x, k[j], size.width - x);
    }
    return st_ok;
}

int copy_bytes(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y)
        std::memmove(row_at(dst, dst_step, y), row_at(src, src_step, y), static_cast<size_t>(size.width));
    return st_ok;
}

template <class T>
int threshold_gt(T* image, int step, Size size, const T* thresholds, const T* values, int channels) {
    if (!image || !thresholds || !values) return st_null;
    if (empty_region(size)) return st_size;
    T t[3], v[3];
    for (int i = 0; i < (channels == 3 ? 3 : 1); ++i) {
        t[i] = load_one(thresholds + i);
        v[i] = load_one(values + i);
    }
    simd::vec<T> kt[3], kv[3];
    channel_constants(t, channels, kt);
    channel_constants(v, channels, kv);
    for (int y = 0; y < size.height; ++y)
        two_constants_row(row_at(image, step, y), size.width, kt, kv, greater_becomes<T>{});
    return st_ok;
}

LUM_INSTANTIATE(fill, uint8_t)
LUM_INSTANTIATE(fill, uint16_t)
LUM_INSTANTIATE(fill, float)
LUM_INSTANTIATE(threshold_gt, uint8_t)
LUM_INSTANTIATE(threshold_gt, uint16_t)
LUM_INSTANTIATE(threshold_gt, float)

}  // namespace lum::prim::LUM_ISA
