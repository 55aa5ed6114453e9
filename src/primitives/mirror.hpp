// In-place flip of a region about its horizontal axis (0), its vertical axis
// (1) or both (2); any other axis code is refused with st_bad_arg, and so is a
// channel count other than 1 or 3.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

LUM_KERNEL(mirror, (class T), (T), int(T* image, int step, Size size, int channels, int axis))

}  // namespace lum::prim
