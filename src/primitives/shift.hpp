// Logical bit shifts of integer samples, in place or into a second region.
// Vacated bits are zero and bits shifted out of the sample are lost; a count
// of the sample width or more gives 0.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

LUM_PRIMITIVE(lshift_8u_c1ir, int(uint32_t count, uint8_t* src_dst, int step, Size size))
LUM_PRIMITIVE(rshift_8u_c1ir, int(uint32_t count, uint8_t* src_dst, int step, Size size))
LUM_PRIMITIVE(lshift_16u_c1ir, int(uint32_t count, uint16_t* src_dst, int step, Size size))
LUM_PRIMITIVE(rshift_16u_c1ir, int(uint32_t count, uint16_t* src_dst, int step, Size size))

LUM_PRIMITIVE(lshift_8u_c1r, int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size, uint32_t count))
LUM_PRIMITIVE(rshift_8u_c1r, int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size, uint32_t count))
LUM_PRIMITIVE(lshift_16u_c1r,
              int(const uint16_t* src, int src_step, uint16_t* dst, int dst_step, Size size, uint32_t count))
LUM_PRIMITIVE(rshift_16u_c1r,
              int(const uint16_t* src, int src_step, uint16_t* dst, int dst_step, Size size, uint32_t count))

}  // namespace lum::prim
