// Contour tracing, the contour store and vertical runs: the traced sets against
// a plain tracer that follows the tracing rules step by step (probe, scan
// over every earlier contour, plain bounding box), hand-worked small cases,
// status codes and their order, handle reuse and concurrent use of the store.
#include <algorithm>
#include <array>
#include <atomic>
#include <thread>
#include <vector>

#include "primitives/ellipse.hpp"
#include "primitives/contour_scan.hpp"
#include "segment/contour_store.hpp"
#include "support/regions.hpp"
#include "support/support.hpp"

namespace {

using lum::test::Image;

// ---------------------------------------------------------------- reference

constexpr int kDx[8] = {-1, -1, 0, 1, 1, 1, 0, -1};
constexpr int kDy[8] = {0, 1, 1, 1, 0, -1, -1, -1};

struct Traced {
    uint32_t count = 0;
    uint32_t total = 0;
    std::vector<int32_t> result;
    std::vector<uint32_t> sizes;
};

bool ref_inside(const std::vector<lum_point>& p, const int32_t box[4], int qx, int qy) {
    if (qx < box[0] || qx > box[0] + box[2] - 1 || qy < box[1] || qy > box[1] + box[3] - 1) return false;
    const int n = static_cast<int>(p.size());
    bool inside = false;
    int i = 0;
    while (i < n) {
        if (p[i].x != qx || p[i].y < qy) {
            const int ax = std::abs(p[i].x - qx);
            i += 1 + std::max(qy - p[i].y, ax >= 1 ? ax - 1 : 0);
            continue;
        }
        const bool before = p[(i + n - 1) % n].x > qx;
        int j = i;
        while (j < n && p[j].x == qx) {
            if (p[j].y == qy) return true;
            ++j;
        }
        if ((p[j % n].x > qx) != before) inside = !inside;
        i = j;
    }
    return inside;
}

// The tracing rules followed literally, with no shortcuts.
template <class T>
Traced ref_trace(const T* buf, int64_t pitch, int w, int h) {
    auto pix = [&](int x, int y) { return x < w && y < h && buf[y * pitch + x] != 0; };
    auto next = [&](int x, int y, int d) {
        for (int s = d + 2; s <= d + 7; ++s) {
            const int c = s % 8, nx = x + kDx[c], ny = y + kDy[c];
            if (nx >= 0 && nx < w && ny >= 0 && ny < h && pix(nx, ny)) return c;
        }
        return d % 8;
    };
    std::vector<std::vector<lum_point>> contours;
    std::vector<std::array<int32_t, 4>> boxes;
    if (h - 1 >= 1) {
        for (int y = 0; y <= h - 2; ++y) {
            for (int x = 0; x <= w - 2; ++x) {
                if (!pix(x, y)) continue;
                if ((x > 0 && pix(x - 1, y)) || (x > 0 && y > 0 && pix(x - 1, y - 1)) || (y > 0 && pix(x, y - 1)) ||
                    (y > 0 && pix(x + 1, y - 1)))
                    continue;
                int d = next(x, y, 0), px = x + kDx[d], py = y + kDy[d];
                bool accepted = false;
                for (int k = 1; k <= 9; ++k) {
                    if (px < 0 || py < 0 || !pix(px, py)) break;
                    if (k == 9) {
                        accepted = true;
                        break;
                    }
                    if (px == x && py == y) break;
                    d = next(px, py, d + 4);
                    px += kDx[d];
                    py += kDy[d];
                }
                if (!accepted) continue;
                bool inside = false;
                for (size_t c = 0; c < contours.size(); ++c) inside = inside || ref_inside(contours[c], boxes[c].data(), x, y);
                if (inside) continue;
                std::vector<lum_point> seq{{x, y}};
                d = next(x, y, 0);
                px = x + kDx[d];
                py = y + kDy[d];
                while (px >= 0) {
                    if (py < 0 || !pix(px, py)) {
                        seq.clear();
                        break;
                    }
                    if (px == x && py == y) break;
                    seq.push_back({px, py});
                    if (seq.size() > size_t(16) * w * h) {
                        ADD_FAILURE() << "reference trace from " << x << "," << y << " does not return";
                        return {};
                    }
                    d = next(px, py, d + 4);
                    px += kDx[d];
                    py += kDy[d];
                }
                if (seq.empty()) continue;
                int32_t x0 = seq[0].x, x1 = x0, y0 = seq[0].y, y1 = y0;
                for (const auto& q : seq) {
                    x0 = std::min(x0, q.x);
                    x1 = std::max(x1, q.x);
                    y0 = std::min(y0, q.y);
                    y1 = std::max(y1, q.y);
                }
                contours.push_back(seq);
                boxes.push_back({x0, y0, x1 - x0 + 1, y1 - y0 + 1});
            }
        }
    }
    Traced t;
    t.count = static_cast<uint32_t>(contours.size());
    for (size_t c = 0; c < contours.size(); ++c) {
        for (const auto& q : contours[c]) {
            t.result.push_back(q.x);
            t.result.push_back(q.y);
        }
        t.result.insert(t.result.end(), boxes[c].begin(), boxes[c].end());
        t.sizes.push_back(static_cast<uint32_t>(2 * contours[c].size() + 4));
        t.total += t.sizes.back();
    }
    return t;
}

Traced ref_trace_image(const Image& im) {
    const lum_info i = im.info();
    if (i.pix_type == lum_fmt_8u)
        return ref_trace(static_cast<const uint8_t*>(i.frame_buf), i.step_bytes, i.width, i.height);
    return ref_trace(static_cast<const uint16_t*>(i.frame_buf), i.step_bytes / 2, i.width, i.height);
}

// find + fetch through the C interface; the fetch is skipped for an empty set.
Traced traced_by_library(int32_t image) {
    Traced t;
    const int32_t handle = lum_find_contours(image, &t.total, &t.count);
    EXPECT_GE(handle, 0);
    if (handle < 0 || t.count == 0) return t;
    t.result.assign(t.total, -999);
    t.sizes.assign(t.count, 0);
    EXPECT_EQ(lum_get_contours_result(handle, t.result.data(), t.sizes.data()), 0);
    return t;
}

void expect_same(const Traced& got, const Traced& want) {
    EXPECT_EQ(got.count, want.count);
    EXPECT_EQ(got.total, want.total);
    EXPECT_EQ(got.sizes, want.sizes);
    ASSERT_EQ(got.result.size(), want.result.size());
    for (size_t k = 0; k < got.result.size(); ++k)
        ASSERT_EQ(got.result[k], want.result[k]) << "first difference at integer " << k;
}

// ---------------------------------------------------------------- drawing

template <class T>
void fill_rect(const Image& im, int x0, int y0, int w, int h, T v = 255) {
    for (int y = y0; y < y0 + h; ++y)
        for (int x = x0; x < x0 + w; ++x) im.at<T>(x, y) = v;
}

template <class T>
void fill_disc(const Image& im, int cx, int cy, int r, T v, int width, int height) {
    for (int y = std::max(0, cy - r); y <= std::min(height - 1, cy + r); ++y)
        for (int x = std::max(0, cx - r); x <= std::min(width - 1, cx + r); ++x)
            if ((x - cx) * (x - cx) + (y - cy) * (y - cy) <= r * r) im.at<T>(x, y) = v;
}

// Discs, rectangles, rings and speckle on a cleared image: pinches, spurs,
// holes and objects on every border all occur.
template <class T>
void draw_scene(const Image& im, uint32_t seed, int speckle_percent, T on) {
    const lum_info i = im.info();
    lum_clear(im);
    std::mt19937 rng(seed);
    auto below = [&](int n) { return n > 0 ? static_cast<int>(rng() % static_cast<uint32_t>(n)) : 0; };
    const int objects = 3 + below(i.width * i.height / 400 + 1);
    for (int k = 0; k < objects; ++k) {
        const int cx = below(i.width), cy = below(i.height), r = 1 + below(12);
        switch (below(3)) {
        case 0:
            fill_disc<T>(im, cx, cy, r, on, i.width, i.height);
            break;
        case 1:
            fill_rect<T>(im, cx, cy, std::min(r + 1, i.width - cx), std::min(below(9) + 1, i.height - cy), on);
            break;
        default:
            fill_disc<T>(im, cx, cy, r + 3, on, i.width, i.height);
            fill_disc<T>(im, cx, cy, r, T(0), i.width, i.height);
            if (r > 3) fill_disc<T>(im, cx, cy, r - 3, on, i.width, i.height);
        }
    }
    for (int y = 0; y < i.height; ++y)
        for (int x = 0; x < i.width; ++x)
            if (below(100) < speckle_percent) im.at<T>(x, y) = below(2) ? on : T(0);
}

// ---------------------------------------------------------------- tracing

TEST(FindContours, RandomScenesMatchTheReferenceTracerInEveryVariant) {
    const int sizes[][2] = {{1, 5}, {2, 2}, {17, 3}, {63, 40}, {65, 65}, {200, 150}, {333, 97}};
    lum::test::for_each_variant([&](int) {
        for (const auto& s : sizes) {
            for (uint32_t seed = 0; seed < 6; ++seed) {
                const int speckle = int(seed % 3) * 15;  // none, light, heavy
                Image g8(s[0], s[1], lum_fmt_8u, lum_gray);
                draw_scene<uint8_t>(g8, seed * 7 + s[0], speckle, uint8_t(1 + seed * 40));
                SCOPED_TRACE(testing::Message() << "8u " << s[0] << "x" << s[1] << " seed " << seed);
                expect_same(traced_by_library(g8), ref_trace_image(g8));

                Image g16(s[0], s[1], lum_fmt_16u, lum_gray, 12);
                // 256 has a zero low byte: a sample is judged as a whole.
                draw_scene<uint16_t>(g16, seed * 13 + s[1], speckle, uint16_t(seed % 2 ? 256 : 4095));
                SCOPED_TRACE("16u");
                expect_same(traced_by_library(g16), ref_trace_image(g16));
            }
        }
    });
}

TEST(FindContours, DenseNoiseMatchesTheReference) {
    // Noise at every density makes the awkward shapes: one-pixel bridges,
    // starts that are pinch points, contours passing through their start.
    for (int percent : {10, 30, 50, 70, 90}) {
        Image im(257, 131, lum_fmt_8u, lum_gray);
        std::mt19937 rng(percent);
        for (int y = 0; y < 131; ++y)
            for (int x = 0; x < 257; ++x) im.at<uint8_t>(x, y) = int(rng() % 100) < percent ? 200 : 0;
        SCOPED_TRACE(percent);
        expect_same(traced_by_library(im), ref_trace_image(im));
    }
}

TEST(FindContours, SquareBoundaryRunsDownTheLeftSideFirst) {
    Image im(10, 9, lum_fmt_8u, lum_gray);
    fill_rect<uint8_t>(im, 2, 2, 4, 4);
    const Traced t = traced_by_library(im);
    ASSERT_EQ(t.count, 1u);
    const std::vector<int32_t> want = {2, 2, 2, 3, 2, 4, 2, 5, 3, 5, 4, 5, 5, 5, 5, 4,
                                       5, 3, 5, 2, 4, 2, 3, 2, 2, 2, 4, 4};
    EXPECT_EQ(t.result, want);
    EXPECT_EQ(t.sizes, std::vector<uint32_t>{28});
    EXPECT_EQ(t.total, 28u);
}

TEST(FindContours, ObjectsClosingWithinEightStepsAreNotReported) {
    for (int side : {1, 2, 3}) {
        Image im(12, 12, lum_fmt_8u, lum_gray);
        fill_rect<uint8_t>(im, 4, 4, side, side);
        const Traced t = traced_by_library(im);
        EXPECT_EQ(t.count, 0u) << side;
        EXPECT_EQ(t.total, 0u) << side;
    }
    // Nine boundary points close on the ninth step: reported.
    Image im(12, 12, lum_fmt_8u, lum_gray);
    fill_rect<uint8_t>(im, 4, 4, 3, 3);
    im.at<uint8_t>(4, 7) = 9;
    const Traced t = traced_by_library(im);
    EXPECT_EQ(t.count, 1u);
    EXPECT_EQ(t.sizes, std::vector<uint32_t>{2 * 9 + 4});
}

TEST(FindContours, RingGivesOnlyItsOuterBoundaryAndHidesTheBlobInItsHole) {
    Image im(40, 40, lum_fmt_8u, lum_gray);
    fill_rect<uint8_t>(im, 5, 5, 30, 30);
    fill_rect<uint8_t>(im, 10, 10, 20, 20, 0);
    fill_rect<uint8_t>(im, 15, 15, 8, 8);
    const Traced t = traced_by_library(im);
    ASSERT_EQ(t.count, 1u);
    EXPECT_EQ(t.sizes[0], 2u * 116 + 4);
    const std::vector<int32_t> box(t.result.end() - 4, t.result.end());
    EXPECT_EQ(box, (std::vector<int32_t>{5, 5, 30, 30}));
}

TEST(FindContours, LastRowAndColumnAreTracedButNeverStart) {
    Image im(20, 12, lum_fmt_16u, lum_gray);
    fill_rect<uint16_t>(im, 15, 7, 5, 5, 1);  // touches the last row and column
    Traced t = traced_by_library(im);
    ASSERT_EQ(t.count, 1u);
    EXPECT_EQ(std::vector<int32_t>(t.result.end() - 4, t.result.end()), (std::vector<int32_t>{15, 7, 5, 5}));

    Image edge(20, 12, lum_fmt_8u, lum_gray);
    fill_rect<uint8_t>(edge, 19, 0, 1, 12);  // the last column only
    fill_rect<uint8_t>(edge, 0, 11, 19, 1);  // the last row only
    t = traced_by_library(edge);
    EXPECT_EQ(t.count, 0u);
}

TEST(FindContours, ImageOfOneRowGivesAnEmptySetThatCannotBeFetched) {
    Image im(50, 1, lum_fmt_8u, lum_gray);
    fill_rect<uint8_t>(im, 0, 0, 50, 1);
    uint32_t total = 7, count = 7;
    const int32_t handle = lum_find_contours(im, &total, &count);
    ASSERT_GE(handle, 0);
    EXPECT_EQ(total, 0u);
    EXPECT_EQ(count, 0u);
    int32_t result[4];
    uint32_t sizes[1];
    EXPECT_EQ(lum_get_contours_result(handle, result, sizes), -32);
    EXPECT_EQ(lum_get_contours_result(handle, result, sizes), -32);  // still registered
}

TEST(ReleaseContours, FreesEmptyAndFullSetsOnceAndChecksTheHandle) {
    Image empty(16, 16, lum_fmt_8u, lum_gray);
    Image square(16, 16, lum_fmt_8u, lum_gray);
    fill_rect<uint8_t>(square, 2, 2, 5, 5);
    uint32_t total = 0, count = 0;
    const int32_t none = lum_find_contours(empty, &total, &count);
    ASSERT_GE(none, 0);
    ASSERT_EQ(count, 0u);
    const int32_t one = lum_find_contours(square, &total, &count);
    ASSERT_GE(one, 0);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(lum_release_contours(none), 0);
    EXPECT_EQ(lum_release_contours(one), 0);
    EXPECT_EQ(lum_release_contours(one), -32);  // already empty
    int32_t result[64];
    uint32_t sizes[1];
    EXPECT_EQ(lum_get_contours_result(one, result, sizes), -32);
    EXPECT_EQ(lum_release_contours(-1), -6);
    EXPECT_EQ(lum_release_contours(lum::contours::slot_count()), -6);
    // The emptied slot is the next one a find takes.
    const int32_t again = lum_find_contours(empty, &total, &count);
    EXPECT_EQ(again, std::min(none, one));
    EXPECT_EQ(lum_release_contours(again), 0);
}

TEST(FindContours, StatusCodesAndTheirOrder) {
    uint32_t total = 0, count = 0;
    EXPECT_EQ(lum_find_contours(-1, &total, &count), -6);
    EXPECT_EQ(lum_find_contours(1 << 30, &total, &count), -6);
    {
        Image empty;
        EXPECT_EQ(lum_find_contours(empty, &total, &count), -64);  // created, not initialised
    }
    Image colour(8, 8, lum_fmt_8u, lum_color);
    EXPECT_EQ(lum_find_contours(colour, nullptr, nullptr), -1);
    Image floats(8, 8, lum_fmt_32f, lum_gray);
    EXPECT_EQ(lum_find_contours(floats, &total, &count), -7);
    Image held(8, 8, lum_fmt_16s, lum_gray, 16);
    EXPECT_EQ(lum_find_contours(held, &total, &count), -7);
    Image grey(8, 8, lum_fmt_8u, lum_gray);
    EXPECT_EQ(lum_find_contours(grey, nullptr, &count), -128);
    EXPECT_EQ(lum_find_contours(grey, &total, nullptr), -128);

    // A caller's buffer whose step is too short for the rows: refused before reading.
    std::vector<uint8_t> small(8 * 4);
    lum_info info{8, 8, 0, 0, 4, lum_fmt_8u, 8, lum_gray, small.data()};
    Image borrowed;
    ASSERT_EQ(lum_init_image_ex(borrowed, &info), 0);
    EXPECT_EQ(lum_find_contours(borrowed, &total, &count), -2);

    // A caller's description without a buffer: the scan refuses the null row.
    lum_info nothing{8, 8, 0, 0, 16, lum_fmt_8u, 8, lum_gray, nullptr};
    Image hollow;
    ASSERT_EQ(lum_init_image_ex(hollow, &nothing), 0);
    int32_t status = 0;
    EXPECT_EQ(lum::test::captured_stdout([&] { status = lum_find_contours(hollow, &total, &count); }),
              "IPP function failed,return value -8.\n");
    EXPECT_EQ(status, -5);
}

TEST(FindContours, CallersBufferWithOddStepTracesLikeTheReference) {
    // 16-bit rows of 2 * 31 + 3 bytes: the pitch in samples rounds down.
    const int w = 31, h = 20, step = 2 * w + 3;
    std::vector<uint8_t> bytes(size_t(step) * h + 8, 0);
    lum_info info{w, h, 0, 0, static_cast<uint32_t>(step), lum_fmt_16u, 16, lum_gray, bytes.data()};
    Image im;
    ASSERT_EQ(lum_init_image_ex(im, &info), 0);
    auto* s = reinterpret_cast<uint16_t*>(bytes.data());
    const int pitch = step / 2;
    for (int y = 3; y < 15; ++y)
        for (int x = 2; x < 20 + y % 3; ++x) s[y * pitch + x] = 700;
    const Traced want = ref_trace(s, pitch, w, h);
    EXPECT_EQ(want.count, 1u);
    expect_same(traced_by_library(im), want);

    // The same samples lent one byte further on: 16-bit samples at odd addresses trace alike.
    std::vector<uint8_t> shifted(bytes.size() + 1, 0);
    std::memcpy(shifted.data() + 1, bytes.data(), bytes.size());
    info.frame_buf = shifted.data() + 1;
    Image odd;
    ASSERT_EQ(lum_init_image_ex(odd, &info), 0);
    lum::test::for_each_variant([&](int) { expect_same(traced_by_library(odd), want); });
}

// ---------------------------------------------------------------- fetching and the store

TEST(GetContoursResult, StatusCodesAndSingleFetch) {
    Image im(30, 30, lum_fmt_8u, lum_gray);
    fill_rect<uint8_t>(im, 3, 3, 6, 6);
    fill_rect<uint8_t>(im, 15, 12, 10, 4);
    uint32_t total = 0, count = 0;
    const int32_t handle = lum_find_contours(im, &total, &count);
    ASSERT_GE(handle, 0);
    ASSERT_EQ(count, 2u);
    std::vector<int32_t> result(total, -1);
    std::vector<uint32_t> sizes(count, 0);

    // Missing arrays come before the handle check.
    EXPECT_EQ(lum_get_contours_result(-5, nullptr, sizes.data()), -128);
    EXPECT_EQ(lum_get_contours_result(handle, result.data(), nullptr), -128);
    EXPECT_EQ(lum_get_contours_result(-1, result.data(), sizes.data()), -6);
    EXPECT_EQ(lum_get_contours_result(lum::contours::slot_count(), result.data(), sizes.data()), -6);
    EXPECT_EQ(result, std::vector<int32_t>(total, -1));  // nothing written on failure

    EXPECT_EQ(lum_get_contours_result(handle, result.data(), sizes.data()), 0);
    EXPECT_EQ(sizes, (std::vector<uint32_t>{2 * 20 + 4, 2 * 24 + 4}));
    EXPECT_EQ(std::vector<int32_t>(result.begin() + 40, result.begin() + 44), (std::vector<int32_t>{3, 3, 6, 6}));
    EXPECT_EQ(std::vector<int32_t>(result.end() - 4, result.end()), (std::vector<int32_t>{15, 12, 10, 4}));
    EXPECT_EQ(lum_get_contours_result(handle, result.data(), sizes.data()), -32);
}

// A traced set of one 4 x 4 square, registered through the C interface.
int32_t register_square(const Image& im) {
    uint32_t total = 0, count = 0;
    return lum_find_contours(im, &total, &count);
}

TEST(ContourStore, ReleasedSlotIsTheNextOneReused) {
    Image im(12, 12, lum_fmt_8u, lum_gray);
    fill_rect<uint8_t>(im, 2, 2, 4, 4);
    std::vector<int32_t> held;
    // Fill whatever slots earlier tests emptied, until sets are appended.
    int32_t h = register_square(im);
    held.push_back(h);
    while (h != lum::contours::slot_count() - 1) held.push_back(h = register_square(im));
    const int32_t a = register_square(im), b = register_square(im), c = register_square(im);
    EXPECT_EQ(b, a + 1);
    EXPECT_EQ(c, a + 2);
    int32_t result[28];
    uint32_t sizes[1];
    ASSERT_EQ(lum_get_contours_result(c, result, sizes), 0);
    ASSERT_EQ(lum_get_contours_result(a, result, sizes), 0);
    EXPECT_EQ(register_square(im), a);  // the lowest empty slot first
    EXPECT_EQ(register_square(im), c);
    EXPECT_EQ(register_square(im), c + 1);
    for (int32_t k : {a, b, c, c + 1}) EXPECT_EQ(lum_get_contours_result(k, result, sizes), 0);
    for (int32_t k : held) EXPECT_EQ(lum_get_contours_result(k, result, sizes), 0);
}

TEST(ContourStoreStress, ConcurrentFindAndFetchOnDistinctImages) {
    constexpr int kThreads = 6, kRounds = 150;
    std::vector<std::unique_ptr<Image>> images;
    std::vector<Traced> expected;
    for (int t = 0; t < kThreads; ++t) {
        images.push_back(std::make_unique<Image>(90 + t, 70, lum_fmt_8u, lum_gray));
        draw_scene<uint8_t>(*images.back(), 100 + t, 5, 255);
        expected.push_back(ref_trace_image(*images.back()));
        ASSERT_GT(expected.back().count, 0u);
    }
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            const int32_t image = images[t]->h();
            const Traced& want = expected[t];
            std::vector<int32_t> pending;
            for (int r = 0; r < kRounds; ++r) {
                uint32_t total = 0, count = 0;
                const int32_t handle = lum_find_contours(image, &total, &count);
                if (handle < 0 || total != want.total || count != want.count) ++failures;
                if (handle < 0) continue;
                pending.push_back(handle);
                // Hold a few sets at a time so registrations and releases interleave.
                if (pending.size() < 3 && r + 1 < kRounds) continue;
                for (int32_t h : pending) {
                    std::vector<int32_t> result(want.total);
                    std::vector<uint32_t> sizes(want.count);
                    if (lum_get_contours_result(h, result.data(), sizes.data()) != 0 || result != want.result ||
                        sizes != want.sizes)
                        ++failures;
                }
                pending.clear();
            }
        });
    }
    for (auto& th : threads) th.join();
    EXPECT_EQ(failures.load(), 0);
}

