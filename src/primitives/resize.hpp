// Separable resize with coefficient tables built once per call: a size query,
// a set-up per interpolation (nearest, linear, Lanczos), a work-buffer query
// and the resize kernels per sample format and channel count. Destination
// sample d maps to source coordinate (d + 0.5) * S / D - 0.5; borders replicate.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// Offset of a sub-region inside the destination region.
struct Offset {
    int32_t x;
    int32_t y;
};

enum : int {
    resize_nearest = 1,
    resize_linear = 2,
    resize_lanczos = 16,
    border_replicate = 1,
};

// Bytes of the set-up block and of the Lanczos initialisation buffer. An
// unknown interpolation code still gets sizes (the set-up is what refuses it);
// anti-aliasing is not offered and must be 0.
LUM_PRIMITIVE(resize_get_size,
              int(Size src, Size dst, int interpolation, int antialiasing, int* spec_bytes, int* init_bytes))
LUM_PRIMITIVE(resize_nearest_init, int(Size src, Size dst, void* spec))
LUM_PRIMITIVE(resize_linear_init, int(Size src, Size dst, void* spec))
// Lanczos with `lobes` lobes (3 is the one offered): 2 * lobes taps per direction.
LUM_PRIMITIVE(resize_lanczos_init, int(Size src, Size dst, int lobes, void* spec, void* init_buffer))
// Bytes of the work buffer for `channels` channels.
LUM_PRIMITIVE(resize_get_buffer_size, int(const void* spec, Size dst, int channels, int* bytes))

#define LUM_RESIZE_PRIMITIVES(fmt, T)                                                                            \
    LUM_PRIMITIVE(resize_nearest_##fmt##_c1, int(const T* src, int src_step, T* dst, int dst_step, Offset offset, \
                                                 Size dst_size, const void* spec, void* buffer))                  \
    LUM_PRIMITIVE(resize_nearest_##fmt##_c3, int(const T* src, int src_step, T* dst, int dst_step, Offset offset, \
                                                 Size dst_size, const void* spec, void* buffer))                  \
    LUM_PRIMITIVE(resize_linear_##fmt##_c1, int(const T* src, int src_step, T* dst, int dst_step, Offset offset,  \
                                                Size dst_size, int border, const void* spec, void* buffer))       \
    LUM_PRIMITIVE(resize_linear_##fmt##_c3, int(const T* src, int src_step, T* dst, int dst_step, Offset offset,  \
                                                Size dst_size, int border, const void* spec, void* buffer))       \
    LUM_PRIMITIVE(resize_lanczos_##fmt##_c1, int(const T* src, int src_step, T* dst, int dst_step, Offset offset, \
                                                 Size dst_size, int border, const void* spec, void* buffer))      \
    LUM_PRIMITIVE(resize_lanczos_##fmt##_c3, int(const T* src, int src_step, T* dst, int dst_step, Offset offset, \
                                                 Size dst_size, int border, const void* spec, void* buffer))

LUM_RESIZE_PRIMITIVES(8u, uint8_t)
LUM_RESIZE_PRIMITIVES(16u, uint16_t)
LUM_RESIZE_PRIMITIVES(32f, float)
#undef LUM_RESIZE_PRIMITIVES

// Layout of the set-up block (shared by every instruction-set level).
struct ResizeSpec {
    uint32_t magic;
    int32_t interpolation;
    Size src;
    Size dst;
    int32_t taps_x;
    int32_t taps_y;
    // Byte offsets from the block's start: per destination column / row,
    // `taps` clamped source indices (int32) and `taps` weights (float).
    int32_t x_index;
    int32_t x_weight;
    int32_t y_index;
    int32_t y_weight;
};
inline constexpr uint32_t kResizeMagic = 0x52535A31u;

}  // namespace lum::prim
