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
#include <bit>
#include <new>

#include "primitives/kernel.hpp"
#include "primitives/resample.hpp"
#include "primitives/resize.hpp"

namespace lum::prim::LUM_ISA {

namespace {

using simd::element_t;
using resample::fetch;
using resample::int32_lanes;
using resample::narrowed;
using resample::put;
using resample::put3;

// Stack bytes of a tile's planes and of the blocks' prepared look-ups.
constexpr int kTileBytes = 16384;
constexpr int kCacheBytes = 24576;

int check_call(const void* src, void* dst, const void* spec, Offset offset, Size dst_size, int interpolation) {
    if (!src || !dst || !spec) return st_null;
    if (empty_region(dst_size)) return st_size;
    const auto* s = static_cast<const ResizeSpec*>(spec);
    if (s->magic != kResizeMagic || s->interpolation != interpolation) return st_bad_arg;
    if (offset.x != 0 || offset.y != 0 || dst_size.width != s->dst.width || dst_size.height != s->dst.height)
        return st_bad_arg;
    return st_ok;
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
            const M rel = int32_lanes<M>(xi + x, n, base);
            const V lo = window(base);
            const V hi = sw - base > L ? window(base + L) : V{};
            r = simd::lookup2(lo, hi, rel);
        } else {
            for (int j = 0; j < L; ++j) {
                E e = 0;
                if (j < n) std::memcpy(&e, s + xi[x + j], sizeof(T));  // the sample's bits, low bytes first
                r[j] = e;
            }
        }
        const auto out = narrowed<T>(r);
        for (int k = 0; k < rows; ++k) simd::store_first(row_at(d, dst_step, k) + x, out, n);
    }
}

