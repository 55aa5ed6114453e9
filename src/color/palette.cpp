// Palette rendering: a rectangle of a grey image, scaled by a contrast factor
// and shifted by a brightness offset, indexes a 256-entry palette whose colour
// is added with saturation to a colour image of the rectangle's size.
#include <climits>

#include "image/call_frame.hpp"

namespace lum {

namespace {

// Truncation toward zero; anything outside the int32 range (NaN included) is INT_MIN.
inline int32_t truncate_to_int(double v) {
    return v > -2147483649.0 && v < 2147483648.0 ? static_cast<int32_t>(v) : INT32_MIN;
}

inline uint8_t add_saturated(uint8_t a, uint8_t b) {
    const unsigned sum = unsigned(a) + b;
    return static_cast<uint8_t>(sum > 255u ? 255u : sum);
}

template <class T>
inline void render_pixel(T sample, uint8_t* __restrict d, const uint8_t* __restrict palette, double contrast,
                         double brightness, int shift) {
    int32_t k = truncate_to_int(double(sample) * contrast + brightness) >> shift;
    k = k < 0 ? 0 : k;
    k = k > 255 ? 255 : k;
    const uint8_t* p = palette + 3 * k;
    d[0] = add_saturated(d[0], p[2]);
    d[1] = add_saturated(d[1], p[1]);
    d[2] = add_saturated(d[2], p[0]);
}

// Four pixels per pass, then the tail; `shift` is 0 for 8-bit samples.
template <class T>
void render(const img& src, const lum_rect& r, img& dst, const uint8_t* palette, double contrast, double brightness,
            int shift) {
    for (int32_t y = 0; y < r.height; ++y) {
        const T* s = pixel_at<const T>(src, r.x, r.y + y);
        uint8_t* d = pixel_at<uint8_t>(dst, 0, y);
        int32_t x = 0;
        for (; x + 4 <= r.width; x += 4) {
            render_pixel(s[x], d + 3 * x, palette, contrast, brightness, shift);
            render_pixel(s[x + 1], d + 3 * x + 3, palette, contrast, brightness, shift);
            render_pixel(s[x + 2], d + 3 * x + 6, palette, contrast, brightness, shift);
            render_pixel(s[x + 3], d + 3 * x + 9, palette, contrast, brightness, shift);
        }
        for (; x < r.width; ++x) render_pixel(s[x], d + 3 * x, palette, contrast, brightness, shift);
    }
}

int8_t computer_color_bc(const img* src, img* dst, const lum_rect* rect, const uint8_t* palette, double contrast,
                         int32_t brightness) {
    LUM_CHECK(require_initialised(src));
    LUM_CHECK(check_rect(*src, rect));
    const lum_rect r = *rect;
    if (src->channels != lum_gray) return bad_format;
    LUM_CHECK(require_initialised(dst));
    if (!palette) return out_of_range;
    if (r.width != dst->width || r.height != dst->height) return beyond_image;
    if (dst->pix_type != lum_fmt_8u || dst->channels != lum_color) return bad_format;
    if (src->pix_type == lum_fmt_8u) {
        render<uint8_t>(*src, r, *dst, palette, contrast, double(brightness), 0);
    } else if (src->pix_type == lum_fmt_16u) {
        // A 16-bit sample is brought to 8 bits by its valid bits: 12-bit 0..4095 spans the palette.
        render<uint16_t>(*src, r, *dst, palette, contrast, double(brightness), int(src->valid_bits - 8) & 31);
    } else {
        return bad_format;
    }
    return ok;
}

}  // namespace
}  // namespace lum

extern "C" LUM_API int8_t lum_computer_color_bc(int32_t source, int32_t destination, const lum_rect* rect,
                                                const uint8_t* palette, double contrast, int32_t brightness) {
    return lum::with_images({source, destination}, [&](img* s, img* d) {
        return lum::computer_color_bc(s, d, rect, palette, contrast, brightness);
    });
}
