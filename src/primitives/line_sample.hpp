// Digital (Bresenham) line sampling: the samples of every pixel on the line
// from (x1, y1) to (x2, y2), both ends included, in order.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

inline constexpr int st_capacity = -14;

// Writes max(|x2 - x1|, |y2 - y1|) + 1 samples of a one-channel region to
// `out` (at most `capacity`). An end point outside the region gives
// st_bad_arg, too small a capacity st_capacity.
LUM_KERNEL(sample_line, (class T), (T),
           int(const T* image, int step, Size size, int x1, int y1, int x2, int y2, T* out, int capacity))

}  // namespace lum::prim
