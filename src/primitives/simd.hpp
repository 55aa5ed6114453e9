// The project's small vector layer: what the kernels need that the compiler
// does not find by itself. One vector is the widest register of the level this
// file is compiled for (16 bytes on the baseline, 32 with AVX2, 64 with
// AVX-512BW); the level's macros pick the bodies, so a kernel written once
// against these names compiles for every level. Most operations are GCC vector
// extensions (+, <, ?:, __builtin_shufflevector, __builtin_convertvector), which
// every level lowers well; intrinsics stand in where a level has a better
// instruction (saturating arithmetic, masked tails, rounding conversions).
//
// Every access is unaligned and goes through memcpy or an unaligned intrinsic,
// so a caller's buffer may start at any address. Partial loads and stores
// touch exactly the lanes they are asked for: a row's tail never reads or
// writes past the row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#if defined(__SSE2__)
// GCC 12 takes the deliberately undefined pass-through operand inside the
// intrinsics' own bodies for an uninitialised read.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop
#endif

#ifndef LUM_ISA
#error "the vector layer is compiled through lum_add_kernel_variants"
#endif

namespace lum::prim::LUM_ISA::simd {

#if defined(__AVX512BW__)
inline constexpr int kBytes = 64;
#elif defined(__AVX2__)
inline constexpr int kBytes = 32;
#else
inline constexpr int kBytes = 16;
#endif

// Lanes of T that fit in `Bytes` bytes, as a GCC vector.
template <class T, int Bytes = kBytes>
struct vector_of {
    typedef T type __attribute__((vector_size(Bytes)));
};
template <class T, int Bytes = kBytes>
using vec = typename vector_of<T, Bytes>::type;
template <class T>
inline constexpr int lanes = kBytes / static_cast<int>(sizeof(T));
// The vector holding lanes<T> elements of U (half, a quarter or twice the width).
template <class U, class T>
using lanes_of = vec<U, static_cast<int>(sizeof(U)) * lanes<T>>;

// The element type of a vector.
template <class V>
using element_t = std::remove_cvref_t<decltype(std::declval<V>()[0])>;

// The integer type of T's width, for masks and bit patterns.
template <class T>
using bits_of = std::conditional_t<sizeof(T) == 1, int8_t,
                std::conditional_t<sizeof(T) == 2, int16_t, std::conditional_t<sizeof(T) == 4, int32_t, int64_t>>>;

// ---- loads and stores

template <class V>
inline V load_as(const void* p) {
    V v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
template <class T>
inline vec<T> load(const T* p) {
    return load_as<vec<T>>(p);
}
template <class V>
inline void store(void* p, V v) {
    std::memcpy(p, &v, sizeof v);
}
template <class T>
inline vec<T> splat(T value) {
    vec<T> v;  // lane by lane, not 0 + value: a float -0 keeps its sign
    for (int i = 0; i < lanes<T>; ++i) v[i] = value;
    return v;
}

#if defined(__AVX512BW__)
inline __mmask64 first_lanes_mask(int n) { return _bzhi_u64(~0ull, static_cast<unsigned>(n)); }
#endif

// The first n elements (0 <= n <= lanes) of V from p; the other lanes are 0.
template <class V>
inline V load_first(const void* p, int n) {
    constexpr int width = sizeof(V) / sizeof(V{}[0]);
    if (n >= width) return load_as<V>(p);
#if defined(__AVX512BW__)
    constexpr int esize = sizeof(V{}[0]);
    if constexpr (sizeof(V) == 64) {
        if constexpr (esize == 1) return (V)_mm512_maskz_loadu_epi8(first_lanes_mask(n), p);
        if constexpr (esize == 2) return (V)_mm512_maskz_loadu_epi16(static_cast<__mmask32>(first_lanes_mask(n)), p);
        if constexpr (esize == 4) return (V)_mm512_maskz_loadu_epi32(static_cast<__mmask16>(first_lanes_mask(n)), p);
        if constexpr (esize == 8) return (V)_mm512_maskz_loadu_epi64(static_cast<__mmask8>(first_lanes_mask(n)), p);
    } else if constexpr (sizeof(V) == 32) {
        if constexpr (esize == 1) return (V)_mm256_maskz_loadu_epi8(static_cast<__mmask32>(first_lanes_mask(n)), p);
        if constexpr (esize == 2) return (V)_mm256_maskz_loadu_epi16(static_cast<__mmask16>(first_lanes_mask(n)), p);
        if constexpr (esize == 4) return (V)_mm256_maskz_loadu_epi32(static_cast<__mmask8>(first_lanes_mask(n)), p);
    } else if constexpr (sizeof(V) == 16) {
        if constexpr (esize == 1) return (V)_mm_maskz_loadu_epi8(static_cast<__mmask16>(first_lanes_mask(n)), p);
        if constexpr (esize == 2) return (V)_mm_maskz_loadu_epi16(static_cast<__mmask8>(first_lanes_mask(n)), p);
    }
#endif
    V v{};
    std::memcpy(&v, p, static_cast<size_t>(n) * sizeof(V{}[0]));
    return v;
}

// Writes the first n elements (0 <= n <= lanes) of v to p and nothing else.
template <class V>
inline void store_first(void* p, V v, int n) {
    constexpr int width = sizeof(V) / sizeof(V{}[0]);
    if (n >= width) return store(p, v);
#if defined(__AVX512BW__)
    constexpr int esize = sizeof(V{}[0]);
    if constexpr (sizeof(V) == 64) {
        if constexpr (esize == 1) return _mm512_mask_storeu_epi8(p, first_lanes_mask(n), (__m512i)v);
        if constexpr (esize == 2)
            return _mm512_mask_storeu_epi16(p, static_cast<__mmask32>(first_lanes_mask(n)), (__m512i)v);
        if constexpr (esize == 4)
            return _mm512_mask_storeu_epi32(p, static_cast<__mmask16>(first_lanes_mask(n)), (__m512i)v);
        if constexpr (esize == 8)
            return _mm512_mask_storeu_epi64(p, static_cast<__mmask8>(first_lanes_mask(n)), (__m512i)v);
    } else if constexpr (sizeof(V) == 32) {
        if constexpr (esize == 1)
            return _mm256_mask_storeu_epi8(p, static_cast<__mmask32>(first_lanes_mask(n)), (__m256i)v);
        if constexpr (esize == 2)
            return _mm256_mask_storeu_epi16(p, static_cast<__mmask16>(first_lanes_mask(n)), (__m256i)v);
        if constexpr (esize == 4)
            return _mm256_mask_storeu_epi32(p, static_cast<__mmask8>(first_lanes_mask(n)), (__m256i)v);
    } else if constexpr (sizeof(V) == 16) {
        if constexpr (esize == 1)
            return _mm_mask_storeu_epi8(p, static_cast<__mmask16>(first_lanes_mask(n)), (__m128i)v);
        if constexpr (esize == 2)
            return _mm_mask_storeu_epi16(p, static_cast<__mmask8>(first_lanes_mask(n)), (__m128i)v);
    }
#endif
    std::memcpy(p, &v, static_cast<size_t>(n) * sizeof(V{}[0]));
}

// A streaming store of a whole vector to p, which must be aligned to the
// vector's size; streaming stores of a row are ordered before the kernel
// returns by stream_fence().
template <class V>
inline void stream(void* p, V v) {
#if defined(__AVX512F__)
    if constexpr (sizeof(V) == 64) return _mm512_stream_si512(static_cast<__m512i*>(p), (__m512i)v);
#endif
#if defined(__AVX__)
    if constexpr (sizeof(V) == 32) return _mm256_stream_si256(static_cast<__m256i*>(p), (__m256i)v);
#endif
#if defined(__SSE2__)
    if constexpr (sizeof(V) == 16) return _mm_stream_si128(static_cast<__m128i*>(p), (__m128i)v);
#endif
    store(p, v);
}
inline void stream_fence() {
#if defined(__SSE2__)
    _mm_sfence();
#endif
}

// Asks for the line kPrefetchAhead bytes past p to be brought into the
// caches. Row loops call it once per step for each source, so that rows
// coming from the outer caches or memory arrive before their loads: the
// hardware's own prefetcher falls behind a core that reads and writes the
// same lines. The address is formed as an integer (it may lie past the
// buffer, and a prefetch never faults).
inline constexpr uintptr_t kPrefetchAhead = 4096;
inline void prefetch_at(uintptr_t address) {
    __builtin_prefetch(reinterpret_cast<const void*>(address), 0, 3);
}
inline void prefetch_ahead(const void* p) {
    prefetch_at(reinterpret_cast<uintptr_t>(p) + kPrefetchAhead);
}
// prefetch_ahead for every line of a span of N bytes from p.
template <int N>
inline void prefetch_ahead_span(const void* p) {
    for (int i = 0; i < N; i += 64) prefetch_ahead(static_cast<const char*>(p) + i);
}

// All ones in the lanes below n, zeros above: a mask for the valid lanes of a row's tail.
template <class V, size_t... I>
inline V first_lanes(int n, std::index_sequence<I...>) {
    return (V)(V{static_cast<element_t<V>>(I)...} < static_cast<element_t<V>>(n));
}
template <class V>
inline V first_lanes(int n) {
    using I = vec<bits_of<element_t<V>>, static_cast<int>(sizeof(V))>;
    return (V)first_lanes<I>(n, std::make_index_sequence<sizeof(V) / sizeof(element_t<V>)>());
}

// The integer vector of V's shape: what comparisons of V give.
template <class V>
using mask_of = vec<bits_of<element_t<V>>, static_cast<int>(sizeof(V))>;

// ---- lane-wise arithmetic

template <class V>
inline V min(V a, V b) {
    return a < b ? a : b;
}
template <class V>
inline V max(V a, V b) {
    return a < b ? b : a;
}

// Saturating unsigned addition and subtraction of 8- and 16-bit lanes.
template <class V>
inline V add_sat(V a, V b) {
    constexpr int esize = sizeof(a[0]);
    static_assert(esize <= 2, "saturating arithmetic of 8- and 16-bit lanes");
#if defined(__AVX512BW__)
    if constexpr (sizeof(V) == 64) return esize == 1 ? (V)_mm512_adds_epu8((__m512i)a, (__m512i)b)
                                                     : (V)_mm512_adds_epu16((__m512i)a, (__m512i)b);
#endif
#if defined(__AVX2__)
    if constexpr (sizeof(V) == 32) return esize == 1 ? (V)_mm256_adds_epu8((__m256i)a, (__m256i)b)
                                                     : (V)_mm256_adds_epu16((__m256i)a, (__m256i)b);
#endif
#if defined(__SSE2__)
    if constexpr (sizeof(V) == 16) return esize == 1 ? (V)_mm_adds_epu8((__m128i)a, (__m128i)b)
                                                     : (V)_mm_adds_epu16((__m128i)a, (__m128i)b);
#endif
    const V s = a + b;
    return s | (V)(s < a);
}
template <class V>
inline V sub_sat(V a, V b) {
    constexpr int esize = sizeof(a[0]);
    static_assert(esize <= 2, "saturating arithmetic of 8- and 16-bit lanes");
#if defined(__AVX512BW__)
    if constexpr (sizeof(V) == 64) return esize == 1 ? (V)_mm512_subs_epu8((__m512i)a, (__m512i)b)
                                                     : (V)_mm512_subs_epu16((__m512i)a, (__m512i)b);
#endif
#if defined(__AVX2__)
    if constexpr (sizeof(V) == 32) return esize == 1 ? (V)_mm256_subs_epu8((__m256i)a, (__m256i)b)
                                                     : (V)_mm256_subs_epu16((__m256i)a, (__m256i)b);
#endif
#if defined(__SSE2__)
    if constexpr (sizeof(V) == 16) return esize == 1 ? (V)_mm_subs_epu8((__m128i)a, (__m128i)b)
                                                     : (V)_mm_subs_epu16((__m128i)a, (__m128i)b);
#endif
    return (a - b) & (V)(b <= a);
}
// |a - b| of unsigned lanes.
template <class V>
inline V abs_diff(V a, V b) {
    return sub_sat(a, b) | sub_sat(b, a);
}

// ---- conversions between lane widths (lane order kept)

// The lower or upper half of v's lanes.
template <class V, size_t... I>
inline auto lower_half(V v, std::index_sequence<I...>) {
    return __builtin_shufflevector(v, v, static_cast<int>(I)...);
}
template <class V, size_t... I>
inline auto upper_half(V v, std::index_sequence<I...>) {
    return __builtin_shufflevector(v, v, static_cast<int>(I + sizeof...(I))...);
}
template <class V>
inline auto lower_half(V v) {
    return lower_half(v, std::make_index_sequence<sizeof(V) / sizeof(V{}[0]) / 2>());
}
template <class V>
inline auto upper_half(V v) {
    return upper_half(v, std::make_index_sequence<sizeof(V) / sizeof(V{}[0]) / 2>());
}
// Two vectors of N lanes as one of 2N.
template <class V, size_t... I>
inline auto join(V lo, V hi, std::index_sequence<I...>) {
    return __builtin_shufflevector(lo, hi, static_cast<int>(I)...);
}
template <class V>
inline auto join(V lo, V hi) {
    return join(lo, hi, std::make_index_sequence<2 * sizeof(V) / sizeof(V{}[0])>());
}

// Lane-wise conversion (C++ conversion rules: integers wrap, floats truncate).
// Integers change width one doubling or halving at a time, and meet floats
// as 32-bit integers: each such step is a whole-vector instruction on every
// level, where a direct conversion over several widths may be taken apart
// lane by lane.
template <class U, class V>
inline auto convert(V v) {
    using T = element_t<V>;
    constexpr int n = static_cast<int>(sizeof(V) / sizeof(T));
    constexpr bool to_float = std::is_floating_point_v<U>, from_float = std::is_floating_point_v<T>;
    if constexpr (std::is_same_v<T, U>) {
        return v;
    } else if constexpr (to_float && !from_float && sizeof(T) != 4) {
        return convert<U>(convert<int32_t>(v));
    } else if constexpr (from_float && !to_float && sizeof(U) != 4) {
        return convert<U>(convert<int32_t>(v));
    } else if constexpr (!to_float && !from_float && sizeof(U) > 2 * sizeof(T)) {
        using Twice = std::conditional_t<sizeof(T) == 1, uint16_t, uint32_t>;
        return convert<U>(convert<Twice>(v));
    } else if constexpr (!to_float && !from_float && 2 * sizeof(U) < sizeof(T)) {
        using Half = std::conditional_t<sizeof(T) == 8, uint32_t, uint16_t>;
        return convert<U>(convert<Half>(v));
    } else {
        return __builtin_convertvector(v, vec<U, static_cast<int>(sizeof(U)) * n>);
    }
}

namespace detail {
// A vector of at most 16 bytes in the low part of an SSE register, and back.
template <class V>
inline __m128i to_m128(V v) {
    if constexpr (sizeof(V) == 16) {
        return (__m128i)v;
    } else {
        __m128i x = _mm_setzero_si128();
        std::memcpy(&x, &v, sizeof v);
        return x;
    }
}
template <class V>
inline V from_m128(__m128i x) {
    V v;
    std::memcpy(&v, &x, sizeof v);
    return v;
}
}  // namespace detail

// Unsigned lanes zero-extended to the wider unsigned (or 32-bit signed) type
// U, lane count and order kept.
template <class U, class V>
inline auto widen(V v) {
    using T = element_t<V>;
    constexpr int n = static_cast<int>(sizeof(V) / sizeof(T));
    using R = vec<U, static_cast<int>(sizeof(U)) * n>;
    static_assert(std::is_unsigned_v<T> && sizeof(U) > sizeof(T));
    constexpr int ratio = static_cast<int>(sizeof(U) / sizeof(T));
#if defined(__AVX512BW__)
    if constexpr (sizeof(R) == 64) {
        if constexpr (ratio == 4) return (R)_mm512_cvtepu8_epi32(detail::to_m128(v));
        if constexpr (ratio == 2 && sizeof(T) == 1) return (R)_mm512_cvtepu8_epi16((__m256i)v);
        if constexpr (ratio == 2 && sizeof(T) == 2) return (R)_mm512_cvtepu16_epi32((__m256i)v);
    }
#endif
#if defined(__AVX2__)
    if constexpr (sizeof(R) == 32) {
        if constexpr (ratio == 4) return (R)_mm256_cvtepu8_epi32(detail::to_m128(v));
        if constexpr (ratio == 2 && sizeof(T) == 1) return (R)_mm256_cvtepu8_epi16(detail::to_m128(v));
        if constexpr (ratio == 2 && sizeof(T) == 2) return (R)_mm256_cvtepu16_epi32(detail::to_m128(v));
    }
    if constexpr (sizeof(R) == 16) {
        if constexpr (ratio == 4) return (R)_mm_cvtepu8_epi32(detail::to_m128(v));
        if constexpr (ratio == 2 && sizeof(T) == 1) return (R)_mm_cvtepu8_epi16(detail::to_m128(v));
        if constexpr (ratio == 2 && sizeof(T) == 2) return (R)_mm_cvtepu16_epi32(detail::to_m128(v));
    }
#elif defined(__SSE2__)
    if constexpr (sizeof(R) == 16) {
        const __m128i x = detail::to_m128(v), zero = _mm_setzero_si128();
        if constexpr (ratio == 4) return (R)_mm_unpacklo_epi16(_mm_unpacklo_epi8(x, zero), zero);
        if constexpr (ratio == 2 && sizeof(T) == 1) return (R)_mm_unpacklo_epi8(x, zero);
        if constexpr (ratio == 2 && sizeof(T) == 2) return (R)_mm_unpacklo_epi16(x, zero);
    }
#endif
    return __builtin_convertvector(v, R);
}

// Unsigned integer lanes as floats (exact below 2^24).
template <class V>
inline auto to_float(V v) {
    using T = element_t<V>;
    constexpr int n = static_cast<int>(sizeof(V) / sizeof(T));
    using I = vec<int32_t, 4 * n>;
    if constexpr (sizeof(T) == 4) return __builtin_convertvector(v, vec<float, 4 * n>);
    else return __builtin_convertvector((I)widen<uint32_t>(v), vec<float, 4 * n>);
}

// Integer lanes narrowed to the unsigned type U, saturating: negative lanes
// give 0, lanes above U's maximum give the maximum. T is int32_t (to 8 or 16
// bits) or uint16_t (to 8 bits).
template <class U, class V>
inline auto narrow_sat(V v) {
    using T = element_t<V>;
    constexpr int n = static_cast<int>(sizeof(V) / sizeof(T));
    using R = vec<U, static_cast<int>(sizeof(U)) * n>;
    static_assert(std::is_unsigned_v<U> && sizeof(U) < sizeof(T));
    static_assert(std::is_same_v<T, int32_t> || std::is_same_v<T, uint16_t>);
#if defined(__AVX512BW__)
    if constexpr (std::is_same_v<T, int32_t>) {
        if constexpr (sizeof(V) == 64) {
            const __m512i x = _mm512_max_epi32((__m512i)v, _mm512_setzero_si512());
            if constexpr (sizeof(U) == 1) return (R)_mm512_cvtusepi32_epi8(x);
            else return (R)_mm512_cvtusepi32_epi16(x);
        } else if constexpr (sizeof(V) == 32) {
            const __m256i x = _mm256_max_epi32((__m256i)v, _mm256_setzero_si256());
            if constexpr (sizeof(U) == 1) return detail::from_m128<R>(_mm256_cvtusepi32_epi8(x));
            else return (R)_mm256_cvtusepi32_epi16(x);
        } else if constexpr (sizeof(V) == 16) {
            const __m128i x = _mm_max_epi32((__m128i)v, _mm_setzero_si128());
            if constexpr (sizeof(U) == 1) return detail::from_m128<R>(_mm_cvtusepi32_epi8(x));
            else return detail::from_m128<R>(_mm_cvtusepi32_epi16(x));
        }
    } else {
        if constexpr (sizeof(V) == 64) return (R)_mm512_cvtusepi16_epi8((__m512i)v);
        if constexpr (sizeof(V) == 32) return (R)_mm256_cvtusepi16_epi8((__m256i)v);
        if constexpr (sizeof(V) == 16) return detail::from_m128<R>(_mm_cvtusepi16_epi8((__m128i)v));
    }
#elif defined(__AVX2__)
    if constexpr (sizeof(V) == 32) {
        if constexpr (std::is_same_v<T, int32_t>) {
            const __m256i w = _mm256_packus_epi32((__m256i)v, (__m256i)v);  // 0..3 0..3 | 4..7 4..7
            if constexpr (sizeof(U) == 2) {
                return (R)_mm256_castsi256_si128(_mm256_permute4x64_epi64(w, 0x08));
            } else {
                // The byte pack reads words as signed: words of 32768 and above are first lowered to 255.
                const __m256i low = _mm256_min_epu16(w, _mm256_set1_epi16(255));
                const __m256i b = _mm256_packus_epi16(low, low);
                return detail::from_m128<R>(
                    _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(b, _mm256_setr_epi32(0, 4, 0, 0, 0, 0, 0, 0))));
            }
        } else {
            const __m256i x = _mm256_min_epu16((__m256i)v, _mm256_set1_epi16(255));
            return (R)_mm256_castsi256_si128(_mm256_permute4x64_epi64(_mm256_packus_epi16(x, x), 0x08));
        }
    }
    if constexpr (sizeof(V) == 16) {
        if constexpr (std::is_same_v<T, int32_t>) {
            const __m128i w = _mm_packus_epi32((__m128i)v, (__m128i)v);
            const __m128i low = _mm_min_epu16(w, _mm_set1_epi16(255));  // the byte pack reads words as signed
            if constexpr (sizeof(U) == 2) return detail::from_m128<R>(w);
            else return detail::from_m128<R>(_mm_packus_epi16(low, low));
        } else {
            const __m128i x = _mm_min_epu16((__m128i)v, _mm_set1_epi16(255));
            return detail::from_m128<R>(_mm_packus_epi16(x, x));
        }
    }
#elif defined(__SSE2__)
    if constexpr (sizeof(V) == 16) {
        constexpr T top = static_cast<T>(U(~U{0}));
        V c = v;
        if constexpr (std::is_signed_v<T>) c = c < V{} ? V{} : c;
        c = c > top ? V{} + top : c;
        if constexpr (std::is_same_v<T, int32_t> && sizeof(U) == 2) {
            // Signed packing of lanes moved down by 2^15, moved back up as 16-bit words.
            const __m128i shifted = (__m128i)(c - 32768);
            return detail::from_m128<R>(_mm_xor_si128(_mm_packs_epi32(shifted, shifted), _mm_set1_epi16(-32768)));
        } else if constexpr (std::is_same_v<T, int32_t>) {
            const __m128i w = _mm_packs_epi32((__m128i)c, (__m128i)c);
            return detail::from_m128<R>(_mm_packus_epi16(w, w));
        } else {
            return detail::from_m128<R>(_mm_packus_epi16((__m128i)c, (__m128i)c));
        }
    }
#endif
    constexpr T top = static_cast<T>(U(~U{0}));
    if constexpr (std::is_signed_v<T>) v = v < V{} ? V{} : v;
    return __builtin_convertvector(v > top ? V{} + top : v, R);
}

// Float lanes to 32-bit integers, rounded to nearest with halves to even
// (the processor's rounding mode, which the library never changes). Lanes
// outside the int32 range or NaN give INT32_MIN.
template <class V>
inline auto round_even(V v) {
    using I = vec<int32_t, static_cast<int>(sizeof(V))>;
#if defined(__AVX512F__)
    if constexpr (sizeof(V) == 64) return (I)_mm512_cvtps_epi32((__m512)v);
#endif
#if defined(__AVX__)
    if constexpr (sizeof(V) == 32) return (I)_mm256_cvtps_epi32((__m256)v);
#endif
#if defined(__SSE2__)
    if constexpr (sizeof(V) == 16) return (I)_mm_cvtps_epi32((__m128)v);
#endif
    I r;
    for (size_t k = 0; k < sizeof(V) / 4; ++k) r[k] = static_cast<int32_t>(__builtin_rintf(v[k]));
    return r;
}

// Float lanes clamped to [0, top], NaN to 0, then rounded half to even: the
// saturating store of a float result into an unsigned sample.
template <class V>
inline auto round_clamped(V v, float top) {
    const V zero{};
    v = v > zero ? v : zero;  // NaN compares false
    v = v < zero + top ? v : zero + top;
    return round_even(v);
}

// Float lanes stored as unsigned samples of type U: rounded half to even and
// saturated (NaN gives 0); floats stay as they are.
template <class U, class V>
inline auto to_sample(V v) {
    if constexpr (std::is_floating_point_v<U>) return v;
    else return narrow_sat<U>(round_even(v));
}

// ---- table lookups

// Lane j of the result is table[i[j]], for indices 0..15: one permute of a
// 16-float table at AVX-512, two and a blend at AVX2, a lane at a time below.
inline vec<float> lookup16(const float* table, vec<int32_t> i) {
#if defined(__AVX512F__)
    return (vec<float>)_mm512_permutexvar_ps((__m512i)i, _mm512_loadu_ps(table));
#elif defined(__AVX2__)
    const __m256 lo = _mm256_permutevar8x32_ps(_mm256_loadu_ps(table), (__m256i)i);
    const __m256 hi = _mm256_permutevar8x32_ps(_mm256_loadu_ps(table + 8), (__m256i)i);
    return (vec<float>)_mm256_blendv_ps(lo, hi, (__m256)_mm256_slli_epi32((__m256i)i, 28));
#else
    vec<float> r;
    for (int k = 0; k < lanes<float>; ++k) r[k] = table[i[k] & 15];
    return r;
#endif
}

// ---- three interleaved channels

namespace detail {
constexpr int at_most(int a, int b) { return a < b ? a : b; }
// Element j of channel K of 3N interleaved elements a|b|c: first from a|b, then from c.
template <int K, class V, size_t... I>
inline V channel_from_ab(V a, V b, std::index_sequence<I...>) {
    constexpr int n = sizeof...(I);
    return __builtin_shufflevector(a, b, ((3 * static_cast<int>(I) + K) < 2 * n ? 3 * static_cast<int>(I) + K : 0)...);
}
template <int K, class V, size_t... I>
inline V channel_with_c(V t, V c, std::index_sequence<I...>) {
    constexpr int n = sizeof...(I);
    return __builtin_shufflevector(
        t, c, ((3 * static_cast<int>(I) + K) < 2 * n ? static_cast<int>(I) : 3 * static_cast<int>(I) + K - n)...);
}
// Element j of the interleaved stream x|y|z (planes of N) taken for block B (0, 1 or 2).
template <int B, class V, size_t... I>
inline V interleave_xy(V x, V y, std::index_sequence<I...>) {
    constexpr int n = sizeof...(I);
    // Output element e = B*n + I is channel (e % 3) of pixel e / 3; z's elements come in the second step.
    return __builtin_shufflevector(
        x, y, (((B * n + static_cast<int>(I)) % 3) == 2 ? 0 : ((B * n + static_cast<int>(I)) / 3) + ((B * n + static_cast<int>(I)) % 3) * n)...);
}
template <int B, class V, size_t... I>
inline V interleave_z(V t, V z, std::index_sequence<I...>) {
    constexpr int n = sizeof...(I);
    return __builtin_shufflevector(
        t, z, (((B * n + static_cast<int>(I)) % 3) == 2 ? n + (B * n + static_cast<int>(I)) / 3 : static_cast<int>(I))...);
}
}  // namespace detail

// Three vectors of interleaved samples (3 × lanes elements from p) as three
// planes: c0 holds channel 0 of each of the lanes pixels, and so on.
template <class V>
inline void deinterleave3(V a, V b, V c, V& c0, V& c1, V& c2) {
    constexpr auto s = std::make_index_sequence<sizeof(V) / sizeof(V{}[0])>();
    c0 = detail::channel_with_c<0>(detail::channel_from_ab<0>(a, b, s), c, s);
    c1 = detail::channel_with_c<1>(detail::channel_from_ab<1>(a, b, s), c, s);
    c2 = detail::channel_with_c<2>(detail::channel_from_ab<2>(a, b, s), c, s);
}
#if defined(__SSSE3__)
namespace detail {
// Bytes of each 16-byte lane of v picked by the lane's bytes of index (an
// index with its top bit set gives 0): one byte shuffle at every width.
inline vec<uint8_t> shuffle_bytes(vec<uint8_t> v, vec<int8_t> index) {
#if defined(__AVX512BW__)
    return (vec<uint8_t>)_mm512_shuffle_epi8((__m512i)v, (__m512i)index);
#elif defined(__AVX2__)
    return (vec<uint8_t>)_mm256_shuffle_epi8((__m256i)v, (__m256i)index);
#else
    return (vec<uint8_t>)_mm_shuffle_epi8((__m128i)v, (__m128i)index);
#endif
}
// Lane l of output vector M of interleaving three byte planes: the plane's
// four dwords from dword 4 g / 3, g = M·L + l (16 bytes that hold every byte
// the lane takes from the plane; L lanes of 16 bytes per vector), as one
// dword permute, then the lane's bytes of channel K placed by a byte shuffle
// that zeroes the rest.
constexpr int first_dword(int g) { return at_most(4 * g / 3, kBytes / 4 - 4); }
template <int M, int K, size_t... J>
inline vec<uint8_t> channel_into_lanes(vec<uint8_t> plane, std::index_sequence<J...>) {
    constexpr int L = kBytes / 16;
    const vec<int32_t> d = (vec<int32_t>)plane;
    const vec<uint8_t> lanes = (vec<uint8_t>)__builtin_shufflevector(
        d, d, (first_dword(M * L + int(J) / 4) + int(J) % 4)...);
    constexpr auto index = []<size_t... B>(std::index_sequence<B...>) {
        // Output byte o = 16 g + j of lane g is channel o % 3 of pixel o / 3.
        return vec<int8_t>{static_cast<int8_t>(
            (16 * (M * L + int(B) / 16) + int(B) % 16) % 3 == K
                ? (16 * (M * L + int(B) / 16) + int(B) % 16) / 3 - 4 * first_dword(M * L + int(B) / 16)
                : -128)...};
    }(std::make_index_sequence<kBytes>());
    return shuffle_bytes(lanes, index);
}
template <int M>
inline vec<uint8_t> interleave_bytes(vec<uint8_t> c0, vec<uint8_t> c1, vec<uint8_t> c2) {
    constexpr auto s = std::make_index_sequence<kBytes / 4>();
    return channel_into_lanes<M, 0>(c0, s) | channel_into_lanes<M, 1>(c1, s) | channel_into_lanes<M, 2>(c2, s);
}
}  // namespace detail
#endif

// And back: three planes to three vectors of interleaved samples. Byte planes
// go by a dword permute and a byte shuffle per plane and output vector (the
// level has no two-source byte permute); 16-bit planes at AVX2 and above as
// 32-bit lanes holding sample pairs (a0 b0 | c0 a1 | b1 c1), which 32-bit
// permutes interleave.
template <class V>
inline void interleave3(V c0, V c1, V c2, V& a, V& b, V& c) {
#if defined(__SSSE3__)
    if constexpr (sizeof(V) == kBytes && sizeof(element_t<V>) == 1) {
        using B = vec<uint8_t>;
        a = (V)detail::interleave_bytes<0>((B)c0, (B)c1, (B)c2);
        b = (V)detail::interleave_bytes<1>((B)c0, (B)c1, (B)c2);
        c = (V)detail::interleave_bytes<2>((B)c0, (B)c1, (B)c2);
        return;
    }
#endif
    if constexpr (sizeof(V) == kBytes && kBytes >= 32 && sizeof(element_t<V>) == 2) {
        using U = vec<uint32_t>;
        const U x = (U)c0, y = (U)c1, z = (U)c2, low = U{} + 0xFFFF;
        U p, q, r;
        interleave3((x & low) | (y << 16), (z & low) | (x & ~low), (y >> 16) | (z & ~low), p, q, r);
        a = (V)p;
        b = (V)q;
        c = (V)r;
        return;
    }
    constexpr auto s = std::make_index_sequence<sizeof(V) / sizeof(V{}[0])>();
    a = detail::interleave_z<0>(detail::interleave_xy<0>(c0, c1, s), c2, s);
    b = detail::interleave_z<1>(detail::interleave_xy<1>(c0, c1, s), c2, s);
    c = detail::interleave_z<2>(detail::interleave_xy<2>(c0, c1, s), c2, s);
}

// ---- reductions and lane masks (statistics, histograms, thresholds, scans)

// Sums of each run of eight bytes into one 64-bit lane (psadbw against zero):
// a whole vector of bytes added in one instruction, exact for any count of
// vectors a 64-bit lane can hold.
template <class V>
inline auto sum_bytes(V v) {
    static_assert(sizeof(element_t<V>) == 1, "sums of byte lanes");
    using R = vec<uint64_t, static_cast<int>(sizeof(V))>;
#if defined(__AVX512BW__)
    if constexpr (sizeof(V) == 64) return (R)_mm512_sad_epu8((__m512i)v, _mm512_setzero_si512());
#endif
#if defined(__AVX2__)
    if constexpr (sizeof(V) == 32) return (R)_mm256_sad_epu8((__m256i)v, _mm256_setzero_si256());
#endif
#if defined(__SSE2__)
    if constexpr (sizeof(V) == 16) return (R)_mm_sad_epu8((__m128i)v, _mm_setzero_si128());
#endif
    R r{};
    for (size_t i = 0; i < sizeof(V); ++i) r[i / 8] += static_cast<uint8_t>(v[i]);
    return r;
}

// Products of signed 16-bit lanes, each adjacent pair added into one 32-bit
// lane (pmaddwd). Only -32768 squared twice overflows, to 2^31, which still
// reads right as an unsigned lane.
template <class V>
inline auto madd(V a, V b) {
    static_assert(std::is_same_v<element_t<V>, int16_t>, "products of signed 16-bit lanes");
    using R = vec<int32_t, static_cast<int>(sizeof(V))>;
#if defined(__AVX512BW__)
    if constexpr (sizeof(V) == 64) return (R)_mm512_madd_epi16((__m512i)a, (__m512i)b);
#endif
#if defined(__AVX2__)
    if constexpr (sizeof(V) == 32) return (R)_mm256_madd_epi16((__m256i)a, (__m256i)b);
#endif
#if defined(__SSE2__)
    if constexpr (sizeof(V) == 16) return (R)_mm_madd_epi16((__m128i)a, (__m128i)b);
#endif
    R r;
    for (size_t i = 0; i < sizeof(V) / 4; ++i)
        r[i] = static_cast<int32_t>(static_cast<uint32_t>(int32_t{a[2 * i]} * b[2 * i]) +
                                    static_cast<uint32_t>(int32_t{a[2 * i + 1]} * b[2 * i + 1]));
    return r;
}

// Float lanes as doubles, lane count kept, one conversion instruction per
// register (GCC 12 takes vector conversions to doubles apart lane by lane).
template <class V>
inline auto floats_to_doubles(V v) {
    static_assert(std::is_same_v<element_t<V>, float>, "float lanes");
    using R = vec<double, 2 * static_cast<int>(sizeof(V))>;
#if defined(__AVX512F__)
    if constexpr (sizeof(R) == 64) return (R)_mm512_cvtps_pd((__m256)v);
#endif
#if defined(__AVX__)
    if constexpr (sizeof(R) == 32) return (R)_mm256_cvtps_pd((__m128)v);
#endif
#if defined(__SSE2__)
    if constexpr (sizeof(R) == 16) return (R)_mm_cvtps_pd(_mm_castsi128_ps(detail::to_m128(v)));
#endif
    return __builtin_convertvector(v, R);
}

// One bit per lane of a comparison result (lanes all ones or all zeros):
// lane i gives bit i.
template <class M>
inline uint64_t lane_bits(M m) {
    constexpr int esize = sizeof(element_t<M>);
    constexpr int n = static_cast<int>(sizeof(M)) / esize;
#if defined(__AVX512BW__)
    if constexpr (sizeof(M) == 64) {
        if constexpr (esize == 1) return _mm512_movepi8_mask((__m512i)m);
        if constexpr (esize == 2) return _mm512_movepi16_mask((__m512i)m);
        if constexpr (esize == 4) return _mm512_movepi32_mask((__m512i)m);
    }
    if constexpr (sizeof(M) == 32 && esize == 2) return _mm256_movepi16_mask((__m256i)m);
    if constexpr (sizeof(M) == 16 && esize == 2) return _mm_movepi16_mask((__m128i)m);
#endif
#if defined(__AVX2__)
    if constexpr (sizeof(M) == 32) {
        if constexpr (esize == 1) return static_cast<uint32_t>(_mm256_movemask_epi8((__m256i)m));
        if constexpr (esize == 2)
            return _pext_u32(static_cast<uint32_t>(_mm256_movemask_epi8((__m256i)m)), 0x55555555u);
        if constexpr (esize == 4) return static_cast<uint32_t>(_mm256_movemask_ps((__m256)m));
    }
#endif
#if defined(__SSE2__)
    if constexpr (sizeof(M) == 16) {
        if constexpr (esize == 1) return static_cast<uint32_t>(_mm_movemask_epi8((__m128i)m));
        if constexpr (esize == 2)
            return static_cast<uint32_t>(_mm_movemask_epi8(_mm_packs_epi16((__m128i)m, _mm_setzero_si128())));
        if constexpr (esize == 4) return static_cast<uint32_t>(_mm_movemask_ps((__m128)m));
    }
#endif
    uint64_t bits = 0;
    for (int i = 0; i < n; ++i) bits |= static_cast<uint64_t>(m[i] != 0) << i;
    return bits;
}

// ---- resampling: lane reversal, look-ups in a window of two vectors, gathers

// The lanes of v in reverse order.
template <class V, size_t... I>
inline V reverse(V v, std::index_sequence<I...>) {
    return __builtin_shufflevector(v, v, static_cast<int>(sizeof...(I) - 1 - I)...);
}
template <class V>
inline V reverse(V v) {
    return reverse(v, std::make_index_sequence<sizeof(V) / sizeof(V{}[0])>());
}

// Lane i of the result is lane idx[i] of the 2N lanes lo|hi (0 <= idx[i] < 2N;
// other indices wrap). Meant for 16-, 32- and 64-bit lanes: one instruction on
// AVX-512 (vpermt2w/d/q/ps/pd), a short sequence on AVX2 for 32-bit lanes,
// lane by lane on the baseline. Resampling kernels use it to fetch the taps of
// a block of outputs from a window of the source when the block's taps span
// fewer than 2N elements: far cheaper than a gather.
template <class V, class I>
inline V lookup2(V lo, V hi, I idx) {
    static_assert(sizeof(I) == sizeof(V) && sizeof(element_t<I>) == sizeof(element_t<V>));
#if defined(__clang__)
    // Clang (the fuzzing build) has no two-source variable shuffle builtin.
    constexpr int n = static_cast<int>(sizeof(V) / sizeof(element_t<V>));
    V r;
    for (int k = 0; k < n; ++k) {
        const int j = static_cast<int>(idx[k]) & (2 * n - 1);
        r[k] = j < n ? lo[j] : hi[j - n];
    }
    return r;
#else
    return __builtin_shuffle(lo, hi, idx);
#endif
}

// Lane i of the result is base[idx[i]]: elements at any address, 32-bit
// indices, one index per lane of the result. The processor's gathers for 32-
// and 64-bit elements on AVX2 and AVX-512, scalar loads otherwise.
template <class V, class I>
inline V gather(const element_t<V>* base, I idx) {
    using T = element_t<V>;
    constexpr int n = static_cast<int>(sizeof(V) / sizeof(T));
    static_assert(sizeof(element_t<I>) == 4 && sizeof(I) / 4 == n);
#if defined(__AVX512F__)
    if constexpr (sizeof(V) == 64 && sizeof(T) == 4) {
        if constexpr (std::is_floating_point_v<T>) return (V)_mm512_mask_i32gather_ps(_mm512_setzero_ps(), 0xFFFF, (__m512i)idx, base, 4);
        else return (V)_mm512_mask_i32gather_epi32(_mm512_setzero_si512(), 0xFFFF, (__m512i)idx, base, 4);
    }
    if constexpr (sizeof(V) == 64 && sizeof(T) == 8) {
        if constexpr (std::is_floating_point_v<T>) return (V)_mm512_mask_i32gather_pd(_mm512_setzero_pd(), 0xFF, (__m256i)idx, base, 8);
        else return (V)_mm512_mask_i32gather_epi64(_mm512_setzero_si512(), 0xFF, (__m256i)idx, base, 8);
    }
#endif
#if defined(__AVX2__)
    if constexpr (sizeof(V) == 32 && sizeof(T) == 4) {
        if constexpr (std::is_floating_point_v<T>) return (V)_mm256_mask_i32gather_ps(_mm256_setzero_ps(), base, (__m256i)idx, _mm256_castsi256_ps(_mm256_set1_epi32(-1)), 4);
        else return (V)_mm256_mask_i32gather_epi32(_mm256_setzero_si256(), reinterpret_cast<const int*>(base), (__m256i)idx, _mm256_set1_epi32(-1), 4);
    }
    if constexpr (sizeof(V) == 32 && sizeof(T) == 8) {
        if constexpr (std::is_floating_point_v<T>) return (V)_mm256_mask_i32gather_pd(_mm256_setzero_pd(), base, (__m128i)idx, _mm256_castsi256_pd(_mm256_set1_epi64x(-1)), 8);
        else return (V)_mm256_mask_i32gather_epi64(_mm256_setzero_si256(), reinterpret_cast<const long long*>(base), (__m128i)idx, _mm256_set1_epi64x(-1), 8);
    }
#endif
    V r;
    for (int k = 0; k < n; ++k) {
        T t;
        std::memcpy(&t, base + idx[k], sizeof t);
        r[k] = t;
    }
    return r;
}

// Lane i of the result is the 4-byte word at byte offset off[i] from base, at
// any address (32-bit lanes, as many offsets as lanes).
template <class V, class I>
inline V gather_bytes(const void* base, I off) {
    static_assert(sizeof(element_t<V>) == 4 && sizeof(I) == sizeof(V) && sizeof(element_t<I>) == 4);
#if defined(__AVX512F__)
    if constexpr (sizeof(V) == 64)
        return (V)_mm512_mask_i32gather_epi32(_mm512_setzero_si512(), 0xFFFF, (__m512i)off, base, 1);
#endif
#if defined(__AVX2__)
    if constexpr (sizeof(V) == 32)
        return (V)_mm256_mask_i32gather_epi32(_mm256_setzero_si256(), static_cast<const int*>(base), (__m256i)off,
                                              _mm256_set1_epi32(-1), 1);
    if constexpr (sizeof(V) == 16)
        return (V)_mm_mask_i32gather_epi32(_mm_setzero_si128(), static_cast<const int*>(base), (__m128i)off,
                                           _mm_set1_epi32(-1), 1);
#endif
    V r;
    for (size_t k = 0; k < sizeof(V) / 4; ++k) {
        element_t<V> w;
        std::memcpy(&w, static_cast<const unsigned char*>(base) + off[k], 4);
        r[k] = w;
    }
    return r;
}

// The high halves of the 32-bit products of unsigned 16-bit lanes.
template <class V>
inline V mulhi(V a, V b) {
    static_assert(std::is_same_v<element_t<V>, uint16_t>);
#if defined(__AVX512BW__)
    if constexpr (sizeof(V) == 64) return (V)_mm512_mulhi_epu16((__m512i)a, (__m512i)b);
#endif
#if defined(__AVX2__)
    if constexpr (sizeof(V) == 32) return (V)_mm256_mulhi_epu16((__m256i)a, (__m256i)b);
#endif
#if defined(__SSE2__)
    if constexpr (sizeof(V) == 16) return (V)_mm_mulhi_epu16((__m128i)a, (__m128i)b);
#endif
    V r;
    for (size_t k = 0; k < sizeof(V) / 2; ++k) r[k] = static_cast<uint16_t>((uint32_t(a[k]) * b[k]) >> 16);
    return r;
}

// Double lanes (of magnitude below 2^31) to 32-bit integers, rounded to
// nearest with halves to even: adding and taking away 1.5 × 2^52 leaves the
// rounded value, which then converts exactly.
template <class V>
inline auto round_even_wide(V v) {
    constexpr int n = static_cast<int>(sizeof(V) / 8);
    const V rounded = (v + 6755399441055744.0) - 6755399441055744.0;
    return __builtin_convertvector(rounded, vec<int32_t, 4 * n>);
}

// ---- arithmetic family: double lanes, byte tables

// Unsigned 8- or 16-bit, int32 or float lanes as doubles (exactly). The
// conversions of whole registers are spelled out: GCC 12 takes a vector
// conversion to twice the width apart into halves.
template <class V>
inline auto to_double(V v) {
    using T = element_t<V>;
    constexpr int n = static_cast<int>(sizeof(V) / sizeof(T));
    using R = vec<double, 8 * n>;
    if constexpr (sizeof(T) < 4) {
        return to_double((vec<int32_t, 4 * n>)widen<uint32_t>(v));
    } else {
        static_assert(std::is_same_v<T, float> || std::is_same_v<T, int32_t>);
        [[maybe_unused]] constexpr bool floats = std::is_same_v<T, float>;
#if defined(__AVX512F__)
        if constexpr (sizeof(R) == 64 && floats) return (R)_mm512_cvtps_pd((__m256)v);
        if constexpr (sizeof(R) == 64 && !floats) return (R)_mm512_cvtepi32_pd((__m256i)v);
#endif
#if defined(__AVX__)
        if constexpr (sizeof(R) == 32 && floats) return (R)_mm256_cvtps_pd((__m128)v);
        if constexpr (sizeof(R) == 32 && !floats) return (R)_mm256_cvtepi32_pd((__m128i)v);
#endif
        return __builtin_convertvector(v, R);
    }
}

// Whether the level has fused multiply-add: a × b + c rounded once.
#if defined(__FMA__)
inline constexpr bool has_fma = true;
#else
inline constexpr bool has_fma = false;
#endif

// a × b + c of float lanes rounded once (only where has_fma).
template <class V>
inline V fused_multiply_add(V a, V b, V c) {
#if defined(__AVX512F__)
    if constexpr (sizeof(V) == 64) return (V)_mm512_fmadd_ps((__m512)a, (__m512)b, (__m512)c);
#endif
#if defined(__FMA__)
    if constexpr (sizeof(V) == 32) return (V)_mm256_fmadd_ps((__m256)a, (__m256)b, (__m256)c);
    if constexpr (sizeof(V) == 16) return (V)_mm_fmadd_ps((__m128)a, (__m128)b, (__m128)c);
#endif
    V r;
    for (size_t k = 0; k < sizeof(V) / sizeof(a[0]); ++k) r[k] = __builtin_fmaf(a[k], b[k], c[k]);
    return r;
}

// Double lanes to 32-bit integers, rounded to nearest with halves to even (the
// processor's mode); lanes outside the int32 range or NaN give INT32_MIN.
template <class V>
inline auto round_even_double(V v) {
    constexpr int n = static_cast<int>(sizeof(V) / sizeof(double));
    using I = vec<int32_t, 4 * n>;
#if defined(__AVX512F__)
    if constexpr (sizeof(V) == 64) return (I)_mm512_cvtpd_epi32((__m512d)v);
#endif
#if defined(__AVX__)
    if constexpr (sizeof(V) == 32) return (I)_mm256_cvtpd_epi32((__m256d)v);
#endif
#if defined(__SSE2__)
    if constexpr (sizeof(V) == 16) return detail::from_m128<I>(_mm_cvtpd_epi32((__m128d)v));
#endif
    I r;
    for (int k = 0; k < n; ++k) r[k] = static_cast<int32_t>(__builtin_rint(v[k]));
    return r;
}

// Float (or double) lanes rounded half to even to int32 lanes ready to be
// narrowed to U: lanes above U's maximum give the maximum, NaN gives INT32_MIN,
// which the saturating narrowing raises to 0 like every other negative lane.
template <class U, class V>
inline auto round_for(V v) {
    constexpr bool wide = std::is_same_v<element_t<V>, double>;
    const V top = V{} + static_cast<element_t<V>>(U(~U{0}));
    V low = v;  // the minimum with top first keeps NaN
#if defined(__AVX512F__)
    if constexpr (sizeof(V) == 64 && wide) low = (V)_mm512_min_pd((__m512d)top, (__m512d)v);
    if constexpr (sizeof(V) == 64 && !wide) low = (V)_mm512_min_ps((__m512)top, (__m512)v);
#endif
#if defined(__AVX__)
    if constexpr (sizeof(V) == 32 && wide) low = (V)_mm256_min_pd((__m256d)top, (__m256d)v);
    if constexpr (sizeof(V) == 32 && !wide) low = (V)_mm256_min_ps((__m256)top, (__m256)v);
#endif
#if defined(__SSE2__)
    if constexpr (sizeof(V) == 16 && wide) low = (V)_mm_min_pd((__m128d)top, (__m128d)v);
    if constexpr (sizeof(V) == 16 && !wide) low = (V)_mm_min_ps((__m128)top, (__m128)v);
#endif
    if constexpr (sizeof(V) < 16) low = top < v ? top : v;
    if constexpr (wide) return round_even_double(low);
    else return round_even(low);
}

// Float or double lanes stored as unsigned samples of type U: rounded half to
// even and saturated, NaN giving 0 (round_clamped then narrow_sat, in fewer steps).
template <class U, class V>
inline auto to_unsigned(V v) {
    return narrow_sat<U>(round_for<U>(v));
}

// Whole vectors of int32 lanes (two for 16-bit U, four for bytes) or of
// uint16 lanes (two, for bytes) narrowed with saturation into one whole
// vector of U, lane order kept: one pack per pair where narrow_sat takes a
// narrowing per vector (and would otherwise be merged into a slow narrowing
// store).
template <class U, class V>
inline vec<U> pack_sat(V a, V b) {
    using T = element_t<V>;
    static_assert(sizeof(V) == kBytes && 2 * sizeof(U) == sizeof(T));
    static_assert(std::is_same_v<T, int32_t> || std::is_same_v<T, uint16_t>);
#if defined(__AVX512BW__)
    const __m512i order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    if constexpr (std::is_same_v<T, int32_t>) {
        return (vec<U>)_mm512_permutexvar_epi64(order, _mm512_packus_epi32((__m512i)a, (__m512i)b));
    } else {
        const __m512i top = _mm512_set1_epi16(255);  // the byte pack reads words as signed
        return (vec<U>)_mm512_permutexvar_epi64(
            order, _mm512_packus_epi16(_mm512_min_epu16((__m512i)a, top), _mm512_min_epu16((__m512i)b, top)));
    }
#elif defined(__AVX2__)
    if constexpr (std::is_same_v<T, int32_t>) {
        return (vec<U>)_mm256_permute4x64_epi64(_mm256_packus_epi32((__m256i)a, (__m256i)b), 0xD8);
    } else {
        const __m256i top = _mm256_set1_epi16(255);
        return (vec<U>)_mm256_permute4x64_epi64(
            _mm256_packus_epi16(_mm256_min_epu16((__m256i)a, top), _mm256_min_epu16((__m256i)b, top)), 0xD8);
    }
#else
    return join(narrow_sat<U>(a), narrow_sat<U>(b));
#endif
}
template <class U, class V>
inline vec<U> pack_sat(V a, V b, V c, V d) {
    static_assert(sizeof(V) == kBytes && sizeof(U) == 1 && std::is_same_v<element_t<V>, int32_t>);
    // Signed packing to words first: lanes above 32767 stay above 255, negative lanes stay negative.
#if defined(__AVX512BW__)
    const __m512i bytes = _mm512_packus_epi16(_mm512_packs_epi32((__m512i)a, (__m512i)b),
                                              _mm512_packs_epi32((__m512i)c, (__m512i)d));
    return (vec<U>)_mm512_permutexvar_epi32(_mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15),
                                            bytes);
#elif defined(__AVX2__)
    const __m256i bytes = _mm256_packus_epi16(_mm256_packs_epi32((__m256i)a, (__m256i)b),
                                              _mm256_packs_epi32((__m256i)c, (__m256i)d));
    return (vec<U>)_mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
#elif defined(__SSE2__)
    return (vec<U>)_mm_packus_epi16(_mm_packs_epi32((__m128i)a, (__m128i)b), _mm_packs_epi32((__m128i)c, (__m128i)d));
#else
    return join(join(narrow_sat<U>(a), narrow_sat<U>(b)), join(narrow_sat<U>(c), narrow_sat<U>(d)));
#endif
}

