// Threads sharing the registry and the contour store: some create,
// initialise, operate on and destroy their own images; the others register
// and fetch contour sets of their own images at the same time. Every thread
// checks its results against what the same work gives on one thread.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "lum_lib.h"

namespace {

// Results of one pipeline on a frame made from `seed`; all must be equal on every thread.
struct PipelineResult {
    double sum = 0;
    double foreground = 0;
    int32_t otsu = -1;
    int8_t status = 0;
    bool operator==(const PipelineResult&) const = default;
};

void draw_frame(int32_t image, uint32_t seed) {
    lum_info info{};
    lum_get_info(image, &info);
    auto* p = static_cast<uint8_t*>(info.frame_buf);
    for (int y = 0; y < info.height; ++y)
        for (int x = 0; x < info.width; ++x) {
            const bool blob = ((x / 7 + y / 5 + seed) % 3) == 0;
            p[y * info.step_bytes + x] = static_cast<uint8_t>(blob ? 180 + (x * seed) % 40 : 20 + (y * seed) % 30);
        }
}

// create, init, operate, destroy: every handle the pipeline takes goes back.
PipelineResult pipeline(uint32_t seed) {
    PipelineResult r;
    const int32_t frame = lum_create_image(), work = lum_create_image(), small = lum_create_image();
    auto fail = [&](int8_t s) {
        if (r.status == 0) r.status = s;
    };
    fail(lum_init_image(frame, 64, 48, lum_fmt_8u, lum_gray, 8));
    fail(lum_init_image(work, 64, 48, lum_fmt_8u, lum_gray, 8));
    fail(lum_init_image(small, 32, 24, lum_fmt_8u, lum_gray, 8));
    if (r.status == 0) {
        draw_frame(frame, seed);
        fail(lum_copy(frame, work));
        fail(lum_otsu_get_threshold(work, &r.otsu));
        fail(lum_binarization(frame, work, r.otsu + 1));
        lum_morph_param open{0, 2, 3, 3};  // rectangle, opening
        fail(lum_morph_open_close(work, frame, &open));
        fail(lum_sum(frame, &r.foreground));
        fail(lum_resize(work, {0, 0}, {64, 48}, small, {0, 0}, {32, 24}, 1));
        fail(lum_addI(small, small));
        fail(lum_sum(small, &r.sum));
    }
    for (int32_t h : {frame, work, small}) fail(lum_destroy_image(h));
    return r;
}

struct ContourResult {
    uint32_t total = 0, count = 0;
    std::vector<int32_t> points;
    std::vector<uint32_t> sizes;
    bool operator==(const ContourResult&) const = default;
};

ContourResult trace(int32_t image) {
    ContourResult c;
    const int32_t set = lum_find_contours(image, &c.total, &c.count);
    if (set < 0) return c;
    c.points.resize(c.total);
    c.sizes.resize(c.count);
    if (lum_get_contours_result(set, c.points.data(), c.sizes.data()) != 0) c.total = ~0u;
    return c;
}

TEST(ReliabilityStress, PipelinesAndContourSetsOnSharedRegistry) {
    constexpr int kPipelineThreads = 3, kContourThreads = 3, kRounds = 300;
    std::vector<PipelineResult> want_pipeline;
    for (int t = 0; t < kPipelineThreads; ++t) {
        want_pipeline.push_back(pipeline(3 + t));
        ASSERT_EQ(want_pipeline.back().status, 0);
    }
    std::vector<int32_t> traced;
    std::vector<ContourResult> want_contours;
    for (int t = 0; t < kContourThreads; ++t) {
        traced.push_back(lum_create_image());
        ASSERT_EQ(lum_init_image(traced.back(), 80, 60, lum_fmt_8u, lum_gray, 8), 0);
        draw_frame(traced.back(), 11 + t);
        ASSERT_EQ(lum_binarization(traced.back(), traced.back(), 100), 0);
        want_contours.push_back(trace(traced.back()));
        ASSERT_GT(want_contours.back().count, 0u);
    }

    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kPipelineThreads; ++t)
        threads.emplace_back([&, t] {
            for (int r = 0; r < kRounds; ++r)
                if (!(pipeline(3 + t) == want_pipeline[t])) ++failures;
        });
    for (int t = 0; t < kContourThreads; ++t)
        threads.emplace_back([&, t] {
            for (int r = 0; r < kRounds; ++r) {
                // Hold two sets for a while, so registrations and fetches of all threads interleave.
                uint32_t total = 0, count = 0;
                const int32_t held = lum_find_contours(traced[t], &total, &count);
                if (!(trace(traced[t]) == want_contours[t])) ++failures;
                std::vector<int32_t> points(total);
                std::vector<uint32_t> sizes(count);
                if (held < 0 || lum_get_contours_result(held, points.data(), sizes.data()) != 0 ||
                    points != want_contours[t].points)
                    ++failures;
            }
        });
    for (auto& th : threads) th.join();
    EXPECT_EQ(failures.load(), 0);
    for (int32_t h : traced) EXPECT_EQ(lum_destroy_image(h), 0);
}

}  // namespace
