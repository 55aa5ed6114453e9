// Marker-controlled watershed by handle: the seeds of a 16-bit marker image
// flood the grey levels of an 8-bit or 16-bit source; the markers receive
// the basins' labels, with 0 on the lines where basins meet.
#include "image/call_frame.hpp"
#include "primitives/stats.hpp"
#include "primitives/watershed.hpp"

namespace lum::segment {

namespace {

int8_t watershed(const img* source, img* markers) {
    LUM_CHECK(require_initialised(source, markers));
    if (source->channels != lum_gray || markers->channels != lum_gray) return bad_format;
    if (source->pix_type != lum_fmt_8u && source->pix_type != lum_fmt_16u) return bad_format;
    if (markers->pix_type != lum_fmt_16u) return bad_format;
    if (source->width != markers->width || source->height != markers->height) return mismatch;
    if (!whole_fits(*source) || !whole_fits(*markers)) return beyond_image;

    const prim::Size size = size_of(*source);
    auto* labels = static_cast<uint16_t*>(markers->frame_buf);
    uint16_t lowest = 0, highest = 0;
    LUM_CHECK(map_status(prim::min_max_16u_c1(labels, step_of(*markers), size, &lowest, &highest)));
    if (highest == 0) return empty_item;  // no seed to flood from

    const int source_bytes = bytes_per_sample(source->pix_type);
    int64_t bytes = 0;
    LUM_CHECK(map_status(prim::watershed_get_buffer_size(size, source_bytes, &bytes)));
    const auto buffer = make_scratch<uint8_t>(bytes);
    if (!buffer) return no_memory;
    if (source_bytes == 1)
        return map_status(prim::watershed_8u_c1ir(static_cast<const uint8_t*>(source->frame_buf), step_of(*source),
                                                  labels, step_of(*markers), size, buffer.get()));
    return map_status(prim::watershed_16u_c1ir(static_cast<const uint16_t*>(source->frame_buf), step_of(*source),
                                               labels, step_of(*markers), size, buffer.get()));
}

}  // namespace

}  // namespace lum::segment

extern "C" LUM_API int8_t lum_watershed(int32_t source, int32_t markers) {
    return lum::with_images({source, markers}, [](img* s, img* m) { return lum::segment::watershed(s, m); });
}
