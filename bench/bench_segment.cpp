// Binarization, clipping, morphology and masked statistics against OpenCV's
// threshold, morphologyEx, erode/dilate, mean, meanStdDev and minMaxLoc.
#include <functional>
#include <limits>
#include <memory>
#include <vector>

#include "bench.hpp"
#include "image/registry.hpp"
#include "primitives/threshold.hpp"
#include "segment/morphology.hpp"

namespace lum::bench {
namespace {

using F = std::shared_ptr<Frame>;
F frame(lum_data_format f, lum_channels c = lum_gray) { return std::make_shared<Frame>(kWidth, kHeight, f, c); }

// One cv::threshold call: level, maximum and type.
struct CvThreshold {
    double level, max;
    int type;
};

Timed binarize_case(lum_data_format f, int32_t threshold, [[maybe_unused]] CvThreshold cv) {
    F a = frame(f), b = frame(f);
    Timed t{[a, b, threshold] { lum_binarization(a->handle(), b->handle(), threshold); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a, b, cv] {
        cv::Mat d = b->mat();
        cv::threshold(a->mat(), d, cv.level, cv.max, cv.type);
    };
#endif
    return t;
}

// An in-place operation against OpenCV's thresholds run in place one after the other.
Timed in_place_case(lum_data_format f, std::function<void(int32_t)> ours,
                    [[maybe_unused]] std::vector<CvThreshold> steps) {
    F a = frame(f);
    Timed t{[a, ours] { ours(a->handle()); }, {}, steps.size() > 1 ? "OpenCV: two passes" : ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a, steps] {
        cv::Mat m = a->mat();
        for (const CvThreshold& s : steps) cv::threshold(m, m, s.level, s.max, s.type);
    };
#endif
    return t;
}

#ifndef LUM_HAVE_OPENCV
namespace cv {
enum { THRESH_BINARY, THRESH_BINARY_INV, THRESH_TRUNC, THRESH_TOZERO };
}
#endif

constexpr float kNoBound = std::numeric_limits<float>::quiet_NaN();

const Case binarize_8u("binarization 8u (threshold BINARY)",
                       [] { return binarize_case(lum_fmt_8u, 128, {127, 255, cv::THRESH_BINARY}); });
const Case binarize_8u_inverted("binarization 8u inverted (BINARY_INV)",
                                [] { return binarize_case(lum_fmt_8u, -128, {127, 255, cv::THRESH_BINARY_INV}); });
const Case binarize_16u("binarization 16u (threshold BINARY)",
                        [] { return binarize_case(lum_fmt_16u, 30000, {29999, 65535, cv::THRESH_BINARY}); });
const Case binarize_16u_inverted("binarization 16u inverted (BINARY_INV)", [] {
    return binarize_case(lum_fmt_16u, -30000, {29999, 65535, cv::THRESH_BINARY_INV});
});
const Case binarize_inplace_8u("binarizationI 8u (threshold BINARY in place)", [] {
    return in_place_case(lum_fmt_8u, [](int32_t h) { lum_binarizationI(h, 100.0f, 0.0f, 255.0f); },
                         {{99, 255, cv::THRESH_BINARY}});
});
const Case binarize_inplace_16u("binarizationI 16u (threshold BINARY in place)", [] {
    return in_place_case(lum_fmt_16u, [](int32_t h) { lum_binarizationI(h, 30000.0f, 0.0f, 65535.0f); },
                         {{29999, 65535, cv::THRESH_BINARY}});
});
const Case clip_high_8u("clipI 8u high only (threshold TRUNC)", [] {
    return in_place_case(lum_fmt_8u, [](int32_t h) { lum_clipI(h, kNoBound, 200.0f); }, {{200, 0, cv::THRESH_TRUNC}});
});
const Case clip_high_16u("clipI 16u high only (threshold TRUNC)", [] {
    return in_place_case(lum_fmt_16u, [](int32_t h) { lum_clipI(h, kNoBound, 60000.0f); },
                         {{60000, 0, cv::THRESH_TRUNC}});
});
const Case clip_both_8u("clipI 8u both bounds (TRUNC + TOZERO)", [] {
    return in_place_case(lum_fmt_8u, [](int32_t h) { lum_clipI(h, 10.0f, 200.0f); },
                         {{200, 0, cv::THRESH_TRUNC}, {10, 0, cv::THRESH_TOZERO}});
});
const Case clip_both_16u("clipI 16u both bounds (TRUNC + TOZERO)", [] {
    return in_place_case(lum_fmt_16u, [](int32_t h) { lum_clipI(h, 1000.0f, 60000.0f); },
                         {{60000, 0, cv::THRESH_TRUNC}, {1000, 0, cv::THRESH_TOZERO}});
});

const Case below_to_zero_32f("below-to-value 32f in place (TOZERO)", [] {
    F a = frame(lum_fmt_32f);
    Timed t{[a] {
                float* p = static_cast<float*>(a->data());
                prim::threshold<float, prim::thr::below<float>>(p, a->step(), p, a->step(), {kWidth, kHeight},
                                                                {100.0f, 0.0f});
            },
            {}, "kernel"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] {
        cv::Mat m = a->mat();
        cv::threshold(m, m, 100.0, 0, cv::THRESH_TOZERO);
    };
#endif
    return t;
});

// ---- morphology ----

Timed open_close_case(lum_data_format f, int shape, int op, int size) {
    F a = frame(f), b = frame(f);
    const lum_morph_param p{shape, op, size, size};
    Timed t{[a, b, p] { lum_morph_open_close(a->handle(), b->handle(), &p); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a, b, shape, op, size] {
        const cv::Mat k = cv::getStructuringElement(shape == 0 ? cv::MORPH_RECT : cv::MORPH_ELLIPSE, {size, size});
        cv::Mat d = b->mat();
        cv::morphologyEx(a->mat(), d, op == 2 ? cv::MORPH_OPEN : cv::MORPH_CLOSE, k, {-1, -1}, 1,
                         cv::BORDER_REPLICATE);
    };
#endif
    return t;
}

const Case open_rect3("morph open 8u rect 3x3", [] { return open_close_case(lum_fmt_8u, 0, 2, 3); });
const Case close_rect3("morph close 8u rect 3x3", [] { return open_close_case(lum_fmt_8u, 0, 3, 3); });
const Case open_rect5("morph open 8u rect 5x5", [] { return open_close_case(lum_fmt_8u, 0, 2, 5); });
const Case open_rect15("morph open 8u rect 15x15", [] { return open_close_case(lum_fmt_8u, 0, 2, 15); });
const Case close_rect15("morph close 8u rect 15x15", [] { return open_close_case(lum_fmt_8u, 0, 3, 15); });
const Case open_ell3("morph open 8u ellipse 3x3", [] { return open_close_case(lum_fmt_8u, 2, 2, 3); });
const Case open_ell15("morph open 8u ellipse 15x15", [] { return open_close_case(lum_fmt_8u, 2, 2, 15); });
const Case close_ell15("morph close 8u ellipse 15x15", [] { return open_close_case(lum_fmt_8u, 2, 3, 15); });
const Case open16_rect3("morph open 16u rect 3x3", [] { return open_close_case(lum_fmt_16u, 0, 2, 3); });
const Case close16_rect5("morph close 16u rect 5x5", [] { return open_close_case(lum_fmt_16u, 0, 3, 5); });
const Case open16_ell3("morph open 16u ellipse 3x3", [] { return open_close_case(lum_fmt_16u, 2, 2, 3); });
const Case open16_rect15("morph open 16u rect 15x15", [] { return open_close_case(lum_fmt_16u, 0, 2, 15); });
const Case open16_ell15("morph open 16u ellipse 15x15", [] { return open_close_case(lum_fmt_16u, 2, 2, 15); });

Timed erode_dilate_case(lum_data_format f, lum_channels c, int shape, int op, int size) {
    F a = frame(f, c), b = frame(f, c);
    img* s = registry::slot(a->handle());
    img* d = registry::slot(b->handle());
    const lum_morph_param p{shape, op, size, size};
    Timed t{[s, d, p, a, b] { erode_dilate(s, d, p); }, {}, "internal engine"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a, b, shape, op, size] {
        const cv::Mat k = cv::getStructuringElement(shape == 0 ? cv::MORPH_RECT : cv::MORPH_ELLIPSE, {size, size});
        cv::Mat dm = b->mat();
        if (op == 0) cv::erode(a->mat(), dm, k, {-1, -1}, 1, cv::BORDER_REPLICATE);
        else cv::dilate(a->mat(), dm, k, {-1, -1}, 1, cv::BORDER_REPLICATE);
    };
#endif
    return t;
}

const Case erode_rect3("erode 8u rect 3x3", [] { return erode_dilate_case(lum_fmt_8u, lum_gray, 0, 0, 3); });
const Case dilate_rect3("dilate 8u rect 3x3", [] { return erode_dilate_case(lum_fmt_8u, lum_gray, 0, 1, 3); });
const Case erode_rect15("erode 8u rect 15x15", [] { return erode_dilate_case(lum_fmt_8u, lum_gray, 0, 0, 15); });
const Case dilate_ell15("dilate 8u ellipse 15x15", [] { return erode_dilate_case(lum_fmt_8u, lum_gray, 2, 1, 15); });
const Case dilate_ell31("dilate 8u ellipse 31x31", [] { return erode_dilate_case(lum_fmt_8u, lum_gray, 2, 1, 31); });
const Case erode_c3("erode 8u C3 rect 5x5", [] { return erode_dilate_case(lum_fmt_8u, lum_color, 0, 0, 5); });
const Case dilate_16u_c3("dilate 16u C3 rect 3x3", [] { return erode_dilate_case(lum_fmt_16u, lum_color, 0, 1, 3); });
const Case dilate_32f("dilate 32f rect 5x5", [] { return erode_dilate_case(lum_fmt_32f, lum_gray, 0, 1, 5); });

// ---- masks ----

struct Masked {
    F image, mask;
};
Masked masked(lum_data_format f) {
    Masked m{frame(f), frame(lum_fmt_8u)};
    lum_generate_mask(m.mask->handle(), 1, nullptr, 0);
    return m;
}

const Case mask_ellipse("generate_mask ellipse (ellipse filled)", [] {
    F m = frame(lum_fmt_8u);
    Timed t{[m] { lum_generate_mask(m->handle(), 1, nullptr, 0); }, {}, "includes clearing"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [m] {
        cv::Mat d = m->mat();
        d.setTo(0);
        cv::ellipse(d, {kWidth / 2, kHeight / 2}, {kWidth / 2, kHeight / 2}, 0, 0, 360, cv::Scalar(255), cv::FILLED);
    };
#endif
    return t;
});

const Case mask_polygon("generate_mask polygon (fillPoly)", [] {
    F m = frame(lum_fmt_8u);
    static const lum_point star[10] = {{1920, 0},    {2400, 800},  {3800, 900},  {2700, 1400}, {3100, 2150},
                                       {1920, 1700}, {700, 2150},  {1150, 1400}, {50, 900},    {1450, 800}};
    Timed t{[m] { lum_generate_mask(m->handle(), 2, star, 10); }, {}, "includes clearing"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [m] {
        cv::Mat d = m->mat();
        d.setTo(0);
        std::vector<cv::Point> pts;
        for (const auto& p : star) pts.emplace_back(p.x, p.y);
        cv::fillPoly(d, std::vector<std::vector<cv::Point>>{pts}, cv::Scalar(255));
    };
#endif
    return t;
});

const Case mask_mean_8u("mask_mean 8u ellipse mask (mean)", [] {
    const Masked m = masked(lum_fmt_8u);
    Timed t{[m] {
                double mean;
                lum_mask_mean(m.image->handle(), 0, 0, m.mask->handle(), &mean);
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [m] { (void)cv::mean(m.image->mat(), m.mask->mat()); };
#endif
    return t;
});

const Case mask_mean_16u("mask_mean 16u ellipse mask (mean)", [] {
    const Masked m = masked(lum_fmt_16u);
    Timed t{[m] {
                double mean;
                lum_mask_mean(m.image->handle(), 0, 0, m.mask->handle(), &mean);
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [m] { (void)cv::mean(m.image->mat(), m.mask->mat()); };
#endif
    return t;
});

const Case mask_mean_sd_8u("mask_mean_stddev 8u (meanStdDev)", [] {
    const Masked m = masked(lum_fmt_8u);
    Timed t{[m] {
                double mean, sd;
                lum_mask_mean_stddev(m.image->handle(), 0, 0, m.mask->handle(), &mean, &sd);
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [m] {
        cv::Scalar mean, sd;
        cv::meanStdDev(m.image->mat(), mean, sd, m.mask->mat());
    };
#endif
    return t;
});

const Case mask_mean_sd_16u("mask_mean_stddev 16u (meanStdDev)", [] {
    const Masked m = masked(lum_fmt_16u);
    Timed t{[m] {
                double mean, sd;
                lum_mask_mean_stddev(m.image->handle(), 0, 0, m.mask->handle(), &mean, &sd);
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [m] {
        cv::Scalar mean, sd;
        cv::meanStdDev(m.image->mat(), mean, sd, m.mask->mat());
    };
#endif
    return t;
});

const Case mask_min_max_8u("mask_min_max 8u (minMaxLoc)", [] {
    const Masked m = masked(lum_fmt_8u);
    Timed t{[m] {
                float lo, hi;
                lum_mask_min_max(m.image->handle(), 0, 0, m.mask->handle(), &lo, &hi);
            },
            {}, "no positions"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [m] {
        double lo, hi;
        cv::minMaxLoc(m.image->mat(), &lo, &hi, nullptr, nullptr, m.mask->mat());
    };
#endif
    return t;
});

const Case mask_min_max_16u("mask_min_max 16u (minMaxLoc)", [] {
    const Masked m = masked(lum_fmt_16u);
    Timed t{[m] {
                float lo, hi;
                lum_mask_min_max(m.image->handle(), 0, 0, m.mask->handle(), &lo, &hi);
            },
            {}, "no positions"};
#ifdef LUM_HAVE_OPENCV
    t.reference = [m] {
        double lo, hi;
        cv::minMaxLoc(m.image->mat(), &lo, &hi, nullptr, nullptr, m.mask->mat());
    };
#endif
    return t;
});

}  // namespace
}  // namespace lum::bench
