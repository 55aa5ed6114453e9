// Warp set-up, compiled once: the rotation matrix, the checks and the inverse
// matrix of the set-up block, and the sizes of the set-up block and of the
// work buffer.
#include <cmath>

#include "primitives/warp.hpp"

namespace lum::prim {

namespace {

bool sizes_ok(Size src, Size dst) { return src.width > 0 && src.height > 0 && dst.width > 0 && dst.height > 0; }

bool layout_ok(int data_type, int channels) {
    return (data_type == data_8u && (channels == 1 || channels == 3)) ||
           ((data_type == data_16u || data_type == data_32f) && channels == 1);
}

int check_setup(Size src, Size dst, int data_type, const double* m, int interpolation, int direction, int border) {
    if (!m) return st_null;
    if (!sizes_ok(src, dst)) return st_size;
    if (data_type != data_8u && data_type != data_16u && data_type != data_32f) return st_bad_arg;
    if (interpolation != warp_nearest && interpolation != warp_linear) return st_bad_arg;
    if (direction != warp_forward || border != border_constant) return st_bad_arg;
    const double det = m[0] * m[4] - m[1] * m[3];
    for (int i = 0; i < 6; ++i)
        if (!std::isfinite(m[i])) return st_bad_arg;
    if (det == 0.0 || !std::isfinite(det)) return st_bad_arg;
    return st_ok;
}

int init(Size src, Size dst, int data_type, const double* m, int direction, int channels, int border,
         const double* border_value, int smooth_edge, void* block, int interpolation) {
    if (const int st = check_setup(src, dst, data_type, m, interpolation, direction, border)) return st;
    if (!block || !border_value) return st_null;
    if (!layout_ok(data_type, channels) || smooth_edge != 0) return st_bad_arg;
    auto* spec = static_cast<WarpSpec*>(block);
    spec->magic = kWarpMagic;
    spec->interpolation = interpolation;
    spec->data_type = data_type;
    spec->channels = channels;
    spec->src = src;
    spec->dst = dst;
    const double det = m[0] * m[4] - m[1] * m[3];
    spec->inverse[0] = m[4] / det;
    spec->inverse[1] = -m[1] / det;
    spec->inverse[2] = (m[1] * m[5] - m[2] * m[4]) / det;
    spec->inverse[3] = -m[3] / det;
    spec->inverse[4] = m[0] / det;
    spec->inverse[5] = (m[2] * m[3] - m[0] * m[5]) / det;
    for (int c = 0; c < 3; ++c) spec->border[c] = c < channels ? border_value[c] : 0.0;
    return st_ok;
}

}  // namespace

int rotate_transform(double angle, double x_shift, double y_shift, double* coeffs) {
    if (!coeffs) return st_null;
    if (!std::isfinite(angle)) return st_bad_arg;
    double a = angle - 360.0 * std::trunc(angle / 360.0);
    if (a < 0.0) a += 360.0;
    double c, s;
    if (a == 0.0) {
        c = 1.0, s = 0.0;
    } else if (a == 90.0) {
        c = 0.0, s = 1.0;
    } else if (a == 180.0) {
        c = -1.0, s = 0.0;
    } else if (a == 270.0) {
        c = 0.0, s = -1.0;
    } else {
        const double r = a * 3.141592653589793 / 180.0;
        c = std::cos(r);
        s = std::sin(r);
    }
    coeffs[0] = c;
    coeffs[1] = s;
    coeffs[2] = x_shift;
    coeffs[3] = -s;
    coeffs[4] = c;
    coeffs[5] = y_shift;
    return st_ok;
}

int warp_affine_get_size(Size src, Size dst, int data_type, const double* coeffs, int interpolation, int direction,
                         int border, int* spec_bytes, int* init_bytes) {
    if (!spec_bytes || !init_bytes) return st_null;
    if (const int st = check_setup(src, dst, data_type, coeffs, interpolation, direction, border)) return st;
    *spec_bytes = int((sizeof(WarpSpec) + 63) & ~size_t(63));
    *init_bytes = 0;
    return st_ok;
}

int warp_affine_nearest_init(Size src, Size dst, int data_type, const double* coeffs, int direction, int channels,
                             int border, const double* border_value, int smooth_edge, void* spec) {
    return init(src, dst, data_type, coeffs, direction, channels, border, border_value, smooth_edge, spec,
                warp_nearest);
}

int warp_affine_linear_init(Size src, Size dst, int data_type, const double* coeffs, int direction, int channels,
                            int border, const double* border_value, int smooth_edge, void* spec) {
    return init(src, dst, data_type, coeffs, direction, channels, border, border_value, smooth_edge, spec,
                warp_linear);
}

int warp_get_buffer_size(const void* block, Size dst, int* bytes) {
    if (!block || !bytes) return st_null;
    if (dst.width <= 0 || dst.height <= 0) return st_size;
    if (static_cast<const WarpSpec*>(block)->magic != kWarpMagic) return st_bad_arg;
    // Two per-column coordinate terms, then the linear warp's per-row lanes.
    const int64_t total = int64_t(dst.width) * 2 * int64_t(sizeof(double)) + 64 + warp_lane_bytes(dst.width);
    if (total > 0x7FFFFFC0) return st_bad_arg;
    *bytes = int(total);
    return st_ok;
}

}  // namespace lum::prim
