// Colour conversion: colour to grey with equal weights, grey to colour, and
// the 3 x 4 colour twist in place and into a second image, with 16-bit results
// clamped to the image's valid bits.
#include "color/copy.hpp"
#include "image/call_frame.hpp"
#include "primitives/color.hpp"
#include "primitives/fill.hpp"

namespace lum {

namespace {

// The grey value is the plain mean of the three channels; callers cannot choose weights.
constexpr float kGreyWeights[3] = {1.0f / 3.0f, 1.0f / 3.0f, 1.0f / 3.0f};

int8_t color_to_gray(const img* src, img* dst) {
    LUM_CHECK(require_initialised(src));
    if (src->channels != lum_color) return bad_format;
    LUM_CHECK(require_initialised(dst));
    if (dst->channels != lum_gray) return bad_format;
    const int32_t format = src->pix_type;
    if (format != lum_fmt_8u && format != lum_fmt_16u) return bad_format;
    // The destination's size and format are the caller's promise; only its buffer bounds are enforced.
    const int bytes = bytes_per_sample(format);
    if (!whole_fits(*src) || !span_fits(*dst, 0, src->height, dst->step_bytes, int64_t(src->width) * bytes))
        return beyond_image;
    if (format == lum_fmt_8u)
        return map_status(prim::color_to_gray_8u_c3c1r(pixel_at<const uint8_t>(*src, 0, 0), step_of(*src),
                                                       pixel_at<uint8_t>(*dst, 0, 0), step_of(*dst), size_of(*src),
                                                       kGreyWeights));
    return map_status(prim::color_to_gray_16u_c3c1r(pixel_at<const uint16_t>(*src, 0, 0), step_of(*src),
                                                    pixel_at<uint16_t>(*dst, 0, 0), step_of(*dst), size_of(*src),
                                                    kGreyWeights));
}

int8_t gray_to_color(const img* src, img* dst) {
    LUM_CHECK(require_initialised(src));
    if (src->channels != lum_gray || src->pix_type != lum_fmt_8u) return bad_format;
    LUM_CHECK(require_initialised(dst));
    if (dst->channels != lum_color || dst->pix_type != lum_fmt_8u) return bad_format;
    if (!whole_fits(*src) || !span_fits(*dst, 0, src->height, dst->step_bytes, 3 * int64_t(src->width)))
        return beyond_image;
    return map_status(prim::gray_to_color_8u_c1c3r(pixel_at<const uint8_t>(*src, 0, 0), step_of(*src),
                                                   pixel_at<uint8_t>(*dst, 0, 0), step_of(*dst), size_of(*src)));
}

// Lowers every sample above the valid-bits maximum to it; nothing to do at 16 bits.
int8_t clamp_to_valid_bits(uint16_t* buffer, int step, prim::Size size, uint32_t valid_bits) {
    if (valid_bits == 16) return ok;
    const uint16_t top = static_cast<uint16_t>((1u << valid_bits) - 1);
    const uint16_t limits[3] = {top, top, top};
    return map_status(prim::threshold_gt_val_16u_c3ir(buffer, step, size, limits, limits));
}

int8_t twist_in_place(img* image, const float* matrix) {
    LUM_CHECK(require_initialised(image));
    if (image->channels != lum_color) return bad_format;
    if ((image->pix_type == lum_fmt_8u || image->pix_type == lum_fmt_16u) && !whole_fits(*image))
        return beyond_image;
    if (image->pix_type == lum_fmt_8u)
        return map_status(
            prim::color_twist_8u_c3ir(pixel_at<uint8_t>(*image, 0, 0), step_of(*image), size_of(*image), matrix));
    if (image->pix_type != lum_fmt_16u) return bad_format;
    auto* buffer = pixel_at<uint16_t>(*image, 0, 0);
    // A warning from the twist still lets the clamp run.
    if (map_status(prim::color_twist_16u_c3ir(buffer, step_of(*image), size_of(*image), matrix)) != ok)
        return primitive_failed;
    return clamp_to_valid_bits(buffer, step_of(*image), size_of(*image), image->valid_bits);
}

// Both regions use the source's step and size: the destination must share the source's layout.
int8_t twist(const img* src, img* dst, const float* matrix) {
    LUM_CHECK(require_initialised(src));
    if (src->channels != lum_color) return bad_format;
    LUM_CHECK(require_initialised(dst));
    if (dst->channels != lum_color) return bad_format;
    const int32_t format = src->pix_type;
    if (format != lum_fmt_8u && format != lum_fmt_16u) return bad_format;
    const int step = step_of(*src);
    if (!whole_fits(*src) ||
        !span_fits(*dst, 0, src->height, step, 3 * int64_t(src->width) * bytes_per_sample(format)))
        return beyond_image;
    if (format == lum_fmt_8u)
        return map_status(prim::color_twist_8u_c3r(pixel_at<const uint8_t>(*src, 0, 0), step,
                                                   pixel_at<uint8_t>(*dst, 0, 0), step, size_of(*src), matrix));
    auto* out = pixel_at<uint16_t>(*dst, 0, 0);
    if (map_status(prim::color_twist_16u_c3r(pixel_at<const uint16_t>(*src, 0, 0), step, out, step, size_of(*src),
                                             matrix)) != ok)
        return primitive_failed;
    return clamp_to_valid_bits(out, step, size_of(*src), src->valid_bits);
}

}  // namespace
}  // namespace lum

using lum::with_images;

extern "C" {

LUM_API int8_t lum_color_to_gray(int32_t source, int32_t destination) {
    return with_images({source, destination}, [](img* s, img* d) { return lum::color_to_gray(s, d); });
}

LUM_API int8_t lum_gray_to_color(int32_t source, int32_t destination) {
    return with_images({source, destination}, [](img* s, img* d) { return lum::gray_to_color(s, d); });
}

LUM_API int8_t lum_color_twistI(int32_t image, const float* matrix) {
    return with_images({image}, [&](img* im) { return lum::twist_in_place(im, matrix); });
}

LUM_API int8_t lum_color_twist(int32_t source, int32_t destination, const float* matrix) {
    return with_images({source, destination}, [&](img* s, img* d) { return lum::twist(s, d, matrix); });
}

}  // extern "C"
