// Palette rendering: a rectangle of a grey image, scaled by a contrast factor
// and shifted by a brightness offset, indexes a 256-entry palette whose colour
// is added with saturation to a colour image of the rectangle's size.
#include <climits>

#include "image/call_frame.hpp"
#include "primitives/palette.hpp"

namespace lum {

namespace {

// Truncation toward zero; anything outside the int32 range (NaN included) is INT_MIN.
inline int32_t truncate_to_int(double v) {
    return v > -2147483649.0 && v < 2147483648.0 ? static_cast<int32_t>(v) : INT32_MIN;
}

// The colours the kernel adds. The palette's byte order is the reverse of
// the image's channels. 8-bit samples have only 256 values: each one's
// palette entry is worked out here once and folded into the table.
template <class T>
void prepare(prim::PaletteColours& pc, const uint8_t* palette, double contrast, double brightness, int shift) {
    pc.contrast = contrast;
    pc.brightness = brightness;
    pc.shift = shift;
    for (int v = 0; v < 256; ++v) {
        int32_t k = v;
        if constexpr (sizeof(T) == 1) {
            k = truncate_to_int(double(v) * contrast + brightness);
            k = k < 0 ? 0 : k > 255 ? 255 : k;
        }
        const uint8_t* p = palette + 3 * k;
        pc.colour[v][0] = p[2];
        pc.colour[v][1] = p[1];
        pc.colour[v][2] = p[0];
        pc.colour[v][3] = 0;
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
    return with_sample_type<uint8_t, uint16_t>(src->pix_type, [&]<class T>() -> int8_t {
        if (!region_fits(*src, r.x, r.y, r.width, r.height) || !whole_fits(*dst)) return beyond_image;
        // A 16-bit sample is brought to 8 bits by its valid bits: 12-bit 0..4095 spans the palette.
        const int shift = sizeof(T) == 1 ? 0 : int(src->valid_bits - 8) & 31;
        prim::PaletteColours colours;
        prepare<T>(colours, palette, contrast, double(brightness), shift);
        // The checks above leave the kernel nothing to refuse.
        prim::palette_add<T>(pixel_at<const T>(*src, r.x, r.y), step_of(*src), pixel_at<uint8_t>(*dst, 0, 0),
                             step_of(*dst), size_of(r), &colours);
        return ok;
    });
}

}  // namespace
}  // namespace lum

extern "C" LUM_API int8_t lum_computer_color_bc(int32_t source, int32_t destination, const lum_rect* rect,
                                                const uint8_t* palette, double contrast, int32_t brightness) {
    return lum::with_images({source, destination}, [&](img* s, img* d) {
        return lum::computer_color_bc(s, d, rect, palette, contrast, brightness);
    });
}
