// Object measurement against a flood fill written plainly here: random images
// of every size class and density in 8 and 16 bits under every processor
// variant, shapes with known answers (rings in rings, objects in holes, a
// checkerboard, borders), min_area, counting calls and short arrays, the
// label image, the status codes in their order, borrowed buffers at odd
// addresses, and moments that need more than 64 bits.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <numbers>
#include <random>
#include <vector>

#include "support/support.hpp"

namespace {

using lum::test::Image;

// ------------------------------------------------------------------ reference

struct Expected {
    std::vector<uint16_t> labels;  // w × h, 0 background and left out
    std::vector<lum_object> objects;
};

// Holes of one object alone: the 4-connected zero components of its own
// mask, framed by a zero border, that the border's flood does not reach.
uint32_t holes_of(const std::vector<uint32_t>& comp, int w, uint32_t id, int x0, int y0, int x1, int y1) {
    const int bw = x1 - x0 + 3, bh = y1 - y0 + 3;
    std::vector<uint8_t> cell(size_t(bw) * bh, 0);  // 1 object, 0 free, 2 visited
    for (int y = y0; y <= y1; ++y)
        for (int x = x0; x <= x1; ++x)
            if (comp[size_t(y) * w + x] == id) cell[size_t(y - y0 + 1) * bw + (x - x0 + 1)] = 1;
    std::vector<std::pair<int, int>> stack;
    auto flood = [&](int sx, int sy) {
        stack.push_back({sx, sy});
        cell[size_t(sy) * bw + sx] = 2;
        while (!stack.empty()) {
            const auto [x, y] = stack.back();
            stack.pop_back();
            const int dx[4] = {1, -1, 0, 0}, dy[4] = {0, 0, 1, -1};
            for (int k = 0; k < 4; ++k) {
                const int nx = x + dx[k], ny = y + dy[k];
                if (nx < 0 || ny < 0 || nx >= bw || ny >= bh || cell[size_t(ny) * bw + nx] != 0) continue;
                cell[size_t(ny) * bw + nx] = 2;
                stack.push_back({nx, ny});
            }
        }
    };
    flood(0, 0);
    uint32_t holes = 0;
    for (int y = 0; y < bh; ++y)
        for (int x = 0; x < bw; ++x)
            if (cell[size_t(y) * bw + x] == 0) {
                ++holes;
                flood(x, y);
            }
    return holes;
}

// The moments from plain per-pixel integer sums, the ellipse in long double.
void ellipse_of(const std::vector<std::pair<int, int>>& pixels, lum_object& o) {
    __int128 n = 0, sx = 0, sy = 0, sxx = 0, syy = 0, sxy = 0;
    for (const auto& [x, y] : pixels) {
        ++n;
        sx += x;
        sy += y;
        sxx += __int128(x) * x;
        syy += __int128(y) * y;
        sxy += __int128(x) * y;
    }
    o.centroid_x = double((long double)sx / (long double)n);
    o.centroid_y = double((long double)sy / (long double)n);
    const __int128 a = n * sxx - sx * sx, c = n * syy - sy * sy, b = n * sxy - sx * sy;
    if (a == c) {
        o.orientation = b > 0 ? std::numbers::pi / 4 : -std::numbers::pi / 4;
    } else {
        o.orientation = double(0.5L * std::atan2(2.0L * (long double)b, (long double)(c - a)));
    }
    const long double la = (long double)a, lc = (long double)c, lb = (long double)b;
    const long double big = (la + lc) / 2 + std::sqrt((la - lc) * (la - lc) / 4 + lb * lb);
    const long double small = big > 0 ? (long double)(a * c - b * b) / big : 0;
    o.major_axis = double(4 * std::sqrt(big) / (long double)n);
    o.minor_axis = double(4 * std::sqrt(small) / (long double)n);
}

// 8-connected flood fill in raster order of first pixels.
Expected reference(const std::vector<uint8_t>& set, int w, int h, uint32_t min_area = 0) {
    std::vector<uint32_t> comp(size_t(w) * h, 0);
    std::vector<std::vector<std::pair<int, int>>> members;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            if (!set[size_t(y) * w + x] || comp[size_t(y) * w + x]) continue;
            members.emplace_back();
            const auto id = uint32_t(members.size());
            auto& px = members.back();
            std::vector<std::pair<int, int>> stack{{x, y}};
            comp[size_t(y) * w + x] = id;
            while (!stack.empty()) {
                const auto [cx, cy] = stack.back();
                stack.pop_back();
                px.push_back({cx, cy});
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx) {
                        const int nx = cx + dx, ny = cy + dy;
                        if (nx < 0 || ny < 0 || nx >= w || ny >= h) continue;
                        const size_t k = size_t(ny) * w + nx;
                        if (!set[k] || comp[k]) continue;
                        comp[k] = id;
                        stack.push_back({nx, ny});
                    }
            }
        }
    Expected e;
    std::vector<uint16_t> final(members.size() + 1, 0);
    for (size_t i = 0; i < members.size(); ++i) {
        const auto& px = members[i];
        if (px.size() < min_area) continue;
        lum_object o{};
        o.label = uint32_t(e.objects.size() + 1);
        o.area = uint32_t(px.size());
        int x0 = w, y0 = h, x1 = -1, y1 = -1;
        for (const auto& [x, y] : px) {
            x0 = std::min(x0, x), x1 = std::max(x1, x);
            y0 = std::min(y0, y), y1 = std::max(y1, y);
        }
        o.x = x0, o.y = y0, o.width = x1 - x0 + 1, o.height = y1 - y0 + 1;
        o.holes = holes_of(comp, w, uint32_t(i + 1), x0, y0, x1, y1);
        ellipse_of(px, o);
        final[i + 1] = uint16_t(o.label);  // the tests that read labels stay below 65536 objects
        e.objects.push_back(o);
    }
    e.labels.resize(comp.size());
    for (size_t k = 0; k < comp.size(); ++k) e.labels[k] = final[comp[k]];
    return e;
}

