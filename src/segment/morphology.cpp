// Morphology: the opening/closing engine behind lum_morph_open_close and the
// erosion/dilation engine used by contour expansion. Both build the
// structuring element from a lum_morph_param record and run the morphology
// kernels over the whole source with replicated borders.
#include "segment/morphology.hpp"

#include <cstring>

#include "image/call_frame.hpp"
#include "primitives/ellipse.hpp"
#include "primitives/fill.hpp"
#include "primitives/morph.hpp"

namespace lum {

namespace {

enum element_shape : int32_t { element_rectangle = 0, element_ellipse = 2 };

// Fills the width × height element (row step = width). A non-positive size
// writes nothing: the kernels then decide.
int8_t build_element(int32_t shape, int32_t width, int32_t height, uint8_t* element) {
    switch (shape) {
        case element_rectangle:
            if (width > 0 && height > 0) {
                const uint8_t inside = 255;
                return map_status(prim::fill<uint8_t>(element, width, {width, height}, &inside, 1));
            }
            return ok;
        case element_ellipse:
            if (!element || width <= 0 || height <= 0) return ok;
            std::memset(element, 0, static_cast<size_t>(width) * static_cast<size_t>(height));
            return draw_ellipse(element, width, width, height, {0, 0}, {0, 0, width, height});
        default: return out_of_range;
    }
}


// Work-buffer query, allocation and run; the destination receives the
// source's width and height with its own step.
template <class T>
int8_t run_kernel(int op, const img& source, img& destination, const uint8_t* element, prim::Size element_size,
                  int query_op, bool op_accepted) {
    int64_t work_bytes = 0;
    LUM_CHECK(map_status(prim::morph_work_size(query_op, size_of(source), element_size, sizeof(T), source.channels,
                                               &work_bytes)));
    auto work = make_scratch<uint8_t>(work_bytes);
    if (!op_accepted) return out_of_range;
    const int64_t row_bytes = int64_t{source.width} * bytes_per_pixel(source);
    if (!span_fits(source, 0, source.height, source.step_bytes, row_bytes) ||
        !span_fits(destination, 0, source.height, destination.step_bytes, row_bytes))
        return beyond_image;
    return map_status(prim::morph<T>(op, static_cast<const T*>(source.frame_buf), step_of(source),
                                     static_cast<T*>(destination.frame_buf), step_of(destination), size_of(source),
                                     static_cast<int>(source.channels), element, element_size, work.get()));
}

}  // namespace

int8_t open_close(img* source, img* destination, const lum_morph_param& param) {
    LUM_CHECK(require_initialised(source, destination));
    auto element = make_scratch<uint8_t>(int64_t{param.width} * param.height);
    LUM_CHECK(build_element(param.shape, param.width, param.height, element.get()));
    return with_sample_type<uint8_t, uint16_t>(source->pix_type, [&]<class T>() -> int8_t {
        if (source->channels != lum_gray) return bad_channels;
        if (!element) return out_of_range;
        const bool accepted = param.operation == prim::morph_open || param.operation == prim::morph_close;
        return run_kernel<T>(param.operation, *source, *destination, element.get(), {param.width, param.height},
                             prim::morph_open, accepted);
    });
}

int8_t erode_dilate(img* source, img* destination, const lum_morph_param& param) {
    LUM_CHECK(require_initialised(source, destination));
    if (source->channels != destination->channels || source->pix_type != destination->pix_type) return mismatch;
    if (param.width <= 0 || param.height <= 0) return out_of_range;
    const lum_data_format format = source->pix_type;
    if (format != lum_fmt_8u && format != lum_fmt_16u && format != lum_fmt_32f) return bad_channels;
    auto element = make_scratch<uint8_t>(int64_t{param.width} * param.height);
    if (!element) return no_memory;
    LUM_CHECK(build_element(param.shape, param.width, param.height, element.get()));
    if (source->channels != lum_gray && source->channels != lum_color) return out_of_range;
    return with_sample_type<uint8_t, uint16_t, float>(format, [&]<class T>() -> int8_t {
        const bool accepted = param.operation == prim::morph_erode || param.operation == prim::morph_dilate;
        return run_kernel<T>(param.operation, *source, *destination, element.get(), {param.width, param.height},
                             prim::morph_erode, accepted);
    });
}

}  // namespace lum

extern "C" {

LUM_API int8_t lum_morph_open_close(int32_t source, int32_t destination, const lum_morph_param* param) {
    return lum::with_images({source, destination}, [&](img* s, img* d) -> int8_t {
        if (!param) return lum::out_of_range;
        const lum_morph_param copy = *param;
        return lum::open_close(s, d, copy);
    });
}

}  // extern "C"
