// Inversion within the valid bits: the destination is filled with the
// source's valid-bits mask, then the source is subtracted from it. Separate
// buffers take both steps in one pass; a destination that shares the
// source's memory keeps the two passes, whose result (zeros where they
// overlap) then differs.
#include "arith/clamp.hpp"
#include "primitives/arith.hpp"
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
    return with_sample_type<uint8_t, uint16_t>(src->pix_type, [&]<class T>() -> int8_t {
        if (src->channels != lum_gray && src->channels != lum_color) return bad_channels;
        if (!whole_fits(*src) || !whole_fits(*dst)) return beyond_image;
        const T mask = static_cast<T>((1u << (src->valid_bits & 31u)) - 1u);
        const prim::Size samples{src->width * int(src->channels), src->height};
        const auto* s = static_cast<const T*>(src->frame_buf);
        auto* d = static_cast<T*>(dst->frame_buf);
        const int ss = step_of(*src), ds = step_of(*dst);
        if (!buffers_overlap(*src, *dst))
            return map_status(prim::constant<T, prim::op::rsub>(s, ss, d, ds, samples, &mask, 1));
        LUM_CHECK(map_status(prim::fill<T>(d, ds, samples, &mask, 1)));
        return map_status(prim::binary<T, prim::op::sub>(d, ds, s, ss, d, ds, samples));
    });
}

}  // namespace

}  // namespace lum

extern "C" LUM_API int8_t lum_invert(int32_t source, int32_t destination) {
    return lum::with_images({source, destination}, [](img* s, img* d) { return lum::invert(s, d); });
}
