// Colour conversion: colour to grey with equal weights, grey to colour, and
// the 3 x 4 colour twist in place and into a second image, with 16-bit results
// kept within the image's valid bits by the twist itself.
#include "image/call_frame.hpp"
#include "primitives/color.hpp"

namespace lum {

namespace {

// The grey value is the plain mean of the three channels; callers cannot choose weights.
constexpr float kGreyWeights[3] = {1.0f / 3.0f, 1.0f / 3.0f, 1.0f / 3.0f};

int8_t color_to_gray(const img* src, img* dst) {
    LUM_CHECK(require_initialised(src));
    if (src->channels != lum_color) return bad_format;
    LUM_CHECK(require_initialised(dst));
    if (dst->channels != lum_gray) return bad_format;
    return with_sample_type<uint8_t, uint16_t>(src->pix_type, [&]<class T>() -> int8_t {
        // The destination's size and format are the caller's promise; only its buffer bounds are enforced.
        if (!whole_fits(*src) || !span_fits(*dst, 0, src->height, dst->step_bytes, int64_t(src->width) * sizeof(T)))
            return beyond_image;
        return map_status(prim::color_to_gray<T>(pixel_at<const T>(*src, 0, 0), step_of(*src), pixel_at<T>(*dst, 0, 0),
                                                 step_of(*dst), size_of(*src), kGreyWeights));
    });
}

int8_t gray_to_color(const img* src, img* dst) {
    LUM_CHECK(require_initialised(src));
    if (src->channels != lum_gray || src->pix_type != lum_fmt_8u) return bad_format;
    LUM_CHECK(require_initialised(dst));
    if (dst->channels != lum_color || dst->pix_type != lum_fmt_8u) return bad_format;
    if (!whole_fits(*src) || !span_fits(*dst, 0, src->height, dst->step_bytes, 3 * int64_t(src->width)))
        return beyond_image;
    return map_status(prim::gray_to_color<uint8_t>(pixel_at<const uint8_t>(*src, 0, 0), step_of(*src),
                                                   pixel_at<uint8_t>(*dst, 0, 0), step_of(*dst), size_of(*src)));
}

// The largest sample a twist may store: 16-bit results stay within the
// valid bits, (1 << valid_bits) − 1 in 16-bit arithmetic (the shift count
// taken modulo 32, as the processor takes it).
template <class T>
T twist_top(const img& image) {
    if constexpr (sizeof(T) == 1) return 255;
    else return static_cast<T>(static_cast<uint16_t>(1u << (image.valid_bits & 31u)) - 1u);
}

int8_t twist_in_place(img* image, const float* matrix) {
    LUM_CHECK(require_initialised(image));
    if (image->channels != lum_color) return bad_format;
    return with_sample_type<uint8_t, uint16_t>(image->pix_type, [&]<class T>() -> int8_t {
        if (!whole_fits(*image)) return beyond_image;
        T* p = pixel_at<T>(*image, 0, 0);
        return map_status(
            prim::color_twist<T>(p, step_of(*image), p, step_of(*image), size_of(*image), matrix, twist_top<T>(*image)));
    });
}

// Both regions use the source's step and size: the destination must share the
// source's layout. 16-bit results are clamped by the source's valid bits.
int8_t twist(const img* src, img* dst, const float* matrix) {
    LUM_CHECK(require_initialised(src));
    if (src->channels != lum_color) return bad_format;
    LUM_CHECK(require_initialised(dst));
    if (dst->channels != lum_color) return bad_format;
    return with_sample_type<uint8_t, uint16_t>(src->pix_type, [&]<class T>() -> int8_t {
        const int step = step_of(*src);
        if (!whole_fits(*src) || !span_fits(*dst, 0, src->height, step, 3 * int64_t(src->width) * sizeof(T)))
            return beyond_image;
        return map_status(prim::color_twist<T>(pixel_at<const T>(*src, 0, 0), step, pixel_at<T>(*dst, 0, 0), step,
                                               size_of(*src), matrix, twist_top<T>(*src)));
    });
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
