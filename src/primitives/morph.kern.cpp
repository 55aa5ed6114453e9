// Erosion and dilation by streaming rows through ring buffers. A row is
// padded with its edge pixels, then minima (maxima) over windows of 1, 2, 4,
// ... pixels are built by doubling, so a window of any length L is the
// combination of two overlapping power-of-two windows. A full rectangle is
// separable: the same doubling runs down the columns over the filtered rows.
// Any other element is taken row by row as horizontal runs. Cost per pixel is
// logarithmic in the rectangle's sides, and one combination per run otherwise.
// Every loop takes whole vectors and a masked tail; windows of up to eight
// pixels or rows are combined directly, one load per pixel or row of the window.
#include "primitives/kernel.hpp"
#include "primitives/morph.hpp"

namespace lum::prim::LUM_ISA {

namespace {

using namespace morph_layout;
using simd::vec;

template <class T>
constexpr T top_value() {
    if constexpr (std::is_floating_point_v<T>) return __builtin_huge_valf();
    else return static_cast<T>(~T{0});
}
template <class T>
constexpr T bottom_value() {
    if constexpr (std::is_floating_point_v<T>) return -__builtin_huge_valf();
    else return T{0};
}

// The larger (smaller) of a and b; a NaN in b never wins, one in a stays.
template <bool Max, class V>
inline V pick(V a, V b) {
    if constexpr (Max) return a < b ? b : a;
    else return b < a ? b : a;
}

// d[x] = pick(... pick(pick(d[x] or p[0][x], p[..][x]) ...) over N rows of
// n samples, from the first row (first) or from d itself, in row order.
template <bool Max, int N, class T>
void fold_into(const T* const* p, T* d, int64_t n, bool first) {
    using V = vec<T>;
    constexpr int L = simd::lanes<T>;
    const T* r[N];
    for (int i = 0; i < N; ++i) r[i] = p[i];
    const int start = first ? 1 : 0;
    int64_t x = 0;
    for (; x + L <= n; x += L) {
        V m = first ? simd::load(r[0] + x) : simd::load(d + x);
        for (int i = start; i < N; ++i) m = pick<Max>(m, simd::load(r[i] + x));
        simd::store(d + x, m);
    }
    if (x < n) {
        const int k = static_cast<int>(n - x);
        V m = first ? simd::load_first<V>(r[0] + x, k) : simd::load_first<V>(d + x, k);
        for (int i = start; i < N; ++i) m = pick<Max>(m, simd::load_first<V>(r[i] + x, k));
        simd::store_first(d + x, m, k);
    }
}

// fold_into for 1 to 8 rows.
template <bool Max, class T>
void fold_rows(const T* const* p, int count, T* d, int64_t n, bool first) {
    switch (count) {
        case 1: fold_into<Max, 1>(p, d, n, first); break;
        case 2: fold_into<Max, 2>(p, d, n, first); break;
        case 3: fold_into<Max, 3>(p, d, n, first); break;
        case 4: fold_into<Max, 4>(p, d, n, first); break;
        case 5: fold_into<Max, 5>(p, d, n, first); break;
        case 6: fold_into<Max, 6>(p, d, n, first); break;
        case 7: fold_into<Max, 7>(p, d, n, first); break;
        default: fold_into<Max, 8>(p, d, n, first); break;
    }
}

template <bool Max, class T>
void combine(const T* a, const T* b, T* d, int64_t n) {
    const T* p[2] = {a, b};
    fold_into<Max, 2>(p, d, n, true);
}

// Pads `left` and `right` copies of the edge pixels around one row of n samples.
template <class T>
void pad_row(const T* s, T* p, int64_t n, int c, int left, int right) {
    for (int i = 0; i < left; ++i)
        for (int ch = 0; ch < c; ++ch) p[i * c + ch] = load_one(s + ch);
    T* body = p + int64_t{left} * c;
    unary_row(s, body, static_cast<int>(n), [](vec<T> v) { return v; });
    T* tail = body + n;
    for (int i = 0; i < right; ++i)
        for (int ch = 0; ch < c; ++ch) tail[i * c + ch] = load_one(s + n - c + ch);
}

// The element as horizontal runs per row, and whether it is a full rectangle.
struct Element {
    int w, h, ax, ay;
    bool full;
    int longest;     // longest run
    int* row_start;  // h + 1 entries into runs
    int* runs;       // pairs (first column, length)
};

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
    return load_one(s + px * c + x % c);
}

// out[x] = op over the w source samples around x (anchor ax), for a window
// of a few pixels: one pass of w loads where the window stays in the row,
// replicated edge samples near the ends.
template <bool Max, class T>
void window_direct(const T* s, T* out, int64_t n, int c, int pixels, int w, int ax) {
    const int64_t lo = int64_t{ax} * c, hi = n - int64_t{w - 1 - ax} * c;
    if (lo < hi) {
        const T* p[8];
        for (int i = 0; i < w; ++i) p[i] = s + lo + int64_t{i - ax} * c;
        fold_rows<Max>(p, w, out + lo, hi - lo, true);
    }
    auto edge = [&](int64_t x) {
        T m = edge_sample(s, x, c, pixels, -ax);
        for (int i = 1; i < w; ++i) m = pick<Max>(m, edge_sample(s, x, c, pixels, int64_t{i} - ax));
        out[x] = m;
    };
    const int64_t left_end = lo < n ? lo : n;
    for (int64_t x = 0; x < left_end; ++x) edge(x);
    for (int64_t x = hi > left_end ? hi : left_end; x < n; ++x) edge(x);
}

// The window of the element's width along one source row into out (n samples).
template <bool Max, class T>
void horizontal_window(const T* s, T* out, T* pad, T* alt, const Plane& pl, const Element& el) {
    const int64_t n = pl.n;
    if (el.w <= 8) return window_direct<Max>(s, out, n, pl.c, pl.width, el.w, el.ax);
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
            fold_rows<Max>(rows, el.h, d, n, true);
        } else {
            combine<Max>(level_row(kv, y), level_row(kv, y + el.h - q), d, n);
        }
    }
}