// ---------------------------------------------------------------- start-point kernel

// Both rows of a two-row region at an odd address: the row above, then the row.
template <class T>
int32_t starts_of(const lum::test::Region<T>& r, bool first_row, int w, std::vector<int32_t>& xs) {
    const T* above = r.data();
    const T* row = reinterpret_cast<const T*>(r.bytes.data() + r.at_byte(0, 1));
    int32_t n = -1;
    EXPECT_EQ(lum::prim::contour_starts<T>(first_row ? nullptr : above, row, w, xs.data(), &n), 0);
    return n;
}

TEST(ContourStartKernel, EveryVariantMatchesTheNeighbourRule) {
    lum::test::for_each_variant([](int) {
        for (int w : {1, 2, 15, 17, 63, 65, 66, 129, 130, 200, 1000}) {
            std::mt19937 rng(w);
            lum::test::Region<uint16_t> r16(w, 2, w);
            lum::test::Region<uint8_t> r8(w, 2, w);
            std::vector<uint16_t> above(w), row(w);
            for (int x = 0; x < w; ++x) {
                above[x] = rng() % 3 == 0 ? uint16_t(256 << (rng() % 2)) : 0;
                row[x] = rng() % 2 ? uint16_t(1 + rng() % 3 * 255) : 0;
                r16.set(x, 0, above[x]), r16.set(x, 1, row[x]);
                r8.set(x, 0, above[x] ? 1 : 0), r8.set(x, 1, row[x] ? 200 : 0);
            }
            for (bool first_row : {false, true}) {
                std::vector<int32_t> want;
                for (int x = 0; x + 1 < w; ++x) {
                    bool start = row[x] != 0 && !(x > 0 && row[x - 1]);
                    if (!first_row) start = start && !(x > 0 && above[x - 1]) && !above[x] && !above[x + 1];
                    if (start) want.push_back(x);
                }
                std::vector<int32_t> xs(w, -1);
                int32_t n = starts_of(r16, first_row, w, xs);
                EXPECT_EQ(std::vector<int32_t>(xs.begin(), xs.begin() + n), want) << "16u width " << w;
                n = starts_of(r8, first_row, w, xs);
                EXPECT_EQ(std::vector<int32_t>(xs.begin(), xs.begin() + n), want) << "8u width " << w;
            }
        }
        int32_t xs[4], n = 0;
        const uint8_t r[4] = {1, 0, 1, 0};
        EXPECT_EQ(lum::prim::contour_starts<uint8_t>(nullptr, nullptr, 4, xs, &n), -8);
        EXPECT_EQ(lum::prim::contour_starts<uint8_t>(nullptr, r, 4, nullptr, &n), -8);
        EXPECT_EQ(lum::prim::contour_starts<uint8_t>(nullptr, r, 0, xs, &n), -6);
    });
}

