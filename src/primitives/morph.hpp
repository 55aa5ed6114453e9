// Morphology kernels: erosion (minimum), dilation (maximum), opening and
// closing over a structuring element, replicated borders, anchor at the
// element's centre (width / 2, height / 2), one or three interleaved channels
// of 8-bit, 16-bit or float samples at any address.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

enum morph_op : int { morph_erode = 0, morph_dilate = 1, morph_open = 2, morph_close = 3 };

// Bytes of work buffer that a run of `op` over `roi` with a `mask`-sized
// element needs; an opening or closing needs more than an erosion or
// dilation. -8 null output, -6 empty roi or element, -13 unknown operation,
// sample size or channel count. Set-up code, compiled once.
int morph_work_size(int op, Size roi, Size mask, int sample_bytes, int channels, int64_t* bytes);

// Runs `op` over the whole region of `channels` (1 or 3) interleaved channels:
// every output sample is the minimum (or maximum) of the source samples under
// the element's non-zero bytes (row step = mask width). Source and
// destination may be the same region; `work` holds at least morph_work_size
// bytes and starts on a 64-byte boundary.
LUM_KERNEL(morph, (class T), (T),
           int(int op, const T* src, int src_step, T* dst, int dst_step, Size roi, int channels,
               const uint8_t* element, Size mask, void* work))

// The layout of the work buffer, shared by the size query and the kernels:
// the element's runs, then the rows the passes stream through.
namespace morph_layout {
inline int floor_log2(int64_t v) {
    int k = 0;
    while ((int64_t{2} << k) <= v) ++k;
    return k;
}
inline int64_t ceil_pow2(int64_t v) {
    int64_t p = 1;
    while (p < v) p <<= 1;
    return p;
}
inline int64_t element_bytes(Size mask) {
    return align64(4 * (int64_t{mask.height} + 1)) + align64(8 * int64_t{mask.width} * mask.height);
}
// Samples of one pass's rows for either path; the larger is reserved.
inline int64_t scratch_samples(Size roi, Size mask, int c) {
    const int64_t n = int64_t{roi.width} * c, np = (int64_t{roi.width} + mask.width - 1) * c;
    const int64_t ring = ceil_pow2(mask.height);
    const int64_t rect = 2 * np + (floor_log2(mask.height) + 1) * ring * n;
    const int64_t runs = ring * (floor_log2(mask.width) + 1) * np;
    return rect > runs ? rect : runs;
}
// Bytes after the element: one pass's rows, or for an opening or closing two
// passes' rows and the row between them.
inline int64_t pass_bytes(int op, Size roi, Size mask, int sample_bytes, int c) {
    const int64_t one = align64(scratch_samples(roi, mask, c) * sample_bytes);
    return op <= 1 ? one : 2 * one + align64(int64_t{roi.width} * c * sample_bytes);
}
}  // namespace morph_layout

}  // namespace lum::prim
