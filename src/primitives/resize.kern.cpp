// Resize kernels. The set-up turns the two sizes into per-column and per-row
// tables of clamped source indices and weights; the kernels then filter each
// needed source row horizontally once (kept in a small ring of float rows in
// the work buffer) and blend the ring vertically into each destination row.

#include <cmath>

#include "primitives/kernel.hpp"
#include "primitives/resize.hpp"

#define LUM_CHECK_KERNEL(expr)          \
    do {                                \
        if (const int st_ = (expr); st_) \
            return st_;                 \
    } while (0)

namespace lum::prim::LUM_ISA {

namespace {

int taps_for(int interpolation) {
    return interpolation == resize_nearest ? 1 : interpolation == resize_lanczos ? 6 : 2;
}

int64_t spec_bytes_for(Size src, Size dst, int taps) {
    (void)src;
    return align64(sizeof(ResizeSpec)) + 2 * align64(int64_t(dst.width) * taps * 4) +
           2 * align64(int64_t(dst.height) * taps * 4);
}

ResizeSpec* lay_out(void* block, Size src, Size dst, int interpolation) {
    auto* spec = static_cast<ResizeSpec*>(block);
    const int taps = taps_for(interpolation);
    spec->magic = kResizeMagic;
    spec->interpolation = interpolation;
    spec->src = src;
    spec->dst = dst;
    spec->taps_x = spec->taps_y = taps;
    int64_t at = align64(sizeof(ResizeSpec));
    spec->x_index = int32_t(at);
    at += align64(int64_t(dst.width) * taps * 4);
    spec->x_weight = int32_t(at);
    at += align64(int64_t(dst.width) * taps * 4);
    spec->y_index = int32_t(at);
    at += align64(int64_t(dst.height) * taps * 4);
    spec->y_weight = int32_t(at);
    return spec;
}

template <class T>
T* table(const ResizeSpec* spec, int32_t offset) {
    return reinterpret_cast<T*>(reinterpret_cast<uintptr_t>(spec) + offset);
}

inline int32_t clamp_index(int64_t i, int n) { return int32_t(i < 0 ? 0 : i >= n ? n - 1 : i); }

bool sizes_ok(Size src, Size dst) { return !empty_region(src) && !empty_region(dst); }

void nearest_axis(int s, int d, int32_t* index, float* weight) {
    for (int i = 0; i < d; ++i) {
        index[i] = clamp_index((2 * int64_t(i) + 1) * s / (2 * int64_t(d)), s);
        weight[i] = 1.0f;
    }
}

inline double centre(int i, int s, int d) { return (i + 0.5) * double(s) / double(d) - 0.5; }

void linear_axis(int s, int d, int32_t* index, float* weight) {
    for (int i = 0; i < d; ++i) {
        const double c = centre(i, s, d);
        const double f0 = floor(c);
        const double f = c - f0;
        const int64_t x0 = int64_t(f0);
        index[2 * i] = clamp_index(x0, s);
        index[2 * i + 1] = clamp_index(x0 + 1, s);
        weight[2 * i] = float(1.0 - f);
        weight[2 * i + 1] = float(f);
    }
}

double lanczos3(double t) {
    const double pi = 3.141592653589793;
    if (t == 0.0) return 1.0;
    if (t <= -3.0 || t >= 3.0) return 0.0;
    const double a = pi * t, b = pi * t / 3.0;
    return (sin(a) / a) * (sin(b) / b);
}

// Raw weights go through `scratch` (6 doubles) before normalisation to a sum of 1.
void lanczos_axis(int s, int d, int32_t* index, float* weight, double* scratch) {
    for (int i = 0; i < d; ++i) {
        const double c = centre(i, s, d);
        const double f0 = floor(c);
        const int64_t x0 = int64_t(f0);
        double sum = 0.0;
        for (int k = 0; k < 6; ++k) {
            scratch[k] = lanczos3(c - double(x0 - 2 + k));
            sum += scratch[k];
        }
        for (int k = 0; k < 6; ++k) {
            index[6 * i + k] = clamp_index(x0 - 2 + k, s);
            weight[6 * i + k] = float(scratch[k] / sum);
        }
    }
}

// ---- kernels ----------------------------------------------------------------

int check_call(const void* src, void* dst, const void* spec, Offset offset, Size dst_size, int interpolation) {
    if (!src || !dst || !spec) return st_null;
    if (empty_region(dst_size)) return st_size;
    const auto* s = static_cast<const ResizeSpec*>(spec);
    if (s->magic != kResizeMagic || s->interpolation != interpolation) return st_bad_arg;
    if (offset.x != 0 || offset.y != 0 || dst_size.width != s->dst.width || dst_size.height != s->dst.height)
        return st_bad_arg;
    return st_ok;
}

template <class T, int CH>
int nearest(const T* src, int src_step, T* dst, int dst_step, Offset offset, Size dst_size, const void* spec_block,
            void* buffer) {
    LUM_CHECK_KERNEL(check_call(src, dst, spec_block, offset, dst_size, resize_nearest));
    (void)buffer;  // nearest needs no work buffer
    const auto* spec = static_cast<const ResizeSpec*>(spec_block);
    const int32_t* xi = table<const int32_t>(spec, spec->x_index);
    const int32_t* yi = table<const int32_t>(spec, spec->y_index);
    const int w = dst_size.width;
    for (int y = 0; y < dst_size.height; ++y) {
        T* __restrict d = row_at(dst, dst_step, y);
        if (y > 0 && yi[y] == yi[y - 1]) {
            const T* __restrict prev = row_at(static_cast<const T*>(dst), dst_step, y - 1);
            for (int i = 0; i < w * CH; ++i) d[i] = prev[i];
            continue;
        }
        const T* __restrict s = row_at(src, src_step, yi[y]);
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < CH; ++c) d[x * CH + c] = s[xi[x] * CH + c];
    }
    return st_ok;
}

// Vertical pass first: TAPS source rows blended into one float row of the
// source's width (contiguous, converts and vectorizes well); the horizontal
// pass then reads that row through the column table.
template <class T, int TAPS>
void vertical(const T* const* rows, const float* wy, float* __restrict out, int n) {
    float w[TAPS];
    const T* r[TAPS];
    for (int k = 0; k < TAPS; ++k) {
        w[k] = wy[k];
        r[k] = rows[k];
    }
    for (int i = 0; i < n; ++i) {
        float a = 0.0f;
        for (int k = 0; k < TAPS; ++k) a += w[k] * float(r[k][i]);
        out[i] = a;
    }
}

// Two passes: the taps are fetched through the column table with plain scalar
// loads (vector gathers are slower here), then weighed and stored by a vector
// loop, in blocks that stay in the first-level cache.
template <class T, int CH, int TAPS>
void horizontal(const float* __restrict v, T* __restrict d, int w, const int32_t* __restrict xi,
                const float* __restrict xw) {
    constexpr float top = sizeof(T) == 1 ? 255.0f : 65535.0f;
    constexpr int kBlock = 256;
    alignas(64) float taps[TAPS][kBlock * CH];
    // Weights spread to every sample, so that the blend below is one flat loop.
    alignas(64) float weights[TAPS][kBlock * CH];
    for (int x0 = 0; x0 < w; x0 += kBlock) {
        const int n = w - x0 < kBlock ? w - x0 : kBlock;
        for (int x = 0; x < n; ++x)
            for (int k = 0; k < TAPS; ++k) {
                const float* p = v + xi[(x0 + x) * TAPS + k] * CH;
                const float wk = xw[(x0 + x) * TAPS + k];
                for (int c = 0; c < CH; ++c) {
                    taps[k][x * CH + c] = p[c];
                    if constexpr (CH > 1) weights[k][x * CH + c] = wk;
                }
            }
        const float* __restrict wt = xw + x0 * TAPS;
        T* __restrict out = d + x0 * CH;
        for (int j = 0; j < n * CH; ++j) {
            float acc = 0.0f;
            for (int k = 0; k < TAPS; ++k) acc += (CH > 1 ? weights[k][j] : wt[j * TAPS + k]) * taps[k][j];
            if constexpr (sizeof(T) == 4)
                out[j] = acc;
            else
                out[j] = static_cast<T>(saturate_round(acc, top));
        }
    }
}

// Exact halving: the tables reduce to columns 2x, 2x + 1 and rows 2y, 2y + 1
// with weights 1/2, so the same sums are formed directly, without tables.
template <class T, int CH>
void halve_row(const T* __restrict r0, const T* __restrict r1, T* __restrict d, int w) {
    if constexpr (sizeof(T) < 4) {
        // Integer samples: the float sums are exact, so the result is the sum of
        // four divided by 4 and rounded half to even, done in integers.
        using Sum = std::conditional_t<sizeof(T) == 1, uint16_t, uint32_t>;
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < CH; ++c) {
                const Sum sum = Sum(Sum(r0[2 * x * CH + c]) + Sum(r0[(2 * x + 1) * CH + c]) +
                                    Sum(r1[2 * x * CH + c]) + Sum(r1[(2 * x + 1) * CH + c]));
                // sum = 4q + r: r = 3 rounds up, r = 2 only when q is odd.
                d[x * CH + c] = static_cast<T>((sum + 1 + ((sum >> 2) & 1)) >> 2);
            }
        return;
    }
    constexpr float top = sizeof(T) == 1 ? 255.0f : 65535.0f;
    for (int x = 0; x < w; ++x)
        for (int c = 0; c < CH; ++c) {
            const float v0 = 0.5f * float(r0[2 * x * CH + c]) + 0.5f * float(r1[2 * x * CH + c]);
            const float v1 = 0.5f * float(r0[(2 * x + 1) * CH + c]) + 0.5f * float(r1[(2 * x + 1) * CH + c]);
            const float acc = 0.5f * v0 + 0.5f * v1;
            if constexpr (sizeof(T) == 4)
                d[x * CH + c] = acc;
            else
                d[x * CH + c] = static_cast<T>(saturate_round(acc, top));
        }
}