// ------------------------------------------------------------------ helpers

struct Measured {
    int status = 0;
    uint32_t count = 0;
    std::vector<lum_object> objects;
};

// A counting call, then a call with room for exactly that many records.
Measured measured(int32_t image, uint32_t min_area = 0, int32_t labels = -1) {
    Measured m;
    m.status = lum_measure_objects(image, min_area, labels, nullptr, 0, &m.count);
    if (m.status != 0) return m;
    m.objects.resize(m.count);
    uint32_t again = 0;
    m.status = lum_measure_objects(image, min_area, labels, m.objects.data(), m.count, &again);
    EXPECT_EQ(again, m.count);
    return m;
}

bool close(double got, double want, double scale) {
    return std::fabs(got - want) <= 1e-9 * std::max({std::fabs(want), scale, 1e-300});
}

void expect_same(const std::vector<lum_object>& got, const std::vector<lum_object>& want) {
    ASSERT_EQ(got.size(), want.size());
    for (size_t i = 0; i < got.size(); ++i) {
        const lum_object &g = got[i], &e = want[i];
        SCOPED_TRACE("object " + std::to_string(i + 1));
        EXPECT_EQ(g.label, e.label);
        EXPECT_EQ(g.area, e.area);
        EXPECT_EQ(g.x, e.x);
        EXPECT_EQ(g.y, e.y);
        EXPECT_EQ(g.width, e.width);
        EXPECT_EQ(g.height, e.height);
        EXPECT_EQ(g.holes, e.holes);
        EXPECT_TRUE(close(g.centroid_x, e.centroid_x, 0)) << g.centroid_x << " vs " << e.centroid_x;
        EXPECT_TRUE(close(g.centroid_y, e.centroid_y, 0)) << g.centroid_y << " vs " << e.centroid_y;
        EXPECT_TRUE(close(g.major_axis, e.major_axis, 0)) << g.major_axis << " vs " << e.major_axis;
        // The smaller axis of a long thin object is a small difference of large sums: relative to the larger.
        EXPECT_TRUE(close(g.minor_axis, e.minor_axis, e.major_axis)) << g.minor_axis << " vs " << e.minor_axis;
        EXPECT_TRUE(close(g.orientation, e.orientation, 0)) << g.orientation << " vs " << e.orientation;
    }
}

// Non-zero sample values that a byte-wise test would get wrong in 16 bits.
uint16_t sample_value(std::mt19937& rng, bool wide) {
    static const uint16_t tricky[] = {1, 255, 256, 0x0100, 0x8000, 0xFF00, 0xFFFF, 4095};
    if (!wide) return uint16_t(1 + rng() % 255);
    return rng() % 2 ? tricky[rng() % 8] : uint16_t(1 + rng() % 65535);
}

