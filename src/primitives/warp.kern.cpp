// Affine warp kernels. Each destination row is a straight line through the
// source, so the span of columns whose source point lies inside is found once
// per row; inside it samples are fetched without bounds checks, outside it the
// border value is written.

#include <cmath>

#include "primitives/kernel.hpp"
#include "primitives/warp.hpp"

namespace lum::prim::LUM_ISA {

namespace {

constexpr int kWarpMaxAxis = 1 << 30;

bool sizes_ok(Size src, Size dst) { return !empty_region(src) && !empty_region(dst); }

bool layout_ok(int data_type, int channels) {
    return (data_type == data_8u && (channels == 1 || channels == 3)) ||
           ((data_type == data_16u || data_type == data_32f) && channels == 1);
}

int check_setup(Size src, Size dst, int data_type, const double* m, int interpolation, int direction, int border) {
    if (!m) return st_null;
    if (!sizes_ok(src, dst)) return st_size;
    if (data_type != data_8u && data_type != data_16u && data_type != data_32f) return st_bad_arg;
    if (interpolation != warp_nearest && interpolation != warp_linear) return st_bad_arg;
    if (direction != warp_forward || border != border_constant) return st_bad_arg;
    const double det = m[0] * m[4] - m[1] * m[3];
    for (int i = 0; i < 6; ++i)
        if (!__builtin_isfinite(m[i])) return st_bad_arg;
    if (det == 0.0 || !__builtin_isfinite(det)) return st_bad_arg;
    return st_ok;
}

int init(Size src, Size dst, int data_type, const double* m, int direction, int channels, int border,
         const double* border_value, int smooth_edge, void* block, int interpolation) {
    if (const int st = check_setup(src, dst, data_type, m, interpolation, direction, border)) return st;
    if (!block || !border_value) return st_null;
    if (!layout_ok(data_type, channels) || smooth_edge != 0) return st_bad_arg;
    auto* spec = static_cast<WarpSpec*>(block);
    spec->magic = kWarpMagic;
    spec->interpolation = interpolation;
    spec->data_type = data_type;
    spec->channels = channels;
    spec->src = src;
    spec->dst = dst;
    const double det = m[0] * m[4] - m[1] * m[3];
    spec->inverse[0] = m[4] / det;
    spec->inverse[1] = -m[1] / det;
    spec->inverse[2] = (m[1] * m[5] - m[2] * m[4]) / det;
    spec->inverse[3] = -m[3] / det;
    spec->inverse[4] = m[0] / det;
    spec->inverse[5] = (m[2] * m[3] - m[0] * m[5]) / det;
    for (int c = 0; c < 3; ++c) spec->border[c] = c < channels ? border_value[c] : 0.0;
    return st_ok;
}

template <class T>
constexpr int data_type_of() {
    return sizeof(T) == 1 ? data_8u : sizeof(T) == 2 ? data_16u : data_32f;
}

template <class T>
inline T to_sample(float v) {
    if constexpr (sizeof(T) == 4)
        return v;
    else
        return static_cast<T>(saturate_round(v, sizeof(T) == 1 ? 255.0f : 65535.0f));
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
    for (int c = 0; c < CH; ++c) d[c] = f.border[c];
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
int nearest(const T* src, int src_step, T* dst, int dst_step, Offset offset, Size dst_size, const void* block,
            void* buffer) {
    if (const int st = check_run(src, dst, block, buffer, offset, dst_size, warp_nearest, data_type_of<T>(), CH))
        return st;
    const auto* spec = static_cast<const WarpSpec*>(block);
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
            const T* s = row_at(src, src_step, iy) + ix * CH;
            for (int c = 0; c < CH; ++c) d[x * CH + c] = s[c];
        }
        for (int x = hi + 1 > lo ? hi + 1 : lo; x < w; ++x) put_border(d + x * CH, f);
    }
    return st_ok;
}

// Per-row scratch of the linear warp's inner span, laid out in the work
// buffer after the two coordinate terms.
template <class T, int CH>
struct Lanes {
    int32_t* offset;  // byte offset of the top-left neighbour
    float* fx;
    float* fy;
    T* p[4];          // the four neighbours, per channel
};

constexpr int64_t lane_bytes(int64_t w) { return w * (16 + 4 + 4 + 4 + 4 * 3 * 4) + 6 * 64; }

template <class T, int CH>
Lanes<T, CH> lanes_in(void* buffer, int w) {
    auto at = reinterpret_cast<uintptr_t>(buffer) + uintptr_t(w) * 16;
    auto take = [&](int64_t bytes) {
        at = (at + 63) & ~uintptr_t(63);
        const uintptr_t p = at;
        at += uintptr_t(bytes);
        return p;
    };
    Lanes<T, CH> l;
    l.offset = reinterpret_cast<int32_t*>(take(int64_t(w) * 4));
    l.fx = reinterpret_cast<float*>(take(int64_t(w) * 4));
    l.fy = reinterpret_cast<float*>(take(int64_t(w) * 4));
    for (int k = 0; k < 4; ++k) l.p[k] = reinterpret_cast<T*>(take(int64_t(w) * CH * sizeof(T)));
    return l;
}

// The span where all four neighbours are inside, in three passes: positions
// and fractions (vector), the neighbour fetches (scalar, one load each), and
// the blend (vector) with the same single-precision terms as blend_edge.
template <class T, int CH>
void blend_span(const Frame<T, CH>& f, double bx, double by, int x0, int n, T* __restrict d, const Lanes<T, CH>& l) {
    const double* __restrict ax = f.ax + x0;
    const double* __restrict ay = f.ay + x0;
    int32_t* __restrict off = l.offset;
    float* __restrict fx = l.fx;
    float* __restrict fy = l.fy;
    const int step = f.src_step;
    for (int i = 0; i < n; ++i) {
        const double u = bx + ax[i], v = by + ay[i];
        const int ix = int(u), iy = int(v);
        fx[i] = float(u - ix);
        fy[i] = float(v - iy);
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
            p00[i * CH + c] = q0[0];
            p01[i * CH + c] = q0[CH];
            p10[i * CH + c] = q1[0];
            p11[i * CH + c] = q1[CH];
        }
    for (int i = 0; i < n; ++i)
        for (int c = 0; c < CH; ++c) {
            const float a = fx[i], b = fy[i];
            const float top = (1.0f - a) * float(p00[i * CH + c]) + a * float(p01[i * CH + c]);
            const float bottom = (1.0f - a) * float(p10[i * CH + c]) + a * float(p11[i * CH + c]);
            d[i * CH + c] = to_sample<T>((1.0f - b) * top + b * bottom);
        }
}

// Near the edge: neighbours outside the source contribute the border value.
template <class T, int CH>
inline void blend_edge(const Frame<T, CH>& f, double u, double v, T* d) {
    const int ix = int(u + 1.0) - 1, iy = int(v + 1.0) - 1;
    const float fx = float(u - ix), fy = float(v - iy);
    const bool x0in = ix >= 0, x1in = ix + 1 < f.sw, y0in = iy >= 0, y1in = iy + 1 < f.sh;
    const T* r0 = y0in ? row_at(f.src, f.src_step, iy) : nullptr;
    const T* r1 = y1in ? row_at(f.src, f.src_step, iy + 1) : nullptr;
    for (int c = 0; c < CH; ++c) {
        const float b = float(f.border[c]);
        const float p00 = r0 && x0in ? float(r0[ix * CH + c]) : b;
        const float p01 = r0 && x1in ? float(r0[(ix + 1) * CH + c]) : b;
        const float p10 = r1 && x0in ? float(r1[ix * CH + c]) : b;
        const float p11 = r1 && x1in ? float(r1[(ix + 1) * CH + c]) : b;
        const float top = (1.0f - fx) * p00 + fx * p01;
        const float bottom = (1.0f - fx) * p10 + fx * p11;
        d[c] = to_sample<T>((1.0f - fy) * top + fy * bottom);
    }
}

template <class T, int CH>
int linear(const T* src, int src_step, T* dst, int dst_step, Offset offset, Size dst_size, const void* block,
           void* buffer) {
    if (const int st = check_run(src, dst, block, buffer, offset, dst_size, warp_linear, data_type_of<T>(), CH))
        return st;
    const auto* spec = static_cast<const WarpSpec*>(block);
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
    return st_ok;
}

}  // namespace

