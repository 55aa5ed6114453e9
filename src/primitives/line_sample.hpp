// Digital (Bresenham) line sampling: the samples of every pixel on the line
// from (x1, y1) to (x2, y2), both ends included, in order; for several lines
// at once when they are the same line shifted.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

inline constexpr int st_capacity = -14;

// Line i is the line from (x1, y1) to (x2, y2) shifted by (shifts[2i],
// shifts[2i + 1]); its max(|x2 - x1|, |y2 - y1|) + 1 samples of a one-channel
// region go to out[i] (at most `capacity`). An end point of a line outside the
// region gives st_bad_arg, too small a capacity st_capacity.
LUM_KERNEL(sample_lines, (class T), (T),
           int(const T* image, int step, Size size, int x1, int y1, int x2, int y2, const int32_t* shifts, int lines,
               T* const* out, int capacity))

}  // namespace lum::prim
