// The ellipse rasteriser shared by mask generation (measurement) and the
// elliptic structuring element of the morphology (segmentation). Set-up code,
// compiled once: it finds each row's span; filling the spans is a byte fill.
#pragma once

#include <cmath>
#include <cstdint>

#include "lum_lib.h"

namespace lum {

// Calls span_of_row(plane_row, lo, hi) for each row of the width × height view
// at plane point `origin` that the ellipse inscribed in `bounds` (plane
// coordinates) crosses, top to bottom, with view columns [lo, hi): half-axes
// and centre in float, h = sqrt((1 − d²/ry²)·rx²) for the row centre's
// distance d, ends rounded half away from zero, clipped to the view.
template <class Span>
void ellipse_spans(lum_point origin, int32_t width, int32_t height, const lum_rect& bounds, Span&& span_of_row) {
    const int64_t r0 = bounds.y > origin.y ? bounds.y : origin.y;
    const int64_t r1 = int64_t{bounds.y} + bounds.height < int64_t{origin.y} + height ? int64_t{bounds.y} + bounds.height
                                                                                      : int64_t{origin.y} + height;
    const int64_t c0 = bounds.x > origin.x ? bounds.x : origin.x;
    const int64_t c1 = int64_t{bounds.x} + bounds.width < int64_t{origin.x} + width ? int64_t{bounds.x} + bounds.width
                                                                                    : int64_t{origin.x} + width;
    if (r1 <= r0 || c1 <= c0) return;
    const float rx = static_cast<float>(bounds.width) * 0.5f;
    const float ry = static_cast<float>(bounds.height) * 0.5f;
    const float cx = static_cast<float>(bounds.x) + rx;
    const float cy = static_cast<float>(bounds.y) + ry;
    for (int64_t r = r0; r < r1; ++r) {
        const float d = (static_cast<float>(r) + 0.5f) - cy;
        // A row beyond the half-axis has a negative radicand: NaN, and no span.
        const float h = std::sqrt((1.0f - d * d / (ry * ry)) * (rx * rx));
        if (std::isnan(h)) continue;
        const int64_t left = static_cast<int64_t>(std::round(cx - h)) - origin.x;
        const int64_t right = static_cast<int64_t>(std::round(cx + h)) - origin.x;
        if (right < 0 || left > width) continue;
        const int64_t lo = left > 0 ? left : 0, hi = right < width ? right : width;
        if (hi > lo) span_of_row(r, lo, hi);
    }
}

// Sets to 255 the filled ellipse inscribed in `bounds` (plane coordinates)
// within a width × height view of 8-bit samples whose top-left sample is the
// plane point `origin`; the rest of the view is left alone. Always 0.
int8_t draw_ellipse(uint8_t* view, int64_t step, int32_t width, int32_t height, lum_point origin,
                    const lum_rect& bounds);

}  // namespace lum
