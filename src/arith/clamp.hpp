// Valid-bits masks and the clamp that keeps integer samples within them,
// shared by the arithmetic operations and other families.
#pragma once

#include <cstdint>

#include "image/call_frame.hpp"

namespace lum {

// (1 << valid_bits) − 1 in 16-bit arithmetic, the shift count taken modulo
// 32: 8 bits give 255, 12 give 4095, 16 (and 0 after wrapping) give 65535.
inline uint16_t valid_bits_mask(const img& image) {
    return static_cast<uint16_t>(static_cast<uint16_t>(1u << (image.valid_bits & 31u)) - 1u);
}

// Lowers every sample above `mask` to `mask` over the whole image.
// -64 not initialised, -65 channels, -1 format, -7 an 8-bit mask above 255,
// -5 when the kernel fails.
int8_t clamp_to_valid_bits(img& image, uint32_t mask);

// Whether clamp_to_valid_bits(image, mask) would pass every one of its checks,
// so that an operation may lower its results to valid_bits_top(image, mask) in
// the pass that produces them instead, with the same result and status. When
// it would refuse, the operation keeps the two passes and returns the refusal.
bool clamp_fuses(const img& image, uint32_t mask);

// The value samples are lowered to by the clamp: the mask, or the sample
// type's maximum when the mask reaches above it.
template <class T>
T valid_bits_top(uint32_t mask) {
    constexpr uint32_t highest = static_cast<T>(~T{0});
    return static_cast<T>(mask < highest ? mask : highest);
}

}  // namespace lum
