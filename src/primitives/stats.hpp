// Region statistics: sums, per-channel minimum and maximum, mean and standard
// deviation in one pass, and the pixel-wise larger and smaller of two regions.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// Total of the region's samples. Integer samples are summed exactly in 64-bit
// integers; float samples in double precision over 32 fixed lanes (the
// order is the same for every processor variant).
LUM_PRIMITIVE(sum_8u_c1, int(const uint8_t* src, int step, Size size, double* sum))
LUM_PRIMITIVE(sum_16u_c1, int(const uint16_t* src, int step, Size size, double* sum))
LUM_PRIMITIVE(sum_32f_c1, int(const float* src, int step, Size size, double* sum))

// Smallest and largest sample: one each for C1, one per channel for C3.
LUM_PRIMITIVE(min_max_8u_c1, int(const uint8_t* src, int step, Size size, uint8_t* min, uint8_t* max))
LUM_PRIMITIVE(min_max_16u_c1, int(const uint16_t* src, int step, Size size, uint16_t* min, uint16_t* max))
LUM_PRIMITIVE(min_max_32f_c1, int(const float* src, int step, Size size, float* min, float* max))
LUM_PRIMITIVE(min_max_8u_c3, int(const uint8_t* src, int step, Size size, uint8_t* min, uint8_t* max))
LUM_PRIMITIVE(min_max_16u_c3, int(const uint16_t* src, int step, Size size, uint16_t* min, uint16_t* max))
LUM_PRIMITIVE(min_max_32f_c3, int(const float* src, int step, Size size, float* min, float* max))

// Mean and population standard deviation (divided by N). Integer samples use
// exact integer first and second moments; float samples are shifted by the
// first sample before the moments are taken, which keeps the one-pass
// variance accurate when the mean is large against the spread.
LUM_PRIMITIVE(mean_stddev_8u_c1, int(const uint8_t* src, int step, Size size, double* mean, double* stddev))
LUM_PRIMITIVE(mean_stddev_16u_c1, int(const uint16_t* src, int step, Size size, double* mean, double* stddev))
LUM_PRIMITIVE(mean_stddev_32f_c1, int(const float* src, int step, Size size, double* mean, double* stddev))

// dst = max(a, b) or min(a, b) sample by sample. dst may be b (in place).
LUM_PRIMITIVE(max_8u_c1, int(const uint8_t* a, int a_step, const uint8_t* b, int b_step, uint8_t* dst, int dst_step,
                             Size size))
LUM_PRIMITIVE(max_16u_c1, int(const uint16_t* a, int a_step, const uint16_t* b, int b_step, uint16_t* dst,
                              int dst_step, Size size))
LUM_PRIMITIVE(min_8u_c1, int(const uint8_t* a, int a_step, const uint8_t* b, int b_step, uint8_t* dst, int dst_step,
                             Size size))
LUM_PRIMITIVE(min_16u_c1, int(const uint16_t* a, int a_step, const uint16_t* b, int b_step, uint16_t* dst,
                              int dst_step, Size size))

// In place: src_dst = max(src, src_dst) or min(src, src_dst).
LUM_PRIMITIVE(max_8u_c1ir, int(const uint8_t* src, int src_step, uint8_t* src_dst, int step, Size size))
LUM_PRIMITIVE(max_16u_c1ir, int(const uint16_t* src, int src_step, uint16_t* src_dst, int step, Size size))
LUM_PRIMITIVE(min_8u_c1ir, int(const uint8_t* src, int src_step, uint8_t* src_dst, int step, Size size))
LUM_PRIMITIVE(min_16u_c1ir, int(const uint16_t* src, int src_step, uint16_t* src_dst, int step, Size size))

}  // namespace lum::prim
