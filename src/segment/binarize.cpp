// Binarization of one-channel images by a threshold, into a second image or
// in place with chosen levels, and clipping to a range in place. Each is a
// fixed sequence of the threshold kernels; the order of the steps decides the
// result where a step reads what an earlier one wrote.
#include <cmath>

#include "image/call_frame.hpp"
#include "primitives/fill.hpp"
#include "primitives/threshold.hpp"

namespace lum {

namespace {

// Kernel family by sample type.
template <class T>
struct kernels;
template <>
struct kernels<uint8_t> {
    static constexpr auto& lt_copy = prim::threshold_lt_val_8u_c1r;
    static constexpr auto& lt = prim::threshold_lt_val_8u_c1ir;
    static constexpr auto& gt = prim::threshold_gt<uint8_t>;
    static constexpr auto& ge_mask = prim::compare_ge_c_8u_c1r;
    static constexpr auto& set_masked = prim::set_masked_8u_c1mr;
    static constexpr auto& lt_gt = prim::threshold_lt_gt_val_8u_c1r;
    static constexpr auto& split = prim::threshold_split_8u_c1r;
    static constexpr auto& lt_then_ge = prim::threshold_lt_then_ge_8u_c1ir;
};
template <>
struct kernels<uint16_t> {
    static constexpr auto& lt_copy = prim::threshold_lt_val_16u_c1r;
    static constexpr auto& lt = prim::threshold_lt_val_16u_c1ir;
    static constexpr auto& gt = prim::threshold_gt<uint16_t>;
    static constexpr auto& ge_mask = prim::compare_ge_c_16u_c1r;
    static constexpr auto& set_masked = prim::set_masked_16u_c1mr;
    static constexpr auto& lt_gt = prim::threshold_lt_gt_val_16u_c1r;
    static constexpr auto& split = prim::threshold_split_16u_c1r;
    static constexpr auto& lt_then_ge = prim::threshold_lt_then_ge_16u_c1ir;
};
template <>
struct kernels<float> {
    static constexpr auto& lt = prim::threshold_lt_val_32f_c1ir;
    static constexpr auto& gt = prim::threshold_gt<float>;
    static constexpr auto& lt_gt = prim::threshold_lt_gt_val_32f_c1r;
};

// Float to int as the processor's truncating conversion does it: NaN and
// values beyond 32 bits give the "integer indefinite" 0x80000000, whose low
// 16 bits are 0.
int64_t truncate(float v) {
    if (!(std::fabs(v) < 2147483648.0f)) return INT32_MIN;
    return static_cast<int32_t>(v);
}

// Highest level with the image's valid bits, in the sample's own width.
template <class T>
T level_max(uint32_t valid_bits) {
    constexpr uint32_t width = 8 * sizeof(T);
    return valid_bits >= width ? static_cast<T>(~T{0}) : static_cast<T>((1u << valid_bits) - 1u);
}

// The rectangle checks shared by every operation here, for one image.
int8_t check_region(const img* image, lum_point origin, lum_size size, bool first) {
    LUM_CHECK(require_initialised(image));
    if (origin.x < 0 || origin.y < 0 || (first && (size.width < 1 || size.height < 1))) return out_of_range;
    if (int64_t{origin.x} + size.width > image->width || int64_t{origin.y} + size.height > image->height)
        return beyond_image;
    if (image->channels != lum_gray) return bad_format;
    return ok;
}

// True when rows of `row_bytes` starting `x_bytes` into rows y.. y+h-1 stay in the buffer.
bool rows_in_buffer(const img& image, int64_t x_bytes, int64_t y, int64_t row_bytes, int64_t h) {
    return span_fits(image, y * image.step_bytes + x_bytes, h, image.step_bytes, row_bytes);
}

// A scratch 8-bit mask of the region; a failed allocation surfaces as the
// null-pointer status of the first kernel that uses it.
struct region_mask {
    scratch_ptr<uint8_t> bytes;
    int step;
    explicit region_mask(prim::Size size)
        : bytes(make_scratch<uint8_t>(int64_t{size.width} * size.height)), step(size.width) {}
};

// How the source and destination regions share memory.
enum class sharing { none, same, partial };

// Samples at or above t become max, the others 0 (t >= 0); samples below |t|
// become max and the others 0 (t < 0). A threshold whose low bits are 0
// leaves a copy: nothing is below 0 and nothing above the type's top.
// The steps are "below t to 0, then above t - 1 to max" and "below |t| to
// max, then where the source is at least |t|, 0"; where the second step would
// read what the first wrote, or cannot, the steps are fused into one pass
// with the same result.
template <class T>
int8_t binarize_two(const T* src, int src_step, T* dst, int dst_step, prim::Size size, int32_t t, T max,
                    sharing shared) {
    using K = kernels<T>;
    if (t >= 0)
        return map_status(K::lt_gt(src, src_step, dst, dst_step, size, static_cast<T>(t), T{0},
                                   static_cast<T>(int64_t{t} - 1), max));
    if (max < T{0}) return out_of_range;
    const T threshold = static_cast<T>(-int64_t{t});
    if (shared == sharing::none) return map_status(K::split(src, src_step, dst, dst_step, size, threshold, max, T{0}));
    if (shared == sharing::same) return map_status(K::lt_then_ge(dst, dst_step, size, threshold, max, T{0}));
    region_mask mask(size);
    LUM_CHECK(map_status(K::lt_copy(src, src_step, dst, dst_step, size, threshold, max)));
    LUM_CHECK(map_status(K::ge_mask(src, src_step, threshold, mask.bytes.get(), mask.step, size)));
    return map_status(K::set_masked(T{0}, dst, dst_step, size, mask.bytes.get(), mask.step));
}

sharing shared_memory(const uint8_t* a, int a_step, const uint8_t* b, int b_step, int64_t row_bytes, int64_t rows) {
    if (a == b && a_step == b_step) return sharing::same;
    const uint8_t* a_end = a + (rows - 1) * a_step + row_bytes;
    const uint8_t* b_end = b + (rows - 1) * b_step + row_bytes;
    return a_end <= b || b_end <= a ? sharing::none : sharing::partial;
}

int8_t binarization(img* source, lum_point src_origin, img* destination, lum_point dst_origin, lum_size size,
                    int32_t threshold) {
    LUM_CHECK(check_region(source, src_origin, size, true));
    LUM_CHECK(check_region(destination, dst_origin, size, false));
    const lum_data_format format = source->pix_type;
    if (format != lum_fmt_8u && format != lum_fmt_16u && format != lum_fmt_32f) return bad_format;

    // The kernels are picked by the source alone; float rows are walked as
    // 16-bit samples. The destination's start uses its own sample size.
    const int kernel_bytes = format == lum_fmt_8u ? 1 : 2;
    const int64_t row_bytes = int64_t{size.width} * kernel_bytes;
    if (!rows_in_buffer(*source, int64_t{src_origin.x} * bytes_per_sample(format), src_origin.y, row_bytes,
                        size.height) ||
        !rows_in_buffer(*destination, int64_t{dst_origin.x} * bytes_per_sample(destination->pix_type),
                        dst_origin.y, row_bytes, size.height))
        return beyond_image;

    const prim::Size region = {size.width, size.height};
    const int ss = step_of(*source), ds = step_of(*destination);
    const auto* s = static_cast<const uint8_t*>(source->get_ptr_at_position(src_origin));
    auto* d = static_cast<uint8_t*>(destination->get_ptr_at_position(dst_origin));
    const sharing shared = shared_memory(s, ss, d, ds, row_bytes, size.height);
    if (format == lum_fmt_8u)
        return binarize_two(s, ss, d, ds, region, threshold, level_max<uint8_t>(source->valid_bits), shared);
    const int8_t status = binarize_two(reinterpret_cast<const uint16_t*>(s), ss, reinterpret_cast<uint16_t*>(d), ds,
                                       region, threshold, level_max<uint16_t>(source->valid_bits), shared);
    // Float images get the 16-bit treatment and are then reported as unsupported.
    return format == lum_fmt_32f && status == ok ? static_cast<int8_t>(bad_format) : status;
}

template <class T>
int8_t binarize_inplace_int(T* p, int step, prim::Size size, float a, float b, float c) {
    using K = kernels<T>;
    const int64_t t = truncate(std::fabs(a));
    const T threshold = static_cast<T>(t), low = static_cast<T>(truncate(b)), high = static_cast<T>(truncate(c));
    if (!(a < 0.0f)) {
        if (low > high) return out_of_range;
        return map_status(K::lt_gt(p, step, p, step, size, threshold, low, static_cast<T>(t - 1), high));
    }
    if (high < low) return out_of_range;
    // "At least t" is judged on the raised samples: with high >= t every sample ends at low.
    return map_status(K::lt_then_ge(p, step, size, threshold, high, low));
}

int8_t binarize_inplace_float(float* p, int step, prim::Size size, float a, float b, float c) {
    using K = kernels<float>;
    const float t = std::fabs(a);
    if (b > c) return out_of_range;
    if (!(a < 0.0f)) {
        // Samples equal to t also reach the high level.
        return map_status(K::lt_gt(p, step, p, step, size, t, b, static_cast<float>(static_cast<double>(t) - 0.0001), c));
    }
    LUM_CHECK(map_status(K::lt(p, step, size, t, c)));
    return map_status(K::lt(p, step, size, c, b));
}

int8_t binarization_inplace(img* image, float a, float b, float c) {
    LUM_CHECK(check_region(image, {0, 0}, {image ? image->width : 0, image ? image->height : 0}, true));
    if (!region_fits(*image, 0, 0, image->width, image->height)) return beyond_image;
    const prim::Size size = size_of(*image);
    const int step = step_of(*image);
    switch (image->pix_type) {
        case lum_fmt_8u: return binarize_inplace_int(pixel_at<uint8_t>(*image, 0, 0), step, size, a, b, c);
        case lum_fmt_16u: return binarize_inplace_int(pixel_at<uint16_t>(*image, 0, 0), step, size, a, b, c);
        case lum_fmt_32f: return binarize_inplace_float(pixel_at<float>(*image, 0, 0), step, size, a, b, c);
        default: return bad_format;
    }
}

// A NaN bound leaves its side unclipped.
template <class T, class Bound>
int8_t clip(T* p, int step, prim::Size size, Bound low, Bound high, bool has_low, bool has_high) {
    using K = kernels<T>;
    const T lo = static_cast<T>(low), hi = static_cast<T>(high);
    if (has_low && has_high) return map_status(K::lt_gt(p, step, p, step, size, lo, lo, hi, hi));
    if (has_low) return map_status(K::lt(p, step, size, lo, lo));
    if (has_high) return map_status(K::gt(p, step, size, &hi, &hi, 1));
    return ok;
}

int8_t clip_inplace(img* image, float low, float high) {
    LUM_CHECK(check_region(image, {0, 0}, {image ? image->width : 0, image ? image->height : 0}, true));
    if (!region_fits(*image, 0, 0, image->width, image->height)) return beyond_image;
    const bool has_low = !std::isnan(low), has_high = !std::isnan(high);
    if ((has_low || has_high) && static_cast<double>(low - high) > 1e-7) return out_of_range;
    const prim::Size size = size_of(*image);
    const int step = step_of(*image);
    switch (image->pix_type) {
        case lum_fmt_8u:
            return clip(pixel_at<uint8_t>(*image, 0, 0), step, size, truncate(low), truncate(high), has_low, has_high);
        case lum_fmt_16u:
            return clip(pixel_at<uint16_t>(*image, 0, 0), step, size, truncate(low), truncate(high), has_low,
                        has_high);
        case lum_fmt_32f: return clip(pixel_at<float>(*image, 0, 0), step, size, low, high, has_low, has_high);
        default: return bad_format;
    }
}

}  // namespace

}  // namespace lum

using lum::with_images;

extern "C" {

LUM_API int8_t lum_binarization(int32_t source, int32_t destination, int32_t threshold) {
    return with_images({source, destination}, [&](img* s, img* d) {
        const lum_size size{s->ownership ? s->width : 0, s->ownership ? s->height : 0};
        return lum::binarization(s, {0, 0}, d, {0, 0}, size, threshold);
    });
}

LUM_API int8_t lum_binarization_rect(int32_t source, lum_point source_origin, int32_t destination,
                                     lum_point destination_origin, lum_size size, int32_t threshold) {
    return with_images({source, destination}, [&](img* s, img* d) {
        return lum::binarization(s, source_origin, d, destination_origin, size, threshold);
    });
}

LUM_API int8_t lum_binarizationI(int32_t image, float threshold, float low, float high) {
    return with_images({image}, [&](img* im) { return lum::binarization_inplace(im, threshold, low, high); });
}

LUM_API int8_t lum_clipI(int32_t image, float low, float high) {
    return with_images({image}, [&](img* im) { return lum::clip_inplace(im, low, high); });
}

}  // extern "C"
