// The resize engines, one per sample format, used by lum_resize and by the
// line profiles: source rectangle (pointer to its first pixel, step, size)
// into destination rectangle, 1 or 3 channels, interpolation 1 nearest,
// 2 linear, 16 Lanczos (3 lobes). Returns 0, -5 (kernel failure, reported),
// -7 (unknown interpolation) or -65 (channel count).
#pragma once

#include "image/image.hpp"

namespace lum {

int8_t resize_8u(const uint8_t* src, int src_step, const lum_size& src_size, uint8_t* dst, int dst_step,
                 const lum_size& dst_size, int channels, int interpolation);
int8_t resize_16u(const uint16_t* src, int src_step, const lum_size& src_size, uint16_t* dst, int dst_step,
                  const lum_size& dst_size, int channels, int interpolation);
int8_t resize_32f(const float* src, int src_step, const lum_size& src_size, float* dst, int dst_step,
                  const lum_size& dst_size, int channels, int interpolation);

}  // namespace lum
