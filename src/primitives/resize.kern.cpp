// Resize loops. Nearest copies each destination row from one source row
// (rows that repeat the previous one are copied from the destination) and
// fetches its samples through the column table. Linear and Lanczos work per
// destination row in tiles of columns: the vertical pass blends the tile's
// span of source columns from the row's source rows into planes of the blend
// type (one plane per channel, in the first-level cache, with the replicated
// border columns around it), and the horizontal pass blends each block of
// outputs from the planes. A block whose taps lie within two vectors of a
// plane takes them with one look-up per tap and vector; wider spans gather.
//
// Blends: 8- and 16-bit linear in integers (the set-up's weights p / q are
// exact, the sums are integers over q_x q_y, divided with rounding half to
// even; in double lanes when the integers outgrow 31 bits), 16-bit Lanczos in
// doubles, the rest in floats with the set-up's float weights.
#include "primitives/kernel.hpp"
#include "primitives/resize.hpp"

namespace lum::prim::LUM_ISA {

namespace {

using simd::element_t;

constexpr int kTileBytes = 32768;

int check_call(const void* src, void* dst, const void* spec, Offset offset, Size dst_size, int interpolation) {
    if (!src || !dst || !spec) return st_null;
    if (empty_region(dst_size)) return st_size;
    const auto* s = static_cast<const ResizeSpec*>(spec);
    if (s->magic != kResizeMagic || s->interpolation != interpolation) return st_bad_arg;
    if (offset.x != 0 || offset.y != 0 || dst_size.width != s->dst.width || dst_size.height != s->dst.height)
        return st_bad_arg;
    return st_ok;
}

template <class T>
constexpr float top_of() {
    return sizeof(T) == 1 ? 255.0f : 65535.0f;
}

// n (<= lanes of E) samples of T from p as lanes of E.
template <class E, class T>
inline simd::vec<E> fetch(const T* p, int n) {
    using S = simd::lanes_of<T, E>;
    const S s = n >= simd::lanes<E> ? simd::load_as<S>(p) : simd::load_first<S>(p, n);
    if constexpr (std::is_same_v<T, E>) return s;
    else if constexpr (std::is_same_v<E, float>) return simd::to_float(s);
    else if constexpr (std::is_same_v<E, int32_t>) return (simd::vec<int32_t>)simd::widen<uint32_t>(s);
    else return simd::convert<double>((simd::lanes_of<int32_t, double>)simd::widen<uint32_t>(s));
}

// Stores the first n lanes of r (floats, or integers within T's range) as samples of T.
template <class T, class R>
inline void put(T* d, R r, int n) {
    if constexpr (std::is_same_v<element_t<R>, T>) simd::store_first(d, r, n);
    else simd::store_first(d, simd::narrow_sat<T>(r), n);
}

// The three interleaved-channel results of a block of n pixels, stored as 3n samples.
template <class T, class R>
inline void put3(T* d, R r0, R r1, R r2, int n) {
    constexpr int L = sizeof(R) / sizeof(element_t<R>);
    R a, b, c;
    simd::interleave3(r0, r1, r2, a, b, c);
    const int m = 3 * n;
    put(d, a, m < L ? m : L);
    if (m > L) put(d + L, b, m - L < L ? m - L : L);
    if (m > 2 * L) put(d + 2 * L, c, m - 2 * L);
}

// ---- nearest

// Destination samples of `rows` rows (all from the same source row) through
// the column table: blocks of outputs whose sources lie within two vectors
// take them with one look-up, in 16-bit lanes where the level permutes them in
// one instruction, and go to every row.
template <class T>
void nearest_row_c1(const T* __restrict s, T* __restrict d, int dst_step, int rows, const int32_t* xi, int w, int sw) {
    using E = std::conditional_t<simd::kBytes == 64 && sizeof(T) <= 2, uint16_t, uint32_t>;
    using V = simd::vec<E>;
    using M = simd::mask_of<V>;
    using I = simd::lanes_of<int32_t, E>;
    using S = simd::lanes_of<T, E>;
    constexpr int L = simd::lanes<E>;
    auto window = [&](int from) -> V {
        const int avail = sw - from;
        const S raw = simd::load_first<S>(s + from, avail < L ? avail : L);
        if constexpr (sizeof(T) == sizeof(E)) return (V)raw;
        else return simd::widen<E>(raw);
    };
    for (int x = 0; x < w; x += L) {
        const int n = w - x < L ? w - x : L;
        const int base = xi[x];
        V r;
        if (xi[x + n - 1] - base < 2 * L) {
            const I rel = simd::load_first<I>(xi + x, n) - base;
            const V lo = window(base);
            const V hi = sw - base > L ? window(base + L) : V{};
            r = simd::lookup2(lo, hi, __builtin_convertvector(rel, M));
        } else {
            for (int j = 0; j < L; ++j) {
                E e = 0;
                if (j < n) std::memcpy(&e, s + xi[x + j], sizeof(T));  // the sample's bits, low bytes first
                r[j] = e;
            }
        }
        simd::lanes_of<T, E> out;
        if constexpr (sizeof(T) == sizeof(E)) out = (simd::lanes_of<T, E>)r;
        else if constexpr (sizeof(E) == 2) out = simd::narrow_sat<T>(r);
        else out = simd::narrow_sat<T>((simd::vec<int32_t>)r);
        for (int k = 0; k < rows; ++k) simd::store_first(row_at(d, dst_step, k) + x, out, n);
    }
}

// Three channels: the same look-ups on the planes of the source window.
template <class T>
void nearest_row_c3(const T* __restrict s, T* __restrict d, int dst_step, int rows, const int32_t* xi, int w, int sw) {
    using E = std::conditional_t<simd::kBytes == 64 && sizeof(T) <= 2, uint16_t, uint32_t>;
    using V = simd::vec<E>;
    using M = simd::mask_of<V>;
    using I = simd::lanes_of<int32_t, E>;
    using S = simd::lanes_of<T, E>;
    constexpr int L = simd::lanes<E>;
    // L pixels from pixel `from` as three planes (samples past the row's end read as 0).
    auto planes = [&](int from, V (&c)[3]) {
        const int avail = 3 * (sw - from);
        V v[3];
        for (int k = 0; k < 3; ++k) {
            const int m = avail - k * L;
            const S raw = m <= 0 ? S{} : simd::load_first<S>(s + 3 * from + k * L, m < L ? m : L);
            if constexpr (sizeof(T) == sizeof(E)) v[k] = (V)raw;
            else v[k] = simd::widen<E>(raw);
        }
        simd::deinterleave3(v[0], v[1], v[2], c[0], c[1], c[2]);
    };
    auto put_samples = [&](int at, V v, int m) {
        simd::lanes_of<T, E> out;
        if constexpr (sizeof(T) == sizeof(E)) out = (simd::lanes_of<T, E>)v;
        else if constexpr (sizeof(E) == 2) out = simd::narrow_sat<T>(v);
        else out = simd::narrow_sat<T>((simd::vec<int32_t>)v);
        for (int k = 0; k < rows; ++k) simd::store_first(row_at(d, dst_step, k) + at, out, m);
    };
    for (int x = 0; x < w; x += L) {
        const int n = w - x < L ? w - x : L;
        const int base = xi[x];
        if (xi[x + n - 1] - base >= 2 * L) {
            for (int k = 0; k < rows; ++k)
                for (int j = 0; j < n; ++j)
                    std::memcpy(row_at(d, dst_step, k) + 3 * (x + j), s + 3 * int64_t(xi[x + j]), 3 * sizeof(T));
            continue;
        }
        const M mask = __builtin_convertvector(simd::load_first<I>(xi + x, n) - base, M);
        V lo[3], hi[3], r[3], out[3];
        planes(base, lo);
        if (sw - base > L) planes(base + L, hi);
        else hi[0] = hi[1] = hi[2] = V{};
        for (int c = 0; c < 3; ++c) r[c] = simd::lookup2(lo[c], hi[c], mask);
        simd::interleave3(r[0], r[1], r[2], out[0], out[1], out[2]);
        const int m = 3 * n;
        for (int k = 0; k < 3 && k * L < m; ++k) put_samples(3 * x + k * L, out[k], m - k * L < L ? m - k * L : L);
    }
}

// Runs of destination rows that share a source row are written together.
template <class T>
int nearest(const T* src, int src_step, T* dst, int dst_step, const ResizeSpec* spec, int channels) {
    const int32_t* xi = resize_table<int32_t>(spec, spec->x.first);
    const int32_t* yi = resize_table<int32_t>(spec, spec->y.first);
    const int w = spec->dst.width, sw = spec->src.width, h = spec->dst.height;
    for (int y = 0, rows; y < h; y += rows) {
        for (rows = 1; y + rows < h && yi[y + rows] == yi[y]; ++rows) {
        }
        const T* s = row_at(src, src_step, yi[y]);
        T* d = row_at(dst, dst_step, y);
        if (channels == 1) nearest_row_c1(s, d, dst_step, rows, xi, w, sw);
        else nearest_row_c3(s, d, dst_step, rows, xi, w, sw);
    }
    return st_ok;
}

// ---- linear and Lanczos: blends

// A blend says in what lanes (E) the passes add, what the weights of a
// destination row and of a block of destination columns are, and how a sum
// becomes a sample. Weights here are in E; the tiles are planes of E.

// Float and double blends with the set-up's weights.
template <class E, int TAPS>
struct weighted {
    using VE = simd::vec<E>;
    const ResizeSpec* spec;
    const E* x_weight;  // tap-major
    const E* y_weight;

