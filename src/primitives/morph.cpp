// The morphology kernels' work-buffer size, compiled once.
#include "primitives/morph.hpp"

namespace lum::prim {

int morph_work_size(int op, Size roi, Size mask, int sample_bytes, int channels, int64_t* bytes) {
    if (!bytes) return st_null;
    if (roi.width <= 0 || roi.height <= 0 || mask.width <= 0 || mask.height <= 0) return st_size;
    if (op < morph_erode || op > morph_close) return st_bad_arg;
    if ((sample_bytes != 1 && sample_bytes != 2 && sample_bytes != 4) || (channels != 1 && channels != 3))
        return st_bad_arg;
    using namespace morph_layout;
    *bytes = element_bytes(mask) + pass_bytes(op, roi, mask, sample_bytes, channels);
    return st_ok;
}

}  // namespace lum::prim
