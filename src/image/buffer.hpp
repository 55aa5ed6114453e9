// Whether an access stays inside an image's buffer. A buffer is rows × step
// bytes, whatever the description says of its width: a caller may lend one
// whose step is shorter than a row, odd or zero. Every operation asks here
// before it reads or writes, and refuses with -2 where the answer is no.
#pragma once

#include <cstdint>
#include <climits>

#include "image/image.hpp"

namespace lum {

// `rows` rows of `row_bytes` bytes, the first `offset` bytes into the buffer
// and each `step` bytes after the one before. An empty span touches nothing.
// Kernels count bytes and steps in 32-bit integers, so a row or a step beyond
// that range does not fit either.
inline bool span_fits(const img& image, int64_t offset, int64_t rows, int64_t step, int64_t row_bytes) {
    if (rows <= 0 || row_bytes <= 0) return true;
    if (offset < 0 || step < 0 || row_bytes > INT32_MAX || (rows > 1 && step > INT32_MAX)) return false;
    return offset + (rows - 1) * step + row_bytes <= static_cast<int64_t>(image.step_bytes) * image.height;
}

// A region of w × h pixels at pixel (x, y), in the image's own layout. A
// region needs pixels: an empty one (or a negative origin) does not fit.
inline bool region_fits(const img& image, int64_t x, int64_t y, int64_t w, int64_t h) {
    if (x < 0 || y < 0 || w <= 0 || h <= 0) return false;
    const int64_t step = image.step_bytes, pixel = bytes_per_pixel(image);
    return span_fits(image, y * step + x * pixel, h, step, w * pixel);
}

// The whole image as it describes itself (an image of no pixels touches nothing).
inline bool whole_fits(const img& image) {
    return span_fits(image, 0, image.height, image.step_bytes, int64_t(image.width) * bytes_per_pixel(image));
}

}  // namespace lum
