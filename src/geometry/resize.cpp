// Resize: scales a rectangle of one image into a rectangle of another with
// nearest-neighbour, linear or Lanczos interpolation, copying instead when the
// sizes are equal. The engine sizes, sets up and runs the resize kernel with
// scratch blocks that are released on every path.
#include "geometry/resize.hpp"

#include "color/copy.hpp"
#include "image/call_frame.hpp"
#include "primitives/resize.hpp"

namespace lum {

namespace {

// Reports a non-zero status; true when it is an error that ends the engine.
bool failed(int status) { return map_status(status) != ok; }

template <class T, class Filter>
int run_kernel(const T* src, int src_step, T* dst, int dst_step, prim::Size ds, int channels, const void* spec,
               void* work) {
    return prim::resize<T, Filter>(src, src_step, dst, dst_step, {0, 0}, ds, channels, prim::border_replicate, spec,
                                   work);
}

}  // namespace

template <class T>
int8_t resize_engine(const T* src, int src_step, const lum_size& src_size, T* dst, int dst_step,
                     const lum_size& dst_size, int channels, int interpolation) {
    const prim::Size ss{src_size.width, src_size.height}, ds{dst_size.width, dst_size.height};
    int spec_bytes = 0, init_bytes = 0;
    if (failed(prim::resize_get_size(ss, ds, interpolation, 0, &spec_bytes, &init_bytes))) return primitive_failed;
    // Allocation results are not tested: a missing block makes the next kernel fail with -8.
    auto spec = make_scratch<uint8_t>(spec_bytes);
    auto init = make_scratch<uint8_t>(init_bytes);
    int status;
    switch (interpolation) {
        case prim::resize_lanczos: status = prim::resize_lanczos_init(ss, ds, interpolation - 13, spec.get(), init.get()); break;
        case prim::resize_nearest: status = prim::resize_nearest_init(ss, ds, spec.get()); break;
        case prim::resize_linear: status = prim::resize_linear_init(ss, ds, spec.get()); break;
        default: return out_of_range;
    }
    if (failed(status)) return primitive_failed;
    int work_bytes = 0;
    if (failed(prim::resize_get_buffer_size(spec.get(), ds, channels, &work_bytes))) return primitive_failed;
    auto work = make_scratch<uint8_t>(work_bytes);
    if (channels != 1 && channels != 3) return bad_channels;
    switch (interpolation) {
        case prim::resize_nearest:
            status = run_kernel<T, prim::filter::nearest>(src, src_step, dst, dst_step, ds, channels, spec.get(), work.get());
            break;
        case prim::resize_linear:
            status = run_kernel<T, prim::filter::linear>(src, src_step, dst, dst_step, ds, channels, spec.get(), work.get());
            break;
        default:
            status = run_kernel<T, prim::filter::lanczos>(src, src_step, dst, dst_step, ds, channels, spec.get(), work.get());
            break;
    }
    return failed(status) ? primitive_failed : ok;
}

template int8_t resize_engine<uint8_t>(const uint8_t*, int, const lum_size&, uint8_t*, int, const lum_size&, int, int);
template int8_t resize_engine<uint16_t>(const uint16_t*, int, const lum_size&, uint16_t*, int, const lum_size&, int,
                                        int);
template int8_t resize_engine<float>(const float*, int, const lum_size&, float*, int, const lum_size&, int, int);

namespace {

int8_t check_rectangle(const img* image, lum_point origin, lum_size size) {
    LUM_CHECK(require_initialised(image));
    const lum_rect r{origin.x, origin.y, size.width, size.height};
    return check_rect(*image, &r);
}

int8_t resize(const img* src, lum_point so, lum_size ss, img* dst, lum_point dp, lum_size ds, int32_t interpolation) {
    LUM_CHECK(check_rectangle(src, so, ss));
    LUM_CHECK(check_rectangle(dst, dp, ds));
    if (src->channels != dst->channels || src->pix_type != dst->pix_type) return mismatch;
    if (bytes_per_sample(src->pix_type) != 0 &&
        (!region_fits(*src, so.x, so.y, ss.width, ss.height) || !region_fits(*dst, dp.x, dp.y, ds.width, ds.height)))
        return beyond_image;
    if (ss.width == ds.width && ss.height == ds.height) return copy_rect(src, so, dst, dp, ss);
    // Too few source pixels for the wider kernels' neighbourhoods.
    if (ss.width < 6 || ss.height < 6) interpolation = prim::resize_nearest;
    return with_sample_type<uint8_t, uint16_t, float>(src->pix_type, [&]<class T>() -> int8_t {
        // The engine's status is dropped on purpose: a failure shows only through its printed message.
        resize_engine(pixel_at<const T>(*src, so.x, so.y), step_of(*src), ss, pixel_at<T>(*dst, dp.x, dp.y),
                      step_of(*dst), ds, src->channels, interpolation);
        return ok;
    });
}

}  // namespace
}  // namespace lum

extern "C" LUM_API int8_t lum_resize(int32_t source, lum_point source_origin, lum_size source_size,
                                     int32_t destination, lum_point destination_origin, lum_size destination_size,
                                     int32_t interpolation) {
    return lum::with_images({source, destination}, [&](img* s, img* d) {
        return lum::resize(s, source_origin, source_size, d, destination_origin, destination_size, interpolation);
    });
}
