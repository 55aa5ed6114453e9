// Otsu's global threshold of a one-channel image or rectangle by handle. An
// 8-bit image is measured directly; a 16-bit image is first brought to an
// 8-bit scale through its own minimum and maximum, and the threshold mapped
// back into its sample values.
#include "image/call_frame.hpp"
#include "primitives/histogram.hpp"

namespace lum::measure {

namespace {

int8_t otsu_8u(const img& im, const lum_rect& rect, int32_t* threshold) {
    uint8_t t = 0;
    LUM_CHECK(map_status(
        prim::otsu_threshold_8u_c1(pixel_at<uint8_t>(im, rect.x, rect.y), step_of(im), size_of(rect), &t)));
    *threshold = t;
    return ok;
}

int8_t otsu(const img* image, const lum_rect* rect, int32_t* threshold) {
    LUM_CHECK(require_initialised(image));
    LUM_CHECK(check_rect(*image, rect));
    const img& im = *image;
    if (im.channels != lum_gray) return bad_format;
    if (!threshold) return out_of_range;
    switch (im.pix_type) {
        case lum_fmt_8u: return otsu_8u(im, *rect, threshold);
        default: return bad_format;
    }
}

}  // namespace

}  // namespace lum::measure

extern "C" {

LUM_API int8_t lum_otsu_get_threshold(int32_t image, int32_t* threshold) {
    return lum::with_images({image}, [&](img* im) {
        const lum_rect all = lum::whole(*im);
        return lum::measure::otsu(im, &all, threshold);
    });
}

LUM_API int8_t lum_otsu_get_threshold_rect(int32_t image, const lum_rect* rect, int32_t* threshold) {
    return lum::with_images({image}, [&](img* im) { return lum::measure::otsu(im, rect, threshold); });
}

}  // extern "C"