// ---------------------------------------------------------------- expansion

// The points drawn into a (w + 2r) x (h + 2r) plane, dilated with the ellipse
// element by a plain maximum over the element (replicated borders), then traced.
Traced ref_expand(const std::vector<lum_point>& pts, lum_rect rect, int r) {
    const int w = rect.width + 2 * r, h = rect.height + 2 * r, side = 2 * r + 1;
    std::vector<uint8_t> drawn(size_t(w) * h, 0), grown(size_t(w) * h, 0), element(size_t(side) * side, 0);
    lum::draw_ellipse(element.data(), side, side, side, {0, 0}, {0, 0, side, side});
    for (const auto& p : pts) {
        const int x = p.x - rect.x + r, y = p.y - rect.y + r;
        if (x >= 0 && x < w && y >= 0 && y < h) drawn[size_t(y) * w + x] = 255;
    }
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            uint8_t m = 0;
            for (int j = 0; j < side; ++j)
                for (int i = 0; i < side; ++i)
                    if (element[size_t(j) * side + i]) {
                        const int sx = std::clamp(x + i - r, 0, w - 1), sy = std::clamp(y + j - r, 0, h - 1);
                        m = std::max(m, drawn[size_t(sy) * w + sx]);
                    }
            grown[size_t(y) * w + x] = m;
        }
    return ref_trace(grown.data(), w, w, h);
}

