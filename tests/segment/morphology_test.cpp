// Opening/closing through lum_morph_open_close and the internal
// erosion/dilation engine: their different codes for shapes, operations,
// channels and formats, the element shapes, and the results on images.
#include <algorithm>
#include <vector>

#include "image/registry.hpp"
#include "segment/morphology.hpp"
#include "support/support.hpp"

namespace {

using lum::test::Image;

img* record(const Image& im) { return lum::registry::slot(im.h()); }

// Direct reference over one-channel 8-bit images, anchor at the centre, replicated borders.
std::vector<uint8_t> filtered(const std::vector<uint8_t>& s, int w, int h, const std::vector<uint8_t>& e, int ew,
                              int eh, bool max) {
    std::vector<uint8_t> d(s.size());
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            uint8_t r = max ? 0 : 255;
            for (int j = 0; j < eh; ++j)
                for (int i = 0; i < ew; ++i)
                    if (e[size_t(j) * ew + i]) {
                        const uint8_t v = s[size_t(std::clamp(y + j - eh / 2, 0, h - 1)) * w +
                                            std::clamp(x + i - ew / 2, 0, w - 1)];
                        r = max ? std::max(r, v) : std::min(r, v);
                    }
            d[size_t(y) * w + x] = r;
        }
    return d;
}

std::vector<uint8_t> samples(const Image& im) {
    const lum_info i = im.info();
    std::vector<uint8_t> v;
    for (int y = 0; y < i.height; ++y) v.insert(v.end(), im.row(y), im.row(y) + i.width);
    return v;
}

std::vector<uint8_t> ellipse(int w, int h) {
    Image m(w, h, lum_fmt_8u, lum_gray);
    EXPECT_EQ(lum_generate_mask(m, 1, nullptr, 0), 0);
    return samples(m);
}

TEST(MorphOpenClose, OpeningAndClosingAgainstTheReference) {
    const int w = 61, h = 37;
    Image src(w, h, lum_fmt_8u, lum_gray), dst(w, h, lum_fmt_8u, lum_gray);
    src.randomize(11);
    const auto s = samples(src);
    for (int shape : {0, 2})
        for (auto [ew, eh] : {std::pair{3, 3}, {5, 5}, {15, 15}, {9, 4}}) {
            const auto e = shape == 0 ? std::vector<uint8_t>(size_t(ew) * eh, 255) : ellipse(ew, eh);
            for (int op : {2, 3}) {
                const lum_morph_param p{shape, op, ew, eh};
                ASSERT_EQ(lum_morph_open_close(src, dst, &p), 0);
                const bool open = op == 2;
                EXPECT_EQ(samples(dst), filtered(filtered(s, w, h, e, ew, eh, !open), w, h, e, ew, eh, open))
                    << "shape " << shape << " op " << op << " " << ew << "x" << eh;
            }
        }
}

TEST(MorphOpenClose, OpeningRemovesSpecksAndKeepsBlocks) {
    Image src(20, 20, lum_fmt_16u, lum_gray), dst(20, 20, lum_fmt_16u, lum_gray);
    src.at<uint16_t>(2, 2) = 4000;  // a speck
    for (int y = 8; y < 16; ++y)
        for (int x = 8; x < 16; ++x) src.at<uint16_t>(x, y) = 4000;
    const lum_morph_param p{0, 2, 3, 3};
    ASSERT_EQ(lum_morph_open_close(src, dst, &p), 0);
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x)
            ASSERT_EQ(dst.at<uint16_t>(x, y), x >= 8 && x < 16 && y >= 8 && y < 16 ? 4000 : 0) << x << "," << y;
    // Closing fills a one-pixel hole, in place.
    src.at<uint16_t>(11, 11) = 0;
    const lum_morph_param c{2, 3, 3, 3};
    ASSERT_EQ(lum_morph_open_close(src, src, &c), 0);
    EXPECT_EQ(src.at<uint16_t>(11, 11), 4000);
}

TEST(MorphOpenClose, CodesInOrder) {
    Image g8(16, 16, lum_fmt_8u, lum_gray), c8(16, 16, lum_fmt_8u, lum_color), f32(16, 16, lum_fmt_32f, lum_gray);
    Image dst(16, 16, lum_fmt_8u, lum_gray), blank;
    const lum_morph_param ok3{0, 2, 3, 3};
    EXPECT_EQ(lum_morph_open_close(c8, dst, &ok3), -65);
    EXPECT_EQ(lum_morph_open_close(f32, dst, &ok3), -1);
    const lum_morph_param shape1{1, 2, 3, 3};
    EXPECT_EQ(lum_morph_open_close(f32, dst, &shape1), -7);  // the element is built before the format is looked at
    for (int op : {0, 1, 4}) {
        const lum_morph_param p{0, op, 3, 3};
        EXPECT_EQ(lum_morph_open_close(g8, dst, &p), -7) << op;
    }
    const lum_morph_param zero{0, 2, 0, 3};
    EXPECT_EQ(lum_morph_open_close(g8, dst, &zero), -7);
    EXPECT_EQ(lum_morph_open_close(g8, dst, nullptr), -7);
    EXPECT_EQ(lum_morph_open_close(blank, dst, &ok3), -64);
    EXPECT_EQ(lum_morph_open_close(g8, blank, &ok3), -64);
    EXPECT_EQ(lum_morph_open_close(g8, 9999, &ok3), -6);
    // Both sides negative make a positive element size that the kernel refuses.
    const lum_morph_param negative{0, 2, -3, -3};
    int8_t status = 0;
    const auto out = lum::test::captured_stdout([&] { status = lum_morph_open_close(g8, dst, &negative); });
    EXPECT_EQ(status, -5);
    EXPECT_EQ(out, "IPP function failed,return value -6.\n");
}

