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

}  // namespace lum
