// Helpers for kernel sources. Every *.kern.cpp is compiled once per
// instruction-set level with LUM_ISA naming that level's namespace, so all
// helpers here live inside it: code built for a wide level never leaks into
// the baseline through a shared inline definition. Kernel files should avoid
// std templates (std::min, std::clamp, ...) for the same reason.
//
// The element-wise kernels share one row loop per shape: two sources into a
// destination (binary_row), one source into a destination of the same or
// another sample type (unary_row), and one source with a constant per
// channel (constant_row). The operation is a small functor on vectors of
// the vector layer; the row's tail runs the same functor on a partial
// vector, so every level computes every sample with one body.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "primitives/primitive.hpp"
#include "primitives/simd.hpp"

#ifndef LUM_ISA
#error "kernel sources are compiled through lum_add_kernel_variants"
#endif

// Instantiates kernel template `name` (declared with LUM_KERNEL) for the
// given arguments in this level.
#define LUM_INSTANTIATE(name, ...) template name##_fn<__VA_ARGS__> name<__VA_ARGS__>;

namespace lum::prim::LUM_ISA {

inline bool empty_region(Size s) { return s.width <= 0 || s.height <= 0; }

// Row y of a region with a byte step.
template <class T>
inline T* row_at(T* base, int step, int y) {
    using byte_t = std::conditional_t<std::is_const_v<T>, const uint8_t, uint8_t>;
    return reinterpret_cast<T*>(reinterpret_cast<byte_t*>(base) + static_cast<ptrdiff_t>(step) * y);
}

template <class T>
inline T min_of(T a, T b) { return b < a ? b : a; }
template <class T>
inline T max_of(T a, T b) { return a < b ? b : a; }

// Largest value of an unsigned sample type.
template <class T>
constexpr int64_t max_value() { return (int64_t(1) << (8 * sizeof(T))) - 1; }

// Adding 1.5 × 2^23 to a float of magnitude below 2^22 leaves it rounded to
// an integer (halves to even) in the low mantissa bits.
constexpr float kRoundMagic = 12582912.0f;

// Rounds half to even and saturates to [0, top] in scalar code (NaN gives 0);
// the clamps act on the shifted sum, so every level makes them vector selects.
inline int saturate_round(float v, float top) {
    float w = v + kRoundMagic;
    w = w > kRoundMagic ? w : kRoundMagic;
    w = w < kRoundMagic + top ? w : kRoundMagic + top;
    return static_cast<int>(w) - static_cast<int>(kRoundMagic);
}

// Unaligned scalar access, for samples of a caller's buffer at any address.
template <class T>
inline T load_one(const T* p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
template <class T>
inline void store_one(T* p, T v) {
    std::memcpy(p, &v, sizeof v);
}

// ---- row loops

// The widest of several sample types: a row loop steps by its lanes, and the
// narrower types move part of a vector per step.
template <class T, class... U>
struct widest {
    using type = T;
};
template <class T, class U, class... R>
struct widest<T, U, R...> {
    using type = typename widest<std::conditional_t<(sizeof(U) > sizeof(T)), U, T>, R...>::type;
};

// Where a row loop stores its full vectors. Destinations larger than the
// caches are written with streaming stores: the lines go to memory without
// being read first, and the sources stay in cache. Smaller ones stay cached
// for the next operation.
using cached_stores = std::false_type;
using streaming_stores = std::true_type;
inline constexpr int64_t kStreamingBytes = int64_t{4} << 20;

// The bytes a kernel writes, as with_stores_for weighs them: none when the
// destination is one of its sources (in place). Those rows were just read
// into the caches; streaming them out again evicts them and costs about as
// much as the pass itself.
template <class... S>
inline int64_t bytes_written(int64_t bytes, const void* d, const S*... sources) {
    return ((static_cast<const void*>(sources) == d) || ...) ? 0 : bytes;
}

// Calls body(cached_stores{}) or body(streaming_stores{}) by the destination's size in bytes.
template <class Body>
inline auto with_stores_for(int64_t destination_bytes, Body&& body) {
    if (destination_bytes >= kStreamingBytes) return body(streaming_stores{});
    return body(cached_stores{});
}

// Elements of D before d + x reaches the alignment a streaming store of V
// needs, or -1 when d cannot reach it (an element off its own boundary).
template <class V, class D>
inline int elements_to_alignment(const D* d) {
    const auto address = reinterpret_cast<uintptr_t>(d);
    if (address % sizeof(D) != 0) return -1;
    return static_cast<int>(((sizeof(V) - address % sizeof(V)) % sizeof(V)) / sizeof(D));
}

// Runs chunk(x, k) over [0, n) in steps of L elements (k < L only at the
// ends), full steps as chunk(x, L) through store(x, value) targets: the
// shared skeleton of every row loop. With streaming stores the first steps
// are shortened until the destination is aligned, and a fence ends the row.
template <int L, class V, class D, class Stream, class Compute>
inline void row_steps(D* d, int n, Stream, const Compute& compute) {
    int x = 0;
    if constexpr (Stream::value) {
        const int head = elements_to_alignment<V>(d);
        if (head >= 0 && n - head >= 2 * L) {
            if (head > 0) simd::store_first(d, compute(0, head), head);
            for (x = head; x + L <= n; x += L) simd::stream(d + x, compute(x, L));
            for (; x < n; x += L) simd::store_first(d + x, compute(x, n - x), n - x);
            return;
        }
    }
    for (; x + 2 * L <= n; x += 2 * L) {
        const auto r0 = compute(x, L);
        const auto r1 = compute(x + L, L);
        simd::store(d + x, r0);
        simd::store(d + x + L, r1);
    }
    for (; x < n; x += L) simd::store_first(d + x, compute(x, n - x), n - x);
}

// simd::prefetch_ahead for source s at element x of a row walked in steps
// of L elements: at every step, or once per 64-byte line where a step reads
// less than a line (a widening step of 16-bit samples reads 16 bytes).
template <int L, class T>
inline void prefetch_step(const T* s, int x) {
    constexpr int per_line = 64 / static_cast<int>(sizeof(T));
    if (L >= per_line || x % per_line < L) simd::prefetch_ahead(s + x);
}

// d[i] = op(a[i], b[i]) for i < n; op takes a vector of each source and
// returns one of the destination, all of lanes<W> elements (W the widest
// sample type unless given). d may be a or b (in place). The unused lanes of
// a partial step hold 0; an op that also takes the count of valid lanes gets
// it there (ops that gather flags over the lanes need it).
template <class W = void, class A, class B, class D, class Op, class Stream = cached_stores>
inline void binary_row(const A* a, const B* b, D* d, int n, const Op& op, Stream stream = {}) {
    using Wide = std::conditional_t<std::is_void_v<W>, typename widest<A, B, D>::type, W>;
    using VA = simd::lanes_of<A, Wide>;
    using VB = simd::lanes_of<B, Wide>;
    constexpr int L = simd::lanes<Wide>;
    row_steps<L, simd::lanes_of<D, Wide>>(d, n, stream, [&](int x, int k) {
        if (k == L) {
            prefetch_step<L>(a, x);
            prefetch_step<L>(b, x);
            return op(simd::load_as<VA>(a + x), simd::load_as<VB>(b + x));
        }
        const VA va = simd::load_first<VA>(a + x, k);
        const VB vb = simd::load_first<VB>(b + x, k);
        if constexpr (std::is_invocable_v<Op, VA, VB, int>) return op(va, vb, k);
        else return op(va, vb);
    });
}

// d[i] = op(s[i]) for i < n, S and D of any widths (as binary_row).
template <class W = void, class S, class D, class Op, class Stream = cached_stores>
inline void unary_row(const S* s, D* d, int n, const Op& op, Stream stream = {}) {
    using Wide = std::conditional_t<std::is_void_v<W>, typename widest<S, D>::type, W>;
    using VS = simd::lanes_of<S, Wide>;
    constexpr int L = simd::lanes<Wide>;
    row_steps<L, simd::lanes_of<D, Wide>>(d, n, stream, [&](int x, int k) {
        if (k == L) {
            prefetch_step<L>(s, x);
            return op(simd::load_as<VS>(s + x));
        }
        const VS vs = simd::load_first<VS>(s + x, k);
        if constexpr (std::is_invocable_v<Op, VS, int>) return op(vs, k);
        else return op(vs);
    });
}

// d[i] = op(s[i], k[i % 3 × lanes ...]): the constants of three interleaved
// channels repeat every three vectors, so k holds three vectors that start
// at channel 0, at the channel that follows one vector, and after two.
template <class T, class Op, class Stream = cached_stores>
inline void constant_row(const T* s, T* d, int n, const simd::vec<T> (&k)[3], const Op& op, Stream = {}) {
    constexpr int L = simd::lanes<T>;
    // Three vectors from x, one per constant, all computed before put stores them.
    auto three = [&](int x, auto put) {
        simd::prefetch_ahead_span<3 * sizeof(simd::vec<T>)>(s + x);
        const auto r0 = op(simd::load(s + x), k[0]);
        const auto r1 = op(simd::load(s + x + L), k[1]);
        const auto r2 = op(simd::load(s + x + 2 * L), k[2]);
        put(d + x, r0);
        put(d + x + L, r1);
        put(d + x + 2 * L, r2);
    };
    int x = 0;
    if constexpr (Stream::value) {
        // One constant for every sample: any step may start anywhere, so the
        // row streams after a head that aligns it.
        if (std::memcmp(&k[0], &k[1], sizeof k[0]) == 0 && std::memcmp(&k[0], &k[2], sizeof k[0]) == 0) {
            row_steps<L, simd::vec<T>>(d, n, streaming_stores{}, [&](int i, int m) {
                if (m == L) prefetch_step<L>(s, i);
                return op(m == L ? simd::load(s + i) : simd::load_first<simd::vec<T>>(s + i, m), k[0]);
            });
            return;
        }
        // Otherwise the constants' phase follows the sample index, so the loop
        // keeps its three-vector step and streams when the row happens to be aligned.
        if (elements_to_alignment<simd::vec<T>>(d) == 0)
            for (; x + 3 * L <= n; x += 3 * L) three(x, [](T* p, simd::vec<T> v) { simd::stream(p, v); });
    }
    for (; x + 3 * L <= n; x += 3 * L) three(x, [](T* p, simd::vec<T> v) { simd::store(p, v); });
    for (int j = 0; x < n; x += L, ++j) {
        const int m = n - x;
        simd::store_first(d + x, op(simd::load_first<simd::vec<T>>(s + x, m), k[j]), m);
    }
}

// The three constant vectors of constant_row for per-channel values c[0..2]
// (one channel: c[0] everywhere).
template <class T>
inline void channel_constants(const T* c, int channels, simd::vec<T> (&k)[3]) {
    constexpr int L = simd::lanes<T>;
    for (int v = 0; v < 3; ++v)
        for (int i = 0; i < L; ++i) k[v][i] = channels == 3 ? c[(v * L + i) % 3] : c[0];
}

// ---- rows of a region

// Calls row(y, stores) for every row of a region whose destination samples
// are D, with the stores with_stores_for picks for the bytes written (none
// when dst is src, in place); streaming stores are fenced before it returns.
template <class D, class Row>
inline void for_each_row(Size size, const D* dst, const void* src, const Row& row) {
    with_stores_for(bytes_written(int64_t{size.width} * size.height * int64_t(sizeof(D)), dst, src), [&](auto stores) {
        for (int y = 0; y < size.height; ++y) row(y, stores);
        if (stores) simd::stream_fence();
    });
}

// ---- packing rows

// d[i] = op(parts) for narrowing work: each step writes one whole vector of D
// from K = lanes<D> / lanes<M> parts, vectors of lanes<M> source samples each
// (M the type the op computes in), so that the op narrows all of them with one
// pack (simd::pack_sat) instead of one narrowing per part. Parts past the end
// of the row hold 0.
template <class M, class S, class D, class Op, class Stream = cached_stores>
inline void packing_row(const S* s, D* d, int n, const Op& op, Stream stream = {}) {
    constexpr int L = simd::lanes<D>, P = simd::lanes<M>, K = L / P;
    static_assert(K >= 1 && K * P == L);
    using VS = simd::lanes_of<S, M>;
    row_steps<L, simd::vec<D>>(d, n, stream, [&](int x, int k) {
        VS part[K];
        for (int j = 0; j < K; ++j) {
            const int valid = k - j * P < P ? k - j * P : P;
            if (valid == P) prefetch_step<P>(s, x + j * P);
            part[j] = valid == P ? simd::load_as<VS>(s + x + j * P)
                                 : valid > 0 ? simd::load_first<VS>(s + x + j * P, valid) : VS{};
        }
        return op(part);
    });
}

// ---- rows of three interleaved channels

// Which of the three vectors of a channel period (starting at samples 0, L
// and 2L of a row) has its first sample on the same channel as sample x.
template <int L>
inline int place_of_phase(int x) {
    const int phase = x % 3;
    return phase == 0 ? 0 : phase == L % 3 ? 1 : 2;
}

// d[i] = op(s[i], j) over vectors of lanes<W> samples, j the place (0, 1 or
// 2) in the period of three vectors after which the channels of three
// interleaved samples repeat: the vector's first sample is on the channel of
// sample j × lanes of the row. An op picks its per-channel constants by j (for
// one channel all three are the same), so the steps may start anywhere.
template <class W, class S, class D, class Op, class Stream = cached_stores>
inline void channel_row(const S* s, D* d, int n, const Op& op, Stream stream = {}) {
    using VS = simd::lanes_of<S, W>;
    constexpr int L = simd::lanes<W>;
    row_steps<L, simd::lanes_of<D, W>>(d, n, stream, [&](int x, int k) {
        if (k == L) prefetch_step<L>(s, x);
        const VS v = k == L ? simd::load_as<VS>(s + x) : simd::load_first<VS>(s + x, k);
        return op(v, place_of_phase<L>(x));
    });
}

// ---- three interleaved channels as planes (colour and channel kernels)

// The three channels of `pixels` interleaved pixels at p as planes of V (at
// most V's lanes of pixels; lanes past `pixels` hold 0). Reads exactly the
// 3 × pixels samples.
template <class V, class T>
inline void load_planes(const T* p, int pixels, V& c0, V& c1, V& c2) {
    constexpr int L = static_cast<int>(sizeof(V) / sizeof(T));
    static_assert(std::is_same_v<simd::element_t<V>, T>);
    V a{}, b{}, c{};
    if (pixels >= L) {
        simd::prefetch_ahead_span<3 * sizeof(V)>(p);
        a = simd::load_as<V>(p);
        b = simd::load_as<V>(p + L);
        c = simd::load_as<V>(p + 2 * L);
    } else {
        const int n = 3 * pixels;
        a = simd::load_first<V>(p, n);
        if (n > L) b = simd::load_first<V>(p + L, n - L);
        if (n > 2 * L) c = simd::load_first<V>(p + 2 * L, n - 2 * L);
    }
    simd::deinterleave3(a, b, c, c0, c1, c2);
}

// Planes of V stored as `pixels` interleaved pixels at p; nothing past them
// is written. A full block may stream (p then aligned to V's size).
template <class V, class T, class Stream = cached_stores>
inline void store_planes(T* p, int pixels, V c0, V c1, V c2, Stream = {}) {
    constexpr int L = static_cast<int>(sizeof(V) / sizeof(T));
    static_assert(std::is_same_v<simd::element_t<V>, T>);
    V a, b, c;
    simd::interleave3(c0, c1, c2, a, b, c);
    if (pixels >= L) {
        if constexpr (Stream::value) {
            simd::stream(p, a);
            simd::stream(p + L, b);
            simd::stream(p + 2 * L, c);
        } else {
            simd::store(p, a);
            simd::store(p + L, b);
            simd::store(p + 2 * L, c);
        }
    } else {
        const int n = 3 * pixels;
        simd::store_first(p, a, n);
        if (n > L) simd::store_first(p + L, b, n - L);
        if (n > 2 * L) simd::store_first(p + 2 * L, c, n - 2 * L);
    }
}

// Pixels of three interleaved channels before d + 3 x samples is aligned to
// A bytes, or -1 when no pixel boundary is (a sample off its own boundary).
template <int A, class T>
inline int pixels_to_alignment(const T* d) {
    const auto address = reinterpret_cast<uintptr_t>(d);
    for (int x = 0; x < A; ++x)
        if ((address + 3 * sizeof(T) * static_cast<uintptr_t>(x)) % A == 0) return x;
    return -1;
}

// Runs block(x, k, stores) over the pixels [0, n) of a row of three
// interleaved channels in blocks of L pixels (k < L only at the ends), a
// block writing its 3 k samples from d + 3 x: the row loop of the colour and
// channel kernels. With streaming stores the first blocks are shortened
// until d + 3 x is aligned to A bytes and the full blocks after them get
// streaming_stores{}; every other block gets cached_stores{}.
template <int L, int A, class T, class Stream, class Block>
inline void pixel_blocks(T* d, int n, Stream, const Block& block) {
    int x = 0;
    if constexpr (Stream::value) {
        const int head = pixels_to_alignment<A>(d);
        if (head >= 0 && n - head >= 2 * L) {
            for (; x < head; x += L) block(x, head - x < L ? head - x : L, cached_stores{});
            for (x = head; x + L <= n; x += L) block(x, L, streaming_stores{});
            if (x < n) block(x, n - x, cached_stores{});
            return;
        }
    }
    for (; x + L <= n; x += L) block(x, L, cached_stores{});
    if (x < n) block(x, n - x, cached_stores{});
}

}  // namespace lum::prim::LUM_ISA
