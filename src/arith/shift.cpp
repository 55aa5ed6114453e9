// Bit shifts of one-channel integer images: in place over the image or a
// rectangle, or into a second image of either integer format (shift before
// narrowing 16 to 8 bits, widen 8 to 16 bits before shifting).
#include "arith/clamp.hpp"
#include "primitives/shift.hpp"

namespace lum {

namespace {

enum class direction { left, right };

// The shift kernel of the direction, for a pair of sample types.
template <class S, class D>
int shift(const S* src, int src_step, D* dst, int dst_step, prim::Size size, uint32_t count, direction dir) {
    return dir == direction::left ? prim::shift<S, D, prim::op::shift_left>(src, src_step, dst, dst_step, size, count)
                                  : prim::shift<S, D, prim::op::shift_right>(src, src_step, dst, dst_step, size, count);
}

int8_t shift_in_place(img* im, uint32_t count, const lum_rect* rect, direction dir) {
    LUM_CHECK(require_initialised(im));
    LUM_CHECK(check_rect(*im, rect));
    const lum_rect r = *rect;
    if (dir == direction::right && im->valid_bits - count > im->valid_bits) return bad_valid_bits;
    if (im->channels != lum_gray) return bad_format;
    return with_sample_type<uint8_t, uint16_t>(im->pix_type, [&]<class T>() -> int8_t {
        if (!region_fits(*im, r.x, r.y, r.width, r.height)) return beyond_image;
        T* p = pixel_at<T>(*im, r.x, r.y);
        return map_status(shift(p, step_of(*im), p, step_of(*im), size_of(r), count, dir));
    });
}

// A 16-bit source is shifted before it is saturated to 8 bits; an 8-bit
// source is widened before it is shifted, so bits moved above the eighth stay.
int8_t shift_into(img* src, lum_point so, img* dst, lum_point dp, lum_size size, uint32_t count, direction dir) {
    LUM_CHECK(require_initialised(src));
    if (so.x < 0 || so.y < 0 || size.width <= 0 || size.height <= 0) return out_of_range;
    if (int64_t(so.x) + size.width > src->width || int64_t(so.y) + size.height > src->height) return beyond_image;
    LUM_CHECK(require_initialised(dst));
    if (dp.x < 0 || dp.y < 0) return out_of_range;
    if (int64_t(dp.x) + size.width > dst->width || int64_t(dp.y) + size.height > dst->height) return beyond_image;
    if (src->channels != lum_gray || dst->channels != lum_gray) return bad_channels;
    return with_sample_type<uint8_t, uint16_t>(src->pix_type, [&]<class S>() -> int8_t {
        return with_sample_type<uint8_t, uint16_t>(dst->pix_type, [&]<class D>() -> int8_t {
            if (!region_fits(*src, so.x, so.y, size.width, size.height) ||
                !region_fits(*dst, dp.x, dp.y, size.width, size.height))
                return beyond_image;
            return map_status(shift(pixel_at<const S>(*src, so.x, so.y), step_of(*src), pixel_at<D>(*dst, dp.x, dp.y),
                                    step_of(*dst), prim::Size{size.width, size.height}, count, dir));
        });
    });
}

int8_t shift_whole(int32_t source, int32_t destination, uint32_t count, direction dir) {
    return with_images({source, destination}, [&](img* s, img* d) {
        return shift_into(s, {0, 0}, d, {0, 0}, {s->width, s->height}, count, dir);
    });
}

}  // namespace

}  // namespace lum

using lum::direction;
using lum::with_images;

extern "C" {

LUM_API int8_t lum_LShiftI(int32_t image, uint32_t count) {
    return with_images({image}, [&](img* im) {
        const lum_rect r = lum::whole(*im);
        return lum::shift_in_place(im, count, &r, direction::left);
    });
}
LUM_API int8_t lum_LShiftI_rect(int32_t image, uint32_t count, const lum_rect* rect) {
    return with_images({image}, [&](img* im) { return lum::shift_in_place(im, count, rect, direction::left); });
}
LUM_API int8_t lum_RShiftI(int32_t image, uint32_t count) {
    return with_images({image}, [&](img* im) {
        const lum_rect r = lum::whole(*im);
        return lum::shift_in_place(im, count, &r, direction::right);
    });
}
LUM_API int8_t lum_RShiftI_rect(int32_t image, uint32_t count, const lum_rect* rect) {
    return with_images({image}, [&](img* im) { return lum::shift_in_place(im, count, rect, direction::right); });
}

LUM_API int8_t lum_LShift(int32_t source, int32_t destination, uint32_t count) {
    return lum::shift_whole(source, destination, count, direction::left);
}
LUM_API int8_t lum_LShift_rect(int32_t source, lum_point source_origin, int32_t destination,
                               lum_point destination_origin, lum_size size, uint32_t count) {
    return with_images({source, destination}, [&](img* s, img* d) {
        return lum::shift_into(s, source_origin, d, destination_origin, size, count, direction::left);
    });
}
LUM_API int8_t lum_RShift(int32_t source, int32_t destination, uint32_t count) {
    return lum::shift_whole(source, destination, count, direction::right);
}
LUM_API int8_t lum_RShift_rect(int32_t source, lum_point source_origin, int32_t destination,
                               lum_point destination_origin, lum_size size, uint32_t count) {
    return with_images({source, destination}, [&](img* s, img* d) {
        return lum::shift_into(s, source_origin, d, destination_origin, size, count, direction::right);
    });
}

}  // extern "C"
