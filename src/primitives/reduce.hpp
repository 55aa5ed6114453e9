// Reductions for kernel sources: rows taken a vector at a time with a
// zero-filled tail, exact sums and squares of 8-bit and 16-bit samples, and
// float rows summed in double precision over a fixed number of lanes (the
// same lanes at every level, so every variant adds in the same order).
#pragma once

#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

// f(v) for each whole vector of a row of n samples, then for its tail with
// the lanes past the row zero.
template <class T, class F>
inline void each_vector(const T* s, int n, F&& f) {
    constexpr int L = simd::lanes<T>;
    int x = 0;
    for (; x + 2 * L <= n; x += 2 * L) {
        f(simd::load(s + x));
        f(simd::load(s + x + L));
    }
    for (; x < n; x += L) f(simd::load_first<simd::vec<T>>(s + x, n - x));
}

template <class V>
inline uint64_t lane_total(V v) {
    uint64_t t = 0;
    for (size_t i = 0; i < sizeof(V) / sizeof(v[0]); ++i) t += static_cast<uint64_t>(v[i]);
    return t;
}

// op over the lanes of v, halving the vector at each step.
template <class V, class Op>
inline auto fold_lanes(V v, const Op& op) {
    if constexpr (sizeof(V) / sizeof(v[0]) == 2) return op(v[0], v[1]);
    else return fold_lanes(op(simd::lower_half(v), simd::upper_half(v)), op);
}

// Σ of 8-bit or 16-bit samples into 64-bit lanes, one psadbw per vector. A
// 16-bit sample is lo + 256·hi: the byte sums give Σ(lo + hi), the high
// bytes alone Σhi.
template <class T>
struct integer_sum {
    simd::vec<uint64_t> bytes{}, high{};
    void add(simd::vec<T> v) {
        bytes += simd::sum_bytes((simd::vec<uint8_t>)v);
        if constexpr (sizeof(T) == 2) high += simd::sum_bytes((simd::vec<uint8_t>)(v >> 8));
    }
    uint64_t total() const { return lane_total(bytes) + 255 * lane_total(high); }
};

// Σv² of 8-bit and 16-bit samples, exact. 8-bit: pmaddwd of the widened
// samples gives pairs of squares (at most 130050) in 32-bit lanes, moved to
// 64-bit lanes before they could overflow. 16-bit: w = v − 32768 fits a
// signed lane and v² = w² + 65536·v − 2^30, so pmaddwd of w gives the squares
// up to two terms taken from the plain sum and the number of lanes.
template <class T>
struct integer_squares;

template <>
struct integer_squares<uint8_t> {
    using W = simd::vec<int16_t>;
    using Q = simd::vec<uint32_t>;
    static constexpr int kFlush = 8192;  // vectors: 8192 × 2 × 2 × 130050 < 2^32
    Q pending{};
    simd::vec<uint64_t> done{};
    int count = 0;
    void add(simd::vec<uint8_t> v) {
        const auto lo = (W)simd::widen<uint16_t>(simd::lower_half(v));
        const auto hi = (W)simd::widen<uint16_t>(simd::upper_half(v));
        pending += (Q)simd::madd(lo, lo) + (Q)simd::madd(hi, hi);
        if (++count == kFlush) flush();
    }
    void flush() {
        const auto wide = (simd::vec<uint64_t>)pending;
        done += (wide & 0xFFFFFFFFu) + (wide >> 32);
        pending = Q{};
        count = 0;
    }
    // Σv², given Σv of the same samples.
    unsigned __int128 total(uint64_t) {
        flush();
        return lane_total(done);
    }
};

template <>
struct integer_squares<uint16_t> {
    simd::vec<uint64_t> done{};
    uint64_t lanes = 0;  // the zero lanes of a tail included
    void add(simd::vec<uint16_t> v) {
        const auto w = (simd::vec<int16_t>)(v ^ 0x8000);
        const auto wide = (simd::vec<uint64_t>)simd::madd(w, w);
        done += (wide & 0xFFFFFFFFu) + (wide >> 32);
        lanes += simd::lanes<uint16_t>;
    }
    unsigned __int128 total(uint64_t sum) const {
        return static_cast<unsigned __int128>(lane_total(done)) + (static_cast<unsigned __int128>(sum) << 16) -
               (static_cast<unsigned __int128>(lanes) << 30);
    }
};

// Float samples of a row summed into Lanes double lanes: sample x of the row
// goes to lane x mod Lanes. f(k, d, in) gets vector k of the lanes' doubles
// and the mask of its lanes that hold samples; each vector of doubles comes
// from one load of half a vector of floats.
template <int Lanes>
struct double_lanes {
    using D = simd::vec<double>;
    using F = simd::vec<float, simd::kBytes / 2>;
    using Mask = simd::mask_of<D>;
    static constexpr int kLanes = simd::lanes<double>;
    static constexpr int kVectors = Lanes / kLanes;

    template <class Fn>
    static void each(const float* s, int n, Fn&& f) {
        const Mask all = Mask{} - 1;
        int x = 0;
        for (; x + Lanes <= n; x += Lanes)
            for (int k = 0; k < kVectors; ++k) f(k, simd::floats_to_doubles(simd::load_as<F>(s + x + k * kLanes)), all);
        for (int k = 0; x + k * kLanes < n; ++k) {
            const int valid = n - x - k * kLanes;
            f(k, simd::floats_to_doubles(simd::load_first<F>(s + x + k * kLanes, valid)),
              simd::first_lanes<Mask>(valid));
        }
    }

    // The lanes added in order, lane 0 first.
    static double total(const D (&lane)[kVectors]) {
        double t = 0;
        for (int k = 0; k < kVectors; ++k)
            for (int i = 0; i < kLanes; ++i) t += lane[k][i];
        return t;
    }

    // Σ of one row, as lanes that start at 0 and end added in order.
    static double row_total(const float* s, int n) {
        D lane[kVectors] = {};
        each(s, n, [&](int k, D d, Mask) { lane[k] += d; });
        return total(lane);
    }
};

}  // namespace lum::prim::LUM_ISA
