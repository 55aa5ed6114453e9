// Mask generation (rectangle, ellipse, polygon, views with an origin, the
// tiny-mask shortcut) and the masked statistics with their check order.
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "support/support.hpp"

namespace {

using lum::test::Image;

// The mask's samples as rows of 0/1 for readable failures.
std::vector<std::string> picture(const Image& m) {
    const lum_info i = m.info();
    std::vector<std::string> rows;
    for (int y = 0; y < i.height; ++y) {
        std::string r;
        for (int x = 0; x < i.width; ++x) {
            const uint8_t v = m.at<uint8_t>(x, y);
            r += v == 255 ? '#' : v == 0 ? '.' : '?';
        }
        rows.push_back(r);
    }
    return rows;
}

Image& garbage(Image& m) {
    m.randomize(99);
    return m;
}

TEST(GenerateMask, RectangleFillsTheWholeMaskAndEarlierContentGoes) {
    Image m(7, 4, lum_fmt_8u, lum_gray);
    garbage(m);
    ASSERT_EQ(lum_generate_mask(m, 0, nullptr, 0), 0);
    for (const auto& r : picture(m)) EXPECT_EQ(r, "#######");
    // Points handed to lum_generate_mask never bound a rectangle or ellipse.
    const lum_point two[2] = {{1, 1}, {2, 2}};
    ASSERT_EQ(lum_generate_mask(m, 1, two, 2), 0);
    EXPECT_EQ(picture(m)[1], "#######");
}

TEST(GenerateMask, EllipseOnFiveByThree) {
    Image m(5, 3, lum_fmt_8u, lum_gray);
    ASSERT_EQ(lum_generate_mask(m, 1, nullptr, 0), 0);
    // h = sqrt((1 - (1/1.5)^2) * 6.25) = 1.863: round(0.637) = 1 .. round(4.363) = 4, exclusive.
    EXPECT_EQ(picture(m), (std::vector<std::string>{".###.", "#####", ".###."}));
}

TEST(GenerateMask, EllipseIsSymmetricAndInscribed) {
    Image m(15, 15, lum_fmt_8u, lum_gray);
    ASSERT_EQ(lum_generate_mask(m, 1, nullptr, 0), 0);
    const auto p = picture(m);
    EXPECT_EQ(p[7], std::string(15, '#'));
    for (int y = 0; y < 15; ++y) {
        EXPECT_EQ(p[y], p[14 - y]);
        EXPECT_EQ(p[y], std::string(p[y].rbegin(), p[y].rend()));
    }
    EXPECT_NE(p[0][0], '#');
    EXPECT_EQ(p[0][7], '#');
}

TEST(GenerateMask, TinyMasksAreAlwaysRectangles) {
    for (uint32_t shape : {1u, 2u, 3u}) {
        Image m(2, 2, lum_fmt_8u, lum_gray);
        const lum_point tri[3] = {{0, 0}, {1, 0}, {0, 1}};
        ASSERT_EQ(lum_generate_mask(m, shape, tri, 3), 0) << shape;
        EXPECT_EQ(picture(m), (std::vector<std::string>{"##", "##"})) << shape;
    }
    // A 2 x 5 mask is not tiny: shape 3 is refused.
    Image tall(2, 5, lum_fmt_8u, lum_gray);
    EXPECT_EQ(lum_generate_mask(tall, 3, nullptr, 0), -7);
}

TEST(GenerateMask, PartClipsTheRectangleToTheView) {
    Image m(50, 50, lum_fmt_8u, lum_gray);
    garbage(m);
    const lum_rect r{90, 90, 20, 20};
    ASSERT_EQ(lum_generate_mask_part(m, {100, 100}, 0, reinterpret_cast<const lum_point*>(&r), 2), 0);
    for (int y = 0; y < 50; ++y)
        for (int x = 0; x < 50; ++x) ASSERT_EQ(m.at<uint8_t>(x, y), x < 10 && y < 10 ? 255 : 0) << x << "," << y;
    // Entirely outside the view: nothing drawn, success.
    const lum_rect far{500, 0, 5, 5};
    ASSERT_EQ(lum_generate_mask_part(m, {100, 100}, 1, reinterpret_cast<const lum_point*>(&far), 2), 0);
    EXPECT_EQ(m.bytes(), std::vector<uint8_t>(m.bytes().size(), 0));
}

// Every byte of the buffer outside the shape is zero afterwards, row padding
// included, whatever it held before and whichever rows the shape touches.
TEST(GenerateMask, NothingOfTheEarlierContentSurvives) {
    const lum_point tri[3] = {{5, 3}, {30, 8}, {12, 20}};
    const lum_rect part{4, 6, 9, 5};
    for (uint32_t shape : {0u, 1u, 2u}) {
        Image m(37, 25, lum_fmt_8u, lum_gray);
        garbage(m);
        const lum_point* pts = shape == 2 ? tri : reinterpret_cast<const lum_point*>(&part);
        ASSERT_EQ(lum_generate_mask_part(m, {0, 0}, shape, pts, shape == 2 ? 3 : 2), 0);
        const lum_info i = m.info();
        const auto b = m.bytes();
        int inside = 0;
        for (int y = 0; y < 25; ++y)
            for (uint32_t x = 0; x < i.step_bytes; ++x) {
                const uint8_t v = b[size_t(y) * i.step_bytes + x];
                ASSERT_TRUE(v == 0 || (v == 255 && x < 37)) << shape << " at " << x << "," << y;
                inside += v == 255;
            }
        EXPECT_GT(inside, 10) << shape;
    }
}

TEST(GenerateMask, UnknownShapeIsRefusedAfterClearing) {
    Image m(10, 10, lum_fmt_8u, lum_gray);
    garbage(m);
    EXPECT_EQ(lum_generate_mask(m, 3, nullptr, 0), -7);
    EXPECT_EQ(m.bytes(), std::vector<uint8_t>(m.bytes().size(), 0));
}

TEST(GenerateMask, RefusalsBeforeClearing) {
    Image wide(10, 10, lum_fmt_16u, lum_gray), colour(10, 10, lum_fmt_8u, lum_color), blank;
    EXPECT_EQ(lum_generate_mask(wide, 0, nullptr, 0), -1);
    EXPECT_EQ(lum_generate_mask_part(colour, {0, 0}, 0, nullptr, 0), -1);
    EXPECT_EQ(lum_generate_mask(blank, 0, nullptr, 0), -64);
    EXPECT_EQ(lum_generate_mask(9999, 0, nullptr, 0), -6);
}

TEST(GenerateMask, PolygonWithoutPoints) {
    Image m(10, 10, lum_fmt_8u, lum_gray);
    EXPECT_EQ(lum_generate_mask(m, 2, nullptr, 3), -32);
    // Two points with no array cannot bound a rectangle either.
    EXPECT_EQ(lum_generate_mask_part(m, {0, 0}, 0, nullptr, 2), -32);
}

TEST(GenerateMask, TriangleRowByRow) {
    Image m(10, 10, lum_fmt_8u, lum_gray);
    const lum_point tri[3] = {{0, 0}, {4, 0}, {0, 4}};
    ASSERT_EQ(lum_generate_mask(m, 2, tri, 3), 0);
    const auto p = picture(m);
    EXPECT_EQ(p[0], "..........");  // the horizontal top edge counts for nothing
    EXPECT_EQ(p[1], "####......");
    EXPECT_EQ(p[2], "###.......");
    EXPECT_EQ(p[3], "##........");
    EXPECT_EQ(p[4], "#.........");  // both edges end here: crossings 0 and 0
    EXPECT_EQ(p[5], "..........");
}

TEST(GenerateMask, PolygonTopRowsOpenBottomRowsClosed) {
    Image m(8, 8, lum_fmt_8u, lum_gray);
    const lum_point square[4] = {{1, 1}, {5, 1}, {5, 5}, {1, 5}};
    ASSERT_EQ(lum_generate_mask(m, 2, square, 4), 0);
    EXPECT_EQ(picture(m), (std::vector<std::string>{"........", "........", ".#####..", ".#####..", ".#####..",
                                                   ".#####..", "........", "........"}));
}

TEST(GenerateMask, ConcavePolygonLeavesItsNotch) {
    Image m(10, 10, lum_fmt_8u, lum_gray);
    const lum_point notch[5] = {{0, 0}, {8, 0}, {8, 8}, {4, 4}, {0, 8}};
    ASSERT_EQ(lum_generate_mask(m, 2, notch, 5), 0);
    const auto p = picture(m);
    EXPECT_EQ(p[4], "#########.");  // the notch's tip touches neither of its edges' counted ends
    EXPECT_EQ(p[6], "###...###.");
    EXPECT_EQ(p[8], "#.......#.");
    EXPECT_EQ(p[9], "..........");
}

// A view with an origin shows exactly the window of the same shape drawn on
// a mask covering the plane, for every shape, also where vertices and
// bounding rectangles sit on or beyond the view's edges.
TEST(GenerateMask, ViewsAgreeWithTheWholePlane) {
    std::mt19937 rng(5);
    const int plane = 64;
    for (int trial = 0; trial < 60; ++trial) {
        const uint32_t shape = trial % 3;
        std::vector<lum_point> pts;
        if (shape == 2) {
            const int n = 3 + trial % 6;
            for (int i = 0; i < n; ++i) pts.push_back({int(rng() % plane), int(rng() % plane)});
        } else {
            const lum_rect r{int(rng() % 40), int(rng() % 40), int(3 + rng() % 30), int(3 + rng() % 30)};
            pts.resize(2);
            std::memcpy(pts.data(), &r, sizeof r);
        }
        Image whole(plane, plane, lum_fmt_8u, lum_gray);
        ASSERT_EQ(lum_generate_mask_part(whole, {0, 0}, shape, pts.data(), int(pts.size())), 0);
        const lum_point origin{int(rng() % 50), int(rng() % 50)};
        const int vw = 3 + int(rng() % 30), vh = 3 + int(rng() % 30);
        Image part(vw, vh, lum_fmt_8u, lum_gray);
        ASSERT_EQ(lum_generate_mask_part(part, origin, shape, pts.data(), int(pts.size())), 0);
        for (int y = 0; y < vh; ++y)
            for (int x = 0; x < vw; ++x) {
                const int px = origin.x + x, py = origin.y + y;
                const uint8_t want = px < plane && py < plane ? whole.at<uint8_t>(px, py) : 0;
                ASSERT_EQ(part.at<uint8_t>(x, y), want) << "trial " << trial << " at " << x << "," << y;
            }
    }
}

// ---- masked statistics ----

struct Reference {
    double n = 0, sum = 0, squares = 0, lo = std::numeric_limits<double>::infinity(), hi = -lo;
};

template <class T>
Reference reference(const Image& im, int x0, int y0, const Image& mask) {
    Reference r;
    const lum_info mi = mask.info();
    for (int y = 0; y < mi.height; ++y)
        for (int x = 0; x < mi.width; ++x) {
            if (!mask.at<uint8_t>(x, y)) continue;
            const double v = im.at<T>(x0 + x, y0 + y);
            r.n += 1;
            r.sum += v;
            r.squares += v * v;
            r.lo = std::min(r.lo, v);
            r.hi = std::max(r.hi, v);
        }
    return r;
}

template <class T>
void check_against_reference(lum_data_format f) {
    Image im(70, 40, f, lum_gray), mask(33, 17, lum_fmt_8u, lum_gray);
    im.randomize(3);
    ASSERT_EQ(lum_generate_mask(mask, 1, nullptr, 0), 0);
    for (int i = 0; i < 17; i += 3) mask.at<uint8_t>(i, i) = static_cast<uint8_t>(1 + i);  // any non-zero counts
    const Reference r = reference<T>(im, 30, 20, mask);
    double mean = -1, sd = -1;
    float lo = -1, hi = -1;
    ASSERT_EQ(lum_mask_mean(im, 30, 20, mask, &mean), 0);
    EXPECT_NEAR(mean, r.sum / r.n, 1e-9 * r.sum / r.n);
    ASSERT_EQ(lum_mask_mean_stddev(im, 30, 20, mask, &mean, &sd), 0);
    EXPECT_NEAR(mean, r.sum / r.n, 1e-9 * r.sum / r.n);
    const double var = r.squares / r.n - (r.sum / r.n) * (r.sum / r.n);
    EXPECT_NEAR(sd, std::sqrt(var), 1e-6 * std::sqrt(var));
    ASSERT_EQ(lum_mask_min_max(im, 30, 20, mask, &lo, &hi), 0);
    EXPECT_EQ(lo, static_cast<float>(r.lo));
    EXPECT_EQ(hi, static_cast<float>(r.hi));
}

TEST(MaskedStatistics, MatchADirectReference) {
    check_against_reference<uint8_t>(lum_fmt_8u);
    check_against_reference<uint16_t>(lum_fmt_16u);
}

// Nearly constant 16-bit samples: subtracting the squared mean from the mean
// square loses the deviation; exact integer moments keep it, and agree with
// the whole-image statistics.
TEST(MaskedStatistics, DeviationOfNearlyConstantSixteenBitSamplesIsExact) {
    Image im(1000, 1000, lum_fmt_16u, lum_gray), mask(1000, 1000, lum_fmt_8u, lum_gray);
    ASSERT_EQ(lum_generate_mask(mask, 0, nullptr, 0), 0);
    for (int y = 0; y < 1000; ++y)
        for (int x = 0; x < 1000; ++x) im.at<uint16_t>(x, y) = 65535;
    im.at<uint16_t>(17, 3) = 65534;
    im.at<uint16_t>(999, 999) = 65533;
    const long double n = 1e6L, mean = 65535.0L - 3.0L / n;
    const long double var = ((n - 2) * (65535 - mean) * (65535 - mean) + (65534 - mean) * (65534 - mean) +
                             (65533 - mean) * (65533 - mean)) / n;
    double m = 0, sd = 0;
    ASSERT_EQ(lum_mask_mean_stddev(im, 0, 0, mask, &m, &sd), 0);
    EXPECT_NEAR(sd, double(std::sqrt(var)), 1e-12);  // 0.0022360...
    EXPECT_NEAR(m, double(mean), 1e-9);
    double whole_m = 0, whole_sd = 0;
    ASSERT_EQ(lum_img_mean_stddev(im, &whole_m, &whole_sd), 0);
    EXPECT_EQ(sd, whole_sd);
    EXPECT_EQ(m, whole_m);
}

TEST(MaskedStatistics, ExtremesOnlyUnderTheMask) {
    Image im(8, 8, lum_fmt_8u, lum_gray), mask(3, 3, lum_fmt_8u, lum_gray);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) im.at<uint8_t>(x, y) = static_cast<uint8_t>(x == 0 ? 0 : x == 7 ? 255 : 100 + x + y);
    mask.at<uint8_t>(1, 1) = 255;
    mask.at<uint8_t>(2, 2) = 255;
    float lo = 0, hi = 0;
    double mean = 0, sd = 0;
    ASSERT_EQ(lum_mask_min_max(im, 2, 3, mask, &lo, &hi), 0);
    EXPECT_EQ(lo, 107.0f);  // (3, 4)
    EXPECT_EQ(hi, 109.0f);  // (4, 5)
    ASSERT_EQ(lum_mask_mean_stddev(im, 2, 3, mask, &mean, &sd), 0);
    EXPECT_DOUBLE_EQ(mean, 108.0);
    EXPECT_DOUBLE_EQ(sd, 1.0);
}

