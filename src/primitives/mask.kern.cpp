// Masked mean, standard deviation and extremes. Rows are taken in chunks
// short enough that 32-bit lane sums cannot overflow, so the loops stay in
// narrow vector lanes; a non-selected sample contributes through a
// branch-free select.
#include <cmath>

#include "primitives/kernel.hpp"
#include "primitives/mask.hpp"

namespace lum::prim::LUM_ISA {

namespace {

constexpr int kChunk = 65536;  // 65535 * 65536 still fits 32 bits

struct Moments {
    uint64_t count = 0;
    uint64_t sum = 0;
    uint64_t squares = 0;
};

template <class T>
void add_row(const T* __restrict s, const uint8_t* __restrict m, int n, Moments& acc) {
    for (int start = 0; start < n; start += kChunk) {
        const int end = n - start < kChunk ? n : start + kChunk;
        uint32_t count = 0, sum = 0;
        for (int x = start; x < end; ++x) {
            const uint32_t in = m[x] != 0;
            count += in;
            sum += s[x] & (0u - in);
        }
        acc.count += count;
        acc.sum += sum;
    }
}

// 8-bit squares fit 32-bit lanes per chunk; 16-bit squares need 64 bits.
void add_row_squares(const uint8_t* __restrict s, const uint8_t* __restrict m, int n, Moments& acc) {
    for (int start = 0; start < n; start += kChunk) {
        const int end = n - start < kChunk ? n : start + kChunk;
        uint32_t count = 0, sum = 0, squares = 0;
        for (int x = start; x < end; ++x) {
            const uint32_t in = m[x] != 0;
            const uint32_t v = s[x] & (0u - in);
            count += in;
            sum += v;
            squares += v * v;
        }
        acc.count += count;
        acc.sum += sum;
        acc.squares += squares;
    }
}

void add_row_squares(const uint16_t* __restrict s, const uint8_t* __restrict m, int n, Moments& acc) {
    for (int start = 0; start < n; start += kChunk) {
        const int end = n - start < kChunk ? n : start + kChunk;
        uint32_t count = 0, sum = 0;
        uint64_t squares = 0;
        for (int x = start; x < end; ++x) {
            const uint32_t in = m[x] != 0;
            const uint32_t v = s[x] & (0u - in);
            count += in;
            sum += v;
            squares += static_cast<uint64_t>(v) * v;
        }
        acc.count += count;
        acc.sum += sum;
        acc.squares += squares;
    }
}

void finish_moments(const Moments& acc, double* mean, double* stddev) {
    if (acc.count == 0) {
        *mean = 0.0;
        if (stddev) *stddev = 0.0;
        return;
    }
    const double n = static_cast<double>(acc.count);
    const double m = static_cast<double>(acc.sum) / n;
    *mean = m;
    if (stddev) {
        // Integer sums are exact; only the final difference can go a hair below 0.
        const double variance = static_cast<double>(acc.squares) / n - m * m;
        *stddev = variance > 0.0 ? sqrt(variance) : 0.0;
    }
}

template <class T>
int masked_moments(const T* src, int src_step, const uint8_t* mask, int mask_step, Size size, double* mean,
                   double* stddev, bool with_stddev) {
    if (!src || !mask || !mean || (with_stddev && !stddev)) return st_null;
    if (empty_region(size)) return st_size;
    Moments acc;
    for (int y = 0; y < size.height; ++y) {
        if (with_stddev)
            add_row_squares(row_at(src, src_step, y), row_at(mask, mask_step, y), size.width, acc);
        else
            add_row(row_at(src, src_step, y), row_at(mask, mask_step, y), size.width, acc);
    }
    finish_moments(acc, mean, with_stddev ? stddev : nullptr);
    return st_ok;
}

template <class T>
int masked_min_max(const T* src, int src_step, const uint8_t* mask, int mask_step, Size size, float* minimum,
                   float* maximum) {
    if (!src || !mask || !minimum || !maximum) return st_null;
    if (empty_region(size)) return st_size;
    constexpr T top = static_cast<T>(~T{0});
    T lo = top, hi = 0;
    for (int y = 0; y < size.height; ++y) {
        const T* __restrict s = row_at(src, src_step, y);
        const uint8_t* __restrict m = row_at(mask, mask_step, y);
        T row_lo = top, row_hi = 0;
        for (int x = 0; x < size.width; ++x) {
            // All ones where the mask selects, else 0, in the sample's width.
            const T in = static_cast<T>(T{0} - static_cast<T>(m[x] != 0));
            const T for_lo = static_cast<T>(s[x] | static_cast<T>(~in));
            const T for_hi = static_cast<T>(s[x] & in);
            row_lo = for_lo < row_lo ? for_lo : row_lo;
            row_hi = for_hi > row_hi ? for_hi : row_hi;
        }
        lo = min_of(lo, row_lo);
        hi = max_of(hi, row_hi);
    }
    // Any selected sample leaves lo <= hi; lo > hi means nothing was selected.
    if (lo > hi) lo = hi = 0;
    *minimum = static_cast<float>(lo);
    *maximum = static_cast<float>(hi);
    return st_ok;
}

}  // namespace

int mean_8u_c1mr(const uint8_t* s, int ss, const uint8_t* m, int ms, Size z, double* mean) {
    return masked_moments(s, ss, m, ms, z, mean, nullptr, false);
}
int mean_16u_c1mr(const uint16_t* s, int ss, const uint8_t* m, int ms, Size z, double* mean) {
    return masked_moments(s, ss, m, ms, z, mean, nullptr, false);
}
int mean_stddev_8u_c1mr(const uint8_t* s, int ss, const uint8_t* m, int ms, Size z, double* mean, double* sd) {
    return masked_moments(s, ss, m, ms, z, mean, sd, true);
}
int mean_stddev_16u_c1mr(const uint16_t* s, int ss, const uint8_t* m, int ms, Size z, double* mean, double* sd) {
    return masked_moments(s, ss, m, ms, z, mean, sd, true);
}
int min_max_8u_c1mr(const uint8_t* s, int ss, const uint8_t* m, int ms, Size z, float* lo, float* hi) {
    return masked_min_max(s, ss, m, ms, z, lo, hi);
}
int min_max_16u_c1mr(const uint16_t* s, int ss, const uint8_t* m, int ms, Size z, float* lo, float* hi) {
    return masked_min_max(s, ss, m, ms, z, lo, hi);
}

}  // namespace lum::prim::LUM_ISA
