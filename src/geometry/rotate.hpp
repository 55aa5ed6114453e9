// The four rotation routines, used by lum_rotate and by the line profiles:
// the source turned by `angle` degrees about its top-left pixel and shifted,
// written into the destination (cleared to 0 first). Interpolation 1 nearest,
// 2 linear. Returns 0, -5 (kernel failure, reported) or -7 (interpolation).
#pragma once

#include "image/image.hpp"

namespace lum {

int8_t rotate_8u_c1(const img* src, img* dst, double angle, double x_shift, double y_shift, int interpolation);
int8_t rotate_8u_c3(const img* src, img* dst, double angle, double x_shift, double y_shift, int interpolation);
int8_t rotate_16u_c1(const img* src, img* dst, double angle, double x_shift, double y_shift, int interpolation);
int8_t rotate_32f_c1(const img* src, img* dst, double angle, double x_shift, double y_shift, int interpolation);

}  // namespace lum
