// Pixel arithmetic and logic through the C interface, each against OpenCV's
// equivalent on the same buffers.
#include <memory>
#include <vector>

#include "bench.hpp"

namespace lum::bench {
namespace {

using FramePtr = std::shared_ptr<Frame>;

FramePtr frame(lum_data_format f, lum_channels c = lum_gray, int bits = -1) {
    return std::make_shared<Frame>(kWidth, kHeight, f, c, bits);
}

#ifdef LUM_HAVE_OPENCV
#define REF(...) t.reference = __VA_ARGS__
#else
#define REF(...)
#endif

// Three images of one format for the two-source operations.
struct Three {
    FramePtr a, b, d;
    explicit Three(lum_data_format f, lum_channels c = lum_gray) : a(frame(f, c)), b(frame(f, c)), d(frame(f, c)) {}
};

const Case add_8u("add 8u C1", [] {
    Three s(lum_fmt_8u);
    Timed t{[s] { lum_add(s.a->handle(), s.b->handle(), s.d->handle()); }, {}, ""};
    REF([s] { cv::Mat d = s.d->mat(); cv::add(s.a->mat(), s.b->mat(), d); });
    return t;
});

const Case add_16u("add 16u C1 (12 valid bits, clamped)", [] {
    auto a = frame(lum_fmt_16u, lum_gray, 12), b = frame(lum_fmt_16u, lum_gray, 12), d = frame(lum_fmt_16u, lum_gray, 12);
    Timed t{[a, b, d] { lum_add(a->handle(), b->handle(), d->handle()); }, {}, "OpenCV: add then min"};
    REF([a, b, d] { cv::Mat m = d->mat(); cv::add(a->mat(), b->mat(), m); cv::min(m, 4095, m); });
    return t;
});

const Case add_32f("add 32f C1", [] {
    Three s(lum_fmt_32f);
    Timed t{[s] { lum_add(s.a->handle(), s.b->handle(), s.d->handle()); }, {}, ""};
    REF([s] { cv::Mat d = s.d->mat(); cv::add(s.a->mat(), s.b->mat(), d); });
    return t;
});

const Case addI_8u("addI 8u C1", [] {
    auto a = frame(lum_fmt_8u), b = frame(lum_fmt_8u);
    Timed t{[a, b] { lum_addI(a->handle(), b->handle()); }, {}, ""};
    REF([a, b] { cv::Mat m = b->mat(); cv::add(m, a->mat(), m); });
    return t;
});

const Case sub_8u("sub 8u C1", [] {
    Three s(lum_fmt_8u);
    Timed t{[s] { lum_sub(s.a->handle(), s.b->handle(), s.d->handle()); }, {}, ""};
    REF([s] { cv::Mat d = s.d->mat(); cv::subtract(s.a->mat(), s.b->mat(), d); });
    return t;
});

const Case sub_16u("sub 16u C1", [] {
    Three s(lum_fmt_16u);
    Timed t{[s] { lum_sub(s.a->handle(), s.b->handle(), s.d->handle()); }, {}, ""};
    REF([s] { cv::Mat d = s.d->mat(); cv::subtract(s.a->mat(), s.b->mat(), d); });
    return t;
});

const Case absdiff_8u("absDiff 8u C1", [] {
    Three s(lum_fmt_8u);
    Timed t{[s] { lum_absDiff(s.a->handle(), s.b->handle(), s.d->handle()); }, {}, ""};
    REF([s] { cv::Mat d = s.d->mat(); cv::absdiff(s.a->mat(), s.b->mat(), d); });
    return t;
});

const Case absdiff_16u("absDiff 16u C1", [] {
    Three s(lum_fmt_16u);
    Timed t{[s] { lum_absDiff(s.a->handle(), s.b->handle(), s.d->handle()); }, {}, ""};
    REF([s] { cv::Mat d = s.d->mat(); cv::absdiff(s.a->mat(), s.b->mat(), d); });
    return t;
});

const Case and_8u("and 8u C1", [] {
    auto a = frame(lum_fmt_8u), b = frame(lum_fmt_8u);
    Timed t{[a, b] { lum_and(a->handle(), b->handle()); }, {}, ""};
    REF([a, b] { cv::Mat m = b->mat(); cv::bitwise_and(m, a->mat(), m); });
    return t;
});

const Case or_16u("or 16u C1", [] {
    auto a = frame(lum_fmt_16u), b = frame(lum_fmt_16u);
    Timed t{[a, b] { lum_or(a->handle(), b->handle()); }, {}, ""};
    REF([a, b] { cv::Mat m = b->mat(); cv::bitwise_or(m, a->mat(), m); });
    return t;
});

const Case xor_8u_c3("xor 8u C3", [] {
    auto a = frame(lum_fmt_8u, lum_color), b = frame(lum_fmt_8u, lum_color);
    Timed t{[a, b] { lum_xor(a->handle(), b->handle()); }, {}, ""};
    REF([a, b] { cv::Mat m = b->mat(); cv::bitwise_xor(m, a->mat(), m); });
    return t;
});

const Case addC_8u("addCI 8u C1", [] {
    auto a = frame(lum_fmt_8u);
    Timed t{[a] { const uint8_t v = 3; lum_addCI(a->handle(), &v); }, {}, ""};
    REF([a] { cv::Mat m = a->mat(); cv::add(m, cv::Scalar(3), m); });
    return t;
});

const Case addC_16u_c3("addCI 16u C3", [] {
    auto a = frame(lum_fmt_16u, lum_color);
    Timed t{[a] { const uint16_t v = 3; lum_addCI(a->handle(), &v); }, {}, ""};
    REF([a] { cv::Mat m = a->mat(); cv::add(m, cv::Scalar(3, 3, 3), m); });
    return t;
});

const Case mulC_8u("mulCI 8u C1", [] {
    auto a = frame(lum_fmt_8u);
    Timed t{[a] { const double v = 1.0001; lum_mulCI(a->handle(), &v); }, {}, ""};
    REF([a] { cv::Mat m = a->mat(); cv::multiply(m, cv::Scalar(1.0001), m); });
    return t;
});

const Case mulC_16u_c3("mulCI 16u C3", [] {
    auto a = frame(lum_fmt_16u, lum_color);
    Timed t{[a] { const double v[3] = {1.0001, 0.9999, 1.0}; lum_mulCI(a->handle(), v); }, {}, ""};
    REF([a] { cv::Mat m = a->mat(); cv::multiply(m, cv::Scalar(1.0001, 0.9999, 1.0), m); });
    return t;
});

const Case mulC_8u_c3("mulCI 8u C3", [] {
    auto a = frame(lum_fmt_8u, lum_color);
    Timed t{[a] { const double v[3] = {1.0001, 0.9999, 1.0}; lum_mulCI(a->handle(), v); }, {}, ""};
    REF([a] { cv::Mat m = a->mat(); cv::multiply(m, cv::Scalar(1.0001, 0.9999, 1.0), m); });
    return t;
});

const Case mulC_16u("mulCI 16u C1", [] {
    auto a = frame(lum_fmt_16u);
    Timed t{[a] { const double v = 1.0001; lum_mulCI(a->handle(), &v); }, {}, ""};
    REF([a] { cv::Mat m = a->mat(); cv::multiply(m, cv::Scalar(1.0001), m); });
    return t;
});

const Case subC_8u("subC 8u C1", [] {
    auto a = frame(lum_fmt_8u), d = frame(lum_fmt_8u);
    Timed t{[a, d] { const uint8_t v = 30; lum_subC(a->handle(), d->handle(), &v); }, {}, ""};
    REF([a, d] { cv::Mat m = d->mat(); cv::subtract(a->mat(), cv::Scalar(30), m); });
    return t;
});

const Case subC_16u("subC 16u C1", [] {
    auto a = frame(lum_fmt_16u), d = frame(lum_fmt_16u);
    Timed t{[a, d] { const uint16_t v = 300; lum_subC(a->handle(), d->handle(), &v); }, {}, ""};
    REF([a, d] { cv::Mat m = d->mat(); cv::subtract(a->mat(), cv::Scalar(300), m); });
    return t;
});

// Conversions, with OpenCV's convertTo writing into the same destination.
Timed conversion(lum_data_format from, lum_data_format to, lum_channels c, int cv_depth) {
    auto s = frame(from, c), d = frame(to, c);
    Timed t{[s, d] { lum_convert(s->handle(), d->handle()); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [s, d, cv_depth] { cv::Mat m = d->mat(); s->mat().convertTo(m, cv_depth); };
#else
    (void)cv_depth;
#endif
    return t;
}
#ifndef LUM_HAVE_OPENCV
constexpr int CV_8U = 0, CV_16U = 2, CV_32F = 5;
#endif
const Case cvt_8u16u("convert 8u->16u C1", [] { return conversion(lum_fmt_8u, lum_fmt_16u, lum_gray, CV_16U); });
const Case cvt_16u8u("convert 16u->8u C1", [] { return conversion(lum_fmt_16u, lum_fmt_8u, lum_gray, CV_8U); });
const Case cvt_16u32f("convert 16u->32f C1", [] { return conversion(lum_fmt_16u, lum_fmt_32f, lum_gray, CV_32F); });
const Case cvt_16u8u_c3("convert 16u->8u C3", [] { return conversion(lum_fmt_16u, lum_fmt_8u, lum_color, CV_8U); });
const Case cvt_32f8u("convert 32f->8u C1", [] { return conversion(lum_fmt_32f, lum_fmt_8u, lum_gray, CV_8U); });
const Case cvt_8u16u_c3("convert 8u->16u C3", [] { return conversion(lum_fmt_8u, lum_fmt_16u, lum_color, CV_16U); });

// Shifts: OpenCV has no integer shift; the nearest equivalent of a right
// shift by 4 is a multiplication by 1/16 with rounding, shown for scale.
const Case rshiftI_16u("RShiftI 16u C1 by 4", [] {
    auto a = frame(lum_fmt_16u);
    Timed t{[a] { lum_RShiftI(a->handle(), 4); }, {}, "OpenCV: multiply by 1/16"};
    REF([a] { cv::Mat m = a->mat(); m.convertTo(m, CV_16U, 1.0 / 16); });
    return t;
});

const Case lshiftI_8u("LShiftI 8u C1 by 1", [] {
    auto a = frame(lum_fmt_8u);
    Timed t{[a] { lum_LShiftI(a->handle(), 1); }, {}, "OpenCV: add to itself (saturating)"};
    REF([a] { cv::Mat m = a->mat(); cv::add(m, m, m); });
    return t;
});

const Case rshiftI_8u("RShiftI 8u C1 by 2", [] {
    auto a = frame(lum_fmt_8u);
    Timed t{[a] { lum_RShiftI(a->handle(), 2); }, {}, "OpenCV: multiply by 1/4"};
    REF([a] { cv::Mat m = a->mat(); m.convertTo(m, CV_8U, 1.0 / 4); });
    return t;
});

const Case lshiftI_16u("LShiftI 16u C1 by 2 (12 valid bits)", [] {
    auto a = frame(lum_fmt_16u, lum_gray, 12);
    Timed t{[a] { lum_LShiftI(a->handle(), 2); }, {}, "OpenCV: multiply by 4"};
    REF([a] { cv::Mat m = a->mat(); m.convertTo(m, CV_16U, 4.0); });
    return t;
});

const Case lut_8u("lut 8u C1", [] {
    auto s = frame(lum_fmt_8u), d = frame(lum_fmt_8u);
    auto table = std::make_shared<std::vector<uint8_t>>(256);
    for (int i = 0; i < 256; ++i) (*table)[i] = uint8_t(255 - i);
    Timed t{[s, d, table] { lum_lut(s->handle(), d->handle(), table->data()); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    auto cv_table = std::make_shared<cv::Mat>(1, 256, CV_8U, table->data());
    t.reference = [s, d, cv_table] { cv::Mat m = d->mat(); cv::LUT(s->mat(), *cv_table, m); };
#endif
    return t;
});

const Case lut_8u_c3("lut 8u C3", [] {
    auto s = frame(lum_fmt_8u, lum_color), d = frame(lum_fmt_8u, lum_color);
    auto table = std::make_shared<std::vector<uint8_t>>(768);
    for (int i = 0; i < 768; ++i) (*table)[i] = uint8_t(i * 7);
    Timed t{[s, d, table] { lum_lut(s->handle(), d->handle(), table->data()); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    auto cv_table = std::make_shared<cv::Mat>(1, 256, CV_8UC3);
    for (int i = 0; i < 256; ++i)
        for (int c = 0; c < 3; ++c) cv_table->ptr<uint8_t>()[3 * i + c] = (*table)[256 * c + i];
    t.reference = [s, d, cv_table] { cv::Mat m = d->mat(); cv::LUT(s->mat(), *cv_table, m); };
#endif
    return t;
});

const Case lut_16u("lut 16u C1 (12 bits)", [] {
    auto s = frame(lum_fmt_16u, lum_gray, 12), d = frame(lum_fmt_16u, lum_gray, 12);
    auto table = std::make_shared<std::vector<uint16_t>>(4096);
    for (int i = 0; i < 4096; ++i) (*table)[i] = uint16_t(4095 - i);
    return Timed{[s, d, table] { lum_lut(s->handle(), d->handle(), table->data()); }, {}, "OpenCV: no 16-bit look-up"};
});

const Case invert_8u("invert 8u C1", [] {
    auto s = frame(lum_fmt_8u), d = frame(lum_fmt_8u);
    Timed t{[s, d] { lum_invert(s->handle(), d->handle()); }, {}, ""};
    REF([s, d] { cv::Mat m = d->mat(); cv::bitwise_not(s->mat(), m); });
    return t;
});

const Case invert_16u("invert 16u C1 (12 bits)", [] {
    auto s = frame(lum_fmt_16u, lum_gray, 12), d = frame(lum_fmt_16u, lum_gray, 12);
    Timed t{[s, d] { lum_invert(s->handle(), d->handle()); }, {}, "OpenCV: subtract from a scalar"};
    REF([s, d] { cv::Mat m = d->mat(); cv::subtract(cv::Scalar(4095), s->mat(), m); });
    return t;
});


// Division, scaling, logarithm, shifts into a second image, level adjustment.
Timed division(lum_data_format f, lum_channels c) {
    auto a = frame(f, c), b = frame(f, c);
    // Divisors without zeros, as OpenCV's division by zero differs.
    const lum_info i = a->info();
    for (int y = 0; y < i.height; ++y) {
        auto* row = static_cast<uint8_t*>(i.frame_buf) + size_t(y) * i.step_bytes;
        for (int x = 0; x < i.width * int(c); ++x) {
            if (f == lum_fmt_8u && row[x] == 0) row[x] = 1;
            if (f == lum_fmt_16u && reinterpret_cast<uint16_t*>(row)[x] == 0) reinterpret_cast<uint16_t*>(row)[x] = 1;
            // Float divisors just above 1: repeated runs divide the same samples again, and divisors up to
            // 250 would soon take them into subnormals, whose division is many times slower.
            if (f == lum_fmt_32f) reinterpret_cast<float*>(row)[x] = 1.0f + reinterpret_cast<float*>(row)[x] * 1e-4f;
        }
    }
    Timed t{[a, b] { lum_divI(a->handle(), b->handle()); }, {}, ""};
    REF([a, b] { cv::Mat m = b->mat(); cv::divide(m, a->mat(), m); });
    return t;
}
const Case div_8u("divI 8u C1", [] { return division(lum_fmt_8u, lum_gray); });
const Case div_16u("divI 16u C1", [] { return division(lum_fmt_16u, lum_gray); });
const Case div_32f("divI 32f C1", [] { return division(lum_fmt_32f, lum_gray); });

const Case scale_16u8u("scale 16u->8u (255/4095)", [] {
    auto s = frame(lum_fmt_16u, lum_gray, 12), d = frame(lum_fmt_8u);
    Timed t{[s, d] { lum_scale(s->handle(), d->handle(), 255.0 / 4095.0, 0.0); }, {}, ""};
    REF([s, d] { cv::Mat m = d->mat(); s->mat().convertTo(m, CV_8U, 255.0 / 4095.0, 0.0); });
    return t;
});

// Scaling between every pair of formats, against convertTo with the same
// gain and offset (bench frames: 8u full range, 16u 12 bits, 32f 0 to 250).
Timed scaling(lum_data_format from, lum_data_format to, double a, double b, int cv_depth) {
    auto s = frame(from, lum_gray, from == lum_fmt_16u ? 12 : -1), d = frame(to);
    Timed t{[s, d, a, b] { lum_scale(s->handle(), d->handle(), a, b); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [s, d, a, b, cv_depth] { cv::Mat m = d->mat(); s->mat().convertTo(m, cv_depth, a, b); };
#else
    (void)cv_depth;
#endif
    return t;
}
const Case scale_8u8u("scale 8u->8u", [] { return scaling(lum_fmt_8u, lum_fmt_8u, 1.7, -20.0, CV_8U); });
const Case scale_8u16u("scale 8u->16u", [] { return scaling(lum_fmt_8u, lum_fmt_16u, 257.0, 0.0, CV_16U); });
const Case scale_8u32f("scale 8u->32f", [] { return scaling(lum_fmt_8u, lum_fmt_32f, 0.5, 3.0, CV_32F); });
const Case scale_16u16u("scale 16u->16u", [] { return scaling(lum_fmt_16u, lum_fmt_16u, 16.0, 8.0, CV_16U); });
const Case scale_16u32f("scale 16u->32f", [] { return scaling(lum_fmt_16u, lum_fmt_32f, 1.0 / 4095, 0.0, CV_32F); });
const Case scale_32f8u("scale 32f->8u", [] { return scaling(lum_fmt_32f, lum_fmt_8u, 1.0, 0.5, CV_8U); });
const Case scale_32f16u("scale 32f->16u", [] { return scaling(lum_fmt_32f, lum_fmt_16u, 200.0, 0.0, CV_16U); });
const Case scale_32f32f("scale 32f->32f", [] { return scaling(lum_fmt_32f, lum_fmt_32f, 2.0, -1.0, CV_32F); });

Timed scaling_in_place(lum_data_format f, double a, double b, int cv_depth) {
    auto s = frame(f, lum_gray, f == lum_fmt_16u ? 12 : -1);
    Timed t{[s, a, b] { lum_scaleI(s->handle(), a, b); }, {}, ""};
#ifdef LUM_HAVE_OPENCV
    t.reference = [s, a, b, cv_depth] { cv::Mat m = s->mat(); m.convertTo(m, cv_depth, a, b); };
#else
    (void)cv_depth;
#endif
    return t;
}
const Case scaleI_8u("scaleI 8u", [] { return scaling_in_place(lum_fmt_8u, 1.0001, -0.2, CV_8U); });
const Case scaleI_16u("scaleI 16u", [] { return scaling_in_place(lum_fmt_16u, 1.0001, -0.2, CV_16U); });
const Case scaleI_32f("scaleI 32f", [] { return scaling_in_place(lum_fmt_32f, 1.0001, -0.2, CV_32F); });

const Case ln_32f("lnI 32f C1", [] {
    auto s = frame(lum_fmt_32f);
    auto d = frame(lum_fmt_32f);
    // Fresh positive samples each run so that repeated logarithms stay in range.
    const lum_info i = s->info();
    for (int y = 0; y < i.height; ++y) {
        auto* row = reinterpret_cast<float*>(static_cast<uint8_t*>(i.frame_buf) + size_t(y) * i.step_bytes);
        for (int x = 0; x < i.width; ++x) row[x] += 1.0f;
    }
    Timed t{[s, d] { lum_scale(s->handle(), d->handle(), 1.0, 0.0); lum_lnI(d->handle()); }, {},
            "both include a copy of the source"};
    REF([s, d] { cv::Mat m = d->mat(); s->mat().copyTo(m); cv::log(m, m); });
    return t;
});

const Case rshift_16u8u("RShift 16u->8u by 4", [] {
    auto s = frame(lum_fmt_16u, lum_gray, 12), d = frame(lum_fmt_8u);
    Timed t{[s, d] { lum_RShift(s->handle(), d->handle(), 4); }, {}, "OpenCV: convertTo with 1/16"};
    REF([s, d] { cv::Mat m = d->mat(); s->mat().convertTo(m, CV_8U, 1.0 / 16, 0.0); });
    return t;
});

const Case lshift_8u16u("LShift 8u->16u by 4", [] {
    auto s = frame(lum_fmt_8u), d = frame(lum_fmt_16u);
    Timed t{[s, d] { lum_LShift(s->handle(), d->handle(), 4); }, {}, "OpenCV: convertTo with 16"};
    REF([s, d] { cv::Mat m = d->mat(); s->mat().convertTo(m, CV_16U, 16.0, 0.0); });
    return t;
});

const Case adjust_8u("adjust 8u C1", [] {
    auto s = frame(lum_fmt_8u), d = frame(lum_fmt_8u);
    Timed t{[s, d] { const double lo = 50, hi = 200; lum_adjust(s->handle(), d->handle(), &lo, &hi); }, {},
            "OpenCV: convertTo with the same gain and offset"};
    REF([s, d] { cv::Mat m = d->mat(); s->mat().convertTo(m, CV_8U, 255.0 / 150, -50 * 255.0 / 150); });
    return t;
});

const Case adjust_8u_c3("adjust 8u C3", [] {
    auto s = frame(lum_fmt_8u, lum_color), d = frame(lum_fmt_8u, lum_color);
    Timed t{[s, d] {
                const double lo[3] = {50, 40, 30}, hi[3] = {200, 210, 220};
                lum_adjust(s->handle(), d->handle(), lo, hi);
            },
            {}, "OpenCV: convertTo with one gain and offset"};
    REF([s, d] { cv::Mat m = d->mat(); s->mat().convertTo(m, CV_8U, 255.0 / 150, -50 * 255.0 / 150); });
    return t;
});

}  // namespace
}  // namespace lum::bench
