// Mirror, resize and rotation against OpenCV's flip, resize and warpAffine on
// the same 4K frames.
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "bench.hpp"

namespace lum::bench {
namespace {

using FramePtr = std::shared_ptr<Frame>;

Timed mirror_case(int axis, int cv_code) {
    auto a = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_8u, lum_gray);
    Timed t{[a, axis] { lum_mirrorI(a->handle(), axis); }, {}, "in place"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a, cv_code] {
        cv::Mat m = a->mat();
        cv::flip(m, m, cv_code);
    };
#else
    (void)cv_code;
#endif
    return t;
}

const Case mirror0("mirror 8u axis 0", [] { return mirror_case(0, 0); });
const Case mirror1("mirror 8u axis 1", [] { return mirror_case(1, 1); });
const Case mirror2("mirror 8u axis 2", [] { return mirror_case(2, -1); });
const Case mirror1c("mirror 8u C3 axis 1", [] {
    auto a = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_8u, lum_color);
    Timed t{[a] { lum_mirrorI(a->handle(), 1); }, {}, "in place"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] {
        cv::Mat m = a->mat();
        cv::flip(m, m, 1);
    };
#endif
    return t;
});

Timed resize_case(lum_data_format format, lum_channels channels, double scale, int code) {
    const int dw = int(kWidth * scale), dh = int(kHeight * scale);
    auto a = std::make_shared<Frame>(kWidth, kHeight, format, channels);
    auto b = std::make_shared<Frame>(dw, dh, format, channels);
    Timed t{[=] {
                lum_resize(a->handle(), {0, 0}, {kWidth, kHeight}, b->handle(), {0, 0}, {dw, dh}, code);
            },
            {}, code == 16 ? "Lanczos 6x6 taps both" : ""};
#ifdef LUM_HAVE_OPENCV
    const int cv_code = code == 1 ? cv::INTER_NEAREST : code == 2 ? cv::INTER_LINEAR : cv::INTER_LANCZOS4;
    if (code == 16) t.note = "OpenCV Lanczos has 8x8 taps, ours 6x6";
    t.reference = [=] {
        cv::Mat d = b->mat();
        cv::resize(a->mat(), d, cv::Size(dw, dh), 0, 0, cv_code);
    };
#endif
    return t;
}

const Case rn50("resize 8u 0.5x nearest", [] { return resize_case(lum_fmt_8u, lum_gray, 0.5, 1); });
const Case rl50("resize 8u 0.5x linear", [] { return resize_case(lum_fmt_8u, lum_gray, 0.5, 2); });
const Case rz50("resize 8u 0.5x Lanczos", [] { return resize_case(lum_fmt_8u, lum_gray, 0.5, 16); });
const Case rn75("resize 8u 0.75x nearest", [] { return resize_case(lum_fmt_8u, lum_gray, 0.75, 1); });
const Case rl75("resize 8u 0.75x linear", [] { return resize_case(lum_fmt_8u, lum_gray, 0.75, 2); });
const Case rz75("resize 8u 0.75x Lanczos", [] { return resize_case(lum_fmt_8u, lum_gray, 0.75, 16); });
const Case rl75c("resize 8u C3 0.75x linear", [] { return resize_case(lum_fmt_8u, lum_color, 0.75, 2); });
const Case rl16("resize 16u 0.75x linear", [] { return resize_case(lum_fmt_16u, lum_gray, 0.75, 2); });

Timed rotate_case(int code) {
    auto a = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_8u, lum_gray);
    auto b = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_8u, lum_gray);
    const double angle = 30, r = angle * 3.141592653589793 / 180, cx = kWidth / 2.0, cy = kHeight / 2.0;
    // Shifts that keep the frame's centre in place.
    const double xs = cx - (cx * std::cos(r) + cy * std::sin(r)), ys = cy - (-cx * std::sin(r) + cy * std::cos(r));
    Timed t{[=] { lum_rotate(a->handle(), b->handle(), angle, xs, ys, code); }, {}, "about the centre"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [=] {
        const double m[6] = {std::cos(r), std::sin(r), xs, -std::sin(r), std::cos(r), ys};
        cv::Mat d = b->mat();
        cv::warpAffine(a->mat(), d, cv::Mat(2, 3, CV_64F, const_cast<double*>(m)), cv::Size(kWidth, kHeight),
                       code == 1 ? cv::INTER_NEAREST : cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar(0));
    };
#endif
    return t;
}

const Case rot_nearest("rotate 8u 30 deg nearest", [] { return rotate_case(1); });
const Case rot_linear("rotate 8u 30 deg linear", [] { return rotate_case(2); });

// Line profiles ride on the rotation and the resize, so they are timed here.
Timed profile_case(bool fast) {
    auto a = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_8u, lum_gray);
    auto out = std::make_shared<std::vector<uint8_t>>(8192);
    const lum_point p1{100, 200}, p2{3700, 1900};
    const uint32_t thickness = 15;
    Timed t{[=] {
                uint32_t count = static_cast<uint32_t>(out->size());
                (fast ? lum_get_fast_profile : lum_get_profile)(a->handle(), p1, p2, thickness, out->data(), &count);
            },
            {}, "OpenCV: LineIterator over 15 parallel lines, summed, no resampling"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [=] {
        cv::Mat m = a->mat();
        std::vector<int> sum(8192, 0);
        const double dx = p2.x - p1.x, dy = p2.y - p1.y, n = std::sqrt(dx * dx + dy * dy);
        for (uint32_t i = 0; i < thickness; ++i) {
            const double o = double(i) - thickness / 2.0;
            const cv::Point shift(int(std::lround(-dy / n * o)), int(std::lround(dx / n * o)));
            cv::LineIterator it(m, cv::Point(p1.x, p1.y) + shift, cv::Point(p2.x, p2.y) + shift, 8);
            for (int k = 0; k < it.count && k < 8192; ++k, ++it) sum[k] += **it;
        }
        out->at(0) = static_cast<uint8_t>(sum[0] / int(thickness));
    };
#endif
    return t;
}

const Case profile_fast("fast_profile 8u 4K diagonal, 15 lines", [] { return profile_case(true); });
const Case profile_band("profile 8u 4K diagonal, 15 lines (rotation)", [] { return profile_case(false); });

}  // namespace
}  // namespace lum::bench
