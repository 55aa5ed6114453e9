// Copies and channel moves: whole-image and rectangle copies, a grey image
// into one channel of a colour image, split into planes, merge from planes and
// in-place channel reordering.
#include "color/copy.hpp"

#include "image/call_frame.hpp"
#include "primitives/channels.hpp"
#include "primitives/fill.hpp"

namespace lum {

namespace {

// -7 for a negative origin, -2 when origin + size leaves the image.
int8_t check_origin(const img& image, lum_point origin, lum_size size) {
    if (origin.x < 0 || origin.y < 0) return out_of_range;
    if (static_cast<int64_t>(origin.x) + size.width > image.width ||
        static_cast<int64_t>(origin.y) + size.height > image.height)
        return beyond_image;
    return ok;
}

}  // namespace

int8_t copy_rect(const img* src, lum_point so, img* dst, lum_point dp, lum_size size) {
    LUM_CHECK(require_initialised(src));
    if (so.x < 0 || so.y < 0 || size.width < 1 || size.height < 1) return out_of_range;
    LUM_CHECK(check_origin(*src, so, size));
    LUM_CHECK(require_initialised(dst));
    LUM_CHECK(check_origin(*dst, dp, size));
    if (src->channels != dst->channels || src->pix_type != dst->pix_type) return mismatch;
    if (src->channels != lum_gray && src->channels != lum_color) return bad_channels;
    // The bounds come before the format: a held 16s image is refused with -2 or -1 in that order.
    if (bytes_per_sample(src->pix_type) != 0 &&
        (!region_fits(*src, so.x, so.y, size.width, size.height) ||
         !region_fits(*dst, dp.x, dp.y, size.width, size.height)))
        return beyond_image;
    // Samples are copied as bytes whatever their type.
    return with_sample_type<uint8_t, uint16_t, float>(src->pix_type, [&]<class T>() -> int8_t {
        const prim::Size bytes{size.width * int(src->channels) * int(sizeof(T)), size.height};
        return map_status(prim::copy_bytes(pixel_at<const uint8_t>(*src, so.x, so.y), step_of(*src),
                                           pixel_at<uint8_t>(*dst, dp.x, dp.y), step_of(*dst), bytes));
    });
}

namespace {

int8_t copy_whole(const img* src, img* dst) {
    // Layout is compared before initialisation: two empty records agree and
    // then fail in the rectangle copy with -64.
    if (src->channels != dst->channels || src->pix_type != dst->pix_type || src->width != dst->width ||
        src->height != dst->height)
        return mismatch;
    return copy_rect(src, {0, 0}, dst, {0, 0}, {src->width, src->height});
}

int8_t gray_into_channel(const img* grey, img* colour, int32_t channel) {
    LUM_CHECK(require_initialised(grey));
    if (grey->channels != lum_gray || grey->pix_type != lum_fmt_8u) return bad_format;
    LUM_CHECK(require_initialised(colour));
    if (colour->channels != lum_color || colour->pix_type != lum_fmt_8u) return bad_format;
    if (static_cast<uint32_t>(channel) > 2u) return out_of_range;
    // Sizes are not compared; the grey image's extent must still land inside the colour buffer.
    if (!whole_fits(*grey) ||
        !span_fits(*colour, channel, grey->height, colour->step_bytes, 3 * int64_t(grey->width) - 2))
        return beyond_image;
    return map_status(prim::copy_to_channel<uint8_t>(pixel_at<const uint8_t>(*grey, 0, 0), step_of(*grey),
                                                     pixel_at<uint8_t>(*colour, 0, 0) + channel, step_of(*colour),
                                                     size_of(*grey)));
}

// One plane of the split or merge: initialised, grey, of the colour image's format.
int8_t check_plane(const img* plane, int32_t format) {
    LUM_CHECK(require_initialised(plane));
    return plane->channels == lum_gray && plane->pix_type == format ? ok : bad_format;
}

// The planes and the colour image of a split or merge, in the order they are
// checked; every plane is walked with plane 0's step over the colour image's size.
template <class T>
int8_t check_planes(const img& colour, const img* const (&planes)[3]) {
    for (const img* p : planes) LUM_CHECK(check_plane(p, colour.pix_type));
    for (const img* p : planes)
        if (!span_fits(*p, 0, colour.height, planes[0]->step_bytes, int64_t(colour.width) * sizeof(T)))
            return beyond_image;
    return whole_fits(colour) ? ok : beyond_image;
}

int8_t split(const img* colour, img* p0, img* p1, img* p2) {
    LUM_CHECK(require_initialised(colour));
    if (colour->channels != lum_color) return bad_format;
    return with_sample_type<uint8_t, uint16_t>(colour->pix_type, [&]<class T>() -> int8_t {
        LUM_CHECK(check_planes<T>(*colour, {p0, p1, p2}));
        T* const planes[3] = {pixel_at<T>(*p0, 0, 0), pixel_at<T>(*p1, 0, 0), pixel_at<T>(*p2, 0, 0)};
        return map_status(prim::split_channels<T>(pixel_at<const T>(*colour, 0, 0), step_of(*colour), planes,
                                                  step_of(*p0), size_of(*colour)));
    });
}

int8_t merge(const img* p0, const img* p1, const img* p2, img* colour) {
    LUM_CHECK(require_initialised(colour));
    if (colour->channels != lum_color) return bad_format;
    return with_sample_type<uint8_t, uint16_t>(colour->pix_type, [&]<class T>() -> int8_t {
        LUM_CHECK(check_planes<T>(*colour, {p0, p1, p2}));
        const T* const planes[3] = {pixel_at<const T>(*p0, 0, 0), pixel_at<const T>(*p1, 0, 0),
                                    pixel_at<const T>(*p2, 0, 0)};
        return map_status(prim::merge_channels<T>(planes, step_of(*p0), pixel_at<T>(*colour, 0, 0), step_of(*colour),
                                                  size_of(*colour)));
    });
}

int8_t swap_channels(img* image, const int32_t* order) {
    LUM_CHECK(require_initialised(image));
    if (image->channels != lum_color || image->pix_type != lum_fmt_8u) return bad_format;
    if (!whole_fits(*image)) return beyond_image;
    return map_status(
        prim::swap_channels<uint8_t>(pixel_at<uint8_t>(*image, 0, 0), step_of(*image), size_of(*image), order));
}

}  // namespace
}  // namespace lum

