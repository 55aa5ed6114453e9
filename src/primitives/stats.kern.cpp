// Statistics kernels: sums, per-channel minimum and maximum, mean and standard
// deviation, pixel-wise max/min. Reductions of float samples run over fixed
// lane arrays so that every processor variant adds in the same order.
#include <cmath>

#include "primitives/kernel.hpp"
#include "primitives/stats.hpp"

namespace lum::prim::LUM_ISA {

namespace {

// Integer partial sums are taken in 32-bit lanes over at most this many
// samples (65535 * 65536 < 2^32), then added to a 64-bit total.
constexpr int kChunk = 65536;

template <class T>
uint64_t row_sum(const T* __restrict s, int n) {
    uint64_t total = 0;
    for (int x0 = 0; x0 < n; x0 += kChunk) {
        const int end = n - x0 < kChunk ? n : x0 + kChunk;
        uint32_t acc = 0;
        for (int x = x0; x < end; ++x) acc += s[x];
        total += acc;
    }
    return total;
}

template <class T>
int sum_int(const T* src, int step, Size size, double* sum) {
    if (!src || !sum) return st_null;
    if (empty_region(size)) return st_size;
    uint64_t total = 0;
    for (int y = 0; y < size.height; ++y) total += row_sum(row_at(src, step, y), size.width);
    *sum = static_cast<double>(total);
    return st_ok;
}

constexpr int kFloatLanes = 32;

int sum_float(const float* src, int step, Size size, double* sum) {
    if (!src || !sum) return st_null;
    if (empty_region(size)) return st_size;
    double lane[kFloatLanes] = {};
    const int n = size.width;
    for (int y = 0; y < size.height; ++y) {
        const float* __restrict s = row_at(src, step, y);
        int x = 0;
        for (; x + kFloatLanes <= n; x += kFloatLanes)
            for (int k = 0; k < kFloatLanes; ++k) lane[k] += static_cast<double>(s[x + k]);
        for (int k = 0; x < n; ++x, ++k) lane[k] += static_cast<double>(s[x]);
    }
    double total = 0;
    for (int k = 0; k < kFloatLanes; ++k) total += lane[k];
    *sum = total;
    return st_ok;
}

// Minimum and maximum over lanes of 192 bytes: a multiple of three samples
// and of every vector width, so lane k always holds channel k % channels.
template <class T>
int min_max(const T* src, int step, Size size, int channels, T* mn, T* mx) {
    if (!src || !mn || !mx) return st_null;
    if (empty_region(size)) return st_size;
    constexpr int L = 192 / static_cast<int>(sizeof(T));
    T lo[L], hi[L];
    for (int k = 0; k < L; ++k) lo[k] = hi[k] = src[k % channels];
    const int n = size.width * channels;
    for (int y = 0; y < size.height; ++y) {
        const T* __restrict s = row_at(src, step, y);
        int x = 0;
        for (; x + L <= n; x += L)
            for (int k = 0; k < L; ++k) {
                const T v = s[x + k];
                lo[k] = v < lo[k] ? v : lo[k];
                hi[k] = hi[k] < v ? v : hi[k];
            }
        for (int k = 0; x < n; ++x, ++k) {
            const T v = s[x];
            lo[k] = v < lo[k] ? v : lo[k];
            hi[k] = hi[k] < v ? v : hi[k];
        }
    }
    for (int c = 0; c < channels; ++c) {
        T a = lo[c], b = hi[c];
        for (int k = c + channels; k < L; k += channels) {
            a = lo[k] < a ? lo[k] : a;
            b = b < hi[k] ? hi[k] : b;
        }
        mn[c] = a;
        mx[c] = b;
    }
    return st_ok;
}

// Variance from exact integer moments: (N * sum2 - sum^2) / N^2, the
// numerator in 128-bit integers (exact while N stays below 2^47).
void finish_moments(uint64_t sum, unsigned __int128 sum2, uint64_t count, double* mean, double* stddev) {
    const unsigned __int128 n = count;
    const unsigned __int128 numerator = n * sum2 - static_cast<unsigned __int128>(sum) * sum;
    const double nd = static_cast<double>(count);
    *mean = static_cast<double>(sum) / nd;
    *stddev = std::sqrt(static_cast<double>(numerator) / (nd * nd));
}

int mean_stddev_8u(const uint8_t* src, int step, Size size, double* mean, double* stddev) {
    if (!src || !mean || !stddev) return st_null;
    if (empty_region(size)) return st_size;
    uint64_t sum = 0;
    unsigned __int128 sum2 = 0;
    const int n = size.width;
    for (int y = 0; y < size.height; ++y) {
        const uint8_t* __restrict s = row_at(src, step, y);
        for (int x0 = 0; x0 < n; x0 += kChunk) {
            const int end = n - x0 < kChunk ? n : x0 + kChunk;
            uint32_t a = 0, q = 0;  // 65536 * 255^2 < 2^32
            for (int x = x0; x < end; ++x) {
                const uint32_t v = s[x];
                a += v;
                q += v * v;
            }
            sum += a;
            sum2 += q;
        }
    }
    finish_moments(sum, sum2, static_cast<uint64_t>(size.width) * static_cast<uint64_t>(size.height), mean, stddev);
    return st_ok;
}

int mean_stddev_16u(const uint16_t* src, int step, Size size, double* mean, double* stddev) {
    if (!src || !mean || !stddev) return st_null;
    if (empty_region(size)) return st_size;
    uint64_t sum = 0;
    unsigned __int128 sum2 = 0;
    const int n = size.width;
    for (int y = 0; y < size.height; ++y) {
        const uint16_t* __restrict s = row_at(src, step, y);
        for (int x0 = 0; x0 < n; x0 += kChunk) {
            const int end = n - x0 < kChunk ? n : x0 + kChunk;
            uint32_t a = 0;
            uint64_t q = 0;  // 65536 * 65535^2 < 2^64
            for (int x = x0; x < end; ++x) {
                const uint32_t v = s[x];
                a += v;
                q += static_cast<uint64_t>(v * v);
            }
            sum += a;
            sum2 += q;
        }
    }
    finish_moments(sum, sum2, static_cast<uint64_t>(size.width) * static_cast<uint64_t>(size.height), mean, stddev);
    return st_ok;
}

int mean_stddev_32f(const float* src, int step, Size size, double* mean, double* stddev) {
    if (!src || !mean || !stddev) return st_null;
    if (empty_region(size)) return st_size;
    const double shift = static_cast<double>(src[0]);
    double s1[kFloatLanes] = {}, s2[kFloatLanes] = {};
    const int n = size.width;
    for (int y = 0; y < size.height; ++y) {
        const float* __restrict s = row_at(src, step, y);
        int x = 0;
        for (; x + kFloatLanes <= n; x += kFloatLanes)
            for (int k = 0; k < kFloatLanes; ++k) {
                const double d = static_cast<double>(s[x + k]) - shift;
                s1[k] += d;
                s2[k] += d * d;
            }
        for (int k = 0; x < n; ++x, ++k) {
            const double d = static_cast<double>(s[x]) - shift;
            s1[k] += d;
            s2[k] += d * d;
        }
    }
    double a = 0, q = 0;
    for (int k = 0; k < kFloatLanes; ++k) {
        a += s1[k];
        q += s2[k];
    }
    const double nd = static_cast<double>(size.width) * static_cast<double>(size.height);
    const double m = a / nd;
    const double var = q / nd - m * m;
    *mean = shift + m;
    *stddev = std::sqrt(var > 0 ? var : 0.0);
    return st_ok;
}

// Samples before the first 64-byte boundary of a destination row: stores
// that start on a boundary never straddle two cache lines.
template <class T>
int head_to_boundary(const T* d, int n) {
    const auto misalign = static_cast<int>(reinterpret_cast<uintptr_t>(d) & 63);
    if (misalign % sizeof(T)) return n;  // never reaches a boundary: the whole row is head
    const int head = ((64 - misalign) & 63) / static_cast<int>(sizeof(T));
    return head < n ? head : n;
}

template <class T, bool Max>
inline T pick_one(T p, T q) {
    if constexpr (Max)
        return p < q ? q : p;
    else
        return q < p ? q : p;
}

template <class T, bool Max>
void pick_row(const T* __restrict p, const T* q, T* d, int n) {
    const int head = head_to_boundary(d, n);
    for (int x = 0; x < head; ++x) d[x] = pick_one<T, Max>(p[x], q[x]);
    if (head == n) return;
    T* da = static_cast<T*>(__builtin_assume_aligned(d + head, 64));
    const T* pa = p + head;
    const T* qa = q + head;
    for (int x = 0; x < n - head; ++x) da[x] = pick_one<T, Max>(pa[x], qa[x]);
}

// A row that is both operand and destination gets a loop of its own: the
// compiler's overlap test would otherwise send it to the scalar fallback.
template <class T, bool Max>
void pick_row_in_place(const T* __restrict p, T* __restrict d, int n) {
    const int head = head_to_boundary(d, n);
    for (int x = 0; x < head; ++x) d[x] = pick_one<T, Max>(p[x], d[x]);
    if (head == n) return;
    T* __restrict da = static_cast<T*>(__builtin_assume_aligned(d + head, 64));
    const T* __restrict pa = p + head;
    for (int x = 0; x < n - head; ++x) da[x] = pick_one<T, Max>(pa[x], da[x]);
}

template <class T, bool Max>
int pick(const T* a, int a_step, const T* b, int b_step, T* dst, int dst_step, Size size) {
    if (!a || !b || !dst) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y) {
        const T* p = row_at(a, a_step, y);
        const T* q = row_at(b, b_step, y);
        T* d = row_at(dst, dst_step, y);
        if (q == d)
            pick_row_in_place<T, Max>(p, d, size.width);
        else if (p == d)
            pick_row_in_place<T, Max>(q, d, size.width);
        else
            pick_row<T, Max>(p, q, d, size.width);
    }
    return st_ok;
}

}  // namespace

