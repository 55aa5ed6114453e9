// In-place flip of a region about its horizontal axis (0), its vertical axis
// (1) or both (2); any other axis code is refused with st_bad_arg.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

LUM_PRIMITIVE(mirror_8u_c1ir, int(uint8_t* image, int step, Size size, int axis))
LUM_PRIMITIVE(mirror_8u_c3ir, int(uint8_t* image, int step, Size size, int axis))
LUM_PRIMITIVE(mirror_16u_c1ir, int(uint16_t* image, int step, Size size, int axis))
LUM_PRIMITIVE(mirror_16u_c3ir, int(uint16_t* image, int step, Size size, int axis))
LUM_PRIMITIVE(mirror_32f_c1ir, int(float* image, int step, Size size, int axis))
LUM_PRIMITIVE(mirror_32f_c3ir, int(float* image, int step, Size size, int axis))

}  // namespace lum::prim
