// Projection kernels: each row of a region reduced to one value (written down
// a destination column), each column reduced to its mean in a destination
// row, and the mean of a float accumulator. Integer means are rounded to
// nearest, halves to even, and saturated. The pixel-wise extremes and the
// column extremes are binary<T, op::max> and op::min (a destination row that
// is also the second source, at step 0), the accumulation accumulate<S>.
#pragma once

#include "primitives/arith.hpp"
#include "primitives/primitive.hpp"

namespace lum::prim {

// dst[r · dst_step] = the largest (Op = op::max) or smallest (op::min) sample
// of row r, for every row of the region.
LUM_KERNEL(row_extreme, (class T, class Op), (T, Op), int(const T* src, int step, T* dst, int dst_step, Size size))

// dst[r · dst_step] = mean of row r (exact sums, divided once).
LUM_KERNEL(row_mean, (class T), (T), int(const T* src, int step, T* dst, int dst_step, Size size))

// row[x] = mean of column x (exact sums, divided once); `work` holds
// column_mean_work_bytes(size.width) bytes.
LUM_KERNEL(column_mean, (class T), (T), int(const T* src, int step, Size size, T* row, void* work))
inline int64_t column_mean_work_bytes(int32_t width) { return 16 * int64_t{width > 0 ? width : 0} + 64; }

// dst = acc / count in float, then rounded and saturated for integer samples.
// -13 for a count of 0.
LUM_KERNEL(accumulator_mean, (class T), (T),
           int(const float* acc, int acc_step, T* dst, int dst_step, Size size, uint32_t count))

}  // namespace lum::prim