template <class T, int CH, int TAPS>
int separable(const T* src, int src_step, T* dst, int dst_step, Offset offset, Size dst_size, int border,
              const void* spec_block, void* buffer, int interpolation) {
    LUM_CHECK_KERNEL(check_call(src, dst, spec_block, offset, dst_size, interpolation));
    if (!buffer) return st_null;
    if (border != border_replicate) return st_bad_arg;
    const auto* spec = static_cast<const ResizeSpec*>(spec_block);
    const int w = dst_size.width, sw = spec->src.width;
    if (TAPS == 2 && sw == 2 * w && spec->src.height == 2 * dst_size.height) {
        for (int y = 0; y < dst_size.height; ++y)
            halve_row<T, CH>(row_at(src, src_step, 2 * y), row_at(src, src_step, 2 * y + 1), row_at(dst, dst_step, y),
                             w);
        return st_ok;
    }
    const int32_t* xi = table<const int32_t>(spec, spec->x_index);
    const float* xw = table<const float>(spec, spec->x_weight);
    const int32_t* yi = table<const int32_t>(spec, spec->y_index);
    const float* yw = table<const float>(spec, spec->y_weight);
    float* column = static_cast<float*>(buffer);
    for (int y = 0; y < dst_size.height; ++y) {
        const T* rows[TAPS];
        for (int k = 0; k < TAPS; ++k) rows[k] = row_at(src, src_step, yi[y * TAPS + k]);
        vertical<T, TAPS>(rows, yw + y * TAPS, column, sw * CH);
        horizontal<T, CH, TAPS>(column, row_at(dst, dst_step, y), w, xi, xw);
    }
    return st_ok;
}

}  // namespace

