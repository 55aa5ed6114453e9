// Palette rendering: each grey sample picks a colour that is added, with
// saturation, to the three channels of a colour pixel. The colours and the
// mapping from samples to palette entries are prepared once per call.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// What a rendering adds. 8-bit samples index `colour` directly (the mapping
// to palette entries is folded into the table); a 16-bit sample s picks
// entry i = clamp(trunc(s × contrast + brightness) >> shift, 0, 255), in
// double precision, a product or sum beyond the 32-bit range truncating to
// INT32_MIN. colour[i] holds the three bytes added to channels 0, 1 and 2.
struct PaletteColours {
    alignas(64) uint8_t colour[256][4];
    double contrast;
    double brightness;
    int shift;
};

// dst (three channels) += colour of each src sample (one channel), per byte with saturation.
LUM_KERNEL(palette_add, (class T), (T),
           int(const T* src, int src_step, uint8_t* dst, int dst_step, Size size, const PaletteColours* colours))

}  // namespace lum::prim
