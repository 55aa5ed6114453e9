// Region fill, region copy and the in-place "greater than T becomes V" kernel.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// Byte run: value, start, length.
LUM_PRIMITIVE(fill_bytes, int(uint8_t value, uint8_t* dst, int32_t length))

// Fill a region with one value (C1) or one value per channel (C3).
LUM_PRIMITIVE(set_8u_c1, int(uint8_t value, uint8_t* dst, int step, Size size))
LUM_PRIMITIVE(set_8u_c3, int(const uint8_t* value, uint8_t* dst, int step, Size size))
LUM_PRIMITIVE(set_16u_c1, int(uint16_t value, uint16_t* dst, int step, Size size))
LUM_PRIMITIVE(set_16u_c3, int(const uint16_t* value, uint16_t* dst, int step, Size size))
LUM_PRIMITIVE(set_32f_c1, int(float value, float* dst, int step, Size size))
LUM_PRIMITIVE(set_32f_c3, int(const float* value, float* dst, int step, Size size))

// Copy a region.
LUM_PRIMITIVE(copy_8u_c1, int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size))
LUM_PRIMITIVE(copy_8u_c3, int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size))
LUM_PRIMITIVE(copy_16u_c1, int(const uint16_t* src, int src_step, uint16_t* dst, int dst_step, Size size))
LUM_PRIMITIVE(copy_16u_c3, int(const uint16_t* src, int src_step, uint16_t* dst, int dst_step, Size size))
LUM_PRIMITIVE(copy_32f_c1, int(const float* src, int src_step, float* dst, int dst_step, Size size))
LUM_PRIMITIVE(copy_32f_c3, int(const float* src, int src_step, float* dst, int dst_step, Size size))

// In place: every sample greater than threshold becomes value (C3: per channel).
LUM_PRIMITIVE(threshold_gt_val_8u_c1ir, int(uint8_t* image, int step, Size size, uint8_t threshold, uint8_t value))
LUM_PRIMITIVE(threshold_gt_val_8u_c3ir,
              int(uint8_t* image, int step, Size size, const uint8_t* threshold, const uint8_t* value))
LUM_PRIMITIVE(threshold_gt_val_16u_c1ir, int(uint16_t* image, int step, Size size, uint16_t threshold, uint16_t value))
LUM_PRIMITIVE(threshold_gt_val_16u_c3ir,
              int(uint16_t* image, int step, Size size, const uint16_t* threshold, const uint16_t* value))
LUM_PRIMITIVE(threshold_gt_val_32f_c1ir, int(float* image, int step, Size size, float threshold, float value))
LUM_PRIMITIVE(threshold_gt_val_32f_c3ir,
              int(float* image, int step, Size size, const float* threshold, const float* value))

}  // namespace lum::prim
