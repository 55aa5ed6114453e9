// Marker-controlled watershed by flooding: seeds grow into basins in the
// order of the source's grey level, first in first out within a level,
// 8-connected; where two basins meet the sample stays 0.
#pragma once

#include "primitives/primitive.hpp"

namespace lum::prim {

// Bytes of the work buffer for a region of `size` with source samples of
// `source_bytes` (1 or 2) bytes. -13 for another sample size or a region too
// large for 32-bit pixel indexes, -6 for an empty region, -8 for a null
// output. Set-up code, compiled once.
int watershed_get_buffer_size(Size size, int source_bytes, int64_t* bytes);

// Floods `markers` in place from its non-zero samples (the seeds, one label
// each) over the grey levels of `src` (8-bit or 16-bit). On return every
// sample a basin reached holds that basin's label; a sample whose labelled
// neighbours disagreed when it was reached holds 0 (the watershed line) and
// floods no further; a sample no basin reached holds 0. The cost is linear in
// the pixels: one bucket per grey level, each a FIFO list threaded through the
// work buffer (64-byte aligned). Samples and markers at any address.
LUM_KERNEL(watershed, (class T), (T),
           int(const T* src, int src_step, uint16_t* markers, int markers_step, Size size, uint8_t* buffer))

// The layout of the work buffer, shared by the size query and the kernels.
namespace watershed_layout {
constexpr uint32_t kNone = 0xFFFFFFFFu;

inline uint64_t grid_cells(Size size) {
    return (static_cast<uint64_t>(size.width) + 2) * (static_cast<uint64_t>(size.height) + 2);
}

// Entries per queue block: large for 256 levels, small for 65536 levels so
// that the partly filled blocks of many levels stay cheap.
constexpr uint32_t block_entries(int source_bytes) { return source_bytes == 1 ? 1024 : 32; }
constexpr uint64_t level_count(int source_bytes) { return source_bytes == 1 ? 256 : 65536; }

// Blocks in use at once: every block but the first and last of a level is
// full of pixels waiting, and each pixel waits at most once.
inline uint64_t pool_blocks(uint64_t cells, int source_bytes) {
    return cells / block_entries(source_bytes) + 2 * level_count(source_bytes) + 2;
}

struct Layout {
    uint64_t cell, items, block_next, queues, total;
};

// Byte offsets of the parts of the work buffer.
inline Layout layout(uint64_t n, int source_bytes) {
    const uint64_t blocks = pool_blocks(n, source_bytes);
    Layout l{};
    l.cell = 0;
    l.items = align64(n * 4 * static_cast<uint64_t>(source_bytes));  // 32-bit cells for 8u, 64-bit for 16u
    l.block_next = l.items + align64(blocks * block_entries(source_bytes) * 4);
    l.queues = l.block_next + align64(blocks * 4);
    l.total = l.queues + level_count(source_bytes) * 16;
    return l;
}
}  // namespace watershed_layout

}  // namespace lum::prim
