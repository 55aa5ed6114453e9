// The end of the integer statistics, shared by every level's kernels.
#include <cmath>

#include "primitives/stats.hpp"

namespace lum::prim {

void exact_mean_stddev(uint64_t sum, unsigned __int128 sum2, uint64_t count, double* mean, double* stddev) {
    if (count == 0) {
        *mean = 0.0;
        *stddev = 0.0;
        return;
    }
    const unsigned __int128 n = count;
    const unsigned __int128 numerator = n * sum2 - static_cast<unsigned __int128>(sum) * sum;
    const double nd = static_cast<double>(count);
    *mean = static_cast<double>(sum) / nd;
    *stddev = std::sqrt(static_cast<double>(numerator) / (nd * nd));
}

}  // namespace lum::prim
