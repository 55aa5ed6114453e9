// Fill, copy and "greater than T becomes V" kernels: every processor variant
// against a plain reference on odd widths and steps, byte for byte, with the
// bytes around the region left alone.
#include <string>
#include <vector>

#include "primitives/fill.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::for_each_variant;

constexpr int kWidths[] = {1, 15, 17, 63, 65, 1000};

// A buffer of `rows` rows of `step` bytes with random content; regions start
// at a small odd byte offset to exercise unaligned rows.
struct Canvas {
    int step;
    int rows;
    std::vector<uint8_t> bytes;
    Canvas(int step_, int rows_, uint32_t seed) : step(step_), rows(rows_), bytes(size_t(step_) * rows_ + 64) {
        std::mt19937 rng(seed);
        for (auto& b : bytes) b = static_cast<uint8_t>(rng());
    }
    template <class T>
    T* at(int offset) {
        return reinterpret_cast<T*>(bytes.data() + offset);
    }
};

template <class T>
int step_for(int width, int channels) {
    return (width * channels) * int(sizeof(T)) + 3 * int(sizeof(T));  // deliberately not a multiple of 16
}

TEST(FillKernels, EveryVariantMatchesTheReference) {
    for_each_variant([](int) {
        for (int w : kWidths) {
            const int h = 3;
            const int step = step_for<uint16_t>(w, 3);
            Canvas got(step, h, w), want(step, h, w);
            const uint16_t v3[3] = {7, 65535, 300};
            ASSERT_EQ(lum::prim::set_16u_c3(v3, got.at<uint16_t>(2), step, {w, h}), 0);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w * 3; ++x)
                    std::memcpy(want.bytes.data() + 2 + size_t(y) * step + 2 * x, &v3[x % 3], 2);
            ASSERT_EQ(got.bytes, want.bytes) << "16u C3 width " << w;

            const int fstep = step_for<float>(w, 1);
            Canvas fg(fstep, h, w), fw(fstep, h, w);
            ASSERT_EQ(lum::prim::set_32f_c1(-2.5f, fg.at<float>(4), fstep, {w, h}), 0);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    const float v = -2.5f;
                    std::memcpy(fw.bytes.data() + 4 + size_t(y) * fstep + 4 * x, &v, 4);
                }
            ASSERT_EQ(fg.bytes, fw.bytes) << "32f C1 width " << w;

            const int bstep = w * 3 + 5;
            Canvas bg(bstep, h, w), bw(bstep, h, w);
            const uint8_t b3[3] = {1, 2, 3};
            ASSERT_EQ(lum::prim::set_8u_c3(b3, bg.at<uint8_t>(1), bstep, {w, h}), 0);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w * 3; ++x) bw.bytes[1 + size_t(y) * bstep + x] = b3[x % 3];
            ASSERT_EQ(bg.bytes, bw.bytes) << "8u C3 width " << w;
        }
    });
}

TEST(CopyKernels, CopyOnlyTheRegionBetweenDifferentSteps) {
    for_each_variant([](int) {
        for (int w : kWidths) {
            const int h = 4;
            const int sstep = w * 6 + 10, dstep = w * 6 + 2;
            Canvas src(sstep, h, 1), got(dstep, h, 2), want(dstep, h, 2);
            ASSERT_EQ(lum::prim::copy_16u_c3(src.at<uint16_t>(0), sstep, got.at<uint16_t>(2), dstep, {w, h}), 0);
            for (int y = 0; y < h; ++y)
                std::memcpy(want.bytes.data() + 2 + size_t(y) * dstep, src.bytes.data() + size_t(y) * sstep, w * 6);
            ASSERT_EQ(got.bytes, want.bytes) << "width " << w;
        }
    });
}

template <class T>
void check_threshold_gt(T threshold, T value) {
    for (int w : kWidths) {
        const int h = 3;
        for (int channels : {1, 3}) {
            const int step = step_for<T>(w, channels);
            Canvas got(step, h, w + channels), want(step, h, w + channels);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w * channels; ++x) {
                    T s;
                    std::memcpy(&s, want.bytes.data() + size_t(y) * step + sizeof(T) * x, sizeof(T));
                    if (s > threshold) s = value;
                    std::memcpy(want.bytes.data() + size_t(y) * step + sizeof(T) * x, &s, sizeof(T));
                }
            int st;
            if constexpr (sizeof(T) == 1) {
                const uint8_t t3[3] = {threshold, threshold, threshold}, v3[3] = {value, value, value};
                st = channels == 1 ? lum::prim::threshold_gt_val_8u_c1ir(got.at<uint8_t>(0), step, {w, h}, threshold, value)
                                   : lum::prim::threshold_gt_val_8u_c3ir(got.at<uint8_t>(0), step, {w, h}, t3, v3);
            } else {
                const uint16_t t3[3] = {threshold, threshold, threshold}, v3[3] = {value, value, value};
                st = channels == 1
                         ? lum::prim::threshold_gt_val_16u_c1ir(got.at<uint16_t>(0), step, {w, h}, threshold, value)
                         : lum::prim::threshold_gt_val_16u_c3ir(got.at<uint16_t>(0), step, {w, h}, t3, v3);
            }
            ASSERT_EQ(st, 0);
            ASSERT_EQ(got.bytes, want.bytes) << "width " << w << " channels " << channels;
        }
    }
}

TEST(ThresholdKernels, GreaterThanBecomesValue) {
    for_each_variant([](int) {
        check_threshold_gt<uint8_t>(100, 7);
        check_threshold_gt<uint16_t>(4095, 4095);
    });
}