int sum_8u_c1(const uint8_t* s, int st, Size z, double* r) { return sum_int(s, st, z, r); }
int sum_16u_c1(const uint16_t* s, int st, Size z, double* r) { return sum_int(s, st, z, r); }
int sum_32f_c1(const float* s, int st, Size z, double* r) { return sum_float(s, st, z, r); }

int min_max_8u_c1(const uint8_t* s, int st, Size z, uint8_t* a, uint8_t* b) { return min_max(s, st, z, 1, a, b); }
int min_max_16u_c1(const uint16_t* s, int st, Size z, uint16_t* a, uint16_t* b) { return min_max(s, st, z, 1, a, b); }
int min_max_32f_c1(const float* s, int st, Size z, float* a, float* b) { return min_max(s, st, z, 1, a, b); }
int min_max_8u_c3(const uint8_t* s, int st, Size z, uint8_t* a, uint8_t* b) { return min_max(s, st, z, 3, a, b); }
int min_max_16u_c3(const uint16_t* s, int st, Size z, uint16_t* a, uint16_t* b) { return min_max(s, st, z, 3, a, b); }
int min_max_32f_c3(const float* s, int st, Size z, float* a, float* b) { return min_max(s, st, z, 3, a, b); }

int mean_stddev_8u_c1(const uint8_t* s, int st, Size z, double* m, double* d) { return mean_stddev_8u(s, st, z, m, d); }
int mean_stddev_16u_c1(const uint16_t* s, int st, Size z, double* m, double* d) {
    return mean_stddev_16u(s, st, z, m, d);
}
int mean_stddev_32f_c1(const float* s, int st, Size z, double* m, double* d) { return mean_stddev_32f(s, st, z, m, d); }

