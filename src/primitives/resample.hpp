// Helpers of the resampling kernels (resize, warp): samples fetched into
// blend lanes, blends turned back into samples, results stored, the three
// channels of a block interleaved on the way out, and table indices made
// relative to a block. Included by kernel sources only (per level).
#pragma once

#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA::resample {

using simd::element_t;

// n (<= lanes of E) samples of T from p as lanes of E (16- or 32-bit
// integers, floats or doubles).
template <class E, class T>
inline simd::vec<E> fetch(const T* p, int n) {
    using S = simd::lanes_of<T, E>;
    const S s = n >= simd::lanes<E> ? simd::load_as<S>(p) : simd::load_first<S>(p, n);
    if constexpr (std::is_same_v<T, E>) return s;
    else if constexpr (std::is_same_v<E, uint16_t>) return simd::widen<uint16_t>(s);
    else if constexpr (std::is_same_v<E, float>) return simd::to_float(s);
    else if constexpr (std::is_same_v<E, int32_t>) return (simd::vec<int32_t>)simd::widen<uint32_t>(s);
    else return simd::convert<double>((simd::lanes_of<int32_t, double>)simd::widen<uint32_t>(s));
}

// Blended lanes as the integer lanes of samples of T (rounded half to even,
// saturated), or floats as they are.
template <class T, class V>
inline auto samples_of(V v) {
    using F = element_t<V>;
    if constexpr (std::is_same_v<T, float>) {
        return v;
    } else if constexpr (std::is_same_v<F, float>) {
        return simd::round_clamped(v, float(max_value<T>()));
    } else {
        const V zero{};
        v = v > zero ? v : zero;
        v = v < zero + F(max_value<T>()) ? v : zero + F(max_value<T>());
        return simd::round_even_wide(v);
    }
}

// Integer lanes within T's range (any width) as lanes of T; floats as they are.
template <class T, class R>
inline auto narrowed(R r) {
    using E = element_t<R>;
    if constexpr (std::is_same_v<E, T>) return r;
    else if constexpr (sizeof(E) == sizeof(T)) return (simd::vec<T, int(sizeof(R))>)r;
    else if constexpr (std::is_same_v<E, uint16_t> || std::is_same_v<E, int32_t>) return simd::narrow_sat<T>(r);
    else return simd::narrow_sat<T>((simd::vec<int32_t, int(sizeof(R))>)r);
}

// Stores the first n lanes of r (floats, or integers within T's range) as samples of T.
template <class T, class R>
inline void put(T* d, R r, int n) {
    simd::store_first(d, narrowed<T>(r), n);
}

// The three channel results of a block of n pixels, stored as 3n interleaved samples.
template <class T, class R>
inline void put3(T* d, R r0, R r1, R r2, int n) {
    constexpr int L = sizeof(R) / sizeof(element_t<R>);
    R v[3];
    simd::interleave3(r0, r1, r2, v[0], v[1], v[2]);
    for (int k = 0; k < 3 && k * L < 3 * n; ++k) put(d + k * L, v[k], 3 * n - k * L < L ? 3 * n - k * L : L);
}

// The first n of the int32 values at p less `base` (lanes past n: 0 less
// base), as lanes of the vector V of 16-, 32- or 64-bit lanes: built from
// whole int32 vectors, so that no lane is assembled on its own.
template <class V>
inline V int32_lanes(const int32_t* p, int n, int32_t base = 0) {
    using I = simd::vec<int32_t>;
    constexpr int L = simd::lanes<int32_t>, W = int(sizeof(V) / sizeof(element_t<V>));
    auto part = [&](int at) {
        const int m = n - at;
        return (m >= L ? simd::load(p + at) : m > 0 ? simd::load_first<I>(p + at, m) : I{}) - base;
    };
    if constexpr (W == L) {
        return __builtin_convertvector(part(0), V);
    } else if constexpr (W == 2 * L) {
        using H = simd::vec<element_t<V>, int(sizeof(V)) / 2>;
        return simd::join(__builtin_convertvector(part(0), H), __builtin_convertvector(part(L), H));
    } else {
        using H = simd::vec<int32_t, int(sizeof(I)) / 2>;
        return __builtin_convertvector((n >= W ? simd::load_as<H>(p) : simd::load_first<H>(p, n)) - base, V);
    }
}

}  // namespace lum::prim::LUM_ISA::resample
