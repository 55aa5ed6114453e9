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
// extent, then measured by the 8-bit rule. The measured area has the
// rectangle's size but sits at the top-left corner: results are kept
// identical to what callers of this operation have always seen. Instead of
// stretching and narrowing the whole image, the values of the area are
// counted once and each value present goes through the same scaling and
// narrowing kernels as a table, which gives the same 8-bit counts.
int8_t otsu_16u(const img& im, const lum_rect& rect, int32_t* threshold) {
    const auto counts = make_scratch<uint32_t>(65536);
    const auto work = make_scratch<uint8_t>(prim::value_count_work_bytes<uint16_t>());
    const uint16_t* samples = static_cast<const uint16_t*>(im.frame_buf);
    // A rectangle of the whole image's size is counted once: its counts also
    // give the extremes.
    const bool whole_area = rect.width == im.width && rect.height == im.height && counts && work;
    uint16_t lowest[3] = {}, highest[3] = {};
    if (whole_area) {
        if (!region_fits(im, 0, 0, im.width, im.height)) return beyond_image;
        LUM_CHECK(map_status(prim::count_values<uint16_t>(samples, step_of(im), size_of(im), counts.get(), work.get())));
        int v = 0;
        while (counts[v] == 0) ++v;
        lowest[0] = static_cast<uint16_t>(v);
        for (v = 65535; counts[v] == 0; --v) {
        }
        highest[0] = static_cast<uint16_t>(v);
    } else {
        const lum_rect all = whole(im);
        LUM_CHECK(min_max(&im, &all, lowest, highest));
    }
    if (lowest[0] == highest[0]) {  // nothing to separate: the value itself
        *threshold = lowest[0];
        return ok;
    }
    const double a = 255.0 / static_cast<double>(highest[0] - lowest[0]);
    const double b = -static_cast<double>(lowest[0]) * a;

    // Scratch that cannot be had ends the operation as an uninitialised temporary image would.
    const int values = highest[0] - lowest[0] + 1;
    const auto stretched = make_scratch<uint16_t>(2 * int64_t{values});
    const auto narrowed = make_scratch<uint8_t>(values);
    if (!counts || !work || !stretched || !narrowed) return not_initialised;
    uint16_t* ramp = stretched.get() + values;
    for (int v = 0; v < values; ++v) ramp[v] = static_cast<uint16_t>(lowest[0] + v);
    const prim::Size line{values, 1};
    LUM_CHECK(map_status(prim::scale<uint16_t, uint16_t>(ramp, 2 * values, stretched.get(), 2 * values, line, a, b)));
    LUM_CHECK(map_status(prim::convert<uint16_t, uint8_t>(stretched.get(), 2 * values, narrowed.get(), values, line,
                                                               prim::round_nearest)));

    // Every sample lies between the extremes, so each has its table entry.
    if (!whole_area)
        LUM_CHECK(map_status(
            prim::count_values<uint16_t>(samples, step_of(im), size_of(rect), counts.get(), work.get())));
    uint32_t h[256] = {};
    for (int v = 0; v < values; ++v) h[narrowed[v]] += counts[lowest[0] + v];
    const uint8_t t8 = prim::otsu_threshold_of(h);
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
