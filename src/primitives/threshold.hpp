// Threshold kernels on one-channel regions of 8-bit, 16-bit and float
// samples at any address: a rule applied to each sample (copying or in
// place), "at least T" into an 8-bit mask, and setting the samples that a
// mask selects.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// The rules of threshold<T, Rule>, each with its constants.
namespace thr {
// s < threshold ? value : s
template <class T>
struct below {
    T threshold, value;
};
// s > threshold ? value : s
template <class T>
struct above {
    T threshold, value;
};
// The "below" step followed by the "above" step on its result, in one pass:
// t = s < lt ? lt_value : s; t > gt ? gt_value : t.
template <class T>
struct below_above {
    T lt, lt_value, gt, gt_value;
};
// s < threshold ? below : at_or_above
template <class T>
struct split {
    T threshold, below, at_or_above;
};
// "Below" then "at least" on its result: t = s < threshold ? raised : s;
// t >= threshold ? lowered : t.
template <class T>
struct below_then_at_least {
    T threshold, raised, lowered;
};
}  // namespace thr

// dst = rule(src) sample by sample. dst may be src. A destination row that
// starts inside its source row, past the source's start, is worked one
// sample at a time in order, as a row-by-row, left-to-right pass reads it.
LUM_KERNEL(threshold, (class T, class Rule), (T, Rule),
           int(const T* src, int src_step, T* dst, int dst_step, Size size, Rule rule))

// mask = src >= value ? 255 : 0.
LUM_KERNEL(compare_at_least, (class T), (T),
           int(const T* src, int src_step, T value, uint8_t* mask, int mask_step, Size size))

// In place: every sample whose mask byte is non-zero becomes value.
LUM_KERNEL(set_selected, (class T), (T),
           int(T value, T* image, int step, Size size, const uint8_t* mask, int mask_step))

}  // namespace lum::prim