    weighted(const ResizeSpec* s) : spec(s) {
        if constexpr (std::is_same_v<E, float>) {
            x_weight = resize_table<float>(s, s->x.weight);
            y_weight = resize_table<float>(s, s->y.weight);
        } else {
            x_weight = resize_table<double>(s, s->x.weight_wide);
            y_weight = resize_table<double>(s, s->y.weight_wide);
        }
    }
    void row_weights(int y, E (&w)[TAPS]) const {
        for (int k = 0; k < TAPS; ++k) w[k] = y_weight[k * spec->dst.height + y];
    }
    // The weighted sum of the taps t(k) of n outputs from destination column x on.
    template <class Tap>
    VE blend(int x, int n, const Tap& t) const {
        VE acc{};
        for (int k = 0; k < TAPS; ++k) {
            const E* w = x_weight + k * spec->dst.width + x;
            acc = acc + (n >= simd::lanes<E> ? simd::load_as<VE>(w) : simd::load_first<VE>(w, n)) * t(k);
        }
        return acc;
    }
};

// Single precision: samples rounded half to even and saturated (floats stored as summed).
template <class T, int TAPS>
struct single_blend : weighted<float, TAPS> {
    using E = float;
    static constexpr int taps = TAPS;
    using weighted<float, TAPS>::weighted;
    auto finish(simd::vec<float> v) const {
        if constexpr (std::is_same_v<T, float>) return v;
        else return simd::round_clamped(v, top_of<T>());
    }
};

// Lanczos on 16-bit samples in double precision.
struct double_blend : weighted<double, 6> {
    using E = double;
    static constexpr int taps = 6;
    using weighted<double, 6>::weighted;
    auto finish(simd::vec<double> v) const {
        const simd::vec<double> zero{};
        v = v > zero ? v : zero;
        v = v < zero + 65535.0 ? v : zero + 65535.0;
        return simd::round_even_wide(v);
    }
};

// Linear on integer samples: (q − p) a + p b in each pass, summed exactly in
// E, then divided by Q = q_x q_y with rounding half to even. Int32 lanes while
// Q times the sample range stays below 2^31; double lanes beyond, exact while
// Q < 2^36 (destinations below 2^34 pixels): the sums stay below 2^53 and a
// quotient that is no tie lies at least 1 / 2Q from a half.
template <class Lane>
struct exact_blend {
    using E = Lane;
    using VE = simd::vec<E>;
    using I = simd::lanes_of<int32_t, E>;
    static constexpr int taps = 2;
    const ResizeSpec* spec;
    const uint32_t* x_numerator;
    const uint32_t* y_numerator;
    E qx, qy, whole;
    float inverse;  // 1 / Q, for the int32 quotient's first guess

