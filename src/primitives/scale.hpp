// Linear scaling d = s × a + b between any two of 8u, 16u and 32f, into a
// second region or in place (d = s). Integer results are computed in single
// precision with a and b rounded to float (the fast algorithm), rounded to
// nearest (halves to even) and saturated (NaN gives 0); float results are
// computed in double precision and rounded once. Regions count samples.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

LUM_KERNEL(scale, (class S, class D), (S, D),
           int(const S* src, int src_step, D* dst, int dst_step, Size size, double a, double b))

}  // namespace lum::prim
