// Region statistics: the total, the smallest and largest sample per channel,
// and the mean with the population standard deviation, over 8-bit, 16-bit
// and float samples at any address. The pixel-wise larger and smaller of two
// regions are the element-wise kernels binary<T, op::max> and op::min.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// Total of the region's samples (size.width samples per row). Integer samples
// are summed exactly in 64-bit integers; float samples in double precision
// over 32 fixed lanes (sample x of a row goes to lane x mod 32), so every
// processor variant adds in the same order.
LUM_KERNEL(sum, (class T), (T), int(const T* src, int step, Size size, double* sum))

// Smallest and largest sample of each of `channels` (1 or 3) interleaved
// channels: size.width pixels per row, one value per channel into min and max.
// Float samples compare with <, so a NaN never replaces a value and a NaN first
// sample of a channel stays; every variant takes the same order.
LUM_KERNEL(min_max, (class T), (T), int(const T* src, int step, Size size, int channels, T* min, T* max))

// Mean and population standard deviation (divided by N). Integer samples use
// exact integer first and second moments; float samples are shifted by the
// first sample before the moments are taken, which keeps the one-pass
// variance accurate when the mean is large against the spread.
LUM_KERNEL(mean_stddev, (class T), (T), int(const T* src, int step, Size size, double* mean, double* stddev))

// Mean and population standard deviation from exact integer moments: the
// variance is (N·Σv² − (Σv)²) / N², its numerator in 128-bit integers (exact
// while N stays below 2^47). N = 0 gives 0 and 0. Compiled once, for the
// statistics and the masked statistics of every level.
void exact_mean_stddev(uint64_t sum, unsigned __int128 sum2, uint64_t count, double* mean, double* stddev);

}  // namespace lum::prim
