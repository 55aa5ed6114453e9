// Morphology kernels: erosion (minimum), dilation (maximum), opening and
// closing over a structuring element, replicated borders, anchor at the
// element's centre (width / 2, height / 2).
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

enum morph_op : int { morph_erode = 0, morph_dilate = 1, morph_open = 2, morph_close = 3 };

// Bytes of work buffer that a run of `op` over `roi` with a `mask`-sized element needs.
LUM_PRIMITIVE(morph_work_size, int(int op, Size roi, Size mask, int sample_bytes, int channels, int64_t* bytes))

// Runs `op` over the whole region: every output sample is the minimum (or
// maximum) of the source samples under the element's non-zero bytes (row step
// = mask width). Source and destination may be the same region; `work` holds
// at least morph_work_size bytes.
#define LUM_MORPH_KERNEL(name, T)                                                                        \
    LUM_PRIMITIVE(name, int(int op, const T* src, int src_step, T* dst, int dst_step, Size roi,          \
                            const uint8_t* element, Size mask, void* work))
LUM_MORPH_KERNEL(morph_8u_c1r, uint8_t)
LUM_MORPH_KERNEL(morph_8u_c3r, uint8_t)
LUM_MORPH_KERNEL(morph_16u_c1r, uint16_t)
LUM_MORPH_KERNEL(morph_16u_c3r, uint16_t)
LUM_MORPH_KERNEL(morph_32f_c1r, float)
LUM_MORPH_KERNEL(morph_32f_c3r, float)
#undef LUM_MORPH_KERNEL

}  // namespace lum::prim
