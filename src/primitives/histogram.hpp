// Uniform histograms of one-channel regions and the Otsu threshold of an
// 8-bit region. A histogram is prepared in two steps: the caller asks for the
// sizes of a set-up block and of a work buffer, allocates both, initialises
// the set-up block with its levels, then counts. The set-up steps are
// compiled once; the counting loops per level.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// Sample types of the histogram primitives, numbered like lum_data_format.
enum histogram_type : int { hist_8u = 1, hist_16u = 2, hist_16s = 3, hist_32f = 4 };

// The set-up block: `levels` uniform levels from lower to upper.
// level[k] = lower + k * (upper - lower) / (levels - 1), in double precision,
// never rounded to integers; bin k counts level[k] <= v < level[k + 1].
struct HistogramSpec {
    int32_t type;
    int32_t levels;
    double lower;
    double upper;
};

// Bytes of the set-up block and of the work buffer (any alignment). -13 for
// an unknown type or fewer than two levels, -6 for an empty region, -8 for
// null outputs.
int histogram_get_size(int type, Size size, int levels, int* spec_bytes, int* buffer_bytes);
// Fills the set-up block. -13 for an unknown type, fewer than two levels,
// bounds that are not finite or lower >= upper.
int histogram_init_uniform(int type, float lower, float upper, int levels, uint8_t* spec);

// Counts the region into counts[0 .. levels - 2]; every count is written.
// The set-up block must have been initialised for the same sample type (else -13).
LUM_KERNEL(histogram, (class T), (T),
           int(const T* src, int step, Size size, uint32_t* counts, const uint8_t* spec, uint8_t* buffer))

// The work of the counting kernels, shared by the size queries and the loops.
namespace histogram_layout {
// Sub-histograms that 8-bit and 16-bit samples are counted into by value.
constexpr int kSubHistograms8 = 8;
constexpr int kSubHistograms16 = 2;
// Float regions with at most this many levels are counted in the work buffer
// by computed index, a chunk of a row at a time; more levels take the exact
// search per sample.
constexpr int kTabledLevels = 65537;
constexpr int kIndexChunk = 1024;
}  // namespace histogram_layout

// Counts of every value of 8-bit (256) or 16-bit (65536) samples into counts;
// `work` holds value_count_work_bytes<T>() bytes, any alignment.
LUM_KERNEL(count_values, (class T), (T), int(const T* src, int step, Size size, uint32_t* counts, uint8_t* work))
template <class T>
constexpr int64_t value_count_work_bytes() {
    using namespace histogram_layout;
    return sizeof(T) == 1 ? kSubHistograms8 * 256 * 4 + 64 : kSubHistograms16 * 65536 * 4 + 64;
}

// Otsu's threshold of an 8-bit region: the index of the first of the 256 bins
// that maximises the between-class variance. Bins are weighted at their
// centres (i + 0.5); a bin whose lower or upper class weight is within
// FLT_EPSILON of 0 or 1 is skipped and adds nothing to the running class
// mean; a later bin wins only with a strictly greater variance; a constant
// region gives 0. Evaluated in single precision. -13 when step < width.
LUM_PRIMITIVE(otsu_threshold_8u_c1, int(const uint8_t* src, int step, Size size, uint8_t* threshold))

// The same threshold from the 256 value counts of a region. Compiled once.
uint8_t otsu_threshold_of(const uint32_t* counts);

// Set-up of the integer counting kernels, compiled once: the bin of each
// value 0 .. values − 1 (levels − 1 for a value outside every bin).
void histogram_value_bins(const HistogramSpec& spec, int values, uint32_t* bins);

}  // namespace lum::prim