// Any other element: for each output row, each run of each element row is
// the pair of power-of-two windows that covers it, folded eight windows
// (four runs) at a time into the output row.
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
        const T* group[8];
        int count = 0;
        bool first = true;
        for (int j = 0; j < el.h; ++j) {
            for (int r = el.row_start[j]; r < el.row_start[j + 1]; ++r) {
                const int l = el.runs[2 * r], length = el.runs[2 * r + 1];
                const int k = floor_log2(length);
                const T* base = level_row(k, y + j);
                group[count++] = base + int64_t{l} * pl.c;
                group[count++] = base + (int64_t{l} + length - (int64_t{1} << k)) * pl.c;
                if (count == 8) {
                    fold_rows<Max>(group, 8, d, n, first);
                    first = false;
                    count = 0;
                }
            }
        }
        if (count > 0) {
            fold_rows<Max>(group, count, d, n, first);
        } else if (first) {
            // An element without a single non-zero byte.
            const T none = Max ? bottom_value<T>() : top_value<T>();
            unary_row(d, d, static_cast<int>(n), [none](vec<T>) { return simd::splat(none); });
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

}  // namespace

template <class T>
int morph(int op, const T* src, int src_step, T* dst, int dst_step, Size roi, int channels, const uint8_t* element,
          Size mask, void* work) {
    if (!src || !dst || !element || !work) return st_null;
    if (empty_region(roi) || empty_region(mask)) return st_size;
    if (op < morph_erode || op > morph_close || (channels != 1 && channels != 3)) return st_bad_arg;
    auto* bytes = static_cast<uint8_t*>(work);
    const Element el = analyse(element, mask, bytes);
    bytes += element_bytes(mask);
    const Plane pl{int64_t{roi.width} * channels, roi.width, roi.height, channels};
    T* scratch = reinterpret_cast<T*>(bytes);
    if (op <= morph_dilate) {
        one_pass(op == morph_dilate, src, src_step, dst, dst_step, pl, el, scratch);
        return st_ok;
    }
    // Opening: erosion, then dilation of its result; closing the other way
    // round. A pass may run in place, so the first result goes straight into
    // the destination.
    const bool first_max = op == morph_close;
    one_pass(first_max, src, src_step, dst, dst_step, pl, el, scratch);
    one_pass(!first_max, static_cast<const T*>(dst), dst_step, dst, dst_step, pl, el, scratch);
    return st_ok;
}

LUM_INSTANTIATE(morph, uint8_t)
LUM_INSTANTIATE(morph, uint16_t)
LUM_INSTANTIATE(morph, float)

}  // namespace lum::prim::LUM_ISA