// Part k of K equal parts of v's lanes, and K parts joined back in order.
template <int K, int k, class V, size_t... I>
inline auto part(V v, std::index_sequence<I...>) {
    return __builtin_shufflevector(v, v, static_cast<int>(k * sizeof...(I) + I)...);
}
template <int K, int k, class V>
inline auto part(V v) {
    return part<K, k>(v, std::make_index_sequence<sizeof(V) / sizeof(element_t<V>) / K>());
}
template <class V>
inline V join_parts(V a) {
    return a;
}
template <class V>
inline auto join_parts(V a, V b) {
    return join(a, b);
}
template <class V>
inline auto join_parts(V a, V b, V c, V d) {
    return join(join(a, b), join(c, d));
}

// A table of 256 bytes looked up by whole vectors of byte indexes. AVX-512BW
// holds the table in four registers and looks up 16-bit words with
// two-register permutes (the word holding entries 2j and 2j + 1, then the byte
// of it the index names), even and odd bytes apart; the other levels read the
// table lane by lane.
class byte_table {
public:
    explicit byte_table(const uint8_t* t) : table_(t) {
#if defined(__AVX512BW__)
        for (int k = 0; k < 4; ++k) quarter_[k] = _mm512_loadu_si512(t + 64 * k);
#endif
    }
    template <class V>
    V operator()(V index) const {
        static_assert(std::is_same_v<element_t<V>, uint8_t>);
#if defined(__AVX512BW__)
        if constexpr (sizeof(V) == 64) {
            const __m512i w = (__m512i)index;
            // Word j of the permutes is read from the low 7 bits of each index word; bit 7 of the byte picks
            // the upper half of the table.
            const __m512i even = words(_mm512_srli_epi16(w, 1), _mm512_test_epi16_mask(w, _mm512_set1_epi16(0x80)));
            const __m512i odd = words(_mm512_srli_epi16(w, 9), _mm512_test_epi16_mask(w, _mm512_set1_epi16(-0x8000)));
            // An odd index wants the high byte of its word, an even one the low byte.
            const __mmask32 even_odd = _mm512_test_epi16_mask(w, _mm512_set1_epi16(0x0001));
            const __mmask32 odd_even = _mm512_testn_epi16_mask(w, _mm512_set1_epi16(0x0100));
            const __m512i lo = _mm512_and_si512(_mm512_mask_srli_epi16(even, even_odd, even, 8), _mm512_set1_epi16(0x00FF));
            const __m512i hi = _mm512_and_si512(_mm512_mask_slli_epi16(odd, odd_even, odd, 8), _mm512_set1_epi16(-0x100));
            return (V)_mm512_or_si512(lo, hi);
        }
#endif
        constexpr int n = static_cast<int>(sizeof(V));
        uint8_t in[n], out[n];
        std::memcpy(in, &index, n);
        for (int k = 0; k < n; ++k) out[k] = table_[in[k]];
        return load_as<V>(out);
    }

private:
    const uint8_t* table_;
#if defined(__AVX512BW__)
    __m512i words(__m512i j, __mmask32 upper) const {
        return _mm512_mask_blend_epi16(upper, _mm512_permutex2var_epi16(quarter_[0], j, quarter_[1]),
                                       _mm512_permutex2var_epi16(quarter_[2], j, quarter_[3]));
    }
    __m512i quarter_[4];
#endif
};

