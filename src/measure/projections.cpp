// Projections of a sequence of one-channel frames into one destination:
// pixel by pixel over the sequence (max, min, mean), or one line per frame
// (each row reduced into a destination column, each column into a row).
#include "image/call_frame.hpp"
#include "primitives/projection.hpp"
#include "primitives/stats.hpp"

namespace lum::measure {

namespace {

enum direction : int32_t { over_sequence = 0, per_row = 1, per_column = 2 };

bool same_kind(const img& a, const img& b) { return a.channels == b.channels && a.pix_type == b.pix_type; }

// The destination checks of each direction, in their order. The frame's
// position in the sequence (index) is the caller's to keep below count; a
// column or row that would leave the destination's buffer is refused (-2).
int8_t check_destination(const img& frame, const img* dst, uint32_t index, uint32_t count, int32_t dir) {
    switch (dir) {
        case over_sequence:
            LUM_CHECK(require_initialised(dst));
            if (frame.width < 1 || frame.height < 1) return out_of_range;
            if (frame.width > dst->width || frame.height > dst->height) return beyond_image;
            return whole_fits(frame) && region_fits(*dst, 0, 0, frame.width, frame.height) ? ok : beyond_image;
        case per_row:
            LUM_CHECK(require_initialised(dst));
            if (count < 1 || frame.height < 1) return out_of_range;
            if (count > static_cast<uint32_t>(dst->width) || frame.height > dst->height) return beyond_image;
            return whole_fits(frame) && region_fits(*dst, index, 0, 1, frame.height) ? ok : beyond_image;
        case per_column:
            LUM_CHECK(require_initialised(dst));
            if (frame.width < 1 || count < 1) return out_of_range;
            if (frame.width > dst->width || count > static_cast<uint32_t>(dst->height)) return beyond_image;
            return whole_fits(frame) && region_fits(*dst, 0, index, frame.width, 1) ? ok : beyond_image;
        default:
            return out_of_range;
    }
}

template <class T>
struct extreme_kernels {
    prim::Dispatch<int(const T*, int, T*, int, prim::Size)> pixels;
    prim::Dispatch<int(const T*, int, T*, int, prim::Size)> rows;
    prim::Dispatch<int(const T*, int, prim::Size, T*)> columns;
};

template <class T>
int8_t project_extreme(const img& frame, img& dst, uint32_t index, int32_t dir, const extreme_kernels<T>& k) {
    const T* src = static_cast<const T*>(frame.frame_buf);
    switch (dir) {
        case over_sequence:
            return map_status(k.pixels(src, step_of(frame), static_cast<T*>(dst.frame_buf), step_of(dst),
                                       size_of(frame)));
        case per_row:
            return map_status(k.rows(src, step_of(frame), pixel_at<T>(dst, index, 0), step_of(dst), size_of(frame)));
        default:
            return map_status(k.columns(src, step_of(frame), size_of(frame), pixel_at<T>(dst, 0, index)));
    }
}

const extreme_kernels<uint8_t> max8{prim::max_8u_c1ir, prim::row_max_8u_c1, prim::column_max_8u_c1ir};
const extreme_kernels<uint16_t> max16{prim::max_16u_c1ir, prim::row_max_16u_c1, prim::column_max_16u_c1ir};
const extreme_kernels<uint8_t> min8{prim::min_8u_c1ir, prim::row_min_8u_c1, prim::column_min_8u_c1ir};
const extreme_kernels<uint16_t> min16{prim::min_16u_c1ir, prim::row_min_16u_c1, prim::column_min_16u_c1ir};

int8_t projection_extreme(const img* frame, img* dst, uint32_t index, uint32_t count, int32_t dir, bool max) {
    LUM_CHECK(require_initialised(frame));
    if (frame->channels != lum_gray) return bad_format;
    if (!dst || !same_kind(*frame, *dst)) return mismatch;
    // Other formats are accepted and left alone.
    if (frame->pix_type != lum_fmt_8u && frame->pix_type != lum_fmt_16u) return ok;
    LUM_CHECK(check_destination(*frame, dst, index, count, dir));
    if (frame->pix_type == lum_fmt_8u) return project_extreme(*frame, *dst, index, dir, max ? max8 : min8);
    return project_extreme(*frame, *dst, index, dir, max ? max16 : min16);
}

template <class T, class Acc, class Mean, class Row, class Column>
int8_t project_mean(const img& frame, img& dst, img& acc, uint32_t index, uint32_t count, int32_t dir,
                    const Acc& accumulate, const Mean& mean, const Row& row_mean, const Column& column_mean) {
    const T* src = static_cast<const T*>(frame.frame_buf);
    switch (dir) {
        case over_sequence: {
            auto* a = static_cast<float*>(acc.frame_buf);
            LUM_CHECK(map_status(accumulate(src, step_of(frame), a, step_of(acc), size_of(frame), index == 0)));
            if (index != count - 1) return ok;
            return map_status(mean(a, step_of(acc), static_cast<T*>(dst.frame_buf), step_of(dst), size_of(frame),
                                   count));
        }
        case per_row:
            return map_status(row_mean(src, step_of(frame), pixel_at<T>(dst, index, 0), step_of(dst), size_of(frame)));
        default: {
            const auto work = make_scratch<double>(frame.width);
            if (!work) return no_memory;
            return map_status(
                column_mean(src, step_of(frame), size_of(frame), pixel_at<T>(dst, 0, index), work.get()));
        }
    }
}

int8_t projection_mean(const img* frame, img* dst, uint32_t index, uint32_t count, int32_t dir, img* acc) {
    LUM_CHECK(require_initialised(frame));
    if (frame->channels != lum_gray) return bad_format;
    LUM_CHECK(require_initialised(acc));
    if (acc->channels != frame->channels) return bad_format;
    if (!dst || !same_kind(*frame, *dst)) return mismatch;
    if (frame->pix_type != lum_fmt_8u && frame->pix_type != lum_fmt_16u && frame->pix_type != lum_fmt_32f)
        return bad_format;
    LUM_CHECK(check_destination(*frame, dst, index, count, dir));
    if (dir == over_sequence) {
        // The accumulator holds one float per frame pixel; a mean needs frames.
        if (acc->pix_type != lum_fmt_32f) return bad_format;
        if (frame->width > acc->width || frame->height > acc->height) return beyond_image;
        if (!region_fits(*acc, 0, 0, frame->width, frame->height)) return beyond_image;
        if (count < 1) return out_of_range;
    }
    switch (frame->pix_type) {
        case lum_fmt_8u:
            return project_mean<uint8_t>(*frame, *dst, *acc, index, count, dir, prim::accumulate_8u_c1,
                                         prim::accumulator_mean_8u_c1, prim::row_mean_8u_c1, prim::column_mean_8u_c1);
        case lum_fmt_16u:
            return project_mean<uint16_t>(*frame, *dst, *acc, index, count, dir, prim::accumulate_16u_c1,
                                          prim::accumulator_mean_16u_c1, prim::row_mean_16u_c1,
                                          prim::column_mean_16u_c1);
        default:
            return project_mean<float>(*frame, *dst, *acc, index, count, dir, prim::accumulate_32f_c1,
                                       prim::accumulator_mean_32f_c1, prim::row_mean_32f_c1, prim::column_mean_32f_c1);
    }
}

}  // namespace

}  // namespace lum::measure

