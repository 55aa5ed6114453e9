// Affine warp: the rotation matrix, the set-up block and work-buffer queries,
// the set-up for nearest and linear sampling (compiled once, warp_plan.cpp),
// and one warp kernel template over the sample type and the interpolation
// (warp.kern.cpp). The matrix maps source to destination coordinates (pixel
// centres on integers); each destination pixel is sampled at the inverse
// image of its centre, with a constant border.
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
int rotate_transform(double angle, double x_shift, double y_shift, double* coeffs);

// Layouts: 8u with 1 or 3 channels, 16u and 32f with one.
int warp_affine_get_size(Size src, Size dst, int data_type, const double* coeffs, int interpolation, int direction,
                         int border, int* spec_bytes, int* init_bytes);
int warp_affine_nearest_init(Size src, Size dst, int data_type, const double* coeffs, int direction, int channels,
                             int border, const double* border_value, int smooth_edge, void* spec);
int warp_affine_linear_init(Size src, Size dst, int data_type, const double* coeffs, int direction, int channels,
                            int border, const double* border_value, int smooth_edge, void* spec);
int warp_get_buffer_size(const void* spec, Size dst, int* bytes);

// Writes every pixel of a band of the set-up's destination: whole rows from
// row offset.y on (offset.x 0, the destination's width); dst points to the
// band's first pixel. The sample type, interpolation and channel count must be
// the set-up's. Linear on 16-bit samples blends in double precision
// and rounds the blend to nearest, halves to even; on 8-bit samples and
// floats it blends in single precision.
LUM_KERNEL(warp_affine, (class T, class Filter), (T, Filter),
           int(const T* src, int src_step, T* dst, int dst_step, Offset offset, Size dst_size, int channels,
               const void* spec, void* buffer))

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

// Bytes of the work buffer's per-row scratch of the linear warp for a row of w pixels.
constexpr int64_t warp_lane_bytes(int64_t w) { return w * (16 + 4 + 4 + 4 + 4 * 3 * 4) + 6 * 64; }

}  // namespace lum::prim
