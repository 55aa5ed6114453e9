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
// n samples, from the first row (First) or from d itself, in row order. The
// rows are unrolled at compile time, so their pointers stay in registers.
template <bool Max, int N, bool First, class T, size_t... I>
inline simd::vec<T> fold_vector(const T* const (&r)[N], const T* d, int64_t x, std::index_sequence<I...>) {
    simd::vec<T> m = First ? simd::load(r[0] + x) : simd::load(d + x);
    ((m = pick<Max>(m, simd::load(r[I + (First ? 1 : 0)] + x))), ...);
    return m;
}
template <bool Max, int N, bool First, class T, size_t... I>
inline simd::vec<T> fold_tail(const T* const (&r)[N], const T* d, int64_t x, int k, std::index_sequence<I...>) {
    using V = simd::vec<T>;
    V m = First ? simd::load_first<V>(r[0] + x, k) : simd::load_first<V>(d + x, k);
    ((m = pick<Max>(m, simd::load_first<V>(r[I + (First ? 1 : 0)] + x, k))), ...);
    return m;
}

template <bool Max, int N, bool First, class Stream = cached_stores, class T>
void fold_into(const T* const* p, T* d, int64_t n, Stream = {}) {
    using V = simd::vec<T>;
    constexpr int L = simd::lanes<T>;
    constexpr auto rest = std::make_index_sequence<First ? N - 1 : N>();
    const T* r[N];
    for (int i = 0; i < N; ++i) r[i] = p[i];
    int64_t x = 0;
    auto partial = [&](int64_t at, int k) {
        simd::store_first(d + at, fold_tail<Max, N, First>(r, d, at, k, rest), k);
    };
    if constexpr (Stream::value) {
        // Streaming stores from the first vector boundary on; the head before it is one partial step.
        const int head = elements_to_alignment<V>(d);
        if (head >= 0 && n - head >= 2 * L) {
            if (head > 0) partial(0, head);
            for (x = head; x + L <= n; x += L) simd::stream(d + x, fold_vector<Max, N, First>(r, d, x, rest));
        }
    }
    for (; x + L <= n; x += L) simd::store(d + x, fold_vector<Max, N, First>(r, d, x, rest));
    if (x < n) partial(x, static_cast<int>(n - x));
}

template <bool Max, int N, class Stream, class T>
void fold_into(const T* const* p, T* d, int64_t n, bool first, Stream stream) {
    if (first) fold_into<Max, N, true>(p, d, n, stream);
    else fold_into<Max, N, false>(p, d, n, stream);
}

// fold_into for 1 to kDirect rows: windows of up to kDirect pixels or rows
// are combined directly.
constexpr int kDirect = 8;
template <bool Max, class T, int N = 1, class Stream = cached_stores>
void fold_rows(const T* const* p, int count, T* d, int64_t n, bool first, Stream stream = {}) {
    if constexpr (N < kDirect) {
        if (count > N) return fold_rows<Max, T, N + 1>(p, count, d, n, first, stream);
    }
    fold_into<Max, N>(p, d, n, first, stream);
}

