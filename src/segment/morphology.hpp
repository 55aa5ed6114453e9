// The two morphology engines behind lum_morph_open_close and the contour
// expansion: structuring elements built from a lum_morph_param record (shape 0
// full rectangle, shape 2 the mask rasteriser's ellipse), replicated borders.
#pragma once

#include <cstdint>

#include "lum_lib.h"

namespace lum {

// Erosion (operation 0) or dilation (operation 1) of the whole source into the
// destination, written over the source's width and height; source and
// destination may be the same image. 8-bit, 16-bit and float images with one
// or three channels. Codes: -64 an image missing or not initialised, -4 format
// or channels differ, -7 element width or height 0 or less, unknown shape or
// operation, channels not 1 or 3, -65 other formats, -2 destination buffer
// too small for the source's size, -5 a kernel failed.
int8_t erode_dilate(img* source, img* destination, const lum_morph_param& param);

// Opening (operation 2) or closing (operation 3) of a one-channel 8-bit or
// 16-bit source into the destination. Codes: -64, -7 (unknown shape or
// operation, no element), -65 source not one-channel, -1 other formats, -2,
// -5 as above.
int8_t open_close(img* source, img* destination, const lum_morph_param& param);

}  // namespace lum
