// Binarization into a second image and in place, and clipping: the senses,
// the modulo of thresholds and levels, the step order that decides the
// inverted forms and overlapping rectangles, and the order of the checks.
#include <cmath>
#include <limits>
#include <vector>

#include "support/support.hpp"

namespace {

using lum::test::Image;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

template <class T>
void fill_ramp(const Image& im) {
    const lum_info i = im.info();
    for (int y = 0; y < i.height; ++y)
        for (int x = 0; x < i.width; ++x) im.at<T>(x, y) = static_cast<T>(x + y * i.width);
}

// What the two-step scheme makes of one sample: t >= 0 keeps a copy when its
// low bits are 0, else sets at-or-above to max; t < 0 sets below |t| to max.
template <class T>
T binarized(T s, int64_t t, T max) {
    const T threshold = static_cast<T>(t < 0 ? -t : t);
    if (t < 0) return s < threshold ? max : T{0};
    if (threshold == 0) return s;
    return s >= threshold ? max : T{0};
}

template <class T>
void expect_binarized(const Image& src, const Image& dst, int64_t t, T max, lum_point so = {0, 0},
                      lum_point dor = {0, 0}, int w = -1, int h = -1) {
    const lum_info si = src.info();
    if (w < 0) w = si.width, h = si.height;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            ASSERT_EQ(dst.at<T>(dor.x + x, dor.y + y), binarized<T>(src.at<T>(so.x + x, so.y + y), t, max))
                << "t " << t << " at " << x << "," << y;
}

TEST(Binarization, ThresholdsZeroOneAndWrapAround8u) {
    Image src(16, 16, lum_fmt_8u, lum_gray), dst(16, 16, lum_fmt_8u, lum_gray);
    fill_ramp<uint8_t>(src);
    for (int32_t t : {0, 256, 512}) {
        dst.randomize(t + 1);
        ASSERT_EQ(lum_binarization(src, dst, t), 0);
        for (int y = 0; y < 16; ++y) ASSERT_EQ(std::memcmp(src.row(y), dst.row(y), 16), 0) << "copy for " << t;
    }
    ASSERT_EQ(lum_binarization(src, dst, 1), 0);
    EXPECT_EQ(dst.at<uint8_t>(0, 0), 0);
    EXPECT_EQ(dst.at<uint8_t>(1, 0), 255);
    ASSERT_EQ(lum_binarization(src, dst, 257), 0);  // 257 is 1 modulo 256
    EXPECT_EQ(dst.at<uint8_t>(0, 0), 0);
    EXPECT_EQ(dst.at<uint8_t>(1, 0), 255);
    for (int32_t t : {5, 128, 255, 300, -1, -100, -255, -256, -300, std::numeric_limits<int32_t>::min()}) {
        ASSERT_EQ(lum_binarization(src, dst, t), 0);
        expect_binarized<uint8_t>(src, dst, t, 255);
    }
}

TEST(Binarization, HighLevelFollowsTheValidBits) {
    Image src(16, 8, lum_fmt_8u, lum_gray, 7), dst(16, 8, lum_fmt_8u, lum_gray, 7);
    fill_ramp<uint8_t>(src);
    ASSERT_EQ(lum_binarization(src, dst, 64), 0);
    expect_binarized<uint8_t>(src, dst, 64, 127);
    ASSERT_EQ(lum_binarization(src, dst, -64), 0);
    expect_binarized<uint8_t>(src, dst, -64, 127);

    Image s16(300, 300, lum_fmt_16u, lum_gray, 12), d16(300, 300, lum_fmt_16u, lum_gray, 16);
    s16.randomize(4, false);
    for (int64_t t : {0ll, 65536ll, 1ll, 4000ll, 70000ll, -4000ll, -65535ll}) {
        ASSERT_EQ(lum_binarization(s16, d16, int32_t(t)), 0);
        expect_binarized<uint16_t>(s16, d16, t, 4095);
    }
    Image full(30, 3, lum_fmt_16u, lum_gray, 16), out(30, 3, lum_fmt_16u, lum_gray);
    full.randomize(5);
    ASSERT_EQ(lum_binarization(full, out, 30000), 0);
    expect_binarized<uint16_t>(full, out, 30000, 65535);
}

TEST(Binarization, RectangleWritesOnlyItsRegion) {
    Image src(40, 30, lum_fmt_8u, lum_gray), dst(50, 40, lum_fmt_8u, lum_gray);
    src.randomize(1);
    dst.randomize(2);
    const auto before = dst.bytes();
    const lum_point so{3, 4}, dor{10, 7};
    ASSERT_EQ(lum_binarization_rect(src, so, dst, dor, {25, 20}, -77), 0);
    expect_binarized<uint8_t>(src, dst, -77, 255, so, dor, 25, 20);
    const lum_info di = dst.info();
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 50; ++x) {
            if (x >= 10 && x < 35 && y >= 7 && y < 27) continue;
            ASSERT_EQ(dst.at<uint8_t>(x, y), before[size_t(y) * di.step_bytes + x]);
        }
}

