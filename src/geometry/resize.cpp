// Resize: scales a rectangle of one image into a rectangle of another with
// nearest-neighbour, linear or Lanczos interpolation, copying instead when the
// sizes are equal. The engines size, set up and run the resize kernels with
// scratch blocks that are released on every path.
#include "geometry/resize.hpp"

#include "color/copy.hpp"
#include "image/call_frame.hpp"
#include "primitives/resize.hpp"

namespace lum {

namespace {

template <class T>
struct Kernels {
    prim::Dispatch<int(const T*, int, T*, int, prim::Offset, prim::Size, const void*, void*)> nearest[2];
    prim::Dispatch<int(const T*, int, T*, int, prim::Offset, prim::Size, int, const void*, void*)> linear[2];
    prim::Dispatch<int(const T*, int, T*, int, prim::Offset, prim::Size, int, const void*, void*)> lanczos[2];
};

const Kernels<uint8_t> k8u{{prim::resize_nearest_8u_c1, prim::resize_nearest_8u_c3},
                           {prim::resize_linear_8u_c1, prim::resize_linear_8u_c3},
                           {prim::resize_lanczos_8u_c1, prim::resize_lanczos_8u_c3}};
const Kernels<uint16_t> k16u{{prim::resize_nearest_16u_c1, prim::resize_nearest_16u_c3},
                             {prim::resize_linear_16u_c1, prim::resize_linear_16u_c3},
                             {prim::resize_lanczos_16u_c1, prim::resize_lanczos_16u_c3}};
const Kernels<float> k32f{{prim::resize_nearest_32f_c1, prim::resize_nearest_32f_c3},
                          {prim::resize_linear_32f_c1, prim::resize_linear_32f_c3},
                          {prim::resize_lanczos_32f_c1, prim::resize_lanczos_32f_c3}};

// Reports a non-zero status; true when it is an error that ends the engine.
bool failed(int status) { return map_status(status) != ok; }

template <class T>
int8_t run_engine(const Kernels<T>& kernels, const T* src, int src_step, const lum_size& src_size, T* dst,
                  int dst_step, const lum_size& dst_size, int channels, int interpolation) {
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
    const int c = channels == 1 ? 0 : 1;
    const prim::Offset origin{0, 0};
    switch (interpolation) {
        case prim::resize_nearest:
            status = kernels.nearest[c](src, src_step, dst, dst_step, origin, ds, spec.get(), work.get());
            break;
        case prim::resize_linear:
            status = kernels.linear[c](src, src_step, dst, dst_step, origin, ds, prim::border_replicate, spec.get(),
                                       work.get());
            break;
        default:
            status = kernels.lanczos[c](src, src_step, dst, dst_step, origin, ds, prim::border_replicate, spec.get(),
                                        work.get());
            break;
    }
    return failed(status) ? primitive_failed : ok;
}

}  // namespace

int8_t resize_8u(const uint8_t* src, int src_step, const lum_size& src_size, uint8_t* dst, int dst_step,
                 const lum_size& dst_size, int channels, int interpolation) {
    return run_engine(k8u, src, src_step, src_size, dst, dst_step, dst_size, channels, interpolation);
}
int8_t resize_16u(const uint16_t* src, int src_step, const lum_size& src_size, uint16_t* dst, int dst_step,
                  const lum_size& dst_size, int channels, int interpolation) {
    return run_engine(k16u, src, src_step, src_size, dst, dst_step, dst_size, channels, interpolation);
}
int8_t resize_32f(const float* src, int src_step, const lum_size& src_size, float* dst, int dst_step,
                  const lum_size& dst_size, int channels, int interpolation) {
    return run_engine(k32f, src, src_step, src_size, dst, dst_step, dst_size, channels, interpolation);
}

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
        (!region_fits(*src, so.x, so.y, ss.width, ss.height) ||
         !region_fits(*dst, dp.x, dp.y, ds.width, ds.height)))
        return beyond_image;
    if (ss.width == ds.width && ss.height == ds.height) return copy_rect(src, so, dst, dp, ss);
    // Too few source pixels for the wider kernels' neighbourhoods.
    if (ss.width < 6 || ss.height < 6) interpolation = prim::resize_nearest;
    const int channels = src->channels;
    // The engine's status is dropped on purpose: a failure shows only through its printed message.
    switch (src->pix_type) {
        case lum_fmt_8u:
            resize_8u(pixel_at<const uint8_t>(*src, so.x, so.y), step_of(*src), ss, pixel_at<uint8_t>(*dst, dp.x, dp.y),
                      step_of(*dst), ds, channels, interpolation);
            return ok;
        case lum_fmt_16u:
            resize_16u(pixel_at<const uint16_t>(*src, so.x, so.y), step_of(*src), ss,
                       pixel_at<uint16_t>(*dst, dp.x, dp.y), step_of(*dst), ds, channels, interpolation);
            return ok;
        case lum_fmt_32f:
            resize_32f(pixel_at<const float>(*src, so.x, so.y), step_of(*src), ss, pixel_at<float>(*dst, dp.x, dp.y),
                       step_of(*dst), ds, channels, interpolation);
            return ok;
        default:
            return bad_format;
    }
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
