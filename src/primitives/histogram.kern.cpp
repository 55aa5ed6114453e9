// Histogram kernels: 8-bit and 16-bit samples are counted by value into
// several sub-histograms (so that runs of equal samples do not wait on their
// own increments), then folded into the caller's bins; float samples find
// their bin by a computed index corrected against the exact levels. The
// Otsu threshold works on the 8-bit value counts.
#include <cfloat>
#include <cmath>

#include "primitives/histogram.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

namespace {

constexpr int kSubHistograms8 = 4;
constexpr int kSubHistograms16 = 2;
// Float regions with at most this many levels are counted in the work
// buffer by computed index; more levels take the exact search per sample.
constexpr int kTabledLevels = 65537;
// Float samples are binned a chunk at a time: indexes first (a loop without
// branches), then the increments.
constexpr int kIndexChunk = 1024;

bool known_type(int type) { return type >= hist_8u && type <= hist_32f; }

// The levels of one set-up block, evaluated as the block set them up.
struct Levels {
    double lower, range, bins, top;
    int64_t count;  // number of bins

    explicit Levels(const HistogramSpec& s)
        : lower(s.lower), range(s.upper - s.lower), bins(s.levels - 1), count(s.levels - 1) {
        top = at(count);
    }
    double at(int64_t k) const { return lower + (static_cast<double>(k) * range) / bins; }

    // Bin of v, or -1 when v is below the first level, at or above the last
    // one, or not a number. The estimate is off by at most a step or two
    // (more only when levels coincide); the loops settle it exactly.
    int64_t bin_of(double v) const {
        if (!(v >= lower) || !(v < top)) return -1;
        double e = (v - lower) * bins / range;
        int64_t k = e < 0 ? 0 : e >= bins ? count - 1 : static_cast<int64_t>(e);
        while (k > 0 && v < at(k)) --k;
        while (k + 1 < count && v >= at(k + 1)) ++k;
        return k;
    }
};

// Counts of each 8-bit value in the region: raw[256] from four sub-histograms.
void count_values_8u(const uint8_t* src, int step, Size size, uint32_t* sub, uint32_t* raw) {
    for (int i = 0; i < 256 * kSubHistograms8; ++i) sub[i] = 0;
    uint32_t* __restrict h0 = sub;
    uint32_t* __restrict h1 = sub + 256;
    uint32_t* __restrict h2 = sub + 512;
    uint32_t* __restrict h3 = sub + 768;
    const int n = size.width;
    for (int y = 0; y < size.height; ++y) {
        const uint8_t* __restrict s = row_at(src, step, y);
        int x = 0;
        for (; x + 8 <= n; x += 8) {
            uint64_t w;
            std::memcpy(&w, s + x, 8);
            ++h0[w & 0xFF];
            ++h1[(w >> 8) & 0xFF];
            ++h2[(w >> 16) & 0xFF];
            ++h3[(w >> 24) & 0xFF];
            ++h0[(w >> 32) & 0xFF];
            ++h1[(w >> 40) & 0xFF];
            ++h2[(w >> 48) & 0xFF];
            ++h3[w >> 56];
        }
        for (; x < n; ++x) ++h0[s[x]];
    }
    for (int v = 0; v < 256; ++v) raw[v] = h0[v] + h1[v] + h2[v] + h3[v];
}

// Counts of each 16-bit value in the region: sub[0 .. 65535] afterwards.
void count_values_16u(const uint16_t* src, int step, Size size, uint32_t* sub) {
    for (int i = 0; i < 65536 * kSubHistograms16; ++i) sub[i] = 0;
    uint32_t* __restrict h0 = sub;
    uint32_t* __restrict h1 = sub + 65536;
    const int n = size.width;
    for (int y = 0; y < size.height; ++y) {
        const uint16_t* __restrict s = row_at(src, step, y);
        int x = 0;
        for (; x + 4 <= n; x += 4) {
            uint64_t w;
            std::memcpy(&w, s + x, 8);
            ++h0[w & 0xFFFF];
            ++h1[(w >> 16) & 0xFFFF];
            ++h0[(w >> 32) & 0xFFFF];
            ++h1[w >> 48];
        }
        for (; x < n; ++x) ++h0[s[x]];
    }
    for (int v = 0; v < 65536; ++v) h0[v] += h1[v];
}

// Adds the counts of values 0 .. n-1 into the bins their values fall in.
void fold(const uint32_t* raw, int n, const Levels& levels, uint32_t* counts) {
    for (int64_t k = 0; k < levels.count; ++k) counts[k] = 0;
    for (int v = 0; v < n; ++v) {
        if (raw[v] == 0) continue;
        const int64_t k = levels.bin_of(v);
        if (k >= 0) counts[k] += raw[v];
    }
}

const HistogramSpec* checked_spec(const uint8_t* spec, int type) {
    const auto* s = reinterpret_cast<const HistogramSpec*>(spec);
    return s->type == type && s->levels >= 2 ? s : nullptr;
}

}  // namespace

