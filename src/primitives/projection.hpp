// Projection kernels: each row of a region reduced to one value (written down
// a destination column), each column reduced into a destination row, and the
// float accumulator of a pixel-wise mean over a sequence of frames. Integer
// means are rounded to nearest, halves to even, and saturated.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// dst[r * dst_step] = max (min) of row r, for every row of the region.
LUM_PRIMITIVE(row_max_8u_c1, int(const uint8_t* src, int step, uint8_t* dst, int dst_step, Size size))
LUM_PRIMITIVE(row_max_16u_c1, int(const uint16_t* src, int step, uint16_t* dst, int dst_step, Size size))
LUM_PRIMITIVE(row_min_8u_c1, int(const uint8_t* src, int step, uint8_t* dst, int dst_step, Size size))
LUM_PRIMITIVE(row_min_16u_c1, int(const uint16_t* src, int step, uint16_t* dst, int dst_step, Size size))

// In place on one row: row[x] = max (min) of row[x] and column x of the region.
LUM_PRIMITIVE(column_max_8u_c1ir, int(const uint8_t* src, int step, Size size, uint8_t* row))
LUM_PRIMITIVE(column_max_16u_c1ir, int(const uint16_t* src, int step, Size size, uint16_t* row))
LUM_PRIMITIVE(column_min_8u_c1ir, int(const uint8_t* src, int step, Size size, uint8_t* row))
LUM_PRIMITIVE(column_min_16u_c1ir, int(const uint16_t* src, int step, Size size, uint16_t* row))

// dst[r * dst_step] = mean of row r (exact sums, divided once).
LUM_PRIMITIVE(row_mean_8u_c1, int(const uint8_t* src, int step, uint8_t* dst, int dst_step, Size size))
LUM_PRIMITIVE(row_mean_16u_c1, int(const uint16_t* src, int step, uint16_t* dst, int dst_step, Size size))
LUM_PRIMITIVE(row_mean_32f_c1, int(const float* src, int step, float* dst, int dst_step, Size size))

// row[x] = mean of column x; `work` holds size.width doubles of column sums.
LUM_PRIMITIVE(column_mean_8u_c1, int(const uint8_t* src, int step, Size size, uint8_t* row, double* work))
LUM_PRIMITIVE(column_mean_16u_c1, int(const uint16_t* src, int step, Size size, uint16_t* row, double* work))
LUM_PRIMITIVE(column_mean_32f_c1, int(const float* src, int step, Size size, float* row, double* work))

// acc = src (replace != 0) or acc += src, samples converted to float.
LUM_PRIMITIVE(accumulate_8u_c1, int(const uint8_t* src, int step, float* acc, int acc_step, Size size, int replace))
LUM_PRIMITIVE(accumulate_16u_c1, int(const uint16_t* src, int step, float* acc, int acc_step, Size size, int replace))
LUM_PRIMITIVE(accumulate_32f_c1, int(const float* src, int step, float* acc, int acc_step, Size size, int replace))

// dst = acc / count in float, then rounded and saturated for integer samples.
// -13 for a count of 0.
LUM_PRIMITIVE(accumulator_mean_8u_c1, int(const float* acc, int acc_step, uint8_t* dst, int dst_step, Size size,
                                          uint32_t count))
LUM_PRIMITIVE(accumulator_mean_16u_c1, int(const float* acc, int acc_step, uint16_t* dst, int dst_step, Size size,
                                           uint32_t count))
LUM_PRIMITIVE(accumulator_mean_32f_c1, int(const float* acc, int acc_step, float* dst, int dst_step, Size size,
                                           uint32_t count))

}  // namespace lum::prim
