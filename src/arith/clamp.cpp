// Clamp to valid bits: the step that follows integer additions so that an
// image never holds a sample above what its valid bits can express.
#include "arith/clamp.hpp"

#include "primitives/arith.hpp"

namespace lum {

namespace {

// The clamp's checks in their order.
int8_t clamp_checks(const img& image, uint32_t mask) {
    LUM_CHECK(require_initialised(&image));
    if (image.channels != lum_gray && image.channels != lum_color) return bad_channels;
    if (image.pix_type != lum_fmt_16u && image.pix_type != lum_fmt_8u) return bad_format;
    if (image.pix_type == lum_fmt_8u && mask > 255) return out_of_range;
    if (!whole_fits(image)) return beyond_image;
    return ok;
}

}  // namespace

bool clamp_fuses(const img& image, uint32_t mask) { return clamp_checks(image, mask) == ok; }

int8_t clamp_to_valid_bits(img& image, uint32_t mask) {
    LUM_CHECK(clamp_checks(image, mask));
    // A mask covering the whole sample range leaves every sample as it is.
    if (mask >= (image.pix_type == lum_fmt_8u ? 255u : 65535u)) return ok;
    return with_sample_type<uint8_t, uint16_t>(image.pix_type, [&]<class T>() -> int8_t {
        auto* p = static_cast<T*>(image.frame_buf);
        const T top = static_cast<T>(mask);
        const prim::Size samples{image.width * int(image.channels), image.height};
        return map_status(prim::constant<T, prim::op::min>(p, step_of(image), p, step_of(image), samples, &top, 1));
    });
}

}  // namespace lum