// The set's samples into an image; zeros elsewhere, padding left as it is.
void fill(const Image& im, const std::vector<uint8_t>& set, std::mt19937& rng) {
    const lum_info i = im.info();
    for (int y = 0; y < i.height; ++y)
        for (int x = 0; x < i.width; ++x) {
            const uint16_t v = set[size_t(y) * i.width + x] ? sample_value(rng, i.pix_type == lum_fmt_16u) : 0;
            if (i.pix_type == lum_fmt_16u) im.at<uint16_t>(x, y) = v;
            else im.at<uint8_t>(x, y) = uint8_t(v);
        }
}

std::vector<uint16_t> label_samples(const Image& labels) {
    const lum_info i = labels.info();
    std::vector<uint16_t> out;
    for (int y = 0; y < i.height; ++y)
        for (int x = 0; x < i.width; ++x) out.push_back(labels.at<uint16_t>(x, y));
    return out;
}

// Random sets: independent pixels of a density, or discs and bars with
// random holes punched in, over noise.
std::vector<uint8_t> random_set(int w, int h, int density_percent, bool shapes, std::mt19937& rng) {
    std::vector<uint8_t> s(size_t(w) * h, 0);
    for (auto& v : s) v = int(rng() % 100) < density_percent;
    if (shapes) {
        const int count = 1 + (w * h) / 300;
        for (int k = 0; k < count; ++k) {
            const int cx = int(rng() % w), cy = int(rng() % h), r = 1 + int(rng() % 9);
            const bool fill_it = rng() % 3 != 0;
            for (int y = std::max(0, cy - r); y <= std::min(h - 1, cy + r); ++y)
                for (int x = std::max(0, cx - r); x <= std::min(w - 1, cx + r); ++x) {
                    const int d = (x - cx) * (x - cx) + (y - cy) * (y - cy);
                    if (d <= r * r) s[size_t(y) * w + x] = fill_it ? 1 : (d >= (r - 1) * (r - 1));
                }
        }
    }
    return s;
}

std::vector<uint8_t> from_picture(const std::vector<std::string>& rows) {
    std::vector<uint8_t> s;
    for (const auto& r : rows)
        for (char c : r) s.push_back(c == '#');
    return s;
}

// ------------------------------------------------------------------ tests

TEST(MeasureObjects, RandomImagesOfEverySizeMatchTheFloodFillInEveryVariant) {
    const lum_size sizes[] = {{1, 1},  {1, 17}, {17, 1},  {1, 200}, {200, 1},  {64, 2},   {63, 3},
                              {65, 9}, {128, 5}, {129, 33}, {200, 120}, {2, 70}, {300, 17}};
    std::mt19937 rng(20240519);
    for (const lum_data_format f : {lum_fmt_8u, lum_fmt_16u})
        for (const lum_size sz : sizes)
            for (const int density : {3, 30, 55, 92})
                for (const bool shapes : {false, true}) {
                    SCOPED_TRACE(std::to_string(sz.width) + " x " + std::to_string(sz.height) +
                                 (f == lum_fmt_16u ? " 16u" : " 8u") + " density " + std::to_string(density) +
                                 (shapes ? " with shapes" : ""));
                    const auto set = random_set(sz.width, sz.height, density, shapes, rng);
                    Image im(sz.width, sz.height, f, lum_gray);
                    im.randomize(uint32_t(rng()));  // padding holds noise that must not count
                    fill(im, set, rng);
                    const Expected want = reference(set, sz.width, sz.height);
                    Image labels(sz.width, sz.height, lum_fmt_16u, lum_gray);
                    lum::test::for_each_variant([&](int) {
                        labels.randomize(7);
                        const Measured got = measured(im, 0, labels);
                        ASSERT_EQ(got.status, 0);
                        expect_same(got.objects, want.objects);
                        EXPECT_EQ(label_samples(labels), want.labels);
                    });
                }
}

