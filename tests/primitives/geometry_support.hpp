// Shared by the geometry kernel tests: random canvases with odd steps.
#pragma once

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace lum::test {

// A buffer of `rows` rows `step` bytes apart, random bytes; floats kept finite.
struct Plane {
    int step;
    int rows;
    std::vector<uint8_t> bytes;
    Plane(int step_, int rows_, uint32_t seed, bool floats = false)
        : step(step_), rows(rows_), bytes(size_t(step_) * rows_ + 64) {
        std::mt19937 rng(seed);
        if (floats) {
            std::uniform_real_distribution<float> d(-500.0f, 500.0f);
            for (size_t i = 0; i + 4 <= bytes.size(); i += 4) {
                const float v = d(rng);
                std::memcpy(&bytes[i], &v, 4);
            }
        } else {
            for (auto& b : bytes) b = static_cast<uint8_t>(rng());
        }
    }
    template <class T>
    T* row(int y) {
        return reinterpret_cast<T*>(bytes.data() + size_t(y) * step);
    }
};

template <class T>
constexpr bool is_float = sizeof(T) == 4;

}  // namespace lum::test