int resize_get_size(Size src, Size dst, int interpolation, int antialiasing, int* spec_bytes, int* init_bytes) {
    if (!spec_bytes || !init_bytes) return st_null;
    if (!sizes_ok(src, dst)) return st_size;
    if (antialiasing != 0) return st_bad_arg;
    const int64_t bytes = spec_bytes_for(src, dst, taps_for(interpolation));
    if (bytes > 0x7FFFFFC0) return st_bad_arg;
    *spec_bytes = int(bytes);
    *init_bytes = interpolation == resize_lanczos ? 64 : 0;
    return st_ok;
}

int resize_nearest_init(Size src, Size dst, void* spec_block) {
    if (!spec_block) return st_null;
    if (!sizes_ok(src, dst)) return st_size;
    ResizeSpec* spec = lay_out(spec_block, src, dst, resize_nearest);
    nearest_axis(src.width, dst.width, table<int32_t>(spec, spec->x_index), table<float>(spec, spec->x_weight));
    nearest_axis(src.height, dst.height, table<int32_t>(spec, spec->y_index), table<float>(spec, spec->y_weight));
    return st_ok;
}

int resize_linear_init(Size src, Size dst, void* spec_block) {
    if (!spec_block) return st_null;
    if (!sizes_ok(src, dst)) return st_size;
    ResizeSpec* spec = lay_out(spec_block, src, dst, resize_linear);
    linear_axis(src.width, dst.width, table<int32_t>(spec, spec->x_index), table<float>(spec, spec->x_weight));
    linear_axis(src.height, dst.height, table<int32_t>(spec, spec->y_index), table<float>(spec, spec->y_weight));
    return st_ok;
}