extern "C" {

LUM_API int8_t lum_projection_max(int32_t frame, int32_t destination, uint32_t index, uint32_t count,
                                  int32_t direction) {
    return lum::with_images({frame, destination}, [&](img* f, img* d) {
        return lum::measure::projection_extreme(f, d, index, count, direction, true);
    });
}

LUM_API int8_t lum_projection_min(int32_t frame, int32_t destination, uint32_t index, uint32_t count,
                                  int32_t direction) {
    return lum::with_images({frame, destination}, [&](img* f, img* d) {
        return lum::measure::projection_extreme(f, d, index, count, direction, false);
    });
}

LUM_API int8_t lum_projection_mean_init(uint32_t width, uint32_t height, int32_t* accumulator) {
    const int32_t handle = lum_create_image();
    const int8_t status = lum_init_image(handle, static_cast<int32_t>(width), static_cast<int32_t>(height),
                                         lum_fmt_32f, lum_gray, 32);
    // On failure the created handle stays in the registry, as callers expect.
    if (status == 0 && accumulator) *accumulator = handle;
    return status;
}

LUM_API int8_t lum_projection_mean(int32_t frame, int32_t destination, uint32_t index, uint32_t count,
                                   int32_t direction, int32_t accumulator) {
    return lum::with_images({frame, destination, accumulator}, [&](img* f, img* d, img* a) {
        return lum::measure::projection_mean(f, d, index, count, direction, a);
    });
}

}  // extern "C"
