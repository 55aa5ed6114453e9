// Multiplication of a region by double constants with rounding to nearest
// (halves to even) and saturation. C1 kernels take one constant, C3 kernels
// three, in channel order.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// src_dst = src_dst × value[channel], computed in double precision; integer
// results rounded to nearest and saturated (NaN gives 0), float results
// rounded once to float.
LUM_PRIMITIVE(mul_c_8u_c1ir, int(uint8_t* src_dst, int step, Size size, const double* value))
LUM_PRIMITIVE(mul_c_8u_c3ir, int(uint8_t* src_dst, int step, Size size, const double* value))
LUM_PRIMITIVE(mul_c_16u_c1ir, int(uint16_t* src_dst, int step, Size size, const double* value))
LUM_PRIMITIVE(mul_c_16u_c3ir, int(uint16_t* src_dst, int step, Size size, const double* value))
LUM_PRIMITIVE(mul_c_32f_c1ir, int(float* src_dst, int step, Size size, const double* value))

}  // namespace lum::prim
