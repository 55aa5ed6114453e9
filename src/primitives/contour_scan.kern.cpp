// Start-point scan of the contour tracer: the test is made for 64 columns at
// once into a bit mask (one bit per column, from the lanes of a few vector
// compares), so a row costs a few vector operations per 64 samples and the
// start columns are read off the mask's set bits.
#include "primitives/contour_scan.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

namespace {

constexpr int kSpan = 64;  // columns per mask

// Bit i set when column x0 + i is a start point: row[x] non-zero and
// row[x - 1], above[x - 1], above[x], above[x + 1] all zero (above null: only
// row[x - 1]). Reads columns x0 - 1 .. x0 + 64.
template <class T>
inline uint64_t start_mask(const T* above, const T* row, int32_t x0) {
    using V = simd::vec<T>;
    constexpr int L = simd::lanes<T>;
    uint64_t m = 0;
    for (int i = 0; i < kSpan / L; ++i) {
        const int32_t x = x0 + i * L;
        V around = simd::load(row + x - 1);
        if (above) around |= simd::load(above + x - 1) | simd::load(above + x) | simd::load(above + x + 1);
        const auto start = (simd::load(row + x) != 0) & (around == 0);
        m |= simd::lane_bits(start) << (i * L);
    }
    return m;
}

template <class T>
inline bool starts_at(const T* above, const T* row, int32_t x) {
    const bool around = load_one(row + x - 1) != 0 ||
                        (above && (load_one(above + x - 1) | load_one(above + x) | load_one(above + x + 1)) != 0);
    return load_one(row + x) != 0 && !around;
}

}  // namespace

template <class T>
int contour_starts(const T* above, const T* row, int32_t width, int32_t* xs, int32_t* count) {
    if (!row || !xs || !count) return st_null;
    if (width <= 0) return st_size;
    int32_t n = 0;
    const int32_t end = width - 1;  // columns before the last one
    if (end >= 1 && load_one(row) != 0 && (!above || (load_one(above) | load_one(above + 1)) == 0)) xs[n++] = 0;
    // Spans of 64 columns; the last span is moved back to end at the last
    // column examined, and its columns already covered are shifted out.
    for (int32_t x0 = 1; x0 < end; x0 += kSpan) {
        const int32_t x1 = x0 + kSpan <= end ? x0 + kSpan : end;
        const int32_t s0 = x1 - kSpan;
        if (s0 < 1) {
            for (int32_t x = x0; x < x1; ++x)
                if (starts_at(above, row, x)) xs[n++] = x;
            continue;
        }
        uint64_t m = start_mask(above, row, s0) >> (x0 - s0);
        while (m != 0) {
            xs[n++] = x0 + __builtin_ctzll(m);
            m &= m - 1;
        }
    }
    *count = n;
    return st_ok;
}

LUM_INSTANTIATE(contour_starts, uint8_t)
LUM_INSTANTIATE(contour_starts, uint16_t)

}  // namespace lum::prim::LUM_ISA
