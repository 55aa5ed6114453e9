// Contour tracing of a binarized 4K frame: find plus fetch of the result
// against OpenCV's outer-boundary tracing with every boundary point kept.
#include <memory>
#include <random>
#include <vector>

#include "bench.hpp"

namespace lum::bench {
namespace {

// A binary frame (0 / 255) of `blobs` discs and ellipse-like blobs that may
// touch or overlap, on a cleared background.
std::shared_ptr<Frame> blob_frame(int blobs, int min_r, int max_r, uint32_t seed) {
    auto f = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_8u, lum_gray);
    lum_clear(f->handle());
    const lum_info i = f->info();
    auto* p = static_cast<uint8_t*>(i.frame_buf);
    std::mt19937 rng(seed);
    for (int k = 0; k < blobs; ++k) {
        const int cx = int(rng() % kWidth), cy = int(rng() % kHeight);
        const int rx = min_r + int(rng() % uint32_t(max_r - min_r + 1));
        const int ry = k % 3 == 0 ? min_r + int(rng() % uint32_t(max_r - min_r + 1)) : rx;
        for (int y = cy - ry; y <= cy + ry; ++y) {
            if (y < 0 || y >= kHeight) continue;
            for (int x = cx - rx; x <= cx + rx; ++x) {
                if (x < 0 || x >= kWidth) continue;
                const double u = double(x - cx) / rx, v = double(y - cy) / ry;
                if (u * u + v * v <= 1.0) p[size_t(y) * i.step_bytes + x] = 255;
            }
        }
    }
    return f;
}

// The caller keeps its result arrays from frame to frame, growing them when a
// frame needs more room, as a host tracing a video stream would.
struct Arrays {
    std::vector<int32_t> result;
    std::vector<uint32_t> sizes;
};

uint32_t find_and_fetch(const Frame& f, Arrays& a) {
    uint32_t total = 0, count = 0;
    const int32_t h = lum_find_contours(f.handle(), &total, &count);
    if (a.result.size() < total) a.result.resize(total);
    if (a.sizes.size() < count) a.sizes.resize(count);
    if (h >= 0 && count > 0) lum_get_contours_result(h, a.result.data(), a.sizes.data());
    return count;
}

Timed trace_case(std::shared_ptr<Frame> f) {
    auto arrays = std::make_shared<Arrays>();
    Timed t{[f, arrays] { find_and_fetch(*f, *arrays); }, {}, ""};
    t.note = std::to_string(find_and_fetch(*f, *arrays)) + " contours";
#ifdef LUM_HAVE_OPENCV
    t.reference = [f] {
        std::vector<std::vector<cv::Point>> contours;
        cv::findContours(f->mat(), contours, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE);
    };
#endif
    return t;
}

const Case few_blobs("find+get contours 8u, 300 blobs", [] { return trace_case(blob_frame(300, 10, 60, 7)); });
const Case many_discs("find+get contours 8u, 2000 discs", [] { return trace_case(blob_frame(2000, 5, 25, 11)); });

}  // namespace
}  // namespace lum::bench
