// Uniform histogram of a one-channel image or rectangle by handle: bins
// spaced evenly from lower to upper, counted into the caller's array.
#include "image/call_frame.hpp"
#include "primitives/histogram.hpp"

namespace lum::measure {

namespace {

int8_t histogram(const img* image, const lum_rect* rect, float lower, float upper, uint32_t* counts, int32_t bins) {
    LUM_CHECK(require_initialised(image));
    LUM_CHECK(check_rect(*image, rect));
    const img& im = *image;
    if (im.channels != lum_gray) return bad_format;
    if (!counts || bins == 0 || lower >= upper) return out_of_range;
    // A negative bin count is left to the primitive layer, which refuses it.
    const int levels = bins < 0 ? bins : bins == INT32_MAX ? -1 : bins + 1;
    const int type = im.pix_type >= lum_fmt_8u && im.pix_type <= lum_fmt_32f ? im.pix_type : 0;
    const prim::Size size = size_of(*rect);

    int spec_bytes = 0, buffer_bytes = 0;
    LUM_CHECK(map_status(prim::histogram_get_size(type, size, levels, &spec_bytes, &buffer_bytes)));
    const auto spec = make_scratch<uint8_t>(spec_bytes);
    const auto buffer = make_scratch<uint8_t>(buffer_bytes);
    if (!spec || !buffer) return no_memory;
    LUM_CHECK(map_status(prim::histogram_init_uniform(type, lower, upper, levels, spec.get())));

    const int step = step_of(im);
    const bool counted = im.pix_type == lum_fmt_8u || im.pix_type == lum_fmt_16u || im.pix_type == lum_fmt_32f;
    if (counted && !region_fits(im, rect->x, rect->y, rect->width, rect->height)) return beyond_image;
    switch (im.pix_type) {
        case lum_fmt_8u:
            return map_status(prim::histogram_8u_c1(pixel_at<uint8_t>(im, rect->x, rect->y), step, size, counts,
                                                    spec.get(), buffer.get()));
        case lum_fmt_16u:
            return map_status(prim::histogram_16u_c1(pixel_at<uint16_t>(im, rect->x, rect->y), step, size, counts,
                                                     spec.get(), buffer.get()));
        case lum_fmt_32f:
            return map_status(prim::histogram_32f_c1(pixel_at<float>(im, rect->x, rect->y), step, size, counts,
                                                     spec.get(), buffer.get()));
        default:
            return bad_format;
    }
}

}  // namespace

}  // namespace lum::measure

extern "C" {

LUM_API int8_t lum_histogram(int32_t image, float lower, float upper, uint32_t* counts, int32_t bins) {
    return lum::with_images({image}, [&](img* im) {
        const lum_rect all = lum::whole(*im);
        return lum::measure::histogram(im, &all, lower, upper, counts, bins);
    });
}

LUM_API int8_t lum_histogram_rect(int32_t image, const lum_rect* rect, float lower, float upper, uint32_t* counts,
                                  int32_t bins) {
    return lum::with_images({image},
                            [&](img* im) { return lum::measure::histogram(im, rect, lower, upper, counts, bins); });
}

}  // extern "C"
