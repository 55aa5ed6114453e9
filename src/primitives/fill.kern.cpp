// Fill, copy and in-place "greater than T becomes V" kernels. Fill and
// threshold repeat their per-channel constants every three vectors
// (channel_constants), so a three-channel row is the one-channel loop over
// three times the width: one store (fill) or a load, a compare, a select and
// a store (threshold) per vector. Fills and copies larger than the caches
// write with streaming stores (with_stores_for); a copy whose rows overlap
// its source moves them as memmove does.
#include <utility>

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
    const int period = channels == 3 ? 3 : 1;
    T c[3];
    for (int i = 0; i < period; ++i) c[i] = load_one(values + i);
    // The constant vectors for a row part that starts at channel r (r = 0, 1, 2).
    simd::vec<T> k[3][3];
    for (int r = 0; r < 3; ++r) {
        const T rotated[3] = {c[r % period], c[(r + 1) % period], c[(r + 2) % period]};
        channel_constants(rotated, channels, k[r]);
    }
    using V = simd::vec<T>;
    constexpr int L = simd::lanes<T>;
    with_stores_for(int64_t{size.width} * size.height * sizeof(T), [&](auto stores) {
        for (int y = 0; y < size.height; ++y) {
            T* d = row_at(dst, step, y);
            const int n = size.width;
            int x = 0;
            const simd::vec<T>* kx = k[0];
            if constexpr (decltype(stores)::value) {
                const int head = elements_to_alignment<V>(d);
                if (head >= 0 && n - head >= 3 * L) {
                    if (head > 0) simd::store_first(d, k[0][0], head);
                    x = head;
                    kx = k[head % 3];
                    for (; x + 3 * L <= n; x += 3 * L)
                        for (int j = 0; j < 3; ++j) simd::stream(d + x + j * L, kx[j]);
                }
            }
            for (; x + 3 * L <= n; x += 3 * L)
                for (int j = 0; j < 3; ++j) simd::store(d + x + j * L, kx[j]);
            for (int j = 0; x < n; x += L, ++j) simd::store_first(d + x, kx[j], n - x);
        }
        if (stores) simd::stream_fence();
    });
    return st_ok;
}

int copy_bytes(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    // The bytes each region spans, first row to last.
    auto span = [&size](const uint8_t* p, int step) {
        const ptrdiff_t last = static_cast<ptrdiff_t>(step) * (size.height - 1);
        const uint8_t* lo = p + (last < 0 ? last : 0);
        return std::pair{lo, p + (last > 0 ? last : 0) + size.width};
    };
    const auto [s_lo, s_hi] = span(src, src_step);
    const auto [d_lo, d_hi] = span(dst, dst_step);
    const bool apart = s_hi <= d_lo || d_hi <= s_lo;
    if (apart && int64_t{size.width} * size.height >= kStreamingBytes) {
        for (int y = 0; y < size.height; ++y)
            unary_row(row_at(src, src_step, y), row_at(dst, dst_step, y), size.width, [](auto v) { return v; },
                      streaming_stores{});
        simd::stream_fence();
        return st_ok;
    }
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
