// Linear scaling d = s × a + b into a second image (any pair of 8u, 16u and
// 32f) or in place. Region widths count samples, not pixels: on a colour
// image a width w covers the first w samples of each row.
#include "arith/clamp.hpp"
#include "primitives/scale.hpp"

namespace lum {

namespace {

// A region of w samples × h rows starting at pixel (x, y) stays in the buffer.
bool samples_fit(const img& im, int64_t x, int64_t y, int64_t w, int64_t h) {
    return span_fits(im, y * im.step_bytes + x * bytes_per_pixel(im), h, im.step_bytes, w * bytes_per_sample(im.pix_type));
}

bool scalable(int format) { return format == lum_fmt_8u || format == lum_fmt_16u || format == lum_fmt_32f; }

template <class S, class D, class K>
int run(K kernel, const img& src, lum_point so, const img& dst, lum_point dp, prim::Size z, double a, double b) {
    return kernel(pixel_at<const S>(src, so.x, so.y), step_of(src), pixel_at<D>(dst, dp.x, dp.y), step_of(dst), z, a, b);
}

int8_t scale_into(img* src, lum_point so, img* dst, lum_point dp, lum_size size, double a, double b) {
    LUM_CHECK(require_initialised(src));
    if (so.x < 0 || so.y < 0 || size.width <= 0 || size.height <= 0) return out_of_range;
    if (int64_t(so.x) + size.width > src->width || int64_t(so.y) + size.height > src->height) return beyond_image;
    LUM_CHECK(require_initialised(dst));
    if (dp.x < 0 || dp.y < 0) return out_of_range;
    if (int64_t(dp.x) + size.width > dst->width || int64_t(dp.y) + size.height > dst->height) return beyond_image;
    if (!scalable(src->pix_type) || !scalable(dst->pix_type)) return bad_format;
    if (!samples_fit(*src, so.x, so.y, size.width, size.height) ||
        !samples_fit(*dst, dp.x, dp.y, size.width, size.height))
        return beyond_image;
    const prim::Size z{size.width, size.height};
    const img &s = *src, &d = *dst;
    using namespace prim;
    int status = 0;
    switch (s.pix_type * 8 + d.pix_type) {
        case lum_fmt_8u * 8 + lum_fmt_8u: status = run<uint8_t, uint8_t>(scale_8u8u_c1r, s, so, d, dp, z, a, b); break;
        case lum_fmt_8u * 8 + lum_fmt_16u: status = run<uint8_t, uint16_t>(scale_8u16u_c1r, s, so, d, dp, z, a, b); break;
        case lum_fmt_8u * 8 + lum_fmt_32f: status = run<uint8_t, float>(scale_8u32f_c1r, s, so, d, dp, z, a, b); break;
        case lum_fmt_16u * 8 + lum_fmt_8u: status = run<uint16_t, uint8_t>(scale_16u8u_c1r, s, so, d, dp, z, a, b); break;
        case lum_fmt_16u * 8 + lum_fmt_16u: status = run<uint16_t, uint16_t>(scale_16u16u_c1r, s, so, d, dp, z, a, b); break;
        case lum_fmt_16u * 8 + lum_fmt_32f: status = run<uint16_t, float>(scale_16u32f_c1r, s, so, d, dp, z, a, b); break;
        case lum_fmt_32f * 8 + lum_fmt_8u: status = run<float, uint8_t>(scale_32f8u_c1r, s, so, d, dp, z, a, b); break;
        case lum_fmt_32f * 8 + lum_fmt_16u: status = run<float, uint16_t>(scale_32f16u_c1r, s, so, d, dp, z, a, b); break;
        default: status = run<float, float>(scale_32f32f_c1r, s, so, d, dp, z, a, b); break;
    }
    return map_status(status);
}

int8_t scale_in_place(img* im, double a, double b, const lum_rect* rect) {
    LUM_CHECK(require_initialised(im));
    LUM_CHECK(check_rect(*im, rect));
    const lum_rect r = *rect;
    if (!scalable(im->pix_type)) return bad_format;
    if (!samples_fit(*im, r.x, r.y, r.width, r.height)) return beyond_image;
    const prim::Size z = size_of(r);
    const int step = step_of(*im);
    switch (im->pix_type) {
        case lum_fmt_8u: return map_status(prim::scale_8u_c1ir(pixel_at<uint8_t>(*im, r.x, r.y), step, z, a, b));
        case lum_fmt_16u: return map_status(prim::scale_16u_c1ir(pixel_at<uint16_t>(*im, r.x, r.y), step, z, a, b));
        default: return map_status(prim::scale_32f_c1ir(pixel_at<float>(*im, r.x, r.y), step, z, a, b));
    }
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
