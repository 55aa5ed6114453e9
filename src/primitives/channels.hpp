// Channel moves: one grey plane into one channel of three, interleaved rows to
// three planes and back, and the in-place reordering of three channels.
// Regions count pixels; every kernel reads and writes at any address.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// dst points at the chosen channel of the first pixel; the other two channels
// stay as they are (a row touches 3 × width − 2 samples from dst).
LUM_KERNEL(copy_to_channel, (class T), (T), int(const T* src, int src_step, T* dst, int dst_step, Size size))

// Interleaved three-channel region to three planes sharing one step, and back.
LUM_KERNEL(split_channels, (class T), (T), int(const T* src, int src_step, T* const* dst, int dst_step, Size size))
LUM_KERNEL(merge_channels, (class T), (T), int(const T* const* src, int src_step, T* dst, int dst_step, Size size))

// In place: output channel c takes input channel order[c]. An index outside
// 0..2 gives st_bad_arg before anything is written.
LUM_KERNEL(swap_channels, (class T), (T), int(T* image, int step, Size size, const int32_t* order))

}  // namespace lum::prim
