// Contour tracing of one-channel 8-bit and 16-bit images into the contour
// store, the copy of a traced set into the caller's arrays, the expansion of a
// contour by dilation, and the decomposition of a contour into vertical runs.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>

#include "image/call_frame.hpp"
#include "primitives/contour_scan.hpp"
#include "segment/contour_store.hpp"
#include "segment/morphology.hpp"

namespace lum::contours {

namespace {

// Direction codes 0..7: left, down-left, down, down-right, right, up-right, up, up-left.
constexpr int kDx[8] = {-1, -1, 0, 1, 1, 1, 0, -1};
constexpr int kDy[8] = {0, 1, 1, 1, 0, -1, -1, -1};

// The next-direction search as a table: for incoming code d and the mask of
// non-zero neighbours (bit s for direction s), the first of d + 2 .. d + 7
// present in the mask, or d when none is.
struct direction_table {
    uint8_t code[8][256];
    constexpr direction_table() : code{} {
        for (int d = 0; d < 8; ++d)
            for (int mask = 0; mask < 256; ++mask) {
                int found = d;
                for (int k = 7; k >= 2; --k)
                    if (mask & (1 << ((d + k) & 7))) found = (d + k) & 7;
                code[d][mask] = static_cast<uint8_t>(found);
            }
    }
};
constexpr direction_table kNext;

// Bounding box of a boundary chain. Consecutive points differ by at most one
// in each coordinate, so a point k above the current minimum (or below the
// maximum) cannot be beaten by any of the next k points, which are skipped.
lum_rect bounding_box(const lum_point* p, int32_t n) {
    if (n <= 0) return {0, 0, 0, 0};
    int32_t min_x = p[0].x, max_x = p[0].x, min_y = p[0].y, max_y = p[0].y;
    if (n < 88) {
        for (int32_t i = 1; i < n; ++i) {
            min_x = std::min(min_x, p[i].x);
            max_x = std::max(max_x, p[i].x);
            min_y = std::min(min_y, p[i].y);
            max_y = std::max(max_y, p[i].y);
        }
    } else {
        const int32_t stride = n / 8;
        for (int32_t k = 0; k < 8; ++k) {
            const lum_point q = p[k * stride];
            min_x = std::min(min_x, q.x);
            max_x = std::max(max_x, q.x);
            min_y = std::min(min_y, q.y);
            max_y = std::max(max_y, q.y);
        }
        for (int32_t i = 0; i < n;) {
            const int32_t k = p[i].x - min_x;
            if (k < 0) min_x = p[i].x;
            i += 1 + std::max(k, 0);
        }
        for (int32_t i = 0; i < n;) {
            const int32_t k = max_x - p[i].x;
            if (k < 0) max_x = p[i].x;
            i += 1 + std::max(k, 0);
        }
        for (int32_t i = 0; i < n;) {
            const int32_t k = p[i].y - min_y;
            if (k < 0) min_y = p[i].y;
            i += 1 + std::max(k, 0);
        }
        for (int32_t i = 0; i < n;) {
            const int32_t k = max_y - p[i].y;
            if (k < 0) max_y = p[i].y;
            i += 1 + std::max(k, 0);
        }
    }
    return {min_x, min_y, max_x - min_x + 1, max_y - min_y + 1};
}

// True when (qx, qy) lies on the contour or inside it: a ray from the query
// downward along its column, counting the runs of boundary points on that
// column that the chain crosses (enters from one side, leaves to the other).
// Points that cannot reach the query's column or row soon are skipped by the
// distance the unit-step chain needs to get there.
bool on_or_inside(const lum_point* p, int32_t n, const lum_rect& b, int32_t qx, int32_t qy) {
    if (qx < b.x || qx > b.x + b.width - 1 || qy < b.y || qy > b.y + b.height - 1) return false;
    bool inside = false;
    for (int32_t i = 0; i < n;) {
        const int32_t x = p[i].x, y = p[i].y;
        if (x != qx || y < qy) {
            const int32_t ax = std::abs(x - qx);
            i += 1 + std::max(qy - y, ax >= 1 ? ax - 1 : 0);
            continue;
        }
        const bool came_from_right = p[i == 0 ? n - 1 : i - 1].x > qx;
        int32_t j = i;
        for (; j < n && p[j].x == qx; ++j)
            if (p[j].y == qy) return true;
        const bool leaves_to_right = p[j == n ? 0 : j].x > qx;
        if (leaves_to_right != came_from_right) inside = !inside;
        i = j;
    }
    return inside;
}

// Contours by the grid cells (64 x 64 pixels) their boxes overlap, so a start
// point is tested only against the few contours whose boxes can hold it.
class box_index {
public:
    box_index(int32_t width, int32_t height)
        : cols_((width + kCell - 1) >> kShift), rows_((height + kCell - 1) >> kShift),
          cells_(static_cast<size_t>(cols_) * rows_) {}

