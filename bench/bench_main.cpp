// Runs every registered case (or those whose name contains argv[1]) and
// prints median times of lum_lib and OpenCV and their ratio.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "bench.hpp"
#include "primitives/primitive.hpp"

namespace lum::bench {

namespace {
struct Entry {
    std::string name;
    std::function<Timed()> setup;
};
std::vector<Entry>& cases() {
    static std::vector<Entry> all;
    return all;
}

double time_ms(const std::function<void()>& fn) {
    const auto a = std::chrono::steady_clock::now();
    fn();
    const auto b = std::chrono::steady_clock::now();
    return std::chrono::duration<double, std::milli>(b - a).count();
}

double median(std::vector<double> t) {
    std::sort(t.begin(), t.end());
    return t[t.size() / 2];
}

// Each side runs in its own block after a warm-up run, so that each is timed
// in its own steady state: a side whose large destinations leave the caches
// through streaming stores does not hand the other side a cold destination
// (both sides write the same buffers), and neither inherits the other's warm one.
std::pair<double, double> median_ms(const Timed& t, int runs) {
    std::vector<double> ours, ref;
    t.lum();
    for (int i = 0; i < runs; ++i) ours.push_back(time_ms(t.lum));
    if (t.reference) {
        t.reference();
        for (int i = 0; i < runs; ++i) ref.push_back(time_ms(t.reference));
    }
    return {median(ours), t.reference ? median(ref) : 0.0};
}
}  // namespace

Case::Case(std::string name, std::function<Timed()> setup) {
    cases().push_back({std::move(name), std::move(setup)});
}

Frame::Frame(int w, int h, lum_data_format f, lum_channels c, int bits) : handle_(lum_create_image()) {
    if (bits < 0) bits = f == lum_fmt_8u ? 8 : f == lum_fmt_16u ? 16 : 0;
    lum_init_image(handle_, w, h, f, c, bits);
    const lum_info i = info();
    std::mt19937 rng(static_cast<uint32_t>(w * 31 + h + f * 7 + c));
    auto* p = static_cast<uint8_t*>(i.frame_buf);
    const size_t n = size_t(i.step_bytes) * i.height;
    if (f == lum_fmt_32f) {
        for (size_t k = 0; k + 4 <= n; k += 4) {
            const float v = float(rng() % 1000) * 0.25f;
            std::memcpy(p + k, &v, 4);
        }
    } else if (f == lum_fmt_16u) {
        const uint32_t mask = (1u << i.valid_bits) - 1;
        for (size_t k = 0; k + 2 <= n; k += 2) {
            const uint16_t v = uint16_t(rng() & mask);
            std::memcpy(p + k, &v, 2);
        }
    } else {
        for (size_t k = 0; k < n; ++k) p[k] = uint8_t(rng());
    }
}
Frame::~Frame() { lum_destroy_image(handle_); }
lum_info Frame::info() const {
    lum_info i{};
    lum_get_info(handle_, &i);
    return i;
}
#ifdef LUM_HAVE_OPENCV
cv::Mat Frame::mat() const {
    const lum_info i = info();
    const int depth = i.pix_type == lum_fmt_8u ? CV_8U : i.pix_type == lum_fmt_16u ? CV_16U : CV_32F;
    return cv::Mat(i.height, i.width, CV_MAKETYPE(depth, int(i.channels)), i.frame_buf, i.step_bytes);
}
#endif

}  // namespace lum::bench

int main(int argc, char** argv) {
    using namespace lum::bench;
    const std::string filter = argc > 1 ? argv[1] : "";
    const int runs = argc > 2 ? std::max(1, std::atoi(argv[2])) : 15;
    // LUM_DISPATCH_INDEX=0..5 times a lower processor variant than the detected one.
    if (const char* forced = std::getenv("LUM_DISPATCH_INDEX")) {
        const int index = std::atoi(forced);
        if (index >= 0 && index <= lum::prim::detect_dispatch_index()) lum::prim::force_dispatch_index(index);
    }
    std::printf("processor variant: dispatch index %d\n", lum::prim::dispatch_index());
#ifdef LUM_HAVE_OPENCV
    cv::setNumThreads(1);
    std::printf("lum_lib vs OpenCV %s, %d x %d, single thread, median of %d runs\n", CV_VERSION, kWidth, kHeight,
                runs);
#else
    std::printf("lum_lib (OpenCV not found), %d x %d, single thread, median of %d runs\n", kWidth, kHeight, runs);
#endif
    std::printf("%-40s %12s %12s %8s\n", "operation", "lum_lib ms", "OpenCV ms", "ratio");
    for (const auto& c : cases()) {
        if (!filter.empty() && c.name.find(filter) == std::string::npos) continue;
        const Timed t = c.setup();
        if (!t.lum) {  // the case's data could not be had; the note says why
            std::printf("%-40s %s\n", c.name.c_str(), t.note.c_str());
            continue;
        }
        const auto [ours, ref] = median_ms(t, runs);
        if (t.reference) {
            std::printf("%-40s %12.3f %12.3f %8.2f %s\n", c.name.c_str(), ours, ref, ours / ref, t.note.c_str());
        } else {
            std::printf("%-40s %12.3f %12s %8s %s\n", c.name.c_str(), ours, "-", "-", t.note.c_str());
        }
        std::fflush(stdout);
    }
    return 0;
}
