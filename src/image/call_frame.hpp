// The call frame every operation runs in: the handle check of the exported
// wrapper, and the checks and status mapping of the implementations.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <utility>

#include "image/buffer.hpp"
#include "image/image.hpp"
#include "image/registry.hpp"
#include "image/sample_type.hpp"
#include "primitives/primitive.hpp"

#define LUM_CHECK(expr)                                           \
    do {                                                          \
        if (const auto lum_status_ = (expr); lum_status_ != 0)    \
            return lum_status_;                                   \
    } while (0)

namespace lum {

// Handle check in argument order (-6 outside the registry, -64 empty slot),
// then body(img*...) with the records. The slot count is read once.
template <class R = int8_t, size_t N, class Body>
R with_images(const int32_t (&handles)[N], Body&& body) {
    const int32_t count = registry::slot_count();
    std::array<img*, N> records{};
    for (size_t i = 0; i < N; ++i) {
        if (handles[i] < 0 || handles[i] >= count) return static_cast<R>(bad_handle);
        records[i] = registry::slot(handles[i]);
        if (!records[i]) return static_cast<R>(not_initialised);
    }
    return static_cast<R>(std::apply(std::forward<Body>(body), records));
}

// -64 unless every record is non-null and initialised.
template <class... Img>
int8_t require_initialised(const Img*... images) {
    return ((images != nullptr && images->ownership != 0) && ...) ? ok : not_initialised;
}

// -7 for a negative origin or an empty size (or no rectangle at all), -2 when it leaves the image.
inline int8_t check_rect(const img& image, const lum_rect* rect) {
    if (!rect || rect->x < 0 || rect->y < 0 || rect->width <= 0 || rect->height <= 0) return out_of_range;
    if (static_cast<int64_t>(rect->x) + rect->width > image.width ||
        static_cast<int64_t>(rect->y) + rect->height > image.height)
        return beyond_image;
    return ok;
}

// -4 when two images differ in channels, format, width or height.
inline int8_t require_same_layout(const img& a, const img& b) {
    return a.channels == b.channels && a.pix_type == b.pix_type && a.width == b.width && a.height == b.height
               ? ok
               : mismatch;
}

// Primitive status to status code: 0 stays 0; anything else is printed,
// then a negative status gives -5 and a warning gives 0.
inline int8_t map_status(int primitive_status) {
    if (primitive_status == 0) return ok;
    report_primitive_failure("IPP function failed,return value %d.\n", primitive_status);
    return primitive_status < 0 ? primitive_failed : ok;
}

inline lum_rect whole(const img& image) { return {0, 0, image.width, image.height}; }
inline prim::Size size_of(const img& image) { return {image.width, image.height}; }
inline prim::Size size_of(const lum_rect& r) { return {r.width, r.height}; }
inline int step_of(const img& image) { return static_cast<int>(image.step_bytes); }

// Address of pixel (x, y), typed as the sample type the caller picked by format.
template <class T>
T* pixel_at(const img& image, int32_t x, int32_t y) {
    return static_cast<T*>(image.get_ptr_at_position({x, y}));
}

// Scratch memory from the aligned allocator, released on every path.
struct aligned_deleter {
    void operator()(void* p) const { aligned_free64(p); }
};
template <class T>
using scratch_ptr = std::unique_ptr<T[], aligned_deleter>;
template <class T>
scratch_ptr<T> make_scratch(int64_t count) {
    return scratch_ptr<T>(static_cast<T*>(aligned_alloc64(count * static_cast<int64_t>(sizeof(T)))));
}

}  // namespace lum
