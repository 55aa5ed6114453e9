// Clamp to valid bits: the step that follows integer additions so that an
// image never holds a sample above what its valid bits can express.
#include "arith/clamp.hpp"

#include "primitives/fill.hpp"

namespace lum {

int8_t clamp_to_valid_bits(img& image, uint32_t mask) {
    LUM_CHECK(require_initialised(&image));
    if (image.channels != lum_gray && image.channels != lum_color) return bad_channels;
    if (image.pix_type != lum_fmt_16u && image.pix_type != lum_fmt_8u) return bad_format;
    if (image.pix_type == lum_fmt_8u && mask > 255) return out_of_range;
    if (!span_in_buffer(image, int64_t(image.width) * bytes_per_pixel(image), image.height, image.step_bytes))
        return beyond_image;
    // A mask covering the whole sample range leaves every sample as it is.
    if (mask >= (image.pix_type == lum_fmt_8u ? 255u : 65535u)) return ok;
    const bool colour = image.channels == lum_color;
    const prim::Size size = size_of(image);
    int status;
    if (image.pix_type == lum_fmt_8u) {
        auto* p = static_cast<uint8_t*>(image.frame_buf);
        const uint8_t m = static_cast<uint8_t>(mask);
        const uint8_t m3[3] = {m, m, m};
        status = colour ? prim::threshold_gt_val_8u_c3ir(p, step_of(image), size, m3, m3)
                        : prim::threshold_gt_val_8u_c1ir(p, step_of(image), size, m, m);
    } else {
        auto* p = static_cast<uint16_t*>(image.frame_buf);
        const uint16_t m = static_cast<uint16_t>(mask);
        const uint16_t m3[3] = {m, m, m};
        status = colour ? prim::threshold_gt_val_16u_c3ir(p, step_of(image), size, m3, m3)
                        : prim::threshold_gt_val_16u_c1ir(p, step_of(image), size, m, m);
    }
    return map_status(status);
}

}  // namespace lum