int rotate_transform(double angle, double x_shift, double y_shift, double* coeffs) {
    if (!coeffs) return st_null;
    if (!__builtin_isfinite(angle)) return st_bad_arg;
    double a = angle - 360.0 * trunc(angle / 360.0);
    if (a < 0.0) a += 360.0;
    double c, s;
    if (a == 0.0) {
        c = 1.0, s = 0.0;
    } else if (a == 90.0) {
        c = 0.0, s = 1.0;
    } else if (a == 180.0) {
        c = -1.0, s = 0.0;
    } else if (a == 270.0) {
        c = 0.0, s = -1.0;
    } else {
        const double r = a * 3.141592653589793 / 180.0;
        c = cos(r);
        s = sin(r);
    }
    coeffs[0] = c;
    coeffs[1] = s;
    coeffs[2] = x_shift;
    coeffs[3] = -s;
    coeffs[4] = c;
    coeffs[5] = y_shift;
    return st_ok;
}

int warp_affine_get_size(Size src, Size dst, int data_type, const double* coeffs, int interpolation, int direction,
                         int border, int* spec_bytes, int* init_bytes) {
    if (!spec_bytes || !init_bytes) return st_null;
    if (const int st = check_setup(src, dst, data_type, coeffs, interpolation, direction, border)) return st;
    *spec_bytes = int((sizeof(WarpSpec) + 63) & ~size_t(63));
    *init_bytes = 0;
    return st_ok;
}

