// lum_lib.hpp: lum_lib for C++17 hosts, on top of the C interface of lum_lib.h.
//
// Three things the C interface leaves to its caller, done once here:
//   - ownership: lum::image holds one image handle, creates and initialises it
//     in its constructor and destroys it in its destructor; it moves, it does
//     not copy. It may borrow a buffer of the caller's instead of allocating.
//   - failures: lum::check turns a negative status into lum::error, which
//     carries the code and the library's phrase for it (lum_status_text).
//   - contour sets: lum::find_contours returns the outlines as vectors and
//     releases the library's set on every path, fetched or not.
// Codes that are plain integers in C (interpolation, morphology shape and
// operation, mirror axis, projection direction, mask shape) are enums here,
// taken by the few wrappers below. Every other operation is called through the
// C interface with image.handle(), its status passed to lum::check:
//
//     lum::image frame(640, 480, lum_fmt_16u, lum_gray, 12), binary(640, 480, lum_fmt_16u, lum_gray, 12);
//     lum::check(lum_binarization(frame.handle(), binary.handle(), 2000), "lum_binarization");
//     for (const lum::contour& outline : lum::find_contours(binary)) { ... }
//
// Header-only: everything is inline over lum_lib.h, so it adds nothing to the
// library's exports and needs nothing beyond linking lum_lib.
#ifndef LUM_LIB_HPP
#define LUM_LIB_HPP

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "lum_lib.h"

namespace lum {

// ---- Failures ----------------------------------------------------------------

// A negative status of the library. what() reads "<call>: <phrase> (<code>)".
class error : public std::runtime_error {
public:
    explicit error(int code, const std::string& call = std::string())
        : std::runtime_error((call.empty() ? std::string() : call + ": ") + lum_status_text(code) + " (" +
                             std::to_string(code) + ")"),
          code_(code) {}
    // The status code, e.g. -64.
    int code() const noexcept { return code_; }
    // The library's phrase for it, e.g. "image not initialised".
    const char* phrase() const noexcept { return lum_status_text(code_); }

private:
    int code_;
};

// Returns a status (or a handle) that is not negative; throws lum::error for
// one that is. call names the function in the message.
inline int32_t check(int32_t status, const char* call = nullptr) {
    if (status < 0) throw error(status, call ? call : "");
    return status;
}

// ---- Codes that are integers in C ------------------------------------------

enum class interpolation : int32_t { nearest = 1, linear = 2, lanczos = 16 };
enum class morph_shape : int32_t { rectangle = 0, ellipse = 2 };
enum class morph_operation : int32_t { open = 2, close = 3 };
// up_down swaps the rows top to bottom, left_right the columns, both does both.
enum class mirror_axis : int32_t { up_down = 0, left_right = 1, both = 2 };
// pixels: the destination takes each pixel's maximum (minimum, mean) over the
// frames; rows: frame k's row values become column k; columns: frame k's
// column values become row k.
enum class projection_direction : int32_t { pixels = 0, rows = 1, columns = 2 };
enum class mask_shape : uint32_t { rectangle = 0, ellipse = 1, polygon = 2 };

// The C value of an enum above.
template <class Code>
constexpr auto code(Code c) noexcept {
    return static_cast<std::underlying_type_t<Code>>(c);
}

// ---- Images ------------------------------------------------------------------

// The valid bits of a format's full depth: 8u 8, 16u and 16s 16, 32f 32.
constexpr int32_t full_bits(lum_data_format format) noexcept {
    return format == lum_fmt_8u ? 8 : format == lum_fmt_32f ? 32 : 16;
}

// One image handle, owned: destroyed with the object. Move-only; a
// default-constructed or moved-from image holds no handle (handle() is -1,
// and operations on it fail with -6).
class image {
public:
    image() noexcept = default;

    // A new image of its own, zeroed. valid_bits 0 means the format's full
    // depth. Throws lum::error (-3 bad valid bits, -65 channels, -8 memory).
    image(int32_t width, int32_t height, lum_data_format format = lum_fmt_8u, lum_channels channels = lum_gray,
          int32_t valid_bits = 0)
        : handle_(check(lum_create_image(), "lum_create_image")) {
        const int8_t status =
            lum_init_image(handle_, width, height, format, channels, valid_bits ? valid_bits : full_bits(format));
        if (status != 0) {
            lum_destroy_image(handle_);
            handle_ = -1;
            throw error(status, "lum_init_image");
        }
    }

