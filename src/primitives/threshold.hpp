// Threshold kernels on one-channel regions: "less than T becomes V" (copying
// or in place), "at least T" into an 8-bit mask, and setting the samples that
// a mask selects. "Greater than T becomes V" lives with the fill kernels.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// dst = src < threshold ? value : src. Source and destination may be the same region.
LUM_PRIMITIVE(threshold_lt_val_8u_c1r, int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size,
                                           uint8_t threshold, uint8_t value))
LUM_PRIMITIVE(threshold_lt_val_16u_c1r, int(const uint16_t* src, int src_step, uint16_t* dst, int dst_step,
                                            Size size, uint16_t threshold, uint16_t value))
LUM_PRIMITIVE(threshold_lt_val_32f_c1r, int(const float* src, int src_step, float* dst, int dst_step, Size size,
                                            float threshold, float value))

// In place: every sample less than threshold becomes value.
LUM_PRIMITIVE(threshold_lt_val_8u_c1ir, int(uint8_t* image, int step, Size size, uint8_t threshold, uint8_t value))
LUM_PRIMITIVE(threshold_lt_val_16u_c1ir, int(uint16_t* image, int step, Size size, uint16_t threshold,
                                             uint16_t value))
LUM_PRIMITIVE(threshold_lt_val_32f_c1ir, int(float* image, int step, Size size, float threshold, float value))

// mask = src >= value ? 255 : 0.
LUM_PRIMITIVE(compare_ge_c_8u_c1r, int(const uint8_t* src, int src_step, uint8_t value, uint8_t* mask, int mask_step,
                                       Size size))
LUM_PRIMITIVE(compare_ge_c_16u_c1r, int(const uint16_t* src, int src_step, uint16_t value, uint8_t* mask,
                                        int mask_step, Size size))
LUM_PRIMITIVE(compare_ge_c_32f_c1r, int(const float* src, int src_step, float value, uint8_t* mask, int mask_step,
                                        Size size))

// In place: every sample whose mask byte is non-zero becomes value.
LUM_PRIMITIVE(set_masked_8u_c1mr, int(uint8_t value, uint8_t* image, int step, Size size, const uint8_t* mask,
                                      int mask_step))
LUM_PRIMITIVE(set_masked_16u_c1mr, int(uint16_t value, uint16_t* image, int step, Size size, const uint8_t* mask,
                                       int mask_step))
LUM_PRIMITIVE(set_masked_32f_c1mr, int(float value, float* image, int step, Size size, const uint8_t* mask,
                                       int mask_step))

// The "less than" step followed by the "greater than" step in one pass:
// t = src < lt ? lt_value : src; dst = t > gt ? gt_value : t. Source and
// destination may be the same region.
LUM_PRIMITIVE(threshold_lt_gt_val_8u_c1r, int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size,
                                              uint8_t lt, uint8_t lt_value, uint8_t gt, uint8_t gt_value))
LUM_PRIMITIVE(threshold_lt_gt_val_16u_c1r, int(const uint16_t* src, int src_step, uint16_t* dst, int dst_step,
                                               Size size, uint16_t lt, uint16_t lt_value, uint16_t gt,
                                               uint16_t gt_value))
LUM_PRIMITIVE(threshold_lt_gt_val_32f_c1r, int(const float* src, int src_step, float* dst, int dst_step, Size size,
                                               float lt, float lt_value, float gt, float gt_value))

// dst = src < threshold ? below : at_or_above, for regions that do not overlap.
LUM_PRIMITIVE(threshold_split_8u_c1r, int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size,
                                          uint8_t threshold, uint8_t below, uint8_t at_or_above))
LUM_PRIMITIVE(threshold_split_16u_c1r, int(const uint16_t* src, int src_step, uint16_t* dst, int dst_step, Size size,
                                           uint16_t threshold, uint16_t below, uint16_t at_or_above))

// In place, "less than" then "at least" on its result, in one pass:
// t = p < threshold ? raised : p; p = t >= threshold ? lowered : t.
LUM_PRIMITIVE(threshold_lt_then_ge_8u_c1ir, int(uint8_t* image, int step, Size size, uint8_t threshold,
                                                uint8_t raised, uint8_t lowered))
LUM_PRIMITIVE(threshold_lt_then_ge_16u_c1ir, int(uint16_t* image, int step, Size size, uint16_t threshold,
                                                 uint16_t raised, uint16_t lowered))

}  // namespace lum::prim
