// Colour conversion, palette rendering, copies and channel moves against the
// nearest OpenCV operations on the same 4K frames.
#include <memory>
#include <vector>

#include "bench.hpp"

namespace lum::bench {
namespace {

using FramePtr = std::shared_ptr<Frame>;

FramePtr frame(lum_data_format f, lum_channels c) { return std::make_shared<Frame>(kWidth, kHeight, f, c); }

const Case to_gray("color_to_gray 8u", [] {
    auto a = frame(lum_fmt_8u, lum_color), b = frame(lum_fmt_8u, lum_gray);
    Timed t{[a, b] { lum_color_to_gray(a->handle(), b->handle()); }, {}, "OpenCV uses luma weights, ours 1/3"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a, b] {
        cv::Mat d = b->mat();
        cv::cvtColor(a->mat(), d, cv::COLOR_RGB2GRAY);
    };
#endif
    return t;
});

const Case to_gray16("color_to_gray 16u", [] {
    auto a = frame(lum_fmt_16u, lum_color), b = frame(lum_fmt_16u, lum_gray);
    Timed t{[a, b] { lum_color_to_gray(a->handle(), b->handle()); }, {}, "OpenCV uses luma weights, ours 1/3"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a, b] {
        cv::Mat d = b->mat();
        cv::cvtColor(a->mat(), d, cv::COLOR_RGB2GRAY);
    };
#endif
    return t;
});

const Case to_color("gray_to_color 8u", [] {
    auto a = frame(lum_fmt_8u, lum_gray), b = frame(lum_fmt_8u, lum_color);
    Timed t{[a, b] { lum_gray_to_color(a->handle(), b->handle()); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a, b] {
        cv::Mat d = b->mat();
        cv::cvtColor(a->mat(), d, cv::COLOR_GRAY2RGB);
    };
#endif
    return t;
});

constexpr float kTwist[12] = {0.5f, 0.3f, 0.2f, 4, -0.1f, 1.1f, 0.05f, -3, 0.25f, 0.25f, 0.5f, 10};

const Case twist8("color_twist 8u", [] {
    auto a = frame(lum_fmt_8u, lum_color), b = frame(lum_fmt_8u, lum_color);
    Timed t{[a, b] { lum_color_twist(a->handle(), b->handle(), kTwist); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a, b] {
        cv::Mat d = b->mat();
        cv::transform(a->mat(), d, cv::Mat(3, 4, CV_32F, const_cast<float*>(kTwist)));
    };
#endif
    return t;
});

const Case twist16("color_twist 16u (12 valid bits)", [] {
    auto a = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_16u, lum_color, 12);
    auto b = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_16u, lum_color, 12);
    Timed t{[a, b] { lum_color_twist(a->handle(), b->handle(), kTwist); }, {}, "ours also clamps to 12 bits"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a, b] {
        cv::Mat d = b->mat();
        cv::transform(a->mat(), d, cv::Mat(3, 4, CV_32F, const_cast<float*>(kTwist)));
    };
#endif
    return t;
});

const Case twist8i("color_twistI 8u (in place)", [] {
    auto a = frame(lum_fmt_8u, lum_color);
    Timed t{[a] { lum_color_twistI(a->handle(), kTwist); }, {}, "values drift run after run; the time does not"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] {
        cv::Mat m = a->mat();
        cv::transform(m, m, cv::Mat(3, 4, CV_32F, const_cast<float*>(kTwist)));
    };
#endif
    return t;
});

const Case twist16i("color_twistI 16u (in place, 12 valid bits)", [] {
    auto a = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_16u, lum_color, 12);
    Timed t{[a] { lum_color_twistI(a->handle(), kTwist); }, {}, "ours also clamps to 12 bits"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] {
        cv::Mat m = a->mat();
        cv::transform(m, m, cv::Mat(3, 4, CV_32F, const_cast<float*>(kTwist)));
    };
#endif
    return t;
});

const Case palette("computer_color_bc 8u", [] {
    auto a = frame(lum_fmt_8u, lum_gray), b = frame(lum_fmt_8u, lum_color);
    auto pal = std::make_shared<std::vector<uint8_t>>(768);
    for (int i = 0; i < 768; ++i) (*pal)[i] = static_cast<uint8_t>(i * 7);
    Timed t{[a, b, pal] {
                const lum_rect r{0, 0, kWidth, kHeight};
                lum_computer_color_bc(a->handle(), b->handle(), &r, pal->data(), 0.9, 5);
            },
            {}, "OpenCV: LUT on a 3-channel copy of the grey frame, no contrast and no add"};
#ifdef LUM_HAVE_OPENCV
    auto grey3 = std::make_shared<cv::Mat>();
    cv::cvtColor(a->mat(), *grey3, cv::COLOR_GRAY2BGR);
    t.reference = [grey3, b, pal] {
        cv::Mat d = b->mat();
        cv::LUT(*grey3, cv::Mat(1, 256, CV_8UC3, pal->data()), d);
    };
#endif
    return t;
});

const Case palette16("computer_color_bc 16u (12 valid bits)", [] {
    auto a = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_16u, lum_gray, 12);
    auto b = frame(lum_fmt_8u, lum_color);
    auto pal = std::make_shared<std::vector<uint8_t>>(768);
    for (int i = 0; i < 768; ++i) (*pal)[i] = static_cast<uint8_t>(i * 7);
    Timed t{[a, b, pal] {
                const lum_rect r{0, 0, kWidth, kHeight};
                lum_computer_color_bc(a->handle(), b->handle(), &r, pal->data(), 0.9, 5);
            },
            {}, "OpenCV: convertTo 8u, GRAY2BGR, LUT; no add"};
#ifdef LUM_HAVE_OPENCV
    auto grey8 = std::make_shared<cv::Mat>(), grey3 = std::make_shared<cv::Mat>();
    t.reference = [a, b, pal, grey8, grey3] {
        a->mat().convertTo(*grey8, CV_8U, 0.9 / 16, 5.0 / 16);
        cv::cvtColor(*grey8, *grey3, cv::COLOR_GRAY2BGR);
        cv::Mat d = b->mat();
        cv::LUT(*grey3, cv::Mat(1, 256, CV_8UC3, pal->data()), d);
    };
#endif
    return t;
});

