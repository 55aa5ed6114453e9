// Internal view of the image record: bytes per sample, the aligned allocator
// and the status codes every operation returns.
#pragma once

#include <cstdint>
#include <cstddef>

#include "lum_lib.h"

namespace lum {

// Status codes of the C interface.
enum status : int8_t {
    ok = 0,
    bad_format = -1,
    beyond_image = -2,
    bad_valid_bits = -3,
    mismatch = -4,
    primitive_failed = -5,
    bad_handle = -6,
    out_of_range = -7,
    no_memory = -8,
    empty_item = -32,
    not_initialised = -64,
    bad_channels = -65,
    bad_output = -128,
};

// Bytes per sample indexed by pix_type; a value outside the table counts as 0.
extern const int8_t sample_bytes[16];
inline int bytes_per_sample(int32_t pix_type) {
    return static_cast<uint32_t>(pix_type) < 16u ? sample_bytes[pix_type] : 0;
}
inline int bytes_per_pixel(const img& im) {
    return bytes_per_sample(im.pix_type) * static_cast<int>(im.channels);
}

// 64-byte aligned blocks; the raw pointer sits in the 8 bytes before the block.
void* aligned_alloc64(int64_t size);
void* aligned_alloc64(int32_t size);
void aligned_free64(void* block);

// The one message the library prints: formatted to standard output.
void report_primitive_failure(const char* format, ...);

}  // namespace lum
