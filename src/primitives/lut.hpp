// Palette look-ups: every destination sample is the table entry indexed by
// the source sample. `bits` is the number of significant bits of a source
// sample: tables hold 2^bits entries, and a sample above 2^bits − 1 reads the
// last entry, so no lookup ever leaves the caller's table.
#pragma once

#include <cstdint>

#include "primitives/primitive.hpp"

namespace lum::prim {

// d = tables[c][s] for a sample s of channel c: `channels` (1 or 3) tables,
// one per interleaved channel, read at any address. Regions count samples.
LUM_KERNEL(lut, (class T), (T),
           int(const T* src, int src_step, T* dst, int dst_step, Size size, const T* const* tables, int channels,
               int bits))

// One channel to three: entry i is the three bytes table[3i .. 3i+2]. The
// size counts source samples.
LUM_PRIMITIVE(lut_8u_c1c3,
                  int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size, const uint8_t* table,
                      int bits))

}  // namespace lum::prim