TEST(MeasureObjects, NestedRingsAndObjectsInHoles) {
    const std::vector<std::string> picture = {
        "..............",
        ".############.",
        ".#..........#.",
        ".#.#######..#.",
        ".#.#.....#..#.",
        ".#.#..#..#.##.",
        ".#.#.....#..#.",
        ".#.#######..#.",
        ".#..........#.",
        ".############.",
        "..........#...",
        "#.........#..#",
    };
    const int w = 14, h = int(picture.size());
    const auto set = from_picture(picture);
    Image im(w, h, lum_fmt_8u, lum_gray);
    std::mt19937 rng(3);
    fill(im, set, rng);
    const Measured got = measured(im);
    ASSERT_EQ(got.status, 0);
    ASSERT_EQ(got.count, 5u);
    // Outer ring (with its tail), inner ring, the dot, then the two corners of the last row.
    EXPECT_EQ(got.objects[0].holes, 1u);  // the space between the rings, the inner ring inside it
    EXPECT_EQ(got.objects[1].holes, 1u);
    EXPECT_EQ(got.objects[2].holes, 0u);
    EXPECT_EQ(got.objects[2].area, 1u);
    EXPECT_EQ(got.objects[2].x, 6);
    EXPECT_EQ(got.objects[3].x, 0);
    EXPECT_EQ(got.objects[4].x, 13);
    expect_same(got.objects, reference(set, w, h).objects);
}

TEST(MeasureObjects, FrameAlongEveryBorderEnclosesOneHole) {
    for (const lum_size sz : {lum_size{3, 3}, lum_size{70, 4}, lum_size{4, 70}, lum_size{130, 65}}) {
        std::vector<uint8_t> set(size_t(sz.width) * sz.height, 0);
        for (int y = 0; y < sz.height; ++y)
            for (int x = 0; x < sz.width; ++x)
                set[size_t(y) * sz.width + x] = x == 0 || y == 0 || x == sz.width - 1 || y == sz.height - 1;
        Image im(sz.width, sz.height, lum_fmt_16u, lum_gray);
        std::mt19937 rng(5);
        fill(im, set, rng);
        const Measured got = measured(im);
        ASSERT_EQ(got.status, 0);
        ASSERT_EQ(got.count, 1u);
        EXPECT_EQ(got.objects[0].holes, 1u);
        EXPECT_EQ(got.objects[0].width, sz.width);
        EXPECT_EQ(got.objects[0].height, sz.height);
        expect_same(got.objects, reference(set, sz.width, sz.height).objects);
    }
    // Open at the border: the U's inside touches it and is no hole.
    const auto u = from_picture({"#..#", "#..#", "####"});
    Image im(4, 3, lum_fmt_8u, lum_gray);
    std::mt19937 rng(6);
    fill(im, u, rng);
    const Measured got = measured(im);
    ASSERT_EQ(got.count, 1u);
    EXPECT_EQ(got.objects[0].holes, 0u);
    // Pixels touching only at corners still enclose: the background is 4-connected.
    const auto diamond = from_picture({".....", "..#..", ".#.#.", "..#..", "....."});
    Image d(5, 5, lum_fmt_8u, lum_gray);
    fill(d, diamond, rng);
    const Measured closed = measured(d);
    ASSERT_EQ(closed.count, 1u);
    EXPECT_EQ(closed.objects[0].holes, 1u);
}

TEST(MeasureObjects, CheckerboardIsOneObjectWithEveryInnerGapAHole) {
    const int w = 131, h = 37;
    std::vector<uint8_t> set(size_t(w) * h);
    uint32_t inner_gaps = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            set[size_t(y) * w + x] = (x + y) % 2 == 0;
            inner_gaps += (x + y) % 2 == 1 && x > 0 && y > 0 && x < w - 1 && y < h - 1;
        }
    Image im(w, h, lum_fmt_8u, lum_gray), labels(w, h, lum_fmt_16u, lum_gray);
    std::mt19937 rng(8);
    fill(im, set, rng);
    lum::test::for_each_variant([&](int) {
        const Measured got = measured(im, 0, labels);
        ASSERT_EQ(got.status, 0);
        ASSERT_EQ(got.count, 1u);
        EXPECT_EQ(got.objects[0].holes, inner_gaps);
        EXPECT_EQ(got.objects[0].area, uint32_t((w * h + 1) / 2));
        expect_same(got.objects, reference(set, w, h).objects);
    });
}

