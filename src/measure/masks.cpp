// Masks: rectangles, ellipses and polygons drawn as 255 on 0 into an 8-bit
// mask that may view part of a larger plane, and the mean, deviation and
// extremes of an image's samples under such a mask.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "image/call_frame.hpp"
#include "primitives/ellipse.hpp"
#include "primitives/fill.hpp"
#include "primitives/mask.hpp"

namespace lum {

namespace {

constexpr uint8_t kInside = 255;

enum shape_code : uint32_t { shape_rectangle = 0, shape_ellipse = 1, shape_polygon = 2 };

// Half-open span [lo, hi) of plane coordinates.
struct span {
    int64_t lo, hi;
    bool empty() const { return hi <= lo; }
};

span overlap(int64_t a, int64_t a_len, int64_t b, int64_t b_len) {
    return {std::max(a, b), std::min(a + a_len, b + b_len)};
}

// The mask as a view onto the plane, written one row at a time, top to
// bottom: a row is zeroed (its whole step, padding included) just before its
// spans are set, and finish() zeroes the rows never visited. Every byte thus
// leaves the cache once, and earlier content never survives. A borrowed
// buffer whose step is shorter than a row is zeroed whole up front instead.
class painter {
public:
    painter(img& mask, lum_point origin)
        : buf_(static_cast<uint8_t*>(mask.frame_buf)), step_(mask.step_bytes), width(mask.width),
          height(mask.height), origin(origin), upfront_(step_ < width) {
        if (upfront_) mask.clear_data();
    }
    // The mask row showing plane row y; rows are asked for in increasing order.
    uint8_t* row(int64_t plane_y) {
        const int64_t r = plane_y - origin.y;
        zero_rows_until(r + 1);
        return buf_ + r * step_;
    }
    // Rows r0..r1-1 zeroed outside columns [lo, hi), which the caller fills.
    uint8_t* block(int64_t plane_r0, int64_t plane_r1, int64_t lo, int64_t hi) {
        const int64_t r0 = plane_r0 - origin.y, r1 = plane_r1 - origin.y;
        zero_rows_until(r0);
        if (!upfront_) {
            for (int64_t r = r0; r < r1; ++r) {
                std::memset(buf_ + r * step_, 0, static_cast<size_t>(lo));
                std::memset(buf_ + r * step_ + hi, 0, static_cast<size_t>(step_ - hi));
            }
            next_ = r1;
        }
        return buf_ + r0 * step_ + lo;
    }
    void finish() { zero_rows_until(height); }
    int64_t step() const { return step_; }
    lum_rect whole() const { return {origin.x, origin.y, width, height}; }

private:
    void zero_rows_until(int64_t end) {
        if (upfront_) return;
        for (; next_ < end; ++next_) std::memset(buf_ + next_ * step_, 0, static_cast<size_t>(step_));
    }
    uint8_t* buf_;
    int64_t step_;

public:
    const int32_t width, height;
    const lum_point origin;

private:
    bool upfront_;
    int64_t next_ = 0;
};

int8_t draw_rectangle(painter& v, const lum_rect& bounds) {
    const span cols = overlap(bounds.x, bounds.width, v.origin.x, v.width);
    const span rows = overlap(bounds.y, bounds.height, v.origin.y, v.height);
    if (cols.empty() || rows.empty()) return ok;
    uint8_t* first = v.block(rows.lo, rows.hi, cols.lo - v.origin.x, cols.hi - v.origin.x);
    return map_status(prim::fill<uint8_t>(first, static_cast<int>(v.step()),
                                          {static_cast<int32_t>(cols.hi - cols.lo), static_cast<int32_t>(rows.hi - rows.lo)},
                                          &kInside, 1));
}

// Crossing of the edge from a to b with row y, or false when there is none.
// The end with the larger y counts, the other never, so a vertex shared by a
// rising and a falling edge gives two crossings and a vertex on a monotone
// chain gives one.
bool edge_crossing(lum_point a, lum_point b, int64_t y, int64_t& x) {
    if (a.y == b.y) return false;
    const lum_point& high = a.y > b.y ? a : b;
    if (high.y == y) {
        x = high.x;
        return true;
    }
    const int64_t lo = std::min(a.y, b.y), hi = std::max(a.y, b.y);
    if (y <= lo || y >= hi) return false;
    const float t = static_cast<float>(int64_t{a.x} - b.x) * static_cast<float>(y - b.y) /
                    static_cast<float>(int64_t{a.y} - b.y);
    x = static_cast<int64_t>(std::round(t + static_cast<float>(b.x)));
    return true;
}

int8_t draw_polygon(painter& v, const lum_point* points, int32_t count) {
    if (!points || count < 1) return empty_item;
    int64_t min_x = points[0].x, max_x = points[0].x, min_y = points[0].y, max_y = points[0].y;
    for (int32_t i = 1; i < count; ++i) {
        min_x = std::min<int64_t>(min_x, points[i].x);
        max_x = std::max<int64_t>(max_x, points[i].x);
        min_y = std::min<int64_t>(min_y, points[i].y);
        max_y = std::max<int64_t>(max_y, points[i].y);
    }
    const span cols = overlap(min_x, max_x + 1 - min_x, v.origin.x, v.width);
    const span rows = overlap(min_y, max_y + 1 - min_y, v.origin.y, v.height);
    if (cols.empty() || rows.empty()) return ok;

    std::vector<int64_t> crossings;
    crossings.reserve(static_cast<size_t>(count) + 1);
    for (int64_t y = rows.lo; y < rows.hi; ++y) {
        crossings.clear();
        int64_t x;
        // The closing edge (last vertex to first) is taken first.
        for (int32_t i = 0; i < count; ++i) {
            const lum_point a = points[i == 0 ? count - 1 : i - 1], b = points[i];
            if (edge_crossing(a, b, y, x)) crossings.push_back(x);
        }
        std::sort(crossings.begin(), crossings.end());
        for (size_t i = 0; i + 1 < crossings.size(); i += 2) {
            if (crossings[i + 1] > max_x + 1) return bad_output;
            const int64_t lo = std::max<int64_t>(crossings[i], v.origin.x);
            const int64_t hi = std::min<int64_t>(crossings[i + 1] + 1, int64_t{v.origin.x} + v.width);
            if (hi <= lo) continue;
            LUM_CHECK(map_status(prim::fill_bytes(kInside, v.row(y) + (lo - v.origin.x), static_cast<int32_t>(hi - lo))));
        }
    }
    return ok;
}

// Dispatch on the shape; `points` and `count` as the caller's generator
// passes them on.
int8_t draw(painter& v, uint32_t shape, const lum_point* points, int32_t count) {
    // Two points stand for the bounding rectangle of a rectangle or ellipse;
    // otherwise the shape spans the whole view.
    lum_rect bounds = v.whole();
    const auto read_bounds = [&]() -> int8_t {
        if (count != 2) return ok;
        if (!points) return empty_item;
        std::memcpy(&bounds, points, sizeof bounds);
        return ok;
    };
    // Masks this small come out as rectangles, whatever the shape.
    if (v.width < 3 && v.height < 3) {
        LUM_CHECK(read_bounds());
        return draw_rectangle(v, bounds);
    }
    switch (shape) {
        case shape_rectangle: LUM_CHECK(read_bounds()); return draw_rectangle(v, bounds);
        case shape_ellipse:
            LUM_CHECK(read_bounds());
            ellipse_spans(v.origin, v.width, v.height, bounds, [&](int64_t r, int64_t lo, int64_t hi) {
                std::memset(v.row(r) + lo, kInside, static_cast<size_t>(hi - lo));
            });
            return ok;
        case shape_polygon: return draw_polygon(v, points, count);
        default: return out_of_range;
    }
}

// Common path of both generators; `points` and `count` as the caller's
// generator passes them on.
int8_t generate(img* mask, lum_point origin, uint32_t shape, const lum_point* points, int32_t count) {
    LUM_CHECK(require_initialised(mask));
    if (mask->channels != lum_gray || mask->pix_type != lum_fmt_8u) return bad_format;
    if (mask->width > 0 && mask->height > 0 &&
        !region_fits(*mask, 0, 0, mask->width, mask->height))
        return beyond_image;
    painter v(*mask, origin);
    const int8_t status = draw(v, shape, points, count);
    v.finish();
    return status;
}

enum class statistic { mean, mean_stddev, min_max };

// Checks in the order the masked statistics share; ok when the image area
// under the mask at (x, y) may be read.
int8_t check_masked(const img* image, int32_t x, int32_t y, const img* mask) {
    LUM_CHECK(require_initialised(mask));
    if (mask->channels != lum_gray || mask->pix_type != lum_fmt_8u) return bad_format;
    LUM_CHECK(require_initialised(image));
    if (x < 0 || y < 0 || mask->width < 1 || mask->height < 1) return out_of_range;
    if (int64_t{x} + mask->width > image->width || int64_t{y} + mask->height > image->height) return beyond_image;
    if (image->channels != lum_gray) return bad_format;
    if (image->pix_type != lum_fmt_8u && image->pix_type != lum_fmt_16u) return bad_format;
    if (!region_fits(*image, x, y, mask->width, mask->height) ||
        !region_fits(*mask, 0, 0, mask->width, mask->height))
        return beyond_image;
    return ok;
}

int8_t masked_statistic(statistic what, img* image, int32_t x, int32_t y, img* mask, double* mean = nullptr,
                        double* stddev = nullptr, float* minimum = nullptr, float* maximum = nullptr) {
    LUM_CHECK(check_masked(image, x, y, mask));
    return with_sample_type<uint8_t, uint16_t>(image->pix_type, [&]<class T>() -> int8_t {
        const T* src = pixel_at<const T>(*image, x, y);
        const auto* m = static_cast<const uint8_t*>(mask->frame_buf);
        const int ss = step_of(*image), ms = step_of(*mask);
        const prim::Size size = size_of(*mask);
        if (what == statistic::min_max)
            return map_status(prim::masked_min_max<T>(src, ss, m, ms, size, minimum, maximum));
        return map_status(
            prim::masked_moments<T>(src, ss, m, ms, size, mean, stddev, what == statistic::mean_stddev));
    });
}

}  // namespace

}  // namespace lum

