// Image statistics by handle: sum, minimum and maximum, mean and standard
// deviation over the image or a rectangle, and the pixel-wise larger and
// smaller of two images written into a third.
#include "measure/stats.hpp"

#include "primitives/arith.hpp"
#include "primitives/stats.hpp"

namespace lum::measure {

namespace {

// Initialised, then the rectangle (-7 / -2).
int8_t check_image_rect(const img* image, const lum_rect* rect) {
    LUM_CHECK(require_initialised(image));
    return check_rect(*image, rect);
}

int8_t sum(const img* image, const lum_rect* area, double* total) {
    LUM_CHECK(check_image_rect(image, area));
    const lum_rect& rect = *area;
    const img& im = *image;
    // Each row is read as width one-channel samples whatever the channel
    // count: callers sum one-channel images, and a colour image keeps
    // contributing the first width samples of its rows as it always has.
    if (!span_fits(im, int64_t{rect.y} * im.step_bytes + int64_t{rect.x} * bytes_per_pixel(im), rect.height,
                   im.step_bytes, int64_t{rect.width} * bytes_per_sample(im.pix_type)))
        return beyond_image;
    return with_sample_type<uint8_t, uint16_t, float>(im.pix_type, [&]<class T>() -> int8_t {
        return map_status(prim::sum<T>(pixel_at<const T>(im, rect.x, rect.y), step_of(im), size_of(rect), total));
    });
}

int8_t mean_stddev(const img* image, const lum_rect* area, double* mean, double* stddev) {
    LUM_CHECK(check_image_rect(image, area));
    const lum_rect& rect = *area;
    if (!mean || !stddev) return out_of_range;
    const img& im = *image;
    return with_sample_type<uint8_t, uint16_t, float>(im.pix_type, [&]<class T>() -> int8_t {
        if (im.channels != lum_gray) return bad_channels;
        if (!region_fits(im, rect.x, rect.y, rect.width, rect.height)) return beyond_image;
        return map_status(
            prim::mean_stddev<T>(pixel_at<const T>(im, rect.x, rect.y), step_of(im), size_of(rect), mean, stddev));
    });
}

// Larger (or smaller) of first and second into destination, over the first
// image's size, each image walked with its own step.
template <class Op>
int8_t pick_every(const img* first, const img* second, const img* destination) {
    LUM_CHECK(require_initialised(first, second, destination));
    LUM_CHECK(require_same_layout(*first, *second));
    LUM_CHECK(require_same_layout(*second, *destination));
    const img &a = *first, &b = *second, &d = *destination;
    // 16-bit signed and float images: nothing to do, and that is a success.
    if (a.pix_type == lum_fmt_16s || a.pix_type == lum_fmt_32f) return ok;
    return with_sample_type<uint8_t, uint16_t>(a.pix_type, [&]<class T>() -> int8_t {
        if (a.channels != lum_gray) return bad_channels;
        if (!whole_fits(a) || !whole_fits(b) || !whole_fits(d)) return beyond_image;
        return map_status(prim::binary<T, Op>(static_cast<const T*>(a.frame_buf), step_of(a),
                                              static_cast<const T*>(b.frame_buf), step_of(b),
                                              static_cast<T*>(d.frame_buf), step_of(d), size_of(a)));
    });
}

}  // namespace

int8_t min_max(const img* image, const lum_rect* area, void* minimum, void* maximum) {
    LUM_CHECK(check_image_rect(image, area));
    const lum_rect& rect = *area;
    if (!minimum || !maximum) return out_of_range;
    const img& im = *image;
    if ((im.channels == lum_gray || im.channels == lum_color) && !region_fits(im, rect.x, rect.y, rect.width, rect.height))
        return beyond_image;
    return with_sample_type<uint8_t, uint16_t, float>(im.pix_type, [&]<class T>() -> int8_t {
        if (im.channels != lum_gray && im.channels != lum_color) return bad_channels;
        const int channels = static_cast<int>(im.channels);
        return map_status(prim::min_max<T>(pixel_at<const T>(im, rect.x, rect.y), step_of(im), size_of(rect), channels,
                                           static_cast<T*>(minimum), static_cast<T*>(maximum)));
    });
}

}  // namespace lum::measure

using lum::with_images;
namespace measure = lum::measure;

extern "C" {

LUM_API int8_t lum_sum(int32_t image, double* sum) {
    return with_images({image}, [&](img* im) {
        const lum_rect all = lum::whole(*im);
        return measure::sum(im, &all, sum);
    });
}

LUM_API int8_t lum_sum_rect(int32_t image, const lum_rect* rect, double* sum) {
    return with_images({image}, [&](img* im) { return measure::sum(im, rect, sum);
    });
}

LUM_API int8_t lum_img_min_max(int32_t image, void* minimum, void* maximum) {
    return with_images({image}, [&](img* im) {
        const lum_rect all = lum::whole(*im);
        return measure::min_max(im, &all, minimum, maximum);
    });
}

LUM_API int8_t lum_img_min_max_rect(int32_t image, const lum_rect* rect, void* minimum, void* maximum) {
    return with_images({image}, [&](img* im) { return measure::min_max(im, rect, minimum, maximum);
    });
}

LUM_API int8_t lum_img_mean_stddev(int32_t image, double* mean, double* stddev) {
    return with_images({image}, [&](img* im) {
        const lum_rect all = lum::whole(*im);
        return measure::mean_stddev(im, &all, mean, stddev);
    });
}

LUM_API int8_t lum_img_mean_stddev_rect(int32_t image, const lum_rect* rect, double* mean, double* stddev) {
    return with_images({image}, [&](img* im) { return measure::mean_stddev(im, rect, mean, stddev);
    });
}

LUM_API int8_t lum_img_max_every(int32_t first, int32_t second, int32_t destination) {
    return with_images({first, second, destination}, [](img* a, img* b, img* d) {
        return measure::pick_every<lum::prim::op::max>(a, b, d);
    });
}

LUM_API int8_t lum_img_min_every(int32_t first, int32_t second, int32_t destination) {
    return with_images({first, second, destination}, [](img* a, img* b, img* d) {
        return measure::pick_every<lum::prim::op::min>(a, b, d);
    });
}

}  // extern "C"
