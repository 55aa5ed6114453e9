// The calls of the driver: every exported function, with arguments read from
// the input, on small images of random formats, channel counts and valid bits.
#include <algorithm>

#include "fuzz_driver.hpp"
#include "image/registry.hpp"
#include "segment/contour_store.hpp"

namespace lum::fuzz {

Scratch* World::scratch_ = static_cast<Scratch*>(std::calloc(1, sizeof(Scratch)));

void World::keep_contours(int32_t set, uint32_t total, uint32_t count) { sets_.push_back({set, total, count}); }

int World::fetch_contours(Input& in) {
    // Now and then a handle that is not a kept set; otherwise a kept one with honest arrays.
    if (sets_.empty() || in.chance(20)) {
        // Never a handle a kept set may hold: the arrays would not be honest for it.
        const int32_t handle = in.chance(50) ? -1 - in.u8() : 1000000 + in.u8();
        return lum_get_contours_result(handle, static_cast<int32_t*>(maybe_null(in)),
                                       static_cast<uint32_t*>(maybe_null(in)));
    }
    const size_t k = in.u8() % sets_.size();
    const ContourSet c = sets_[k];
    std::vector<int32_t> result(c.total + 1);
    std::vector<uint32_t> sizes(c.count + 1);
    const int status = lum_get_contours_result(c.handle, result.data(), sizes.data());
    if (status == 0) sets_.erase(sets_.begin() + k);
    return status;
}

int World::release_contours(Input& in) {
    if (sets_.empty() || in.chance(30)) {
        // Out of range, or a slot the driver keeps no set in (empty, or a set it was not told about).
        const int32_t h = in.u8() % 4;
        const bool kept = std::any_of(sets_.begin(), sets_.end(), [h](const ContourSet& c) { return c.handle == h; });
        if (!kept && in.chance(50)) return lum_release_contours(h);
        return lum_release_contours(in.chance(50) ? -1 - in.u8() : 1000000 + in.u8());
    }
    const size_t k = in.u8() % sets_.size();
    const int status = lum_release_contours(sets_[k].handle);
    if (status == 0) sets_.erase(sets_.begin() + k);
    return status;
}

World::~World() {
    for (const ContourSet& c : sets_) {
        std::vector<int32_t> result(c.total + 1);
        std::vector<uint32_t> sizes(c.count + 1);
        lum_get_contours_result(c.handle, result.data(), sizes.data());
    }
    // Sets that cannot be fetched (no contours) are released too: one process runs for hours.
    for (int32_t h = 0; h < lum::contours::slot_count(); ++h) lum_release_contours(h);
    // Every slot goes, also those that operations created themselves (an accumulator left
    // behind by a failed initialisation): the driver is the registry's only user.
    for (int32_t h = 0; h < lum::registry::slot_count(); ++h) lum_destroy_image(h);
    for (void* b : borrowed_) std::free(b);
}

int32_t World::create() {
    const int32_t h = lum_create_image();
    live_.push_back(h);
    dead_.erase(std::remove(dead_.begin(), dead_.end(), h), dead_.end());
    return h;
}

int World::destroy(int32_t h) {
    const int status = lum_destroy_image(h);
    if (status == 0) {
        live_.erase(std::remove(live_.begin(), live_.end(), h), live_.end());
        dead_.push_back(h);
    }
    return status;
}

int32_t World::handle(Input& in) {
    const int32_t h = pick(in);
    picked_.push_back(h);
    return h;
}

int32_t World::pick(Input& in) {
    const uint8_t sel = in.u8() % 16;
    if (sel < 12 && !live_.empty()) return live_[in.u8() % live_.size()];
    if (sel < 13 && !dead_.empty()) return dead_[in.u8() % dead_.size()];
    if (sel == 13) return -1 - in.u8() % 3;
    if (sel == 14) return 100000 + in.u8();
    return in.u8() % 8;
}

int World::borrow(int32_t h, Input& in) {
    static const int bytes[] = {0, 1, 2, 2, 4};
    lum_info info{};
    info.width = in.u8() % 40;
    info.height = in.u8() % 41;
    info.pix_type = static_cast<lum_data_format>(1 + in.u8() % 4);
    info.channels = in.chance(50) ? lum_gray : lum_color;
    info.valid_bits = info.pix_type == lum_fmt_8u ? 8 : info.pix_type == lum_fmt_16u ? 9 + in.u8() % 8 : 0;
    const uint32_t pixel = bytes[info.pix_type] * info.channels;
    const uint32_t row = static_cast<uint32_t>(info.width) * pixel;
    // Mostly whole pixels of padding; now and then any byte count, a step shorter than a row, or none
    // at all: a host may describe its buffer any way it likes.
    switch (in.u8() % 8) {
    case 0: info.step_bytes = row + in.u8() % 8; break;
    case 1: info.step_bytes = row > 0 ? in.u8() % row : 0; break;
    case 2: info.step_bytes = 0; break;
    default: info.step_bytes = row + pixel * (in.u8() % 4); break;
    }
    // Exactly rows x step bytes, so that AddressSanitizer sees any access past the end, now and then
    // starting off a sample boundary; a few buffers keep a generous tail so that operations run through.
    const size_t offset = in.chance(15) ? in.u8() % 4 : 0;
    const size_t size = static_cast<size_t>(info.step_bytes) * static_cast<size_t>(info.height);
    const size_t slack = in.chance(20) ? info.step_bytes + 64 : 0;
    void* buf = std::malloc(offset + size + slack);
    if (!buf) return skipped;
    uint32_t state = 0x9E3779B9u ^ in.u8();  // cheap noise: the input's bytes stay for the program
    for (size_t k = 0; k < offset + size + slack; ++k) {
        state ^= state << 13, state ^= state >> 17, state ^= state << 5;
        static_cast<uint8_t*>(buf)[k] = static_cast<uint8_t>(state);
    }
    borrowed_.push_back(buf);
    info.frame_buf = static_cast<uint8_t*>(buf) + offset;
    return lum_init_image_ex(h, &info);
}

namespace {

int pixel_access(World& w, Input& in) {
    const int32_t h = w.handle(in);
    lum_point p = in.point();
    if (in.chance(50)) {
        uint8_t value[16];
        for (auto& b : value) b = in.u8();
        return lum_set_one_pixel(h, p, value);
    } else {
        return lum_get_one_pixel(h, p, w.scratch());
    }
}

}  // namespace

const std::vector<Call>& calls() {
    static const std::vector<Call> table = {
        {"create_image", [](World& w, Input&) -> int { return w.create() < 0 ? -1 : 0; }},
        {"destroy_image", [](World& w, Input& in) -> int { return w.destroy(w.handle(in)); }},
        {"init_image", [](World& w, Input& in) -> int {
            const int32_t h = w.handle(in);
            const int32_t width = in.in(-2, 40), height = in.in(-2, 40);
            const auto format = static_cast<lum_data_format>(in.u8() % 8);  // every value the enumeration can hold
            const auto channels = static_cast<lum_channels>(in.u8() % 4);
            // Giant images are legal but only measure the machine's memory.
            const uint64_t step = 4ull * ((static_cast<uint32_t>(width) & ~15u) + 16u) * 3u;
            if (height > 0 && step * static_cast<uint64_t>(height) > w.image_bytes_limit()) return skipped;
            return lum_init_image(h, width, height, format, channels, in.in(-2, 17));
        }},
        {"init_image_ex", [](World& w, Input& in) -> int { return w.borrow(w.handle(in), in); }},
        {"get_info", [](World& w, Input& in) -> int { return lum_get_info(w.handle(in), static_cast<lum_info*>(w.scratch())); }},
        {"get_buf", [](World& w, Input& in) -> int {
            const int32_t h = w.handle(in);
            if (h >= 0) lum_get_buf(h);
            return skipped;
        }},
        {"get_data_byte", [](World& w, Input& in) -> int {
            lum_get_data_byte(w.handle(in));
            return skipped;
        }},
        {"set_physical_size", [](World& w, Input& in) -> int {
            return lum_set_physical_size(w.handle(in), static_cast<float>(in.real()), static_cast<float>(in.real()));
        }},
        {"set_one_pixel/get_one_pixel", pixel_access},
        {"clear", [](World& w, Input& in) -> int { return lum_clear(w.handle(in)); }},
        {"status_text", [](World&, Input& in) -> int {
            lum_status_text(in.in(-130, 10));
            return skipped;
        }},

        // Arithmetic and logic
        {"add/sub/absDiff", [](World& w, Input& in) -> int {
            const int32_t a = w.handle(in), b = w.handle(in), d = w.handle(in);
            switch (in.u8() % 3) {
            case 0: return lum_add(a, b, d);
            case 1: return lum_sub(a, b, d);
            default: return lum_absDiff(a, b, d);
            }
        }},
        {"addI/subI/and/or/xor/convert", [](World& w, Input& in) -> int {
            const int32_t a = w.handle(in), b = w.handle(in);
            switch (in.u8() % 6) {
            case 0: return lum_addI(a, b);
            case 1: return lum_subI(a, b);
            case 2: return lum_and(a, b);
            case 3: return lum_or(a, b);
            case 4: return lum_xor(a, b);
            default: return lum_convert(a, b);
            }
        }},
        {"addCI/addCI_rect/mulCI/mulCI_rect/subC", [](World& w, Input& in) -> int {
            const int32_t h = w.handle(in);
            const lum_rect r = in.rect();
            const void* value = w.filled_or_null(in, 3 * sizeof(double));
            switch (in.u8() % 5) {
            case 0: return lum_addCI(h, value);
            case 1: return lum_addCI_rect(h, value, in.chance(5) ? nullptr : &r);
            case 2: return lum_mulCI(h, value);
            case 3: return lum_mulCI_rect(h, value, in.chance(5) ? nullptr : &r);
            default: return lum_subC(h, w.handle(in), value);
            }
        }},
        {"LShiftI/RShiftI/LShiftI_rect/RShiftI_rect", [](World& w, Input& in) -> int {
            const int32_t h = w.handle(in);
            const uint32_t count = static_cast<uint32_t>(in.in(0, 20));
            const lum_rect r = in.rect();
            switch (in.u8() % 4) {
            case 0: return lum_LShiftI(h, count);
            case 1: return lum_RShiftI(h, count);
            case 2: return lum_LShiftI_rect(h, count, in.chance(5) ? nullptr : &r);
            default: return lum_RShiftI_rect(h, count, in.chance(5) ? nullptr : &r);
            }
        }},
        {"lut", [](World& w, Input& in) -> int {
            const int32_t a = w.handle(in), b = w.handle(in);
            // Tables of every layout fit in the scratch buffer (three 16-bit tables of 65536 entries at most).
            w.filled(in, 64);
            return lum_lut(a, b, in.chance(5) ? nullptr : w.scratch());
        }},
        {"invert", [](World& w, Input& in) -> int { return lum_invert(w.handle(in), w.handle(in)); }},

        // Division, scaling, logarithm, shifts into a second image, levels
        {"divI", [](World& w, Input& in) -> int { return lum_divI(w.handle(in), w.handle(in)); }},
        {"scale/scale_rect/scaleI/scaleI_rect", [](World& w, Input& in) -> int {
            const int32_t a = w.handle(in);
            const lum_point so = in.point();
            const int32_t b = w.handle(in);
            const lum_point dop = in.point();
            const lum_size size = in.size();
            const double k = in.real(), c = in.real();
            const lum_rect r = in.rect();
            switch (in.u8() % 4) {
            case 0: return lum_scale(a, b, k, c);
            case 1: return lum_scale_rect(a, so, b, dop, size, k, c);
            case 2: return lum_scaleI(a, k, c);
            default: return lum_scaleI_rect(a, k, c, in.chance(5) ? nullptr : &r);
            }
        }},
        {"lnI", [](World& w, Input& in) -> int { return lum_lnI(w.handle(in)); }},
        {"LShift/RShift/LShift_rect/RShift_rect", [](World& w, Input& in) -> int {
            const int32_t a = w.handle(in);
            const lum_point so = in.point();
            const int32_t b = w.handle(in);
            const lum_point dop = in.point();
            const lum_size size = in.size();
            const uint32_t count = static_cast<uint32_t>(in.in(0, 20));
            switch (in.u8() % 4) {
            case 0: return lum_LShift(a, b, count);
            case 1: return lum_RShift(a, b, count);
            case 2: return lum_LShift_rect(a, so, b, dop, size, count);
            default: return lum_RShift_rect(a, so, b, dop, size, count);
            }
        }},
        {"adjust", [](World& w, Input& in) -> int {
            const int32_t a = w.handle(in), b = w.handle(in);
            double low[3] = {in.real(), in.real(), in.real()}, high[3] = {in.real(), in.real(), in.real()};
            return lum_adjust(a, b, in.chance(5) ? nullptr : low, in.chance(5) ? nullptr : high);
        }},

        // Statistics, histograms, thresholds, projections
        {"sum/sum_rect/img_min_max/img_min_max_rect/img_mean_stddev/img_mean_stddev_rect", [](World& w, Input& in) -> int {
            const int32_t h = w.handle(in);
            const lum_rect r = in.rect();
            const lum_rect* rp = in.chance(5) ? nullptr : &r;
            auto* out = static_cast<double*>(w.maybe_null(in));
            switch (in.u8() % 6) {
            case 0: return lum_sum(h, out);
            case 1: return lum_sum_rect(h, rp, out);
            case 2: return lum_img_min_max(h, out, out ? out + 4 : nullptr);
            case 3: return lum_img_min_max_rect(h, rp, out, out ? out + 4 : nullptr);
            case 4: return lum_img_mean_stddev(h, out, out ? out + 4 : nullptr);
            default: return lum_img_mean_stddev_rect(h, rp, out, out ? out + 4 : nullptr);
            }
        }},
        {"img_max_every/img_min_every", [](World& w, Input& in) -> int {
            const int32_t a = w.handle(in), b = w.handle(in), d = w.handle(in);
            if (in.chance(50)) {
                return lum_img_max_every(a, b, d);
            } else {
                return lum_img_min_every(a, b, d);
            }
        }},
        {"histogram/histogram_rect", [](World& w, Input& in) -> int {
            const int32_t h = w.handle(in);
            const lum_rect r = in.rect();
            const float lower = static_cast<float>(in.real()), upper = static_cast<float>(in.real());
            int32_t bins = in.in(-2, 300);
            if (bins > 4096) bins = 4096;  // the counts array holds bins entries
            auto* counts = static_cast<uint32_t*>(w.maybe_null(in));
            if (in.chance(50)) {
                return lum_histogram(h, lower, upper, counts, bins);
            } else {
                return lum_histogram_rect(h, in.chance(5) ? nullptr : &r, lower, upper, counts, bins);
            }
        }},
        {"otsu_get_threshold/otsu_get_threshold_rect", [](World& w, Input& in) -> int {
            const int32_t h = w.handle(in);
            const lum_rect r = in.rect();
            auto* out = static_cast<int32_t*>(w.maybe_null(in));
            if (in.chance(50)) {
                return lum_otsu_get_threshold(h, out);
            } else {
                return lum_otsu_get_threshold_rect(h, in.chance(5) ? nullptr : &r, out);
            }
        }},
        {"projection_max/projection_min/projection_mean", [](World& w, Input& in) -> int {
            const int32_t f = w.handle(in), d = w.handle(in);
            const uint32_t index = static_cast<uint32_t>(in.in(0, 50)), count = static_cast<uint32_t>(in.in(0, 50));
            const int32_t direction = in.in(-1, 3);
            switch (in.u8() % 3) {
            case 0: return lum_projection_max(f, d, index, count, direction);
            case 1: return lum_projection_min(f, d, index, count, direction);
            default: return lum_projection_mean(f, d, index, count, direction, w.handle(in));
            }
        }},
        {"projection_mean_init", [](World& w, Input& in) -> int {
            const uint32_t width = static_cast<uint32_t>(in.in(0, 40)), height = static_cast<uint32_t>(in.in(0, 40));
            if (uint64_t{width} * height > (16u << 20)) return skipped;
            auto* out = static_cast<int32_t*>(w.maybe_null(in));
            return lum_projection_mean_init(width, height, out);
        }},

        // Binarization, clipping, morphology, watershed
        {"binarization/binarization_rect", [](World& w, Input& in) -> int {
            const int32_t a = w.handle(in);
            const lum_point so = in.point();
            const int32_t b = w.handle(in);
            const lum_point dop = in.point();
            const lum_size size = in.size();
            const int32_t threshold = in.in(-5, 70000);
            if (in.chance(50)) {
                return lum_binarization(a, b, threshold);
            } else {
                return lum_binarization_rect(a, so, b, dop, size, threshold);
            }
        }},
        {"binarizationI/clipI", [](World& w, Input& in) -> int {
            const int32_t h = w.handle(in);
            const float t = static_cast<float>(in.real()), lo = static_cast<float>(in.real()),
                        hi = static_cast<float>(in.real());
            if (in.chance(50)) {
                return lum_binarizationI(h, t, lo, hi);
            } else {
                return lum_clipI(h, lo, hi);
            }
        }},
        {"morph_open_close", [](World& w, Input& in) -> int {
            const int32_t a = w.handle(in), b = w.handle(in);
            lum_morph_param param{in.in(-1, 3), in.in(-1, 3), in.moderate(-1, 12, 24), in.moderate(-1, 12, 24)};
            return lum_morph_open_close(a, b, in.chance(5) ? nullptr : &param);
        }},
        {"watershed", [](World& w, Input& in) -> int { return lum_watershed(w.handle(in), w.handle(in)); }},

        // Geometry
        {"mirrorI/mirrorI_rect", [](World& w, Input& in) -> int {
            const int32_t h = w.handle(in);
            const int32_t axis = in.in(-1, 3);
            const lum_rect r = in.rect();
            if (in.chance(50)) {
                return lum_mirrorI(h, axis);
            } else {
                return lum_mirrorI_rect(h, axis, in.chance(5) ? nullptr : &r);
            }
        }},
        {"resize", [](World& w, Input& in) -> int {
            const int32_t a = w.handle(in);
            const lum_point so = in.point();
            const lum_size ss = in.size();
            const int32_t b = w.handle(in);
            const lum_point dop = in.point();
            const lum_size ds = in.size();
            static const int32_t codes[] = {0, 1, 2, 4, 8, 16, -1};
            return lum_resize(a, so, ss, b, dop, ds, codes[in.u8() % 7]);
        }},
        {"rotate", [](World& w, Input& in) -> int {
            const int32_t a = w.handle(in), b = w.handle(in);
            const double angle = in.real(), dx = in.real(), dy = in.real();
            return lum_rotate(a, b, angle, dx, dy, in.in(-1, 3));
        }},

        // Line profiles
        {"get_fast_profile/get_profile", [](World& w, Input& in) -> int {
            const int32_t h = w.handle(in);
            // Ends within +-1000: the samples array then holds every honest profile.
            auto clamp = [](int32_t v) { return v < -1000 ? -1000 : v > 1000 ? 1000 : v; };
            lum_point a = in.point(), b = in.point();
            a = {clamp(a.x), clamp(a.y)};
            b = {clamp(b.x), clamp(b.y)};
            const uint32_t thickness = static_cast<uint32_t>(in.in(0, 9));
            uint32_t count = 0;
            // A profile has at most about the image diagonal of samples; the scratch holds far more.
            void* samples = w.maybe_null(in);
            if (in.chance(50)) {
                return lum_get_fast_profile(h, a, b, thickness, samples, in.chance(5) ? nullptr : &count);
            } else {
                return lum_get_profile(h, a, b, thickness, samples, in.chance(5) ? nullptr : &count);
            }
        }},

        // Contours
        {"find_contours", [](World& w, Input& in) -> int {
            const int32_t h = w.handle(in);
            uint32_t total = 0, count = 0;
            const bool null_out = in.chance(5);
            const int32_t set = lum_find_contours(h, null_out ? nullptr : &total, &count);
            if (set >= 0 && !null_out) w.keep_contours(set, total, count);
            return set >= 0 ? 0 : set;
        }},
        {"expand_contour", [](World& w, Input& in) -> int {
            const int32_t count = in.in(-1, 40);
            const size_t n = count > 0 && count <= 4096 ? size_t(count) : 0;
            auto* points = static_cast<lum_point*>(w.filled(in, n * sizeof(lum_point)));
            // Small coordinates, so that the scratch image of the expansion stays small.
            for (size_t i = 0; i < n; ++i) points[i] = {int32_t(points[i].x & 63), int32_t(points[i].y & 63)};
            const lum_rect r = {0, 0, 64, 64};
            uint32_t total = 0;
            const int32_t set = lum_expand_contour(in.chance(5) ? nullptr : points, count > 4096 ? 4096 : count, &r,
                                                   in.moderate(-2, 12, 24), &total);
            if (set >= 0) w.keep_contours(set, total, total / 4 + 1);  // each contour takes 4 integers or more
            return set >= 0 ? 0 : set;
        }},
        {"vline_contour", [](World&, Input& in) -> int {
            // A closed contour of n points inside the rectangle gives at most n / 2 runs and the final triple.
            const int32_t count = in.in(-1, 40);
            const size_t n = count > 0 && count <= 4096 ? size_t(count) : 0;
            std::vector<lum_point> points(n);
            for (auto& p : points) p = {in.in(0, 31), in.in(0, 31)};
            const lum_rect r = {0, 0, 32, 32};
            std::vector<int32_t> runs(3 * (n + 2));
            uint32_t written = 0;
            lum_vline_contour(points.data(), static_cast<int32_t>(n), &r, runs.data(), &written);
            return skipped;
        }},
        {"get_contours_result", [](World& w, Input& in) -> int { return w.fetch_contours(in); }},
        {"release_contours", [](World& w, Input& in) -> int { return w.release_contours(in); }},

        // Colour and channels
        {"color_to_gray", [](World& w, Input& in) -> int { return lum_color_to_gray(w.handle(in), w.handle(in)); }},
        {"gray_to_color", [](World& w, Input& in) -> int { return lum_gray_to_color(w.handle(in), w.handle(in)); }},
        {"color_twistI", [](World& w, Input& in) -> int {
            const int32_t h = w.handle(in);
            return lum_color_twistI(h, static_cast<const float*>(w.filled_or_null(in, 12 * sizeof(float))));
        }},
        {"color_twist", [](World& w, Input& in) -> int {
            const int32_t a = w.handle(in), b = w.handle(in);
            return lum_color_twist(a, b, static_cast<const float*>(w.filled_or_null(in, 12 * sizeof(float))));
        }},
        {"computer_color_bc", [](World& w, Input& in) -> int {
            const int32_t a = w.handle(in), b = w.handle(in);
            const lum_rect r = in.rect();
            const double contrast = in.real();
            const int32_t brightness = in.in(-400, 400);
            return lum_computer_color_bc(a, b, in.chance(5) ? nullptr : &r,
                                  static_cast<const uint8_t*>(w.filled_or_null(in, 768)), contrast, brightness);
        }},
        {"copy", [](World& w, Input& in) -> int { return lum_copy(w.handle(in), w.handle(in)); }},
        {"copy_rect", [](World& w, Input& in) -> int {
            const int32_t a = w.handle(in);
            const lum_point o = in.point();
            const int32_t b = w.handle(in);
            return lum_copy_rect(a, o, b, in.point(), in.size());
        }},
        {"copy_gray2color", [](World& w, Input& in) -> int {
            const int32_t a = w.handle(in), b = w.handle(in);
            return lum_copy_gray2color(a, b, in.in(-2, 4));
        }},
        {"copy_color2channels", [](World& w, Input& in) -> int {
            const int32_t a = w.handle(in), b = w.handle(in), c = w.handle(in), d = w.handle(in);
            return lum_copy_color2channels(a, b, c, d);
        }},
        {"copy_channels2color", [](World& w, Input& in) -> int {
            const int32_t a = w.handle(in), b = w.handle(in), c = w.handle(in), d = w.handle(in);
            return lum_copy_channels2color(a, b, c, d);
        }},
        {"swap_channels", [](World& w, Input& in) -> int {
            const int32_t h = w.handle(in);
            int32_t order[3] = {in.in(-1, 3), in.in(-1, 3), in.in(-1, 3)};
            return lum_swap_channels(h, in.chance(5) ? nullptr : order);
        }},

        // Masks
        {"generate_mask/generate_mask_part", [](World& w, Input& in) -> int {
            const int32_t h = w.handle(in);
            const uint32_t shape = static_cast<uint32_t>(in.in(0, 3));
            int32_t count = in.in(-1, 24);
            if (count > 4096) count = 4096;  // the array holds as many points as the count says
            const size_t n = count > 0 ? size_t(count) : 2;
            const auto* pts = static_cast<const lum_point*>(w.filled_or_null(in, n * sizeof(lum_point)));
            if (in.chance(50)) {
                return lum_generate_mask(h, shape, pts, count);
            } else {
                return lum_generate_mask_part(h, in.point(), shape, pts, count);
            }
        }},
        {"mask_mean/mask_mean_stddev/mask_min_max", [](World& w, Input& in) -> int {
            const int32_t im = w.handle(in);
            const int32_t x = in.in(-3, 40), y = in.in(-3, 40);
            const int32_t mask = w.handle(in);
            auto* out = static_cast<double*>(w.maybe_null(in));
            switch (in.u8() % 3) {
            case 0: return lum_mask_mean(im, x, y, mask, out);
            case 1: return lum_mask_mean_stddev(im, x, y, mask, out, out ? out + 1 : nullptr);
            default: {
                auto* f = reinterpret_cast<float*>(out);
                return lum_mask_min_max(im, x, y, mask, f, f ? f + 1 : nullptr);
            }
            }
        }},

        // Objects
        {"measure_objects", [](World& w, Input& in) -> int {
            const int32_t h = w.handle(in);
            const int32_t labels = in.chance(40) ? -1 : w.handle(in);
            const auto min_area = static_cast<uint32_t>(in.in(0, 20));
            // Room for up to a few hundred records, never more than the scratch holds.
            constexpr uint32_t room = sizeof(Scratch) / sizeof(lum_object);
            const auto asked = static_cast<uint32_t>(in.in(0, 300));
            const uint32_t capacity = asked > room ? room : asked;
            auto* objects = static_cast<lum_object*>(w.maybe_null(in));
            uint32_t count = 0;
            return lum_measure_objects(h, min_area, labels, objects, capacity, in.chance(5) ? nullptr : &count);
        }},
    };
    return table;
}

}  // namespace lum::fuzz