// Three byte tables for three interleaved channels: lane i of a vector whose
// first sample is of channel `phase` reads table (phase + i) % 3. AVX-512BW
// looks every lane up in all three and keeps each lane's own; the other levels
// read lane by lane.
class byte_tables3 {
public:
    byte_tables3(const uint8_t* t0, const uint8_t* t1, const uint8_t* t2)
        : t_{byte_table(t0), byte_table(t1), byte_table(t2)}, raw_{t0, t1, t2} {
        for (int phase = 0; phase < 3; ++phase)
            for (int i = 0; i < 64; ++i) {
                const int c = (phase + i) % 3;
                if (c > 0) lanes_of_[c - 1][phase] |= uint64_t(1) << i;
            }
    }
    template <class V>
    V operator()(V index, int phase) const {
        constexpr int n = static_cast<int>(sizeof(V));
#if defined(__AVX512BW__)
        if constexpr (n == 64) {
            const __m512i r = _mm512_mask_blend_epi8(lanes_of_[0][phase], (__m512i)t_[0](index), (__m512i)t_[1](index));
            return (V)_mm512_mask_blend_epi8(lanes_of_[1][phase], r, (__m512i)t_[2](index));
        }
#endif
        uint8_t in[n], out[n];
        std::memcpy(in, &index, n);
        for (int k = 0, c = phase; k < n; ++k, c = c == 2 ? 0 : c + 1) out[k] = raw_[c][in[k]];
        return load_as<V>(out);
    }

private:
    byte_table t_[3];
    const uint8_t* raw_[3];
    uint64_t lanes_of_[2][3] = {};  // lanes of channels 1 and 2, per phase
};

