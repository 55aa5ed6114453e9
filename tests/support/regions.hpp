// Regions for kernel tests: rows of random samples at a byte step that is no
// multiple of any vector width, starting at an odd byte offset, so kernels
// are tested on caller-like buffers at any address. Samples are read and
// written by memcpy: the region's pointer need not be aligned.
#pragma once

#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

#include "primitives/primitive.hpp"

namespace lum::test {

// Random samples with the edges of the range (and zeros) well represented;
// floats stay finite. A non-zero `range` keeps integers below it.
template <class T>
T random_sample(std::mt19937& rng, uint32_t range = 0) {
    const unsigned pick = rng() % 16;
    if constexpr (std::is_floating_point_v<T>) {
        if (pick == 0) return T(0);
        return T(int(rng() % 200001) - 100000) * T(0.0125);
    } else {
        if (range) return static_cast<T>(rng() % range);
        if (pick == 0) return 0;
        if (pick == 1) return std::numeric_limits<T>::max();
        return static_cast<T>(rng());
    }
}

template <class T>
struct Region {
    int samples;  // per row
    int rows;
    int step;     // bytes
    int offset;   // bytes before the first sample
    std::vector<uint8_t> bytes;

    // `aligned` keeps the start and the step on whole samples.
    Region(int samples_, int rows_, uint32_t seed, uint32_t range = 0, bool aligned = false)
        : samples(samples_), rows(rows_), step(int(sizeof(T)) * (samples_ + (aligned ? 5 : 0)) + (aligned ? 0 : 5)),
          offset(aligned ? 0 : 1), bytes(size_t(offset) + size_t(step) * rows_ + 7) {
        std::mt19937 rng(seed);
        for (size_t k = 0; k + sizeof(T) <= bytes.size(); k += sizeof(T)) {
            const T v = random_sample<T>(rng, range);
            std::memcpy(&bytes[k], &v, sizeof(T));
        }
    }
    T* data() { return reinterpret_cast<T*>(bytes.data() + offset); }
    const T* data() const { return reinterpret_cast<const T*>(bytes.data() + offset); }
    prim::Size size() const { return {samples, rows}; }
    size_t at_byte(int i, int y) const { return size_t(offset) + size_t(y) * step + size_t(i) * sizeof(T); }
    T get(int i, int y) const {
        T v;
        std::memcpy(&v, &bytes[at_byte(i, y)], sizeof(T));
        return v;
    }
    void set(int i, int y, T v) { std::memcpy(&bytes[at_byte(i, y)], &v, sizeof(T)); }
};

// Random samples written at the region's own sample positions. A region at an
// odd address otherwise holds floats pieced together from two samples' bytes,
// NaNs among them: fine for kernels that move bits, not for ones that blend.
template <class T>
void fill_samples(Region<T>& r, uint32_t seed, uint32_t range = 0) {
    std::mt19937 rng(seed);
    for (int y = 0; y < r.rows; ++y)
        for (int i = 0; i < r.samples; ++i) r.set(i, y, random_sample<T>(rng, range));
}

// Widths that end on every kind of tail: one sample, just under and over a
// vector of every level, and long rows.
inline constexpr int kTestWidths[] = {1, 3, 15, 17, 31, 33, 63, 65, 127, 129, 1000};

}  // namespace lum::test
