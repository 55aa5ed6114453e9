// Watershed flooding over a grid with a one-pixel frame around the region:
// the frame is marked as already flooded, so the eight neighbours of any
// pixel are read without bounds tests. Each grid cell packs the label, the
// flooding state and the grey level. The bucket of each grey level is a FIFO of
// fixed-size blocks taken from one pool in the order of the pushes, so pops
// read the queue sequentially instead of chasing a link per pixel. The
// current level only ever rises, so every pixel is queued once and the whole
// flood is linear in the pixels.
#include "primitives/kernel.hpp"
#include "primitives/watershed.hpp"

namespace lum::prim::LUM_ISA {

namespace {

constexpr uint32_t kQueued = 1u << 16;
constexpr uint32_t kDone = 1u << 17;
constexpr uint32_t kLabel = 0xFFFFu;
constexpr uint32_t kNone = 0xFFFFFFFFu;
constexpr uint32_t kPrefetchDistance = 16;

uint64_t grid_cells(Size size) {
    return (static_cast<uint64_t>(size.width) + 2) * (static_cast<uint64_t>(size.height) + 2);
}


// Entries per queue block: large for 256 levels, small for 65536 levels so
// that the partly filled blocks of many levels stay cheap.
constexpr uint32_t block_entries(int source_bytes) { return source_bytes == 1 ? 1024 : 32; }
constexpr uint64_t level_count(int source_bytes) { return source_bytes == 1 ? 256 : 65536; }

// Blocks in use at once: every block but the first and last of a level is
// full of pixels waiting, and each pixel waits at most once.
uint64_t pool_blocks(uint64_t cells, int source_bytes) {
    return cells / block_entries(source_bytes) + 2 * level_count(source_bytes) + 2;
}

struct Layout {
    uint64_t cell, items, block_next, queues, total;
};

// Byte offsets of the parts of the work buffer.
Layout layout(uint64_t n, int source_bytes) {
    const uint64_t blocks = pool_blocks(n, source_bytes);
    Layout l{};
    l.cell = 0;
    l.items = align64(n * 4 * static_cast<uint64_t>(source_bytes));  // 32-bit cells for 8u, 64-bit for 16u
    l.block_next = l.items + align64(blocks * block_entries(source_bytes) * 4);
    l.queues = l.block_next + align64(blocks * 4);
    l.total = l.queues + level_count(source_bytes) * 16;
    return l;
}

// FIFO buckets, one per grey level, over a pool of blocks.
template <uint32_t B>
struct BucketQueue {
    struct Bucket {
        uint32_t head_block, head_pos, tail_block, tail_pos;
    };
    uint32_t* __restrict items;
    uint32_t* __restrict block_next;
    Bucket* __restrict buckets;
    uint32_t free_list = kNone;
    uint32_t fresh = 0;  // blocks never used so far start here

