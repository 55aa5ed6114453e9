// Two-image arithmetic and logic: add, subtract, absolute difference and the
// bitwise operations. Which image receives the result, which images are
// compared and which formats are accepted differ per operation on purpose.
#include "arith/clamp.hpp"
#include "primitives/arith.hpp"

namespace lum {

namespace {

bool is_c1_or_c3(const img* im) { return im->channels == lum_gray || im->channels == lum_color; }

// Every image walked over `layout`'s rows, each with its own step, stays in its buffer.
template <class... Img>
bool fits(const img* layout, const Img*... images) {
    const int64_t row = int64_t(layout->width) * bytes_per_pixel(*layout);
    return (span_fits(*images, 0, layout->height, images->step_bytes, row) && ...);
}

// `layout`'s rows as samples (three channels fold into the width).
prim::Size samples_of(const img* layout) { return {layout->width * int(layout->channels), layout->height}; }

template <class T>
T* samples(const img* im) {
    return static_cast<T*>(im->frame_buf);
}

template <class Op, class T>
int run(const img* a, int sa, const img* b, int sb, const img* d, int sd, const img* layout) {
    return prim::binary<T, Op>(samples<const T>(a), sa, samples<const T>(b), sb, samples<T>(d), sd, samples_of(layout));
}

// Integer sums lowered to the valid bits of `onto` in the same pass where the
// clamp would succeed; otherwise the sum, then the clamp (which refuses).
template <class T>
int8_t add_clamped(const img* a, int sa, const img* b, int sb, img* d, int sd, img& onto, uint32_t mask) {
    if (onto.pix_type == format_of<T> && clamp_fuses(onto, mask))
        return map_status(prim::binary_clamped<T, prim::op::add>(samples<const T>(a), sa, samples<const T>(b), sb,
                                                                 samples<T>(d), sd, samples_of(a),
                                                                 valid_bits_top<T>(mask)));
    LUM_CHECK(map_status(run<prim::op::add, T>(a, sa, b, sb, d, sd, a)));
    return clamp_to_valid_bits(onto, mask);
}

int8_t add_images(img* a, img* b, img* d) {
    LUM_CHECK(require_initialised(a, b, d));
    LUM_CHECK(require_same_layout(*a, *b));
    LUM_CHECK(require_same_layout(*a, *d));
    return with_sample_type<uint8_t, uint16_t, float>(a->pix_type, [&]<class T>() -> int8_t {
        if (!is_c1_or_c3(a)) return bad_channels;
        if (!fits(a, a, b, d)) return beyond_image;
        if constexpr (is_float_sample<T>)
            return map_status(run<prim::op::add, T>(a, step_of(*a), b, step_of(*b), d, step_of(*d), a));
        // The clamp runs even when the mask spans the whole sample range (its checks still apply).
        else return add_clamped<T>(a, step_of(*a), b, step_of(*b), d, step_of(*d), *d, valid_bits_mask(*d));
    });
}

// b = b + a; the format of b is examined only for a 16-bit a.
int8_t add_in_place(img* a, img* b) {
    LUM_CHECK(require_initialised(a, b));
    if (a->channels != b->channels || a->width != b->width || a->height != b->height) return mismatch;
    return with_sample_type<uint8_t, uint16_t, float>(a->pix_type, [&]<class T>() -> int8_t {
        if (!is_c1_or_c3(a)) return bad_channels;
        const uint16_t mask = valid_bits_mask(*b);
        if constexpr (std::is_same_v<T, uint16_t>) {
            if (b->pix_type == lum_fmt_32f) {
                if (a->channels == lum_color) return bad_channels;
                if (!fits(a, a) || !fits(b, b)) return beyond_image;
                return map_status(prim::accumulate<uint16_t>(samples<const uint16_t>(a), step_of(*a),
                                                             samples<float>(b), step_of(*b), size_of(*a), 0));
            }
            if (b->pix_type != lum_fmt_16u) return ok;  // a 16-bit a with a b of another format: nothing to do
        }
        if (!fits(a, a, b)) return beyond_image;
        if constexpr (!is_float_sample<T>)
            if (mask != (sizeof(T) == 1 ? 255 : 65535))
                return add_clamped<T>(a, step_of(*a), b, step_of(*b), b, step_of(*b), *b, mask);
        return map_status(run<prim::op::add, T>(a, step_of(*a), b, step_of(*b), b, step_of(*b), a));
    });
}

// d = a − b, both sources addressed with b's row step.
int8_t subtract_images(img* a, img* b, img* d) {
    LUM_CHECK(require_initialised(a, b, d));
    LUM_CHECK(require_same_layout(*a, *b));
    LUM_CHECK(require_same_layout(*a, *d));
    return with_sample_type<uint8_t, uint16_t>(a->pix_type, [&]<class T>() -> int8_t {
        if (!is_c1_or_c3(a)) return bad_channels;
        const int sb = step_of(*b);
        const int64_t row = int64_t(a->width) * bytes_per_pixel(*a);
        if (!span_fits(*a, 0, a->height, sb, row) || !fits(a, b, d)) return beyond_image;
        return map_status(run<prim::op::sub, T>(a, sb, b, sb, d, step_of(*d), a));
    });
}

// a = a − b.
int8_t subtract_in_place(img* a, img* b) {
    LUM_CHECK(require_initialised(a, b));
    LUM_CHECK(require_same_layout(*a, *b));
    return with_sample_type<uint8_t, uint16_t, float>(a->pix_type, [&]<class T>() -> int8_t {
        if (!is_c1_or_c3(a)) return bad_channels;
        if (!fits(a, a, b)) return beyond_image;
        return map_status(run<prim::op::sub, T>(a, step_of(*a), b, step_of(*b), a, step_of(*a), a));
    });
}

// d = |a − b|; b and d are taken to have a's size, format and layout.
int8_t absolute_difference(img* a, img* b, img* d) {
    LUM_CHECK(require_initialised(a, b, d));
    return with_sample_type<uint8_t, uint16_t>(a->pix_type, [&]<class T>() -> int8_t {
        if (!is_c1_or_c3(a) || (std::is_same_v<T, uint16_t> && a->channels != lum_gray)) return bad_channels;
        if (!fits(a, a, b, d)) return beyond_image;
        return map_status(run<prim::op::abs_diff, T>(a, step_of(*a), b, step_of(*b), d, step_of(*d), a));
    });
}

// b = b op a, byte by byte. Odd channel counts are a silent success.
template <class Op>
int8_t logic_in_place(img* a, img* b) {
    LUM_CHECK(require_initialised(a, b));
    LUM_CHECK(require_same_layout(*a, *b));
    return with_sample_type<uint8_t, uint16_t>(a->pix_type, [&]<class T>() -> int8_t {
        if (!is_c1_or_c3(a)) return ok;
        if (!fits(a, a, b)) return beyond_image;
        const prim::Size bytes{a->width * bytes_per_pixel(*a), a->height};
        return map_status(prim::binary<uint8_t, Op>(samples<const uint8_t>(b), step_of(*b), samples<const uint8_t>(a),
                                                    step_of(*a), samples<uint8_t>(b), step_of(*b), bytes));
    });
}

}  // namespace

}  // namespace lum