int histogram_get_size(int type, Size size, int levels, int* spec_bytes, int* buffer_bytes) {
    if (!spec_bytes || !buffer_bytes) return st_null;
    if (empty_region(size)) return st_size;
    if (!known_type(type) || levels < 2) return st_bad_arg;
    *spec_bytes = static_cast<int>(sizeof(HistogramSpec));
    switch (type) {
        case hist_8u: *buffer_bytes = 256 * kSubHistograms8 * 4; break;
        case hist_32f:
            *buffer_bytes = levels <= kTabledLevels ? levels * 4 + kIndexChunk * 4 : 64;
            break;
        default: *buffer_bytes = 65536 * kSubHistograms16 * 4; break;
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

int histogram_8u_c1(const uint8_t* src, int step, Size size, uint32_t* counts, const uint8_t* spec, uint8_t* buffer) {
    if (!src || !counts || !spec || !buffer) return st_null;
    if (empty_region(size)) return st_size;
    const HistogramSpec* s = checked_spec(spec, hist_8u);
    if (!s) return st_bad_arg;
    uint32_t raw[256];
    count_values_8u(src, step, size, reinterpret_cast<uint32_t*>(buffer), raw);
    fold(raw, 256, Levels(*s), counts);
    return st_ok;
}

int histogram_16u_c1(const uint16_t* src, int step, Size size, uint32_t* counts, const uint8_t* spec,
                     uint8_t* buffer) {
    if (!src || !counts || !spec || !buffer) return st_null;
    if (empty_region(size)) return st_size;
    const HistogramSpec* s = checked_spec(spec, hist_16u);
    if (!s) return st_bad_arg;
    auto* raw = reinterpret_cast<uint32_t*>(buffer);
    count_values_16u(src, step, size, raw);
    fold(raw, 65536, Levels(*s), counts);
    return st_ok;
}

int histogram_32f_c1(const float* src, int step, Size size, uint32_t* counts, const uint8_t* spec, uint8_t* buffer) {
    if (!src || !counts || !spec || !buffer) return st_null;
    if (empty_region(size)) return st_size;
    const HistogramSpec* s = checked_spec(spec, hist_32f);
    if (!s) return st_bad_arg;
    const Levels exact(*s);
    const int64_t bins = exact.count;
    for (int64_t k = 0; k < bins; ++k) counts[k] = 0;
    // When a bin spans many units in the last place of the bounds, the
    // computed position is within a quarter bin of the true one: rounded to
    // the nearest level j, the sample lies in bin j - 1 or j, and one
    // comparison with level j (evaluated as the block set it up)
    // decides, without branches or table lookups.
    const double magnitude = std::fabs(s->lower) > std::fabs(s->upper) ? std::fabs(s->lower) : std::fabs(s->upper);
    const bool direct = s->levels <= kTabledLevels && exact.range / exact.bins > 16.0 * magnitude * DBL_EPSILON;
    if (!direct) {
        for (int y = 0; y < size.height; ++y) {
            const float* __restrict p = row_at(src, step, y);
            for (int x = 0; x < size.width; ++x) {
                const int64_t k = exact.bin_of(p[x]);
                if (k >= 0) ++counts[k];
            }
        }
        return st_ok;
    }
    uint32_t* __restrict hist = reinterpret_cast<uint32_t*>(buffer);  // bins + one for misses
    int32_t* __restrict index = reinterpret_cast<int32_t*>(buffer + s->levels * 4);
    for (int64_t k = 0; k <= bins; ++k) hist[k] = 0;
    const double lower = exact.lower, top = exact.top, range = exact.range, divisor = exact.bins;
    const double scale = divisor / range;
    const int32_t miss = static_cast<int32_t>(bins);
    for (int y = 0; y < size.height; ++y) {
        const float* __restrict p = row_at(src, step, y);
        for (int x0 = 0; x0 < size.width; x0 += kIndexChunk) {
            const int n = size.width - x0 < kIndexChunk ? size.width - x0 : kIndexChunk;
            for (int x = 0; x < n; ++x) {
                const double d = p[x0 + x];
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
    return st_ok;
}

int otsu_threshold_8u_c1(const uint8_t* src, int step, Size size, uint8_t* threshold) {
    if (!src || !threshold) return st_null;
    if (empty_region(size)) return st_size;
    if (step < size.width) return st_bad_arg;
    uint32_t sub[256 * kSubHistograms8];
    uint32_t h[256];
    count_values_8u(src, step, size, sub, h);

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
    *threshold = static_cast<uint8_t>(static_cast<int>(t));
    return st_ok;
}

}  // namespace lum::prim::LUM_ISA
