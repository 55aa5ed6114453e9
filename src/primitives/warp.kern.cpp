// Affine warp loops. Each destination row is a straight line through the
// source, so the span of columns whose source point lies inside is found once
// per row; inside it samples are fetched without bounds checks, outside it the
// border value is written. Linear sampling blends the four neighbours with
// the fractions of the source point: in double precision for 16-bit samples
// (the result is the rounded exact blend), in single precision otherwise.
#include <cmath>

#include "primitives/kernel.hpp"
#include "primitives/resample.hpp"
#include "primitives/warp.hpp"

namespace lum::prim::LUM_ISA {

namespace {

using resample::fetch;
using resample::put;
using resample::put3;
using resample::samples_of;

constexpr int kWarpMaxAxis = 1 << 30;

template <class T>
constexpr int data_type_of() {
    return sizeof(T) == 1 ? data_8u : sizeof(T) == 2 ? data_16u : data_32f;
}

// The blend's precision: doubles where floats cannot hold a 16-bit blend exactly enough.
template <class T>
using blend_t = std::conditional_t<std::is_same_v<T, uint16_t>, double, float>;

// A blended value as a sample: rounded half to even and saturated for integers.
template <class T, class F>
inline T to_sample(F v) {
    if constexpr (std::is_same_v<T, float>) {
        return v;
    } else if constexpr (std::is_same_v<F, float>) {
        return static_cast<T>(saturate_round(v, float(max_value<T>())));
    } else {
        const F top = F(max_value<T>());
        v = v > 0 ? v : 0;  // NaN gives 0
        v = v < top ? v : top;
        return static_cast<T>((v + 6755399441055744.0) - 6755399441055744.0);
    }
}

// Columns x in [0, w) where lo <= b + a * x < hi, widened by one column on each
// side against rounding; the caller trims the ends with the exact test.
void approximate_span(double b, double a, double lo, double hi, int w, int& x0, int& x1) {
    if (a == 0.0) {
        if (b >= lo && b < hi) {
            x0 = 0;
            x1 = w - 1;
        } else {
            x0 = 0;
            x1 = -1;
        }
        return;
    }
    double p = (lo - b) / a, q = (hi - b) / a;
    if (p > q) {
        const double t = p;
        p = q;
        q = t;
    }
    p = p < -1.0 ? -1.0 : p > double(kWarpMaxAxis) ? double(kWarpMaxAxis) : p;
    q = q < -1.0 ? -1.0 : q > double(kWarpMaxAxis) ? double(kWarpMaxAxis) : q;
    const int a0 = int(p) - 2, a1 = int(q) + 2;
    // Both ends stay within [0, w]: a span that starts past the last column is empty, and
    // the border fill before it must not run past the row.
    x0 = a0 < 0 ? 0 : a0 > w ? w : a0;
    x1 = a1 > w - 1 ? w - 1 : a1;
}

template <class T, int CH>
struct Frame {
    const T* src;
    int src_step;
    int sw, sh;
    const double* ax;  // inverse[0] * x per destination column
    const double* ay;  // inverse[3] * x
    T border[CH];
};

template <class T, int CH>
inline void put_border(T* d, const Frame<T, CH>& f) {
    std::memcpy(d, f.border, sizeof f.border);
}

int check_run(const void* src, void* dst, const void* block, void* buffer, Offset offset, Size dst_size,
              int interpolation, int data_type, int channels) {
    if (!src || !dst || !block || !buffer) return st_null;
    if (empty_region(dst_size)) return st_size;
    const auto* spec = static_cast<const WarpSpec*>(block);
    if (spec->magic != kWarpMagic || spec->interpolation != interpolation || spec->data_type != data_type ||
        spec->channels != channels)
        return st_bad_arg;
    // A band of whole rows of the set-up's destination, from row offset.y on.
    if (offset.x != 0 || offset.y < 0 || dst_size.width != spec->dst.width ||
        int64_t(offset.y) + dst_size.height > spec->dst.height)
        return st_bad_arg;
    return st_ok;
}

template <class T, int CH>
Frame<T, CH> prepare(const T* src, int src_step, const WarpSpec* spec, void* buffer, int w) {
    Frame<T, CH> f{src, src_step, spec->src.width, spec->src.height, nullptr, nullptr, {}};
    auto* ax = static_cast<double*>(buffer);
    auto* ay = ax + w;
    for (int x = 0; x < w; ++x) {
        ax[x] = spec->inverse[0] * double(x);
        ay[x] = spec->inverse[3] * double(x);
    }
    f.ax = ax;
    f.ay = ay;
    for (int c = 0; c < CH; ++c) f.border[c] = to_sample<T>(float(spec->border[c]));
    return f;
}

// Destination rows are taken in bands of kBand rows and each band in chunks of
// kChunk columns: the source pixels a chunk of a band reads lie close together
// (a turned rectangle), so they stay in the first-level cache, where whole
// rows of a turned image would sweep it.
constexpr int kBand = 32;
constexpr int kChunk = 256;

// Where a row's segments begin and end: border before lo and after hi; for the
// linear warp edge pixels in [lo, flo) and (fhi, hi], full ones in [flo, fhi].
struct RowSpan {
    double bx, by;
    int lo, hi, flo, fhi;
};

// [a, b] ∩ [c0, c1), as a start and a count.
inline bool clip(int a, int b, int c0, int c1, int& from, int& n) {
    from = a > c0 ? a : c0;
    const int to = b + 1 < c1 ? b + 1 : c1;
    n = to - from;
    return n > 0;
}

// Every destination row of the h × w destination, band by band and chunk by
// chunk: span_of(y) gives row y's segments, once per row; chunk(span, y, c0,
// c1) writes columns [c0, c1) of row y.
template <class SpanOf, class Chunk>
void in_bands(int h, int w, const SpanOf& span_of, const Chunk& chunk) {
    RowSpan spans[kBand];
    for (int y0 = 0; y0 < h; y0 += kBand) {
        const int rows = h - y0 < kBand ? h - y0 : kBand;
        for (int r = 0; r < rows; ++r) spans[r] = span_of(y0 + r);
        for (int c0 = 0; c0 < w; c0 += kChunk) {
            const int c1 = w - c0 < kChunk ? w : c0 + kChunk;
            for (int r = 0; r < rows; ++r) chunk(spans[r], y0 + r, c0, c1);
        }
    }
}

// Columns [c0, c1) of a destination row: the border value outside the row's
// span [lo, hi], inside(from, n) for the part of the span in the chunk.
template <class T, int CH, class Inside>
void chunk_of_row(const Frame<T, CH>& f, T* d, const RowSpan& sp, int w, int c0, int c1, const Inside& inside) {
    int from, n;
    if (clip(0, sp.lo - 1, c0, c1, from, n))
        for (int x = from; x < from + n; ++x) put_border(d + x * CH, f);
    if (clip(sp.lo, sp.hi, c0, c1, from, n)) inside(from, n);
    if (clip(sp.hi + 1 > sp.lo ? sp.hi + 1 : sp.lo, w - 1, c0, c1, from, n))
        for (int x = from; x < from + n; ++x) put_border(d + x * CH, f);
}

template <class T, int CH>
void nearest(const T* src, int src_step, T* dst, int dst_step, int top, Size dst_size, const WarpSpec* spec,
             void* buffer) {
    const int w = dst_size.width;
    const Frame<T, CH> f = prepare<T, CH>(src, src_step, spec, buffer, w);
    const double* m = spec->inverse;
    const double sw = f.sw, sh = f.sh;
    RowSpan spans[kBand];
    for (int y0 = 0; y0 < dst_size.height; y0 += kBand) {
        const int rows = dst_size.height - y0 < kBand ? dst_size.height - y0 : kBand;
        for (int r = 0; r < rows; ++r) {
            const int y = top + y0 + r;
            // Shifted by half a pixel, so that truncation is the nearest index.
            const double bx = m[1] * y + m[2] + 0.5, by = m[4] * y + m[5] + 0.5;
            auto inside = [&](int x) {
                const double u = bx + f.ax[x], v = by + f.ay[x];
                return u >= 0.0 && u < sw && v >= 0.0 && v < sh;
            };
            int x0, x1, v0, v1;
            approximate_span(bx, m[0], 0.0, sw, w, x0, x1);
            approximate_span(by, m[3], 0.0, sh, w, v0, v1);
            int lo = x0 > v0 ? x0 : v0, hi = x1 < v1 ? x1 : v1;
            while (lo <= hi && !inside(lo)) ++lo;
            while (hi >= lo && !inside(hi)) --hi;
            spans[r] = {bx, by, lo, hi, 0, -1};
        }
        for (int c0 = 0; c0 < w; c0 += kChunk) {
            const int c1 = w - c0 < kChunk ? w : c0 + kChunk;
            for (int r = 0; r < rows; ++r) {
                const RowSpan& sp = spans[r];
                T* d = row_at(dst, dst_step, y0 + r);
                int from, n;
                if (clip(0, sp.lo - 1, c0, c1, from, n))
                    for (int x = from; x < from + n; ++x) put_border(d + x * CH, f);
                if (clip(sp.lo, sp.hi, c0, c1, from, n))
                    for (int x = from; x < from + n; ++x) {
                        const int ix = int(sp.bx + f.ax[x]), iy = int(sp.by + f.ay[x]);
                        std::memcpy(d + x * CH, row_at(src, src_step, iy) + ix * CH, CH * sizeof(T));
                    }
                if (clip(sp.hi + 1 > sp.lo ? sp.hi + 1 : sp.lo, w - 1, c0, c1, from, n))
                    for (int x = from; x < from + n; ++x) put_border(d + x * CH, f);
            }
        }
    }
}

// Per-row scratch of the linear warp's inner span, laid out in the work
// buffer after the two coordinate terms (within warp_lane_bytes).
template <class T, int CH>
struct Lanes {
    using F = blend_t<T>;
    int32_t* offset;  // byte offset of the top-left neighbour
    F* fx;
    F* fy;
    T* p[4];          // the four neighbours, per channel
};

template <class T, int CH>
Lanes<T, CH> lanes_in(void* buffer, int w) {
    using F = blend_t<T>;
    auto at = reinterpret_cast<uintptr_t>(buffer) + uintptr_t(w) * 16;
    auto take = [&](int64_t bytes) {
        at = (at + 63) & ~uintptr_t(63);
        const uintptr_t p = at;
        at += uintptr_t(bytes);
        return p;
    };
    Lanes<T, CH> l;
    l.offset = reinterpret_cast<int32_t*>(take(int64_t(w) * 4));
    l.fx = reinterpret_cast<F*>(take(int64_t(w) * int64_t(sizeof(F))));
    l.fy = reinterpret_cast<F*>(take(int64_t(w) * int64_t(sizeof(F))));
    for (int k = 0; k < 4; ++k) l.p[k] = reinterpret_cast<T*>(take(int64_t(w) * CH * int64_t(sizeof(T))));
    return l;
}

// The span where all four neighbours are inside, for layouts without a gather
// of their own: positions and fractions, the neighbour fetches (one load
// each) into channel planes, and the blend (vector) with the same terms as
// blend_edge.
template <class T, int CH>
void blend_span_planes(const Frame<T, CH>& f, double bx, double by, int x0, int n, T* __restrict d, const Lanes<T, CH>& l) {
    using F = blend_t<T>;
    const double* __restrict ax = f.ax + x0;
    const double* __restrict ay = f.ay + x0;
    int32_t* __restrict off = l.offset;
    F* __restrict fx = l.fx;
    F* __restrict fy = l.fy;
    const int step = f.src_step;
    for (int i = 0; i < n; ++i) {
        const double u = bx + ax[i], v = by + ay[i];
        const int ix = int(u), iy = int(v);
        fx[i] = F(u - ix);
        fy[i] = F(v - iy);
        off[i] = iy * step + ix * int(CH * sizeof(T));
    }
    // Neighbours per channel plane: plane c of neighbour k holds n samples from l.p[k] + c * n.
    const uint8_t* __restrict s = reinterpret_cast<const uint8_t*>(f.src);
    T* __restrict p00 = l.p[0];
    T* __restrict p01 = l.p[1];
    T* __restrict p10 = l.p[2];
    T* __restrict p11 = l.p[3];
    for (int i = 0; i < n; ++i)
        for (int c = 0; c < CH; ++c) {
            const T* q0 = reinterpret_cast<const T*>(s + off[i]) + c;
            const T* q1 = reinterpret_cast<const T*>(s + off[i] + step) + c;
            p00[c * n + i] = load_one(q0);
            p01[c * n + i] = load_one(q0 + CH);
            p10[c * n + i] = load_one(q1);
            p11[c * n + i] = load_one(q1 + CH);
        }
    using VF = simd::vec<F>;
    constexpr int L = simd::lanes<F>;
    for (int i = 0; i < n; i += L) {
        const int m = n - i < L ? n - i : L;
        const VF a = simd::load_first<VF>(fx + i, m), b = simd::load_first<VF>(fy + i, m);
        auto channel = [&](int c) {
            const int at = c * n + i;
            const VF top = (F(1) - a) * fetch<F>(p00 + at, m) + a * fetch<F>(p01 + at, m);
            const VF bottom = (F(1) - a) * fetch<F>(p10 + at, m) + a * fetch<F>(p11 + at, m);
            return samples_of<T>((F(1) - b) * top + b * bottom);
        };
        if constexpr (CH == 1) put(d + i, channel(0), m);
        else put3(d + i * CH, channel(0), channel(1), channel(2), m);
    }
}

// The span where all four neighbours are inside, one vector of pixels at a
// time: positions and fractions from the column terms in double precision,
// the neighbours gathered as 32-bit words (both neighbours of a row in one
// word for 8- and 16-bit samples; for three 8-bit channels a word at each
// neighbour's first sample, and one ending at the second's last), and the
// blend with the same terms as blend_edge.
template <class T, int CH>
void blend_span(const Frame<T, CH>& f, double bx, double by, int x0, int n, T* __restrict d, const Lanes<T, CH>& l) {
    using F = blend_t<T>;
    if constexpr (CH != 1 && sizeof(T) != 1) {
        blend_span_planes(f, bx, by, x0, n, d, l);
    } else {
        using VF = simd::vec<F>;
        using I = simd::lanes_of<int32_t, F>;
        using U = simd::lanes_of<uint32_t, F>;
        using VD = simd::vec<double>;
        using ID = simd::lanes_of<int32_t, double>;
        using FD = simd::lanes_of<F, double>;
        constexpr int L = simd::lanes<F>, LD = simd::lanes<double>;
        constexpr int pixel = CH * int(sizeof(T));
        const int step = f.src_step;
        const auto* s = reinterpret_cast<const uint8_t*>(f.src);
        // Bytes a word may reach: up to the last sample of the source region.
        const int64_t limit = int64_t(f.sh - 1) * step + int64_t(f.sw) * pixel;
        for (int i = 0; i < n; i += L) {
            const int m = n - i < L ? n - i : L;
            // Positions: ix, iy truncated (the span is inside), fractions u - ix and v - iy.
            ID ixh[L / LD], iyh[L / LD];
            FD fxh[L / LD], fyh[L / LD];
            for (int h = 0; h < L / LD; ++h) {
                const int at = x0 + i + h * LD, left = m - h * LD;
                auto column = [&](const double* t) {
                    return left >= LD ? simd::load(t + at) : left > 0 ? simd::load_first<VD>(t + at, left) : VD{};
                };
                const VD u = bx + column(f.ax), v = by + column(f.ay);
                ixh[h] = __builtin_convertvector(u, ID);
                iyh[h] = __builtin_convertvector(v, ID);
                fxh[h] = __builtin_convertvector(u - __builtin_convertvector(ixh[h], VD), FD);
                fyh[h] = __builtin_convertvector(v - __builtin_convertvector(iyh[h], VD), FD);
            }
            I ix, iy;
            VF fx, fy;
            if constexpr (L == LD) {
                ix = ixh[0], iy = iyh[0], fx = fxh[0], fy = fyh[0];
            } else {
                ix = simd::join(ixh[0], ixh[1]), iy = simd::join(iyh[0], iyh[1]);
                fx = simd::join(fxh[0], fxh[1]), fy = simd::join(fyh[0], fyh[1]);
            }
            I off = iy * step + ix * pixel;
            // Lanes past the span fetch the first pixel's neighbours.
            const I valid = simd::first_lanes<I>(m);
            off = (off & valid) | (~valid & off[0]);
            auto word = [&](int delta) { return simd::gather_bytes<U>(s + delta, off); };
            auto sample = [](U w, int shift) {
                const U bits = sizeof(T) == 4 ? w : (w >> shift) & uint32_t(max_value<T>());
                if constexpr (std::is_same_v<T, float>) return (VF)bits;
                else if constexpr (std::is_same_v<F, float>) return __builtin_convertvector((I)bits, VF);
                else return __builtin_convertvector((I)bits, VF);
            };
            auto blend = [&](VF p00, VF p01, VF p10, VF p11) {
                const VF top = (F(1) - fx) * p00 + fx * p01;
                const VF bottom = (F(1) - fx) * p10 + fx * p11;
                return samples_of<T>((F(1) - fy) * top + fy * bottom);
            };
            if constexpr (CH == 1 && sizeof(T) == 4) {
                put(d + i, blend(sample(word(0), 0), sample(word(4), 0), sample(word(step), 0),
                                 sample(word(step + 4), 0)),
                    m);
            } else if constexpr (CH == 1) {
                U w0, w1;
                bool whole = true;  // a word reaching past the region's last sample is read in pieces
                if constexpr (sizeof(T) == 1) {
                    const I far = off + (step + 4);
                    for (int j = 0; j < L; ++j) whole = whole && far[j] <= limit;
                }
                if (whole) {
                    w0 = word(0);
                    w1 = word(step);
                } else {
                    for (int j = 0; j < L; ++j) {
                        const uint8_t* q = s + off[j];
                        w0[j] = uint32_t(q[0]) | uint32_t(q[1]) << 8;
                        w1[j] = uint32_t(q[step]) | uint32_t(q[step + 1]) << 8;
                    }
                }
                constexpr int bits = 8 * int(sizeof(T));
                put(d + i, blend(sample(w0, 0), sample(w0, bits), sample(w1, 0), sample(w1, bits)), m);
            } else {
                const U a0 = word(0), a1 = word(2), b0 = word(step), b1 = word(step + 2);
                auto channel = [&](int c) {
                    return blend(sample(a0, 8 * c), sample(a1, 8 * c + 8), sample(b0, 8 * c), sample(b1, 8 * c + 8));
                };
                put3(d + i * CH, channel(0), channel(1), channel(2), m);
            }
        }
    }
}

// Near the edge: neighbours outside the source contribute the border value.
template <class T, int CH>
inline void blend_edge(const Frame<T, CH>& f, double u, double v, T* d) {
    using F = blend_t<T>;
    const int ix = int(u + 1.0) - 1, iy = int(v + 1.0) - 1;
    const F fx = F(u - ix), fy = F(v - iy);
    const bool x0in = ix >= 0, x1in = ix + 1 < f.sw, y0in = iy >= 0, y1in = iy + 1 < f.sh;
    const T* r0 = y0in ? row_at(f.src, f.src_step, iy) : nullptr;
    const T* r1 = y1in ? row_at(f.src, f.src_step, iy + 1) : nullptr;
    for (int c = 0; c < CH; ++c) {
        const F b = F(f.border[c]);
        const F p00 = r0 && x0in ? F(load_one(r0 + ix * CH + c)) : b;
        const F p01 = r0 && x1in ? F(load_one(r0 + (ix + 1) * CH + c)) : b;
        const F p10 = r1 && x0in ? F(load_one(r1 + ix * CH + c)) : b;
        const F p11 = r1 && x1in ? F(load_one(r1 + (ix + 1) * CH + c)) : b;
        const F top = (F(1) - fx) * p00 + fx * p01;
        const F bottom = (F(1) - fx) * p10 + fx * p11;
        store_one(d + c, to_sample<T>((F(1) - fy) * top + fy * bottom));
    }
}

template <class T, int CH>
void linear(const T* src, int src_step, T* dst, int dst_step, int top, Size dst_size, const WarpSpec* spec,
            void* buffer) {
    const int w = dst_size.width;
    const Frame<T, CH> f = prepare<T, CH>(src, src_step, spec, buffer, w);
    const Lanes<T, CH> lanes = lanes_in<T, CH>(buffer, w);
    const double* m = spec->inverse;
    const double sw = f.sw, sh = f.sh;
    auto span_of = [&](int row) {
        const int y = top + row;
        const double bx = m[1] * y + m[2], by = m[4] * y + m[5];
        // Some neighbour inside: -1 <= u < sw. All four inside: 0 <= u < sw - 1.
        auto touches = [&](int x) {
            const double u = bx + f.ax[x], v = by + f.ay[x];
            return u >= -1.0 && u < sw && v >= -1.0 && v < sh;
        };
        auto full = [&](int x) {
            const double u = bx + f.ax[x], v = by + f.ay[x];
            return u >= 0.0 && u < sw - 1.0 && v >= 0.0 && v < sh - 1.0;
        };
        int x0, x1, v0, v1;
        approximate_span(bx, m[0], -1.0, sw, w, x0, x1);
        approximate_span(by, m[3], -1.0, sh, w, v0, v1);
        int lo = x0 > v0 ? x0 : v0, hi = x1 < v1 ? x1 : v1;
        while (lo <= hi && !touches(lo)) ++lo;
        while (hi >= lo && !touches(hi)) --hi;
        approximate_span(bx, m[0], 0.0, sw - 1.0, w, x0, x1);
        approximate_span(by, m[3], 0.0, sh - 1.0, w, v0, v1);
        int flo = x0 > v0 ? x0 : v0, fhi = x1 < v1 ? x1 : v1;
        flo = flo < lo ? lo : flo;
        fhi = fhi > hi ? hi : fhi;
        while (flo <= fhi && !full(flo)) ++flo;
        while (fhi >= flo && !full(fhi)) --fhi;
        if (flo > fhi) {  // no full span: the whole touched span is edge
            flo = hi + 1;
            fhi = hi;
        }
        return RowSpan{bx, by, lo, hi, flo, fhi};
    };
    in_bands(dst_size.height, w, span_of, [&](const RowSpan& sp, int row, int c0, int c1) {
        T* d = row_at(dst, dst_step, row);
        chunk_of_row(f, d, sp, w, c0, c1, [&](int a, int k) {
            // Edge pixels in [lo, flo) and (fhi, hi], full ones in [flo, fhi].
            int from, n;
            if (clip(sp.lo, sp.flo - 1, a, a + k, from, n))
                for (int x = from; x < from + n; ++x) blend_edge(f, sp.bx + f.ax[x], sp.by + f.ay[x], d + x * CH);
            if (clip(sp.flo, sp.fhi, a, a + k, from, n)) blend_span(f, sp.bx, sp.by, from, n, d + from * CH, lanes);
            if (clip(sp.fhi + 1 > sp.lo ? sp.fhi + 1 : sp.lo, sp.hi, a, a + k, from, n))
                for (int x = from; x < from + n; ++x) blend_edge(f, sp.bx + f.ax[x], sp.by + f.ay[x], d + x * CH);
        });
    });
}

template <class F>
constexpr int code_of() {
    return std::is_same_v<F, filter::nearest> ? warp_nearest : warp_linear;
}

}  // namespace

template <class T, class Filter>
int warp_affine(const T* src, int src_step, T* dst, int dst_step, Offset offset, Size dst_size, int channels,
                const void* block, void* buffer) {
    if (const int st = check_run(src, dst, block, buffer, offset, dst_size, code_of<Filter>(), data_type_of<T>(),
                                 channels))
        return st;
    const auto* spec = static_cast<const WarpSpec*>(block);
    if (channels != 1 && channels != 3) return st_bad_arg;
    if constexpr (std::is_same_v<Filter, filter::nearest>) {
        if (channels == 1) nearest<T, 1>(src, src_step, dst, dst_step, offset.y, dst_size, spec, buffer);
        else nearest<T, 3>(src, src_step, dst, dst_step, offset.y, dst_size, spec, buffer);
    } else {
        if (channels == 1) linear<T, 1>(src, src_step, dst, dst_step, offset.y, dst_size, spec, buffer);
        else linear<T, 3>(src, src_step, dst, dst_step, offset.y, dst_size, spec, buffer);
    }
    return st_ok;
}

LUM_INSTANTIATE(warp_affine, uint8_t, filter::nearest)
LUM_INSTANTIATE(warp_affine, uint8_t, filter::linear)
LUM_INSTANTIATE(warp_affine, uint16_t, filter::nearest)
LUM_INSTANTIATE(warp_affine, uint16_t, filter::linear)
LUM_INSTANTIATE(warp_affine, float, filter::nearest)
LUM_INSTANTIATE(warp_affine, float, filter::linear)

}  // namespace lum::prim::LUM_ISA
