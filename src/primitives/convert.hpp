// Sample-format conversions between regions: widening 8u to 16u, saturating
// 16u to 8u, exact 16u to 32f, and 32f to 8u with a rounding mode.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// Rounding modes of the float-to-integer conversions.
enum : int {
    round_zero = 0,     // truncate toward zero
    round_nearest = 1,  // to nearest, halves to even
};

LUM_PRIMITIVE(convert_8u16u_c1r, int(const uint8_t* src, int src_step, uint16_t* dst, int dst_step, Size size))
LUM_PRIMITIVE(convert_8u16u_c3r, int(const uint8_t* src, int src_step, uint16_t* dst, int dst_step, Size size))
LUM_PRIMITIVE(convert_16u8u_c1r, int(const uint16_t* src, int src_step, uint8_t* dst, int dst_step, Size size))
LUM_PRIMITIVE(convert_16u8u_c3r, int(const uint16_t* src, int src_step, uint8_t* dst, int dst_step, Size size))
LUM_PRIMITIVE(convert_16u32f_c1r, int(const uint16_t* src, int src_step, float* dst, int dst_step, Size size))
LUM_PRIMITIVE(convert_16u32f_c3r, int(const uint16_t* src, int src_step, float* dst, int dst_step, Size size))
// Saturates to 0..255 (NaN gives 0); st_bad_arg for an unknown rounding mode.
LUM_PRIMITIVE(convert_32f8u_c1r,
              int(const float* src, int src_step, uint8_t* dst, int dst_step, Size size, int rounding))

}  // namespace lum::prim
