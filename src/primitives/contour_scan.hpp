// Start points of the contour tracer: the non-zero samples of a row whose
// left, upper-left, upper and upper-right neighbours are all zero.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// Examines columns 0 .. width - 2 of `row` (the last column never starts a
// contour); `above` is the previous row, or null for the first row, and
// neighbours left of column 0 count as zero. Writes the start columns in
// ascending order to xs (room for width entries) and their number to count.
LUM_PRIMITIVE(contour_starts_8u, int(const uint8_t* above, const uint8_t* row, int32_t width, int32_t* xs, int32_t* count))
LUM_PRIMITIVE(contour_starts_16u,
              int(const uint16_t* above, const uint16_t* row, int32_t width, int32_t* xs, int32_t* count))

}  // namespace lum::prim
