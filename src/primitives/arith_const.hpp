// Multiplication by per-channel double constants, rounded to nearest (halves
// to even) and saturated, with two steps that callers would otherwise run as
// passes of their own fused in: a saturating subtraction of per-channel bytes
// before the product (level adjustment) and a top value the integer results
// are lowered to (the valid-bits clamp). Regions count samples.
#pragma once

#include <cstdint>

#include "primitives/primitive.hpp"

namespace lum::prim {

inline constexpr int kMultiplyPatches = 4;

// How a multiplication is computed, prepared once per call by plan_multiply.
// 16-bit and float samples are multiplied in double precision. 8-bit samples
// have 256 values per channel, so their products are checked beforehand: the
// pixel loop runs in single precision (twice the lanes of double) with a
// float factor that reproduces the double-precision result for the most byte
// values, and the few values it misses (products within a rounding error of a
// half) are patched with their double-precision results; when more would need
// it, or the factor is too large for single precision, every result comes from
// a table.
struct multiply_plan {
    int channels;     // 1 or 3
    double factor[3];
    uint32_t top;     // integer results above it are lowered to it
    // 8-bit samples only.
    uint8_t offset[3];  // subtracted (saturating at 0) before the product
    bool single;        // single-precision products with the fields below, else `table`
    float single_factor[3];
    int patches;  // slots in use (0 to kMultiplyPatches); unused slots of a channel hold 0 → 0
    uint8_t patch_value[kMultiplyPatches][3];   // byte values after the offset
    uint8_t patch_result[kMultiplyPatches][3];  // their double-precision products
    uint8_t table[3][256];                      // the whole result per sample value
};

// Prepares the multiplication of samples of type T by factors[c], one double
// per channel read at any address, each result lowered to `top`; for 8-bit
// samples the bytes offsets[c] (none when null) are subtracted first.
// st_null when factors is null. Compiled once, outside the per-level kernels.
template <class T>
int plan_multiply(const void* factors, int channels, uint32_t top, const uint8_t* offsets, multiply_plan& plan);

// d = min(round((s − offset) × factor), top) per sample with the plan's
// per-channel constants (float samples: s × factor rounded once). d may be s.
LUM_KERNEL(multiply, (class T), (T),
           int(const T* src, int src_step, T* dst, int dst_step, Size size, const multiply_plan* plan))

}  // namespace lum::prim