// ---- stores of chosen lanes

// Writes the lanes of v whose lane in `mask` is set, among the first n
// (0 <= n <= lanes); the other lanes keep their contents. AVX-512 stores
// only the chosen lanes; the other levels read the n lanes and write them
// back with the chosen ones replaced.
template <class V>
inline void store_where(void* p, V v, mask_of<V> mask, int n) {
#if defined(__AVX512BW__)
    constexpr int esize = sizeof(V{}[0]);
    if constexpr (sizeof(V) == 64 && esize == 1) {
        const __mmask64 k = _mm512_movepi8_mask((__m512i)mask) & first_lanes_mask(n);
        return _mm512_mask_storeu_epi8(p, k, (__m512i)v);
    } else if constexpr (sizeof(V) == 64 && esize == 2) {
        const __mmask32 k = _mm512_movepi16_mask((__m512i)mask) & static_cast<__mmask32>(first_lanes_mask(n));
        return _mm512_mask_storeu_epi16(p, k, (__m512i)v);
    }
#endif
    const V old = load_first<V>(p, n);
    store_first(p, mask ? v : old, n);
}

// ---- float clamps and narrowing of values known to fit (colour kernels)

// Float lanes clamped to [lo, hi] with NaN giving lo: the processor's max and
// min, one instruction per bound (the vector ?: form takes two on AVX-512).
template <class V>
inline V clamp_float(V v, V lo, V hi) {
#if defined(__AVX512F__)
    if constexpr (sizeof(V) == 64) return (V)_mm512_min_ps(_mm512_max_ps((__m512)v, (__m512)lo), (__m512)hi);
#endif
#if defined(__AVX__)
    if constexpr (sizeof(V) == 32) return (V)_mm256_min_ps(_mm256_max_ps((__m256)v, (__m256)lo), (__m256)hi);
#endif
#if defined(__SSE2__)
    if constexpr (sizeof(V) == 16) return (V)_mm_min_ps(_mm_max_ps((__m128)v, (__m128)lo), (__m128)hi);
#endif
    v = v > lo ? v : lo;
    return v < hi ? v : hi;
}

