// Palette rendering: a rectangle of a grey image, scaled by a contrast factor
// and shifted by a brightness offset, indexes a 256-entry palette whose colour
// is added with saturation to a colour image of the rectangle's size.
#include <climits>

#include "color/copy.hpp"
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

// 8-bit sources have only 256 values: each one's colour is worked out once
// (with the same arithmetic as above), then every row gathers its colours and
// adds them with saturation in one contiguous, vectorizable pass.
void render_8u(const img& src, const lum_rect& r, img& dst, const uint8_t* palette, double contrast,
               double brightness) {
    uint8_t colour[256 * 3];
    for (int v = 0; v < 256; ++v) {
        colour[3 * v] = colour[3 * v + 1] = colour[3 * v + 2] = 0;
        render_pixel(static_cast<uint8_t>(v), colour + 3 * v, palette, contrast, brightness, 0);
    }
    constexpr int kChunk = 256;
    uint8_t add[3 * kChunk];
    for (int32_t y = 0; y < r.height; ++y) {
        const uint8_t* s = pixel_at<const uint8_t>(src, r.x, r.y + y);
        uint8_t* d = pixel_at<uint8_t>(dst, 0, y);
        for (int32_t x0 = 0; x0 < r.width; x0 += kChunk) {
            const int n = r.width - x0 < kChunk ? r.width - x0 : kChunk;
            int i = 0;
            for (; i + 4 <= n; i += 4)
                for (int k = 0; k < 4; ++k) {
                    const uint8_t* c = colour + 3 * s[x0 + i + k];
                    add[3 * (i + k)] = c[0];
                    add[3 * (i + k) + 1] = c[1];
                    add[3 * (i + k) + 2] = c[2];
                }
            for (; i < n; ++i) {
                const uint8_t* c = colour + 3 * s[x0 + i];
                add[3 * i] = c[0];
                add[3 * i + 1] = c[1];
                add[3 * i + 2] = c[2];
            }
            uint8_t* __restrict out = d + 3 * x0;
            for (int j = 0; j < 3 * n; ++j) out[j] = add_saturated(out[j], add[j]);
        }
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
    if ((src->pix_type == lum_fmt_8u || src->pix_type == lum_fmt_16u) &&
        (!region_fits(*src, r.x, r.y, r.width, r.height) || !whole_fits(*dst)))
        return beyond_image;
    if (src->pix_type == lum_fmt_8u) {
        render_8u(*src, r, *dst, palette, contrast, double(brightness));
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
