// The rectangle copy between two images, shared by the copy operations, the
// resize (equal sizes) and the watershed code.
#pragma once

#include "image/image.hpp"

namespace lum {

// Copies size.width x size.height pixels from (src_origin) of src to
// (dst_origin) of dst. Codes: -64, -7, -2 per image (source first), -4 when
// channels or formats differ, -1 format, -65 channels, -5 kernel failure.
int8_t copy_rect(const img* src, lum_point src_origin, img* dst, lum_point dst_origin, lum_size size);


}  // namespace lum
