// Image statistics by handle: sum, minimum and maximum, mean and standard
// deviation over the image or a rectangle, and the pixel-wise larger and
// smaller of two images written into a third.
#include "measure/stats.hpp"

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
    const int step = step_of(im);
    // Each row is read as width one-channel samples whatever the channel
    // count: callers sum one-channel images, and a colour image keeps
    // contributing the first width samples of its rows as it always has.
    if (!span_fits(im, int64_t{rect.y} * im.step_bytes + int64_t{rect.x} * bytes_per_pixel(im), rect.height,
                   im.step_bytes, int64_t{rect.width} * bytes_per_sample(im.pix_type)))
        return beyond_image;
    switch (im.pix_type) {
        case lum_fmt_8u:
            return map_status(prim::sum_8u_c1(pixel_at<uint8_t>(im, rect.x, rect.y), step, size_of(rect), total));
        case lum_fmt_16u:
            return map_status(prim::sum_16u_c1(pixel_at<uint16_t>(im, rect.x, rect.y), step, size_of(rect), total));
        case lum_fmt_32f:
            return map_status(prim::sum_32f_c1(pixel_at<float>(im, rect.x, rect.y), step, size_of(rect), total));
        default:
            return bad_format;
    }
}

template <class T, class C1, class C3>
int8_t min_max_of(const img& im, const lum_rect& rect, void* minimum, void* maximum, const C1& c1, const C3& c3) {
    const T* src = pixel_at<T>(im, rect.x, rect.y);
    auto* lo = static_cast<T*>(minimum);
    auto* hi = static_cast<T*>(maximum);
    switch (im.channels) {
        case lum_gray: return map_status(c1(src, step_of(im), size_of(rect), lo, hi));
        case lum_color: return map_status(c3(src, step_of(im), size_of(rect), lo, hi));
        default: return bad_channels;
    }
}

int8_t mean_stddev(const img* image, const lum_rect* area, double* mean, double* stddev) {
    LUM_CHECK(check_image_rect(image, area));
    const lum_rect& rect = *area;
    if (!mean || !stddev) return out_of_range;
    const img& im = *image;
    if (im.pix_type != lum_fmt_8u && im.pix_type != lum_fmt_16u && im.pix_type != lum_fmt_32f) return bad_format;
    if (im.channels != lum_gray) return bad_channels;
    if (!region_fits(im, rect.x, rect.y, rect.width, rect.height)) return beyond_image;
    const int step = step_of(im);
    const prim::Size size = size_of(rect);
    switch (im.pix_type) {
        case lum_fmt_8u:
            return map_status(prim::mean_stddev_8u_c1(pixel_at<uint8_t>(im, rect.x, rect.y), step, size, mean, stddev));
        case lum_fmt_16u:
            return map_status(
                prim::mean_stddev_16u_c1(pixel_at<uint16_t>(im, rect.x, rect.y), step, size, mean, stddev));
        default:
            return map_status(prim::mean_stddev_32f_c1(pixel_at<float>(im, rect.x, rect.y), step, size, mean, stddev));
    }
}

// Larger (or smaller) of first and second into destination, over the first
// image's size, each image walked with its own step.
template <class K8, class K16>
int8_t pick_every(const img* first, const img* second, const img* destination, const K8& k8, const K16& k16) {
    LUM_CHECK(require_initialised(first, second, destination));
    LUM_CHECK(require_same_layout(*first, *second));
    LUM_CHECK(require_same_layout(*second, *destination));
    const img &a = *first, &b = *second, &d = *destination;
    switch (a.pix_type) {
        case lum_fmt_8u:
        case lum_fmt_16u:
            if (a.channels != lum_gray) return bad_channels;
            break;
        case lum_fmt_16s:
        case lum_fmt_32f:
            return ok;  // nothing to do for these formats, and that is a success
        default:
            return bad_format;
    }
    if (!whole_fits(a) || !whole_fits(b) || !whole_fits(d)) return beyond_image;
    if (a.pix_type == lum_fmt_8u)
        return map_status(k8(static_cast<const uint8_t*>(a.frame_buf), step_of(a),
                             static_cast<const uint8_t*>(b.frame_buf), step_of(b),
                             static_cast<uint8_t*>(d.frame_buf), step_of(d), size_of(a)));
    return map_status(k16(static_cast<const uint16_t*>(a.frame_buf), step_of(a),
                          static_cast<const uint16_t*>(b.frame_buf), step_of(b),
                          static_cast<uint16_t*>(d.frame_buf), step_of(d), size_of(a)));
}

}  // namespace

int8_t min_max(const img* image, const lum_rect* area, void* minimum, void* maximum) {
    LUM_CHECK(check_image_rect(image, area));
    const lum_rect& rect = *area;
    if (!minimum || !maximum) return out_of_range;
    const img& im = *image;
    if ((im.channels == lum_gray || im.channels == lum_color) && !region_fits(im, rect.x, rect.y, rect.width, rect.height))
        return beyond_image;
    switch (im.pix_type) {
        case lum_fmt_8u:
            return min_max_of<uint8_t>(im, rect, minimum, maximum, prim::min_max_8u_c1, prim::min_max_8u_c3);
        case lum_fmt_16u:
            return min_max_of<uint16_t>(im, rect, minimum, maximum, prim::min_max_16u_c1, prim::min_max_16u_c3);
        case lum_fmt_32f:
            return min_max_of<float>(im, rect, minimum, maximum, prim::min_max_32f_c1, prim::min_max_32f_c3);
        default:
            return bad_format;
    }
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
        return measure::pick_every(a, b, d, lum::prim::max_8u_c1, lum::prim::max_16u_c1);
    });
}

LUM_API int8_t lum_img_min_every(int32_t first, int32_t second, int32_t destination) {
    return with_images({first, second, destination}, [](img* a, img* b, img* d) {
        return measure::pick_every(a, b, d, lum::prim::min_8u_c1, lum::prim::min_16u_c1);
    });
}

}  // extern "C"
