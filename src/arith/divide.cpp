// In-place division b = b / a over the first image's size; a division by
// zero is a warning (printed, status 0), not an error.
#include "arith/clamp.hpp"
#include "primitives/arith.hpp"

namespace lum {

namespace {

int8_t divide_in_place(img* a, img* b) {
    LUM_CHECK(require_initialised(a, b));
    if (a->channels != b->channels || a->pix_type != b->pix_type) return mismatch;
    return with_sample_type<uint8_t, uint16_t, float>(a->pix_type, [&]<class T>() -> int8_t {
        if (a->channels != lum_gray && a->channels != lum_color) return bad_channels;
        // b is read and written over a's size with its own step.
        const int64_t row = int64_t(a->width) * bytes_per_pixel(*a);
        if (!span_fits(*a, 0, a->height, a->step_bytes, row) || !span_fits(*b, 0, a->height, b->step_bytes, row))
            return beyond_image;
        const prim::Size samples{a->width * int(a->channels), a->height};
        return map_status(prim::divide<T>(static_cast<const T*>(a->frame_buf), step_of(*a),
                                          static_cast<T*>(b->frame_buf), step_of(*b), samples));
    });
}

}  // namespace

}  // namespace lum

extern "C" LUM_API int8_t lum_divI(int32_t a, int32_t b) {
    return lum::with_images({a, b}, [](img* x, img* y) { return lum::divide_in_place(x, y); });
}
