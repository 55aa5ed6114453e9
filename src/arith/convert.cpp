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

    const prim::Size size{src->width * int(src->channels), src->height};
    return with_sample_type<uint8_t, uint16_t, float>(from, [&]<class S>() -> int8_t {
        return with_sample_type<uint8_t, uint16_t, float>(to, [&]<class D>() -> int8_t {
            if constexpr (std::is_same_v<S, D> || (std::is_same_v<S, uint8_t> && std::is_same_v<D, float>) ||
                          (std::is_same_v<S, float> && std::is_same_v<D, uint16_t>)) {
                return bad_format;  // refused above
            } else {
                return map_status(prim::convert<S, D>(static_cast<const S*>(src->frame_buf), step_of(*src),
                                                      static_cast<D*>(dst->frame_buf), step_of(*dst), size,
                                                      prim::round_nearest));
            }
        });
    });
}

}  // namespace

}  // namespace lum

extern "C" LUM_API int8_t lum_convert(int32_t source, int32_t destination) {
    return lum::with_images({source, destination}, [](img* s, img* d) { return lum::convert_image(s, d); });
}
