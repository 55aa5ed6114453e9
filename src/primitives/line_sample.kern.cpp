// Bresenham line sampling over all octants: the major axis advances every
// step and the error term decides whether the minor one does too, so exactly
// max(|dx|, |dy|) + 1 pixels are visited. Shifted copies of a line take the
// same steps, so the walk is made once per chunk as byte offsets and every
// line reads its samples through them.
#include "primitives/kernel.hpp"
#include "primitives/line_sample.hpp"

namespace lum::prim::LUM_ISA {

namespace {

inline bool inside(Size s, int64_t x, int64_t y) { return x >= 0 && y >= 0 && x < s.width && y < s.height; }

constexpr int kChunk = 1024;

}  // namespace

template <class T>
int sample_lines(const T* image, int step, Size size, int x1, int y1, int x2, int y2, const int32_t* shifts,
                 int lines, T* const* out, int capacity) {
    if (!image || !out || !shifts) return st_null;
    if (empty_region(size)) return st_size;
    for (int i = 0; i < lines; ++i) {
        const int64_t ox = shifts[2 * i], oy = shifts[2 * i + 1];
        if (!inside(size, x1 + ox, y1 + oy) || !inside(size, x2 + ox, y2 + oy)) return st_bad_arg;
    }
    const int dx = x2 > x1 ? x2 - x1 : x1 - x2, dy = y2 > y1 ? y2 - y1 : y1 - y2;
    const int count = (dx > dy ? dx : dy) + 1;
    if (count > capacity) return st_capacity;
    const ptrdiff_t along_x = (x1 < x2 ? 1 : -1) * ptrdiff_t(sizeof(T)), along_y = (y1 < y2 ? 1 : -1) * ptrdiff_t(step);
    const auto* start = reinterpret_cast<const uint8_t*>(row_at(image, step, y1) + x1);
    ptrdiff_t at = 0;  // byte offset of the walk's next pixel from the first
    int err = dx - dy;
    ptrdiff_t offsets[kChunk];
    for (int n0 = 0; n0 < count; n0 += kChunk) {
        const int m = count - n0 < kChunk ? count - n0 : kChunk;
        for (int k = 0; k < m; ++k) {
            offsets[k] = at;
            if (n0 + k + 1 == count) break;
            const int e2 = 2 * err;
            if (dx >= dy) {
                err -= dy;
                at += along_x;
                if (e2 < dx) {
                    err += dx;
                    at += along_y;
                }
            } else {
                err += dx;
                at += along_y;
                if (e2 > -dy) {
                    err -= dy;
                    at += along_x;
                }
            }
        }
        for (int i = 0; i < lines; ++i) {
            const uint8_t* base = start + shifts[2 * i] * ptrdiff_t(sizeof(T)) + shifts[2 * i + 1] * ptrdiff_t(step);
            T* o = out[i] + n0;
            for (int k = 0; k < m; ++k) store_one(o + k, load_one(reinterpret_cast<const T*>(base + offsets[k])));
        }
    }
    return st_ok;
}

LUM_INSTANTIATE(sample_lines, uint8_t)
LUM_INSTANTIATE(sample_lines, uint16_t)

}  // namespace lum::prim::LUM_ISA
