// Two-image arithmetic and logic: add, subtract, absolute difference and the
// bitwise operations. Which image receives the result, which images are
// compared and which formats are accepted differ per operation on purpose.
#include "arith/clamp.hpp"
#include "primitives/arith.hpp"

namespace lum {

namespace {

template <class T>
T* samples(const img* im) {
    return static_cast<T*>(im->frame_buf);
}

bool is_c1_or_c3(const img* im) { return im->channels == lum_gray || im->channels == lum_color; }

// Bytes of one row of `im` read as `layout`'s format and channels.
int64_t row_bytes(const img* layout) { return int64_t(layout->width) * bytes_per_pixel(*layout); }

// Every image read or written over `layout`'s size and row bytes stays in its buffer.
template <class... Img>
bool fits(const img* layout, const Img*... images) {
    return (span_in_buffer(*images, row_bytes(layout), layout->height, images->step_bytes) && ...);
}

int8_t add_images(img* a, img* b, img* d) {
    LUM_CHECK(require_initialised(a, b, d));
    LUM_CHECK(require_same_layout(*a, *b));
    LUM_CHECK(require_same_layout(*a, *d));
    const int format = a->pix_type;
    if (format != lum_fmt_8u && format != lum_fmt_16u && format != lum_fmt_32f) return bad_format;
    if (!is_c1_or_c3(a)) return bad_channels;
    if (!fits(a, a, b, d)) return beyond_image;
    const bool c3 = a->channels == lum_color;
    const prim::Size z = size_of(*a);
    const int sa = step_of(*a), sb = step_of(*b), sd = step_of(*d);
    int status;
    if (format == lum_fmt_8u) {
        auto fn = c3 ? prim::add_8u_c3rsfs : prim::add_8u_c1rsfs;
        status = fn(samples<uint8_t>(a), sa, samples<uint8_t>(b), sb, samples<uint8_t>(d), sd, z, 0);
    } else if (format == lum_fmt_16u) {
        auto fn = c3 ? prim::add_16u_c3rsfs : prim::add_16u_c1rsfs;
        status = fn(samples<uint16_t>(a), sa, samples<uint16_t>(b), sb, samples<uint16_t>(d), sd, z, 0);
    } else {
        auto fn = c3 ? prim::add_32f_c3r : prim::add_32f_c1r;
        return map_status(fn(samples<float>(a), sa, samples<float>(b), sb, samples<float>(d), sd, z));
    }
    LUM_CHECK(map_status(status));
    // Runs even when the mask spans the whole sample range.
    return clamp_to_valid_bits(*d, valid_bits_mask(*d));
}

// b = b + a; the format of b is examined only for a 16-bit a.
int8_t add_in_place(img* a, img* b) {
    LUM_CHECK(require_initialised(a, b));
    if (a->channels != b->channels || a->width != b->width || a->height != b->height) return mismatch;
    const int format = a->pix_type;
    if (format != lum_fmt_8u && format != lum_fmt_16u && format != lum_fmt_32f) return bad_format;
    if (!is_c1_or_c3(a)) return bad_channels;
    const bool c3 = a->channels == lum_color;
    const prim::Size z = size_of(*a);
    const int sa = step_of(*a), sb = step_of(*b);
    const uint16_t mask = valid_bits_mask(*b);
    if (format == lum_fmt_8u) {
        if (!fits(a, a, b)) return beyond_image;
        auto fn = c3 ? prim::add_8u_c3irsfs : prim::add_8u_c1irsfs;
        LUM_CHECK(map_status(fn(samples<uint8_t>(a), sa, samples<uint8_t>(b), sb, z, 0)));
        return mask == 255 ? int8_t(ok) : clamp_to_valid_bits(*b, mask);
    }
    if (format == lum_fmt_32f) {
        if (!fits(a, a, b)) return beyond_image;
        auto fn = c3 ? prim::add_32f_c3ir : prim::add_32f_c1ir;
        return map_status(fn(samples<float>(a), sa, samples<float>(b), sb, z));
    }
    if (b->pix_type == lum_fmt_16u) {
        if (!fits(a, a, b)) return beyond_image;
        auto fn = c3 ? prim::add_16u_c3irsfs : prim::add_16u_c1irsfs;
        LUM_CHECK(map_status(fn(samples<uint16_t>(a), sa, samples<uint16_t>(b), sb, z, 0)));
        return mask == 65535 ? int8_t(ok) : clamp_to_valid_bits(*b, mask);
    }
    if (b->pix_type == lum_fmt_32f) {
        if (c3) return bad_channels;
        if (!fits(a, a) || !fits(b, b)) return beyond_image;
        return map_status(prim::add_16u32f_c1ir(samples<uint16_t>(a), sa, samples<float>(b), sb, z));
    }
    return ok;  // a 16-bit a with a b of another format: nothing to do
}

// d = a − b, both sources addressed with b's row step.
int8_t subtract_images(img* a, img* b, img* d) {
    LUM_CHECK(require_initialised(a, b, d));
    LUM_CHECK(require_same_layout(*a, *b));
    LUM_CHECK(require_same_layout(*a, *d));
    const int format = a->pix_type;
    if (format != lum_fmt_8u && format != lum_fmt_16u) return bad_format;
    if (!is_c1_or_c3(a)) return bad_channels;
    const int sb = step_of(*b), sd = step_of(*d);
    if (!span_in_buffer(*a, row_bytes(a), a->height, sb) || !fits(a, b, d)) return beyond_image;
    const bool c3 = a->channels == lum_color;
    const prim::Size z = size_of(*a);
    if (format == lum_fmt_8u) {
        auto fn = c3 ? prim::sub_8u_c3rsfs : prim::sub_8u_c1rsfs;
        return map_status(fn(samples<uint8_t>(b), sb, samples<uint8_t>(a), sb, samples<uint8_t>(d), sd, z, 0));
    }
    auto fn = c3 ? prim::sub_16u_c3rsfs : prim::sub_16u_c1rsfs;
    return map_status(fn(samples<uint16_t>(b), sb, samples<uint16_t>(a), sb, samples<uint16_t>(d), sd, z, 0));
}

// a = a − b.
int8_t subtract_in_place(img* a, img* b) {
    LUM_CHECK(require_initialised(a, b));
    LUM_CHECK(require_same_layout(*a, *b));
    const int format = a->pix_type;
    if (format != lum_fmt_8u && format != lum_fmt_16u && format != lum_fmt_32f) return bad_format;
    if (!is_c1_or_c3(a)) return bad_channels;
    if (!fits(a, a, b)) return beyond_image;
    const bool c3 = a->channels == lum_color;
    const prim::Size z = size_of(*a);
    const int sa = step_of(*a), sb = step_of(*b);
    if (format == lum_fmt_8u) {
        auto fn = c3 ? prim::sub_8u_c3irsfs : prim::sub_8u_c1irsfs;
        return map_status(fn(samples<uint8_t>(b), sb, samples<uint8_t>(a), sa, z, 0));
    }
    if (format == lum_fmt_16u) {
        auto fn = c3 ? prim::sub_16u_c3irsfs : prim::sub_16u_c1irsfs;
        return map_status(fn(samples<uint16_t>(b), sb, samples<uint16_t>(a), sa, z, 0));
    }
    auto fn = c3 ? prim::sub_32f_c3ir : prim::sub_32f_c1ir;
    return map_status(fn(samples<float>(b), sb, samples<float>(a), sa, z));
}

// d = |a − b|; b and d are taken to have a's size, format and layout.
int8_t absolute_difference(img* a, img* b, img* d) {
    LUM_CHECK(require_initialised(a, b, d));
    const int format = a->pix_type;
    if (format != lum_fmt_8u && format != lum_fmt_16u) return bad_format;
    if (!is_c1_or_c3(a) || (format == lum_fmt_16u && a->channels != lum_gray)) return bad_channels;
    if (!fits(a, a, b, d)) return beyond_image;
    const prim::Size z = size_of(*a);
    const int sa = step_of(*a), sb = step_of(*b), sd = step_of(*d);
    if (format == lum_fmt_16u)
        return map_status(
            prim::absdiff_16u_c1r(samples<uint16_t>(a), sa, samples<uint16_t>(b), sb, samples<uint16_t>(d), sd, z));
    auto fn = a->channels == lum_color ? prim::absdiff_8u_c3r : prim::absdiff_8u_c1r;
    return map_status(fn(samples<uint8_t>(a), sa, samples<uint8_t>(b), sb, samples<uint8_t>(d), sd, z));
}

struct LogicKernels {
    prim::and_8u_c1ir_fn* k8[2];
    prim::and_16u_c1ir_fn* k16[2];
};

// b = b op a. Odd channel counts are a silent success.
int8_t logic_in_place(img* a, img* b, const LogicKernels& k) {
    LUM_CHECK(require_initialised(a, b));
    LUM_CHECK(require_same_layout(*a, *b));
    const int format = a->pix_type;
    if (format != lum_fmt_8u && format != lum_fmt_16u) return bad_format;
    if (!is_c1_or_c3(a)) return ok;
    if (!fits(a, a, b)) return beyond_image;
    const int c3 = a->channels == lum_color ? 1 : 0;
    const prim::Size z = size_of(*a);
    if (format == lum_fmt_8u)
        return map_status(k.k8[c3](samples<uint8_t>(a), step_of(*a), samples<uint8_t>(b), step_of(*b), z));
    return map_status(k.k16[c3](samples<uint16_t>(a), step_of(*a), samples<uint16_t>(b), step_of(*b), z));
}

// Dispatch entries are constexpr objects; these trampolines give them addresses.
template <const auto& Entry>
struct call {
    template <class... A>
    static int fn(A... args) { return Entry(args...); }
};

const LogicKernels and_kernels{{call<prim::and_8u_c1ir>::fn, call<prim::and_8u_c3ir>::fn},
                               {call<prim::and_16u_c1ir>::fn, call<prim::and_16u_c3ir>::fn}};
const LogicKernels or_kernels{{call<prim::or_8u_c1ir>::fn, call<prim::or_8u_c3ir>::fn},
                              {call<prim::or_16u_c1ir>::fn, call<prim::or_16u_c3ir>::fn}};
const LogicKernels xor_kernels{{call<prim::xor_8u_c1ir>::fn, call<prim::xor_8u_c3ir>::fn},
                               {call<prim::xor_16u_c1ir>::fn, call<prim::xor_16u_c3ir>::fn}};

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
    return with_images({a, b}, [](img* x, img* y) { return lum::logic_in_place(x, y, lum::and_kernels); });
}
LUM_API int8_t lum_or(int32_t a, int32_t b) {
    return with_images({a, b}, [](img* x, img* y) { return lum::logic_in_place(x, y, lum::or_kernels); });
}
LUM_API int8_t lum_xor(int32_t a, int32_t b) {
    return with_images({a, b}, [](img* x, img* y) { return lum::logic_in_place(x, y, lum::xor_kernels); });
}

}  // extern "C"
