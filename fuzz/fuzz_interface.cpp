// libFuzzer entry: runs the input as a program of calls to the C interface
// on small images of random formats, channel counts and valid bits.
#include <algorithm>

#include "fuzz_driver.hpp"

namespace lum::fuzz {

Scratch* World::scratch_ = static_cast<Scratch*>(std::calloc(1, sizeof(Scratch)));

World::~World() {
    for (int32_t h : live_) lum_destroy_image(h);
    for (void* b : borrowed_) std::free(b);
}

int32_t World::create() {
    const int32_t h = lum_create_image();
    live_.push_back(h);
    dead_.erase(std::remove(dead_.begin(), dead_.end(), h), dead_.end());
    return h;
}

void World::destroy(int32_t h) {
    if (lum_destroy_image(h) == 0) {
        live_.erase(std::remove(live_.begin(), live_.end(), h), live_.end());
        dead_.push_back(h);
    }
}

int32_t World::handle(Input& in) {
    const uint8_t sel = in.u8() % 16;
    if (sel < 12 && !live_.empty()) return live_[in.u8() % live_.size()];
    if (sel < 13 && !dead_.empty()) return dead_[in.u8() % dead_.size()];
    if (sel == 13) return -1 - in.u8() % 3;
    if (sel == 14) return 100000 + in.u8();
    return in.u8() % 8;
}

void World::borrow(int32_t h, Input& in) {
    static const int bytes[] = {0, 1, 2, 2, 4};
    lum_info info{};
    info.width = in.u8() % 40;
    info.height = 1 + in.u8() % 40;
    info.pix_type = static_cast<lum_data_format>(1 + in.u8() % 4);
    info.channels = in.chance(50) ? lum_gray : lum_color;
    info.valid_bits = info.pix_type == lum_fmt_8u ? 8 : info.pix_type == lum_fmt_16u ? 9 + in.u8() % 8 : 0;
    const uint32_t row = static_cast<uint32_t>(info.width) * bytes[info.pix_type] * info.channels;
    info.step_bytes = row + bytes[info.pix_type] * info.channels * (in.u8() % 4);
    if (info.step_bytes == 0) info.step_bytes = 4;
    void* buf = std::calloc(static_cast<size_t>(info.step_bytes) * (info.height + 1) + 64, 1);
    borrowed_.push_back(buf);
    info.frame_buf = buf;
    lum_init_image_ex(h, &info);
}

namespace {

void pixel_access(World& w, Input& in) {
    const int32_t h = w.handle(in);
    lum_point p = in.point();
    if (in.chance(50)) {
        uint8_t value[16];
        for (auto& b : value) b = in.u8();
        lum_set_one_pixel(h, p, value);
    } else {
        lum_get_one_pixel(h, p, w.scratch());
    }
}

}  // namespace

const std::vector<Call>& calls() {
    static const std::vector<Call> table = {
        [](World& w, Input&) { w.create(); },
        [](World& w, Input& in) { w.destroy(w.handle(in)); },
        [](World& w, Input& in) {
            const int32_t h = w.handle(in);
            const int32_t width = in.in(-2, 40), height = in.in(-2, 40);
            const auto format = static_cast<lum_data_format>(in.u8() % 8);  // every value the enumeration can hold
            const auto channels = static_cast<lum_channels>(in.u8() % 4);
            // Giant images are legal but only measure the machine's memory: keep below 256 MiB.
            const uint64_t step = 4ull * ((static_cast<uint32_t>(width) & ~15u) + 16u) * 3u;
            if (height > 0 && step * static_cast<uint64_t>(height) > (256ull << 20)) return;
            lum_init_image(h, width, height, format, channels, in.in(-2, 17));
        },
        [](World& w, Input& in) { w.borrow(w.handle(in), in); },
        [](World& w, Input& in) { lum_get_info(w.handle(in), static_cast<lum_info*>(w.scratch())); },
        [](World& w, Input& in) {
            const int32_t h = w.handle(in);
            if (h >= 0) lum_get_buf(h);
        },
        [](World& w, Input& in) { lum_get_data_byte(w.handle(in)); },
        [](World& w, Input& in) {
            lum_set_physical_size(w.handle(in), static_cast<float>(in.real()), static_cast<float>(in.real()));
        },
        pixel_access,
        [](World& w, Input& in) { lum_clear(w.handle(in)); },
        [](World&, Input& in) { lum_status_text(in.in(-130, 10)); },

        // Arithmetic and logic
        [](World& w, Input& in) {
            const int32_t a = w.handle(in), b = w.handle(in), d = w.handle(in);
            switch (in.u8() % 3) {
            case 0: lum_add(a, b, d); break;
            case 1: lum_sub(a, b, d); break;
            default: lum_absDiff(a, b, d);
            }
        },
        [](World& w, Input& in) {
            const int32_t a = w.handle(in), b = w.handle(in);
            switch (in.u8() % 6) {
            case 0: lum_addI(a, b); break;
            case 1: lum_subI(a, b); break;
            case 2: lum_and(a, b); break;
            case 3: lum_or(a, b); break;
            case 4: lum_xor(a, b); break;
            default: lum_convert(a, b);
            }
        },
        [](World& w, Input& in) {
            const int32_t h = w.handle(in);
            const lum_rect r = in.rect();
            const void* value = w.filled_or_null(in, 3 * sizeof(double));
            switch (in.u8() % 5) {
            case 0: lum_addCI(h, value); break;
            case 1: lum_addCI_rect(h, value, in.chance(5) ? nullptr : &r); break;
            case 2: lum_mulCI(h, value); break;
            case 3: lum_mulCI_rect(h, value, in.chance(5) ? nullptr : &r); break;
            default: lum_subC(h, w.handle(in), value);
            }
        },
        [](World& w, Input& in) {
            const int32_t h = w.handle(in);
            const uint32_t count = static_cast<uint32_t>(in.in(0, 20));
            const lum_rect r = in.rect();
            switch (in.u8() % 4) {
            case 0: lum_LShiftI(h, count); break;
            case 1: lum_RShiftI(h, count); break;
            case 2: lum_LShiftI_rect(h, count, in.chance(5) ? nullptr : &r); break;
            default: lum_RShiftI_rect(h, count, in.chance(5) ? nullptr : &r);
            }
        },
        [](World& w, Input& in) {
            const int32_t a = w.handle(in), b = w.handle(in);
            // Tables of every layout fit in the scratch buffer (three 16-bit tables of 65536 entries at most).
            w.filled(in, 64);
            lum_lut(a, b, in.chance(5) ? nullptr : w.scratch());
        },
        [](World& w, Input& in) { lum_invert(w.handle(in), w.handle(in)); },

        // Colour and channels
        [](World& w, Input& in) { lum_color_to_gray(w.handle(in), w.handle(in)); },
        [](World& w, Input& in) { lum_gray_to_color(w.handle(in), w.handle(in)); },
        [](World& w, Input& in) {
            const int32_t h = w.handle(in);
            lum_color_twistI(h, static_cast<const float*>(w.filled_or_null(in, 12 * sizeof(float))));
        },
        [](World& w, Input& in) {
            const int32_t a = w.handle(in), b = w.handle(in);
            lum_color_twist(a, b, static_cast<const float*>(w.filled_or_null(in, 12 * sizeof(float))));
        },
        [](World& w, Input& in) {
            const int32_t a = w.handle(in), b = w.handle(in);
            const lum_rect r = in.rect();
            const double contrast = in.real();
            const int32_t brightness = in.in(-400, 400);
            lum_computer_color_bc(a, b, in.chance(5) ? nullptr : &r,
                                  static_cast<const uint8_t*>(w.filled_or_null(in, 768)), contrast, brightness);
        },
        [](World& w, Input& in) { lum_copy(w.handle(in), w.handle(in)); },
        [](World& w, Input& in) {
            const int32_t a = w.handle(in);
            const lum_point o = in.point();
            const int32_t b = w.handle(in);
            lum_copy_rect(a, o, b, in.point(), in.size());
        },
        [](World& w, Input& in) {
            const int32_t a = w.handle(in), b = w.handle(in);
            lum_copy_gray2color(a, b, in.in(-2, 4));
        },
        [](World& w, Input& in) {
            const int32_t a = w.handle(in), b = w.handle(in), c = w.handle(in), d = w.handle(in);
            lum_copy_color2channels(a, b, c, d);
        },
        [](World& w, Input& in) {
            const int32_t a = w.handle(in), b = w.handle(in), c = w.handle(in), d = w.handle(in);
            lum_copy_channels2color(a, b, c, d);
        },
        [](World& w, Input& in) {
            const int32_t h = w.handle(in);
            int32_t order[3] = {in.in(-1, 3), in.in(-1, 3), in.in(-1, 3)};
            lum_swap_channels(h, in.chance(5) ? nullptr : order);
        },

        // Masks
        [](World& w, Input& in) {
            const int32_t h = w.handle(in);
            const uint32_t shape = static_cast<uint32_t>(in.in(0, 3));
            int32_t count = in.in(-1, 24);
            if (count > 4096) count = 4096;  // the array holds as many points as the count says
            const size_t n = count > 0 ? size_t(count) : 2;
            const auto* pts = static_cast<const lum_point*>(w.filled_or_null(in, n * sizeof(lum_point)));
            if (in.chance(50)) {
                lum_generate_mask(h, shape, pts, count);
            } else {
                lum_generate_mask_part(h, in.point(), shape, pts, count);
            }
        },
        [](World& w, Input& in) {
            const int32_t im = w.handle(in);
            const int32_t x = in.in(-3, 40), y = in.in(-3, 40);
            const int32_t mask = w.handle(in);
            auto* out = static_cast<double*>(w.maybe_null(in));
            switch (in.u8() % 3) {
            case 0: lum_mask_mean(im, x, y, mask, out); break;
            case 1: lum_mask_mean_stddev(im, x, y, mask, out, out ? out + 1 : nullptr); break;
            default: {
                auto* f = reinterpret_cast<float*>(out);
                lum_mask_min_max(im, x, y, mask, f, f ? f + 1 : nullptr);
            }
            }
        },
    };
    return table;
}

}  // namespace lum::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace lum::fuzz;
    Input in(data, size);
    World world;
    const auto& table = calls();
    for (int steps = 0; steps < 64 && !in.done(); ++steps) table[in.u8() % table.size()](world, in);
    return 0;
}