using lum::with_images;

extern "C" {

LUM_API int8_t lum_copy(int32_t source, int32_t destination) {
    return with_images({source, destination}, [](img* s, img* d) { return lum::copy_whole(s, d); });
}

LUM_API int8_t lum_copy_rect(int32_t source, lum_point source_origin, int32_t destination,
                             lum_point destination_origin, lum_size size) {
    return with_images({source, destination},
                       [&](img* s, img* d) { return lum::copy_rect(s, source_origin, d, destination_origin, size); });
}

LUM_API int8_t lum_copy_gray2color(int32_t grey, int32_t colour, int32_t channel) {
    return with_images({grey, colour}, [&](img* g, img* c) { return lum::gray_into_channel(g, c, channel); });
}

LUM_API int8_t lum_copy_color2channels(int32_t colour, int32_t plane0, int32_t plane1, int32_t plane2) {
    return with_images({colour, plane0, plane1, plane2}, [](img* c, img* a, img* b, img* d) { return lum::split(c, a, b, d); });
}

LUM_API int8_t lum_copy_channels2color(int32_t plane0, int32_t plane1, int32_t plane2, int32_t colour) {
    return with_images({plane0, plane1, plane2, colour}, [](img* a, img* b, img* d, img* c) { return lum::merge(a, b, d, c); });
}

LUM_API int8_t lum_swap_channels(int32_t image, const int32_t* order) {
    return with_images({image}, [&](img* im) { return lum::swap_channels(im, order); });
}

}  // extern "C"
