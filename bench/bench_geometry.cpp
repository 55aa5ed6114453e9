// Mirror, resize, rotation and line profiles against OpenCV's flip, resize,
// warpAffine and a LineIterator walk on the same frames (4K, or a smaller
// source where the output is scaled up to 4K).
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "bench.hpp"

namespace lum::bench {
namespace {

const char* name_of(lum_data_format f) { return f == lum_fmt_8u ? "8u" : f == lum_fmt_16u ? "16u" : "32f"; }

Timed mirror_case(lum_data_format format, lum_channels channels, int axis) {
    auto a = std::make_shared<Frame>(kWidth, kHeight, format, channels);
    Timed t{[a, axis] { lum_mirrorI(a->handle(), axis); }, {}, "in place"};
#ifdef LUM_HAVE_OPENCV
    const int code = axis == 0 ? 0 : axis == 1 ? 1 : -1;
    t.reference = [a, code] {
        cv::Mat m = a->mat();
        cv::flip(m, m, code);
    };
#endif
    return t;
}

struct MirrorCases {
    std::vector<Case> cases;
    MirrorCases() {
        for (lum_data_format f : {lum_fmt_8u, lum_fmt_16u, lum_fmt_32f})
            for (lum_channels c : {lum_gray, lum_color})
                for (int axis : {0, 1, 2})
                    cases.emplace_back(std::string("mirror ") + name_of(f) + (c == lum_color ? " C3" : "") +
                                           " axis " + std::to_string(axis),
                                       [=] { return mirror_case(f, c, axis); });
    }
} const mirror_cases;

// Resize from sw x sh to dw x dh.
Timed resize_case(lum_data_format format, lum_channels channels, int sw, int sh, int dw, int dh, int code) {
    auto a = std::make_shared<Frame>(sw, sh, format, channels);
    auto b = std::make_shared<Frame>(dw, dh, format, channels);
    Timed t{[=] { lum_resize(a->handle(), {0, 0}, {sw, sh}, b->handle(), {0, 0}, {dw, dh}, code); }, {},
            std::to_string(sw) + "x" + std::to_string(sh) + " -> " + std::to_string(dw) + "x" + std::to_string(dh)};
#ifdef LUM_HAVE_OPENCV
    const int cv_code = code == 1 ? cv::INTER_NEAREST : code == 2 ? cv::INTER_LINEAR : cv::INTER_LANCZOS4;
    if (code == 16) t.note += ", OpenCV Lanczos has 8x8 taps, ours 6x6";
    t.reference = [=] {
        cv::Mat d = b->mat();
        cv::resize(a->mat(), d, cv::Size(dw, dh), 0, 0, cv_code);
    };
#endif
    return t;
}

struct ResizeCases {
    std::vector<Case> cases;
    void add(lum_data_format f, lum_channels c, const char* ratio, int sw, int sh, int dw, int dh, int code) {
        const char* kind = code == 1 ? "nearest" : code == 2 ? "linear" : "Lanczos";
        cases.emplace_back(std::string("resize ") + name_of(f) + (c == lum_color ? " C3 " : " ") + ratio + " " + kind,
                           [=] { return resize_case(f, c, sw, sh, dw, dh, code); });
    }
    ResizeCases() {
        const int w = kWidth, h = kHeight;
        // Lanczos (slow on both sides) at one ratio down and one up.
        for (int code : {1, 2, 16})
            for (lum_data_format f : {lum_fmt_8u, lum_fmt_16u})
                for (lum_channels c : {lum_gray, lum_color}) {
                    if (code != 16) add(f, c, "0.5x", w, h, w / 2, h / 2, code);
                    add(f, c, "0.75x", w, h, w * 3 / 4, h * 3 / 4, code);
                    if (code != 16) add(f, c, "0.6x", w, h, w * 3 / 5, h * 3 / 5, code);
                    add(f, c, "1.5x", w * 2 / 3, h * 2 / 3, w, h, code);
                    if (code != 16) add(f, c, "2x", w / 2, h / 2, w, h, code);
                }
    }
} const resize_cases;

Timed rotate_case(lum_data_format format, lum_channels channels, int code) {
    auto a = std::make_shared<Frame>(kWidth, kHeight, format, channels);
    auto b = std::make_shared<Frame>(kWidth, kHeight, format, channels);
    const double angle = 30, r = angle * 3.141592653589793 / 180, cx = kWidth / 2.0, cy = kHeight / 2.0;
    // Shifts that keep the frame's centre in place.
    const double xs = cx - (cx * std::cos(r) + cy * std::sin(r)), ys = cy - (-cx * std::sin(r) + cy * std::cos(r));
    Timed t{[=] { lum_rotate(a->handle(), b->handle(), angle, xs, ys, code); }, {}, "about the centre"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [=] {
        const double m[6] = {std::cos(r), std::sin(r), xs, -std::sin(r), std::cos(r), ys};
        cv::Mat d = b->mat();
        cv::warpAffine(a->mat(), d, cv::Mat(2, 3, CV_64F, const_cast<double*>(m)), cv::Size(kWidth, kHeight),
                       code == 1 ? cv::INTER_NEAREST : cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar::all(0));
    };
#endif
    return t;
}

const Case rot_nearest("rotate 8u 30 deg nearest", [] { return rotate_case(lum_fmt_8u, lum_gray, 1); });
const Case rot_linear("rotate 8u 30 deg linear", [] { return rotate_case(lum_fmt_8u, lum_gray, 2); });
const Case rot_nearest_c3("rotate 8u C3 30 deg nearest", [] { return rotate_case(lum_fmt_8u, lum_color, 1); });
const Case rot_linear_c3("rotate 8u C3 30 deg linear", [] { return rotate_case(lum_fmt_8u, lum_color, 2); });
const Case rot_nearest16("rotate 16u 30 deg nearest", [] { return rotate_case(lum_fmt_16u, lum_gray, 1); });
const Case rot_linear16("rotate 16u 30 deg linear", [] { return rotate_case(lum_fmt_16u, lum_gray, 2); });

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