template <bool Max, class T, class Stream = cached_stores>
void combine(const T* a, const T* b, T* d, int64_t n, Stream stream = {}) {
    const T* p[2] = {a, b};
    fold_into<Max, 2, true>(p, d, n, stream);
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
        const T* p[kDirect];
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

// The window of the element's width along one source row into out (n
// samples): directly up to kDirect pixels, wider by doubling windows of the
// padded row (shifted loads of a 64-byte vector split cache lines, so a few
// passes of two loads beat one pass of many).
template <bool Max, class T>
void horizontal_window(const T* s, T* out, T* pad, T* alt, const Plane& pl, const Element& el) {
    const int64_t n = pl.n;
    if (el.w <= kDirect) return window_direct<Max>(s, out, n, pl.c, pl.width, el.w, el.ax);
    const int64_t np = (int64_t{pl.width} + el.w - 1) * pl.c;
    const int kw = floor_log2(el.w);
    const int64_t pw = int64_t{1} << kw;
    // The first doubling reads the source row where both pixels lie in it, and
    // the padded row's replicated edge pixels only at its ends.
    const int c = pl.c;
    const int64_t lo = int64_t{el.ax} * c;
    int64_t len = np - c;
    if (n > c) combine<Max>(s, s + c, alt + lo, n - c);
    for (int64_t i = 0; i < len; i = i + 1 == lo ? lo + (n > c ? n - c : 0) : i + 1)
        alt[i] = pick<Max>(edge_sample(s, i, c, pl.width, -el.ax), edge_sample(s, i + c, c, pl.width, -el.ax));
    T* cur = alt;
    T* other = pad;
    for (int k = 2; k <= kw; ++k) {
        const int64_t shift = (int64_t{1} << (k - 1)) * pl.c;
        len -= shift;
        combine<Max>(cur, cur + shift, other, len);
        T* t = cur;
        cur = other;
        other = t;
    }
    combine<Max>(cur, cur + (el.w - pw) * pl.c, out, n);
}

// One erosion or dilation pass over a stream of rows. Row u of the pass
// (the caller takes source row u − ay, clamped to the image) goes in through
// feed(); once the element's height of rows has gone in, each feed completes
// output row u − h + 1, which it writes to row_at(out, out_step, u − h + 1).
// Rows are streamed through rings, so a pass may write the rows it has
// finished reading: in place, or into the next pass of a chain.
//
// A full rectangle is separable: the window along each row into a ring, then
// down the columns; up to eight rows are combined directly, taller rectangles
// double their row windows level by level. Any other element keeps each row
// padded with its edge pixels and doubled into windows of 1, 2, 4, ...
// pixels; every run of every element row is then the pair of power-of-two
// windows that covers it, folded eight windows (four runs) at a time.
template <bool Max, class T>
class row_filter {
public:
    row_filter(const Element& el, const Plane& pl, T* scratch) : el_(el), pl_(pl), scratch_(scratch) {
        np_ = (int64_t{pl.width} + el.w - 1) * pl.c;
        if (el.full) {
            direct_ = el.h <= kDirect;
            kv_ = direct_ ? 0 : floor_log2(el.h);
            ring_ = direct_ ? el.h : ceil_pow2(el.h);
        } else {
            kw_ = floor_log2(el.longest > 0 ? el.longest : 1);
            ring_ = ceil_pow2(el.h);
        }
    }

    // Output rows go out through streaming stores when `stream` says so.
    template <class Stream = cached_stores>
    void feed(const T* row, T* out, int out_step, Stream stream = {}) {
        const int64_t u = u_++;
        T* d = u >= el_.h - 1 ? row_at(out, out_step, static_cast<int>(u - el_.h + 1)) : nullptr;
        if (el_.full) rectangle_step(row, u, d, stream);
        else runs_step(row, u, d, stream);
    }

private:
    int64_t slot(int64_t u) const { return ring_ & (ring_ - 1) ? u % ring_ : u & (ring_ - 1); }

    // Rectangle rows: the pad and its doubling partner, then level k, slot s
    // at levels + (k * ring + s) * n.
    T* level_row(int k, int64_t u) const { return scratch_ + 2 * np_ + (k * ring_ + slot(u)) * pl_.n; }

    template <class Stream>
    void rectangle_step(const T* row, int64_t u, T* d, Stream stream) {
        const int64_t n = pl_.n;
        horizontal_window<Max>(row, level_row(0, u), scratch_, scratch_ + np_, pl_, el_);
        for (int k = 1; k <= kv_; ++k) {
            const int64_t i = u - (int64_t{1} << k) + 1;
            if (i < 0) break;
            combine<Max>(level_row(k - 1, i), level_row(k - 1, i + (int64_t{1} << (k - 1))), level_row(k, i), n);
        }
        if (!d) return;
        const int64_t y = u - el_.h + 1;
        if (direct_) {
            const T* rows[kDirect];
            for (int j = 0; j < el_.h; ++j) rows[j] = level_row(0, y + j);
            fold_rows<Max>(rows, el_.h, d, n, true, stream);
        } else {
            const int64_t q = int64_t{1} << kv_;
            combine<Max>(level_row(kv_, y), level_row(kv_, y + el_.h - q), d, n, stream);
        }
    }

    // Runs rows: level k of the padded row in slot s at (s * (kw + 1) + k) * np.
    T* run_row(int k, int64_t u) const { return scratch_ + (slot(u) * (kw_ + 1) + k) * np_; }

    template <class Stream>
    void runs_step(const T* row, int64_t u, T* d, Stream stream) {
        const int64_t n = pl_.n;
        pad_row(row, run_row(0, u), n, pl_.c, el_.ax, el_.w - 1 - el_.ax);
        int64_t len = np_;
        for (int k = 1; k <= kw_; ++k) {
            const int64_t shift = (int64_t{1} << (k - 1)) * pl_.c;
            len -= shift;
            const T* prev = run_row(k - 1, u);
            combine<Max>(prev, prev + shift, run_row(k, u), len);
        }
        if (!d) return;
        const int64_t y = u - el_.h + 1;
        const T* group[8];
        int count = 0, left = el_.row_start[el_.h];  // runs not yet folded
        bool first = true;
        for (int j = 0; j < el_.h; ++j) {
            for (int r = el_.row_start[j]; r < el_.row_start[j + 1]; ++r, --left) {
                const int l = el_.runs[2 * r], length = el_.runs[2 * r + 1];
                const int k = floor_log2(length);
                const T* base = run_row(k, y + j);
                group[count++] = base + int64_t{l} * pl_.c;
                group[count++] = base + (int64_t{l} + length - (int64_t{1} << k)) * pl_.c;
                if (count < 8) continue;
                // The row is read back by every group but the last: only the last may stream it out.
                if (left == 1) fold_rows<Max>(group, 8, d, n, first, stream);
                else fold_rows<Max>(group, 8, d, n, first);
                first = false;
                count = 0;
            }
        }
        if (count > 0) {
            fold_rows<Max>(group, count, d, n, first, stream);
        } else if (first) {
            // An element without a single non-zero byte.
            const T none = Max ? bottom_value<T>() : top_value<T>();
            unary_row(d, d, static_cast<int>(n), [none](vec<T>) { return simd::splat(none); });
        }
    }

    const Element& el_;
    const Plane& pl_;
    T* scratch_;
    int64_t np_ = 0, ring_ = 1, u_ = 0;
    bool direct_ = false;
    int kv_ = 0, kw_ = 0;
};

template <class T>
inline const T* clamped_row(const T* src, int step, const Plane& pl, int64_t y) {
    return row_at(src, step, static_cast<int>(y < 0 ? 0 : y >= pl.height ? pl.height - 1 : y));
}

// A destination larger than the caches, and not the source, is written with
// streaming stores (the row loops' policy).
template <class T, class Body>
void with_destination_stores(const T* src, T* dst, const Plane& pl, Body&& body) {
    with_stores_for(src == dst ? 0 : pl.n * pl.height * static_cast<int64_t>(sizeof(T)), [&](auto stores) {
        body(stores);
        if (stores) simd::stream_fence();
    });
}

// One pass from the source rows into the destination.
template <bool Max, class T>
void one_pass(const T* src, int src_step, T* dst, int dst_step, const Plane& pl, const Element& el, T* scratch) {
    row_filter<Max, T> pass(el, pl, scratch);
    const int64_t last = int64_t{pl.height} + el.h - 2;
    with_destination_stores(src, dst, pl, [&](auto stores) {
        for (int64_t u = 0; u <= last; ++u)
            pass.feed(clamped_row(src, src_step, pl, u - el.ay), dst, dst_step, stores);
    });
}

// Two passes chained row by row: each row the first pass completes goes
// straight into the second (the first and last as often as the second's
// clamped border asks for them), so the intermediate image is never stored.
template <bool FirstMax, class T>
void two_passes(const T* src, int src_step, T* dst, int dst_step, const Plane& pl, const Element& el, T* scratch,
                T* second_scratch, T* middle) {
    row_filter<FirstMax, T> first(el, pl, scratch);
    row_filter<!FirstMax, T> second(el, pl, second_scratch);
    const int64_t last = int64_t{pl.height} + el.h - 2;
    with_destination_stores(src, dst, pl, [&](auto stores) {
        for (int64_t u = 0; u <= last; ++u) {
            first.feed(clamped_row(src, src_step, pl, u - el.ay), middle, 0);
            const int64_t r = u - el.h + 1;
            if (r < 0) continue;
            const int repeats = (r == 0 ? el.ay + 1 : 1) + (r == pl.height - 1 ? el.h - 1 - el.ay : 0);
            for (int k = 0; k < repeats; ++k) second.feed(middle, dst, dst_step, stores);
        }
    });
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
    if (op == morph_erode) one_pass<false>(src, src_step, dst, dst_step, pl, el, scratch);
    if (op == morph_dilate) one_pass<true>(src, src_step, dst, dst_step, pl, el, scratch);
    if (op <= morph_dilate) return st_ok;
    // Opening: erosion, then dilation of its result; closing the other way round.
    const int64_t samples = scratch_samples(roi, mask, channels);
    T* second = reinterpret_cast<T*>(bytes + align64(samples * static_cast<int64_t>(sizeof(T))));
    T* middle = reinterpret_cast<T*>(reinterpret_cast<uint8_t*>(second) + align64(samples * static_cast<int64_t>(sizeof(T))));
    if (op == morph_open) two_passes<false>(src, src_step, dst, dst_step, pl, el, scratch, second, middle);
    else two_passes<true>(src, src_step, dst, dst_step, pl, el, scratch, second, middle);
    return st_ok;
}

LUM_INSTANTIATE(morph, uint8_t)
LUM_INSTANTIATE(morph, uint16_t)
LUM_INSTANTIATE(morph, float)

}  // namespace lum::prim::LUM_ISA