// The smaller of v and hi lane by lane, NaN lanes kept: the processor's min
// with v as the second operand, one instruction.
template <class V>
inline V min_keep_nan(V v, V hi) {
#if defined(__AVX512F__)
    if constexpr (sizeof(V) == 64) return (V)_mm512_min_ps((__m512)hi, (__m512)v);
#endif
#if defined(__AVX__)
    if constexpr (sizeof(V) == 32) return (V)_mm256_min_ps((__m256)hi, (__m256)v);
#endif
#if defined(__SSE2__)
    if constexpr (sizeof(V) == 16) return (V)_mm_min_ps((__m128)hi, (__m128)v);
#endif
    return v > hi ? hi : v;
}

// 32-bit integer lanes already within the range of the unsigned type U (8 or
// 16 bits), narrowed to U with lane order kept: AVX-512 truncates in one
// instruction, the other levels take narrow_sat's saturating packs.
template <class U, class V>
inline auto narrow_in_range(V v) {
    static_assert(std::is_same_v<element_t<V>, int32_t> && std::is_unsigned_v<U> && sizeof(U) <= 2);
#if defined(__AVX512F__)
    constexpr int n = static_cast<int>(sizeof(V) / 4);
    using R = vec<U, static_cast<int>(sizeof(U)) * n>;
    if constexpr (sizeof(V) == 64) {
        if constexpr (sizeof(U) == 1) return (R)_mm512_cvtepi32_epi8((__m512i)v);
        else return (R)_mm512_cvtepi32_epi16((__m512i)v);
    }
#endif
    return narrow_sat<U>(v);
}

