// The rotation routine, used by lum_rotate and by the line profiles: the
// source turned by `angle` degrees about its top-left pixel and shifted,
// written into the destination (cleared to 0 first), for 8-bit samples with
// one or three channels and 16-bit and float samples with one. Interpolation
// 1 nearest, 2 linear. Returns 0, -5 (kernel failure, reported) or -7
// (interpolation).
#pragma once

#include "image/image.hpp"

namespace lum {

template <class T>
int8_t rotate_image(const img* src, img* dst, double angle, double x_shift, double y_shift, int interpolation);

}  // namespace lum
