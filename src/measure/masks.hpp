// The ellipse rasteriser shared by mask generation and the morphology's
// elliptic structuring element.
#pragma once

#include <cstdint>

#include "lum_lib.h"

namespace lum {

// Sets to 255 the filled ellipse inscribed in `bounds` (plane coordinates)
// within a width × height view of 8-bit samples whose top-left sample is the
// plane point `origin`; the rest of the view is left alone. Rows whose span
// leaves the view are clipped. Always 0.
int8_t draw_ellipse(uint8_t* view, int64_t step, int32_t width, int32_t height, lum_point origin,
                    const lum_rect& bounds);

}  // namespace lum
