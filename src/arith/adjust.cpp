// Level adjustment of 8-bit images: per channel, subtract the low level
// (truncated to an integer byte), then multiply by the destination's range
// over the exact distance between the levels, both in one pass.
#include <cmath>
#include <cstring>

#include "arith/clamp.hpp"
#include "primitives/arith_const.hpp"

namespace lum {

namespace {

// low truncated toward zero, its low 8 bits.
uint8_t low_byte(double low) {
    const double t = std::trunc(low);
    const int64_t i = std::fabs(t) < 9.0e18 ? static_cast<int64_t>(t) : 0;
    return static_cast<uint8_t>(i);
}

int8_t adjust(img* src, img* dst, lum_size size, const double* low, const double* high) {
    LUM_CHECK(require_initialised(src));
    if (size.width <= 0 || size.height <= 0) return out_of_range;
    if (size.width > src->width || size.height > src->height) return beyond_image;
    LUM_CHECK(require_initialised(dst));
    if (size.width > dst->width || size.height > dst->height) return beyond_image;
    if (src->channels != dst->channels || src->pix_type != dst->pix_type) return mismatch;
    if (src->pix_type != lum_fmt_8u) return bad_format;
    if (src->channels != lum_gray && src->channels != lum_color) return bad_channels;
    if (!low || !high) return out_of_range;
    if (!region_fits(*src, 0, 0, size.width, size.height) || !region_fits(*dst, 0, 0, size.width, size.height))
        return beyond_image;

    const int channels = src->channels;
    const int32_t m = static_cast<int32_t>((1u << (dst->valid_bits & 31u)) - 1u);
    double factor[3];
    uint8_t level[3];
    for (int c = 0; c < channels; ++c) {
        // The caller's arrays are read at any address.
        double lo, hi;
        std::memcpy(&lo, low + c, sizeof lo);
        std::memcpy(&hi, high + c, sizeof hi);
        factor[c] = double(m) / (hi - lo);
        level[c] = low_byte(lo);
    }
    // The subtraction and the multiplication in one pass: the multiplication's
    // plan subtracts the levels first.
    prim::multiply_plan plan;
    LUM_CHECK(map_status(prim::plan_multiply<uint8_t>(factor, channels, 255, level, plan)));
    const prim::Size samples{size.width * channels, size.height};
    return map_status(prim::multiply<uint8_t>(static_cast<const uint8_t*>(src->frame_buf), step_of(*src),
                                              static_cast<uint8_t*>(dst->frame_buf), step_of(*dst), samples, &plan));
}

}  // namespace

}  // namespace lum

extern "C" LUM_API int8_t lum_adjust(int32_t source, int32_t destination, const double* low, const double* high) {
    return lum::with_images({source, destination}, [&](img* s, img* d) {
        return lum::adjust(s, d, {s->width, s->height}, low, high);
    });
}