TEST(MorphOpenClose, DestinationSizeIsNotCompared) {
    Image src(30, 20, lum_fmt_8u, lum_gray), big(40, 30, lum_fmt_8u, lum_gray), small(30, 10, lum_fmt_8u, lum_gray);
    src.randomize(2);
    big.randomize(3);
    const auto big_before = big.bytes();
    const lum_morph_param p{0, 3, 3, 3};
    ASSERT_EQ(lum_morph_open_close(src, big, &p), 0);
    const lum_info bi = big.info();
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x)
            if (x >= 30 || y >= 20) {
                ASSERT_EQ(big.at<uint8_t>(x, y), big_before[size_t(y) * bi.step_bytes + x]);
            }
    // Too few rows to take the source's height.
    EXPECT_EQ(lum_morph_open_close(src, small, &p), -2);
}

// ---- erosion / dilation engine ----

TEST(ErodeDilate, DilatingAPointDrawsTheElement) {
    Image src(15, 15, lum_fmt_8u, lum_gray), dst(15, 15, lum_fmt_8u, lum_gray);
    src.at<uint8_t>(7, 7) = 255;
    ASSERT_EQ(lum::erode_dilate(record(src), record(dst), {2, 1, 9, 9}), 0);
    Image e(9, 9, lum_fmt_8u, lum_gray);
    ASSERT_EQ(lum_generate_mask(e, 1, nullptr, 0), 0);
    for (int y = 0; y < 15; ++y)
        for (int x = 0; x < 15; ++x) {
            const bool inside = x >= 3 && x < 12 && y >= 3 && y < 12;
            ASSERT_EQ(dst.at<uint8_t>(x, y), inside ? e.at<uint8_t>(x - 3, y - 3) : 0) << x << "," << y;
        }
    // Eroding it back with the same element leaves the point's region empty again.
    ASSERT_EQ(lum::erode_dilate(record(dst), record(dst), {2, 0, 9, 9}), 0);
    EXPECT_EQ(dst.at<uint8_t>(7, 7), 255);
    EXPECT_EQ(dst.at<uint8_t>(6, 7), 0);
}

TEST(ErodeDilate, ThreeChannelsAndFloat) {
    Image src(9, 7, lum_fmt_16u, lum_color), dst(9, 7, lum_fmt_16u, lum_color);
    src.at<uint16_t>(4, 3, 1) = 500;
    ASSERT_EQ(lum::erode_dilate(record(src), record(dst), {0, 1, 3, 3}), 0);
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 9; ++x) {
            const bool near = std::abs(x - 4) <= 1 && std::abs(y - 3) <= 1;
            ASSERT_EQ(dst.at<uint16_t>(x, y, 0), 0);
            ASSERT_EQ(dst.at<uint16_t>(x, y, 1), near ? 500 : 0);
            ASSERT_EQ(dst.at<uint16_t>(x, y, 2), 0);
        }
    Image f(5, 5, lum_fmt_32f, lum_gray), g(5, 5, lum_fmt_32f, lum_gray);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 5; ++x) f.at<float>(x, y) = float(x + 10 * y) - 0.5f;
    ASSERT_EQ(lum::erode_dilate(record(f), record(g), {0, 0, 3, 1}), 0);
    EXPECT_EQ(g.at<float>(0, 2), 19.5f);  // replicated left border
    EXPECT_EQ(g.at<float>(3, 2), 21.5f);
}

TEST(ErodeDilate, Codes) {
    Image g8(8, 8, lum_fmt_8u, lum_gray), g16(8, 8, lum_fmt_16u, lum_gray), c8(8, 8, lum_fmt_8u, lum_color);
    Image s16(8, 8, lum_fmt_16s, lum_gray, 16), s16b(8, 8, lum_fmt_16s, lum_gray, 16), blank;
    Image short8(8, 4, lum_fmt_8u, lum_gray);
    EXPECT_EQ(lum::erode_dilate(record(g8), record(blank), {0, 0, 3, 3}), -64);
    EXPECT_EQ(lum::erode_dilate(nullptr, record(g8), {0, 0, 3, 3}), -64);
    EXPECT_EQ(lum::erode_dilate(record(g8), record(g16), {0, 0, 3, 3}), -4);
    EXPECT_EQ(lum::erode_dilate(record(g8), record(c8), {0, 0, 3, 3}), -4);
    EXPECT_EQ(lum::erode_dilate(record(g8), record(g8), {0, 0, 0, 3}), -7);
    EXPECT_EQ(lum::erode_dilate(record(g8), record(g8), {0, 0, 3, 0}), -7);
    EXPECT_EQ(lum::erode_dilate(record(s16), record(s16b), {0, 0, 3, 3}), -65);
    EXPECT_EQ(lum::erode_dilate(record(g8), record(g8), {1, 0, 3, 3}), -7);
    for (int op : {2, 3, -1})
        EXPECT_EQ(lum::erode_dilate(record(g8), record(g8), {0, op, 3, 3}), -7) << op;
    EXPECT_EQ(lum::erode_dilate(record(g8), record(short8), {0, 1, 3, 3}), -2);
}

}  // namespace