TEST(MeasureObjects, ShapesWithKnownMoments) {
    // A 30 × 20 rectangle: 600 pixels, centre (14.5 + 5, 9.5 + 3), axes 4 sqrt((n² - 1) / 12).
    Image im(50, 30, lum_fmt_8u, lum_gray);
    for (int y = 3; y < 23; ++y)
        for (int x = 5; x < 35; ++x) im.at<uint8_t>(x, y) = 1;
    Measured got = measured(im);
    ASSERT_EQ(got.count, 1u);
    const lum_object& r = got.objects[0];
    EXPECT_EQ(r.area, 600u);
    EXPECT_DOUBLE_EQ(r.centroid_x, 19.5);
    EXPECT_DOUBLE_EQ(r.centroid_y, 12.5);
    EXPECT_DOUBLE_EQ(r.major_axis, 4 * std::sqrt((900.0 - 1) / 12));
    EXPECT_DOUBLE_EQ(r.minor_axis, 4 * std::sqrt((400.0 - 1) / 12));
    EXPECT_DOUBLE_EQ(r.orientation, std::numbers::pi / 2);  // wider than tall: the major axis runs along x

    // A diagonal line down to the right: equal variances, positive covariance; one pixel: -pi/4.
    Image line(10, 10, lum_fmt_8u, lum_gray);
    for (int k = 0; k < 6; ++k) line.at<uint8_t>(k, k) = 9;
    line.at<uint8_t>(9, 0) = 9;
    got = measured(line);
    ASSERT_EQ(got.count, 2u);
    EXPECT_DOUBLE_EQ(got.objects[0].orientation, std::numbers::pi / 4);
    EXPECT_NEAR(got.objects[0].minor_axis, 0.0, 1e-12);
    EXPECT_DOUBLE_EQ(got.objects[1].orientation, -std::numbers::pi / 4);
    EXPECT_EQ(got.objects[1].major_axis, 0.0);
    EXPECT_EQ(got.objects[1].minor_axis, 0.0);
    // Taller than wide: orientation 0.
    Image bar(5, 9, lum_fmt_8u, lum_gray);
    for (int y = 0; y < 9; ++y) bar.at<uint8_t>(2, y) = 1;
    got = measured(bar);
    EXPECT_DOUBLE_EQ(got.objects[0].orientation, 0.0);
}

TEST(MeasureObjects, MinAreaLeavesSmallObjectsOutWithoutALabel) {
    std::mt19937 rng(11);
    const int w = 97, h = 61;
    const auto set = random_set(w, h, 12, true, rng);
    Image im(w, h, lum_fmt_8u, lum_gray), labels(w, h, lum_fmt_16u, lum_gray);
    fill(im, set, rng);
    for (const uint32_t min_area : {0u, 1u, 2u, 3u, 10u, 50u, 100000u}) {
        SCOPED_TRACE("min_area " + std::to_string(min_area));
        const Expected want = reference(set, w, h, min_area);
        const Measured got = measured(im, min_area, labels);
        ASSERT_EQ(got.status, 0);
        expect_same(got.objects, want.objects);
        EXPECT_EQ(label_samples(labels), want.labels);
    }
}

TEST(MeasureObjects, CountingCallAndShortArrays) {
    std::mt19937 rng(12);
    const int w = 80, h = 40;
    const auto set = random_set(w, h, 10, false, rng);
    Image im(w, h, lum_fmt_16u, lum_gray);
    fill(im, set, rng);
    const Expected want = reference(set, w, h);
    ASSERT_GT(want.objects.size(), 20u);
    uint32_t count = 12345;
    ASSERT_EQ(lum_measure_objects(im, 0, -1, nullptr, 0, &count), 0);
    EXPECT_EQ(count, want.objects.size());
    // Room for 7: seven records, the rest of the array untouched, the full count.
    std::vector<lum_object> out(20);
    std::memset(out.data(), 0xA5, out.size() * sizeof(lum_object));
    const std::vector<lum_object> untouched(out);
    count = 0;
    ASSERT_EQ(lum_measure_objects(im, 0, -1, out.data(), 7, &count), 0);
    EXPECT_EQ(count, want.objects.size());
    expect_same({out.begin(), out.begin() + 7}, {want.objects.begin(), want.objects.begin() + 7});
    EXPECT_EQ(std::memcmp(out.data() + 7, untouched.data() + 7, 13 * sizeof(lum_object)), 0);
    // More room than objects: only count records.
    std::vector<lum_object> big(want.objects.size() + 5);
    ASSERT_EQ(lum_measure_objects(im, 0, -1, big.data(), uint32_t(big.size()), &count), 0);
    expect_same({big.begin(), big.begin() + count}, want.objects);
    // An empty image has no objects; a label image of it stays all zero.
    Image empty(33, 7, lum_fmt_8u, lum_gray), labels(33, 7, lum_fmt_16u, lum_gray);
    labels.randomize(1);
    ASSERT_EQ(lum_measure_objects(empty, 0, labels, nullptr, 0, &count), 0);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(label_samples(labels), std::vector<uint16_t>(33 * 7, 0));
}