TEST(MaskedStatistics, EmptySelectionGivesZeros) {
    Image im(8, 8, lum_fmt_16u, lum_gray), mask(4, 4, lum_fmt_8u, lum_gray);
    im.randomize(1);
    double mean = 7, sd = 7;
    float lo = 7, hi = 7;
    EXPECT_EQ(lum_mask_mean_stddev(im, 0, 0, mask, &mean, &sd), 0);
    EXPECT_EQ(lum_mask_min_max(im, 0, 0, mask, &lo, &hi), 0);
    EXPECT_EQ(mean, 0.0);
    EXPECT_EQ(sd, 0.0);
    EXPECT_EQ(lo, 0.0f);
    EXPECT_EQ(hi, 0.0f);
}

TEST(MaskedStatistics, ChecksInOrder) {
    Image im(100, 50, lum_fmt_8u, lum_gray), mask(10, 10, lum_fmt_8u, lum_gray), blank;
    Image wide_mask(10, 10, lum_fmt_16u, lum_gray), colour(100, 50, lum_fmt_8u, lum_color);
    Image flt(100, 50, lum_fmt_32f, lum_gray);
    double mean = 0;
    float lo = 0, hi = 0;
    EXPECT_EQ(lum_mask_mean(9999, 0, 0, mask, &mean), -6);  // handles first, image before mask
    EXPECT_EQ(lum_mask_mean(im, 0, 0, 9999, &mean), -6);
    EXPECT_EQ(lum_mask_mean(blank, -1, 0, wide_mask, &mean), -1);  // the mask is checked before the image
    EXPECT_EQ(lum_mask_mean(im, -1, 0, blank, &mean), -64);
    EXPECT_EQ(lum_mask_mean(blank, -1, 0, mask, &mean), -64);
    EXPECT_EQ(lum_mask_mean(colour, -1, 0, mask, &mean), -7);
    EXPECT_EQ(lum_mask_mean(colour, 95, 0, mask, &mean), -2);  // overhang before channels
    EXPECT_EQ(lum_mask_mean(im, 95, 0, mask, &mean), -2);
    EXPECT_EQ(lum_mask_mean(im, 0, 41, mask, &mean), -2);
    EXPECT_EQ(lum_mask_mean(im, 90, 40, mask, &mean), 0);
    EXPECT_EQ(lum_mask_mean(colour, 0, 0, mask, &mean), -1);
    EXPECT_EQ(lum_mask_min_max(flt, 0, 0, mask, &lo, &hi), -1);
    EXPECT_EQ(lum_mask_mean_stddev(im, 0, 0, wide_mask, &mean, &mean), -1);
}

TEST(MaskedStatistics, MissingResultIsAKernelFailure) {
    Image im(8, 8, lum_fmt_8u, lum_gray), mask(4, 4, lum_fmt_8u, lum_gray);
    int8_t status = 0;
    const std::string out = lum::test::captured_stdout([&] { status = lum_mask_mean(im, 0, 0, mask, nullptr); });
    EXPECT_EQ(status, -5);
    EXPECT_EQ(out, "IPP function failed,return value -8.\n");
}

}  // namespace
