// Histogram kernels: 8-bit and 16-bit samples are counted by value into
// several sub-histograms (so that runs of equal samples do not wait on their
// own increments), then folded into the caller's bins through a table of
// each value's bin; float samples find their bin by a computed index
// corrected against a table of the exact levels. The Otsu threshold works on
// the 8-bit value counts.
#include <cfloat>
#include <cmath>

#include "primitives/histogram.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

namespace {

using namespace histogram_layout;

// The work buffer's first 64-byte boundary: a caller's buffer may start anywhere.
inline uint8_t* aligned(uint8_t* p) {
    return p + ((64 - (reinterpret_cast<uintptr_t>(p) & 63)) & 63);
}

// Counts of each 8-bit value: eight sub-histograms over two 64-bit words of
// samples per step, added into raw[256] (which may be the first
// sub-histogram). One increment per sample is what bounds the loop: each is
// a store to its own line.
void count_8u(const uint8_t* src, int step, Size size, uint32_t* sub, uint32_t* raw) {
    static_assert(kSubHistograms8 == 8, "one sub-histogram per byte of a 64-bit word");
    for (int i = 0; i < 8 * 256; ++i) sub[i] = 0;
    uint32_t* h[8];
    for (int i = 0; i < 8; ++i) h[i] = sub + 256 * i;
    const int n = size.width;
    for (int y = 0; y < size.height; ++y) {
        const uint8_t* s = row_at(src, step, y);
        int x = 0;
        for (; x + 16 <= n; x += 16) {
            const uint64_t w = simd::load_as<uint64_t>(s + x), v = simd::load_as<uint64_t>(s + x + 8);
            for (int k = 0; k < 8; ++k) ++h[k][(w >> (8 * k)) & 0xFF];
            for (int k = 0; k < 8; ++k) ++h[k][(v >> (8 * k)) & 0xFF];
        }
        for (; x < n; ++x) ++h[0][s[x]];
    }
    for (int v = 0; v < 256; ++v) {
        uint32_t t = 0;
        for (int i = 0; i < 8; ++i) t += h[i][v];
        raw[v] = t;
    }
}

// Counts of each 16-bit value: two sub-histograms, added into raw[65536].
void count_16u(const uint16_t* src, int step, Size size, uint32_t* sub, uint32_t* raw) {
    static_assert(kSubHistograms16 == 2, "alternate samples in two sub-histograms");
    for (int i = 0; i < 2 * 65536; ++i) sub[i] = 0;
    uint32_t* h0 = sub;
    uint32_t* h1 = sub + 65536;
    const int n = size.width;
    for (int y = 0; y < size.height; ++y) {
        const uint16_t* s = row_at(src, step, y);
        int x = 0;
        for (; x + 4 <= n; x += 4) {
            const uint64_t w = simd::load_as<uint64_t>(s + x);
            ++h0[w & 0xFFFF];
            ++h1[(w >> 16) & 0xFFFF];
            ++h0[(w >> 32) & 0xFFFF];
            ++h1[w >> 48];
        }
        for (; x < n; ++x) ++h0[load_one(s + x)];
    }
    for (int v = 0; v < 65536; ++v) raw[v] = h0[v] + h1[v];
}

template <class T>
void count(const T* src, int step, Size size, uint32_t* sub, uint32_t* raw) {
    if constexpr (sizeof(T) == 1) count_8u(src, step, size, sub, raw);
    else count_16u(src, step, size, sub, raw);
}

HistogramSpec read_spec(const uint8_t* spec) {
    HistogramSpec s;
    std::memcpy(&s, spec, sizeof s);
    return s;
}

template <class T>
constexpr int hist_type = sizeof(T) == 1 ? hist_8u : std::is_floating_point_v<T> ? hist_32f : hist_16u;

// Float samples: the bin of each sample from its position in level units,
// rounded to the nearest level j and compared with level j (evaluated as the
// levels are defined). When a bin spans many units in the last place of the
// bounds, the computed position is within a quarter bin of the true one, so
// the sample lies in bin j − 1 or j and the one comparison decides, without
// branches or table lookups. Otherwise each sample searches the levels.
// A chunk of a row is taken twice: vectors find the bins, then a scalar pass
// counts them (a sample outside the levels in one extra bin).
void histogram_float(const float* src, int step, Size size, uint32_t* counts, const HistogramSpec& s,
                     uint8_t* buffer) {
    const int64_t bins = s.levels - 1;
    const double lower = s.lower, range = s.upper - s.lower, divisor = static_cast<double>(bins);
    const double magnitude = std::fabs(s.lower) > std::fabs(s.upper) ? std::fabs(s.lower) : std::fabs(s.upper);
    for (int64_t k = 0; k < bins; ++k) counts[k] = 0;
    auto level = [&](int64_t k) { return lower + (static_cast<double>(k) * range) / divisor; };
    const double top = level(bins);
    if (s.levels > kTabledLevels || !(range / divisor > 16.0 * magnitude * DBL_EPSILON)) {
        for (int y = 0; y < size.height; ++y) {
            const float* p = row_at(src, step, y);
            for (int x = 0; x < size.width; ++x) {
                const double v = load_one(p + x);
                if (!(v >= lower) || !(v < top)) continue;
                const double e = (v - lower) * divisor / range;
                int64_t k = e < 0 ? 0 : e >= divisor ? bins - 1 : static_cast<int64_t>(e);
                while (k > 0 && v < level(k)) --k;
                while (k + 1 < bins && v >= level(k + 1)) ++k;
                ++counts[k];
            }
        }
        return;
    }
    uint32_t* hist = reinterpret_cast<uint32_t*>(buffer);  // bins, then one for samples outside
    int32_t* index = reinterpret_cast<int32_t*>(buffer + align64(int64_t{bins + 1} * 4));
    for (int64_t k = 0; k <= bins; ++k) hist[k] = 0;
    const double scale = divisor / range;
    const int32_t miss = static_cast<int32_t>(bins);
    for (int y = 0; y < size.height; ++y) {
        const float* p = row_at(src, step, y);
        for (int x0 = 0; x0 < size.width; x0 += kIndexChunk) {
            const int n = size.width - x0 < kIndexChunk ? size.width - x0 : kIndexChunk;
            // A loop without branches, which the compiler turns into whole vectors of samples.
            for (int x = 0; x < n; ++x) {
                const double d = load_one(p + x0 + x);
                const int inside = (d >= lower) & (d < top);
                double e = (d - lower) * scale;
                e = e > 0.0 ? e : 0.0;  // also for a sample that is not a number
                e = e < divisor ? e : divisor;
                const double j = std::nearbyint(e);
                const double level_j = lower + (j * range) / divisor;
                const int32_t k = static_cast<int32_t>(j) - (d < level_j);
                index[x] = inside ? k : miss;
            }
            for (int x = 0; x < n; ++x) ++hist[index[x]];
        }
    }
    for (int64_t k = 0; k < bins; ++k) counts[k] = hist[k];
}

}  // namespace