TEST(MeasureObjects, LabelImageRowsOnlyAndTheSourceItselfAsLabels) {
    std::mt19937 rng(13);
    const int w = 45, h = 23;
    const auto set = random_set(w, h, 40, true, rng);
    const Expected want = reference(set, w, h);
    // The label image's row padding keeps its bytes.
    Image im(w, h, lum_fmt_8u, lum_gray), labels(w, h, lum_fmt_16u, lum_gray);
    fill(im, set, rng);
    labels.randomize(77);
    const auto before = labels.bytes();
    ASSERT_EQ(measured(im, 0, labels).status, 0);
    const auto after = labels.bytes();
    const lum_info li = labels.info();
    for (int y = 0; y < h; ++y)
        for (size_t k = size_t(w) * 2; k < li.step_bytes; ++k)
            ASSERT_EQ(after[y * li.step_bytes + k], before[y * li.step_bytes + k]) << "row " << y;
    EXPECT_EQ(label_samples(labels), want.labels);
    // A 16-bit image is its own label image.
    Image self(w, h, lum_fmt_16u, lum_gray);
    fill(self, set, rng);
    const Measured got = measured(self, 0, self);  // the second call measures the labels of the first
    ASSERT_EQ(got.status, 0);
    expect_same(got.objects, want.objects);
    EXPECT_EQ(label_samples(self), want.labels);
}

TEST(MeasureObjects, LabelImageHoldsAtMost65535Objects) {
    // Isolated pixels on every other column and row: 255 × 257 = 65535 objects fit.
    Image fits(510, 514, lum_fmt_8u, lum_gray), labels(510, 514, lum_fmt_16u, lum_gray);
    for (int y = 0; y < 514; y += 2)
        for (int x = 0; x < 510; x += 2) fits.at<uint8_t>(x, y) = 1;
    uint32_t count = 0;
    ASSERT_EQ(lum_measure_objects(fits, 0, labels, nullptr, 0, &count), 0);
    EXPECT_EQ(count, 65535u);
    EXPECT_EQ(labels.at<uint16_t>(508, 512), 65535);
    EXPECT_EQ(labels.at<uint16_t>(2, 0), 2);
    // One more row of them: 65790 objects, refused with a label image, counted without.
    Image more(510, 516, lum_fmt_8u, lum_gray), more_labels(510, 516, lum_fmt_16u, lum_gray);
    for (int y = 0; y < 516; y += 2)
        for (int x = 0; x < 510; x += 2) more.at<uint8_t>(x, y) = 1;
    std::vector<lum_object> out(4);
    count = 99;
    EXPECT_EQ(lum_measure_objects(more, 0, more_labels, out.data(), 4, &count), -7);
    EXPECT_EQ(count, 99u);
    ASSERT_EQ(lum_measure_objects(more, 0, -1, nullptr, 0, &count), 0);
    EXPECT_EQ(count, 65790u);
    // min_area brings the count back under the limit.
    EXPECT_EQ(lum_measure_objects(more, 2, more_labels, nullptr, 0, &count), 0);
    EXPECT_EQ(count, 0u);
}

