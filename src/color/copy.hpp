// The rectangle copy between two images, shared by the copy operations, the
// resize (equal sizes) and the watershed code.
#pragma once

#include "image/image.hpp"

namespace lum {

// Copies size.width x size.height pixels from (src_origin) of src to
// (dst_origin) of dst. Codes: -64, -7, -2 per image (source first), -4 when
// channels or formats differ, -1 format, -65 channels, -5 kernel failure.
int8_t copy_rect(const img* src, lum_point src_origin, img* dst, lum_point dst_origin, lum_size size);

// True when `rows` rows of `row_bytes` bytes, `step` apart from the start of
// image's buffer plus `offset`, stay inside the image's rows x step bytes.
inline bool rows_fit(const img& image, int64_t offset, int64_t rows, int64_t step, int64_t row_bytes) {
    if (rows <= 0 || row_bytes <= 0) return true;
    return offset >= 0 && step >= 0 &&
           offset + (rows - 1) * step + row_bytes <= static_cast<int64_t>(image.step_bytes) * image.height;
}

}  // namespace lum
