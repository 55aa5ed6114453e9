// Separable resize: a size query, a set-up per interpolation (nearest,
// linear, Lanczos), a work-buffer query, and one kernel template over the
// sample type and the interpolation. Destination sample d maps to source
// coordinate (d + 0.5) * S / D - 0.5; borders replicate.
//
// The queries and set-ups are compiled once (resize_plan.cpp) and fill the
// set-up block with the tables of both axes; only the kernels' loops are
// compiled per instruction-set level (resize.kern.cpp).
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
int resize_get_size(Size src, Size dst, int interpolation, int antialiasing, int* spec_bytes, int* init_bytes);
int resize_nearest_init(Size src, Size dst, void* spec);
int resize_linear_init(Size src, Size dst, void* spec);
// Lanczos with `lobes` lobes (3 is the one offered): 2 * lobes taps per direction.
int resize_lanczos_init(Size src, Size dst, int lobes, void* spec, void* init_buffer);
// Bytes of the work buffer for `channels` channels.
int resize_get_buffer_size(const void* spec, Size dst, int channels, int* bytes);

// The interpolations, as kernel parameters.
namespace filter {
struct nearest;
struct linear;
struct lanczos;
}  // namespace filter

// Fills the destination region (offset (0, 0), the set-up's destination size)
// from the source, `channels` (1 or 3) interleaved channels. Linear and
// Lanczos need the work buffer and the replicated border; nearest takes
// neither. 8- and 16-bit linear results are the exact blend of the exact
// weights, rounded to nearest with halves to even; 16-bit Lanczos blends in
// double precision; the other blends are single-precision.
LUM_KERNEL(resize, (class T, class Filter), (T, Filter),
           int(const T* src, int src_step, T* dst, int dst_step, Offset offset, Size dst_size, int channels,
               int border, const void* spec, void* buffer))

// One axis of the set-up block: per destination index the first source tap,
// unclamped (taps before 0 or past the end read the replicated edge sample),
// and the tap weights.
struct ResizeAxis {
    int32_t source;       // S
    int32_t size;         // D
    int32_t taps;         // 1, 2 or 6
    int32_t advance;      // the largest step of `first` from one destination index to the next
    int64_t denominator;  // linear: q, the weights are (q - p) / q and p / q exactly
    // Byte offsets from the block's start.
    int64_t first;        // int32 per destination index; nearest: the source index itself
    int64_t numerator;    // linear: p per destination index (uint32; q <= 2D)
    int64_t weight;       // float weights, tap-major: weight[k * D + d]
    int64_t weight_wide;  // Lanczos: double weights, tap-major
};

// Layout of the set-up block (shared by every instruction-set level).
struct ResizeSpec {
    uint32_t magic;
    int32_t interpolation;
    Size src;
    Size dst;
    ResizeAxis x;
    ResizeAxis y;
};
inline constexpr uint32_t kResizeMagic = 0x52535A32u;

// A table of the set-up block.
template <class T>
const T* resize_table(const ResizeSpec* spec, int64_t offset) {
    return reinterpret_cast<const T*>(reinterpret_cast<const unsigned char*>(spec) + offset);
}

}  // namespace lum::prim