// ---- each byte three times (grey to colour)

namespace detail {
// Output vector K (of three) of the bytes of an L-byte vector, each repeated
// three times: byte j is source byte (K·L + j) / 3. Taken in two steps that
// every level has as single instructions: 32-bit lanes moved so that each
// 16-byte lane holds the window of source bytes it needs, then bytes shuffled
// inside the 16-byte lanes.
constexpr int spread_window(int L, int K, int lane) { return (K * L + 16 * lane) / 3 / 4; }
template <int L, int K, size_t... I>
inline auto spread_dwords(vec<int32_t, L> v, std::index_sequence<I...>) {
    constexpr int n = L / 4;
    return __builtin_shufflevector(
        v, v, (spread_window(L, K, int(I) / 4) + int(I) % 4 < n ? spread_window(L, K, int(I) / 4) + int(I) % 4 : n - 1)...);
}
template <int L, int K, size_t... I>
inline auto spread_bytes(vec<uint8_t, L> v, std::index_sequence<I...>) {
    return __builtin_shufflevector(
        v, v, (16 * (int(I) / 16) + (K * L + int(I)) / 3 - 4 * spread_window(L, K, int(I) / 16))...);
}
template <int K, class V>
inline V spread3_part(V v) {
    constexpr int L = sizeof(V);
    using D = vec<int32_t, L>;
    const auto moved = spread_dwords<L, K>((D)v, std::make_index_sequence<L / 4>());
    return (V)spread_bytes<L, K>((vec<uint8_t, L>)moved, std::make_index_sequence<L>());
}
}  // namespace detail