template <class T>
int count_values(const T* src, int step, Size size, uint32_t* counts, uint8_t* work) {
    if (!src || !counts || !work) return st_null;
    if (empty_region(size)) return st_size;
    count(src, step, size, reinterpret_cast<uint32_t*>(aligned(work)), counts);
    return st_ok;
}

template <class T>
int histogram(const T* src, int step, Size size, uint32_t* counts, const uint8_t* spec, uint8_t* buffer) {
    if (!src || !counts || !spec || !buffer) return st_null;
    if (empty_region(size)) return st_size;
    const HistogramSpec s = read_spec(spec);
    if (s.type != hist_type<T> || s.levels < 2) return st_bad_arg;
    uint8_t* work = aligned(buffer);
    if constexpr (std::is_floating_point_v<T>) {
        histogram_float(src, step, size, counts, s, work);
    } else {
        constexpr int values = sizeof(T) == 1 ? 256 : 65536;
        constexpr int subs = sizeof(T) == 1 ? kSubHistograms8 : kSubHistograms16;
        auto* sub = reinterpret_cast<uint32_t*>(work);
        uint32_t* bin = sub + subs * values;
        // The raw counts of the values land in the first sub-histogram.
        count(src, step, size, sub, sub);
        histogram_value_bins(s, values, bin);
        const int64_t bins = s.levels - 1;
        for (int64_t k = 0; k < bins; ++k) counts[k] = 0;
        for (int v = 0; v < values; ++v)
            if (sub[v] != 0 && bin[v] < bins) counts[bin[v]] += sub[v];
    }
    return st_ok;
}

int otsu_threshold_8u_c1(const uint8_t* src, int step, Size size, uint8_t* threshold) {
    if (!src || !threshold) return st_null;
    if (empty_region(size)) return st_size;
    if (step < size.width) return st_bad_arg;
    uint32_t sub[kSubHistograms8 * 256];
    uint32_t h[256];
    count_8u(src, step, size, sub, h);
    *threshold = otsu_threshold_of(h);
    return st_ok;
}

LUM_INSTANTIATE(histogram, uint8_t)
LUM_INSTANTIATE(histogram, uint16_t)
LUM_INSTANTIATE(histogram, float)
LUM_INSTANTIATE(count_values, uint8_t)
LUM_INSTANTIATE(count_values, uint16_t)

}  // namespace lum::prim::LUM_ISA
