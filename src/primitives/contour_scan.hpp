// Start points of the contour tracer: the non-zero samples of a row whose
// left, upper-left, upper and upper-right neighbours are all zero.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// Examines columns 0 .. width - 2 of `row` (the last column never starts a
// contour); `above` is the previous row, or null for the first row, and
// neighbours left of column 0 count as zero. Writes the start columns in
// ascending order to xs (room for width entries) and their number to count.
// 8-bit and 16-bit samples at any address.
LUM_KERNEL(contour_starts, (class T), (T), int(const T* above, const T* row, int32_t width, int32_t* xs, int32_t* count))

}  // namespace lum::prim
