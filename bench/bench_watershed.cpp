// Watershed of a 4K image of touching discs seeded at their centres, against
// OpenCV's watershed on a three-channel copy with 32-bit markers.
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "bench.hpp"

namespace lum::bench {
namespace {

constexpr int kSpacing = 90;  // disc centres; radius 50, so neighbouring discs overlap

struct Discs {
    Frame source{kWidth, kHeight, lum_fmt_8u, lum_gray};
    Frame markers{kWidth, kHeight, lum_fmt_16u, lum_gray};
    std::vector<uint8_t> seeds;  // pristine marker buffer
    Discs() {
        const lum_info s = source.info(), m = markers.info();
        std::memset(m.frame_buf, 0, size_t(m.step_bytes) * m.height);
        uint16_t label = 0;
        for (int cy = kSpacing / 2; cy < kHeight; cy += kSpacing)
            for (int cx = kSpacing / 2; cx < kWidth; cx += kSpacing)
                reinterpret_cast<uint16_t*>(static_cast<uint8_t*>(m.frame_buf) + size_t(cy) * m.step_bytes)[cx] =
                    ++label;
        // Grey level: distance to the nearest centre, so every disc is a basin.
        for (int y = 0; y < kHeight; ++y) {
            auto* row = static_cast<uint8_t*>(s.frame_buf) + size_t(y) * s.step_bytes;
            const int oy = (y - kSpacing / 2) % kSpacing, cy = y - oy;
            for (int x = 0; x < kWidth; ++x) {
                double best = 1e9;
                for (int dy : {0, kSpacing})
                    for (int dx : {0, kSpacing}) {
                        const int ox = (x - kSpacing / 2) % kSpacing, cx = x - ox;
                        const double d = std::hypot(double(x - (cx + (x >= kSpacing / 2 ? dx : 0))),
                                                    double(y - (cy + (y >= kSpacing / 2 ? dy : 0))));
                        best = std::min(best, d);
                    }
                row[x] = uint8_t(std::min(255.0, best * 4));
            }
        }
        const uint8_t* p = static_cast<const uint8_t*>(m.frame_buf);
        seeds.assign(p, p + size_t(m.step_bytes) * m.height);
    }
};

const Case watershed_discs("watershed 8u, 4K touching discs", [] {
    auto d = std::make_shared<Discs>();
    Timed t{[d] {
                std::memcpy(d->markers.data(), d->seeds.data(), d->seeds.size());
                lum_watershed(d->source.handle(), d->markers.handle());
            },
            {}, "OpenCV: 8u C3 source, 32s markers, 4-connected, lines -1; both reset the markers"};
#ifdef LUM_HAVE_OPENCV
    auto colour = std::make_shared<cv::Mat>();
    cv::cvtColor(d->source.mat(), *colour, cv::COLOR_GRAY2BGR);
    auto seeds32 = std::make_shared<cv::Mat>();
    d->markers.mat().convertTo(*seeds32, CV_32S);
    auto work = std::make_shared<cv::Mat>(seeds32->size(), CV_32S);
    t.reference = [colour, seeds32, work] {
        seeds32->copyTo(*work);
        cv::watershed(*colour, *work);
    };
#endif
    return t;
});

}  // namespace
}  // namespace lum::bench
