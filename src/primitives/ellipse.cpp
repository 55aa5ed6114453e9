// The ellipse rasteriser's fill of a view.
#include "primitives/ellipse.hpp"

#include <cstring>

namespace lum {

int8_t draw_ellipse(uint8_t* buf, int64_t step, int32_t width, int32_t height, lum_point origin,
                    const lum_rect& bounds) {
    ellipse_spans(origin, width, height, bounds, [&](int64_t r, int64_t lo, int64_t hi) {
        std::memset(buf + (r - origin.y) * step + lo, 255, static_cast<size_t>(hi - lo));
    });
    return 0;
}

}  // namespace lum
