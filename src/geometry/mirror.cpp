// Mirror: flips an image, or a rectangle of it, in place about its horizontal
// axis, its vertical axis or both. The axis code goes to the kernel unchecked.
#include "image/call_frame.hpp"
#include "primitives/mirror.hpp"

namespace lum {

namespace {

template <class T, class Kernel>
int flip_with(Kernel& kernel, img& image, const lum_rect& r, int32_t axis) {
    return kernel(pixel_at<T>(image, r.x, r.y), step_of(image), size_of(r), axis);
}

int8_t mirror(img* image, int32_t axis, const lum_rect* rect) {
    LUM_CHECK(require_initialised(image));
    LUM_CHECK(check_rect(*image, rect));
    const lum_rect r = *rect;
    const bool one = image->channels == lum_gray;
    if (!one && image->channels != lum_color) return bad_format;
    if (bytes_per_sample(image->pix_type) != 0 && !region_fits(*image, r.x, r.y, r.width, r.height))
        return beyond_image;
    switch (image->pix_type) {
        case lum_fmt_8u:
            return map_status(one ? flip_with<uint8_t>(prim::mirror_8u_c1ir, *image, r, axis)
                                  : flip_with<uint8_t>(prim::mirror_8u_c3ir, *image, r, axis));
        case lum_fmt_16u:
            return map_status(one ? flip_with<uint16_t>(prim::mirror_16u_c1ir, *image, r, axis)
                                  : flip_with<uint16_t>(prim::mirror_16u_c3ir, *image, r, axis));
        case lum_fmt_32f:
            return map_status(one ? flip_with<float>(prim::mirror_32f_c1ir, *image, r, axis)
                                  : flip_with<float>(prim::mirror_32f_c3ir, *image, r, axis));
        default:
            return bad_format;
    }
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
