// Line profiles: the samples along a segment of a grey image, optionally
// averaged over a band of lines, resampled to the segment's length L. The fast
// form stacks digital lines and shrinks the stack with the resize engine; the
// general form turns the image so that the segment lies along a row.
#include <cmath>
#include <cstring>
#include <memory>

#include "geometry/resize.hpp"
#include "geometry/rotate.hpp"
#include "image/call_frame.hpp"
#include "primitives/line_sample.hpp"
#include "primitives/warp.hpp"

namespace lum {

namespace {

struct Segment {
    lum_point a, b;
    double dx, dy;
    uint32_t length;   // L = trunc(sqrt(dx^2 + dy^2)), dx and dy counting both ends
    int samples;       // S = trunc(max(dx, dy))
};

Segment measure(lum_point a, lum_point b) {
    Segment s{a, b, std::abs(double(b.x) - a.x) + 1.0, std::abs(double(b.y) - a.y) + 1.0, 0, 0};
    s.length = static_cast<uint32_t>(std::sqrt(s.dx * s.dx + s.dy * s.dy));
    s.samples = static_cast<int>(s.dx > s.dy ? s.dx : s.dy);
    return s;
}

// The digital lines from a to b shifted by shifts[i] (x, y pairs), into out[i].
template <class T>
int sample_lines(const img& image, lum_point a, lum_point b, const int32_t* shifts, int lines, T* const* out,
                 int capacity) {
    return prim::sample_lines<T>(pixel_at<const T>(image, 0, 0), step_of(image), size_of(image), a.x, a.y, b.x, b.y,
                                 shifts, lines, out, capacity);
}

template <class T>
int sample_line(const img& image, lum_point a, lum_point b, T* out, int capacity) {
    const int32_t none[2] = {0, 0};
    return sample_lines(image, a, b, none, 1, &out, capacity);
}

// Offsets of the extra lines: built from the negated slope, so the band runs
// across diagonal segments but along horizontal and vertical ones.
void band_offsets(const Segment& s, uint32_t thickness, lum_point* offsets) {
    double ux, uy;
    if (s.a.x == s.b.x) {
        ux = 0.0, uy = 1.0;
    } else if (s.a.y == s.b.y) {
        ux = 1.0, uy = 0.0;
    } else {
        const double k = -(double(s.a.y) - s.b.y) / (double(s.a.x) - s.b.x);
        const double sign = k < 0 ? -1.0 : 1.0, norm = std::sqrt(k * k + 1.0);
        ux = sign / norm;
        uy = sign * k / norm;
    }
    for (uint32_t i = 1; i < thickness; ++i)
        offsets[i] = {static_cast<int32_t>(std::round(i * ux)), static_cast<int32_t>(std::round(i * uy))};
}

bool inside(const img& image, int64_t x, int64_t y) { return x >= 0 && y >= 0 && x < image.width && y < image.height; }

template <class T>
int8_t fast_profile(const img& image, const Segment& s, uint32_t thickness, T* out) {
    const int n = s.samples;
    auto line = make_scratch<T>(n);
    if (!line) return no_memory;
    LUM_CHECK(map_status(sample_line(image, s.a, s.b, line.get(), n)));
    // The stack image: one row per line of the band, zero-filled, with the library's row padding.
    const int step = static_cast<int>(sizeof(T)) * ((n & ~15) + 16);
    const int64_t stack_bytes = int64_t(step) * thickness;
    scratch_ptr<uint8_t> stack(static_cast<uint8_t*>(aligned_alloc64(stack_bytes)));
    if (!stack) return no_memory;
    std::memset(stack.get(), 0, static_cast<size_t>(stack_bytes));
    auto row = [&](uint32_t i) { return reinterpret_cast<T*>(stack.get() + int64_t(step) * i); };
    std::memcpy(row(0), line.get(), sizeof(T) * n);
    if (thickness > 1) {
        if (s.a.x == s.b.x && s.a.y == s.b.y) return out_of_range;
        auto offsets = std::make_unique<lum_point[]>(thickness);
        band_offsets(s, thickness, offsets.get());
        // The shifted lines inside the image are sampled together; one that leaves
        // the image is replaced by the central one.
        auto shifts = std::make_unique<int32_t[]>(2 * thickness);
        auto rows = std::make_unique<T*[]>(thickness);
        int lines = 0;
        for (uint32_t i = 1; i < thickness; ++i) {
            const lum_point a{s.a.x + offsets[i].x, s.a.y + offsets[i].y}, b{s.b.x + offsets[i].x, s.b.y + offsets[i].y};
            if (!inside(image, a.x, a.y) || !inside(image, b.x, b.y)) {
                std::memcpy(row(i), row(0), sizeof(T) * n);
                continue;
            }
            shifts[2 * lines] = offsets[i].x;
            shifts[2 * lines + 1] = offsets[i].y;
            rows[lines++] = row(i);
        }
        if (lines > 0) LUM_CHECK(map_status(sample_lines(image, s.a, s.b, shifts.get(), lines, rows.get(), n)));
    }
    const lum_size from{n, static_cast<int32_t>(thickness)}, to{static_cast<int32_t>(s.length), 1};
    return resize_engine<T>(row(0), step, from, out, static_cast<int>(sizeof(T) * s.length), to, 1,
                            thickness == 1 ? 1 : 2);
}

int8_t check_common(const img* image, const Segment& s, uint32_t thickness, const void* out, const uint32_t* count) {
    if (!out || !count || thickness == 0 || s.length == 0 || s.length > *count) return out_of_range;
    return whole_fits(*image) ? ok : beyond_image;
}

int8_t get_fast_profile(const img* image, lum_point a, lum_point b, uint32_t thickness, void* out, uint32_t* count) {
    LUM_CHECK(require_initialised(image));
    if (image->channels != lum_gray) return bad_format;
    const Segment s = measure(a, b);
    // Strictly greater: a coordinate equal to the width or height passes here and fails in the sampling.
    if (a.x > image->width || b.x > image->width || a.y > image->height || b.y > image->height) return out_of_range;
    LUM_CHECK(check_common(image, s, thickness, out, count));
    *count = s.length;
    return with_sample_type<uint8_t, uint16_t>(image->pix_type, [&]<class T>() {
        return fast_profile(*image, s, thickness, static_cast<T*>(out));
    });
}

// Thickness 1: the digital line resampled from S to L samples.
template <class T>
int8_t thin_profile(const img& image, const Segment& s, T* out) {
    auto line = make_scratch<T>(s.samples);
    if (!line) return no_memory;
    LUM_CHECK(map_status(sample_line(image, s.a, s.b, line.get(), s.samples)));
    const lum_size from{s.samples, 1}, to{static_cast<int32_t>(s.length), 1};
    return resize_engine<T>(line.get(), static_cast<int>(sizeof(T)) * s.samples, from, out,
                            static_cast<int>(sizeof(T) * s.length), to, 1, 1);
}

// Thicker bands: the image is turned about the first point so that the
// segment runs to the right along one row, straight into a band image of
// L x thickness whose middle row holds the segment; the band is then averaged
// down to one row. The band holds whole samples (8 or 16 valid bits), whatever
// the source's valid bits say: rotation and resize do not clamp.
template <class T>
int8_t band_profile(const img& image, const Segment& s, uint32_t thickness, T* out) {
    img band;
    const int bits = sizeof(T) == 1 ? 8 : sizeof(T) == 2 ? 16 : static_cast<int>(image.valid_bits);
    const int8_t made =
        band.init(static_cast<int>(s.length), static_cast<int>(thickness), image.pix_type, lum_gray, bits);
    if (made != ok) return made;
    const double pi = 3.141592653589793;
    const double angle = std::atan2(double(s.b.y) - s.a.y, double(s.b.x) - s.a.x) * 180.0 / pi;
    // The same cosine and sine as the rotation itself uses (exact at right angles).
    double m[6];
    LUM_CHECK(map_status(prim::rotate_transform(angle, 0.0, 0.0, m)));
    const double c = m[0], sn = m[1];
    const int top = static_cast<int>((s.a.y - thickness * 0.5) + 0.5);
    // The first point lands at column 0 and at row y1 - top of the band.
    const double x_shift = -(s.a.x * c + s.a.y * sn);
    const double y_shift = -(-s.a.x * sn + s.a.y * c) + s.a.y - top;
    // The final resize of thickness rows to one reads the band's centre row, and
    // the row below it when the centre falls between two: only those are turned.
    const int t = static_cast<int>(thickness), centre = (t - 1) / 2, last = centre + 1 < t ? centre + 1 : t - 1;
    LUM_CHECK(rotate_image<T>(&image, &band, angle, x_shift, y_shift, 2, centre, last - centre + 1));
    const lum_size from{band.width, band.height}, to{band.width, 1};
    return resize_engine<T>(pixel_at<const T>(band, 0, 0), step_of(band), from, out,
                            static_cast<int>(sizeof(T)) * band.width, to, 1, 2);
}

int8_t get_profile(const img* image, lum_point a, lum_point b, uint32_t thickness, void* out, uint32_t* count) {
    LUM_CHECK(require_initialised(image));
    if (image->channels != lum_gray) return bad_format;
    const Segment s = measure(a, b);
    if (a.x > image->width || b.x > image->width) return out_of_range;
    LUM_CHECK(check_common(image, s, thickness, out, count));
    *count = s.length;
    if (thickness == 1)
        return with_sample_type<uint8_t, uint16_t>(image->pix_type, [&]<class T>() {
            return thin_profile(*image, s, static_cast<T*>(out));
        });
    return with_sample_type<uint8_t, uint16_t, float>(image->pix_type, [&]<class T>() {
        return band_profile(*image, s, thickness, static_cast<T*>(out));
    });
}

}  // namespace
}  // namespace lum

extern "C" {

LUM_API int8_t lum_get_fast_profile(int32_t image, lum_point first, lum_point second, uint32_t thickness,
                                    void* samples, uint32_t* count) {
    return lum::with_images({image}, [&](img* im) {
        return lum::get_fast_profile(im, first, second, thickness, samples, count);
    });
}

LUM_API int8_t lum_get_profile(int32_t image, lum_point first, lum_point second, uint32_t thickness, void* samples,
                               uint32_t* count) {
    return lum::with_images({image}, [&](img* im) {
        return lum::get_profile(im, first, second, thickness, samples, count);
    });
}

}  // extern "C"