    // An image over the caller's buffer as info describes it: the library
    // reads and writes that memory and never frees it. The buffer must outlive
    // the image.
    static image borrow(const lum_info& info) {
        image borrowed(adopt(check(lum_create_image(), "lum_create_image")));
        check(lum_init_image_ex(borrowed.handle_, &info), "lum_init_image_ex");
        return borrowed;
    }
    // The same from the buffer's description; valid_bits 0 means full depth.
    static image borrow(void* pixels, int32_t width, int32_t height, uint32_t step_bytes, lum_data_format format,
                        lum_channels channels = lum_gray, int32_t valid_bits = 0) {
        const lum_info info{width,  height, 0.0f,    0.0f,
                            step_bytes, format, static_cast<uint32_t>(valid_bits ? valid_bits : full_bits(format)),
                            channels,   pixels};
        return borrow(info);
    }

    // Takes ownership of a handle the C interface created (a projection
    // accumulator, a handle from older code).
    static image adopt(int32_t handle) noexcept {
        image adopted;
        adopted.handle_ = handle;
        return adopted;
    }

    ~image() { reset(); }

    image(image&& other) noexcept : handle_(std::exchange(other.handle_, -1)) {}
    image& operator=(image&& other) noexcept {
        if (this != &other) {
            reset();
            handle_ = std::exchange(other.handle_, -1);
        }
        return *this;
    }
    image(const image&) = delete;
    image& operator=(const image&) = delete;

    // The handle for the C interface; -1 when the object holds none.
    int32_t handle() const noexcept { return handle_; }
    explicit operator bool() const noexcept { return handle_ >= 0; }
    // Gives the handle up without destroying it; the caller destroys it.
    int32_t release() noexcept { return std::exchange(handle_, -1); }
    // Destroys the image now; the object then holds none.
    void reset() noexcept {
        if (handle_ >= 0) lum_destroy_image(handle_);
        handle_ = -1;
    }

    lum_info info() const {
        lum_info i{};
        check(lum_get_info(handle_, &i), "lum_get_info");
        return i;
    }
    int32_t width() const { return info().width; }
    int32_t height() const { return info().height; }
    lum_data_format format() const { return info().pix_type; }
    lum_channels channels() const { return info().channels; }
    uint32_t valid_bits() const { return info().valid_bits; }
    uint32_t step_bytes() const { return info().step_bytes; }
    // Row 0's first byte; rows lie step_bytes() apart.
    void* data() const { return info().frame_buf; }
    // Row y as samples of type T (uint8_t, uint16_t, float), channels interleaved.
    template <class T>
    T* row(int32_t y) const {
        const lum_info i = info();
        return reinterpret_cast<T*>(static_cast<unsigned char*>(i.frame_buf) + static_cast<size_t>(i.step_bytes) * y);
    }

private:
    int32_t handle_ = -1;
};

// ---- Operations that take the codes above -------------------------------------

// Scales the whole source into the whole destination.
inline void resize(const image& source, image& destination, interpolation how = interpolation::linear) {
    const lum_info s = source.info(), d = destination.info();
    check(lum_resize(source.handle(), lum_point{0, 0}, lum_size{s.width, s.height}, destination.handle(),
                     lum_point{0, 0}, lum_size{d.width, d.height}, code(how)),
          "lum_resize");
}
// Scales a rectangle of the source into a rectangle of the destination.
inline void resize(const image& source, const lum_rect& from, image& destination, const lum_rect& to,
                   interpolation how = interpolation::linear) {
    check(lum_resize(source.handle(), lum_point{from.x, from.y}, lum_size{from.width, from.height},
                     destination.handle(), lum_point{to.x, to.y}, lum_size{to.width, to.height}, code(how)),
          "lum_resize");
}

// Turns the source by angle degrees about its top-left pixel, then shifts it
// (see lum_rotate); nearest or linear only.
inline void rotate(const image& source, image& destination, double angle, double x_shift = 0.0,
                   double y_shift = 0.0, interpolation how = interpolation::linear) {
    check(lum_rotate(source.handle(), destination.handle(), angle, x_shift, y_shift, code(how)), "lum_rotate");
}

// Flips an image in place, or a rectangle of it.
inline void mirror(image& target, mirror_axis axis) { check(lum_mirrorI(target.handle(), code(axis)), "lum_mirrorI"); }
inline void mirror(image& target, mirror_axis axis, const lum_rect& rect) {
    check(lum_mirrorI_rect(target.handle(), code(axis), &rect), "lum_mirrorI_rect");
}

// Opening or closing with a width x height element.
inline void morph(const image& source, image& destination, morph_operation operation, morph_shape shape,
                  int32_t width, int32_t height) {
    const lum_morph_param param{code(shape), code(operation), width, height};
    check(lum_morph_open_close(source.handle(), destination.handle(), &param), "lum_morph_open_close");
}

// Frame number index (of count) of a sequence into the projection.
inline void projection_max(const image& frame, image& destination, uint32_t index, uint32_t count,
                           projection_direction direction = projection_direction::pixels) {
    check(lum_projection_max(frame.handle(), destination.handle(), index, count, code(direction)),
          "lum_projection_max");
}
inline void projection_min(const image& frame, image& destination, uint32_t index, uint32_t count,
                           projection_direction direction = projection_direction::pixels) {
    check(lum_projection_min(frame.handle(), destination.handle(), index, count, code(direction)),
          "lum_projection_min");
}
// The accumulator that projection_mean needs, for frames of width x height.
inline image projection_mean_accumulator(uint32_t width, uint32_t height) {
    int32_t handle = -1;
    const int8_t status = lum_projection_mean_init(width, height, &handle);
    image accumulator = image::adopt(handle);  // the handle exists even when its initialisation failed
    check(status, "lum_projection_mean_init");
    return accumulator;
}
inline void projection_mean(const image& frame, image& destination, uint32_t index, uint32_t count,
                            projection_direction direction, image& accumulator) {
    check(lum_projection_mean(frame.handle(), destination.handle(), index, count, code(direction),
                              accumulator.handle()),
          "lum_projection_mean");
}

// Clears an 8-bit mask and draws the shape into it as 255.
inline void generate_mask(image& mask, mask_shape shape, const std::vector<lum_point>& points) {
    check(lum_generate_mask(mask.handle(), code(shape), points.data(), static_cast<int32_t>(points.size())),
          "lum_generate_mask");
}
inline void generate_mask_part(image& mask, lum_point origin, mask_shape shape, const std::vector<lum_point>& points) {
    check(lum_generate_mask_part(mask.handle(), origin, code(shape), points.data(), static_cast<int32_t>(points.size())),
          "lum_generate_mask_part");
}

// ---- Contours ------------------------------------------------------------------

// One outline: boundary pixels in tracing order.
using contour = std::vector<lum_point>;

namespace detail {

// Holds a contour set until the library releases it (on a successful fetch)
// or this object does (on every other path, an empty set included).
class held_contour_set {
public:
    explicit held_contour_set(int32_t set) noexcept : set_(set) {}
    ~held_contour_set() {
        if (set_ >= 0) lum_release_contours(set_);
    }
    held_contour_set(const held_contour_set&) = delete;
    held_contour_set& operator=(const held_contour_set&) = delete;