int warp_affine_nearest_init(Size src, Size dst, int data_type, const double* coeffs, int direction, int channels,
                             int border, const double* border_value, int smooth_edge, void* spec) {
    return init(src, dst, data_type, coeffs, direction, channels, border, border_value, smooth_edge, spec,
                warp_nearest);
}

int warp_affine_linear_init(Size src, Size dst, int data_type, const double* coeffs, int direction, int channels,
                            int border, const double* border_value, int smooth_edge, void* spec) {
    return init(src, dst, data_type, coeffs, direction, channels, border, border_value, smooth_edge, spec,
                warp_linear);
}

int warp_get_buffer_size(const void* block, Size dst, int* bytes) {
    if (!block || !bytes) return st_null;
    if (empty_region(dst)) return st_size;
    if (static_cast<const WarpSpec*>(block)->magic != kWarpMagic) return st_bad_arg;
    // Two per-column coordinate terms, then the linear warp's per-row lanes.
    const int64_t total = int64_t(dst.width) * 2 * int64_t(sizeof(double)) + 64 + lane_bytes(dst.width);
    if (total > 0x7FFFFFC0) return st_bad_arg;
    *bytes = int(total);
    return st_ok;
}

#define LUM_WARP_KERNELS(layout, T, CH)                                                                              \
    int warp_affine_nearest_##layout(const T* s, int ss, T* d, int ds, Offset o, Size z, const void* p, void* b) { \
        return nearest<T, CH>(s, ss, d, ds, o, z, p, b);                                                            \
    }                                                                                                               \
    int warp_affine_linear_##layout(const T* s, int ss, T* d, int ds, Offset o, Size z, const void* p, void* b) {  \
        return linear<T, CH>(s, ss, d, ds, o, z, p, b);                                                             \
    }

LUM_WARP_KERNELS(8u_c1, uint8_t, 1)
LUM_WARP_KERNELS(8u_c3, uint8_t, 3)
LUM_WARP_KERNELS(16u_c1, uint16_t, 1)
LUM_WARP_KERNELS(32f_c1, float, 1)

}  // namespace lum::prim::LUM_ISA
