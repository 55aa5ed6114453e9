// Run finding and label painting for the object measurement. A row is read
// 64 samples at a time into a mask with one bit per non-zero sample (a few
// vector compares per block); a block that neither starts nor ends a run
// (all zero after a zero, all set after a set sample) costs nothing more, so
// long background stretches and long runs go at memory speed. Run starts and
// ends are the mask's rising and falling edges, read off its set bits. Rows
// are read with unaligned loads: a borrowed 16-bit row may start at an odd
// address. The last partial block is copied into a zeroed block first, so
// no load passes the row's end.
#include "primitives/kernel.hpp"
#include "primitives/objects.hpp"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace lum::prim::LUM_ISA {

namespace {

constexpr int kBlock = 64;  // samples per mask

// Bit i set when sample i of the 64 at p is non-zero.
#if defined(__AVX512BW__)
inline uint64_t nonzero_8u(const uint8_t* p) {
    const __m512i v = _mm512_loadu_si512(p);
    return _mm512_test_epi8_mask(v, v);
}
inline uint64_t nonzero_16u(const uint8_t* p) {
    const __m512i a = _mm512_loadu_si512(p), b = _mm512_loadu_si512(p + 64);
    return static_cast<uint64_t>(_mm512_test_epi16_mask(a, a)) |
           static_cast<uint64_t>(_mm512_test_epi16_mask(b, b)) << 32;
}
#elif defined(__AVX2__)
inline __m256i load32(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
inline uint64_t nonzero_8u(const uint8_t* p) {
    const __m256i zero = _mm256_setzero_si256();
    const auto lo = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(load32(p), zero)));
    const auto hi = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(load32(p + 32), zero)));
    return ~(static_cast<uint64_t>(hi) << 32 | lo);
}
// 32 samples: the two compares packed to bytes (packs works per 128-bit lane,
// the permute puts the quarters back in order).
inline uint32_t zero_32x16u(const uint8_t* p) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i a = _mm256_cmpeq_epi16(load32(p), zero), b = _mm256_cmpeq_epi16(load32(p + 32), zero);
    const __m256i packed = _mm256_permute4x64_epi64(_mm256_packs_epi16(a, b), 0xD8);
    return static_cast<uint32_t>(_mm256_movemask_epi8(packed));
}
inline uint64_t nonzero_16u(const uint8_t* p) {
    return ~(static_cast<uint64_t>(zero_32x16u(p + 64)) << 32 | zero_32x16u(p));
}
#elif defined(__SSE2__)
inline __m128i load16(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline uint64_t nonzero_8u(const uint8_t* p) {
    const __m128i zero = _mm_setzero_si128();
    uint64_t m = 0;
    for (int q = 0; q < 4; ++q)
        m |= static_cast<uint64_t>(static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(load16(p + 16 * q), zero))))
             << (16 * q);
    return ~m;
}
inline uint64_t nonzero_16u(const uint8_t* p) {
    const __m128i zero = _mm_setzero_si128();
    uint64_t m = 0;
    for (int q = 0; q < 4; ++q) {
        const uint8_t* s = p + 32 * q;
        const __m128i packed = _mm_packs_epi16(_mm_cmpeq_epi16(load16(s), zero), _mm_cmpeq_epi16(load16(s + 16), zero));
        m |= static_cast<uint64_t>(static_cast<uint32_t>(_mm_movemask_epi8(packed))) << (16 * q);
    }
    return ~m;
}
#else
// Eight samples per 64-bit word: a byte's top bit is set when the byte is
// non-zero, then the eight top bits are gathered by one multiplication.
inline uint64_t nonzero_bytes(uint64_t w) {
    constexpr uint64_t low7 = 0x7F7F7F7F7F7F7F7Full;
    const uint64_t tops = (((w & low7) + low7) | w) & ~low7;
    return ((tops >> 7) * 0x0102040810204080ull) >> 56;
}
inline uint64_t nonzero_8u(const uint8_t* p) {
    uint64_t m = 0;
    for (int q = 0; q < 8; ++q) {
        uint64_t w;
        std::memcpy(&w, p + 8 * q, 8);
        m |= nonzero_bytes(w) << (8 * q);
    }
    return m;
}
inline uint64_t nonzero_16u(const uint8_t* p) {
    uint64_t m = 0;
    for (int i = 0; i < kBlock; ++i) {
        uint16_t v;
        std::memcpy(&v, p + 2 * i, 2);
        m |= static_cast<uint64_t>(v != 0) << i;
    }
    return m;
}
#endif

struct edges {
    int32_t* starts;
    int32_t* ends;
    int32_t ns = 0, ne = 0;
    uint64_t carry = 0;  // 1 when the sample before the block is non-zero

    // Block of mask m at column x: starts where a set bit follows a clear one,
    // ends (one past the run) where a clear bit follows a set one.
    void add(uint64_t m, int32_t x) {
        const uint64_t before = m << 1 | carry;
        carry = m >> 63;
        uint64_t s = m & ~before, e = ~m & before;
        while (s != 0) {
            starts[ns++] = x + __builtin_ctzll(s);
            s &= s - 1;
        }
        while (e != 0) {
            ends[ne++] = x + __builtin_ctzll(e);
            e &= e - 1;
        }
    }
};

