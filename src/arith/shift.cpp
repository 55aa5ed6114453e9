// Bit shifts of one-channel integer images: in place over the image or a
// rectangle, or into a second image of either integer format (shift before
// narrowing 16 to 8 bits, widen 8 to 16 bits before shifting).
#include "arith/clamp.hpp"
#include "primitives/convert.hpp"
#include "primitives/shift.hpp"

namespace lum {

namespace {

enum class direction { left, right };

int8_t shift_in_place(img* im, uint32_t count, const lum_rect* rect, direction dir) {
    LUM_CHECK(require_initialised(im));
    LUM_CHECK(check_rect(*im, rect));
    const lum_rect r = *rect;
    if (dir == direction::right && im->valid_bits - count > im->valid_bits) return bad_valid_bits;
    if (im->channels != lum_gray) return bad_format;
    if (im->pix_type != lum_fmt_8u && im->pix_type != lum_fmt_16u) return bad_format;
    if (!region_fits(*im, r.x, r.y, r.width, r.height)) return beyond_image;
    const int step = step_of(*im);
    const prim::Size z = size_of(r);
    if (im->pix_type == lum_fmt_8u) {
        auto* p = pixel_at<uint8_t>(*im, r.x, r.y);
        return map_status(dir == direction::left ? prim::lshift_8u_c1ir(count, p, step, z)
                                                 : prim::rshift_8u_c1ir(count, p, step, z));
    }
    auto* p = pixel_at<uint16_t>(*im, r.x, r.y);
    return map_status(dir == direction::left ? prim::lshift_16u_c1ir(count, p, step, z)
                                             : prim::rshift_16u_c1ir(count, p, step, z));
}

// Rows of a strip: about 32 KiB of 16-bit samples.
int rows_per_strip(int width) { return width >= 16384 ? 1 : 16384 / width; }

// A kernel status in a sequence of steps: warnings are printed and passed over.
bool failed(int status) { return map_status(status) != 0; }

int8_t shift_into(img* src, lum_point so, img* dst, lum_point dp, lum_size size, uint32_t count, direction dir) {
    LUM_CHECK(require_initialised(src));
    if (so.x < 0 || so.y < 0 || size.width <= 0 || size.height <= 0) return out_of_range;
    if (int64_t(so.x) + size.width > src->width || int64_t(so.y) + size.height > src->height) return beyond_image;
    LUM_CHECK(require_initialised(dst));
    if (dp.x < 0 || dp.y < 0) return out_of_range;
    if (int64_t(dp.x) + size.width > dst->width || int64_t(dp.y) + size.height > dst->height) return beyond_image;
    if (src->channels != lum_gray || dst->channels != lum_gray) return bad_channels;
    const int from = src->pix_type, to = dst->pix_type;
    const bool integer_pair = (from == lum_fmt_8u || from == lum_fmt_16u) && (to == lum_fmt_8u || to == lum_fmt_16u);
    if (!integer_pair) return bad_format;
    if (!region_fits(*src, so.x, so.y, size.width, size.height) ||
        !region_fits(*dst, dp.x, dp.y, size.width, size.height))
        return beyond_image;

    const prim::Size z{size.width, size.height};
    const int ss = step_of(*src), ds = step_of(*dst);
    const bool left = dir == direction::left;
    if (from == lum_fmt_16u && to == lum_fmt_16u) {
        auto* s = pixel_at<const uint16_t>(*src, so.x, so.y);
        auto* d = pixel_at<uint16_t>(*dst, dp.x, dp.y);
        return map_status(left ? prim::lshift_16u_c1r(s, ss, d, ds, z, count) : prim::rshift_16u_c1r(s, ss, d, ds, z, count));
    }
    if (from == lum_fmt_8u && to == lum_fmt_8u) {
        auto* s = pixel_at<const uint8_t>(*src, so.x, so.y);
        auto* d = pixel_at<uint8_t>(*dst, dp.x, dp.y);
        return map_status(left ? prim::lshift_8u_c1r(s, ss, d, ds, z, count) : prim::rshift_8u_c1r(s, ss, d, ds, z, count));
    }
    // The two-step pairs run strip by strip so that the intermediate samples
    // stay in cache; each strip goes through both steps before the next.
    const int strip = rows_per_strip(size.width);
    if (from == lum_fmt_16u) {
        // Shift first, then narrow with saturation.
        auto scratch = make_scratch<uint16_t>(int64_t(size.width) * strip);
        if (!scratch) return no_memory;
        const int scratch_step = 2 * size.width;
        for (int y = 0; y < size.height; y += strip) {
            const prim::Size part{size.width, size.height - y < strip ? size.height - y : strip};
            auto* s = pixel_at<const uint16_t>(*src, so.x, so.y + y);
            const int shifted = left ? prim::lshift_16u_c1r(s, ss, scratch.get(), scratch_step, part, count)
                                     : prim::rshift_16u_c1r(s, ss, scratch.get(), scratch_step, part, count);
            if (failed(shifted)) return primitive_failed;
            auto* d = pixel_at<uint8_t>(*dst, dp.x, dp.y + y);
            if (failed(prim::convert_16u8u_c1r(scratch.get(), scratch_step, d, ds, part))) return primitive_failed;
        }
        return ok;
    }
    // Widen first so that bits moved above the eighth are kept.
    for (int y = 0; y < size.height; y += strip) {
        const prim::Size part{size.width, size.height - y < strip ? size.height - y : strip};
        auto* d = pixel_at<uint16_t>(*dst, dp.x, dp.y + y);
        if (failed(prim::convert_8u16u_c1r(pixel_at<const uint8_t>(*src, so.x, so.y + y), ss, d, ds, part)))
            return primitive_failed;
        if (failed(left ? prim::lshift_16u_c1ir(count, d, ds, part) : prim::rshift_16u_c1ir(count, d, ds, part)))
            return primitive_failed;
    }
    return ok;
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