const Case into_channel("copy_gray2color 8u (channel 1)", [] {
    auto g = frame(lum_fmt_8u, lum_gray), c = frame(lum_fmt_8u, lum_color);
    Timed t{[g, c] { lum_copy_gray2color(g->handle(), c->handle(), 1); }, {}, "OpenCV: mixChannels"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [g, c] {
        cv::Mat src[2] = {g->mat(), c->mat()};
        cv::Mat dst = c->mat();
        const int pairs[] = {0, 1};
        cv::mixChannels(src, 1, &dst, 1, pairs, 1);
    };
#endif
    return t;
});

const Case split8("copy_color2channels 8u (split)", [] {
    auto a = frame(lum_fmt_8u, lum_color);
    auto p0 = frame(lum_fmt_8u, lum_gray), p1 = frame(lum_fmt_8u, lum_gray), p2 = frame(lum_fmt_8u, lum_gray);
    Timed t{[=] { lum_copy_color2channels(a->handle(), p0->handle(), p1->handle(), p2->handle()); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [=] {
        cv::Mat planes[3] = {p0->mat(), p1->mat(), p2->mat()};
        cv::split(a->mat(), planes);
    };
#endif
    return t;
});

const Case merge8("copy_channels2color 8u (merge)", [] {
    auto a = frame(lum_fmt_8u, lum_color);
    auto p0 = frame(lum_fmt_8u, lum_gray), p1 = frame(lum_fmt_8u, lum_gray), p2 = frame(lum_fmt_8u, lum_gray);
    Timed t{[=] { lum_copy_channels2color(p0->handle(), p1->handle(), p2->handle(), a->handle()); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [=] {
        cv::Mat planes[3] = {p0->mat(), p1->mat(), p2->mat()};
        cv::Mat d = a->mat();
        cv::merge(planes, 3, d);
    };
#endif
    return t;
});

const Case split16("copy_color2channels 16u (split)", [] {
    auto a = frame(lum_fmt_16u, lum_color);
    auto p0 = frame(lum_fmt_16u, lum_gray), p1 = frame(lum_fmt_16u, lum_gray), p2 = frame(lum_fmt_16u, lum_gray);
    Timed t{[=] { lum_copy_color2channels(a->handle(), p0->handle(), p1->handle(), p2->handle()); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [=] {
        cv::Mat planes[3] = {p0->mat(), p1->mat(), p2->mat()};
        cv::split(a->mat(), planes);
    };
#endif
    return t;
});

const Case merge16("copy_channels2color 16u (merge)", [] {
    auto a = frame(lum_fmt_16u, lum_color);
    auto p0 = frame(lum_fmt_16u, lum_gray), p1 = frame(lum_fmt_16u, lum_gray), p2 = frame(lum_fmt_16u, lum_gray);
    Timed t{[=] { lum_copy_channels2color(p0->handle(), p1->handle(), p2->handle(), a->handle()); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [=] {
        cv::Mat planes[3] = {p0->mat(), p1->mat(), p2->mat()};
        cv::Mat d = a->mat();
        cv::merge(planes, 3, d);
    };
#endif
    return t;
});

const Case swap8("swap_channels 8u (2, 1, 0), in place", [] {
    auto a = frame(lum_fmt_8u, lum_color);
    Timed t{[a] {
                const int32_t order[3] = {2, 1, 0};
                lum_swap_channels(a->handle(), order);
            },
            {}, "OpenCV: cvtColor RGB2BGR in place"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] {
        cv::Mat m = a->mat();
        cv::cvtColor(m, m, cv::COLOR_RGB2BGR);
    };
#endif
    return t;
});

const Case swap8_any("swap_channels 8u (1, 2, 0), in place", [] {
    auto a = frame(lum_fmt_8u, lum_color);
    Timed t{[a] {
                const int32_t order[3] = {1, 2, 0};
                lum_swap_channels(a->handle(), order);
            },
            {}, "OpenCV: mixChannels in place"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] {
        cv::Mat m = a->mat();
        const int pairs[] = {1, 0, 2, 1, 0, 2};
        cv::mixChannels(&m, 1, &m, 1, pairs, 3);
    };
#endif
    return t;
});

}  // namespace
}  // namespace lum::bench