template <int Bytes, class Mask>
int runs_of(const uint8_t* row, int32_t width, int32_t* starts, int32_t* ends, int32_t* count, Mask mask) {
    if (!row || !starts || !ends || !count) return st_null;
    if (width <= 0) return st_size;
    edges e{starts, ends};
    const int32_t whole = width - width % kBlock;
    int32_t x = 0;
    for (; x < whole; x += kBlock) {
        const uint64_t m = mask(row + static_cast<ptrdiff_t>(x) * Bytes);
        // Nothing starts or ends: background after background, or a run going on.
        if (m == (e.carry ? ~0ull : 0ull)) continue;
        e.add(m, x);
    }
    if (x < width) {
        alignas(64) uint8_t tail[kBlock * Bytes] = {};
        std::memcpy(tail, row + static_cast<ptrdiff_t>(x) * Bytes, static_cast<size_t>(width - x) * Bytes);
        e.add(mask(tail), x);  // samples past the end read as zero and close an open run at width
    } else if (e.carry) {
        e.ends[e.ne++] = width;
    }
    *count = e.ns;
    return st_ok;
}

// 16-bit value v into n samples at p, any address. Only whole stores inside
// the n samples: the row may end where its buffer ends.
inline void fill_16u(uint8_t* p, uint16_t v, int32_t n) {
#if defined(__AVX512BW__)
    const __m512i wide = _mm512_set1_epi16(static_cast<short>(v));
    for (; n >= 32; n -= 32, p += 64) _mm512_storeu_si512(p, wide);
#endif
#if defined(__AVX2__)
    const __m256i half = _mm256_set1_epi16(static_cast<short>(v));
    for (; n >= 16; n -= 16, p += 32) _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), half);
#endif
#if defined(__SSE2__)
    const __m128i quarter = _mm_set1_epi16(static_cast<short>(v));
    for (; n >= 8; n -= 8, p += 16) _mm_storeu_si128(reinterpret_cast<__m128i*>(p), quarter);
#endif
    const uint64_t word = v * 0x0001000100010001ull;
    for (; n >= 4; n -= 4, p += 8) std::memcpy(p, &word, 8);
    for (; n > 0; --n, p += 2) std::memcpy(p, &v, 2);
}

// The widest store of the level: kLane samples of one value.
#if defined(__AVX512BW__)
constexpr int32_t kLane = 32;
inline void store_lane(uint8_t* p, uint16_t v) { _mm512_storeu_si512(p, _mm512_set1_epi16(static_cast<short>(v))); }
#elif defined(__AVX2__)
constexpr int32_t kLane = 16;
inline void store_lane(uint8_t* p, uint16_t v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm256_set1_epi16(static_cast<short>(v)));
}
#elif defined(__SSE2__)
constexpr int32_t kLane = 8;
inline void store_lane(uint8_t* p, uint16_t v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_set1_epi16(static_cast<short>(v)));
}
#else
constexpr int32_t kLane = 4;
inline void store_lane(uint8_t* p, uint16_t v) {
    const uint64_t word = v * 0x0001000100010001ull;
    std::memcpy(p, &word, 8);
}
#endif

// Samples a .. b - 1 of a row of `width` receive v. Spans come left to right
// and cover the row, so a span may store whole lanes past its end: the spans
// after it write those samples again. Only near the row's end, where no span
// follows inside the row, are the stores cut to the span.
inline void paint_span(uint8_t* row, int32_t width, int32_t a, int32_t b, uint16_t v) {
    if (b <= a) return;
    uint8_t* p = row + 2 * static_cast<ptrdiff_t>(a);
    if (b <= width - kLane + 1) {
        for (int32_t x = a; x < b; x += kLane, p += 2 * kLane) store_lane(p, v);
    } else {
        fill_16u(p, v, b - a);
    }
}

}  // namespace

int object_runs_8u(const uint8_t* row, int32_t width, int32_t* starts, int32_t* ends, int32_t* count) {
    return runs_of<1>(row, width, starts, ends, count, [](const uint8_t* p) { return nonzero_8u(p); });
}

int object_runs_16u(const uint8_t* row, int32_t width, int32_t* starts, int32_t* ends, int32_t* count) {
    return runs_of<2>(row, width, starts, ends, count, [](const uint8_t* p) { return nonzero_16u(p); });
}

int paint_label_row_16u(uint8_t* row, int32_t width, const LabelRun* runs, int32_t count, const uint32_t* final) {
    if (!row || (count > 0 && (!runs || !final))) return st_null;
    if (width <= 0) return st_size;
    int32_t x = 0;
    for (int32_t k = 0; k < count; ++k) {
        const LabelRun& r = runs[k];
        paint_span(row, width, x, r.start, 0);
        paint_span(row, width, r.start, r.end, static_cast<uint16_t>(final[r.label]));
        x = r.end;
    }
    paint_span(row, width, x, width, 0);
    return st_ok;
}

}  // namespace lum::prim::LUM_ISA
