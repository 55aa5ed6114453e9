// Element-wise kernels of two regions: saturating add and subtract, absolute
// difference, bitwise logic and division, into a third region or in place.
// Integer kernels that can overflow take a scale factor s last: the exact
// result is multiplied by 2^-s (rounded to nearest, halves to even) and then
// saturated. Subtraction and division follow one rule: the first region is the
// subtrahend / divisor, the second the minuend / dividend.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

#define LUM_ARITH_TWO(name, T, ...)                                                                        \
    LUM_PRIMITIVE(name, int(const T* src1, int src1_step, const T* src2, int src2_step, T* dst, int dst_step, \
                            Size size __VA_OPT__(, ) __VA_ARGS__))
#define LUM_ARITH_INPLACE(name, T, ...) \
    LUM_PRIMITIVE(name, int(const T* src, int src_step, T* src_dst, int src_dst_step, Size size __VA_OPT__(, ) __VA_ARGS__))

// dst = src1 + src2
LUM_ARITH_TWO(add_8u_c1rsfs, uint8_t, int scale)
LUM_ARITH_TWO(add_8u_c3rsfs, uint8_t, int scale)
LUM_ARITH_TWO(add_16u_c1rsfs, uint16_t, int scale)
LUM_ARITH_TWO(add_16u_c3rsfs, uint16_t, int scale)
LUM_ARITH_TWO(add_32f_c1r, float)
LUM_ARITH_TWO(add_32f_c3r, float)
// dst = src2 − src1
LUM_ARITH_TWO(sub_8u_c1rsfs, uint8_t, int scale)
LUM_ARITH_TWO(sub_8u_c3rsfs, uint8_t, int scale)
LUM_ARITH_TWO(sub_16u_c1rsfs, uint16_t, int scale)
LUM_ARITH_TWO(sub_16u_c3rsfs, uint16_t, int scale)
LUM_ARITH_TWO(sub_32f_c1r, float)
LUM_ARITH_TWO(sub_32f_c3r, float)
// dst = |src1 − src2|
LUM_ARITH_TWO(absdiff_8u_c1r, uint8_t)
LUM_ARITH_TWO(absdiff_8u_c3r, uint8_t)
LUM_ARITH_TWO(absdiff_16u_c1r, uint16_t)

// src_dst = src_dst + src
LUM_ARITH_INPLACE(add_8u_c1irsfs, uint8_t, int scale)
LUM_ARITH_INPLACE(add_8u_c3irsfs, uint8_t, int scale)
LUM_ARITH_INPLACE(add_16u_c1irsfs, uint16_t, int scale)
LUM_ARITH_INPLACE(add_16u_c3irsfs, uint16_t, int scale)
LUM_ARITH_INPLACE(add_32f_c1ir, float)
LUM_ARITH_INPLACE(add_32f_c3ir, float)
// src_dst (float) = src_dst + src (16-bit samples converted to float)
LUM_PRIMITIVE(add_16u32f_c1ir, int(const uint16_t* src, int src_step, float* src_dst, int src_dst_step, Size size))
// src_dst = src_dst − src
LUM_ARITH_INPLACE(sub_8u_c1irsfs, uint8_t, int scale)
LUM_ARITH_INPLACE(sub_8u_c3irsfs, uint8_t, int scale)
LUM_ARITH_INPLACE(sub_16u_c1irsfs, uint16_t, int scale)
LUM_ARITH_INPLACE(sub_16u_c3irsfs, uint16_t, int scale)
LUM_ARITH_INPLACE(sub_32f_c1ir, float)
LUM_ARITH_INPLACE(sub_32f_c3ir, float)
// src_dst = src_dst op src, bit by bit
LUM_ARITH_INPLACE(and_8u_c1ir, uint8_t)
LUM_ARITH_INPLACE(and_8u_c3ir, uint8_t)
LUM_ARITH_INPLACE(and_16u_c1ir, uint16_t)
LUM_ARITH_INPLACE(and_16u_c3ir, uint16_t)
LUM_ARITH_INPLACE(or_8u_c1ir, uint8_t)
LUM_ARITH_INPLACE(or_8u_c3ir, uint8_t)
LUM_ARITH_INPLACE(or_16u_c1ir, uint16_t)
LUM_ARITH_INPLACE(or_16u_c3ir, uint16_t)
LUM_ARITH_INPLACE(xor_8u_c1ir, uint8_t)
LUM_ARITH_INPLACE(xor_8u_c3ir, uint8_t)
LUM_ARITH_INPLACE(xor_16u_c1ir, uint16_t)
LUM_ARITH_INPLACE(xor_16u_c3ir, uint16_t)
// src_dst = src_dst / src. Integer quotients are rounded to nearest (halves to
// even) and saturated; x / 0 gives the type's maximum for x > 0 and 0 for
// x = 0. Float division is IEEE. A zero divisor gives the warning st_div_zero.
LUM_ARITH_INPLACE(div_8u_c1irsfs, uint8_t, int scale)
LUM_ARITH_INPLACE(div_8u_c3irsfs, uint8_t, int scale)
LUM_ARITH_INPLACE(div_16u_c1irsfs, uint16_t, int scale)
LUM_ARITH_INPLACE(div_16u_c3irsfs, uint16_t, int scale)
LUM_ARITH_INPLACE(div_32f_c1ir, float)
LUM_ARITH_INPLACE(div_32f_c3ir, float)

// In place natural logarithm; ln 0 = −inf and ln of a negative sample is NaN,
// either giving the warning st_domain.
LUM_PRIMITIVE(ln_32f_c1ir, int(float* src_dst, int step, Size size))

#undef LUM_ARITH_TWO
#undef LUM_ARITH_INPLACE

}  // namespace lum::prim