TEST(Binarization, SameImageAsSourceAndDestination) {
    Image im(33, 5, lum_fmt_8u, lum_gray), copy(33, 5, lum_fmt_8u, lum_gray);
    im.randomize(6);
    for (int y = 0; y < 5; ++y) std::memcpy(copy.row(y), im.row(y), 33);
    ASSERT_EQ(lum_binarization(im, im, 90), 0);
    expect_binarized<uint8_t>(copy, im, 90, 255);
}

TEST(Binarization, InvertedOnTheSameImageReadsTheRaisedSamples) {
    // The comparison runs on the source after the first step wrote into it:
    // with max above |t| every sample ends at 0.
    Image im(33, 5, lum_fmt_8u, lum_gray);
    im.randomize(6);
    ASSERT_EQ(lum_binarization(im, im, -90), 0);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 33; ++x) ASSERT_EQ(im.at<uint8_t>(x, y), 0);
}

TEST(Binarization, InvertedOnOverlappingRectanglesFollowsTheSteps) {
    Image im(40, 12, lum_fmt_8u, lum_gray);
    im.randomize(12);
    const lum_info i = im.info();
    std::vector<uint8_t> want = im.bytes();
    const int w = 30, h = 8, a = 120;
    auto at = [&](std::vector<uint8_t>& b, int x, int y) -> uint8_t& { return b[size_t(y) * i.step_bytes + x]; };
    for (int y = 0; y < h; ++y)  // below |t| to max, source (0,0) into destination (3,1), row by row
        for (int x = 0; x < w; ++x) {
            const uint8_t s = at(want, x, y);
            at(want, 3 + x, 1 + y) = s < a ? 255 : s;
        }
    std::vector<uint8_t> mask(size_t(w) * h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) mask[size_t(y) * w + x] = at(want, x, y) >= a;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            if (mask[size_t(y) * w + x]) at(want, 3 + x, 1 + y) = 0;
    ASSERT_EQ(lum_binarization_rect(im, {0, 0}, im, {3, 1}, {w, h}, -a), 0);
    EXPECT_EQ(im.bytes(), want);
}

