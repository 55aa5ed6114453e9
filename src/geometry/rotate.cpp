// Rotation: an affine warp of the source by the rotation matrix of an angle
// and two shifts, into a destination of the caller's size; whatever the turned
// source does not cover is 0.
#include "geometry/rotate.hpp"

#include "image/call_frame.hpp"
#include "primitives/fill.hpp"
#include "primitives/warp.hpp"

namespace lum {

namespace {

// Reports a non-zero status; true when it is an error that ends the routine.
bool failed(int status) { return map_status(status) != ok; }

template <class T>
int clear(T* p, int step, prim::Size size, int channels) {
    const T zero{};
    return prim::fill<T>(p, step, {channels * size.width, size.height}, &zero, 1);
}

constexpr int data_type_of(int32_t format) {
    return format == lum_fmt_8u ? prim::data_8u : format == lum_fmt_16u ? prim::data_16u : prim::data_32f;
}

}  // namespace

template <class T>
int8_t rotate_image(const img* src, img* dst, double angle, double x_shift, double y_shift, int interpolation,
                    int first_row, int rows) {
    // Both images are walked whole with their own steps.
    if (!whole_fits(*src) || !whole_fits(*dst)) return beyond_image;
    const int channels = src->channels;
    if (rows < 0) rows = dst->height;
    const prim::Size band{dst->width, rows};
    double matrix[6];
    if (failed(prim::rotate_transform(angle, x_shift, y_shift, matrix))) return primitive_failed;
    if (failed(clear(pixel_at<T>(*dst, 0, first_row), step_of(*dst), band, channels))) return primitive_failed;
    if (interpolation != prim::warp_nearest && interpolation != prim::warp_linear) return out_of_range;
    const prim::Size ss = size_of(*src), ds = size_of(*dst);
    const int data_type = data_type_of(format_of<T>);
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
    const auto& warp = interpolation == prim::warp_nearest ? prim::warp_affine<T, prim::filter::nearest>
                                                           : prim::warp_affine<T, prim::filter::linear>;
    if (failed(warp(pixel_at<const T>(*src, 0, 0), step_of(*src), pixel_at<T>(*dst, 0, first_row), step_of(*dst),
                    {0, first_row}, band, channels, spec.get(), work.get())))
        return primitive_failed;
    return ok;
}

template int8_t rotate_image<uint8_t>(const img*, img*, double, double, double, int, int, int);
template int8_t rotate_image<uint16_t>(const img*, img*, double, double, double, int, int, int);
template int8_t rotate_image<float>(const img*, img*, double, double, double, int, int, int);

namespace {

int8_t rotate(const img* src, img* dst, double angle, double x_shift, double y_shift, int32_t interpolation) {
    LUM_CHECK(require_initialised(src, dst));
    if (src->channels != dst->channels || src->pix_type != dst->pix_type) return mismatch;
    if (src->channels == lum_gray)
        return with_sample_type<uint8_t, uint16_t, float>(src->pix_type, [&]<class T>() {
            return rotate_image<T>(src, dst, angle, x_shift, y_shift, interpolation);
        });
    if (src->channels == lum_color)
        return with_sample_type<uint8_t>(src->pix_type, [&]<class T>() {
            return rotate_image<T>(src, dst, angle, x_shift, y_shift, interpolation);
        });
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
