// Rotation: an affine warp of the source by the rotation matrix of an angle
// and two shifts, into a destination of the caller's size; whatever the turned
// source does not cover is 0.
#include "geometry/rotate.hpp"

#include "color/copy.hpp"
#include "image/call_frame.hpp"
#include "primitives/fill.hpp"
#include "primitives/warp.hpp"

namespace lum {

namespace {

template <class T>
using WarpKernel = prim::Dispatch<int(const T*, int, T*, int, prim::Offset, prim::Size, const void*, void*)>;

// Reports a non-zero status; true when it is an error that ends the routine.
bool failed(int status) { return map_status(status) != ok; }

template <class T, class Clear>
int8_t rotate_with(const img& src, img& dst, double angle, double x_shift, double y_shift, int interpolation,
                   int data_type, int channels, const Clear& clear, const WarpKernel<T>& nearest,
                   const WarpKernel<T>& linear) {
    // Both images are walked whole with their own steps.
    if (!whole_fits(src) || !whole_fits(dst)) return beyond_image;
    double matrix[6];
    if (failed(prim::rotate_transform(angle, x_shift, y_shift, matrix))) return primitive_failed;
    if (failed(clear(pixel_at<T>(dst, 0, 0), step_of(dst), size_of(dst)))) return primitive_failed;
    if (interpolation != prim::warp_nearest && interpolation != prim::warp_linear) return out_of_range;
    const prim::Size ss = size_of(src), ds = size_of(dst);
    int spec_bytes = 0, init_bytes = 0;
    if (failed(prim::warp_affine_get_size(ss, ds, data_type, matrix, interpolation, prim::warp_forward,
                                          prim::border_constant, &spec_bytes, &init_bytes)))
        return primitive_failed;
    // Allocation results are not tested: a missing block makes the next kernel fail with -8.
    auto spec = make_scratch<uint8_t>(spec_bytes);
    const double zero[3] = {0.0, 0.0, 0.0};
    const auto& setup = interpolation == prim::warp_nearest ? prim::warp_affine_nearest_init : prim::warp_affine_linear_init;
    if (failed(setup(ss, ds, data_type, matrix, prim::warp_forward, channels, prim::border_constant, zero, 0,
                     spec.get())))
        return primitive_failed;
    int work_bytes = 0;
    if (failed(prim::warp_get_buffer_size(spec.get(), ds, &work_bytes))) return primitive_failed;
    auto work = make_scratch<uint8_t>(work_bytes);
    const auto& warp = interpolation == prim::warp_nearest ? nearest : linear;
    if (failed(warp(pixel_at<const T>(src, 0, 0), step_of(src), pixel_at<T>(dst, 0, 0), step_of(dst), {0, 0}, ds,
                    spec.get(), work.get())))
        return primitive_failed;
    return ok;
}

}  // namespace

int8_t rotate_8u_c1(const img* src, img* dst, double angle, double x_shift, double y_shift, int interpolation) {
    auto clear = [](uint8_t* p, int step, prim::Size size) {
        const uint8_t zero = 0;
        return prim::fill<uint8_t>(p, step, size, &zero, 1);
    };
    return rotate_with<uint8_t>(*src, *dst, angle, x_shift, y_shift, interpolation, prim::data_8u, 1, clear,
                                prim::warp_affine_nearest_8u_c1, prim::warp_affine_linear_8u_c1);
}

int8_t rotate_8u_c3(const img* src, img* dst, double angle, double x_shift, double y_shift, int interpolation) {
    auto clear = [](uint8_t* p, int step, prim::Size size) {
        const uint8_t zero = 0;
        return prim::fill<uint8_t>(p, step, {3 * size.width, size.height}, &zero, 1);
    };
    return rotate_with<uint8_t>(*src, *dst, angle, x_shift, y_shift, interpolation, prim::data_8u, 3, clear,
                                prim::warp_affine_nearest_8u_c3, prim::warp_affine_linear_8u_c3);
}

int8_t rotate_16u_c1(const img* src, img* dst, double angle, double x_shift, double y_shift, int interpolation) {
    auto clear = [](uint16_t* p, int step, prim::Size size) {
        const uint16_t zero = 0;
        return prim::fill<uint16_t>(p, step, size, &zero, 1);
    };
    return rotate_with<uint16_t>(*src, *dst, angle, x_shift, y_shift, interpolation, prim::data_16u, 1, clear,
                                 prim::warp_affine_nearest_16u_c1, prim::warp_affine_linear_16u_c1);
}

int8_t rotate_32f_c1(const img* src, img* dst, double angle, double x_shift, double y_shift, int interpolation) {
    auto clear = [](float* p, int step, prim::Size size) {
        const float zero = 0.0f;
        return prim::fill<float>(p, step, size, &zero, 1);
    };
    return rotate_with<float>(*src, *dst, angle, x_shift, y_shift, interpolation, prim::data_32f, 1, clear,
                              prim::warp_affine_nearest_32f_c1, prim::warp_affine_linear_32f_c1);
}

namespace {

int8_t rotate(const img* src, img* dst, double angle, double x_shift, double y_shift, int32_t interpolation) {
    LUM_CHECK(require_initialised(src, dst));
    if (src->channels != dst->channels || src->pix_type != dst->pix_type) return mismatch;
    if (src->channels == lum_gray) {
        switch (src->pix_type) {
            case lum_fmt_8u: return rotate_8u_c1(src, dst, angle, x_shift, y_shift, interpolation);
            case lum_fmt_16u: return rotate_16u_c1(src, dst, angle, x_shift, y_shift, interpolation);
            case lum_fmt_32f: return rotate_32f_c1(src, dst, angle, x_shift, y_shift, interpolation);
            default: return bad_format;
        }
    }
    if (src->channels == lum_color)
        return src->pix_type == lum_fmt_8u ? rotate_8u_c3(src, dst, angle, x_shift, y_shift, interpolation)
                                           : int8_t(bad_format);
    return ok;
}

}  // namespace
}  // namespace lum

extern "C" LUM_API int8_t lum_rotate(int32_t source, int32_t destination, double angle, double x_shift,
                                     double y_shift, int32_t interpolation) {
    return lum::with_images({source, destination}, [&](img* s, img* d) {
        return lum::rotate(s, d, angle, x_shift, y_shift, interpolation);
    });
}