    // Start points come in row order, so rows above `from_y` are never asked for again.
    void add(int32_t id, const lum_rect& b, int32_t from_y) {
        const int32_t y0 = std::max(b.y, from_y) >> kShift, y1 = (b.y + b.height - 1) >> kShift;
        const int32_t x0 = b.x >> kShift, x1 = (b.x + b.width - 1) >> kShift;
        for (int32_t cy = y0; cy <= y1 && cy < rows_; ++cy)
            for (int32_t cx = x0; cx <= x1 && cx < cols_; ++cx) cells_[static_cast<size_t>(cy) * cols_ + cx].push_back(id);
    }
    const std::vector<int32_t>& at(int32_t x, int32_t y) const {
        return cells_[static_cast<size_t>(y >> kShift) * cols_ + (x >> kShift)];
    }

private:
    static constexpr int kShift = 6;
    static constexpr int kCell = 1 << kShift;
    int32_t cols_, rows_;
    std::vector<std::vector<int32_t>> cells_;
};

// Traces the outer boundaries of the non-zero objects of a W x H image with a
// row pitch of P samples. Every position the trace reaches after its first
// step is a non-zero pixel inside the image (the search either finds one or
// steps back to where it came from), so only that first step and the return
// to the start need checking on the way.
template <class T>
class tracer {
public:
    tracer(const T* base, int64_t pitch, int32_t width, int32_t height)
        : base_(base), pitch_(pitch), w_(width), h_(height) {
        for (int d = 0; d < 8; ++d) off_[d] = kDy[d] * pitch + kDx[d];
    }

    int trace_into(contour_set& set) {
        if (h_ - 1 < 1 || w_ < 2) return prim::st_ok;
        box_index index(w_, h_);
        std::vector<int32_t> xs(static_cast<size_t>(w_));
        for (int32_t y = 0; y <= h_ - 2; ++y) {
            const T* row = base_ + y * pitch_;
            int32_t found = 0;
            const int status = scan_row(y == 0 ? nullptr : row - pitch_, row, xs.data(), &found);
            if (status != 0) return status;
            for (int32_t k = 0; k < found; ++k) {
                const int32_t x = xs[k];
                if (inside_earlier(set, index, x, y)) continue;
                if (!trace_from(set, x, y)) continue;
                contour& c = set.contours.back();
                index.add(static_cast<int32_t>(set.contours.size() - 1), c.box, y);
            }
        }
        return prim::st_ok;
    }

private:
    int scan_row(const T* above, const T* row, int32_t* xs, int32_t* found) const {
        return prim::contour_starts<T>(above, row, w_, xs, found);
    }

    bool inside_earlier(const contour_set& set, const box_index& index, int32_t x, int32_t y) const {
        for (int32_t id : index.at(x, y)) {
            const contour& c = set.contours[static_cast<size_t>(id)];
            if (on_or_inside(c.points, c.count, c.box, x, y)) return true;
        }
        return false;
    }

    // Past the right or bottom edge reads as zero; callers rule out negatives.
    bool nonzero(int32_t x, int32_t y) const { return x < w_ && y < h_ && set(base_ + y * pitch_ + x); }