Traced expanded_by_library(const std::vector<lum_point>& pts, lum_rect rect, int r) {
    Traced t;
    const int32_t handle = lum_expand_contour(pts.data(), int32_t(pts.size()), &rect, r, &t.total);
    EXPECT_GE(handle, 0);
    if (handle < 0 || t.total == 0) return t;
    t.result.assign(t.total, -999);
    t.sizes.assign(t.total, 0);  // at least as many entries as contours
    EXPECT_EQ(lum_get_contours_result(handle, t.result.data(), t.sizes.data()), 0);
    size_t used = 0;
    while (used < t.sizes.size() && t.sizes[used] != 0) ++used;
    t.sizes.resize(used);
    t.count = static_cast<uint32_t>(used);
    return t;
}

std::vector<lum_point> square_boundary(int x0, int y0, int side) {
    std::vector<lum_point> p;
    for (int k = 0; k < side - 1; ++k) p.push_back({x0, y0 + k});
    for (int k = 0; k < side - 1; ++k) p.push_back({x0 + k, y0 + side - 1});
    for (int k = 0; k < side - 1; ++k) p.push_back({x0 + side - 1, y0 + side - 1 - k});
    for (int k = 0; k < side - 1; ++k) p.push_back({x0 + side - 1 - k, y0});
    return p;
}

