// Watershed flooding over a grid with a one-pixel frame around the region:
// the frame is marked as already flooded, so the eight neighbours of any
// pixel are read without bounds tests. Each grid cell packs the label (low 16
// bits) with the flooding state; the bucket of each grey level is a FIFO list
// threaded through `next`, and the current level only ever rises, so every
// pixel is queued once and the whole flood is linear in the pixels.
#include "primitives/kernel.hpp"
#include "primitives/watershed.hpp"

namespace lum::prim::LUM_ISA {

namespace {

constexpr uint32_t kQueued = 1u << 16;
constexpr uint32_t kDone = 1u << 17;
constexpr uint32_t kLabel = 0xFFFFu;
constexpr uint32_t kNone = 0xFFFFFFFFu;

uint64_t grid_cells(Size size) {
    return (static_cast<uint64_t>(size.width) + 2) * (static_cast<uint64_t>(size.height) + 2);
}

uint64_t align64(uint64_t n) { return (n + 63) & ~uint64_t{63}; }

template <class T>
int flood(const T* src, int src_step, uint16_t* markers, int markers_step, Size size, uint8_t* buffer) {
    if (!src || !markers || !buffer) return st_null;
    if (empty_region(size)) return st_size;
    constexpr uint32_t levels = sizeof(T) == 1 ? 256 : 65536;
    const uint64_t n = grid_cells(size);
    const int64_t stride = static_cast<int64_t>(size.width) + 2;
    uint32_t* __restrict cell = reinterpret_cast<uint32_t*>(buffer);
    uint32_t* __restrict next = reinterpret_cast<uint32_t*>(buffer + align64(n * 4));
    uint32_t* __restrict head = reinterpret_cast<uint32_t*>(buffer + 2 * align64(n * 4));
    uint32_t* __restrict tail = head + levels;
    T* __restrict level = reinterpret_cast<T*>(buffer + 2 * align64(n * 4) + levels * 8);

    // The grid: frame cells are done and unlabelled; seeds are done.
    for (int64_t x = 0; x < stride; ++x) cell[x] = kDone, cell[n - 1 - x] = kDone, level[x] = level[n - 1 - x] = 0;
    for (int y = 0; y < size.height; ++y) {
        const uint16_t* __restrict m = row_at(markers, markers_step, y);
        const T* __restrict s = row_at(src, src_step, y);
        uint32_t* __restrict c = cell + (y + 1) * stride;
        T* __restrict v = level + (y + 1) * stride;
        c[0] = c[stride - 1] = kDone;
        v[0] = v[stride - 1] = 0;
        for (int x = 0; x < size.width; ++x) {
            c[x + 1] = m[x] ? (m[x] | kDone) : 0u;
            v[x + 1] = s[x];
        }
    }
    for (uint32_t l = 0; l < levels; ++l) head[l] = tail[l] = kNone;

    const int64_t offsets[8] = {-stride - 1, -stride, -stride + 1, -1, 1, stride - 1, stride, stride + 1};
    auto push = [&](uint32_t p, uint32_t l) {
        next[p] = kNone;
        if (tail[l] == kNone)
            head[l] = p;
        else
            next[tail[l]] = p;
        tail[l] = p;
    };

    // The first wave: unlabelled neighbours of the seeds, seeds in raster order.
    uint32_t lowest = levels;
    for (int y = 0; y < size.height; ++y) {
        const uint32_t row = static_cast<uint32_t>((y + 1) * stride + 1);
        for (int x = 0; x < size.width; ++x) {
            const uint32_t p = row + x;
            if (!(cell[p] & kLabel)) continue;
            for (const int64_t o : offsets) {
                const uint32_t q = static_cast<uint32_t>(p + o);
                if (cell[q] & (kDone | kQueued)) continue;
                cell[q] |= kQueued;
                push(q, level[q]);
                lowest = level[q] < lowest ? level[q] : lowest;
            }
        }
    }

    for (uint32_t current = lowest; current < levels;) {
        const uint32_t p = head[current];
        if (p == kNone) {
            tail[current] = kNone;
            ++current;
            continue;
        }
        head[current] = next[p];
        if (head[current] == kNone) tail[current] = kNone;

        uint32_t label = 0;
        bool line = false;
        for (const int64_t o : offsets) {
            const uint32_t l = cell[p + o] & kLabel;
            line |= l != 0 && label != 0 && l != label;
            label = label ? label : l;
        }
        if (line) {
            cell[p] = kDone;  // the watershed line: unlabelled, and it floods no further
            continue;
        }
        cell[p] = label | kDone;
        for (const int64_t o : offsets) {
            const uint32_t q = static_cast<uint32_t>(p + o);
            if (cell[q] & (kDone | kQueued)) continue;
            cell[q] |= kQueued;
            const uint32_t l = level[q];
            push(q, l > current ? l : current);
        }
    }

    for (int y = 0; y < size.height; ++y) {
        uint16_t* __restrict m = row_at(markers, markers_step, y);
        const uint32_t* __restrict c = cell + (y + 1) * stride + 1;
        for (int x = 0; x < size.width; ++x) m[x] = static_cast<uint16_t>(c[x] & kLabel);
    }
    return st_ok;
}

}  // namespace

int watershed_get_buffer_size(Size size, int source_bytes, int64_t* bytes) {
    if (!bytes) return st_null;
    if (empty_region(size)) return st_size;
    if (source_bytes != 1 && source_bytes != 2) return st_bad_arg;
    const uint64_t n = grid_cells(size);
    if (n >= kNone) return st_bad_arg;
    const uint64_t levels = source_bytes == 1 ? 256 : 65536;
    *bytes = static_cast<int64_t>(2 * align64(n * 4) + levels * 8 + n * static_cast<uint64_t>(source_bytes));
    return st_ok;
}

int watershed_8u_c1ir(const uint8_t* s, int ss, uint16_t* m, int ms, Size z, uint8_t* b) {
    return flood(s, ss, m, ms, z, b);
}
int watershed_16u_c1ir(const uint16_t* s, int ss, uint16_t* m, int ms, Size z, uint8_t* b) {
    return flood(s, ss, m, ms, z, b);
}

}  // namespace lum::prim::LUM_ISA