    // A caller's buffer may sit at any address: samples are read as bytes.
    static bool set(const T* p) {
        T v;
        std::memcpy(&v, p, sizeof v);
        return v != 0;
    }

    // First direction from d + 2 to d + 7 whose neighbour is inside and non-zero, else d.
    // The eight neighbours are gathered into a bit mask and the answer is looked
    // up, which spares the processor a badly predicted branch per neighbour.
    int next_direction(int32_t x, int32_t y, const T* at, int d) const {
        unsigned mask = 0;
        if (x > 0 && y > 0 && x < w_ - 1 && y < h_ - 1) {
            for (int s = 0; s < 8; ++s) mask |= static_cast<unsigned>(set(at + off_[s])) << s;
        } else {
            for (int s = 0; s < 8; ++s) {
                const int32_t nx = x + kDx[s], ny = y + kDy[s];
                if (nx >= 0 && nx < w_ && ny >= 0 && ny < h_) mask |= static_cast<unsigned>(set(at + off_[s])) << s;
            }
        }
        return kNext.code[d & 7][mask];
    }

    // Moves the contour being traced (len points at out) to a new block with
    // room for at least as many again.
    void grow(contour_set& set, lum_point*& out, size_t len) {
        const size_t size = std::max(kBlockPoints, 2 * len + 16);
        const bool replace = used_ == 0 && !set.blocks.empty();  // the old block holds nothing finished
        if (!replace) set.blocks.emplace_back();
        const point_block block = blocks_.take(size);
        if (len > 0) std::memcpy(block.data, out, len * sizeof(lum_point));
        if (replace) block_source::give(set.blocks.back());
        set.blocks.back() = block;
        block_ = block.data;
        used_ = 0;
        cap_ = size;
        out = block_;
    }

    // Follows the boundary from start point (sx, sy) until it comes back to it.
    // Accepted boundaries (nine points or more) become a contour of the set.
    bool trace_from(contour_set& set, int32_t sx, int32_t sy) {
        const T* at = base_ + sy * pitch_ + sx;
        int d = next_direction(sx, sy, at, 0);
        int32_t x = sx + kDx[d], y = sy + kDy[d];
        if (x < 0 || y < 0 || !nonzero(x, y)) return false;
        at += off_[d];
        lum_point* out = block_ + used_;
        size_t len = 0;
        if (used_ == cap_) grow(set, out, len);
        out[len++] = {sx, sy};
        // A walk that falls into a loop not passing the start would never end;
        // Brent's check on (position, direction) notices it with no extra memory.
        int32_t saved_x = x, saved_y = y;
        int saved_d = d;
        uint64_t steps = 0, lap = 1;
        while (x != sx || y != sy) {
            if (used_ + len == cap_) grow(set, out, len);
            out[len++] = {x, y};
            // The rows a boundary runs down into are usually not yet in cache:
            // ask for the lines eight rows below while this step is worked out.
            // (A prefetch never faults; the address is formed as an integer.)
            const uintptr_t below = reinterpret_cast<uintptr_t>(at) + static_cast<uintptr_t>(8 * pitch_ * sizeof(T));
            __builtin_prefetch(reinterpret_cast<const void*>(below - 32));
            __builtin_prefetch(reinterpret_cast<const void*>(below + 32));
            d = next_direction(x, y, at, d + 4);
            x += kDx[d];
            y += kDy[d];
            at += off_[d];
            if (x == saved_x && y == saved_y && d == saved_d) return false;
            if (++steps == lap) {
                saved_x = x;
                saved_y = y;
                saved_d = d;
                lap *= 2;
                steps = 0;
            }
        }
        if (len < 9) return false;  // closed within eight steps: too small to report
        const auto n = static_cast<int32_t>(len);
        set.contours.push_back({out, n, bounding_box(out, n)});
        used_ += len;
        return true;
    }