// Overlapping rectangles take the two steps one after the other: "below t to
// 0" copies row by row, each row reading what the previous one wrote, then
// "above t − 1 to max" runs over the destination.
TEST(Binarization, OverlappingRectanglesFollowTheTwoSteps) {
    Image im(4, 5, lum_fmt_8u, lum_gray, 7);
    const uint8_t first[4] = {250, 10, 200, 199};
    std::memcpy(im.row(0), first, 4);
    for (int y = 1; y < 5; ++y) std::memset(im.row(y), 50, 4);
    ASSERT_EQ(lum_binarization_rect(im, {0, 0}, im, {0, 1}, {4, 4}, 200), 0);
    const uint8_t want[4] = {127, 0, 127, 0};
    for (int y = 1; y < 5; ++y) EXPECT_EQ(std::memcmp(im.row(y), want, 4), 0) << "row " << y;

    // Sideways within rows of 16-bit samples: a pass from left to right.
    Image wide(40, 3, lum_fmt_16u, lum_gray, 12);
    wide.randomize(40);
    const lum_info i = wide.info();
    std::vector<uint8_t> bytes = wide.bytes();
    auto at = [&](int x, int y) -> uint16_t& { return reinterpret_cast<uint16_t*>(bytes.data() + size_t(y) * i.step_bytes)[x]; };
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 30; ++x) at(5 + x, y) = at(x, y) < 2000 ? 0 : at(x, y);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 30; ++x) at(5 + x, y) = at(5 + x, y) > 1999 ? 4095 : at(5 + x, y);
    ASSERT_EQ(lum_binarization_rect(wide, {0, 0}, wide, {5, 0}, {30, 3}, 2000), 0);
    EXPECT_EQ(wide.bytes(), bytes);
}

TEST(Binarization, DestinationFormatIsNotCompared) {
    // 8-bit samples are written from the 16-bit destination's pixel address.
    Image src(8, 2, lum_fmt_8u, lum_gray), dst(8, 2, lum_fmt_16u, lum_gray);
    fill_ramp<uint8_t>(src);
    ASSERT_EQ(lum_binarization_rect(src, {0, 0}, dst, {2, 1}, {4, 1}, 2), 0);
    const uint8_t* d = dst.row(1) + 4;
    EXPECT_EQ(d[0], 0);
    EXPECT_EQ(d[1], 0);
    EXPECT_EQ(d[2], 255);
    EXPECT_EQ(d[3], 255);
    EXPECT_EQ(d[4], 0);  // untouched beyond the 4 bytes written
}

TEST(Binarization, FloatSourceRunsTheSixteenBitStepsThenRefuses) {
    Image src(6, 2, lum_fmt_32f, lum_gray), dst(6, 2, lum_fmt_32f, lum_gray);
    src.randomize(7);
    dst.randomize(8);
    const auto before = dst.bytes();
    ASSERT_EQ(lum_binarization(src, dst, 1000), -1);
    const lum_info i = dst.info();
    for (int y = 0; y < 2; ++y) {
        for (int k = 0; k < 6; ++k) {  // the first 6 16-bit samples of each row
            uint16_t s, d;
            std::memcpy(&s, src.row(y) + 2 * k, 2);
            std::memcpy(&d, dst.row(y) + 2 * k, 2);
            ASSERT_EQ(d, binarized<uint16_t>(s, 1000, 0xFFFF >> (16 - std::min(16u, i.valid_bits))));
        }
        ASSERT_EQ(std::memcmp(dst.row(y) + 12, before.data() + size_t(y) * i.step_bytes + 12, 12), 0);
    }
}

TEST(Binarization, RefusalsInOrder) {
    Image src(20, 10, lum_fmt_8u, lum_gray), dst(20, 10, lum_fmt_8u, lum_gray), small(19, 10, lum_fmt_8u, lum_gray);
    Image colour(20, 10, lum_fmt_8u, lum_color), s16s(20, 10, lum_fmt_16s, lum_gray, 16), blank;
    EXPECT_EQ(lum_binarization(src, small, 10), -2);
    EXPECT_EQ(lum_binarization(colour, dst, 10), -1);
    EXPECT_EQ(lum_binarization(src, colour, 10), -1);
    EXPECT_EQ(lum_binarization(s16s, dst, 10), -1);
    EXPECT_EQ(lum_binarization(blank, dst, 10), -64);
    EXPECT_EQ(lum_binarization(src, blank, 10), -64);
    EXPECT_EQ(lum_binarization(src, 9999, 10), -6);
    EXPECT_EQ(lum_binarization_rect(src, {0, 0}, dst, {0, 0}, {0, 5}, 10), -7);
    EXPECT_EQ(lum_binarization_rect(src, {19, 0}, dst, {0, 0}, {2, 5}, 10), -2);
    EXPECT_EQ(lum_binarization_rect(src, {0, 0}, dst, {-1, 0}, {2, 5}, 10), -7);
    EXPECT_EQ(lum_binarization_rect(src, {-1, 0}, blank, {0, 0}, {2, 5}, 10), -7);  // source checked first
    EXPECT_EQ(lum_binarization_rect(colour, {0, 0}, blank, {0, 0}, {2, 5}, 10), -1);
}