    // Copies the set out; total integers, count contours (0 when unknown:
    // every contour takes at least 6 integers, so total / 6 sizes suffice).
    std::vector<contour> fetch(uint32_t total, uint32_t count, std::vector<lum_rect>* boxes) {
        if (boxes) boxes->clear();
        std::vector<contour> outlines;
        if (total == 0) return outlines;
        std::vector<int32_t> result(total);
        std::vector<uint32_t> sizes(count ? count : total / 6 + 1, 0u);
        const int8_t status = lum_get_contours_result(set_, result.data(), sizes.data());
        if (status == 0) set_ = -1;  // copied out and released by the library
        check(status, "lum_get_contours_result");
        size_t at = 0;
        for (size_t i = 0; i < sizes.size() && at < total; ++i) {
            const uint32_t size = sizes[i];
            if (size < 4 || size % 2 != 0 || size > total - at) throw error(-128, "lum_get_contours_result");
            const size_t points = (size - 4) / 2;
            contour outline(points);
            for (size_t k = 0; k < points; ++k)
                outline[k] = lum_point{result[at + 2 * k], result[at + 2 * k + 1]};
            if (boxes) {
                const int32_t* box = &result[at + 2 * points];
                boxes->push_back(lum_rect{box[0], box[1], box[2], box[3]});
            }
            outlines.push_back(std::move(outline));
            at += size;
        }
        return outlines;
    }

private:
    int32_t set_;
};

}  // namespace detail

// The outer boundary of every object (non-zero samples) of a one-channel 8u or
// 16u image, as lum_find_contours traces them; boxes, when given, receives each
// contour's bounding box. An image without objects gives an empty vector.
inline std::vector<contour> find_contours(const image& binary, std::vector<lum_rect>* boxes = nullptr) {
    uint32_t total = 0, count = 0;
    detail::held_contour_set set(check(lum_find_contours(binary.handle(), &total, &count), "lum_find_contours"));
    return set.fetch(total, count, boxes);
}

// A contour grown by distance (see lum_expand_contour). The outlines are in
// the coordinates of the library's scratch image: add (box.x - distance,
// box.y - distance) for the original image's.
inline std::vector<contour> expand_contour(const contour& outline, const lum_rect& box, int32_t distance) {
    uint32_t total = 0;
    detail::held_contour_set set(
        check(lum_expand_contour(outline.data(), static_cast<int32_t>(outline.size()), &box, distance, &total),
              "lum_expand_contour"));
    return set.fetch(total, 0, nullptr);
}

}  // namespace lum

#endif  // LUM_LIB_HPP