TEST(MeasureObjects, StatusCodesInTheirOrder) {
    Image gray8(8, 6, lum_fmt_8u, lum_gray), gray16(8, 6, lum_fmt_16u, lum_gray);
    Image color8(8, 6, lum_fmt_8u, lum_color), f32(8, 6, lum_fmt_32f, lum_gray), f32c(8, 6, lum_fmt_32f, lum_color);
    Image labels(8, 6, lum_fmt_16u, lum_gray), labels8(8, 6, lum_fmt_8u, lum_gray);
    Image labels_c(8, 6, lum_fmt_16u, lum_color), labels_wide(9, 6, lum_fmt_16u, lum_gray);
    Image labels_tall(8, 7, lum_fmt_16u, lum_gray), blank;  // blank: created, never initialised
    Image s16s;
    ASSERT_EQ(lum_init_image(s16s, 8, 6, lum_fmt_16s, lum_gray, 16), 0);
    gray8.at<uint8_t>(3, 3) = 1;
    const int32_t beyond = 1 << 20;
    Image gone;
    const int32_t destroyed = gone.h();
    lum_destroy_image(destroyed);

    lum_object out[2];
    uint32_t count = 77;
    auto call = [&](int32_t image, int32_t lab, lum_object* o, uint32_t capacity, uint32_t* c) {
        return lum_measure_objects(image, 0, lab, o, capacity, c);
    };
    // Handles first, image before labels.
    EXPECT_EQ(call(beyond, beyond, out, 2, nullptr), -6);
    EXPECT_EQ(call(-3, labels, out, 2, &count), -6);
    EXPECT_EQ(call(destroyed, beyond, out, 2, &count), -64);
    EXPECT_EQ(call(blank, beyond, out, 2, &count), -6);  // a live slot passes the handle check
    EXPECT_EQ(call(gray8, -2, out, 2, &count), -6);
    EXPECT_EQ(call(gray8, beyond, out, 2, &count), -6);
    EXPECT_EQ(call(gray8, destroyed, out, 2, &count), -64);
    // Then initialised, format, channels, the label image, the outputs, the buffers.
    EXPECT_EQ(call(blank, labels8, nullptr, 2, nullptr), -64);
    EXPECT_EQ(call(gray8, blank, nullptr, 2, nullptr), -64);
    EXPECT_EQ(call(f32c, labels8, nullptr, 2, nullptr), -1);
    EXPECT_EQ(call(f32, -1, out, 2, &count), -1);
    EXPECT_EQ(call(s16s, -1, out, 2, &count), -1);
    EXPECT_EQ(call(color8, labels8, nullptr, 2, nullptr), -65);
    EXPECT_EQ(call(gray8, labels8, nullptr, 2, nullptr), -4);
    EXPECT_EQ(call(gray8, labels_c, out, 2, &count), -4);
    EXPECT_EQ(call(gray8, labels_wide, out, 2, &count), -4);
    EXPECT_EQ(call(gray8, labels_tall, out, 2, &count), -4);
    EXPECT_EQ(call(gray8, gray8, out, 2, &count), -4);  // an 8-bit image cannot hold its labels
    EXPECT_EQ(call(gray8, labels, out, 2, nullptr), -128);
    EXPECT_EQ(call(gray8, labels, nullptr, 1, &count), -128);
    // A borrowed buffer whose step is shorter than its rows: -2, after -128.
    std::vector<uint8_t> short_rows(8 * 6);
    lum_info info{8, 6, 0, 0, 15, lum_fmt_16u, 16, lum_gray, short_rows.data()};
    Image borrowed;
    ASSERT_EQ(lum_init_image_ex(borrowed, &info), 0);
    EXPECT_EQ(call(borrowed, -1, nullptr, 1, &count), -128);
    EXPECT_EQ(call(borrowed, -1, out, 2, &count), -2);
    EXPECT_EQ(call(gray8, borrowed, out, 2, &count), -2);  // the same buffer as a label image
    info.step_bytes = 16;
    info.height = 7;  // rows × step bytes would pass its end, but the sizes differ first
    ASSERT_EQ(lum_init_image_ex(borrowed, &info), 0);
    EXPECT_EQ(call(gray8, borrowed, out, 2, &count), -4);
    lum_info hollow{8, 6, 0, 0, 16, lum_fmt_16u, 16, lum_gray, nullptr};
    ASSERT_EQ(lum_init_image_ex(borrowed, &hollow), 0);
    EXPECT_EQ(call(gray8, borrowed, out, 2, &count), -2);
    EXPECT_EQ(call(borrowed, -1, out, 2, &count), -2);

    EXPECT_EQ(count, 77u);  // no refusal counts

    // Accepted: objects null with capacity 0, labels -1, a 16-bit image.
    EXPECT_EQ(call(gray8, labels, nullptr, 0, &count), 0);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(call(gray16, -1, out, 2, &count), 0);
    EXPECT_EQ(count, 0u);
}