// Every byte of v three times in a row, as three vectors: the samples of a
// grey row as the three channels of a colour row.
template <class V>
inline void spread3(V v, V& a, V& b, V& c) {
    static_assert(sizeof(V{}[0]) == 1, "bytes");
#if defined(__SSSE3__)
    a = detail::spread3_part<0>(v);
    b = detail::spread3_part<1>(v);
    c = detail::spread3_part<2>(v);
#else
    interleave3(v, v, v, a, b, c);  // no byte shuffle below SSSE3
#endif
}

// ---- doubles truncated to 32-bit integers (palette rendering)

// Double lanes truncated toward zero to 32-bit integers, lane count kept;
// lanes outside the int32 range or NaN give INT32_MIN, as the processor's
// truncating conversion does.
template <class V>
inline auto truncate_to_int32(V v) {
    static_assert(std::is_same_v<element_t<V>, double>);
    constexpr int n = static_cast<int>(sizeof(V) / 8);
    using R = vec<int32_t, 4 * n>;
#if defined(__AVX512F__)
    if constexpr (sizeof(V) == 64) return (R)_mm512_cvttpd_epi32((__m512d)v);
#endif
#if defined(__AVX__)
    if constexpr (sizeof(V) == 32) return (R)_mm256_cvttpd_epi32((__m256d)v);
#endif
#if defined(__SSE2__)
    if constexpr (sizeof(V) == 16) return detail::from_m128<R>(_mm_cvttpd_epi32((__m128d)v));
#endif
    R r;
    for (int k = 0; k < n; ++k)
        r[k] = v[k] > -2147483649.0 && v[k] < 2147483648.0 ? static_cast<int32_t>(v[k]) : INT32_MIN;
    return r;
}

// ---- three interleaved byte channels as 32-bit lanes (colour kernels)

namespace detail {
// Dword j of a byte vector of L bytes holds lane j / 4's source dword: lane l
// takes the 12 bytes (4 pixels) starting at byte 12 l.
template <int L, size_t... J>
inline auto pixels_to_lanes(vec<int32_t, L> v, std::index_sequence<J...>) {
    constexpr int n = L / 4;
    return __builtin_shufflevector(v, v, (3 * (int(J) / 4) + int(J) % 4 < n ? 3 * (int(J) / 4) + int(J) % 4 : n - 1)...);
}
#if defined(__SSSE3__)
// Dword i of each 16-byte lane as the lane's byte 3 i + C, zero-extended: one
// byte shuffle whose other indices have the top bit set (giving 0).
template <int C, size_t... J>
inline vec<int32_t> channel_dwords(vec<uint8_t> v, std::index_sequence<J...>) {
    const vec<int8_t> index{static_cast<int8_t>(int(J) % 4 == 0 ? 3 * ((int(J) % 16) / 4) + C : -128)...};
    return (vec<int32_t>)detail::shuffle_bytes(v, index);
}
#endif
// Dword j of block K of four consecutive blocks of 3 × lanes<int32_t> bytes,
// taken from x|y (the stream's vectors K * 3 / 4 and the next): each 16-byte
// lane gets the 12 bytes of its four pixels, as pixels_to_lanes gives them.
template <int K, int N, size_t... J>
inline vec<int32_t> block_to_lanes(vec<int32_t> x, vec<int32_t> y, std::index_sequence<J...>) {
    constexpr int base = N * (3 * K / 4);
    return __builtin_shufflevector(
        x, y, (at_most(3 * N / 4 * K + 3 * (int(J) / 4) + int(J) % 4, 3 * N - 1) - base)...);
}
// And back: dword j of stream vector M from the lanes' 12-byte groups of
// blocks M and M + 1 (x and y), as lanes_to_pixels takes them.
template <int M, int N, size_t... J>
inline vec<int32_t> lanes_to_block(vec<int32_t> x, vec<int32_t> y, std::index_sequence<J...>) {
    constexpr int per_block = 3 * N / 4;
    return __builtin_shufflevector(
        x, y, (((N * M + int(J)) / per_block == M ? 0 : N) + 4 * (((N * M + int(J)) % per_block) / 3) +
               ((N * M + int(J)) % per_block) % 3)...);
}
// Each 16-byte lane's channel-grouped bytes (four of channel 0, of 1, of 2)
// interleaved as four pixels in the lane's first 12 bytes.
template <int L, size_t... J>
inline auto grouped_pixels(vec<uint8_t, L> v, std::index_sequence<J...>) {
    return __builtin_shufflevector(
        v, v, (16 * (int(J) / 16) + ((int(J) % 16) < 12 ? 4 * ((int(J) % 16) % 3) + (int(J) % 16) / 3 : 0))...);
}
// Dword j from lane j / 3, dword j % 3: the lanes' 12-byte groups made contiguous.
template <int L, size_t... J>
inline auto lanes_to_pixels(vec<int32_t, L> v, std::index_sequence<J...>) {
    return __builtin_shufflevector(v, v, (int(J) < 3 * L / 16 ? 4 * (int(J) / 3) + int(J) % 3 : 0)...);
}
}  // namespace detail

// The 3 × lanes<int32_t> bytes of as many interleaved three-channel pixels,
// at p, as three 32-bit lanes per pixel (zero-extended): c0 holds channel 0
// of each pixel in lane order, and so on. Reads exactly those bytes.
inline void load_byte_pixels(const uint8_t* p, vec<int32_t>& c0, vec<int32_t>& c1, vec<int32_t>& c2) {
    using B = vec<uint8_t>;
    using I = vec<int32_t>;
    using H = vec<uint8_t, kBytes / 2>;
    using Q = vec<uint8_t, kBytes / 4>;
    const B b = join(load_as<H>(p), join(load_as<Q>(p + kBytes / 2), Q{}));
#if defined(__SSSE3__)
    const B moved = (B)detail::pixels_to_lanes<kBytes>((I)b, std::make_index_sequence<kBytes / 4>());
    constexpr auto bytes = std::make_index_sequence<kBytes>();
    c0 = detail::channel_dwords<0>(moved, bytes);
    c1 = detail::channel_dwords<1>(moved, bytes);
    c2 = detail::channel_dwords<2>(moved, bytes);
#elif defined(__SSE2__)
    // No byte shuffle: the 12 bytes are widened as they lie and taken apart as 32-bit lanes.
    const __m128i x = (__m128i)b, zero = _mm_setzero_si128();
    const __m128i lo = _mm_unpacklo_epi8(x, zero), hi = _mm_unpackhi_epi8(x, zero);
    deinterleave3((I)_mm_unpacklo_epi16(lo, zero), (I)_mm_unpackhi_epi16(lo, zero), (I)_mm_unpacklo_epi16(hi, zero), c0,
                  c1, c2);
#else
    for (int i = 0; i < kBytes / 4; ++i) {
        c0[i] = b[3 * i];
        c1[i] = b[3 * i + 1];
        c2[i] = b[3 * i + 2];
    }
#endif
}

