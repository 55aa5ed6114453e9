// Start-point scan of the contour tracer, one body per sample type: blocks of
// a fixed number of columns are first tested as a whole with vector code, so
// the columns are looked at one by one only where a start point lies.
#include "primitives/contour_scan.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

namespace {

constexpr int kBlock = 256;  // tested as a whole
constexpr int kPart = 32;    // a hit block is narrowed down in parts of this size

inline bool is_start(bool on, bool around) { return on & !around; }

// Whether any of columns x0 .. x0 + N - 1 (all at least 1) is a start
// point: a pure reduction, so it stays in vector registers; the rare block
// that holds one is then examined column by column.
template <int N, class T>
inline bool block_has_start(const T* __restrict above, const T* __restrict row, int32_t x0) {
    uint8_t any = 0;
    if (above) {
        for (int i = 0; i < N; ++i) {
            const int32_t x = x0 + i;
            const T around = static_cast<T>(row[x - 1] | above[x - 1] | above[x] | above[x + 1]);
            any |= static_cast<uint8_t>((row[x] != 0) & (around == 0));
        }
    } else {
        for (int i = 0; i < N; ++i) {
            const int32_t x = x0 + i;
            any |= static_cast<uint8_t>((row[x] != 0) & (row[x - 1] == 0));
        }
    }
    return any != 0;
}

template <class T>
inline int32_t collect(const T* above, const T* row, int32_t x0, int32_t x1, int32_t* xs, int32_t n) {
    for (int32_t x = x0; x < x1; ++x) {
        const bool around = row[x - 1] != 0 || (above && (above[x - 1] | above[x] | above[x + 1]) != 0);
        if (is_start(row[x] != 0, around)) xs[n++] = x;
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
    // Whole blocks, then one last block that overlaps the previous one, of
    // which only the columns not yet examined are collected.
    for (int32_t x0 = 1; x0 < end; x0 += kBlock) {
        const int32_t x1 = x0 + kBlock <= end ? x0 + kBlock : end;
        const int32_t b0 = x1 - kBlock;
        if (b0 < 1) {
            n = collect(above, row, x0, x1, xs, n);
            continue;
        }
        if (!block_has_start<kBlock>(above, row, b0)) continue;
        for (int32_t p0 = b0; p0 < x1; p0 += kPart)
            if (p0 + kPart > x0 && block_has_start<kPart>(above, row, p0))
                n = collect(above, row, p0 > x0 ? p0 : x0, p0 + kPart, xs, n);
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
