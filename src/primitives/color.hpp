// Colour kernels: weighted colour-to-grey, grey-to-colour and the 3 x 4 colour
// twist (in place and not), for interleaved three-channel rows.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// out = w[0]*c0 + w[1]*c1 + w[2]*c2, rounded to nearest (halves to even) and saturated.
LUM_PRIMITIVE(color_to_gray_8u_c3c1r,
              int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size, const float* weights))
LUM_PRIMITIVE(color_to_gray_16u_c3c1r,
              int(const uint16_t* src, int src_step, uint16_t* dst, int dst_step, Size size, const float* weights))

// Every output channel is the grey sample.
LUM_PRIMITIVE(gray_to_color_8u_c1c3r, int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size))

// out_c = m[4c]*s0 + m[4c+1]*s1 + m[4c+2]*s2 + m[4c+3] in single precision,
// rounded to nearest and saturated. The in-place forms read a pixel before writing it.
LUM_PRIMITIVE(color_twist_8u_c3r,
              int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size, const float* matrix))
LUM_PRIMITIVE(color_twist_8u_c3ir, int(uint8_t* image, int step, Size size, const float* matrix))
LUM_PRIMITIVE(color_twist_16u_c3r,
              int(const uint16_t* src, int src_step, uint16_t* dst, int dst_step, Size size, const float* matrix))
LUM_PRIMITIVE(color_twist_16u_c3ir, int(uint16_t* image, int step, Size size, const float* matrix))

}  // namespace lum::prim
