// Mirror: flips an image, or a rectangle of it, in place about its horizontal
// axis, its vertical axis or both. The axis code goes to the kernel unchecked.
#include "image/call_frame.hpp"
#include "primitives/mirror.hpp"

namespace lum {

namespace {

int8_t mirror(img* image, int32_t axis, const lum_rect* rect) {
    LUM_CHECK(require_initialised(image));
    LUM_CHECK(check_rect(*image, rect));
    const lum_rect r = *rect;
    if (image->channels != lum_gray && image->channels != lum_color) return bad_format;
    if (bytes_per_sample(image->pix_type) != 0 && !region_fits(*image, r.x, r.y, r.width, r.height))
        return beyond_image;
    return with_sample_type<uint8_t, uint16_t, float>(image->pix_type, [&]<class T>() -> int8_t {
        return map_status(
            prim::mirror<T>(pixel_at<T>(*image, r.x, r.y), step_of(*image), size_of(r), int(image->channels), axis));
    });
}

}  // namespace
}  // namespace lum

extern "C" {

LUM_API int8_t lum_mirrorI(int32_t image, int32_t axis) {
    return lum::with_images({image}, [&](img* im) {
        const lum_rect r = lum::whole(*im);
        return lum::mirror(im, axis, &r);
    });
}

LUM_API int8_t lum_mirrorI_rect(int32_t image, int32_t axis, const lum_rect* rect) {
    return lum::with_images({image}, [&](img* im) { return lum::mirror(im, axis, rect); });
}

}  // extern "C"
