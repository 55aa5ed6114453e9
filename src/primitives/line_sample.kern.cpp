// Bresenham line sampling over all octants: the error term decides per step
// whether x, y or both advance, so exactly max(|dx|, |dy|) + 1 pixels are visited.
#include "primitives/kernel.hpp"
#include "primitives/line_sample.hpp"

namespace lum::prim::LUM_ISA {

namespace {

inline bool inside(Size s, int x, int y) { return x >= 0 && y >= 0 && x < s.width && y < s.height; }

}  // namespace

template <class T>
int sample_line(const T* image, int step, Size size, int x1, int y1, int x2, int y2, T* out, int capacity) {
    if (!image || !out) return st_null;
    if (empty_region(size)) return st_size;
    if (!inside(size, x1, y1) || !inside(size, x2, y2)) return st_bad_arg;
    const int dx = x2 > x1 ? x2 - x1 : x1 - x2, dy = y2 > y1 ? y2 - y1 : y1 - y2;
    if ((dx > dy ? dx : dy) + 1 > capacity) return st_capacity;
    const int sx = x1 < x2 ? 1 : -1, sy = y1 < y2 ? 1 : -1;
    int err = dx - dy, x = x1, y = y1, n = 0;
    for (;;) {
        store_one(out + n++, load_one(row_at(image, step, y) + x));
        if (x == x2 && y == y2) break;
        const int e2 = 2 * err;
        if (e2 > -dy) {
            err -= dy;
            x += sx;
        }
        if (e2 < dx) {
            err += dx;
            y += sy;
        }
    }
    return st_ok;
}

LUM_INSTANTIATE(sample_line, uint8_t)
LUM_INSTANTIATE(sample_line, uint16_t)

}  // namespace lum::prim::LUM_ISA
