// Affine warp loops. Each destination row is a straight line through the
// source, so the span of columns whose source point lies inside is found once
// per row; inside it samples are fetched without bounds checks, outside it the
// border value is written. Linear sampling blends the four neighbours with
// the fractions of the source point: in double precision for 16-bit samples
// (the result is the rounded exact blend), in single precision otherwise.
#include <cmath>

#include "primitives/kernel.hpp"
#include "primitives/warp.hpp"

namespace lum::prim::LUM_ISA {

namespace {

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
    if (offset.x != 0 || offset.y != 0 || dst_size.width != spec->dst.width || dst_size.height != spec->dst.height)
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

template <class T, int CH>
void nearest(const T* src, int src_step, T* dst, int dst_step, Size dst_size, const WarpSpec* spec, void* buffer) {
    const int w = dst_size.width;
    const Frame<T, CH> f = prepare<T, CH>(src, src_step, spec, buffer, w);
    const double* m = spec->inverse;
    const double sw = f.sw, sh = f.sh;
    for (int y = 0; y < dst_size.height; ++y) {
        T* d = row_at(dst, dst_step, y);
        // Shifted by half a pixel, so that truncation is the nearest index.
        const double bx = m[1] * y + m[2] + 0.5, by = m[4] * y + m[5] + 0.5;
        auto inside = [&](int x) {
            const double u = bx + f.ax[x], v = by + f.ay[x];
            return u >= 0.0 && u < sw && v >= 0.0 && v < sh;
        };
        int x0, x1, y0, y1;
        approximate_span(bx, m[0], 0.0, sw, w, x0, x1);
        approximate_span(by, m[3], 0.0, sh, w, y0, y1);
        int lo = x0 > y0 ? x0 : y0, hi = x1 < y1 ? x1 : y1;
        while (lo <= hi && !inside(lo)) ++lo;
        while (hi >= lo && !inside(hi)) --hi;
        for (int x = 0; x < lo; ++x) put_border(d + x * CH, f);
        for (int x = lo; x <= hi; ++x) {
            const int ix = int(bx + f.ax[x]), iy = int(by + f.ay[x]);
            std::memcpy(d + x * CH, row_at(src, src_step, iy) + ix * CH, CH * sizeof(T));
        }
        for (int x = hi + 1 > lo ? hi + 1 : lo; x < w; ++x) put_border(d + x * CH, f);
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

// The span where all four neighbours are inside, in three passes: positions
// and fractions (vector), the neighbour fetches (scalar, one load each), and
// the blend (vector) with the same terms as blend_edge.
template <class T, int CH>
void blend_span(const Frame<T, CH>& f, double bx, double by, int x0, int n, T* __restrict d, const Lanes<T, CH>& l) {
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
    const uint8_t* __restrict s = reinterpret_cast<const uint8_t*>(f.src);
    T* __restrict p00 = l.p[0];
    T* __restrict p01 = l.p[1];
    T* __restrict p10 = l.p[2];
    T* __restrict p11 = l.p[3];
    for (int i = 0; i < n; ++i)
        for (int c = 0; c < CH; ++c) {
            const T* q0 = reinterpret_cast<const T*>(s + off[i]) + c;
            const T* q1 = reinterpret_cast<const T*>(s + off[i] + step) + c;
            p00[i * CH + c] = load_one(q0);
            p01[i * CH + c] = load_one(q0 + CH);
            p10[i * CH + c] = load_one(q1);
            p11[i * CH + c] = load_one(q1 + CH);
        }
    for (int i = 0; i < n; ++i)
        for (int c = 0; c < CH; ++c) {
            const F a = fx[i], b = fy[i];
            const F top = (F(1) - a) * F(p00[i * CH + c]) + a * F(p01[i * CH + c]);
            const F bottom = (F(1) - a) * F(p10[i * CH + c]) + a * F(p11[i * CH + c]);
            store_one(d + i * CH + c, to_sample<T>((F(1) - b) * top + b * bottom));
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
void linear(const T* src, int src_step, T* dst, int dst_step, Size dst_size, const WarpSpec* spec, void* buffer) {
    const int w = dst_size.width;
    const Frame<T, CH> f = prepare<T, CH>(src, src_step, spec, buffer, w);
    const Lanes<T, CH> lanes = lanes_in<T, CH>(buffer, w);
    const double* m = spec->inverse;
    const double sw = f.sw, sh = f.sh;
    for (int y = 0; y < dst_size.height; ++y) {
        T* d = row_at(dst, dst_step, y);
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
        int x0, x1, y0, y1;
        approximate_span(bx, m[0], -1.0, sw, w, x0, x1);
        approximate_span(by, m[3], -1.0, sh, w, y0, y1);
        int lo = x0 > y0 ? x0 : y0, hi = x1 < y1 ? x1 : y1;
        while (lo <= hi && !touches(lo)) ++lo;
        while (hi >= lo && !touches(hi)) --hi;
        approximate_span(bx, m[0], 0.0, sw - 1.0, w, x0, x1);
        approximate_span(by, m[3], 0.0, sh - 1.0, w, y0, y1);
        int flo = x0 > y0 ? x0 : y0, fhi = x1 < y1 ? x1 : y1;
        flo = flo < lo ? lo : flo;
        fhi = fhi > hi ? hi : fhi;
        while (flo <= fhi && !full(flo)) ++flo;
        while (fhi >= flo && !full(fhi)) --fhi;
        if (flo > fhi) {  // no full span: the whole touched span is edge
            flo = hi + 1;
            fhi = hi;
        }
        for (int x = 0; x < lo; ++x) put_border(d + x * CH, f);
        for (int x = lo; x < flo; ++x) blend_edge(f, bx + f.ax[x], by + f.ay[x], d + x * CH);
        if (fhi >= flo) blend_span(f, bx, by, flo, fhi - flo + 1, d + flo * CH, lanes);
        for (int x = fhi + 1 > lo ? fhi + 1 : lo; x <= hi; ++x) blend_edge(f, bx + f.ax[x], by + f.ay[x], d + x * CH);
        for (int x = hi + 1 > lo ? hi + 1 : lo; x < w; ++x) put_border(d + x * CH, f);
    }
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
        if (channels == 1) nearest<T, 1>(src, src_step, dst, dst_step, dst_size, spec, buffer);
        else nearest<T, 3>(src, src_step, dst, dst_step, dst_size, spec, buffer);
    } else {
        if (channels == 1) linear<T, 1>(src, src_step, dst, dst_step, dst_size, spec, buffer);
        else linear<T, 3>(src, src_step, dst, dst_step, dst_size, spec, buffer);
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
