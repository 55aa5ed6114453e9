// Otsu's global threshold of a one-channel image or rectangle by handle. An
// 8-bit image is measured directly; a 16-bit image is first brought to an
// 8-bit scale through its own minimum and maximum, and the threshold mapped
// back into its sample values.
#include "image/call_frame.hpp"
#include "measure/stats.hpp"
#include "primitives/convert.hpp"
#include "primitives/histogram.hpp"
#include "primitives/scale.hpp"

namespace lum::measure {

namespace {

int8_t otsu_8u(const img& im, const lum_rect& rect, int32_t* threshold) {
    if (!region_fits(im, rect.x, rect.y, rect.width, rect.height)) return beyond_image;
    uint8_t t = 0;
    LUM_CHECK(map_status(
        prim::otsu_threshold_8u_c1(pixel_at<uint8_t>(im, rect.x, rect.y), step_of(im), size_of(rect), &t)));
    *threshold = t;
    return ok;
}

// The 16-bit image is stretched linearly onto 0..255 through its whole
// extent, then measured by the 8-bit kernel. The measured area has the
// rectangle's size but sits at the rescaled image's top-left corner: results
// are kept identical to what callers of this operation have always seen.
int8_t otsu_16u(const img& im, const lum_rect& rect, int32_t* threshold) {
    // Library-owned temporaries, released by their destructors on every path;
    // one that could not be allocated stays uninitialised and stops its step.
    img stretched, narrowed;
    (void)stretched.init(im.width, im.height, lum_fmt_16u, im.channels, 16);
    (void)narrowed.init(im.width, im.height, lum_fmt_8u, im.channels, 8);

    uint16_t lowest[3] = {}, highest[3] = {};
    const lum_rect all = whole(im);
    LUM_CHECK(min_max(&im, &all, lowest, highest));
    if (lowest[0] == highest[0]) {  // nothing to separate: the value itself
        *threshold = lowest[0];
        return ok;
    }
    const double a = 255.0 / static_cast<double>(highest[0] - lowest[0]);
    const double b = -static_cast<double>(lowest[0]) * a;

    LUM_CHECK(require_initialised(&im, &stretched));
    if (im.width > stretched.width || im.height > stretched.height) return beyond_image;
    const prim::Size samples{im.width * static_cast<int32_t>(im.channels), im.height};
    LUM_CHECK(map_status(prim::scale_16u16u_c1r(static_cast<const uint16_t*>(im.frame_buf), step_of(im),
                                                static_cast<uint16_t*>(stretched.frame_buf), step_of(stretched),
                                                samples, a, b)));

    LUM_CHECK(require_initialised(&stretched, &narrowed));
    if (stretched.channels != narrowed.channels) return bad_channels;
    LUM_CHECK(map_status(prim::convert_16u8u_c1r(static_cast<const uint16_t*>(stretched.frame_buf),
                                                 step_of(stretched), static_cast<uint8_t*>(narrowed.frame_buf),
                                                 step_of(narrowed), samples)));

    uint8_t t8 = 0;
    LUM_CHECK(map_status(prim::otsu_threshold_8u_c1(static_cast<const uint8_t*>(narrowed.frame_buf),
                                                    step_of(narrowed), size_of(rect), &t8)));
    *threshold = static_cast<int32_t>((static_cast<double>(t8) - b) / a);
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
        case lum_fmt_16u: return otsu_16u(im, *rect, threshold);
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
