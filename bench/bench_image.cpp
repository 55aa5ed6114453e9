// Fill and copy, with memcpy over the same bytes as the bandwidth reference.
#include <cstring>
#include <memory>

#include "bench.hpp"
#include "primitives/fill.hpp"

namespace lum::bench {
namespace {

using FramePtr = std::shared_ptr<Frame>;

FramePtr frame(lum_data_format f, lum_channels c, int bits = -1) {
    return std::make_shared<Frame>(kWidth, kHeight, f, c, bits);
}

const Case memcpy_row("memcpy 8u C1 (bandwidth reference)", [] {
    auto a = frame(lum_fmt_8u, lum_gray), b = frame(lum_fmt_8u, lum_gray);
    return Timed{[a, b] { std::memcpy(b->data(), a->data(), size_t(a->step()) * kHeight); }, {}, ""};
});

const Case memcpy_c3_row("memcpy 8u C3 (bandwidth reference)", [] {
    auto a = frame(lum_fmt_8u, lum_color), b = frame(lum_fmt_8u, lum_color);
    return Timed{[a, b] { std::memcpy(b->data(), a->data(), size_t(a->step()) * kHeight); }, {}, ""};
});

// The fill kernel over a whole frame (the operations reach it through inversion, rotation and masks).
template <class T>
Timed fill_case(lum_data_format f, lum_channels c, const T (&v)[3]) {
    auto a = frame(f, c);
    Timed t{[a, v, c] {
                lum::prim::fill<T>(static_cast<T*>(a->data()), a->step(), {kWidth * int(c), kHeight}, v, int(c));
            },
            {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a, v, c] { a->mat().setTo(c == lum_gray ? cv::Scalar(v[0]) : cv::Scalar(v[0], v[1], v[2])); };
#endif
    return t;
}

const Case fill_8u("fill 8u C1", [] { return fill_case<uint8_t>(lum_fmt_8u, lum_gray, {7, 7, 7}); });
const Case fill_8u_c3("fill 8u C3", [] { return fill_case<uint8_t>(lum_fmt_8u, lum_color, {1, 2, 3}); });
const Case fill_16u("fill 16u C1", [] { return fill_case<uint16_t>(lum_fmt_16u, lum_gray, {700, 700, 700}); });
const Case fill_16u_c3("fill 16u C3", [] { return fill_case<uint16_t>(lum_fmt_16u, lum_color, {1, 2, 3}); });
const Case fill_32f("fill 32f C1", [] { return fill_case<float>(lum_fmt_32f, lum_gray, {1.5f, 1.5f, 1.5f}); });

// lum_copy (the rectangle copy over the whole frame) against copyTo.
Timed copy_case(lum_data_format f, lum_channels c) {
    auto a = frame(f, c), b = frame(f, c);
    Timed t{[a, b] { lum_copy(a->handle(), b->handle()); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [a, b] {
        cv::Mat d = b->mat();
        a->mat().copyTo(d);
    };
#endif
    return t;
}

const Case copy_8u("copy 8u C1", [] { return copy_case(lum_fmt_8u, lum_gray); });
const Case copy_8u_c3("copy 8u C3", [] { return copy_case(lum_fmt_8u, lum_color); });
const Case copy_16u("copy 16u C1", [] { return copy_case(lum_fmt_16u, lum_gray); });
const Case copy_16u_c3("copy 16u C3", [] { return copy_case(lum_fmt_16u, lum_color); });

const Case clamp_16u("clamp 16u C1 to 12 bits (threshold gt val)", [] {
    auto a = frame(lum_fmt_16u, lum_gray, 16);
    Timed t{[a] {
                const uint16_t top = 4095;
                lum::prim::threshold_gt<uint16_t>(static_cast<uint16_t*>(a->data()), a->step(), {kWidth, kHeight},
                                                  &top, &top, 1);
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