TEST(ThresholdKernels, DistinctChannelThresholds) {
    for_each_variant([](int) {
        uint16_t px[6] = {10, 20, 30, 40, 50, 60};
        const uint16_t t[3] = {15, 100, 0}, v[3] = {1, 2, 3};
        ASSERT_EQ(lum::prim::threshold_gt_val_16u_c3ir(px, 12, {2, 1}, t, v), 0);
        const uint16_t want[6] = {10, 20, 3, 1, 50, 3};
        EXPECT_EQ(std::vector<uint16_t>(px, px + 6), std::vector<uint16_t>(want, want + 6));
    });
}

TEST(KernelStatus, EmptyRegionsAndNullPointers) {
    uint8_t b[16] = {};
    EXPECT_EQ(lum::prim::set_8u_c1(1, b, 16, {0, 1}), -6);
    EXPECT_EQ(lum::prim::set_8u_c1(1, b, 16, {1, -1}), -6);
    EXPECT_EQ(lum::prim::set_8u_c1(1, nullptr, 16, {1, 1}), -8);
    EXPECT_EQ(lum::prim::copy_8u_c1(nullptr, 16, b, 16, {1, 1}), -8);
    EXPECT_EQ(lum::prim::fill_bytes(0, b, 0), -6);
    EXPECT_EQ(b[0], 0);
}

TEST(KernelStatus, ThreeChannelRegionIsOneChannelRegionThreeTimesWider) {
    for_each_variant([](int) {
        Canvas a(64, 2, 5), b(64, 2, 5);
        const uint16_t t3[3] = {3000, 3000, 3000}, v3[3] = {1, 1, 1};
        ASSERT_EQ(lum::prim::threshold_gt_val_16u_c3ir(a.at<uint16_t>(0), 64, {5, 2}, t3, v3), 0);
        ASSERT_EQ(lum::prim::threshold_gt_val_16u_c1ir(b.at<uint16_t>(0), 64, {15, 2}, 3000, 1), 0);
        EXPECT_EQ(a.bytes, b.bytes);
    });
}

TEST(Dispatch, IndexIsDetectedOnceAndCanBeForced) {
    const int detected = lum::prim::detect_dispatch_index();
    EXPECT_GE(detected, 0);
    EXPECT_LE(detected, 5);
    lum::prim::force_dispatch_index(-1);
    uint8_t b = 0;
    lum::prim::set_8u_c1(1, &b, 1, {1, 1});  // first call takes the initialisation path
    EXPECT_EQ(lum::prim::g_dispatch_index.load(), detected);
    EXPECT_EQ(b, 1);
    EXPECT_EQ(lum::prim::compiled_level_for(5), 2);
    EXPECT_EQ(lum::prim::compiled_level_for(4), 1);
    EXPECT_EQ(lum::prim::compiled_level_for(3), 0);
}

// A 16-bit region must start on, and step by, whole samples; an empty region
// keeps its own status, and 8-bit regions may start and step anywhere.
TEST(Dispatch, MisalignedWideRegionsAreRefusedBeforeTheKernel) {
    alignas(64) uint8_t bytes[256];
    for (int k = 0; k < 256; ++k) bytes[k] = static_cast<uint8_t>(k);
    const std::vector<uint8_t> before(bytes, bytes + 256);
    auto* even = reinterpret_cast<uint16_t*>(bytes);
    auto* odd = reinterpret_cast<uint16_t*>(bytes + 1);
    EXPECT_EQ(lum::prim::set_16u_c1(7, odd, 32, {4, 2}), lum::prim::st_misaligned);
    EXPECT_EQ(lum::prim::set_16u_c1(7, even, 33, {4, 2}), lum::prim::st_misaligned);
    EXPECT_EQ(lum::prim::copy_16u_c1(even, 32, even + 64, 31, {4, 2}), lum::prim::st_misaligned);
    EXPECT_EQ(lum::prim::copy_16u_c1(odd, 32, even + 64, 32, {4, 2}), lum::prim::st_misaligned);
    EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + 256), before);
    EXPECT_EQ(lum::prim::set_16u_c1(7, odd, 33, {0, 2}), lum::prim::st_size);
    EXPECT_EQ(lum::prim::set_8u_c1(7, bytes + 1, 33, {4, 2}), 0);
    EXPECT_EQ(lum::prim::set_16u_c1(7, even + 1, 34, {4, 2}), 0);
}

// Through the C interface: a destination written as 16-bit samples while
// described as an odd-step 8-bit image. (Mirror reads and writes at any
// address: tests/geometry/any_address_test.cpp.)
TEST(Dispatch, MisalignedBorrowedBuffersGiveMinusFiveAndStayUntouched) {
    lum::test::Image src(6, 4, lum_fmt_16u, lum_color);
    src.randomize(3);
    std::vector<uint8_t> host(64 * 6, 0x5A);
    lum_info odd_step{6, 4, 0, 0, 13, lum_fmt_8u, 8, lum_gray, host.data()};  // room for 16-bit rows
    lum::test::Image gray;
    ASSERT_EQ(lum_init_image_ex(gray, &odd_step), 0);
    const std::string printed =
        lum::test::captured_stdout([&] { EXPECT_EQ(lum_color_to_gray(src, gray), -5); });
    EXPECT_EQ(printed, "IPP function failed,return value -16.\n");
    EXPECT_EQ(host, std::vector<uint8_t>(64 * 6, 0x5A));
}

}  // namespace