// ---- in place ----

TEST(BinarizationInPlace, NonInvertedWithLevelsModuloTheType) {
    Image im(16, 16, lum_fmt_8u, lum_gray);
    fill_ramp<uint8_t>(im);
    ASSERT_EQ(lum_binarizationI(im, 100.7f, 10.0f, 266.0f), 0);  // threshold 100, high 266 -> 10
    for (int v = 0; v < 256; ++v) ASSERT_EQ(im.at<uint8_t>(v % 16, v / 16), 10) << v;
    fill_ramp<uint8_t>(im);
    ASSERT_EQ(lum_binarizationI(im, 100.0f, -1.9f, 200.0f), -7);  // low -1 -> 255 exceeds 200
    fill_ramp<uint8_t>(im);
    ASSERT_EQ(lum_binarizationI(im, 100.0f, 3.0f, 200.0f), 0);
    for (int v = 0; v < 256; ++v) ASSERT_EQ(im.at<uint8_t>(v % 16, v / 16), v < 100 ? 3 : 200) << v;
    // -0.0 is not negative.
    fill_ramp<uint8_t>(im);
    ASSERT_EQ(lum_binarizationI(im, -0.0f, 0.0f, 255.0f), 0);
    for (int v = 0; v < 256; ++v) ASSERT_EQ(im.at<uint8_t>(v % 16, v / 16), v) << v;
}

TEST(BinarizationInPlace, InvertedFormReadsItsOwnOutput) {
    Image im(16, 16, lum_fmt_8u, lum_gray);
    fill_ramp<uint8_t>(im);
    ASSERT_EQ(lum_binarizationI(im, -10.0f, 0.0f, 255.0f), 0);
    for (int v = 0; v < 256; ++v) ASSERT_EQ(im.at<uint8_t>(v % 16, v / 16), 0) << v;
    // With high below the threshold the raised samples survive.
    fill_ramp<uint8_t>(im);
    ASSERT_EQ(lum_binarizationI(im, -100.0f, 1.0f, 50.0f), 0);
    for (int v = 0; v < 256; ++v) ASSERT_EQ(im.at<uint8_t>(v % 16, v / 16), v < 100 ? 50 : 1) << v;

    Image w(256, 2, lum_fmt_16u, lum_gray);
    for (int x = 0; x < 256; ++x) w.at<uint16_t>(x, 0) = uint16_t(x * 200), w.at<uint16_t>(x, 1) = uint16_t(x);
    ASSERT_EQ(lum_binarizationI(w, -30000.0f, 7.0f, 20000.0f), 0);
    for (int x = 0; x < 256; ++x) {
        ASSERT_EQ(w.at<uint16_t>(x, 0), x * 200 < 30000 ? 20000 : 7);
        ASSERT_EQ(w.at<uint16_t>(x, 1), 20000);
    }
}

TEST(BinarizationInPlace, FloatLevels) {
    Image im(5, 1, lum_fmt_32f, lum_gray);
    const float values[5] = {1.0f, 2.0f, 2.5f, 3.0f, 9.0f};
    auto load = [&] {
        for (int x = 0; x < 5; ++x) im.at<float>(x, 0) = values[x];
    };
    load();
    ASSERT_EQ(lum_binarizationI(im, 2.5f, -1.0f, 4.0f), 0);  // samples equal to t reach high
    const float plain[5] = {-1.0f, -1.0f, 4.0f, 4.0f, 4.0f};
    for (int x = 0; x < 5; ++x) EXPECT_EQ(im.at<float>(x, 0), plain[x]) << x;
    load();
    ASSERT_EQ(lum_binarizationI(im, -2.5f, -1.0f, 3.0f), 0);
    // below t -> high; from t up to below high -> low; at or above high kept.
    const float inverted[5] = {3.0f, 3.0f, -1.0f, 3.0f, 9.0f};
    for (int x = 0; x < 5; ++x) EXPECT_EQ(im.at<float>(x, 0), inverted[x]) << x;
    EXPECT_EQ(lum_binarizationI(im, 2.0f, 5.0f, 4.0f), -7);
}

