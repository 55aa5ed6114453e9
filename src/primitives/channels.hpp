// Channel moves: one grey plane into one channel of three, interleaved rows to
// three planes and back, and the in-place reordering of three channels.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// dst points at the chosen channel of the first pixel; the other two channels stay as they are.
LUM_PRIMITIVE(copy_8u_c1c3r, int(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size))

// Interleaved three-channel region to three planes sharing one step, and back.
LUM_PRIMITIVE(copy_8u_c3p3r, int(const uint8_t* src, int src_step, uint8_t* const* dst, int dst_step, Size size))
LUM_PRIMITIVE(copy_16u_c3p3r, int(const uint16_t* src, int src_step, uint16_t* const* dst, int dst_step, Size size))
LUM_PRIMITIVE(copy_8u_p3c3r, int(const uint8_t* const* src, int src_step, uint8_t* dst, int dst_step, Size size))
LUM_PRIMITIVE(copy_16u_p3c3r, int(const uint16_t* const* src, int src_step, uint16_t* dst, int dst_step, Size size))

// In place: output channel c takes input channel order[c]. An index outside 0..2 gives st_bad_arg.
LUM_PRIMITIVE(swap_channels_8u_c3ir, int(uint8_t* image, int step, Size size, const int32_t* order))

}  // namespace lum::prim
