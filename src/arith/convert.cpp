// Format conversion into a second, already initialised image: exactly four
// pairs of sample formats, the region being the source's size.
#include "arith/clamp.hpp"
#include "primitives/convert.hpp"

namespace lum {

namespace {

int8_t convert_image(img* src, img* dst) {
    LUM_CHECK(require_initialised(src, dst));
    if (src->channels != dst->channels) return bad_channels;
    const int from = src->pix_type, to = dst->pix_type;
    const bool pair_known = (from == lum_fmt_8u && to == lum_fmt_16u) || (from == lum_fmt_16u && to == lum_fmt_8u) ||
                            (from == lum_fmt_16u && to == lum_fmt_32f);
    const bool float_pair = from == lum_fmt_32f && to == lum_fmt_8u && src->channels == lum_gray;
    if (!pair_known && !float_pair) return bad_format;
    if (src->channels != lum_gray && src->channels != lum_color) return bad_channels;

    // The destination is written over the source's size with its own step.
    const int64_t samples = int64_t(src->width) * src->channels;
    if (!span_fits(*src, 0, src->height, src->step_bytes, samples * bytes_per_sample(from)) ||
        !span_fits(*dst, 0, src->height, dst->step_bytes, samples * bytes_per_sample(to)))
        return beyond_image;

    const bool c3 = src->channels == lum_color;
    const prim::Size size = size_of(*src);
    const int ss = step_of(*src), ds = step_of(*dst);
    int status;
    if (from == lum_fmt_8u) {
        auto* s = static_cast<const uint8_t*>(src->frame_buf);
        auto* d = static_cast<uint16_t*>(dst->frame_buf);
        status = c3 ? prim::convert_8u16u_c3r(s, ss, d, ds, size) : prim::convert_8u16u_c1r(s, ss, d, ds, size);
    } else if (from == lum_fmt_16u && to == lum_fmt_8u) {
        auto* s = static_cast<const uint16_t*>(src->frame_buf);
        auto* d = static_cast<uint8_t*>(dst->frame_buf);
        status = c3 ? prim::convert_16u8u_c3r(s, ss, d, ds, size) : prim::convert_16u8u_c1r(s, ss, d, ds, size);
    } else if (from == lum_fmt_16u) {
        auto* s = static_cast<const uint16_t*>(src->frame_buf);
        auto* d = static_cast<float*>(dst->frame_buf);
        status = c3 ? prim::convert_16u32f_c3r(s, ss, d, ds, size) : prim::convert_16u32f_c1r(s, ss, d, ds, size);
    } else {
        status = prim::convert_32f8u_c1r(static_cast<const float*>(src->frame_buf), ss,
                                         static_cast<uint8_t*>(dst->frame_buf), ds, size, prim::round_nearest);
    }
    return map_status(status);
}

}  // namespace

}  // namespace lum

extern "C" LUM_API int8_t lum_convert(int32_t source, int32_t destination) {
    return lum::with_images({source, destination}, [](img* s, img* d) { return lum::convert_image(s, d); });
}
