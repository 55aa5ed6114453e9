// Region fill, region copy and the in-place "greater than T becomes V"
// kernel. Regions count samples (a three-channel row of w pixels is 3 × w
// samples; the copy counts bytes); every kernel reads and writes at any address.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// Byte run: value, start, length.
LUM_PRIMITIVE(fill_bytes, int(uint8_t value, uint8_t* dst, int32_t length))

// Every sample becomes the value of its channel; `values` holds `channels`
// (1 or 3) values in channel order.
LUM_KERNEL(fill, (class T), (T), int(T* dst, int step, Size size, const T* values, int channels))

// Copies a region of size.width bytes per row; a row may overlap its source.
LUM_PRIMITIVE(copy_bytes, int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size))

// In place: every sample greater than its channel's threshold becomes its
// channel's value; `thresholds` and `values` hold `channels` (1 or 3) each.
LUM_KERNEL(threshold_gt, (class T), (T),
           int(T* image, int step, Size size, const T* thresholds, const T* values, int channels))

}  // namespace lum::prim