#if defined(__SSSE3__)
namespace detail {
// Three 32-bit lanes per pixel saturated to 0..255, each 16-byte lane's four
// pixels interleaved in its first 12 bytes. Saturating packs leave them
// grouped by channel (c0 × 4, c1 × 4, c2 × 4, c2 × 4); a byte shuffle
// interleaves them.
inline vec<int32_t> pixel_lanes(vec<int32_t> c0, vec<int32_t> c1, vec<int32_t> c2) {
    using B = vec<uint8_t>;
#if defined(__AVX512BW__)
    const B grouped = (B)_mm512_packus_epi16(_mm512_packs_epi32((__m512i)c0, (__m512i)c1),
                                             _mm512_packs_epi32((__m512i)c2, (__m512i)c2));
#elif defined(__AVX2__)
    const B grouped = (B)_mm256_packus_epi16(_mm256_packs_epi32((__m256i)c0, (__m256i)c1),
                                             _mm256_packs_epi32((__m256i)c2, (__m256i)c2));
#else
    const B grouped = (B)_mm_packus_epi16(_mm_packs_epi32((__m128i)c0, (__m128i)c1),
                                          _mm_packs_epi32((__m128i)c2, (__m128i)c2));
#endif
    return (vec<int32_t>)grouped_pixels<kBytes>(grouped, std::make_index_sequence<kBytes>());
}
}  // namespace detail
#endif

// And back: three 32-bit lanes per pixel, saturated to 0..255, as the
// 3 × lanes<int32_t> bytes of interleaved pixels in the first three quarters
// of a byte vector.
inline vec<uint8_t> pack_byte_pixels(vec<int32_t> c0, vec<int32_t> c1, vec<int32_t> c2) {
    using B = vec<uint8_t>;
#if defined(__SSSE3__)
    const B b = (B)detail::lanes_to_pixels<kBytes>(detail::pixel_lanes(c0, c1, c2),
                                                   std::make_index_sequence<kBytes / 4>());
#elif defined(__SSE2__)
    vec<int32_t> x, y, z;
    interleave3(c0, c1, c2, x, y, z);
    const __m128i xy = _mm_packs_epi32((__m128i)x, (__m128i)y), zz = _mm_packs_epi32((__m128i)z, (__m128i)z);
    const B b = (B)_mm_packus_epi16(xy, zz);
#else
    B b{};
    auto sat = [](int32_t v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); };
    for (int i = 0; i < kBytes / 4; ++i) {
        b[3 * i] = sat(c0[i]);
        b[3 * i + 1] = sat(c1[i]);
        b[3 * i + 2] = sat(c2[i]);
    }
#endif
    return b;
}

// pack_byte_pixels stored at p; writes exactly the 3 × lanes<int32_t> bytes.
inline void store_byte_pixels(uint8_t* p, vec<int32_t> c0, vec<int32_t> c1, vec<int32_t> c2) {
    const vec<uint8_t> b = pack_byte_pixels(c0, c1, c2);
    store(p, lower_half(b));
    store(p + kBytes / 2, lower_half(upper_half(b)));
}

// Four blocks at once: the 4 × lanes<int32_t> interleaved byte pixels of the
// 3 × kBytes bytes at p as c[k][channel] for block k, as load_byte_pixels
// gives each block. Whole vectors are loaded and each block's bytes brought to
// its lanes by one two-source shuffle.
inline void load_byte_pixels4(const uint8_t* p, vec<int32_t> (&c)[4][3]) {
#if defined(__SSSE3__)
    using I = vec<int32_t>;
    constexpr int N = lanes<int32_t>;
    const I x = load_as<I>(p), y = load_as<I>(p + kBytes), z = load_as<I>(p + 2 * kBytes);
    constexpr auto d = std::make_index_sequence<N>();
    const I moved[4] = {detail::block_to_lanes<0, N>(x, x, d), detail::block_to_lanes<1, N>(x, y, d),
                        detail::block_to_lanes<2, N>(y, z, d), detail::block_to_lanes<3, N>(z, z, d)};
    constexpr auto bytes = std::make_index_sequence<kBytes>();
    for (int k = 0; k < 4; ++k) {
        c[k][0] = detail::channel_dwords<0>((vec<uint8_t>)moved[k], bytes);
        c[k][1] = detail::channel_dwords<1>((vec<uint8_t>)moved[k], bytes);
        c[k][2] = detail::channel_dwords<2>((vec<uint8_t>)moved[k], bytes);
    }
#else
    for (int k = 0; k < 4; ++k) load_byte_pixels(p + 3 * k * kBytes / 4, c[k][0], c[k][1], c[k][2]);
#endif
}

// And back: four blocks' pixels saturated to 0..255 as the three byte
// vectors out[0..2] of their 3 × kBytes interleaved bytes.
inline void pack_byte_pixels4(const vec<int32_t> (&c)[4][3], vec<uint8_t> (&out)[3]) {
#if defined(__SSSE3__)
    using I = vec<int32_t>;
    constexpr int N = lanes<int32_t>;
    I lanes4[4];
    for (int k = 0; k < 4; ++k) lanes4[k] = detail::pixel_lanes(c[k][0], c[k][1], c[k][2]);
    constexpr auto d = std::make_index_sequence<N>();
    out[0] = (vec<uint8_t>)detail::lanes_to_block<0, N>(lanes4[0], lanes4[1], d);
    out[1] = (vec<uint8_t>)detail::lanes_to_block<1, N>(lanes4[1], lanes4[2], d);
    out[2] = (vec<uint8_t>)detail::lanes_to_block<2, N>(lanes4[2], lanes4[3], d);
#else
    uint8_t bytes[3 * kBytes];
    for (int k = 0; k < 4; ++k) store_byte_pixels(bytes + 3 * k * kBytes / 4, c[k][0], c[k][1], c[k][2]);
    for (int m = 0; m < 3; ++m) out[m] = load_as<vec<uint8_t>>(bytes + m * kBytes);
#endif
}

// ---- three interleaved 16-bit channels as 32-bit lanes (colour kernels)

// Two blocks at once: the 2 × lanes<int32_t> pixels of three interleaved
// 16-bit channels in the 3 × kBytes bytes at p, as 32-bit planes: c[0][ch]
// holds channel ch of the even pixels, c[1][ch] of the odd ones. Read as
// 32-bit lanes, a pair of pixels is three lanes (c0 c1 | c2 c0' | c1' c2'),
// so one 32-bit deinterleave and a mask or shift per plane take them apart.
inline void load_word_pixels2(const uint16_t* p, vec<int32_t> (&c)[2][3]) {
    using U = vec<uint32_t>;
    constexpr int n = lanes<uint16_t>;
    U d0, d1, d2;
    deinterleave3(load_as<U>(p), load_as<U>(p + n), load_as<U>(p + 2 * n), d0, d1, d2);
    const U low = U{} + 0xFFFF;
    c[0][0] = (vec<int32_t>)(d0 & low);
    c[0][1] = (vec<int32_t>)(d0 >> 16);
    c[0][2] = (vec<int32_t>)(d1 & low);
    c[1][0] = (vec<int32_t>)(d1 >> 16);
    c[1][1] = (vec<int32_t>)(d2 & low);
    c[1][2] = (vec<int32_t>)(d2 >> 16);
}

namespace detail {
// Pairs (a[i], b[i]) of 32-bit lanes that fit 16 bits, as the low and high
// words of 32-bit lanes; negative lanes give 0. Where the level has the
// saturating pack, it and a byte shuffle inside each 16-byte lane do it.
inline vec<uint32_t> word_pairs(vec<int32_t> a, vec<int32_t> b) {
#if defined(__AVX2__)
    constexpr auto bytes = std::make_index_sequence<kBytes>();
    const auto index = []<size_t... J>(std::index_sequence<J...>) {
        // Word k of each lane: word k / 2 of a (k even) or of b (k odd), which
        // the pack left as the lane's words 0..3 and 4..7.
        return vec<int8_t>{static_cast<int8_t>(2 * ((int(J) % 16) / 2 % 2 ? 4 + (int(J) % 16) / 4 : (int(J) % 16) / 4) +
                                               int(J) % 2)...};
    }(bytes);
#if defined(__AVX512BW__)
    const auto packed = (vec<uint8_t>)_mm512_packus_epi32((__m512i)a, (__m512i)b);
#else
    const auto packed = (vec<uint8_t>)_mm256_packus_epi32((__m256i)a, (__m256i)b);
#endif
    return (vec<uint32_t>)shuffle_bytes(packed, index);
#else
    using U = vec<uint32_t>;
    const vec<int32_t> zero{};
    return (U)(a > zero ? a : zero) | ((U)(b > zero ? b : zero) << 16);
#endif
}
}  // namespace detail

// And back: planes of values up to 65535 (negative values give 0) as the
// three vectors out[0..2] of interleaved 16-bit samples.
inline void pack_word_pixels2(const vec<int32_t> (&c)[2][3], vec<uint16_t> (&out)[3]) {
    using U = vec<uint32_t>;
    U a, b, e;
    interleave3(detail::word_pairs(c[0][0], c[0][1]), detail::word_pairs(c[0][2], c[1][0]),
                detail::word_pairs(c[1][1], c[1][2]), a, b, e);
    out[0] = (vec<uint16_t>)a;
    out[1] = (vec<uint16_t>)b;
    out[2] = (vec<uint16_t>)e;
}

}  // namespace lum::prim::LUM_ISA::simd