TEST(ExpandContour, SquareGrowsByTheDistanceOnEverySide) {
    for (int r : {1, 3, 7}) {
        const auto pts = square_boundary(20, 30, 10);
        const lum_rect rect{20, 30, 10, 10};
        const Traced got = expanded_by_library(pts, rect, r);
        SCOPED_TRACE(r);
        ASSERT_EQ(got.count, 1u);
        // In scratch coordinates the grown square fills the whole scratch image.
        const std::vector<int32_t> box(got.result.end() - 4, got.result.end());
        EXPECT_EQ(box, (std::vector<int32_t>{0, 0, 10 + 2 * r, 10 + 2 * r}));
        expect_same(got, ref_expand(pts, rect, r));
    }
}

TEST(ExpandContour, TracedDiscAndScatteredPointsMatchTheReference) {
    Image im(60, 50, lum_fmt_8u, lum_gray);
    fill_disc<uint8_t>(im, 25, 22, 12, 255, 60, 50);
    Traced disc = traced_by_library(im);
    ASSERT_EQ(disc.count, 1u);
    std::vector<lum_point> pts;
    for (size_t k = 0; k + 4 < disc.result.size(); k += 2) pts.push_back({disc.result[k], disc.result[k + 1]});
    const lum_rect box{disc.result[disc.result.size() - 4], disc.result[disc.result.size() - 3],
                       disc.result[disc.result.size() - 2], disc.result[disc.result.size() - 1]};
    expect_same(expanded_by_library(pts, box, 4), ref_expand(pts, box, 4));

    // Points outside the rectangle's margin are ignored; separate points grow into separate blobs.
    const std::vector<lum_point> scattered = {{0, 0}, {9, 2}, {30, 30}, {-50, 4}, {3, 400}};
    expect_same(expanded_by_library(scattered, {0, 0, 12, 12}, 2), ref_expand(scattered, {0, 0, 12, 12}, 2));
}

