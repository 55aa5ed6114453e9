// Palette look-ups: every destination sample is the table entry indexed by
// the source sample. `bits` is the number of significant bits of a source
// sample: tables hold 2^bits entries, and a sample above 2^bits − 1 reads the
// last entry, so no lookup ever leaves the caller's table.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

LUM_PRIMITIVE(lut_8u_c1r,
              int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size, const uint8_t* table, int bits))
// One channel to three: entry i is the three bytes table[3i .. 3i+2].
LUM_PRIMITIVE(lut_8u_c1c3r,
              int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size, const uint8_t* table, int bits))
// Channel c through tables[c].
LUM_PRIMITIVE(lut_8u_c3r, int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size,
                              const uint8_t* const* tables, int bits))
LUM_PRIMITIVE(lut_16u_c1r, int(const uint16_t* src, int src_step, uint16_t* dst, int dst_step, Size size,
                               const uint16_t* table, int bits))
LUM_PRIMITIVE(lut_16u_c3r, int(const uint16_t* src, int src_step, uint16_t* dst, int dst_step, Size size,
                               const uint16_t* const* tables, int bits))

}  // namespace lum::prim
