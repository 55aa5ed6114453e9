// Erosion and dilation by streaming rows through ring buffers. A row is
// padded with its edge pixels, then minima (maxima) over windows of 1, 2, 4,
// ... pixels are built by doubling, so a window of any length L is the
// combination of two overlapping power-of-two windows. A full rectangle is
// separable: the same doubling runs down the columns over the filtered rows.
// Any other element is taken row by row as horizontal runs. Cost per pixel is
// logarithmic in the rectangle's sides, and one combination per run otherwise.
#include "primitives/kernel.hpp"
#include "primitives/morph.hpp"

namespace lum::prim::LUM_ISA {

namespace {

int floor_log2(int64_t v) {
    int k = 0;
    while ((int64_t{2} << k) <= v) ++k;
    return k;
}
int64_t ceil_pow2(int64_t v) {
    int64_t p = 1;
    while (p < v) p <<= 1;
    return p;
}

template <class T>
constexpr T top_value() {
    if constexpr (static_cast<T>(0.5) != T{0}) return __builtin_huge_valf();
    else return static_cast<T>(~T{0});
}
template <class T>
constexpr T bottom_value() {
    if constexpr (static_cast<T>(0.5) != T{0}) return -__builtin_huge_valf();
    else return T{0};
}

template <bool Max, class T>
inline T pick(T a, T b) {
    if constexpr (Max) return a < b ? b : a;
    else return b < a ? b : a;
}

// m combined with p[I][x] .. p[N - 1][x], unrolled at compile time so the
// loop over x stays a single vectorizable loop.
template <bool Max, int I, int N, class T, class P>
inline T fold(T m, const P& p, int64_t x) {
    if constexpr (I < N) return fold<Max, I + 1, N>(pick<Max>(m, p[I][x]), p, x);
    else return m;
}

template <bool Max, class T>
void combine(const T* __restrict a, const T* __restrict b, T* __restrict d, int64_t n) {
    for (int64_t i = 0; i < n; ++i) d[i] = pick<Max>(a[i], b[i]);
}

template <bool Max, class T>
void combine_into(T* __restrict d, const T* __restrict a, const T* __restrict b, int64_t n) {
    for (int64_t i = 0; i < n; ++i) d[i] = pick<Max>(d[i], pick<Max>(a[i], b[i]));
}

// Pads `left` and `right` copies of the edge pixels around one row of n samples.
template <class T>
void pad_row(const T* __restrict s, T* __restrict p, int64_t n, int c, int left, int right) {
    for (int i = 0; i < left; ++i)
        for (int ch = 0; ch < c; ++ch) p[i * c + ch] = s[ch];
    T* __restrict body = p + int64_t{left} * c;
    for (int64_t x = 0; x < n; ++x) body[x] = s[x];
    T* __restrict tail = body + n;
    for (int i = 0; i < right; ++i)
        for (int ch = 0; ch < c; ++ch) tail[i * c + ch] = s[n - c + ch];
}

// The element as horizontal runs per row, and whether it is a full rectangle.
struct Element {
    int w, h, ax, ay;
    bool full;
    int longest;     // longest run
    int* row_start;  // h + 1 entries into runs
    int* runs;       // pairs (first column, length)
};

int64_t element_bytes(Size mask) {
    return align64(4 * (int64_t{mask.height} + 1)) + align64(8 * int64_t{mask.width} * mask.height);
}

Element analyse(const uint8_t* e, Size mask, uint8_t* work) {
    Element el{mask.width, mask.height, mask.width / 2, mask.height / 2, true, 0, nullptr, nullptr};
    el.row_start = reinterpret_cast<int*>(work);
    el.runs = reinterpret_cast<int*>(work + align64(4 * (int64_t{mask.height} + 1)));
    int count = 0;
    for (int j = 0; j < el.h; ++j) {
        el.row_start[j] = count;
        const uint8_t* row = e + int64_t{j} * el.w;
        for (int i = 0; i < el.w;) {
            if (!row[i]) {
                el.full = false;
                ++i;
                continue;
            }
            int end = i;
            while (end < el.w && row[end]) ++end;
            el.runs[2 * count] = i;
            el.runs[2 * count + 1] = end - i;
            el.longest = max_of(el.longest, end - i);
            ++count;
            i = end;
        }
    }
    el.row_start[el.h] = count;
    return el;
}

// Sample counts of the ring buffers for either path; the larger is reserved.
int64_t scratch_samples(Size roi, Size mask, int c) {
    const int64_t n = int64_t{roi.width} * c, np = (int64_t{roi.width} + mask.width - 1) * c;
    const int64_t ring = ceil_pow2(mask.height);
    const int64_t rect = 2 * np + (floor_log2(mask.height) + 1) * ring * n;
    const int64_t runs = ring * (floor_log2(mask.width) + 1) * np;
    return rect > runs ? rect : runs;
}

struct Plane {
    int64_t n;  // samples per row
    int width, height, c;
};

// Sample x of a row of `pixels` pixels seen through replicated borders,
// shifted by `offset` pixels.
template <class T>
inline T edge_sample(const T* s, int64_t x, int c, int pixels, int64_t offset) {
    int64_t px = x / c + offset;
    px = px < 0 ? 0 : px >= pixels ? pixels - 1 : px;
    return s[px * c + x % c];
}

// out[x] = op over i < W of the source sample W pixels wide around x
// (anchor ax), for a window of a few pixels: one pass of W loads.
template <bool Max, int W, class T>
void window_direct(const T* s, T* __restrict out, int64_t n, int c, int pixels, int ax) {
    const int64_t lo = int64_t{ax} * c, hi = n - int64_t{W - 1 - ax} * c;
    const T* p[W];
    for (int i = 0; i < W; ++i) p[i] = s + int64_t{i - ax} * c;
    for (int64_t x = lo; x < hi; ++x) {
        out[x] = fold<Max, 1, W>(p[0][x], p, x);
    }
    auto edge = [&](int64_t x) {
        T m = edge_sample(s, x, c, pixels, -ax);
        for (int i = 1; i < W; ++i) m = pick<Max>(m, edge_sample(s, x, c, pixels, int64_t{i} - ax));
        out[x] = m;
    };
    const int64_t left_end = lo < n ? lo : n;
    for (int64_t x = 0; x < left_end; ++x) edge(x);
    for (int64_t x = hi > left_end ? hi : left_end; x < n; ++x) edge(x);
}

// Rows combined sample by sample, for a few rows: one pass of H loads,
// folded into out unless first.
template <bool Max, int H, class T>
void rows_direct(const T* const* rows, T* __restrict out, int64_t n, bool first) {
    const T* __restrict r[H];
    for (int j = 0; j < H; ++j) r[j] = rows[j];
    if (first) {
        for (int64_t x = 0; x < n; ++x) {
            out[x] = fold<Max, 1, H>(r[0][x], r, x);
        }
    } else {
        for (int64_t x = 0; x < n; ++x) {
            out[x] = fold<Max, 0, H>(out[x], r, x);
        }
    }
}

// Up to eight rows, four per pass.
template <bool Max, class T>
void rows_combined(const T* const* rows, int h, T* out, int64_t n) {
    bool first = true;
    for (; h > 0; rows += 4, h -= 4, first = false) {
        switch (h) {
            case 1: rows_direct<Max, 1>(rows, out, n, first); break;
            case 2: rows_direct<Max, 2>(rows, out, n, first); break;
            case 3: rows_direct<Max, 3>(rows, out, n, first); break;
            default: rows_direct<Max, 4>(rows, out, n, first); break;
        }
    }
}

// The window of the element's width along one source row into out (n samples).
template <bool Max, class T>
void horizontal_window(const T* s, T* out, T* pad, T* alt, const Plane& pl, const Element& el) {
    const int64_t n = pl.n;
    switch (el.w) {
        case 1: window_direct<Max, 1>(s, out, n, pl.c, pl.width, el.ax); return;
        case 2: window_direct<Max, 2>(s, out, n, pl.c, pl.width, el.ax); return;
        case 3: window_direct<Max, 3>(s, out, n, pl.c, pl.width, el.ax); return;
        case 4: window_direct<Max, 4>(s, out, n, pl.c, pl.width, el.ax); return;
        case 5: window_direct<Max, 5>(s, out, n, pl.c, pl.width, el.ax); return;
        case 6: window_direct<Max, 6>(s, out, n, pl.c, pl.width, el.ax); return;
        case 7: window_direct<Max, 7>(s, out, n, pl.c, pl.width, el.ax); return;
        case 8: window_direct<Max, 8>(s, out, n, pl.c, pl.width, el.ax); return;
        default: break;
    }
    const int64_t np = (int64_t{pl.width} + el.w - 1) * pl.c;
    const int kw = floor_log2(el.w);
    const int64_t pw = int64_t{1} << kw;
    pad_row(s, pad, n, pl.c, el.ax, el.w - 1 - el.ax);
    T* cur = pad;
    T* other = alt;
    int64_t len = np;
    for (int k = 1; k <= kw; ++k) {
        const int64_t shift = (int64_t{1} << (k - 1)) * pl.c;
        len -= shift;
        combine<Max>(cur, cur + shift, other, len);
        T* t = cur;
        cur = other;
        other = t;
    }
    combine<Max>(cur, cur + (el.w - pw) * pl.c, out, n);
}

// Separable: the window along each row, then down the columns, streaming
// rows through rings. Up to eight rows are combined directly; taller
// rectangles double their row windows level by level.
template <bool Max, class T>
void rectangle_pass(const T* src, int src_step, T* dst, int dst_step, const Plane& pl, const Element& el,
                    T* scratch) {
    const int64_t n = pl.n, np = (int64_t{pl.width} + el.w - 1) * pl.c;
    const bool direct = el.h <= 8;
    const int kv = direct ? 0 : floor_log2(el.h);
    const int64_t q = int64_t{1} << kv;
    const int64_t ring = ceil_pow2(el.h), wrap = ring - 1;
    T* const pad = scratch;
    T* const alt = pad + np;
    T* const levels = alt + np;  // level k, slot s at levels + (k * ring + s) * n
    auto level_row = [&](int k, int64_t u) { return levels + (k * ring + (u & wrap)) * n; };
    const int64_t last = int64_t{pl.height} + el.h - 2;
    for (int64_t u = 0; u <= last; ++u) {
        const int64_t sy = u - el.ay < 0 ? 0 : u - el.ay >= pl.height ? pl.height - 1 : u - el.ay;
        horizontal_window<Max>(row_at(src, src_step, static_cast<int>(sy)), level_row(0, u), pad, alt, pl, el);
        for (int k = 1; k <= kv; ++k) {
            const int64_t i = u - (int64_t{1} << k) + 1;
            if (i < 0) break;
            combine<Max>(level_row(k - 1, i), level_row(k - 1, i + (int64_t{1} << (k - 1))), level_row(k, i), n);
        }
        if (u < el.h - 1) continue;
        const int64_t y = u - el.h + 1;
        T* d = row_at(dst, dst_step, static_cast<int>(y));
        if (direct) {
            const T* rows[8];
            for (int j = 0; j < el.h; ++j) rows[j] = level_row(0, y + j);
            rows_combined<Max>(rows, el.h, d, n);
        } else {
            combine<Max>(level_row(kv, y), level_row(kv, y + el.h - q), d, n);
        }
    }
}

// d = op(d, windows of K runs), or without d when first; each run is the
// pair of power-of-two windows that covers it.
template <bool Max, int K, class T>
void runs_group(T* __restrict d, const T* const* p, int64_t n, bool first) {
    const T* __restrict q[2 * K];
    for (int i = 0; i < 2 * K; ++i) q[i] = p[i];
    if (first) {
        for (int64_t x = 0; x < n; ++x) {
            d[x] = fold<Max, 1, 2 * K>(q[0][x], q, x);
        }
    } else {
        for (int64_t x = 0; x < n; ++x) {
            d[x] = fold<Max, 0, 2 * K>(d[x], q, x);
        }
    }
}

template <bool Max, class T>
void runs_pass(const T* src, int src_step, T* dst, int dst_step, const Plane& pl, const Element& el, T* scratch) {
    const int64_t n = pl.n, np = (int64_t{pl.width} + el.w - 1) * pl.c;
    const int kw = floor_log2(el.longest > 0 ? el.longest : 1);
    const int64_t ring = ceil_pow2(el.h), wrap = ring - 1;
    auto level_row = [&](int k, int64_t u) { return scratch + ((u & wrap) * (kw + 1) + k) * np; };
    const int64_t last = int64_t{pl.height} + el.h - 2;
    for (int64_t u = 0; u <= last; ++u) {
        const int64_t sy = u - el.ay < 0 ? 0 : u - el.ay >= pl.height ? pl.height - 1 : u - el.ay;
        pad_row(row_at(src, src_step, static_cast<int>(sy)), level_row(0, u), n, pl.c, el.ax, el.w - 1 - el.ax);
        int64_t len = np;
        for (int k = 1; k <= kw; ++k) {
            const int64_t shift = (int64_t{1} << (k - 1)) * pl.c;
            len -= shift;
            const T* prev = level_row(k - 1, u);
            combine<Max>(prev, prev + shift, level_row(k, u), len);
        }
        if (u < el.h - 1) continue;
        const int64_t y = u - el.h + 1;
        T* d = row_at(dst, dst_step, static_cast<int>(y));
        // Runs are taken four at a time, so the output row is stored once per
        // four runs instead of once per run.
        const T* group[8];
        int count = 0;
        bool first = true;
        for (int j = 0; j < el.h; ++j) {
            for (int r = el.row_start[j]; r < el.row_start[j + 1]; ++r) {
                const int l = el.runs[2 * r], length = el.runs[2 * r + 1];
                const int k = floor_log2(length);
                const T* base = level_row(k, y + j);
                group[2 * count] = base + int64_t{l} * pl.c;
                group[2 * count + 1] = base + (int64_t{l} + length - (int64_t{1} << k)) * pl.c;
                if (++count == 4) {
                    runs_group<Max, 4>(d, group, n, first);
                    first = false;
                    count = 0;
                }
            }
        }
        switch (count) {
            case 1: runs_group<Max, 1>(d, group, n, first); break;
            case 2: runs_group<Max, 2>(d, group, n, first); break;
            case 3: runs_group<Max, 3>(d, group, n, first); break;
            default:
                if (first)
                    for (int64_t x = 0; x < n; ++x) d[x] = Max ? bottom_value<T>() : top_value<T>();
        }
    }
}

template <class T>
void one_pass(bool max, const T* src, int src_step, T* dst, int dst_step, const Plane& pl, const Element& el,
              T* scratch) {
    if (el.full) {
        if (max) rectangle_pass<true>(src, src_step, dst, dst_step, pl, el, scratch);
        else rectangle_pass<false>(src, src_step, dst, dst_step, pl, el, scratch);
    } else {
        if (max) runs_pass<true>(src, src_step, dst, dst_step, pl, el, scratch);
        else runs_pass<false>(src, src_step, dst, dst_step, pl, el, scratch);
    }
}

template <class T>
int morph(int op, const T* src, int src_step, T* dst, int dst_step, Size roi, const uint8_t* element, Size mask,
          void* work, int c) {
    if (!src || !dst || !element || !work) return st_null;
    if (empty_region(roi) || empty_region(mask)) return st_size;
    if (op < morph_erode || op > morph_close) return st_bad_arg;
    auto* bytes = static_cast<uint8_t*>(work);
    const Element el = analyse(element, mask, bytes);
    bytes += element_bytes(mask);
    const Plane pl{int64_t{roi.width} * c, roi.width, roi.height, c};
    if (op <= morph_dilate) {
        one_pass(op == morph_dilate, src, src_step, dst, dst_step, pl, el, reinterpret_cast<T*>(bytes));
        return st_ok;
    }
    // Opening: erosion, then dilation of its result; closing the other way
    // round. A pass may run in place, so the first result goes straight into
    // the destination.
    T* scratch = reinterpret_cast<T*>(bytes);
    const bool first_max = op == morph_close;
    one_pass(first_max, src, src_step, dst, dst_step, pl, el, scratch);
    one_pass(!first_max, static_cast<const T*>(dst), dst_step, dst, dst_step, pl, el, scratch);
    return st_ok;
}

}  // namespace

int morph_work_size(int op, Size roi, Size mask, int sample_bytes, int channels, int64_t* bytes) {
    if (!bytes) return st_null;
    if (empty_region(roi) || empty_region(mask)) return st_size;
    if (op < morph_erode || op > morph_close) return st_bad_arg;
    if ((sample_bytes != 1 && sample_bytes != 2 && sample_bytes != 4) || (channels != 1 && channels != 3))
        return st_bad_arg;
    *bytes = element_bytes(mask) + align64(scratch_samples(roi, mask, channels) * sample_bytes);
    return st_ok;
}

int morph_8u_c1r(int op, const uint8_t* s, int ss, uint8_t* d, int ds, Size roi, const uint8_t* e, Size m, void* w) {
    return morph(op, s, ss, d, ds, roi, e, m, w, 1);
}
int morph_8u_c3r(int op, const uint8_t* s, int ss, uint8_t* d, int ds, Size roi, const uint8_t* e, Size m, void* w) {
    return morph(op, s, ss, d, ds, roi, e, m, w, 3);
}
int morph_16u_c1r(int op, const uint16_t* s, int ss, uint16_t* d, int ds, Size roi, const uint8_t* e, Size m,
                  void* w) {
    return morph(op, s, ss, d, ds, roi, e, m, w, 1);
}
int morph_16u_c3r(int op, const uint16_t* s, int ss, uint16_t* d, int ds, Size roi, const uint8_t* e, Size m,
                  void* w) {
    return morph(op, s, ss, d, ds, roi, e, m, w, 3);
}
int morph_32f_c1r(int op, const float* s, int ss, float* d, int ds, Size roi, const uint8_t* e, Size m, void* w) {
    return morph(op, s, ss, d, ds, roi, e, m, w, 1);
}
int morph_32f_c3r(int op, const float* s, int ss, float* d, int ds, Size roi, const uint8_t* e, Size m, void* w) {
    return morph(op, s, ss, d, ds, roi, e, m, w, 3);
}

}  // namespace lum::prim::LUM_ISA