    const T* base_;
    int64_t pitch_;
    int32_t w_, h_;
    int64_t off_[8];
    block_source blocks_;
    lum_point* block_ = nullptr;  // the set's last block: used_ of cap_ points taken
    size_t used_ = 0, cap_ = 0;
};

// Traces a one-channel 8-bit or 16-bit image into `set`: 0, or -2 when the
// rows would leave the buffer, -5 when the start-point scan fails.
int8_t trace_image(const img& im, contour_set& set) {
    const int bps = bytes_per_sample(im.pix_type);
    const int64_t pitch = static_cast<int64_t>(im.step_bytes) / bps;
    if (im.width >= 2 && im.height >= 2 && !span_fits(im, 0, im.height, pitch * bps, int64_t(im.width) * bps))
        return beyond_image;
    return with_sample_type<uint8_t, uint16_t>(im.pix_type, [&]<class T>() -> int8_t {
        return map_status(tracer<T>(static_cast<const T*>(im.frame_buf), pitch, im.width, im.height).trace_into(set));
    });
}

int32_t find_contours(const img& im, uint32_t* total, uint32_t* count) {
    LUM_CHECK(require_initialised(&im));
    if (im.channels != lum_gray) return bad_format;
    if (im.pix_type != lum_fmt_8u && im.pix_type != lum_fmt_16u) return out_of_range;
    if (!total || !count) return bad_output;
    auto set = std::make_unique<contour_set>();
    LUM_CHECK(trace_image(im, *set));
    *count = static_cast<uint32_t>(set->contours.size());
    *total = set->result_size();
    return register_set(std::move(set));
}

// Grows a contour by r: its points are drawn into a cleared scratch image with
// a margin of r on every side, dilated with the (2r + 1) x (2r + 1) ellipse,
// and the result is traced. Coordinates are those of the scratch image.
int32_t expand_contour(const lum_point* p, int32_t n, const lum_rect& rect, int32_t r, uint32_t* total) {
    const int64_t width = int64_t{rect.width} + 2 * int64_t{r}, height = int64_t{rect.height} + 2 * int64_t{r};
    const int64_t side = 2 * int64_t{r} + 1;
    const auto fits = [](int64_t v) { return v > 0 && v <= INT32_MAX; };
    // The records release their buffers on every path out; an image whose
    // buffer cannot be had stays uninitialised and the engine refuses it.
    img drawn, grown;
    if (fits(width) && fits(height)) {
        const auto w = static_cast<int32_t>(width), h = static_cast<int32_t>(height);
        drawn.init(w, h, lum_fmt_8u, lum_gray, 8);
        grown.init(w, h, lum_fmt_8u, lum_gray, 8);
    }
    if (drawn.ownership != 0) {
        const uint8_t on = 255;
        for (int32_t i = 0; i < n; ++i) {
            const int64_t x = int64_t{p[i].x} - rect.x + r, y = int64_t{p[i].y} - rect.y + r;
            if (x >= 0 && x < drawn.width && y >= 0 && y < drawn.height)
                drawn.set_px_value(static_cast<int32_t>(x), static_cast<int32_t>(y), &on);
        }
    }
    const int32_t element = fits(side) ? static_cast<int32_t>(side) : 0;
    const lum_morph_param param{2, 1, element, element};
    LUM_CHECK(erode_dilate(&drawn, &grown, param));
    LUM_CHECK(require_initialised(&grown));
    if (grown.channels != lum_gray) return bad_format;
    auto set = std::make_unique<contour_set>();
    LUM_CHECK(trace_image(grown, *set));
    *total = set->result_size();
    return register_set(std::move(set));
}

int8_t get_contours_result(int32_t handle, int32_t* result, uint32_t* sizes) {
    if (!result || !sizes) return bad_output;
    if (handle < 0 || handle >= slot_count()) return bad_handle;
    const contour_set* set = slot(handle);
    if (!set || set->contours.empty()) return empty_item;
    int32_t* out = result;
    for (size_t i = 0; i < set->contours.size(); ++i) {
        const contour& c = set->contours[i];
        sizes[i] = 2u * static_cast<uint32_t>(c.count) + 4u;
        std::memcpy(out, c.points, sizeof(lum_point) * static_cast<size_t>(c.count));
        out += 2 * static_cast<size_t>(c.count);
        out[0] = c.box.x;
        out[1] = c.box.y;
        out[2] = c.box.width;
        out[3] = c.box.height;
        out += 4;
    }
    release(handle);
    return ok;
}

int8_t release_contours(int32_t handle) {
    if (handle < 0 || handle >= slot_count()) return bad_handle;
    return release_if_held(handle) ? ok : empty_item;
}

void vline_contour(const lum_point* p, int32_t n, lum_rect r, int32_t* runs, uint32_t* written) {
    if (n <= 0) {
        *written = 0;
        return;
    }
    std::vector<std::vector<int32_t>> columns(static_cast<size_t>(std::max(r.width, 0)));
    float sum_x = 0.0f, sum_y = 0.0f;
    for (int32_t i = 0; i < n; ++i) {
        const lum_point& a = p[i];
        const lum_point& b = p[i == 0 ? n - 1 : i - 1];
        if (a.x != b.x) {
            const lum_point& right = a.x > b.x ? a : b;
            // A column outside the rectangle has no list to receive it.
            const int64_t c = static_cast<int64_t>(right.x) - r.x;
            if (c >= 0 && c < r.width) columns[static_cast<size_t>(c)].push_back(right.y);
        }
        sum_x += static_cast<float>(a.x);
        sum_y += static_cast<float>(a.y);
    }
    // Outputs are 32-bit: the centroid and the area saturate instead of overflowing.
    auto to_int32 = [](double v) {
        return v >= 2147483647.0 ? INT32_MAX : v <= -2147483648.0 ? INT32_MIN : static_cast<int32_t>(v);
    };
    const int32_t cx = to_int32(std::round(sum_x / static_cast<float>(n)));
    const int32_t cy = to_int32(std::round(sum_y / static_cast<float>(n)));
    int64_t area = 0;
    uint32_t count = 0;
    for (size_t c = 0; c < columns.size(); ++c) {
        std::vector<int32_t>& ys = columns[c];
        std::sort(ys.begin(), ys.end());
        // An unpaired last entry (never made by a closed contour) is dropped.
        for (size_t k = 0; k + 1 < ys.size(); k += 2) {
            runs[count++] = to_int32(static_cast<double>(c) + r.x);
            runs[count++] = ys[k];
            runs[count++] = ys[k + 1];
            area += int64_t{ys[k + 1]} - ys[k] + 1;
        }
    }
    runs[count++] = cx;
    runs[count++] = cy;
    runs[count++] = to_int32(static_cast<double>(area));
    *written = count;
}

}  // namespace
}  // namespace lum::contours

