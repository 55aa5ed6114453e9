// Element-wise kernels of a region and constants: saturating add and
// subtract of a sample value, and multiplication by double constants with
// rounding to nearest (halves to even) and saturation. C1 kernels take one
// constant, C3 kernels three, in channel order.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// src_dst = src_dst + value, scale factor as in arith.hpp.
LUM_PRIMITIVE(add_c_8u_c1irsfs, int(uint8_t* src_dst, int step, Size size, uint8_t value, int scale))
LUM_PRIMITIVE(add_c_8u_c3irsfs, int(uint8_t* src_dst, int step, Size size, const uint8_t* value, int scale))
LUM_PRIMITIVE(add_c_16u_c1irsfs, int(uint16_t* src_dst, int step, Size size, uint16_t value, int scale))
LUM_PRIMITIVE(add_c_16u_c3irsfs, int(uint16_t* src_dst, int step, Size size, const uint16_t* value, int scale))

// dst = src − value, saturating at 0.
LUM_PRIMITIVE(sub_c_8u_c1rsfs,
              int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size, uint8_t value, int scale))
LUM_PRIMITIVE(sub_c_8u_c3rsfs, int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size,
                                   const uint8_t* value, int scale))
LUM_PRIMITIVE(sub_c_16u_c1rsfs,
              int(const uint16_t* src, int src_step, uint16_t* dst, int dst_step, Size size, uint16_t value, int scale))
LUM_PRIMITIVE(sub_c_16u_c3rsfs, int(const uint16_t* src, int src_step, uint16_t* dst, int dst_step, Size size,
                                    const uint16_t* value, int scale))

// dst = value − src, saturating at 0 (three channels with one value are the
// one-channel kernel over three times the width).
LUM_PRIMITIVE(rsub_c_8u_c1r, int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size, uint8_t value))
LUM_PRIMITIVE(rsub_c_16u_c1r,
              int(const uint16_t* src, int src_step, uint16_t* dst, int dst_step, Size size, uint16_t value))

// src_dst = src_dst × value[channel], computed in double precision; integer
// results rounded to nearest and saturated (NaN gives 0), float results
// rounded once to float.
LUM_PRIMITIVE(mul_c_8u_c1ir, int(uint8_t* src_dst, int step, Size size, const double* value))
LUM_PRIMITIVE(mul_c_8u_c3ir, int(uint8_t* src_dst, int step, Size size, const double* value))
LUM_PRIMITIVE(mul_c_16u_c1ir, int(uint16_t* src_dst, int step, Size size, const double* value))
LUM_PRIMITIVE(mul_c_16u_c3ir, int(uint16_t* src_dst, int step, Size size, const double* value))
LUM_PRIMITIVE(mul_c_32f_c1ir, int(float* src_dst, int step, Size size, const double* value))

}  // namespace lum::prim
