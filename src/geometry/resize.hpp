// The resize engine, used by lum_resize and by the line profiles: source
// rectangle (pointer to its first pixel, step, size) into destination
// rectangle, 1 or 3 channels, interpolation 1 nearest, 2 linear, 16 Lanczos
// (3 lobes), for samples of 8 or 16 bits or floats. Returns 0, -5 (kernel
// failure, reported), -7 (unknown interpolation) or -65 (channel count).
#pragma once

#include "image/image.hpp"

namespace lum {

template <class T>
int8_t resize_engine(const T* src, int src_step, const lum_size& src_size, T* dst, int dst_step,
                     const lum_size& dst_size, int channels, int interpolation);

}  // namespace lum
