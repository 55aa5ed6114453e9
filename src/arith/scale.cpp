// Linear scaling d = s × a + b into a second image (any pair of 8u, 16u and
// 32f) or in place. Region widths count samples, not pixels: on a colour
// image a width w covers the first w samples of each row.
#include "arith/clamp.hpp"
#include "primitives/scale.hpp"

namespace lum {

namespace {

int8_t scale_into(img* src, lum_point so, img* dst, lum_point dp, lum_size size, double a, double b) {
    LUM_CHECK(require_initialised(src));
    if (so.x < 0 || so.y < 0 || size.width <= 0 || size.height <= 0) return out_of_range;
    if (int64_t(so.x) + size.width > src->width || int64_t(so.y) + size.height > src->height) return beyond_image;
    LUM_CHECK(require_initialised(dst));
    if (dp.x < 0 || dp.y < 0) return out_of_range;
    if (int64_t(dp.x) + size.width > dst->width || int64_t(dp.y) + size.height > dst->height) return beyond_image;
    return with_sample_type<uint8_t, uint16_t, float>(src->pix_type, [&]<class S>() -> int8_t {
        return with_sample_type<uint8_t, uint16_t, float>(dst->pix_type, [&]<class D>() -> int8_t {
            // Rows of size.width samples from the origin pixels.
            const int64_t from = so.y * int64_t(src->step_bytes) + so.x * int64_t(bytes_per_pixel(*src));
            const int64_t to = dp.y * int64_t(dst->step_bytes) + dp.x * int64_t(bytes_per_pixel(*dst));
            if (!span_fits(*src, from, size.height, src->step_bytes, int64_t(size.width) * sizeof(S)) ||
                !span_fits(*dst, to, size.height, dst->step_bytes, int64_t(size.width) * sizeof(D)))
                return beyond_image;
            return map_status(prim::scale<S, D>(pixel_at<const S>(*src, so.x, so.y), step_of(*src),
                                                pixel_at<D>(*dst, dp.x, dp.y), step_of(*dst),
                                                prim::Size{size.width, size.height}, a, b));
        });
    });
}

int8_t scale_in_place(img* im, double a, double b, const lum_rect* rect) {
    LUM_CHECK(require_initialised(im));
    LUM_CHECK(check_rect(*im, rect));
    const lum_rect r = *rect;
    return with_sample_type<uint8_t, uint16_t, float>(im->pix_type, [&]<class T>() -> int8_t {
        const int64_t from = r.y * int64_t(im->step_bytes) + r.x * int64_t(bytes_per_pixel(*im));
        if (!span_fits(*im, from, r.height, im->step_bytes, int64_t(r.width) * sizeof(T))) return beyond_image;
        T* p = pixel_at<T>(*im, r.x, r.y);
        return map_status(prim::scale<T, T>(p, step_of(*im), p, step_of(*im), size_of(r), a, b));
    });
}

}  // namespace

}  // namespace lum

using lum::with_images;

extern "C" {

LUM_API int8_t lum_scale(int32_t source, int32_t destination, double a, double b) {
    return with_images({source, destination}, [&](img* s, img* d) {
        return lum::scale_into(s, {0, 0}, d, {0, 0}, {s->width, s->height}, a, b);
    });
}
LUM_API int8_t lum_scale_rect(int32_t source, lum_point source_origin, int32_t destination,
                              lum_point destination_origin, lum_size size, double a, double b) {
    return with_images({source, destination}, [&](img* s, img* d) {
        return lum::scale_into(s, source_origin, d, destination_origin, size, a, b);
    });
}
LUM_API int8_t lum_scaleI(int32_t image, double a, double b) {
    return with_images({image}, [&](img* im) {
        const lum_rect r = lum::whole(*im);
        return lum::scale_in_place(im, a, b, &r);
    });
}
LUM_API int8_t lum_scaleI_rect(int32_t image, double a, double b, const lum_rect* rect) {
    return with_images({image}, [&](img* im) { return lum::scale_in_place(im, a, b, rect); });
}

}  // extern "C"
