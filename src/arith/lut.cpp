// Palette look-up into a second image: the table size follows the source's
// valid bits; one-channel 8-bit sources may map to colour, three-channel
// sources map channel by channel.
#include "arith/clamp.hpp"
#include "primitives/lut.hpp"

namespace lum {

namespace {

int8_t look_up(img* src, img* dst, const void* table) {
    LUM_CHECK(require_initialised(src, dst));
    if (src->width <= 0 || src->height <= 0) return out_of_range;
    if (src->width > dst->width || src->height > dst->height) return beyond_image;
    if (!table) return out_of_range;
    const int format = src->pix_type;
    if (format != lum_fmt_8u && format != lum_fmt_16u) return bad_format;
    if (src->channels != lum_gray && src->channels != lum_color) return bad_channels;
    const bool src_c3 = src->channels == lum_color;
    // Channels the destination is written with: examined only where the
    // mapping depends on it.
    int out_channels = src_c3 ? 3 : 0;
    if (!src_c3 && format == lum_fmt_8u) {
        if (dst->channels != lum_gray && dst->channels != lum_color) return bad_channels;
        out_channels = dst->channels;
    } else if (int(dst->channels) != int(src->channels)) {
        if (format == lum_fmt_16u) return bad_channels;
    } else {
        out_channels = src->channels;
    }
    const int sample = bytes_per_sample(format);
    if (!span_fits(*src, 0, src->height, src->step_bytes, int64_t(src->width) * src->channels * sample) ||
        !span_fits(*dst, 0, src->height, dst->step_bytes, int64_t(src->width) * out_channels * sample))
        return beyond_image;

    const int bits = static_cast<int>(src->valid_bits);
    const prim::Size samples{src->width * int(src->channels), src->height};
    const int ss = step_of(*src), ds = step_of(*dst);
    return with_sample_type<uint8_t, uint16_t>(format, [&]<class T>() -> int8_t {
        const auto* s = static_cast<const T*>(src->frame_buf);
        auto* d = static_cast<T*>(dst->frame_buf);
        const auto* t = static_cast<const T*>(table);
        if constexpr (sizeof(T) == 1) {
            if (!src_c3 && out_channels == 3) return map_status(prim::lut_8u_c1c3(s, ss, d, ds, size_of(*src), t, bits));
        }
        // 8-bit tables are 256 entries apart whatever the valid bits; 16-bit
        // tables 2^v entries, and the third channel reuses the second table.
        const T* tables[3] = {t, t, t};
        if (src_c3) {
            const int64_t entries = sizeof(T) == 1 ? 256 : int64_t(1) << (bits < 0 ? 0 : bits > 16 ? 16 : bits);
            tables[1] = t + entries;
            tables[2] = t + (sizeof(T) == 1 ? 2 : 1) * entries;
        }
        return map_status(prim::lut<T>(s, ss, d, ds, samples, tables, src->channels, bits));
    });
}

}  // namespace

}  // namespace lum

extern "C" LUM_API int8_t lum_lut(int32_t source, int32_t destination, const void* table) {
    return lum::with_images({source, destination}, [&](img* s, img* d) { return lum::look_up(s, d, table); });
}
