// Channel move kernels. Rows are walked in blocks of one vector of pixels per
// channel: the block's interleaved samples become three planes
// (load_planes, three vectors of shuffles) or planes become interleaved
// samples (store_planes), so every kernel is a load, a fixed shuffle and a
// store per vector and runs at the memory's speed. Destinations larger than
// the caches are written with streaming stores (with_stores_for).
#include "primitives/channels.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

namespace {

template <class T>
inline int block_at(int x, int width) {
    return width - x < simd::lanes<T> ? width - x : simd::lanes<T>;
}

}  // namespace

// The grey samples, each repeated three times, are written where the
// period-3 mask of the chosen channel is set: the two other channels of every
// pixel keep their bytes.
template <class T>
int copy_to_channel(const T* src, int src_step, T* dst, int dst_step, Size size) {
    static_assert(sizeof(T) == 1, "byte samples");
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    using V = simd::vec<T>;
    using M = simd::mask_of<V>;
    constexpr int L = simd::lanes<T>;
    M first[3];
    for (int j = 0; j < 3; ++j)
        for (int i = 0; i < L; ++i) first[j][i] = (j * L + i) % 3 == 0 ? -1 : 0;
    const int64_t row = 3 * int64_t(size.width) - 2;
    for (int y = 0; y < size.height; ++y) {
        const T* s = row_at(src, src_step, y);
        T* d = row_at(dst, dst_step, y);
        for (int x = 0; x < size.width; x += L) {
            const int n = block_at<T>(x, size.width);
            const V v = simd::load_first<V>(s + x, n);
            V spread[3];
            simd::spread3(v, spread[0], spread[1], spread[2]);
            for (int j = 0; j < 3; ++j) {
                const int64_t left = row - 3 * int64_t(x) - int64_t(j) * L;
                if (left <= 0) break;
                simd::store_where(d + 3 * x + j * L, spread[j], first[j], left < L ? int(left) : L);
            }
        }
    }
    return st_ok;
}

template <class T>
int split_channels(const T* src, int src_step, T* const* dst, int dst_step, Size size) {
    if (!src || !dst) return st_null;
    T* const planes[3] = {dst[0], dst[1], dst[2]};
    if (!planes[0] || !planes[1] || !planes[2]) return st_null;
    if (empty_region(size)) return st_size;
    using V = simd::vec<T>;
    constexpr int L = simd::lanes<T>;
    with_stores_for(3 * int64_t{size.width} * size.height * sizeof(T), [&](auto stores) {
        for (int y = 0; y < size.height; ++y) {
            const T* s = row_at(src, src_step, y);
            T* d[3] = {row_at(planes[0], dst_step, y), row_at(planes[1], dst_step, y), row_at(planes[2], dst_step, y)};
            // The planes stream together when they reach their alignment at the same sample.
            int x = 0;
            if constexpr (decltype(stores)::value) {
                const int head = elements_to_alignment<V>(d[0]);
                if (head >= 0 && head == elements_to_alignment<V>(d[1]) && head == elements_to_alignment<V>(d[2]) &&
                    size.width - head >= 2 * L) {
                    if (head > 0) {
                        V c0, c1, c2;
                        load_planes(s, head, c0, c1, c2);
                        simd::store_first(d[0], c0, head);
                        simd::store_first(d[1], c1, head);
                        simd::store_first(d[2], c2, head);
                    }
                    for (x = head; x + L <= size.width; x += L) {
                        V c0, c1, c2;
                        load_planes(s + 3 * x, L, c0, c1, c2);
                        simd::stream(d[0] + x, c0);
                        simd::stream(d[1] + x, c1);
                        simd::stream(d[2] + x, c2);
                    }
                }
            }
            for (; x < size.width; x += L) {
                const int n = block_at<T>(x, size.width);
                V c0, c1, c2;
                load_planes(s + 3 * x, n, c0, c1, c2);
                simd::store_first(d[0] + x, c0, n);
                simd::store_first(d[1] + x, c1, n);
                simd::store_first(d[2] + x, c2, n);
            }
        }
        if (stores) simd::stream_fence();
    });
    return st_ok;
}

template <class T>
int merge_channels(const T* const* src, int src_step, T* dst, int dst_step, Size size) {
    if (!src) return st_null;
    const T* const planes[3] = {src[0], src[1], src[2]};
    if (!planes[0] || !planes[1] || !planes[2] || !dst) return st_null;
    if (empty_region(size)) return st_size;
    using V = simd::vec<T>;
    constexpr int L = simd::lanes<T>;
    with_stores_for(3 * int64_t{size.width} * size.height * sizeof(T), [&](auto stores) {
        for (int y = 0; y < size.height; ++y) {
            const T* s0 = row_at(planes[0], src_step, y);
            const T* s1 = row_at(planes[1], src_step, y);
            const T* s2 = row_at(planes[2], src_step, y);
            T* d = row_at(dst, dst_step, y);
            pixel_blocks<L, sizeof(V)>(d, size.width, stores, [&](int x, int n, auto block_stores) {
                if (n == L) {
                    prefetch_step<L>(s0, x);
                    prefetch_step<L>(s1, x);
                    prefetch_step<L>(s2, x);
                }
                store_planes(d + 3 * x, n, simd::load_first<V>(s0 + x, n), simd::load_first<V>(s1 + x, n),
                             simd::load_first<V>(s2 + x, n), block_stores);
            });
        }
        if (stores) simd::stream_fence();
    });
    return st_ok;
}

// Each block is read whole before it is written, so any order (repeats included) works in place.
template <class T>
int swap_channels(T* image, int step, Size size, const int32_t* order) {
    if (!image || !order) return st_null;
    if (empty_region(size)) return st_size;
    const int32_t a = load_one(order), b = load_one(order + 1), c = load_one(order + 2);
    if (static_cast<uint32_t>(a) > 2u || static_cast<uint32_t>(b) > 2u || static_cast<uint32_t>(c) > 2u)
        return st_bad_arg;
    if (a == 0 && b == 1 && c == 2) return st_ok;
    using V = simd::vec<T>;
    using M = simd::mask_of<V>;
    // Output channel k is plane 0, 1 or 2 by two selects.
    auto lanes_if = [](bool set) { return set ? ~M{} : M{}; };
    const M one[3] = {lanes_if(a == 1), lanes_if(b == 1), lanes_if(c == 1)};
    const M two[3] = {lanes_if(a == 2), lanes_if(b == 2), lanes_if(c == 2)};
    for (int y = 0; y < size.height; ++y) {
        T* p = row_at(image, step, y);
        for (int x = 0; x < size.width; x += simd::lanes<T>) {
            const int n = block_at<T>(x, size.width);
            V in[3];
            load_planes(p + 3 * x, n, in[0], in[1], in[2]);
            V out[3];
            for (int k = 0; k < 3; ++k) out[k] = two[k] ? in[2] : one[k] ? in[1] : in[0];
            store_planes(p + 3 * x, n, out[0], out[1], out[2]);
        }
    }
    return st_ok;
}

LUM_INSTANTIATE(copy_to_channel, uint8_t)
LUM_INSTANTIATE(split_channels, uint8_t)
LUM_INSTANTIATE(split_channels, uint16_t)
LUM_INSTANTIATE(merge_channels, uint8_t)
LUM_INSTANTIATE(merge_channels, uint16_t)
LUM_INSTANTIATE(swap_channels, uint8_t)

}  // namespace lum::prim::LUM_ISA
