// Measurement: statistics, histograms, Otsu threshold and projections through
// the C interface, against OpenCV's nearest equivalents on the same buffers.
#include <memory>
#include <vector>

#include "bench.hpp"

namespace lum::bench {
namespace {

std::shared_ptr<Frame> frame(lum_data_format f, lum_channels c = lum_gray, int bits = -1) {
    return std::make_shared<Frame>(kWidth, kHeight, f, c, bits);
}

const Case sum_8u("sum 8u C1", [] {
    auto a = frame(lum_fmt_8u);
    Timed t{[a] {
                double s;
                lum_sum(a->handle(), &s);
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] { (void)cv::sum(a->mat()); };
#endif
    return t;
});

const Case sum_16u("sum 16u C1", [] {
    auto a = frame(lum_fmt_16u);
    Timed t{[a] {
                double s;
                lum_sum(a->handle(), &s);
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] { (void)cv::sum(a->mat()); };
#endif
    return t;
});

const Case sum_32f("sum 32f C1", [] {
    auto a = frame(lum_fmt_32f);
    Timed t{[a] {
                double s;
                lum_sum(a->handle(), &s);
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] { (void)cv::sum(a->mat()); };
#endif
    return t;
});

const Case min_max_8u("img_min_max 8u C1", [] {
    auto a = frame(lum_fmt_8u);
    Timed t{[a] {
                uint8_t lo, hi;
                lum_img_min_max(a->handle(), &lo, &hi);
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] {
        double lo, hi;
        cv::minMaxLoc(a->mat(), &lo, &hi);
    };
#endif
    return t;
});

const Case min_max_16u("img_min_max 16u C1", [] {
    auto a = frame(lum_fmt_16u);
    Timed t{[a] {
                uint16_t lo, hi;
                lum_img_min_max(a->handle(), &lo, &hi);
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] {
        double lo, hi;
        cv::minMaxLoc(a->mat(), &lo, &hi);
    };
#endif
    return t;
});

const Case min_max_32f("img_min_max 32f C1", [] {
    auto a = frame(lum_fmt_32f);
    Timed t{[a] {
                float lo, hi;
                lum_img_min_max(a->handle(), &lo, &hi);
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] {
        double lo, hi;
        cv::minMaxLoc(a->mat(), &lo, &hi);
    };
#endif
    return t;
});

const Case min_max_8u_c3("img_min_max 8u C3", [] {
    auto a = frame(lum_fmt_8u, lum_color);
    Timed t{[a] {
                uint8_t lo[3], hi[3];
                lum_img_min_max(a->handle(), lo, hi);
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] {
        // minMaxLoc takes one channel: split, then three calls.
        std::vector<cv::Mat> planes;
        cv::split(a->mat(), planes);
        double lo, hi;
        for (auto& p : planes) cv::minMaxLoc(p, &lo, &hi);
    };
#endif
    t.note = "OpenCV: split + 3 x minMaxLoc";
    return t;
});

const Case mean_sd_8u("img_mean_stddev 8u C1", [] {
    auto a = frame(lum_fmt_8u);
    Timed t{[a] {
                double m, d;
                lum_img_mean_stddev(a->handle(), &m, &d);
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] {
        cv::Scalar m, d;
        cv::meanStdDev(a->mat(), m, d);
    };
#endif
    return t;
});

const Case mean_sd_16u("img_mean_stddev 16u C1", [] {
    auto a = frame(lum_fmt_16u);
    Timed t{[a] {
                double m, d;
                lum_img_mean_stddev(a->handle(), &m, &d);
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] {
        cv::Scalar m, d;
        cv::meanStdDev(a->mat(), m, d);
    };
#endif
    return t;
});

const Case mean_sd_32f("img_mean_stddev 32f C1", [] {
    auto a = frame(lum_fmt_32f);
    Timed t{[a] {
                double m, d;
                lum_img_mean_stddev(a->handle(), &m, &d);
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] {
        cv::Scalar m, d;
        cv::meanStdDev(a->mat(), m, d);
    };
#endif
    return t;
});

const Case max_every_8u("img_max_every 8u C1", [] {
    auto a = frame(lum_fmt_8u), b = frame(lum_fmt_8u), d = frame(lum_fmt_8u);
    Timed t{[a, b, d] { lum_img_max_every(a->handle(), b->handle(), d->handle()); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a, b, d] {
        cv::Mat m = d->mat();
        cv::max(a->mat(), b->mat(), m);
    };
#endif
    return t;
});

const Case min_every_16u("img_min_every 16u C1", [] {
    auto a = frame(lum_fmt_16u), b = frame(lum_fmt_16u), d = frame(lum_fmt_16u);
    Timed t{[a, b, d] { lum_img_min_every(a->handle(), b->handle(), d->handle()); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a, b, d] {
        cv::Mat m = d->mat();
        cv::min(a->mat(), b->mat(), m);
    };
#endif
    return t;
});

}  // namespace
}  // namespace lum::bench
