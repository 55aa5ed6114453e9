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

// minMaxLoc takes one channel: split, then three calls.
template <class T>
Timed min_max_c3_case(lum_data_format f) {
    auto a = frame(f, lum_color);
    Timed t{[a] {
                T lo[3], hi[3];
                lum_img_min_max(a->handle(), lo, hi);
            },
            {}, "OpenCV: split + 3 x minMaxLoc"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] {
        std::vector<cv::Mat> planes;
        cv::split(a->mat(), planes);
        double lo, hi;
        for (auto& p : planes) cv::minMaxLoc(p, &lo, &hi);
    };
#endif
    return t;
}

const Case min_max_8u_c3("img_min_max 8u C3", [] { return min_max_c3_case<uint8_t>(lum_fmt_8u); });
const Case min_max_16u_c3("img_min_max 16u C3", [] { return min_max_c3_case<uint16_t>(lum_fmt_16u); });

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

Timed pick_every_case(lum_data_format f, bool max) {
    auto a = frame(f), b = frame(f), d = frame(f);
    Timed t{[a, b, d, max] {
                if (max) lum_img_max_every(a->handle(), b->handle(), d->handle());
                else lum_img_min_every(a->handle(), b->handle(), d->handle());
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a, b, d, max] {
        cv::Mat m = d->mat();
        if (max) cv::max(a->mat(), b->mat(), m);
        else cv::min(a->mat(), b->mat(), m);
    };
#endif
    return t;
}

const Case max_every_8u("img_max_every 8u C1", [] { return pick_every_case(lum_fmt_8u, true); });
const Case max_every_16u("img_max_every 16u C1", [] { return pick_every_case(lum_fmt_16u, true); });
const Case min_every_8u("img_min_every 8u C1", [] { return pick_every_case(lum_fmt_8u, false); });
const Case min_every_16u("img_min_every 16u C1", [] { return pick_every_case(lum_fmt_16u, false); });

}  // namespace
}  // namespace lum::bench