int max_8u_c1(const uint8_t* a, int as, const uint8_t* b, int bs, uint8_t* d, int ds, Size z) {
    return pick<uint8_t, true>(a, as, b, bs, d, ds, z);
}
int max_16u_c1(const uint16_t* a, int as, const uint16_t* b, int bs, uint16_t* d, int ds, Size z) {
    return pick<uint16_t, true>(a, as, b, bs, d, ds, z);
}
int min_8u_c1(const uint8_t* a, int as, const uint8_t* b, int bs, uint8_t* d, int ds, Size z) {
    return pick<uint8_t, false>(a, as, b, bs, d, ds, z);
}
int min_16u_c1(const uint16_t* a, int as, const uint16_t* b, int bs, uint16_t* d, int ds, Size z) {
    return pick<uint16_t, false>(a, as, b, bs, d, ds, z);
}

int max_8u_c1ir(const uint8_t* s, int ss, uint8_t* d, int ds, Size z) {
    return pick<uint8_t, true>(s, ss, d, ds, d, ds, z);
}
int max_16u_c1ir(const uint16_t* s, int ss, uint16_t* d, int ds, Size z) {
    return pick<uint16_t, true>(s, ss, d, ds, d, ds, z);
}
int min_8u_c1ir(const uint8_t* s, int ss, uint8_t* d, int ds, Size z) {
    return pick<uint8_t, false>(s, ss, d, ds, d, ds, z);
}
int min_16u_c1ir(const uint16_t* s, int ss, uint16_t* d, int ds, Size z) {
    return pick<uint16_t, false>(s, ss, d, ds, d, ds, z);
}

}  // namespace lum::prim::LUM_ISA