    exact_blend(const ResizeSpec* s)
        : spec(s), x_numerator(resize_table<uint32_t>(s, s->x.numerator)),
          y_numerator(resize_table<uint32_t>(s, s->y.numerator)), qx(E(s->x.denominator)), qy(E(s->y.denominator)),
          whole(E(s->x.denominator * s->y.denominator)), inverse(1.0f / float(s->x.denominator * s->y.denominator)) {}

    void row_weights(int y, E (&w)[2]) const {
        const E p = E(y_numerator[y]);
        w[0] = qy - p;
        w[1] = p;
    }
    template <class Tap>
    VE blend(int x, int n, const Tap& t) const {
        using U = simd::lanes_of<uint32_t, E>;
        const uint32_t* p = x_numerator + x;
        const U pu = n >= simd::lanes<E> ? simd::load_as<U>(p) : simd::load_first<U>(p, n);
        VE pe;
        if constexpr (std::is_same_v<E, int32_t>) pe = (VE)pu;
        else pe = __builtin_convertvector(pu, VE);
        return (qx - pe) * t(0) + pe * t(1);
    }
    auto finish(VE v) const {
        if constexpr (std::is_same_v<E, double>) {
            return simd::round_even_wide(v / whole);
        } else {
            // A first guess within one of the quotient, then the remainder decides.
            const VE q = simd::round_even(simd::convert<float>(v) * inverse);
            const VE r = v - q * whole;
            const VE r2 = r + r;
            const VE odd = (VE)((q & 1) != 0);
            const VE up = (VE)(r2 > whole) | ((VE)(r2 == whole) & odd);
            const VE down = (VE)(r2 < -whole) | ((VE)(r2 == -whole) & odd);
            return q - up + down;
        }
    }
};

// ---- linear and Lanczos: tiles

// Vertical pass over n source pixels from column `from`: per channel plane
// out[c][i] = Σ w[k] · row_k[(from + i) · channels + c].
template <class E, int TAPS, class T>
void vertical(const T* const* rows, const E (&w)[TAPS], int from, int n, int channels, E* const* out) {
    using VE = simd::vec<E>;
    constexpr int L = simd::lanes<E>;
    VE wv[TAPS];
    for (int k = 0; k < TAPS; ++k) wv[k] = VE{} + w[k];
    auto sum = [&](int at, int m) {
        VE acc{};
        for (int k = 0; k < TAPS; ++k) acc = acc + wv[k] * fetch<E>(rows[k] + at, m);
        return acc;
    };
    if (channels == 1) {
        for (int i = 0; i < n; i += L) {
            const int m = n - i < L ? n - i : L;
            simd::store_first(out[0] + i, sum(from + i, m), m);
        }
        return;
    }
    for (int i = 0; i < n; i += L) {
        const int m = n - i < L ? n - i : L, samples = 3 * m;
        const int at = 3 * (from + i);
        const VE a = sum(at, samples < L ? samples : L);
        const VE b = samples > L ? sum(at + L, samples - L < L ? samples - L : L) : VE{};
        const VE c = samples > 2 * L ? sum(at + 2 * L, samples - 2 * L) : VE{};
        VE c0, c1, c2;
        simd::deinterleave3(a, b, c, c0, c1, c2);
        simd::store_first(out[0] + i, c0, m);
        simd::store_first(out[1] + i, c1, m);
        simd::store_first(out[2] + i, c2, m);
    }
}

template <class T, class Blend>
void tiles(const T* src, int src_step, T* dst, int dst_step, const ResizeSpec* spec, int channels, const Blend& b) {
    using E = typename Blend::E;
    using VE = simd::vec<E>;
    using I = simd::lanes_of<int32_t, E>;
    using M = simd::mask_of<VE>;
    constexpr int L = simd::lanes<E>, TAPS = Blend::taps;
    constexpr int slack = 2 * L + TAPS;
    alignas(64) unsigned char tile[kTileBytes];
    std::memset(tile, 0, sizeof tile);
    const int plane_size = kTileBytes / int(sizeof(E)) / channels;
    E* planes[3];
    for (int c = 0; c < channels; ++c) planes[c] = reinterpret_cast<E*>(tile) + c * plane_size;
    const int cap = plane_size - slack;
    const ResizeAxis &ax = spec->x, &ay = spec->y;
    const int32_t* first = resize_table<int32_t>(spec, ax.first);
    const int32_t* y_first = resize_table<int32_t>(spec, ay.first);
    const int w = ax.size, sw = ax.source, sh = ay.source;
    const int advance = ax.advance > 0 ? ax.advance : 1;
    const int block = (cap - TAPS) / advance + 1;

    for (int y = 0; y < ay.size; ++y) {
        const T* rows[TAPS];
        for (int k = 0; k < TAPS; ++k) {
            const int64_t r = int64_t(y_first[y]) + k;
            rows[k] = row_at(src, src_step, int(r < 0 ? 0 : r >= sh ? sh - 1 : r));
        }
        E wy[TAPS];
        b.row_weights(y, wy);
        T* d = row_at(dst, dst_step, y);
        for (int xa = 0; xa < w; xa += block) {
            const int xb = w - xa < block ? w : xa + block;
            const int lo = first[xa], hi = first[xb - 1] + TAPS;
            const int a = lo > 0 ? lo : 0, e = hi < sw ? hi : sw;
            E* at[3];
            for (int c = 0; c < channels; ++c) at[c] = planes[c] + (a - lo);
            vertical<E, TAPS>(rows, wy, a, e - a, channels, at);
            for (int c = 0; c < channels; ++c) {
                for (int i = lo; i < a; ++i) planes[c][i - lo] = planes[c][a - lo];
                for (int i = e; i < hi; ++i) planes[c][i - lo] = planes[c][e - 1 - lo];
            }
            for (int x = xa; x < xb; x += L) {
                const int n = xb - x < L ? xb - x : L;
                const int base = first[x] - lo;
                const I rel = (simd::load_first<I>(first + x, n) - first[x]) & simd::first_lanes<I>(n);
                const bool window = first[x + n - 1] - first[x] < 2 * L;
                const M mask = simd::convert<element_t<M>>(rel);
                auto result = [&](const E* plane) {
                    const E* p = plane + base;
                    return b.finish(b.blend(x, n, [&](int k) {
                        return window ? simd::lookup2(simd::load_as<VE>(p + k), simd::load_as<VE>(p + k + L), mask)
                                      : simd::gather<VE>(p + k, rel);
                    }));
                };
                if (channels == 1) put(d + x, result(planes[0]), n);
                else put3(d + 3 * x, result(planes[0]), result(planes[1]), result(planes[2]), n);
            }
        }
    }
}

template <class T>
void linear(const T* src, int src_step, T* dst, int dst_step, const ResizeSpec* spec, int channels) {
    if constexpr (std::is_same_v<T, float>) {
        tiles(src, src_step, dst, dst_step, spec, channels, single_blend<float, 2>(spec));
    } else {
        // q <= 2D < 2^32, so Q < 2^64.
        const uint64_t whole = uint64_t(spec->x.denominator) * uint64_t(spec->y.denominator);
        if (whole < uint64_t(INT32_MAX) / uint64_t(max_value<T>() + 1))
            tiles(src, src_step, dst, dst_step, spec, channels, exact_blend<int32_t>(spec));
        else
            tiles(src, src_step, dst, dst_step, spec, channels, exact_blend<double>(spec));
    }
}

template <class T>
void lanczos(const T* src, int src_step, T* dst, int dst_step, const ResizeSpec* spec, int channels) {
    if constexpr (std::is_same_v<T, uint16_t>)
        tiles(src, src_step, dst, dst_step, spec, channels, double_blend(spec));
    else
        tiles(src, src_step, dst, dst_step, spec, channels, single_blend<T, 6>(spec));
}

template <class F>
constexpr int code_of() {
    return std::is_same_v<F, filter::nearest> ? resize_nearest : std::is_same_v<F, filter::linear> ? resize_linear
                                                                                                   : resize_lanczos;
}

}  // namespace

template <class T, class Filter>
int resize(const T* src, int src_step, T* dst, int dst_step, Offset offset, Size dst_size, int channels, int border,
           const void* spec_block, void* buffer) {
    if (const int st = check_call(src, dst, spec_block, offset, dst_size, code_of<Filter>())) return st;
    const auto* spec = static_cast<const ResizeSpec*>(spec_block);
    if constexpr (std::is_same_v<Filter, filter::nearest>) {
        (void)border;  // nearest needs neither the border nor a work buffer
        (void)buffer;
        if (channels != 1 && channels != 3) return st_bad_arg;
        return nearest(src, src_step, dst, dst_step, spec, channels);
    } else {
        if (!buffer) return st_null;
        if (border != border_replicate || (channels != 1 && channels != 3)) return st_bad_arg;
        if constexpr (std::is_same_v<Filter, filter::linear>) linear(src, src_step, dst, dst_step, spec, channels);
        else lanczos(src, src_step, dst, dst_step, spec, channels);
        return st_ok;
    }
}

#define LUM_RESIZE_FILTERS(T)                          \
    LUM_INSTANTIATE(resize, T, filter::nearest)        \
    LUM_INSTANTIATE(resize, T, filter::linear)         \
    LUM_INSTANTIATE(resize, T, filter::lanczos)
LUM_RESIZE_FILTERS(uint8_t)
LUM_RESIZE_FILTERS(uint16_t)
LUM_RESIZE_FILTERS(float)
#undef LUM_RESIZE_FILTERS

}  // namespace lum::prim::LUM_ISA