    uint32_t take_block() {
        if (free_list != kNone) {
            const uint32_t b = free_list;
            free_list = block_next[b];
            return b;
        }
        return fresh++;
    }
    void give_block(uint32_t b) {
        block_next[b] = free_list;
        free_list = b;
    }
    void push(uint32_t level, uint32_t p) {
        Bucket& q = buckets[level];
        if (q.tail_block == kNone || q.tail_pos == B) {
            const uint32_t b = take_block();
            block_next[b] = kNone;
            if (q.tail_block == kNone)
                q.head_block = b, q.head_pos = 0;
            else
                block_next[q.tail_block] = b;
            q.tail_block = b;
            q.tail_pos = 0;
        }
        items[static_cast<uint64_t>(q.tail_block) * B + q.tail_pos++] = p;
    }
    // The pixel `ahead` places behind the oldest one of the level when it
    // sits in the same block, else kNone: its neighbourhood is fetched early.
    uint32_t peek(uint32_t level, uint32_t ahead) const {
        const Bucket& q = buckets[level];
        if (q.head_block == kNone) return kNone;
        const uint32_t pos = q.head_pos + ahead;
        const uint32_t end = q.head_block == q.tail_block ? q.tail_pos : B;
        return pos < end ? items[static_cast<uint64_t>(q.head_block) * B + pos] : kNone;
    }
    // The oldest pixel of the level, or kNone when it has none left.
    uint32_t pop(uint32_t level) {
        Bucket& q = buckets[level];
        if (q.head_block == kNone) return kNone;
        const uint32_t b = q.head_block;
        const uint32_t p = items[static_cast<uint64_t>(b) * B + q.head_pos++];
        if (b == q.tail_block ? q.head_pos == q.tail_pos : q.head_pos == B) {
            q.head_block = b == q.tail_block ? kNone : block_next[b];
            q.head_pos = 0;
            if (b == q.tail_block) q.tail_block = kNone;
            give_block(b);
        }
        return p;
    }
};

// One cell per grid pixel: label in bits 0-15, the state in bits 16-17 and
// the grey level from bit 24 (8-bit sources) or bit 32 (16-bit sources), so
// that one load brings everything the flood needs of a neighbour.
template <class T>
struct CellOf;
template <>
struct CellOf<uint8_t> {
    using type = uint32_t;
    static constexpr int shift = 24;
};
template <>
struct CellOf<uint16_t> {
    using type = uint64_t;
    static constexpr int shift = 32;
};

template <class T>
int flood(const T* src, int src_step, uint16_t* markers, int markers_step, Size size, uint8_t* buffer) {
    if (!src || !markers || !buffer) return st_null;
    if (empty_region(size)) return st_size;
    using Cell = typename CellOf<T>::type;
    constexpr int shift = CellOf<T>::shift;
    constexpr int bytes = static_cast<int>(sizeof(T));
    constexpr uint32_t levels = static_cast<uint32_t>(level_count(bytes));
    constexpr Cell busy = kDone | kQueued;
    const uint64_t n = grid_cells(size);
    const Layout parts = layout(n, bytes);
    const int64_t stride = static_cast<int64_t>(size.width) + 2;
    Cell* __restrict cell = reinterpret_cast<Cell*>(buffer + parts.cell);
    using Queue = BucketQueue<block_entries(bytes)>;
    Queue queue{reinterpret_cast<uint32_t*>(buffer + parts.items), reinterpret_cast<uint32_t*>(buffer + parts.block_next),
                reinterpret_cast<typename Queue::Bucket*>(buffer + parts.queues)};
    for (uint32_t l = 0; l < levels; ++l) queue.buckets[l] = {kNone, 0, kNone, 0};
    auto level_of = [](Cell c) { return static_cast<uint32_t>(c >> shift); };

    // The grid: frame cells are done and unlabelled; seeds are done.
    for (int64_t x = 0; x < stride; ++x) cell[x] = kDone, cell[n - 1 - x] = kDone;
    for (int y = 0; y < size.height; ++y) {
        const uint16_t* __restrict m = row_at(markers, markers_step, y);
        const T* __restrict s = row_at(src, src_step, y);
        Cell* __restrict c = cell + (y + 1) * stride;
        c[0] = c[stride - 1] = kDone;
        for (int x = 0; x < size.width; ++x)
            c[x + 1] = (static_cast<Cell>(s[x]) << shift) | (m[x] ? (m[x] | kDone) : 0u);
    }

    const int64_t offsets[8] = {-stride - 1, -stride, -stride + 1, -1, 1, stride - 1, stride, stride + 1};

    // The first wave: unlabelled neighbours of the seeds, seeds in raster order.
    uint32_t current = levels;
    for (int y = 0; y < size.height; ++y) {
        const uint32_t row = static_cast<uint32_t>((y + 1) * stride + 1);
        for (int x = 0; x < size.width; ++x) {
            const uint32_t p = row + x;
            if (!(cell[p] & kLabel)) continue;
            for (const int64_t o : offsets) {
                const uint32_t q = static_cast<uint32_t>(p + o);
                if (cell[q] & busy) continue;
                cell[q] |= kQueued;
                const uint32_t l = level_of(cell[q]);
                queue.push(l, q);
                current = l < current ? l : current;
            }
        }
    }

    while (current < levels) {
        const uint32_t p = queue.pop(current);
        if (p == kNone) {
            ++current;
            continue;
        }
        // Pops jump around the image; fetching the neighbourhood of a pixel
        // a few pops ahead overlaps its cache misses with this one's work.
        if (const uint32_t a = queue.peek(current, kPrefetchDistance); a != kNone) {
            __builtin_prefetch(cell + a - stride, 1);
            __builtin_prefetch(cell + a, 1);
            __builtin_prefetch(cell + a + stride, 1);
        }
        uint32_t label = 0;
        bool line = false;
        for (const int64_t o : offsets) {
            const uint32_t l = static_cast<uint32_t>(cell[p + o] & kLabel);
            line |= l != 0 && label != 0 && l != label;
            label = label ? label : l;
        }
        const Cell own = cell[p] & ~static_cast<Cell>(busy | kLabel);
        if (line) {
            cell[p] = own | kDone;  // the watershed line: unlabelled, and it floods no further
            continue;
        }
        cell[p] = own | label | kDone;
        for (const int64_t o : offsets) {
            const uint32_t q = static_cast<uint32_t>(p + o);
            const Cell c = cell[q];
            if (c & busy) continue;
            cell[q] = c | kQueued;
            const uint32_t l = level_of(c);
            queue.push(l > current ? l : current, q);
        }
    }

    for (int y = 0; y < size.height; ++y) {
        uint16_t* __restrict m = row_at(markers, markers_step, y);
        const Cell* __restrict c = cell + (y + 1) * stride + 1;
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
    if (n >= kNone || pool_blocks(n, source_bytes) >= kNone) return st_bad_arg;
    *bytes = static_cast<int64_t>(layout(n, source_bytes).total);
    return st_ok;
}

int watershed_8u_c1ir(const uint8_t* s, int ss, uint16_t* m, int ms, Size z, uint8_t* b) {
    return flood(s, ss, m, ms, z, b);
}
int watershed_16u_c1ir(const uint16_t* s, int ss, uint16_t* m, int ms, Size z, uint8_t* b) {
    return flood(s, ss, m, ms, z, b);
}

}  // namespace lum::prim::LUM_ISA
