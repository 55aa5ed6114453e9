// Statistics over the samples that an 8-bit mask selects (non-zero mask
// bytes), for 8-bit and 16-bit samples at any address.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// Mean of the selected samples and, when with_stddev is non-zero, their
// standard deviation (divisor: the number of selected samples), both from
// exact integer moments; 0 and 0 when the mask selects none. -8 for a null
// mean, or a null stddev when it is asked for.
LUM_KERNEL(masked_moments, (class T), (T),
           int(const T* src, int src_step, const uint8_t* mask, int mask_step, Size size, double* mean,
               double* stddev, int with_stddev))

// Smallest and largest selected sample; 0 and 0 when none is selected.
LUM_KERNEL(masked_min_max, (class T), (T),
           int(const T* src, int src_step, const uint8_t* mask, int mask_step, Size size, float* minimum,
               float* maximum))

}  // namespace lum::prim
