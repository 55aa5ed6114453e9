// Element-wise kernels: two regions into a third (or in place), a region with
// a constant per channel, in-place division, accumulation into float and the
// in-place logarithm. Regions count samples: a three-channel row of w pixels
// is 3 × w samples, and the bitwise operations count bytes whatever the sample
// type. Integer results saturate to the sample type's range.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// What an element-wise kernel computes from samples a and b (or a sample a
// and a constant b).
namespace op {
struct add;       // a + b
struct sub;       // a − b (at least 0 for integers)
struct rsub;      // b − a (at least 0 for integers)
struct abs_diff;  // |a − b|
struct min;       // the smaller of a and b
struct max;       // the larger
struct bit_and;   // on bytes
struct bit_or;
struct bit_xor;
}  // namespace op

// d = op(a, b). d may be a or b.
LUM_KERNEL(binary, (class T, class Op), (T, Op),
           int(const T* a, int a_step, const T* b, int b_step, T* d, int d_step, Size size))

// d = op(s, value of the sample's channel); `values` holds `channels` (1 or 3)
// constants in channel order. d may be s.
LUM_KERNEL(constant, (class T, class Op), (T, Op),
           int(const T* s, int s_step, T* d, int d_step, Size size, const T* values, int channels))

// The same with every result then lowered to `top`, the valid-bits clamp
// fused into the pass that produces the values.
LUM_KERNEL(binary_clamped, (class T, class Op), (T, Op),
           int(const T* a, int a_step, const T* b, int b_step, T* d, int d_step, Size size, T top))
LUM_KERNEL(constant_clamped, (class T, class Op), (T, Op),
           int(const T* s, int s_step, T* d, int d_step, Size size, const T* values, int channels, T top))

// In place: d = d / divisor. Integer quotients are rounded to nearest (halves
// to even) and saturated; x / 0 gives the type's maximum for x > 0 and 0 for
// x = 0. Float division is IEEE. A zero divisor gives the warning st_div_zero.
LUM_KERNEL(divide, (class T), (T), int(const T* divisor, int divisor_step, T* d, int d_step, Size size))

// acc = s (replace != 0) or acc = acc + s, samples converted to float.
LUM_KERNEL(accumulate, (class S), (S), int(const S* s, int s_step, float* acc, int acc_step, Size size, int replace))

// In place natural logarithm; ln 0 = −inf and ln of a negative sample or NaN
// is NaN, either giving the warning st_domain.
LUM_PRIMITIVE(ln_32f, int(float* src_dst, int step, Size size))

}  // namespace lum::prim