using lum::with_images;

extern "C" {

LUM_API int8_t lum_generate_mask(int32_t mask, uint32_t shape, const lum_point* points, int32_t count) {
    return with_images({mask}, [&](img* m) {
        // Only the polygon takes the points: a rectangle or ellipse spans the whole mask.
        const bool polygon = shape == lum::shape_polygon;
        return lum::generate(m, {0, 0}, shape, polygon ? points : nullptr, polygon ? count : 0);
    });
}

LUM_API int8_t lum_generate_mask_part(int32_t mask, lum_point origin, uint32_t shape, const lum_point* points,
                                      int32_t count) {
    return with_images({mask}, [&](img* m) { return lum::generate(m, origin, shape, points, count); });
}

LUM_API int8_t lum_mask_mean(int32_t image, int32_t x, int32_t y, int32_t mask, double* mean) {
    return with_images({image, mask}, [&](img* im, img* m) {
        return lum::masked_statistic(lum::statistic::mean, im, x, y, m, mean);
    });
}

LUM_API int8_t lum_mask_mean_stddev(int32_t image, int32_t x, int32_t y, int32_t mask, double* mean,
                                    double* stddev) {
    return with_images({image, mask}, [&](img* im, img* m) {
        return lum::masked_statistic(lum::statistic::mean_stddev, im, x, y, m, mean, stddev);
    });
}

LUM_API int8_t lum_mask_min_max(int32_t image, int32_t x, int32_t y, int32_t mask, float* minimum,
                                float* maximum) {
    return with_images({image, mask}, [&](img* im, img* m) {
        return lum::masked_statistic(lum::statistic::min_max, im, x, y, m, nullptr, nullptr, minimum, maximum);
    });
}

}  // extern "C"
