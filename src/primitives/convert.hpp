// Sample-format conversions between regions: widening (8u to 16u, integers
// to 32f, exact), saturating narrowing (16u to 8u) and floats to integers with
// a rounding mode. Regions count samples, so three channels fold into the width.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// Rounding modes of the float-to-integer conversions.
enum : int {
    round_zero = 0,     // truncate toward zero
    round_nearest = 1,  // to nearest, halves to even
};

// d = s converted to D: integers widen exactly or saturate to D's range;
// floats are rounded by `rounding` and saturated (NaN gives 0). An unknown
// rounding mode gives st_bad_arg.
LUM_KERNEL(convert, (class S, class D), (S, D),
           int(const S* src, int src_step, D* dst, int dst_step, Size size, int rounding))

}  // namespace lum::prim