int resize_lanczos_init(Size src, Size dst, int lobes, void* spec_block, void* init_buffer) {
    if (!spec_block || !init_buffer) return st_null;
    if (!sizes_ok(src, dst)) return st_size;
    if (lobes != 3) return st_bad_arg;
    ResizeSpec* spec = lay_out(spec_block, src, dst, resize_lanczos);
    auto* scratch = static_cast<double*>(init_buffer);
    lanczos_axis(src.width, dst.width, table<int32_t>(spec, spec->x_index), table<float>(spec, spec->x_weight), scratch);
    lanczos_axis(src.height, dst.height, table<int32_t>(spec, spec->y_index), table<float>(spec, spec->y_weight),
                 scratch);
    return st_ok;
}

int resize_get_buffer_size(const void* spec_block, Size dst, int channels, int* bytes) {
    if (!spec_block || !bytes) return st_null;
    if (empty_region(dst)) return st_size;
    const auto* spec = static_cast<const ResizeSpec*>(spec_block);
    if (spec->magic != kResizeMagic || channels < 1 || channels > 4) return st_bad_arg;
    // One row of the source's width, blended vertically.
    (void)dst;
    const int64_t total = (int64_t(spec->src.width) * channels + 16) * 4 + 64;
    if (total > 0x7FFFFFC0) return st_bad_arg;
    *bytes = int(total);
    return st_ok;
}

#define LUM_RESIZE_KERNELS(fmt, T)                                                                              \
    int resize_nearest_##fmt##_c1(const T* s, int ss, T* d, int ds, Offset o, Size z, const void* p, void* w) { \
        return nearest<T, 1>(s, ss, d, ds, o, z, p, w);                                                            \
    }                                                                                                           \
    int resize_nearest_##fmt##_c3(const T* s, int ss, T* d, int ds, Offset o, Size z, const void* p, void* w) { \
        return nearest<T, 3>(s, ss, d, ds, o, z, p, w);                                                            \
    }                                                                                                           \
    int resize_linear_##fmt##_c1(const T* s, int ss, T* d, int ds, Offset o, Size z, int b, const void* p,      \
                                 void* w) {                                                                     \
        return separable<T, 1, 2>(s, ss, d, ds, o, z, b, p, w, resize_linear);                                  \
    }                                                                                                           \
    int resize_linear_##fmt##_c3(const T* s, int ss, T* d, int ds, Offset o, Size z, int b, const void* p,      \
                                 void* w) {                                                                     \
        return separable<T, 3, 2>(s, ss, d, ds, o, z, b, p, w, resize_linear);                                  \
    }                                                                                                           \
    int resize_lanczos_##fmt##_c1(const T* s, int ss, T* d, int ds, Offset o, Size z, int b, const void* p,     \
                                  void* w) {                                                                    \
        return separable<T, 1, 6>(s, ss, d, ds, o, z, b, p, w, resize_lanczos);                                 \
    }                                                                                                           \
    int resize_lanczos_##fmt##_c3(const T* s, int ss, T* d, int ds, Offset o, Size z, int b, const void* p,     \
                                  void* w) {                                                                    \
        return separable<T, 3, 6>(s, ss, d, ds, o, z, b, p, w, resize_lanczos);                                 \
    }

LUM_RESIZE_KERNELS(8u, uint8_t)
LUM_RESIZE_KERNELS(16u, uint16_t)
LUM_RESIZE_KERNELS(32f, float)

}  // namespace lum::prim::LUM_ISA
