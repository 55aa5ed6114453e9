// The rotation routine, used by lum_rotate and by the line profiles: the
// source turned by `angle` degrees about its top-left pixel and shifted,
// written into the destination (cleared to 0 first), for 8-bit samples with
// one or three channels and 16-bit and float samples with one. Interpolation
// 1 nearest, 2 linear. Returns 0, -5 (kernel failure, reported) or -7
// (interpolation).
#pragma once

#include "image/image.hpp"

namespace lum {

// With `rows` >= 0 only the destination rows [first_row, first_row + rows)
// are cleared and computed (the line profiles need a few rows of a band);
// they get exactly what the whole rotation gives them.
template <class T>
int8_t rotate_image(const img* src, img* dst, double angle, double x_shift, double y_shift, int interpolation,
                    int first_row = 0, int rows = -1);

}  // namespace lum
