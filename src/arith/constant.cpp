// Arithmetic of an image and a constant: add or multiply in place over the
// image or a rectangle of it (then clamped to the valid bits over the whole
// image), and subtract a constant into a second image.
#include <cstring>

#include "arith/clamp.hpp"
#include "primitives/arith.hpp"
#include "primitives/arith_const.hpp"

namespace lum {

namespace {

enum class in_place_op { add, multiply };

// Reads the caller's one sample of type T; a missing value is reported by the
// kernel's own null-pointer status.
template <class T>
bool read_value(const void* value, T& out) {
    if (!value) return false;
    std::memcpy(&out, value, sizeof(T));
    return true;
}

// Samples of the region raised by the caller's value (or multiplied by its
// factors) and lowered to `top` in the same pass.
int add_constant(const img& im, void* region, const prim::Size z, const void* value, uint32_t top) {
    return with_sample_type<uint8_t, uint16_t>(im.pix_type, [&]<class T>() -> int {
        T v = 0;
        if (!read_value(value, v)) return prim::st_null;
        auto* p = static_cast<T*>(region);
        const prim::Size samples{z.width * int(im.channels), z.height};
        return prim::constant_clamped<T, prim::op::add>(p, step_of(im), p, step_of(im), samples, &v, 1,
                                                        static_cast<T>(top));
    });
}

int multiply_constant(const img& im, void* region, const prim::Size z, const void* value, uint32_t top) {
    return with_sample_type<uint8_t, uint16_t, float>(im.pix_type, [&]<class T>() -> int {
        prim::multiply_plan plan;
        if (const int e = prim::plan_multiply<T>(value, im.channels, top, nullptr, plan)) return e;
        auto* p = static_cast<T*>(region);
        const prim::Size samples{z.width * int(im.channels), z.height};
        return prim::multiply<T>(p, step_of(im), p, step_of(im), samples, &plan);
    });
}

int8_t constant_in_place(img* im, const void* value, const lum_rect* rect, in_place_op op) {
    LUM_CHECK(require_initialised(im));
    LUM_CHECK(check_rect(*im, rect));
    const lum_rect r = *rect;
    const uint16_t mask = valid_bits_mask(*im);
    const int format = im->pix_type;
    const bool integer = format == lum_fmt_8u || format == lum_fmt_16u;
    if (!integer && !(op == in_place_op::multiply && format == lum_fmt_32f)) return bad_format;
    if (im->channels != lum_gray && im->channels != lum_color) return bad_channels;
    if (!integer && im->channels != lum_gray) return bad_channels;
    if (!region_fits(*im, r.x, r.y, r.width, r.height)) return beyond_image;
    void* region = im->get_ptr_at_position({r.x, r.y});
    // The clamp runs over the whole image: it joins the pass when the rectangle is the whole image.
    const bool whole_image = r.x == 0 && r.y == 0 && r.width == im->width && r.height == im->height;
    const bool fused = integer && whole_image && clamp_fuses(*im, mask);
    const uint32_t highest = format == lum_fmt_8u ? 255u : 65535u;
    const uint32_t top = fused && mask < highest ? mask : highest;
    const int status = op == in_place_op::add ? add_constant(*im, region, size_of(r), value, top)
                                              : multiply_constant(*im, region, size_of(r), value, top);
    LUM_CHECK(map_status(status));
    return integer && !fused ? clamp_to_valid_bits(*im, mask) : int8_t(ok);
}

int8_t subtract_constant(img* src, img* dst, const void* value) {
    LUM_CHECK(require_initialised(src, dst));
    LUM_CHECK(require_same_layout(*src, *dst));
    return with_sample_type<uint8_t, uint16_t>(src->pix_type, [&]<class T>() -> int8_t {
        if (src->channels != lum_gray && src->channels != lum_color) return bad_channels;
        if (!whole_fits(*src) || !whole_fits(*dst)) return beyond_image;
        T v = 0;
        if (!read_value(value, v)) return map_status(prim::st_null);
        const prim::Size samples{src->width * int(src->channels), src->height};
        return map_status(prim::constant<T, prim::op::sub>(static_cast<const T*>(src->frame_buf), step_of(*src),
                                                          static_cast<T*>(dst->frame_buf), step_of(*dst), samples,
                                                          &v, 1));
    });
}

}  // namespace

}  // namespace lum

using lum::with_images;

extern "C" {

LUM_API int8_t lum_addCI(int32_t image, const void* value) {
    return with_images({image}, [&](img* im) {
        const lum_rect r = lum::whole(*im);
        return lum::constant_in_place(im, value, &r, lum::in_place_op::add);
    });
}
LUM_API int8_t lum_addCI_rect(int32_t image, const void* value, const lum_rect* rect) {
    return with_images({image}, [&](img* im) { return lum::constant_in_place(im, value, rect, lum::in_place_op::add); });
}
LUM_API int8_t lum_mulCI(int32_t image, const void* value) {
    return with_images({image}, [&](img* im) {
        const lum_rect r = lum::whole(*im);
        return lum::constant_in_place(im, value, &r, lum::in_place_op::multiply);
    });
}
LUM_API int8_t lum_mulCI_rect(int32_t image, const void* value, const lum_rect* rect) {
    return with_images({image},
                       [&](img* im) { return lum::constant_in_place(im, value, rect, lum::in_place_op::multiply); });
}
LUM_API int8_t lum_subC(int32_t source, int32_t destination, const void* value) {
    return with_images({source, destination}, [&](img* s, img* d) { return lum::subtract_constant(s, d, value); });
}

}  // extern "C"
