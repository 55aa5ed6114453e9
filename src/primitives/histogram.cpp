// Set-up of the histogram kernels and the Otsu evaluation, compiled once.
#include "primitives/histogram.hpp"

#include <cfloat>
#include <cmath>
#include <cstring>

namespace lum::prim {

namespace {

using namespace histogram_layout;

bool known_type(int type) { return type >= hist_8u && type <= hist_32f; }

double level_at(const HistogramSpec& s, int64_t k) {
    return s.lower + (static_cast<double>(k) * (s.upper - s.lower)) / static_cast<double>(s.levels - 1);
}

}  // namespace

int histogram_get_size(int type, Size size, int levels, int* spec_bytes, int* buffer_bytes) {
    if (!spec_bytes || !buffer_bytes) return st_null;
    if (size.width <= 0 || size.height <= 0) return st_size;
    if (!known_type(type) || levels < 2) return st_bad_arg;
    *spec_bytes = static_cast<int>(sizeof(HistogramSpec));
    switch (type) {
        case hist_8u: *buffer_bytes = 256 * kSubHistograms8 * 4 + 256 * 4 + 64; break;
        case hist_32f:
            // Counts with one more for samples outside, the indexes of a chunk.
            *buffer_bytes = levels <= kTabledLevels ? levels * 4 + kIndexChunk * 4 + 192 : 64;
            break;
        default: *buffer_bytes = 65536 * kSubHistograms16 * 4 + 65536 * 4 + 64; break;
    }
    return st_ok;
}

int histogram_init_uniform(int type, float lower, float upper, int levels, uint8_t* spec) {
    if (!spec) return st_null;
    if (!known_type(type) || levels < 2 || !std::isfinite(lower) || !std::isfinite(upper) || !(lower < upper))
        return st_bad_arg;
    HistogramSpec s{type, levels, lower, upper};
    if (!std::isfinite(s.upper - s.lower)) return st_bad_arg;
    std::memcpy(spec, &s, sizeof s);
    return st_ok;
}

// The levels never decrease, so the values of bin k are those from
// ceil(level k) up to below level k + 1: where fewer bins than values meet
// the values' range, the bins are walked once; otherwise each value finds its
// bin from the computed estimate, corrected against the exact levels.
void histogram_value_bins(const HistogramSpec& spec, int values, uint32_t* bins) {
    const int64_t count = spec.levels - 1;
    const uint32_t miss = static_cast<uint32_t>(count);
    const double range = spec.upper - spec.lower, divisor = static_cast<double>(count);
    for (int v = 0; v < values; ++v) bins[v] = miss;
    const double first_bin = std::floor((0.0 - spec.lower) * divisor / range);
    const double last_bin = std::ceil((values - spec.lower) * divisor / range);
    if (last_bin - first_bin <= 2.0 * values + 4.0) {
        int64_t k = first_bin - 2 < 0 ? 0 : first_bin - 2 > divisor - 1 ? count - 1 : static_cast<int64_t>(first_bin - 2);
        while (k > 0 && level_at(spec, k) > 0.0) --k;
        double low = level_at(spec, k);
        for (; k < count && low < values; ++k) {
            const double high = level_at(spec, k + 1);
            for (double v = std::ceil(low > 0.0 ? low : 0.0); v < high && v < values; v += 1.0)
                bins[static_cast<int>(v)] = static_cast<uint32_t>(k);
            low = high;
        }
        return;
    }
    const double top = level_at(spec, count);
    for (int v = 0; v < values; ++v) {
        if (!(v >= spec.lower) || !(v < top)) continue;
        const double e = (v - spec.lower) * divisor / range;
        int64_t k = e < 0 ? 0 : e >= divisor ? count - 1 : static_cast<int64_t>(e);
        while (k > 0 && v < level_at(spec, k)) --k;
        while (k + 1 < count && v >= level_at(spec, k + 1)) ++k;
        bins[v] = static_cast<uint32_t>(k);
    }
}

uint8_t otsu_threshold_of(const uint32_t* h) {
    uint64_t total = 0;
    for (int i = 0; i < 256; ++i) total += h[i];
    const float n = static_cast<float>(total);
    const float s = std::fabs(n) <= FLT_EPSILON ? 0.0f : 1.0f / n;
    float moment = 0.0f;
    for (int i = 0; i < 256; ++i) moment += (static_cast<float>(i) + 0.5f) * static_cast<float>(h[i]);
    const float mu_total = s * moment;

    float w0 = 0.0f, mu = 0.0f, best = 0.0f, t = 0.0f;
    for (int i = 0; i < 256; ++i) {
        const float p = s * static_cast<float>(h[i]);
        w0 += p;
        const float w1 = 1.0f - w0;
        const float lo = w0 < w1 ? w0 : w1, hi = w0 < w1 ? w1 : w0;
        if (!(lo >= FLT_EPSILON) || !(hi <= 1.0f - FLT_EPSILON)) continue;
        const float centre = static_cast<float>(i) + 0.5f;
        mu += p * centre;
        const float d = w1 * mu - (mu_total - mu) * w0;
        const float v = d * d / (w1 * w0);
        if (v > best) t = centre;
        best = best < v ? v : best;
    }
    return static_cast<uint8_t>(static_cast<int>(t));
}

}  // namespace lum::prim