using lum::with_images;

extern "C" {

LUM_API int8_t lum_add(int32_t a, int32_t b, int32_t d) {
    return with_images({a, b, d}, [](img* x, img* y, img* z) { return lum::add_images(x, y, z); });
}
LUM_API int8_t lum_addI(int32_t a, int32_t b) {
    return with_images({a, b}, [](img* x, img* y) { return lum::add_in_place(x, y); });
}
LUM_API int8_t lum_sub(int32_t a, int32_t b, int32_t d) {
    return with_images({a, b, d}, [](img* x, img* y, img* z) { return lum::subtract_images(x, y, z); });
}
LUM_API int8_t lum_subI(int32_t a, int32_t b) {
    return with_images({a, b}, [](img* x, img* y) { return lum::subtract_in_place(x, y); });
}
LUM_API int8_t lum_absDiff(int32_t a, int32_t b, int32_t d) {
    return with_images({a, b, d}, [](img* x, img* y, img* z) { return lum::absolute_difference(x, y, z); });
}
LUM_API int8_t lum_and(int32_t a, int32_t b) {
    return with_images({a, b}, [](img* x, img* y) { return lum::logic_in_place<lum::prim::op::bit_and>(x, y); });
}
LUM_API int8_t lum_or(int32_t a, int32_t b) {
    return with_images({a, b}, [](img* x, img* y) { return lum::logic_in_place<lum::prim::op::bit_or>(x, y); });
}
LUM_API int8_t lum_xor(int32_t a, int32_t b) {
    return with_images({a, b}, [](img* x, img* y) { return lum::logic_in_place<lum::prim::op::bit_xor>(x, y); });
}

}  // extern "C"