namespace lum::bench {
namespace {

#ifdef LUM_HAVE_OPENCV
void opencv_hist(const cv::Mat& m, float lower, float upper, int bins) {
    cv::Mat hist;
    const int channels[] = {0};
    const int sizes[] = {bins};
    const float range[] = {lower, upper};
    const float* ranges[] = {range};
    cv::calcHist(&m, 1, channels, cv::Mat(), hist, 1, sizes, ranges, true, false);
}
#endif

const Case hist_8u("histogram 8u C1, 256 bins", [] {
    auto a = frame(lum_fmt_8u);
    auto counts = std::make_shared<std::vector<uint32_t>>(256);
    Timed t{[a, counts] { lum_histogram(a->handle(), 0, 256, counts->data(), 256); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] { opencv_hist(a->mat(), 0, 256, 256); };
#endif
    return t;
});

const Case hist_8u_odd("histogram 8u C1, 37 bins over 10..200", [] {
    auto a = frame(lum_fmt_8u);
    auto counts = std::make_shared<std::vector<uint32_t>>(37);
    Timed t{[a, counts] { lum_histogram(a->handle(), 10, 200, counts->data(), 37); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] { opencv_hist(a->mat(), 10, 200, 37); };
#endif
    return t;
});

const Case hist_16u("histogram 16u C1, 1024 bins", [] {
    auto a = frame(lum_fmt_16u);
    auto counts = std::make_shared<std::vector<uint32_t>>(1024);
    Timed t{[a, counts] { lum_histogram(a->handle(), 0, 65536, counts->data(), 1024); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] { opencv_hist(a->mat(), 0, 65536, 1024); };
#endif
    return t;
});

const Case hist_16u_12("histogram 16u C1 (12 bits), 4096 bins", [] {
    auto a = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_16u, lum_gray, 12);
    auto counts = std::make_shared<std::vector<uint32_t>>(4096);
    Timed t{[a, counts] { lum_histogram(a->handle(), 0, 4096, counts->data(), 4096); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] { opencv_hist(a->mat(), 0, 4096, 4096); };
#endif
    return t;
});

const Case hist_32f("histogram 32f C1, 100 bins", [] {
    auto a = frame(lum_fmt_32f);
    auto counts = std::make_shared<std::vector<uint32_t>>(100);
    Timed t{[a, counts] { lum_histogram(a->handle(), 0, 250, counts->data(), 100); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] { opencv_hist(a->mat(), 0, 250, 100); };
#endif
    return t;
});

const Case otsu_8u("otsu 8u C1", [] {
    auto a = frame(lum_fmt_8u);
    Timed t{[a] {
                int32_t th;
                lum_otsu_get_threshold(a->handle(), &th);
            },
            {}, "OpenCV also writes the thresholded image"};
#ifdef LUM_HAVE_OPENCV
    auto out = std::make_shared<cv::Mat>(kHeight, kWidth, CV_8UC1);
    t.reference = [a, out] { cv::threshold(a->mat(), *out, 0, 255, cv::THRESH_BINARY | cv::THRESH_OTSU); };
#endif
    return t;
});

const Case otsu_16u("otsu 16u C1 (12 bits)", [] {
    auto a = frame(lum_fmt_16u, lum_gray, 12);
    Timed t{[a] {
                int32_t th;
                lum_otsu_get_threshold(a->handle(), &th);
            },
            {}, "OpenCV also writes the thresholded image"};
#ifdef LUM_HAVE_OPENCV
    auto out = std::make_shared<cv::Mat>(kHeight, kWidth, CV_16UC1);
    t.reference = [a, out] { cv::threshold(a->mat(), *out, 0, 4095, cv::THRESH_BINARY | cv::THRESH_OTSU); };
#endif
    return t;
});

}  // namespace
}  // namespace lum::bench

namespace lum::bench {
namespace {

// Sixteen frames of the same size; the lum body runs the whole sequence.
struct Sequence {
    std::vector<std::shared_ptr<Frame>> frames;
    explicit Sequence(lum_data_format f) {
        for (int i = 0; i < 16; ++i) frames.push_back(std::make_shared<Frame>(kWidth, kHeight / 4, f, lum_gray));
    }
};

#ifdef LUM_HAVE_OPENCV
int cv_depth(lum_data_format f) { return f == lum_fmt_8u ? CV_8U : CV_16U; }
#endif

Timed extreme_case(lum_data_format f, bool max, int32_t direction) {
    auto s = std::make_shared<Sequence>(f);
    const int dw = direction == 1 ? 16 : kWidth, dh = direction == 2 ? 16 : kHeight / 4;
    auto d = std::make_shared<Frame>(dw, dh, f, lum_gray);
    Timed t{[s, d, max, direction] {
                for (uint32_t i = 0; i < 16; ++i) {
                    if (max) lum_projection_max(s->frames[i]->handle(), d->handle(), i, 16, direction);
                    else lum_projection_min(s->frames[i]->handle(), d->handle(), i, 16, direction);
                }
            },
            {}, direction == 2 ? "ours also folds in the row's previous content" : ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [s, d, max, direction] {
        cv::Mat m = d->mat();
        for (int i = 0; i < 16; ++i) {
            const cv::Mat f = s->frames[i]->mat();
            if (direction == 0) {
                if (max) cv::max(m, f, m);
                else cv::min(m, f, m);
            } else {
                cv::Mat line = direction == 1 ? m.col(i) : m.row(i);
                cv::reduce(f, line, direction == 1 ? 1 : 0, max ? cv::REDUCE_MAX : cv::REDUCE_MIN);
            }
        }
    };
#endif
    return t;
}

const Case projection_max_seq("projection_max 8u, 16 frames, pixel-wise", [] { return extreme_case(lum_fmt_8u, true, 0); });
const Case projection_max_seq16("projection_max 16u, 16 frames, pixel-wise", [] { return extreme_case(lum_fmt_16u, true, 0); });
const Case projection_max_rows("projection_max 8u, 16 frames, per row", [] { return extreme_case(lum_fmt_8u, true, 1); });
const Case projection_max_rows16("projection_max 16u, 16 frames, per row", [] { return extreme_case(lum_fmt_16u, true, 1); });
const Case projection_min_cols8("projection_min 8u, 16 frames, per column", [] { return extreme_case(lum_fmt_8u, false, 2); });
const Case projection_min_cols("projection_min 16u, 16 frames, per column", [] { return extreme_case(lum_fmt_16u, false, 2); });

Timed line_mean_case(lum_data_format f, int32_t direction) {
    auto s = std::make_shared<Sequence>(f);
    const int dw = direction == 1 ? 16 : kWidth, dh = direction == 2 ? 16 : kHeight / 4;
    auto d = std::make_shared<Frame>(dw, dh, f, lum_gray);
    auto acc = std::make_shared<int32_t>(-1);
    lum_projection_mean_init(1, 1, acc.get());
    Timed t{[s, d, acc, direction] {
                for (uint32_t i = 0; i < 16; ++i)
                    lum_projection_mean(s->frames[i]->handle(), d->handle(), i, 16, direction, *acc);
            },
            {}, "OpenCV: REDUCE_AVG into 32f, then convertTo"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [s, d, f, direction] {
        cv::Mat m = d->mat(), avg;
        for (int i = 0; i < 16; ++i) {
            cv::Mat line = direction == 1 ? m.col(i) : m.row(i);
            cv::reduce(s->frames[i]->mat(), avg, direction == 1 ? 1 : 0, cv::REDUCE_AVG, CV_32F);
            avg.convertTo(line, cv_depth(f));
        }
    };
#endif
    return t;
}

const Case projection_mean_cols("projection_mean 8u, 16 frames, per column", [] { return line_mean_case(lum_fmt_8u, 2); });
const Case projection_mean_cols16("projection_mean 16u, 16 frames, per column", [] { return line_mean_case(lum_fmt_16u, 2); });
const Case projection_mean_rows("projection_mean 8u, 16 frames, per row", [] { return line_mean_case(lum_fmt_8u, 1); });
const Case projection_mean_rows16("projection_mean 16u, 16 frames, per row", [] { return line_mean_case(lum_fmt_16u, 1); });

Timed sequence_mean_case(lum_data_format f) {
    auto s = std::make_shared<Sequence>(f);
    auto d = std::make_shared<Frame>(kWidth, kHeight / 4, f, lum_gray);
    auto acc = std::make_shared<int32_t>(-1);
    lum_projection_mean_init(kWidth, kHeight / 4, acc.get());
    Timed t{[s, d, acc] {
                for (uint32_t i = 0; i < 16; ++i)
                    lum_projection_mean(s->frames[i]->handle(), d->handle(), i, 16, 0, *acc);
            },
            {}, "OpenCV: accumulate into 32f, then convertTo with 1/16"};
#ifdef LUM_HAVE_OPENCV
    auto sum = std::make_shared<cv::Mat>(kHeight / 4, kWidth, CV_32F);
    t.reference = [s, d, sum, f] {
        *sum = 0.0f;
        for (auto& frame : s->frames) cv::accumulate(frame->mat(), *sum);
        cv::Mat m = d->mat();
        sum->convertTo(m, cv_depth(f), 1.0 / 16);
    };
#endif
    return t;
}

const Case projection_mean_seq("projection_mean 8u, 16 frames, pixel-wise", [] { return sequence_mean_case(lum_fmt_8u); });
const Case projection_mean_seq16("projection_mean 16u, 16 frames, pixel-wise", [] { return sequence_mean_case(lum_fmt_16u); });

}  // namespace
}  // namespace lum::bench
