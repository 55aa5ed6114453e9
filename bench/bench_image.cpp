// Fill and copy kernels, with memcpy over the same bytes as the bandwidth reference.
#include <cstring>
#include <memory>

#include "bench.hpp"
#include "primitives/fill.hpp"

namespace lum::bench {
namespace {

using lum::prim::Size;

const Case memcpy_row("memcpy 8u C1 (bandwidth reference)", [] {
    auto a = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_8u, lum_gray);
    auto b = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_8u, lum_gray);
    return Timed{[a, b] { std::memcpy(b->data(), a->data(), size_t(a->step()) * kHeight); }, {}, ""};
});

const Case fill_8u("fill 8u C1", [] {
    auto a = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_8u, lum_gray);
    Timed t{[a] { lum::prim::set_8u_c1(7, static_cast<uint8_t*>(a->data()), a->step(), {kWidth, kHeight}); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] { a->mat().setTo(cv::Scalar(7)); };
#endif
    return t;
});

const Case fill_16u_c3("fill 16u C3", [] {
    auto a = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_16u, lum_color);
    Timed t{[a] {
                const uint16_t v[3] = {1, 2, 3};
                lum::prim::set_16u_c3(v, static_cast<uint16_t*>(a->data()), a->step(), {kWidth, kHeight});
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] { a->mat().setTo(cv::Scalar(1, 2, 3)); };
#endif
    return t;
});

const Case fill_32f("fill 32f C1", [] {
    auto a = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_32f, lum_gray);
    Timed t{[a] { lum::prim::set_32f_c1(1.5f, static_cast<float*>(a->data()), a->step(), {kWidth, kHeight}); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] { a->mat().setTo(cv::Scalar(1.5)); };
#endif
    return t;
});

const Case copy_8u("copy 8u C1", [] {
    auto a = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_8u, lum_gray);
    auto b = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_8u, lum_gray);
    Timed t{[a, b] {
                lum::prim::copy_8u_c1(static_cast<uint8_t*>(a->data()), a->step(), static_cast<uint8_t*>(b->data()),
                                      b->step(), {kWidth, kHeight});
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a, b] {
        cv::Mat d = b->mat();
        a->mat().copyTo(d);
    };
#endif
    return t;
});

const Case clamp_16u("clamp 16u C1 to 12 bits (threshold gt val)", [] {
    auto a = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_16u, lum_gray, 16);
    Timed t{[a] {
                lum::prim::threshold_gt_val_16u_c1ir(static_cast<uint16_t*>(a->data()), a->step(), {kWidth, kHeight},
                                                     4095, 4095);
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a] {
        cv::Mat m = a->mat();
        cv::min(m, 4095, m);
    };
#endif
    return t;
});

}  // namespace
}  // namespace lum::bench