TEST(ExpandContour, StatusCodes) {
    const auto pts = square_boundary(0, 0, 5);
    const lum_rect rect{0, 0, 5, 5};
    uint32_t total = 77;
    EXPECT_EQ(lum_expand_contour(pts.data(), 16, nullptr, 2, &total), -7);
    EXPECT_EQ(lum_expand_contour(nullptr, 16, &rect, 2, &total), -7);
    EXPECT_EQ(lum_expand_contour(pts.data(), 16, &rect, 2, nullptr), -128);
    // No room for a scratch image: the dilation refuses the uninitialised images.
    const lum_rect empty{0, 0, 0, 0};
    EXPECT_EQ(lum_expand_contour(pts.data(), 16, &empty, 0, &total), -64);
    // An element of width 0 (distance -1 on a rectangle that still leaves room).
    EXPECT_EQ(lum_expand_contour(pts.data(), 16, &rect, -1, &total), -7);
    EXPECT_EQ(total, 77u);

    // Distance 0 dilates with a single pixel: the boundary itself is traced.
    const int32_t h = lum_expand_contour(pts.data(), 16, &rect, 0, &total);
    ASSERT_GE(h, 0);
    EXPECT_EQ(total, 2u * 16 + 4);
    std::vector<int32_t> result(total);
    uint32_t sizes[1];
    EXPECT_EQ(lum_get_contours_result(h, result.data(), sizes), 0);
    EXPECT_EQ(std::vector<int32_t>(result.end() - 4, result.end()), (std::vector<int32_t>{0, 0, 5, 5}));
}

