// Threshold, compare and masked-set kernels: each rule a select on vectors
// (or on one sample, for rows that read their own output), fed to the
// element-wise row loops.
#include <cstdint>

#include "primitives/kernel.hpp"
#include "primitives/threshold.hpp"

namespace lum::prim::LUM_ISA {

namespace {

using simd::vec;

// A rule's constants as V (a vector of samples, or one sample), and the rule.
template <class V, class Rule>
struct rule_of;

template <class V, class T>
struct rule_of<V, thr::below<T>> {
    V t, v;
    explicit rule_of(thr::below<T> r) : t(V{} + r.threshold), v(V{} + r.value) {}
    V operator()(V s) const { return s < t ? v : s; }
};
template <class V, class T>
struct rule_of<V, thr::above<T>> {
    V t, v;
    explicit rule_of(thr::above<T> r) : t(V{} + r.threshold), v(V{} + r.value) {}
    V operator()(V s) const { return s > t ? v : s; }
};
template <class V, class T>
struct rule_of<V, thr::below_above<T>> {
    V lt, ltv, gt, gtv;
    explicit rule_of(thr::below_above<T> r)
        : lt(V{} + r.lt), ltv(V{} + r.lt_value), gt(V{} + r.gt), gtv(V{} + r.gt_value) {}
    V operator()(V s) const {
        const V t = s < lt ? ltv : s;
        return t > gt ? gtv : t;
    }
};
template <class V, class T>
struct rule_of<V, thr::split<T>> {
    V t, lo, hi;
    explicit rule_of(thr::split<T> r) : t(V{} + r.threshold), lo(V{} + r.below), hi(V{} + r.at_or_above) {}
    V operator()(V s) const { return s < t ? lo : hi; }
};
template <class V, class T>
struct rule_of<V, thr::below_then_at_least<T>> {
    V t, up, down;
    explicit rule_of(thr::below_then_at_least<T> r) : t(V{} + r.threshold), up(V{} + r.raised), down(V{} + r.lowered) {}
    V operator()(V s) const {
        const V u = s < t ? up : s;
        return u >= t ? down : u;
    }
};

// True when d starts inside the n samples from s, past s itself: a vector
// would read samples that the same row writes first.
template <class T>
bool ahead_in_row(const T* s, const T* d, int n) {
    const auto sa = reinterpret_cast<uintptr_t>(s), da = reinterpret_cast<uintptr_t>(d);
    return da > sa && da - sa < static_cast<uintptr_t>(n) * sizeof(T);
}

}  // namespace

template <class T, class Rule>
int threshold(const T* src, int src_step, T* dst, int dst_step, Size size, Rule rule) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    const rule_of<vec<T>, Rule> lanes(rule);
    const rule_of<T, Rule> one(rule);
    // In place, the rows were just read into the caches: they stay there.
    const int64_t bytes = src == dst ? 0 : int64_t{size.width} * size.height * sizeof(T);
    with_stores_for(bytes, [&](auto stores) {
        for (int y = 0; y < size.height; ++y) {
            const T* s = row_at(src, src_step, y);
            T* d = row_at(dst, dst_step, y);
            if (ahead_in_row(s, d, size.width)) {
                for (int x = 0; x < size.width; ++x) store_one(d + x, one(load_one(s + x)));
            } else if constexpr (decltype(stores)::value) {
                unary_row(s, d, size.width, lanes, stores);
            } else {
                // Rows on 16-byte steps: whole stores from the first line boundary on never straddle two lines.
                int head = elements_to_alignment<vec<T>>(d);
                head = head < 0 || head > size.width ? size.width : head;
                unary_row(s, d, head, lanes);
                unary_row(s + head, d + head, size.width - head, lanes);
            }
        }
        if (stores) simd::stream_fence();
    });
    return st_ok;
}

template <class T>
int compare_at_least(const T* src, int src_step, T value, uint8_t* mask, int mask_step, Size size) {
    if (!src || !mask) return st_null;
    if (empty_region(size)) return st_size;
    const vec<T> v = simd::splat(value);
    const auto compare = [v](vec<T> s) {
        const auto at_least = s >= v;  // all ones or zeros per lane
        if constexpr (sizeof(T) == 1) return (vec<uint8_t>)at_least;
        else if constexpr (sizeof(T) == 2) return simd::narrow_sat<uint8_t>((vec<uint16_t>)at_least);
        else return simd::narrow_sat<uint8_t>(at_least & 255);
    };
    with_stores_for(int64_t{size.width} * size.height, [&](auto stores) {
        for (int y = 0; y < size.height; ++y)
            unary_row<T>(row_at(src, src_step, y), row_at(mask, mask_step, y), size.width, compare, stores);
        if (stores) simd::stream_fence();
    });
    return st_ok;
}

template <class T>
int set_selected(T value, T* image, int step, Size size, const uint8_t* mask, int mask_step) {
    if (!image || !mask) return st_null;
    if (empty_region(size)) return st_size;
    using U = std::conditional_t<sizeof(T) == 1, uint8_t, std::conditional_t<sizeof(T) == 2, uint16_t, uint32_t>>;
    const vec<T> v = simd::splat(value);
    const auto select = [v](simd::lanes_of<uint8_t, T> m, vec<T> s) {
        if constexpr (sizeof(T) == 1) return m != 0 ? v : s;
        else return simd::widen<U>(m) != 0 ? v : s;
    };
    for (int y = 0; y < size.height; ++y) {
        T* p = row_at(image, step, y);
        binary_row<T>(row_at(mask, mask_step, y), p, p, size.width, select);
    }
    return st_ok;
}

#define LUM_RULES(T)                                        \
    LUM_INSTANTIATE(threshold, T, thr::below<T>)            \
    LUM_INSTANTIATE(threshold, T, thr::above<T>)            \
    LUM_INSTANTIATE(threshold, T, thr::below_above<T>)      \
    LUM_INSTANTIATE(compare_at_least, T)                    \
    LUM_INSTANTIATE(set_selected, T)
LUM_RULES(uint8_t)
LUM_RULES(uint16_t)
LUM_RULES(float)
#undef LUM_RULES
LUM_INSTANTIATE(threshold, uint8_t, thr::split<uint8_t>)
LUM_INSTANTIATE(threshold, uint16_t, thr::split<uint16_t>)
LUM_INSTANTIATE(threshold, uint8_t, thr::below_then_at_least<uint8_t>)
LUM_INSTANTIATE(threshold, uint16_t, thr::below_then_at_least<uint16_t>)

}  // namespace lum::prim::LUM_ISA