TEST(MeasureObjects, BorrowedBuffersOfExactSizeAtOddAddresses) {
    std::mt19937 rng(21);
    const int w = 77, h = 19;
    const auto set = random_set(w, h, 35, true, rng);
    const Expected want = reference(set, w, h);
    for (const int step_extra : {0, 1, 3}) {
        // 16-bit samples one byte past an aligned address, rows step bytes apart, and
        // not one byte more than rows × step in the allocation (plus the offset).
        const uint32_t step = uint32_t(2 * w + step_extra);
        const size_t bytes = size_t(step) * h;
        std::unique_ptr<uint8_t[]> source(new uint8_t[bytes + 1]), target(new uint8_t[bytes + 1]);
        uint8_t* s = source.get() + 1;
        uint8_t* t = target.get() + 1;
        for (size_t k = 0; k < bytes; ++k) s[k] = uint8_t(rng());
        std::memset(t, 0xEE, bytes);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const uint16_t v = set[size_t(y) * w + x] ? sample_value(rng, true) : 0;
                std::memcpy(s + size_t(y) * step + 2 * x, &v, 2);
            }
        lum_info si{w, h, 0, 0, step, lum_fmt_16u, 16, lum_gray, s}, ti{w, h, 0, 0, step, lum_fmt_16u, 16, lum_gray, t};
        Image im, labels;
        ASSERT_EQ(lum_init_image_ex(im, &si), 0);
        ASSERT_EQ(lum_init_image_ex(labels, &ti), 0);
        lum::test::for_each_variant([&](int) {
            const Measured got = measured(im, 0, labels);
            ASSERT_EQ(got.status, 0);
            expect_same(got.objects, want.objects);
            for (int y = 0; y < h; ++y) {
                for (int x = 0; x < w; ++x) {
                    uint16_t v;
                    std::memcpy(&v, t + size_t(y) * step + 2 * x, 2);
                    ASSERT_EQ(v, want.labels[size_t(y) * w + x]) << x << ", " << y;
                }
                for (int k = 2 * w; k < int(step); ++k) ASSERT_EQ(t[size_t(y) * step + k], 0xEE);
            }
        });
    }
    // 8-bit rows of odd length with no padding at all.
    std::unique_ptr<uint8_t[]> packed(new uint8_t[size_t(w) * h]);
    for (size_t k = 0; k < size_t(w) * h; ++k) packed[k] = set[k] ? uint8_t(1 + rng() % 255) : 0;
    lum_info pi{w, h, 0, 0, uint32_t(w), lum_fmt_8u, 8, lum_gray, packed.get()};
    Image im;
    ASSERT_EQ(lum_init_image_ex(im, &pi), 0);
    lum::test::for_each_variant([&](int) { expect_same(measured(im).objects, want.objects); });
}

TEST(MeasureObjects, MomentsOfWideImagesStayExact) {
    // One full row 65535 wide, then 2^20 wide in 4 rows (sums past 64 bits).
    {
        const int w = 65535;
        Image im(w, 1, lum_fmt_8u, lum_gray);
        std::memset(im.row(0), 1, w);
        const Measured got = measured(im);
        ASSERT_EQ(got.count, 1u);
        EXPECT_DOUBLE_EQ(got.objects[0].centroid_x, (w - 1) / 2.0);
        EXPECT_DOUBLE_EQ(got.objects[0].major_axis, 4 * std::sqrt((double(w) * w - 1) / 12));
        EXPECT_EQ(got.objects[0].minor_axis, 0.0);
        EXPECT_EQ(got.objects[0].holes, 0u);
    }
    const int w = 1 << 20, h = 4;
    Image im(w, h, lum_fmt_8u, lum_gray);
    for (int y = 0; y < h; ++y) std::memset(im.row(y), 200, w);
    Measured got = measured(im);
    ASSERT_EQ(got.count, 1u);
    const double n = double(w);
    EXPECT_EQ(got.objects[0].area, uint32_t(w * h));
    EXPECT_DOUBLE_EQ(got.objects[0].centroid_x, (n - 1) / 2);
    EXPECT_DOUBLE_EQ(got.objects[0].centroid_y, 1.5);
    EXPECT_DOUBLE_EQ(got.objects[0].major_axis, 4 * std::sqrt((n * n - 1) / 12));
    EXPECT_DOUBLE_EQ(got.objects[0].minor_axis, 4 * std::sqrt(15.0 / 12));
    // Sparse random content across the whole width against the reference.
    std::mt19937 rng(31);
    std::vector<uint8_t> set(size_t(w) * h, 0);
    for (int k = 0; k < 20000; ++k) set[rng() % set.size()] = 1;
    for (int x = 1000; x < w - 1000; ++x) set[size_t(x % 2 ? 1 : 2) * w + x] = 1;  // one long zigzag
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) im.at<uint8_t>(x, y) = set[size_t(y) * w + x];
    got = measured(im);
    ASSERT_EQ(got.status, 0);
    expect_same(got.objects, reference(set, w, h).objects);
}

}  // namespace