// ---------------------------------------------------------------- vertical runs

TEST(VlineContour, HandWorkedRuns) {
    constexpr int32_t kAny = INT32_MIN;
    struct Case {
        const char* what;
        std::vector<lum_point> points;
        lum_rect rect;
        std::vector<int32_t> runs;  // the runs, then the centroid and the area
    };
    const Case cases[] = {
        {"corners of a square", {{1, 1}, {3, 1}, {3, 3}, {1, 3}}, {0, 0, 5, 5}, {3, 1, 3, 2, 2, 3}},
        // The boundary of the 4 x 4 square at (2, 2) as the tracer orders it; centroid 42 / 12 = 3.5
        // in both axes, rounded away from zero.
        {"traced square",
         {{2, 2}, {2, 3}, {2, 4}, {2, 5}, {3, 5}, {4, 5}, {5, 5}, {5, 4}, {5, 3}, {5, 2}, {4, 2}, {3, 2}},
         {1, 0, 8, 8},
         {3, 2, 5, 4, 2, 5, 5, 2, 5, 4, 4, 12}},
        {"negative centroid", {{-4, 0}, {-3, 0}}, {-5, -2, 5, 5}, {-3, 0, 0, -4, 0, 1}},
        // Column 2 receives one entry, which has no partner and is dropped.
        {"unpaired entry", {{1, 0}, {2, 4}, {3, 5}}, {0, 0, 5, 8}, {3, 5, 5, 2, 3, 1}},
        // Runs spanning most of the 32-bit range: the area saturates, nothing overflows.
        {"huge runs", {{1, -2000000000}, {2, -2000000000}, {2, 2000000000}, {1, 2000000000}}, {0, 0, 5, 5},
         {2, -2000000000, 2000000000, kAny, kAny, INT32_MAX}},
    };
    for (const Case& c : cases) {
        int32_t runs[32];
        uint32_t written = 0;
        lum_vline_contour(c.points.data(), int32_t(c.points.size()), &c.rect, runs, &written);
        ASSERT_EQ(written, c.runs.size()) << c.what;
        for (size_t k = 0; k < c.runs.size(); ++k)
            if (c.runs[k] != kAny) EXPECT_EQ(runs[k], c.runs[k]) << c.what << ", entry " << k;
    }

    // Empty input or a missing array: nothing written.
    const lum_point line[] = {{-4, 0}, {-3, 0}};
    const lum_rect r{-5, -2, 5, 5};
    int32_t runs[16];
    uint32_t written = 99;
    runs[0] = 77;
    lum_vline_contour(line, 0, &r, runs, &written);
    EXPECT_EQ(written, 0u);
    written = 99;
    lum_vline_contour(nullptr, 2, &r, runs, &written);
    lum_vline_contour(line, 2, &r, nullptr, &written);
    lum_vline_contour(line, 2, nullptr, runs, &written);
    lum_vline_contour(line, 2, &r, runs, nullptr);
    EXPECT_EQ(written, 99u);
    EXPECT_EQ(runs[0], 77);
}

}  // namespace
