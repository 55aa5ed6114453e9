// Logical bit shifts of integer samples, in place (d = s) or into a second
// region of either integer type. Vacated bits are zero and bits shifted out of
// the sample are lost; a count of the sample width or more gives 0. Between
// types the shift happens at the wider width: 16-bit samples are shifted, then
// saturated to 8 bits; 8-bit samples are widened, then shifted.
#pragma once

#include <cstdint>

#include "primitives/primitive.hpp"

namespace lum::prim {

namespace op {
struct shift_left;
struct shift_right;
}  // namespace op

LUM_KERNEL(shift, (class S, class D, class Dir), (S, D, Dir),
           int(const S* src, int src_step, D* dst, int dst_step, Size size, uint32_t count))

}  // namespace lum::prim
