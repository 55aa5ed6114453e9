// Marker-controlled watershed by flooding: seeds grow into basins in the
// order of the source's grey level, first in first out within a level,
// 8-connected; where two basins meet the sample stays 0.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// Bytes of the work buffer for a region of `size` with source samples of
// `source_bytes` (1 or 2) bytes. -13 for another sample size or a region too
// large for 32-bit pixel indexes, -6 for an empty region, -8 for a null output.
LUM_PRIMITIVE(watershed_get_buffer_size, int(Size size, int source_bytes, int64_t* bytes))

// Floods `markers` in place from its non-zero samples (the seeds, one label
// each) over the grey levels of `src`. On return every sample a basin reached
// holds that basin's label; a sample whose labelled neighbours disagreed when
// it was reached holds 0 (the watershed line) and floods no further; a sample
// no basin reached holds 0. The cost is linear in the pixels: one bucket per
// grey level, each a FIFO list threaded through the work buffer.
LUM_PRIMITIVE(watershed_8u_c1ir, int(const uint8_t* src, int src_step, uint16_t* markers, int markers_step, Size size,
                                     uint8_t* buffer))
LUM_PRIMITIVE(watershed_16u_c1ir, int(const uint16_t* src, int src_step, uint16_t* markers, int markers_step,
                                      Size size, uint8_t* buffer))

}  // namespace lum::prim
