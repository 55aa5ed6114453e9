// The C interface of image life and access: create, destroy, initialise,
// describe, clear, and single-pixel reads and writes by handle.
#include "image/call_frame.hpp"

using lum::with_images;

extern "C" {

LUM_API int32_t lum_create_image(void) { return lum::registry::create(); }

LUM_API int8_t lum_destroy_image(int32_t image) {
    const int8_t status = with_images({image}, [](img*) { return lum::ok; });
    return status != 0 ? status : lum::registry::destroy(image);
}

LUM_API int8_t lum_init_image(int32_t image, int32_t width, int32_t height, lum_data_format format,
                              lum_channels channels, int32_t valid_bits) {
    return with_images({image}, [&](img* im) { return im->init(width, height, format, channels, valid_bits); });
}

LUM_API int8_t lum_init_image_ex(int32_t image, const lum_info* info) {
    return with_images({image}, [&](img* im) { return im->init_ext(info); });
}

LUM_API int8_t lum_get_info(int32_t image, lum_info* info) {
    return with_images({image}, [&](img* im) {
        im->get_info(info);
        return lum::ok;
    });
}

LUM_API void* lum_get_buf(int32_t image) {
    // A negative handle is not tested here: the checked lookup throws for it.
    if (image >= lum::registry::slot_count()) return nullptr;
    const img* im = lum::registry::at(image);
    return im ? im->frame_buf : nullptr;
}

LUM_API int32_t lum_get_data_byte(int32_t image) {
    return with_images<int32_t>({image}, [](img* im) { return static_cast<int32_t>(im->get_1px_bytes()); });
}

LUM_API int8_t lum_set_physical_size(int32_t image, float width, float height) {
    return with_images({image}, [&](img* im) { return im->set_physical_size(width, height); });
}

namespace {
// One column and one row past the image are admitted on purpose (greater-than).
// The library's own buffers carry a slack row for them; on a caller's buffer a
// pixel whose bytes would leave its rows × step bytes is refused with -2.
int8_t check_pixel_position(const img& im, lum_point p) {
    if (p.x < 0 || p.x > im.width || p.y < 0 || p.y > im.height) return lum::out_of_range;
    if (im.ownership != 2) return lum::ok;
    const bool integer = (im.pix_type == lum_fmt_8u || im.pix_type == lum_fmt_16u) &&
                         (im.channels == lum_gray || im.channels == lum_color);
    const bool one_float = im.pix_type == lum_fmt_32f && im.channels == lum_gray;
    if (!integer && !one_float) return lum::ok;  // nothing is copied, or the layout is refused
    const int64_t pixel = lum::bytes_per_pixel(im);
    const int64_t offset = int64_t{p.y} * im.step_bytes + int64_t{p.x} * pixel;
    return lum::span_fits(im, offset, 1, im.step_bytes, pixel) ? lum::ok : lum::beyond_image;
}
}  // namespace

LUM_API int8_t lum_get_one_pixel(int32_t image, lum_point position, void* value) {
    return with_images({image}, [&](img* im) -> int8_t {
        LUM_CHECK(check_pixel_position(*im, position));
        return im->get_px_value(position.x, position.y, value);
    });
}

LUM_API int8_t lum_set_one_pixel(int32_t image, lum_point position, const void* value) {
    return with_images({image}, [&](img* im) -> int8_t {
        LUM_CHECK(check_pixel_position(*im, position));
        return im->set_px_value(position.x, position.y, value);
    });
}

LUM_API int8_t lum_clear(int32_t image) {
    return with_images({image}, [](img* im) {
        im->clear_data();
        return lum::ok;
    });
}

}  // extern "C"
