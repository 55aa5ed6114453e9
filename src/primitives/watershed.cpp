// The watershed kernels' work-buffer size, compiled once.
#include "primitives/watershed.hpp"

namespace lum::prim {

int watershed_get_buffer_size(Size size, int source_bytes, int64_t* bytes) {
    using namespace watershed_layout;
    if (!bytes) return st_null;
    if (size.width <= 0 || size.height <= 0) return st_size;
    if (source_bytes != 1 && source_bytes != 2) return st_bad_arg;
    const uint64_t n = grid_cells(size);
    if (n >= kNone || pool_blocks(n, source_bytes) >= kNone) return st_bad_arg;
    *bytes = static_cast<int64_t>(layout(n, source_bytes).total);
    return st_ok;
}

}  // namespace lum::prim
