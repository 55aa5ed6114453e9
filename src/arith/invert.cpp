// Inversion within the valid bits: the destination is filled with the
// source's valid-bits mask, then the source is subtracted from it. Separate
// buffers take both steps in one pass; a destination that shares the
// source's memory keeps the two passes, whose result (zeros where they
// overlap) then differs.
#include "arith/clamp.hpp"
#include "primitives/arith.hpp"
#include "primitives/arith_const.hpp"
#include "primitives/fill.hpp"

namespace lum {

namespace {

bool buffers_overlap(const img& a, const img& b) {
    const auto a0 = reinterpret_cast<uintptr_t>(a.frame_buf), b0 = reinterpret_cast<uintptr_t>(b.frame_buf);
    const auto a1 = a0 + uintptr_t(a.step_bytes) * uint32_t(a.height);
    const auto b1 = b0 + uintptr_t(b.step_bytes) * uint32_t(b.height);
    return a0 < b1 && b0 < a1;
}

int8_t invert(img* src, img* dst) {
    LUM_CHECK(require_initialised(src, dst));
    LUM_CHECK(require_same_layout(*src, *dst));
    const int format = src->pix_type;
    if (format != lum_fmt_8u && format != lum_fmt_16u) return bad_format;
    if (src->channels != lum_gray && src->channels != lum_color) return bad_channels;
    const int64_t row = int64_t(src->width) * bytes_per_pixel(*src);
    if (!span_in_buffer(*src, row, src->height, src->step_bytes) ||
        !span_in_buffer(*dst, row, dst->height, dst->step_bytes))
        return beyond_image;
    const uint32_t mask = (1u << (src->valid_bits & 31u)) - 1u;
    const bool c3 = src->channels == lum_color;
    const prim::Size z = size_of(*src);
    const int ss = step_of(*src), ds = step_of(*dst);
    if (!buffers_overlap(*src, *dst)) {
        const prim::Size samples{z.width * src->channels, z.height};
        if (format == lum_fmt_8u)
            return map_status(prim::rsub_c_8u_c1r(static_cast<const uint8_t*>(src->frame_buf), ss,
                                                  static_cast<uint8_t*>(dst->frame_buf), ds, samples, uint8_t(mask)));
        return map_status(prim::rsub_c_16u_c1r(static_cast<const uint16_t*>(src->frame_buf), ss,
                                               static_cast<uint16_t*>(dst->frame_buf), ds, samples, uint16_t(mask)));
    }
    if (format == lum_fmt_8u) {
        const uint8_t m = static_cast<uint8_t>(mask);
        const uint8_t m3[3] = {m, m, m};
        auto* s = static_cast<const uint8_t*>(src->frame_buf);
        auto* d = static_cast<uint8_t*>(dst->frame_buf);
        LUM_CHECK(map_status(c3 ? prim::set_8u_c3(m3, d, ds, z) : prim::set_8u_c1(m, d, ds, z)));
        return map_status(c3 ? prim::sub_8u_c3irsfs(s, ss, d, ds, z, 0) : prim::sub_8u_c1irsfs(s, ss, d, ds, z, 0));
    }
    const uint16_t m = static_cast<uint16_t>(mask);
    const uint16_t m3[3] = {m, m, m};
    auto* s = static_cast<const uint16_t*>(src->frame_buf);
    auto* d = static_cast<uint16_t*>(dst->frame_buf);
    LUM_CHECK(map_status(c3 ? prim::set_16u_c3(m3, d, ds, z) : prim::set_16u_c1(m, d, ds, z)));
    return map_status(c3 ? prim::sub_16u_c3irsfs(s, ss, d, ds, z, 0) : prim::sub_16u_c1irsfs(s, ss, d, ds, z, 0));
}

}  // namespace

}  // namespace lum

extern "C" LUM_API int8_t lum_invert(int32_t source, int32_t destination) {
    return lum::with_images({source, destination}, [](img* s, img* d) { return lum::invert(s, d); });
}
