// Digital (Bresenham) line sampling: the samples of every pixel on the line
// from (x1, y1) to (x2, y2), both ends included, in order.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// Writes max(|x2 - x1|, |y2 - y1|) + 1 samples to `out` (at most `capacity`).
// An end point outside the region gives st_bad_arg, too small a capacity st_capacity.
LUM_PRIMITIVE(sample_line_8u_c1,
              int(const uint8_t* image, int step, Size size, int x1, int y1, int x2, int y2, uint8_t* out, int capacity))
LUM_PRIMITIVE(sample_line_16u_c1, int(const uint16_t* image, int step, Size size, int x1, int y1, int x2, int y2,
                                      uint16_t* out, int capacity))

inline constexpr int st_capacity = -14;

}  // namespace lum::prim
