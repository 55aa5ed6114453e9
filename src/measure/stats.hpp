// Statistics shared inside the measurement family: the Otsu threshold's
// 16-bit path takes the whole image's extremes through the same checks.
#pragma once

#include "image/call_frame.hpp"

namespace lum::measure {

// Minimum and maximum of the rectangle, per channel, in the image's own
// sample type. Codes: -64, -7, -2, -7 (null output), -1, -65, -5.
int8_t min_max(const img* image, const lum_rect* rect, void* minimum, void* maximum);

}  // namespace lum::measure
