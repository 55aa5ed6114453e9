// Affine warp: the rotation matrix, the set-up block and work-buffer queries,
// the set-up for nearest and linear sampling, and the warp kernels for 8u C1,
// 8u C3, 16u C1 and 32f C1. The matrix maps source to destination coordinates
// (pixel centres on integers); each destination pixel is sampled at the
// inverse image of its centre, with a constant border.
#pragma once

#include "primitives/primitive.hpp"
#include "primitives/resize.hpp"

namespace lum::prim {

enum : int {
    warp_nearest = 1,
    warp_linear = 2,
    warp_forward = 0,
    border_constant = 0,
    data_8u = 1,
    data_16u = 2,
    data_32f = 4,
};

// coeffs (2 x 3, row major) = (cos, sin, x_shift; -sin, cos, y_shift) for an
// angle in degrees reduced to [0, 360); exact at 0, 90, 180 and 270. A
// non-finite angle gives st_bad_arg.
LUM_PRIMITIVE(rotate_transform, int(double angle, double x_shift, double y_shift, double* coeffs))

LUM_PRIMITIVE(warp_affine_get_size, int(Size src, Size dst, int data_type, const double* coeffs, int interpolation,
                                        int direction, int border, int* spec_bytes, int* init_bytes))
LUM_PRIMITIVE(warp_affine_nearest_init,
              int(Size src, Size dst, int data_type, const double* coeffs, int direction, int channels, int border,
                  const double* border_value, int smooth_edge, void* spec))
LUM_PRIMITIVE(warp_affine_linear_init,
              int(Size src, Size dst, int data_type, const double* coeffs, int direction, int channels, int border,
                  const double* border_value, int smooth_edge, void* spec))
LUM_PRIMITIVE(warp_get_buffer_size, int(const void* spec, Size dst, int* bytes))

#define LUM_WARP_PRIMITIVES(layout, T)                                                                           \
    LUM_PRIMITIVE(warp_affine_nearest_##layout, int(const T* src, int src_step, T* dst, int dst_step,           \
                                                    Offset offset, Size dst_size, const void* spec, void* buffer)) \
    LUM_PRIMITIVE(warp_affine_linear_##layout, int(const T* src, int src_step, T* dst, int dst_step,            \
                                                   Offset offset, Size dst_size, const void* spec, void* buffer))

LUM_WARP_PRIMITIVES(8u_c1, uint8_t)
LUM_WARP_PRIMITIVES(8u_c3, uint8_t)
LUM_WARP_PRIMITIVES(16u_c1, uint16_t)
LUM_WARP_PRIMITIVES(32f_c1, float)
#undef LUM_WARP_PRIMITIVES

// Layout of the set-up block.
struct WarpSpec {
    uint32_t magic;
    int32_t interpolation;
    int32_t data_type;
    int32_t channels;
    Size src;
    Size dst;
    double inverse[6];  // destination to source
    double border[3];
};
inline constexpr uint32_t kWarpMagic = 0x57525031u;

}  // namespace lum::prim