extern "C" {

LUM_API int32_t lum_find_contours(int32_t image, uint32_t* total, uint32_t* count) {
    return lum::with_images<int32_t>({image}, [&](img* im) -> int32_t {
        try {
            return lum::contours::find_contours(*im, total, count);
        } catch (const std::bad_alloc&) {
            return lum::no_memory;
        }
    });
}

LUM_API int8_t lum_get_contours_result(int32_t contours, int32_t* result, uint32_t* sizes) {
    return lum::contours::get_contours_result(contours, result, sizes);
}

LUM_API int32_t lum_expand_contour(const lum_point* points, int32_t count, const lum_rect* rect, int32_t distance,
                                   uint32_t* total) {
    if (!rect || (!points && count > 0)) return lum::out_of_range;
    if (!total) return lum::bad_output;
    const lum_rect r = *rect;
    try {
        return lum::contours::expand_contour(points, std::max(count, 0), r, distance, total);
    } catch (const std::bad_alloc&) {
        return lum::no_memory;
    }
}

LUM_API int8_t lum_release_contours(int32_t set) { return lum::contours::release_contours(set); }

LUM_API void lum_vline_contour(const lum_point* points, int32_t count, const lum_rect* rect, int32_t* runs,
                               uint32_t* written) {
    if (!points || !runs || !written || !rect) return;
    const lum_rect r = *rect;
    try {
        lum::contours::vline_contour(points, count, r, runs, written);
    } catch (const std::bad_alloc&) {
        *written = 0;
    }
}

}  // extern "C"
