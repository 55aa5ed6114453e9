// Colour kernels on three interleaved channels: weighted colour-to-grey,
// grey-to-colour and the 3 x 4 colour twist. Regions count pixels; every
// kernel reads and writes at any address.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// out = w[0]*c0 + w[1]*c1 + w[2]*c2 in single precision, rounded to nearest
// (halves to even) and saturated to the sample range.
LUM_KERNEL(color_to_gray, (class T), (T),
           int(const T* src, int src_step, T* dst, int dst_step, Size size, const float* weights))

// Every output channel is the grey sample.
LUM_KERNEL(gray_to_color, (class T), (T), int(const T* src, int src_step, T* dst, int dst_step, Size size))

// out_c = ((m[4c]*s0 + m[4c+1]*s1) + m[4c+2]*s2) + m[4c+3] in single
// precision, rounded to nearest (halves to even) and saturated to [0, top]:
// top is the sample type's maximum, or lower to keep results within an
// image's valid bits. dst may be src (in place): a pixel is read before it is
// written.
LUM_KERNEL(color_twist, (class T), (T),
           int(const T* src, int src_step, T* dst, int dst_step, Size size, const float* matrix, T top))

}  // namespace lum::prim
