// Statistics over the samples that an 8-bit mask selects (non-zero mask bytes).
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// Mean of the selected samples; 0 when the mask selects none.
LUM_PRIMITIVE(mean_8u_c1mr, int(const uint8_t* src, int src_step, const uint8_t* mask, int mask_step, Size size,
                                double* mean))
LUM_PRIMITIVE(mean_16u_c1mr, int(const uint16_t* src, int src_step, const uint8_t* mask, int mask_step, Size size,
                                 double* mean))
// Mean and standard deviation (divisor: number of selected samples); 0 and 0 when none.
LUM_PRIMITIVE(mean_stddev_8u_c1mr, int(const uint8_t* src, int src_step, const uint8_t* mask, int mask_step,
                                       Size size, double* mean, double* stddev))
LUM_PRIMITIVE(mean_stddev_16u_c1mr, int(const uint16_t* src, int src_step, const uint8_t* mask, int mask_step,
                                        Size size, double* mean, double* stddev))
// Smallest and largest selected sample; 0 and 0 when none.
LUM_PRIMITIVE(min_max_8u_c1mr, int(const uint8_t* src, int src_step, const uint8_t* mask, int mask_step, Size size,
                                   float* minimum, float* maximum))
LUM_PRIMITIVE(min_max_16u_c1mr, int(const uint16_t* src, int src_step, const uint8_t* mask, int mask_step,
                                    Size size, float* minimum, float* maximum))

}  // namespace lum::prim
