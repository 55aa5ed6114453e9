// Start-point scan of the contour tracer, one body per sample type: the test
// is made for 64 columns at once into a bit mask (one bit per column), so a
// row costs a few vector operations per 64 samples and the start columns are
// read off the mask's set bits.
#include "primitives/contour_scan.hpp"
#include "primitives/kernel.hpp"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace lum::prim::LUM_ISA {

namespace {

constexpr int kSpan = 64;  // columns per mask

// Bit i set when column x0 + i is a start point: row[x] non-zero and
// row[x - 1], above[x - 1], above[x], above[x + 1] all zero (above null: only row[x - 1]).
// Reads columns x0 - 1 .. x0 + 64.
#if defined(__AVX512BW__)
inline uint64_t start_mask(const uint8_t* above, const uint8_t* row, int32_t x0) {
    const __m512i r = _mm512_loadu_si512(row + x0);
    __m512i around = _mm512_loadu_si512(row + x0 - 1);
    if (above)
        around = _mm512_ternarylogic_epi64(around, _mm512_loadu_si512(above + x0 - 1),
                                           _mm512_or_si512(_mm512_loadu_si512(above + x0),
                                                           _mm512_loadu_si512(above + x0 + 1)),
                                           0xFE);
    return _mm512_test_epi8_mask(r, r) & _mm512_testn_epi8_mask(around, around);
}
inline uint64_t start_mask(const uint16_t* above, const uint16_t* row, int32_t x0) {
    uint64_t m = 0;
    for (int h = 0; h < 2; ++h) {
        const int32_t x = x0 + 32 * h;
        const __m512i r = _mm512_loadu_si512(row + x);
        __m512i around = _mm512_loadu_si512(row + x - 1);
        if (above)
            around = _mm512_ternarylogic_epi64(around, _mm512_loadu_si512(above + x - 1),
                                               _mm512_or_si512(_mm512_loadu_si512(above + x),
                                                               _mm512_loadu_si512(above + x + 1)),
                                               0xFE);
        const uint64_t part = _mm512_test_epi16_mask(r, r) & _mm512_testn_epi16_mask(around, around);
        m |= part << (32 * h);
    }
    return m;
}
#elif defined(__AVX2__)
inline __m256i around_at(const uint8_t* above, const uint8_t* row, int32_t x) {
    __m256i around = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + x - 1));
    if (above) {
        around = _mm256_or_si256(around, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(above + x - 1)));
        around = _mm256_or_si256(around, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(above + x)));
        around = _mm256_or_si256(around, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(above + x + 1)));
    }
    return around;
}
inline uint64_t start_mask(const uint8_t* above, const uint8_t* row, int32_t x0) {
    const __m256i zero = _mm256_setzero_si256();
    uint64_t m = 0;
    for (int h = 0; h < 2; ++h) {
        const int32_t x = x0 + 32 * h;
        const __m256i r = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + x));
        const auto r_zero = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(r, zero)));
        const auto a_zero =
            static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(around_at(above, row, x), zero)));
        m |= static_cast<uint64_t>(~r_zero & a_zero) << (32 * h);
    }
    return m;
}
inline __m256i around_at(const uint16_t* above, const uint16_t* row, int32_t x) {
    __m256i around = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + x - 1));
    if (above) {
        around = _mm256_or_si256(around, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(above + x - 1)));
        around = _mm256_or_si256(around, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(above + x)));
        around = _mm256_or_si256(around, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(above + x + 1)));
    }
    return around;
}
inline uint64_t start_mask(const uint16_t* above, const uint16_t* row, int32_t x0) {
    const __m256i zero = _mm256_setzero_si256();
    uint64_t m = 0;
    for (int q = 0; q < 4; ++q) {
        const int32_t x = x0 + 16 * q;
        const __m256i r = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + x));
        // Two mask bits per sample; keep one of each pair.
        const auto r_zero = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(r, zero)));
        const auto a_zero =
            static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi16(around_at(above, row, x), zero)));
        m |= static_cast<uint64_t>(_pext_u32(~r_zero & a_zero, 0x55555555u)) << (16 * q);
    }
    return m;
}
#elif defined(__SSE2__)
inline __m128i load16(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
inline __m128i around_at(const uint8_t* above, const uint8_t* row, int32_t x) {
    __m128i around = load16(row + x - 1);
    if (above)
        around = _mm_or_si128(_mm_or_si128(around, load16(above + x - 1)),
                              _mm_or_si128(load16(above + x), load16(above + x + 1)));
    return around;
}
inline uint64_t start_mask(const uint8_t* above, const uint8_t* row, int32_t x0) {
    const __m128i zero = _mm_setzero_si128();
    uint64_t m = 0;
    for (int q = 0; q < 4; ++q) {
        const int32_t x = x0 + 16 * q;
        const auto r_zero = static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(load16(row + x), zero)));
        const auto a_zero = static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(around_at(above, row, x), zero)));
        m |= static_cast<uint64_t>(~r_zero & a_zero & 0xFFFFu) << (16 * q);
    }
    return m;
}
inline __m128i around_at(const uint16_t* above, const uint16_t* row, int32_t x) {
    __m128i around = load16(row + x - 1);
    if (above)
        around = _mm_or_si128(_mm_or_si128(around, load16(above + x - 1)),
                              _mm_or_si128(load16(above + x), load16(above + x + 1)));
    return around;
}
inline uint64_t start_mask(const uint16_t* above, const uint16_t* row, int32_t x0) {
    const __m128i zero = _mm_setzero_si128();
    uint64_t m = 0;
    for (int q = 0; q < 4; ++q) {
        const int32_t x = x0 + 16 * q;
        // Compare results of 16 samples packed to one byte each.
        const __m128i r_zero = _mm_packs_epi16(_mm_cmpeq_epi16(load16(row + x), zero),
                                               _mm_cmpeq_epi16(load16(row + x + 8), zero));
        const __m128i a_zero = _mm_packs_epi16(_mm_cmpeq_epi16(around_at(above, row, x), zero),
                                               _mm_cmpeq_epi16(around_at(above, row, x + 8), zero));
        const auto bits = static_cast<uint32_t>(_mm_movemask_epi8(_mm_andnot_si128(r_zero, a_zero)));
        m |= static_cast<uint64_t>(bits) << (16 * q);
    }
    return m;
}
#else
template <class T>
inline uint64_t start_mask(const T* above, const T* row, int32_t x0) {
    uint64_t m = 0;
    for (int i = 0; i < kSpan; ++i) {
        const int32_t x = x0 + i;
        const T around = above ? static_cast<T>(row[x - 1] | above[x - 1] | above[x] | above[x + 1]) : row[x - 1];
        m |= static_cast<uint64_t>((row[x] != 0) & (around == 0)) << i;
    }
    return m;
}
#endif

template <class T>
inline int32_t collect(const T* above, const T* row, int32_t x0, int32_t x1, int32_t* xs, int32_t n) {
    for (int32_t x = x0; x < x1; ++x) {
        const bool around = row[x - 1] != 0 || (above && (above[x - 1] | above[x] | above[x + 1]) != 0);
        if (row[x] != 0 && !around) xs[n++] = x;
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
    // Spans of 64 columns; the last span is moved back to end at the last
    // column examined, and its columns already covered are shifted out.
    for (int32_t x0 = 1; x0 < end; x0 += kSpan) {
        const int32_t x1 = x0 + kSpan <= end ? x0 + kSpan : end;
        const int32_t s0 = x1 - kSpan;
        if (s0 < 1) {
            n = collect(above, row, x0, x1, xs, n);
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

}  // namespace

int contour_starts_8u(const uint8_t* above, const uint8_t* row, int32_t width, int32_t* xs, int32_t* count) {
    return starts(above, row, width, xs, count);
}

int contour_starts_16u(const uint16_t* above, const uint16_t* row, int32_t width, int32_t* xs, int32_t* count) {
    return starts(above, row, width, xs, count);
}

}  // namespace lum::prim::LUM_ISA