TEST(BinarizationInPlace, RefusalsInOrder) {
    Image colour(4, 4, lum_fmt_8u, lum_color), s16s(4, 4, lum_fmt_16s, lum_gray, 16), blank;
    Image w(20, 9, lum_fmt_16u, lum_gray);
    EXPECT_EQ(lum_binarizationI(w, 10.0f, 200.0f, 100.0f), -7);  // swapped levels
    EXPECT_EQ(lum_binarizationI(w, -10.0f, 200.0f, 100.0f), -7);
    EXPECT_EQ(lum_binarizationI(colour, 1, 0, 255), -1);
    EXPECT_EQ(lum_binarizationI(s16s, 1, 0, 255), -1);
    EXPECT_EQ(lum_binarizationI(blank, 1, 0, 255), -64);
    EXPECT_EQ(lum_clipI(colour, 1, 2), -1);
    EXPECT_EQ(lum_clipI(s16s, 10, 5), -7);  // the bounds are checked before the format
    EXPECT_EQ(lum_clipI(s16s, 1, 5), -1);
    EXPECT_EQ(lum_clipI(blank, 1, 5), -64);
}

// ---- clipping ----

TEST(Clip, BoundsAndNaN) {
    Image im(16, 16, lum_fmt_8u, lum_gray);
    fill_ramp<uint8_t>(im);
    const auto before = im.bytes();
    EXPECT_EQ(lum_clipI(im, 10.0f, 5.0f), -7);
    ASSERT_EQ(lum_clipI(im, kNaN, 100.0f), 0);
    for (int v = 0; v < 256; ++v) ASSERT_EQ(im.at<uint8_t>(v % 16, v / 16), std::min(v, 100));
    fill_ramp<uint8_t>(im);
    ASSERT_EQ(lum_clipI(im, 20.9f, kNaN), 0);
    for (int v = 0; v < 256; ++v) ASSERT_EQ(im.at<uint8_t>(v % 16, v / 16), std::max(v, 20));
    fill_ramp<uint8_t>(im);
    ASSERT_EQ(lum_clipI(im, kNaN, kNaN), 0);
    EXPECT_EQ(im.bytes(), before);
    // Equal bounds, and a hair of float slack.
    ASSERT_EQ(lum_clipI(im, 7.0f, 7.0f), 0);
    EXPECT_EQ(im.at<uint8_t>(3, 10), 7);
}

TEST(Clip, SixteenBitAndFloat) {
    Image w(256, 1, lum_fmt_16u, lum_gray);
    for (int x = 0; x < 256; ++x) w.at<uint16_t>(x, 0) = uint16_t(x * 256);
    ASSERT_EQ(lum_clipI(w, 1000.0f, 60000.0f), 0);
    for (int x = 0; x < 256; ++x) ASSERT_EQ(w.at<uint16_t>(x, 0), std::clamp(x * 256, 1000, 60000));
    Image f(4, 1, lum_fmt_32f, lum_gray);
    const float v[4] = {-5.5f, 0.25f, 1.75f, 99.0f};
    for (int x = 0; x < 4; ++x) f.at<float>(x, 0) = v[x];
    ASSERT_EQ(lum_clipI(f, 0.0f, 1.5f), 0);
    EXPECT_EQ(f.at<float>(0, 0), 0.0f);
    EXPECT_EQ(f.at<float>(1, 0), 0.25f);
    EXPECT_EQ(f.at<float>(2, 0), 1.5f);
    EXPECT_EQ(f.at<float>(3, 0), 1.5f);
}

}  // namespace
