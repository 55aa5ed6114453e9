// Linear scaling d = s × a + b between any two of 8u, 16u and 32f, into a
// second region or in place. Integer results are computed in single
// precision with a and b rounded to float (the fast algorithm), rounded to
// nearest (halves to even) and saturated (NaN gives 0); float results are
// computed in double precision and rounded once. Regions count samples.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

#define LUM_SCALE(name, S, D) \
    LUM_PRIMITIVE(name, int(const S* src, int src_step, D* dst, int dst_step, Size size, double a, double b))
LUM_SCALE(scale_8u8u_c1r, uint8_t, uint8_t)
LUM_SCALE(scale_8u16u_c1r, uint8_t, uint16_t)
LUM_SCALE(scale_8u32f_c1r, uint8_t, float)
LUM_SCALE(scale_16u8u_c1r, uint16_t, uint8_t)
LUM_SCALE(scale_16u16u_c1r, uint16_t, uint16_t)
LUM_SCALE(scale_16u32f_c1r, uint16_t, float)
LUM_SCALE(scale_32f8u_c1r, float, uint8_t)
LUM_SCALE(scale_32f16u_c1r, float, uint16_t)
LUM_SCALE(scale_32f32f_c1r, float, float)
#undef LUM_SCALE

LUM_PRIMITIVE(scale_8u_c1ir, int(uint8_t* src_dst, int step, Size size, double a, double b))
LUM_PRIMITIVE(scale_16u_c1ir, int(uint16_t* src_dst, int step, Size size, double a, double b))
LUM_PRIMITIVE(scale_32f_c1ir, int(float* src_dst, int step, Size size, double a, double b))

}  // namespace lum::prim
