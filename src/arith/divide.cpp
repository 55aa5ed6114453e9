// In-place division b = b / a over the first image's size; a division by
// zero is a warning (printed, status 0), not an error.
#include "arith/clamp.hpp"
#include "primitives/arith.hpp"

namespace lum {

namespace {

int8_t divide_in_place(img* a, img* b) {
    LUM_CHECK(require_initialised(a, b));
    if (a->channels != b->channels || a->pix_type != b->pix_type) return mismatch;
    const int format = a->pix_type;
    if (format != lum_fmt_8u && format != lum_fmt_16u && format != lum_fmt_32f) return bad_format;
    if (a->channels != lum_gray && a->channels != lum_color) return bad_channels;
    // b is read and written over a's size with its own step.
    const int64_t row = int64_t(a->width) * bytes_per_pixel(*a);
    if (!span_in_buffer(*a, row, a->height, a->step_bytes) || !span_in_buffer(*b, row, a->height, b->step_bytes))
        return beyond_image;
    const bool c3 = a->channels == lum_color;
    const prim::Size z = size_of(*a);
    const int sa = step_of(*a), sb = step_of(*b);
    if (format == lum_fmt_8u) {
        auto fn = c3 ? prim::div_8u_c3irsfs : prim::div_8u_c1irsfs;
        return map_status(fn(static_cast<const uint8_t*>(a->frame_buf), sa, static_cast<uint8_t*>(b->frame_buf), sb, z, 0));
    }
    if (format == lum_fmt_16u) {
        auto fn = c3 ? prim::div_16u_c3irsfs : prim::div_16u_c1irsfs;
        return map_status(
            fn(static_cast<const uint16_t*>(a->frame_buf), sa, static_cast<uint16_t*>(b->frame_buf), sb, z, 0));
    }
    auto fn = c3 ? prim::div_32f_c3ir : prim::div_32f_c1ir;
    return map_status(fn(static_cast<const float*>(a->frame_buf), sa, static_cast<float*>(b->frame_buf), sb, z));
}

}  // namespace

}  // namespace lum

extern "C" LUM_API int8_t lum_divI(int32_t a, int32_t b) {
    return lum::with_images({a, b}, [](img* x, img* y) { return lum::divide_in_place(x, y); });
}
