// Start-point scan of the contour tracer, one body per sample type: the test
// runs over blocks of a fixed number of columns so that it vectorizes, and the
// flags are then read eight at a time, so empty stretches cost almost nothing.
#include "primitives/contour_scan.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

namespace {

constexpr int kBlock = 64;

// Flags (0 or 1) for columns x0 .. x0 + n - 1, all at least 1; reads column x0 - 1 to x0 + n.
template <class T, int N>
inline void block_flags(const T* __restrict above, const T* __restrict row, int32_t x0, uint8_t* __restrict f) {
    if (above) {
        for (int i = 0; i < N; ++i) {
            const int32_t x = x0 + i;
            const T around = static_cast<T>(row[x - 1] | above[x - 1] | above[x] | above[x + 1]);
            f[i] = static_cast<uint8_t>((row[x] != 0) & (around == 0));
        }
    } else {
        for (int i = 0; i < N; ++i) {
            const int32_t x = x0 + i;
            f[i] = static_cast<uint8_t>((row[x] != 0) & (row[x - 1] == 0));
        }
    }
}

template <class T>
inline void block_flags_tail(const T* above, const T* row, int32_t x0, int n, uint8_t* f) {
    for (int i = 0; i < n; ++i) {
        const int32_t x = x0 + i;
        const T around = above ? static_cast<T>(row[x - 1] | above[x - 1] | above[x] | above[x + 1]) : row[x - 1];
        f[i] = static_cast<uint8_t>((row[x] != 0) & (around == 0));
    }
    for (int i = n; i < kBlock; ++i) f[i] = 0;
}

inline int32_t collect(const uint8_t* f, int32_t x0, int32_t* xs, int32_t n) {
    for (int i = 0; i < kBlock; i += 8) {
        uint64_t w;
        std::memcpy(&w, f + i, 8);
        while (w != 0) {
            const int byte = __builtin_ctzll(w) >> 3;
            xs[n++] = x0 + i + byte;
            w &= w - 1;
        }
    }
    return n;
}

template <class T>
int starts(const T* above, const T* row, int32_t width, int32_t* xs, int32_t* count) {
    if (!row || !xs || !count) return st_null;
    if (width <= 0) return st_size;
    int32_t n = 0;
    const int32_t end = width - 1;  // columns before the last one
    if (end >= 1 && row[0] != 0 && (!above || (above[0] | above[1]) == 0)) xs[n++] = 0;
    alignas(64) uint8_t flags[kBlock];
    int32_t x0 = 1;
    for (; x0 + kBlock <= end; x0 += kBlock) {
        block_flags<T, kBlock>(above, row, x0, flags);
        n = collect(flags, x0, xs, n);
    }
    if (x0 < end) {
        block_flags_tail(above, row, x0, end - x0, flags);
        n = collect(flags, x0, xs, n);
    }
    *count = n;
    return st_ok;
}

}  // namespace

int contour_starts_8u(const uint8_t* above, const uint8_t* row, int32_t width, int32_t* xs, int32_t* count) {
    return starts(above, row, width, xs, count);
}

int contour_starts_16u(const uint16_t* above, const uint16_t* row, int32_t width, int32_t* xs, int32_t* count) {
    return starts(above, row, width, xs, count);
}

}  // namespace lum::prim::LUM_ISA
