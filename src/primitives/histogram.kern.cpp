// Histogram kernels: 8-bit and 16-bit samples are counted by value into
// several sub-histograms (so that runs of equal samples do not wait on their
// own increments), then folded into the caller's bins; float samples find
// their bin by a computed index corrected against the exact levels. The
// Otsu threshold works on the 8-bit value counts.
#pragma GCC optimize("fp-contract=off")  // the same float results in every variant
#include <cfloat>
#include <cmath>

#include "primitives/histogram.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

namespace {

constexpr int kSubHistograms8 = 4;
constexpr int kSubHistograms16 = 2;
// Float regions with at most this many levels keep a table of them in the
// work buffer; more levels are computed as they are needed.
constexpr int kTabledLevels = 65537;

bool known_type(int type) { return type >= hist_8u && type <= hist_32f; }

// The levels of one specification, evaluated as the specification defines them.
struct Levels {
    double lower, range, bins, top;
    int64_t count;  // number of bins
    const double* table;

    Levels(const HistogramSpec& s, const double* tab)
        : lower(s.lower), range(s.upper - s.lower), bins(s.levels - 1), count(s.levels - 1), table(tab) {
        top = at(count);
    }
    double at(int64_t k) const { return table ? table[k] : lower + (static_cast<double>(k) * range) / bins; }

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
        case hist_32f: *buffer_bytes = levels <= kTabledLevels ? levels * 8 : 64; break;
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
    fold(raw, 256, Levels(*s, nullptr), counts);
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
    fold(raw, 65536, Levels(*s, nullptr), counts);
    return st_ok;
}

int histogram_32f_c1(const float* src, int step, Size size, uint32_t* counts, const uint8_t* spec, uint8_t* buffer) {
    if (!src || !counts || !spec || !buffer) return st_null;
    if (empty_region(size)) return st_size;
    const HistogramSpec* s = checked_spec(spec, hist_32f);
    if (!s) return st_bad_arg;
    double* table = nullptr;
    if (s->levels <= kTabledLevels) {
        table = reinterpret_cast<double*>(buffer);
        const Levels exact(*s, nullptr);
        for (int64_t k = 0; k <= exact.count; ++k) table[k] = exact.at(k);
    }
    const Levels levels(*s, table);
    for (int64_t k = 0; k < levels.count; ++k) counts[k] = 0;
    for (int y = 0; y < size.height; ++y) {
        const float* __restrict p = row_at(src, step, y);
        for (int x = 0; x < size.width; ++x) {
            const int64_t k = levels.bin_of(p[x]);
            if (k >= 0) ++counts[k];
        }
    }
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