// Three channels: the same look-ups on the planes of the source window
// (AVX-512; narrower levels copy pixel by pixel, below).
template <class T>
void nearest_row_c3(const T* __restrict s, T* __restrict d, int dst_step, int rows, const int32_t* xi, int w, int sw) {
    using E = std::conditional_t<sizeof(T) <= 2, uint16_t, uint32_t>;
    using V = simd::vec<E>;
    using M = simd::mask_of<V>;
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
        const auto out = narrowed<T>(v);
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
        const M mask = int32_lanes<M>(xi + x, n, base);
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

// Three channels, pixel by pixel (below AVX-512, where the look-ups above
// take a block of eight pixels apart and back at a cost far above a copy):
// each pixel's samples move as one word of the next power-of-two size whose
// spare bytes the next pixel overwrites; the last pixels, and those whose word
// would read past the source row, move exactly. The first row of a run is
// made, the others copied from it.
template <class T>
void nearest_pixels_c3(const T* __restrict s, T* __restrict d, int dst_step, int rows, const int32_t* xi, int w, int sw) {
    constexpr size_t pixel = 3 * sizeof(T);
    struct W {
        unsigned char bytes[std::bit_ceil(pixel)];
    };
    const auto* src = reinterpret_cast<const unsigned char*>(s);
    auto* out = reinterpret_cast<unsigned char*>(d);
    int x = 0;
    for (; x + 1 < w && xi[x] + 1 < sw; ++x) {
        W v;
        std::memcpy(&v, src + pixel * size_t(xi[x]), sizeof v);
        std::memcpy(out + pixel * size_t(x), &v, sizeof v);
    }
    for (; x < w; ++x) std::memcpy(out + pixel * size_t(x), src + pixel * size_t(xi[x]), pixel);
    for (int k = 1; k < rows; ++k) std::memcpy(row_at(d, dst_step, k), d, pixel * size_t(w));
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
        else if constexpr (simd::kBytes == 64) nearest_row_c3(s, d, dst_step, rows, xi, w, sw);
        else nearest_pixels_c3(s, d, dst_step, rows, xi, w, sw);
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
    // The weights of the n outputs from destination column x on, per tap.
    struct Weights {
        VE w[TAPS];
    };
    Weights weights(int x, int n) const {
        Weights r;
        for (int k = 0; k < TAPS; ++k) {
            const E* w = x_weight + k * spec->dst.width + x;
            r.w[k] = n >= simd::lanes<E> ? simd::load_as<VE>(w) : simd::load_first<VE>(w, n);
        }
        return r;
    }
    // The weighted sum of the taps t(k).
    template <class Tap>
    VE blend(const Weights& w, const Tap& t) const {
        VE acc{};
        for (int k = 0; k < TAPS; ++k) acc = acc + w.w[k] * t(k);
        return acc;
    }
};

// Single precision: samples rounded half to even and saturated (floats stored as summed).
template <class T, int TAPS>
struct single_blend : weighted<float, TAPS> {
    using E = float;
    static constexpr int taps = TAPS;
    using weighted<float, TAPS>::weighted;
    auto finish(simd::vec<float> v) const { return resample::samples_of<T>(v); }
};

// Lanczos on 16-bit samples in double precision.
struct double_blend : weighted<double, 6> {
    using E = double;
    static constexpr int taps = 6;
    using weighted<double, 6>::weighted;
    auto finish(simd::vec<double> v) const { return resample::samples_of<uint16_t>(v); }
};

// Linear on integer samples: (q − p) a + p b in each pass, summed exactly in
// lanes of E, then divided by Q = q_x q_y with rounding half to even. The
// narrowest lanes that hold the sums: 16-bit while they stay below 2^15 (8-bit
// samples on AVX2 and AVX-512: a word look-up is one permute on AVX-512 and a
// few byte shuffles on AVX2, for twice the lanes of floats), floats while
// below 2^24, int32 while below 2^31, doubles beyond, exact while Q < 2^36
// (destinations below 2^34 pixels): the sums stay below 2^53 and a quotient
// that is no tie lies at least 1 / 2Q from a half.
template <class Lane>
struct exact_blend {
    using E = Lane;
    using VE = simd::vec<E>;
    static constexpr int taps = 2;
    const ResizeSpec* spec;
    const uint32_t* x_numerator;
    const uint32_t* y_numerator;
    E qx, qy, whole;
    float inverse;        // 1 / Q, for the quotient's first guess
    uint16_t reciprocal;  // ceil(2^16 / Q), for the 16-bit first guess
    int shift;            // log2 Q when Q is a power of two above 1 (halving, doubling), else -1

    exact_blend(const ResizeSpec* s)
        : spec(s), x_numerator(resize_table<uint32_t>(s, s->x.numerator)),
          y_numerator(resize_table<uint32_t>(s, s->y.numerator)), qx(E(s->x.denominator)), qy(E(s->y.denominator)),
          whole(E(s->x.denominator * s->y.denominator)) {
        const int64_t q = s->x.denominator * s->y.denominator;
        inverse = 1.0f / float(q);
        reciprocal = uint16_t(q > 1 && q < 65536 ? (65536 + q - 1) / q : 0);
        shift = q > 1 && (q & (q - 1)) == 0 ? __builtin_ctzll(uint64_t(q)) : -1;
    }

    void row_weights(int y, E (&w)[2]) const {
        const E p = E(y_numerator[y]);
        w[0] = qy - p;
        w[1] = p;
    }
    struct Weights {
        VE w0, w1;
    };
    Weights weights(int x, int n) const {
        // Numerators below 2^31 here, except in double lanes, where they convert unsigned.
        const int32_t* p = reinterpret_cast<const int32_t*>(x_numerator + x);
        VE pe;
        if constexpr (std::is_same_v<E, double>) {
            using U = simd::lanes_of<uint32_t, E>;
            pe = __builtin_convertvector(n >= simd::lanes<E> ? simd::load_as<U>(p) : simd::load_first<U>(p, n), VE);
        } else {
            pe = int32_lanes<VE>(p, n);
        }
        return {qx - pe, pe};
    }
    template <class Tap>
    VE blend(const Weights& w, const Tap& t) const {
        return w.w0 * t(0) + w.w1 * t(1);
    }
    // The quotient's integer lanes: q from a first guess within one of it, the remainder r = v − qQ deciding.
    auto finish(VE v) const {
        if constexpr (std::is_integral_v<E>) {
            if (shift > 0) {  // Q = 2^s: add just under a half, and one more when the quotient is odd
                const E bias = E((E(1) << (shift - 1)) - 1);
                if constexpr (std::is_same_v<E, uint16_t>) return (v + bias + ((v >> shift) & 1)) >> shift;
                else return (simd::vec<int32_t>)((v + bias + ((v >> shift) & 1)) >> shift);
            }
        }
        if constexpr (std::is_same_v<E, double>) {
            return simd::round_even_wide(v / whole);
        } else if constexpr (std::is_same_v<E, uint16_t>) {
            using S = simd::vec<int16_t>;
            const int16_t divisor = int16_t(whole);
            S q = (S)simd::mulhi(v, VE{} + reciprocal);  // floor(v / Q) or one more
            S r = (S)(v - (VE)q * whole);
            const S over = r < 0;
            q = q + over;
            r = r + (over & divisor);
            const S r2 = r + r;
            const S up = (r2 > divisor) | ((r2 == divisor) & ((q & 1) != 0));
            return (VE)(q - up);
        } else {
            using I = simd::vec<int32_t, sizeof(VE)>;
            const I q = simd::round_even(simd::convert<float>(v) * inverse);
            const VE r = v - simd::convert<E>(q) * whole;
            const VE r2 = r + r;
            const I odd = (q & 1) != 0;
            const I up = (I)(r2 > whole) | ((I)(r2 == whole) & odd);
            const I down = (I)(r2 < -whole) | ((I)(r2 == -whole) & odd);
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

    // Every row has the same blocks of outputs: their look-up masks and
    // weights are made once when they fit in the cache below.
    using Weights = decltype(b.weights(0, 1));
    struct Prepared {
        M mask;
        Weights weights;
    };
    constexpr int kPrepared = kCacheBytes / int(sizeof(Prepared));
    alignas(64) unsigned char cache[kCacheBytes];
    auto* prepared = reinterpret_cast<Prepared*>(cache);
    int blocks = 0;
    for (int xa = 0; xa < w; xa += block) blocks += ((w - xa < block ? w - xa : block) + L - 1) / L;
    const bool reuse = blocks <= kPrepared;
    if (reuse) {
        int k = 0;
        for (int xa = 0; xa < w; xa += block) {
            const int xb = w - xa < block ? w : xa + block;
            for (int x = xa; x < xb; x += L, ++k) {
                const int n = xb - x < L ? xb - x : L;
                new (&prepared[k]) Prepared{int32_lanes<M>(first + x, n, first[x]), b.weights(x, n)};
            }
        }
    }

    for (int y = 0; y < ay.size; ++y) {
        const T* rows[TAPS];
        for (int k = 0; k < TAPS; ++k) {
            const int64_t r = int64_t(y_first[y]) + k;
            rows[k] = row_at(src, src_step, int(r < 0 ? 0 : r >= sh ? sh - 1 : r));
        }
        E wy[TAPS];
        b.row_weights(y, wy);
        T* d = row_at(dst, dst_step, y);
        int k = 0;
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
            for (int x = xa; x < xb; x += L, ++k) {
                const int n = xb - x < L ? xb - x : L;
                const int base = first[x] - lo;
                const Weights weights = reuse ? prepared[k].weights : b.weights(x, n);
                auto outputs = [&](const auto& tap) {
                    auto result = [&](const E* plane) {
                        return b.finish(b.blend(weights, [&](int k) { return tap(plane + base + k); }));
                    };
                    if (channels == 1) put(d + x, result(planes[0]), n);
                    else put3(d + 3 * x, result(planes[0]), result(planes[1]), result(planes[2]), n);
                };
                if (first[x + n - 1] - first[x] < 2 * L) {
                    const M mask = reuse ? prepared[k].mask : int32_lanes<M>(first + x, n, first[x]);
                    outputs([&](const E* p) { return simd::lookup2(simd::load_as<VE>(p), simd::load_as<VE>(p + L), mask); });
                } else {
                    alignas(64) int32_t rel[L];
                    for (int j = 0; j < L; ++j) rel[j] = j < n ? first[x + j] - first[x] : 0;
                    outputs([&](const E* p) {
                        if constexpr (sizeof(E) >= 4) return simd::gather<VE>(p, simd::load_as<I>(rel));
                        VE r;
                        for (int j = 0; j < L; ++j) r[j] = p[rel[j]];
                        return r;
                    });
                }
            }
        }
    }
}

// Exact halving of one-channel integer rows: each output is the sum of a 2 × 2
// block over 4, halves to even. A pair of neighbouring samples is one lane of
// twice the width, so the pair sums are a mask, a shift and an add.
template <class T>
void halve(const T* src, int src_step, T* dst, int dst_step, int w, int h) {
    using W = std::conditional_t<sizeof(T) == 1, uint16_t, uint32_t>;
    using VW = simd::vec<W>;
    using VT = simd::vec<T>;
    constexpr int L = simd::lanes<W>, bits = 8 * int(sizeof(T));
    constexpr W low = W((W(1) << bits) - 1);
    for (int y = 0; y < h; ++y) {
        const T* r0 = row_at(src, src_step, 2 * y);
        const T* r1 = row_at(src, src_step, 2 * y + 1);
        T* d = row_at(dst, dst_step, y);
        for (int x = 0; x < w; x += L) {
            const int m = w - x < L ? w - x : L;
            const VW a = (VW)(m == L ? simd::load(r0 + 2 * x) : simd::load_first<VT>(r0 + 2 * x, 2 * m));
            const VW b = (VW)(m == L ? simd::load(r1 + 2 * x) : simd::load_first<VT>(r1 + 2 * x, 2 * m));
            const VW sum = (a & low) + (a >> bits) + (b & low) + (b >> bits);
            const VW q = (sum + 1 + ((sum >> 2) & 1)) >> 2;
            if constexpr (sizeof(T) == 1) simd::store_first(d + x, simd::narrow_sat<T>(q), m);
            else simd::store_first(d + x, simd::narrow_sat<T>((simd::vec<int32_t>)q), m);
        }
    }
}

// Three channels: the row sums of a block of 2L pixels as three planes, each
// plane's neighbouring lanes added, the three results interleaved again.
template <class T>
void halve_c3(const T* src, int src_step, T* dst, int dst_step, int w, int h) {
    using E = std::conditional_t<sizeof(T) == 1, uint16_t, uint32_t>;
    using V = simd::vec<E>;
    using S = simd::lanes_of<T, E>;
    constexpr int L = simd::lanes<E>;
    constexpr auto lanes = std::make_index_sequence<L>();
    auto pairs = [&]<size_t... I>(V a, V b, std::index_sequence<I...>) {
        return __builtin_shufflevector(a, b, int(2 * I)...) + __builtin_shufflevector(a, b, int(2 * I + 1)...);
    };
    for (int y = 0; y < h; ++y) {
        const T* r0 = row_at(src, src_step, 2 * y);
        const T* r1 = row_at(src, src_step, 2 * y + 1);
        T* d = row_at(dst, dst_step, y);
        for (int x = 0; x < w; x += L) {
            const int m = w - x < L ? w - x : L;  // output pixels
            V sum[6];
            for (int k = 0; k < 6; ++k) {
                const int at = 6 * x + k * L, left = 6 * m - k * L;
                auto part = [&](const T* r) -> V {
                    const S raw = left >= L ? simd::load_as<S>(r + at) : left > 0 ? simd::load_first<S>(r + at, left) : S{};
                    return simd::widen<E>(raw);
                };
                sum[k] = part(r0) + part(r1);
            }
            V a[3], b[3], out[3], q[3];
            simd::deinterleave3(sum[0], sum[1], sum[2], a[0], a[1], a[2]);
            simd::deinterleave3(sum[3], sum[4], sum[5], b[0], b[1], b[2]);
            for (int c = 0; c < 3; ++c) {
                const V t = pairs(a[c], b[c], lanes);
                q[c] = (t + 1 + ((t >> 2) & 1)) >> 2;
            }
            simd::interleave3(q[0], q[1], q[2], out[0], out[1], out[2]);
            for (int k = 0; k < 3 && k * L < 3 * m; ++k) {
                const int n = 3 * m - k * L < L ? 3 * m - k * L : L;
                if constexpr (sizeof(T) == 1) simd::store_first(d + 3 * x + k * L, simd::narrow_sat<T>(out[k]), n);
                else simd::store_first(d + 3 * x + k * L, simd::narrow_sat<T>((simd::vec<int32_t>)out[k]), n);
            }
        }
    }
}

template <class T>
void linear(const T* src, int src_step, T* dst, int dst_step, const ResizeSpec* spec, int channels) {
    if constexpr (!std::is_same_v<T, float>) {
        if (spec->src.width == 2 * spec->dst.width && spec->src.height == 2 * spec->dst.height) {
            if (channels == 1) halve(src, src_step, dst, dst_step, spec->dst.width, spec->dst.height);
            else halve_c3(src, src_step, dst, dst_step, spec->dst.width, spec->dst.height);
            return;
        }
    }
    if constexpr (std::is_same_v<T, float>) {
        tiles(src, src_step, dst, dst_step, spec, channels, single_blend<float, 2>(spec));
    } else {
        // q <= 2D < 2^32, so Q < 2^64; the sums reach Q times the largest sample.
        const uint64_t whole = uint64_t(spec->x.denominator) * uint64_t(spec->y.denominator);
        const uint64_t top = uint64_t(max_value<T>());
        if (simd::kBytes >= 32 && sizeof(T) == 1 && whole > 1 && whole * top < 32768)
            tiles(src, src_step, dst, dst_step, spec, channels, exact_blend<uint16_t>(spec));
        else if (whole * top < (uint64_t(1) << 24))
            tiles(src, src_step, dst, dst_step, spec, channels, exact_blend<float>(spec));
        else if (whole < uint64_t(INT32_MAX) / (top + 1))
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
