// Handles: reuse of the smallest free slot, the handle check and its order,
// the C functions of image life and access, and concurrent create/destroy.
#include <algorithm>
#include <atomic>
#include <set>
#include <stdexcept>
#include <thread>

#include "image/call_frame.hpp"
#include "support/support.hpp"

namespace {

using lum::test::Image;

TEST(Registry, SmallestFreeHandleIsReusedFirst) {
    const int32_t a = lum_create_image();
    const int32_t b = lum_create_image();
    const int32_t c = lum_create_image();
    EXPECT_EQ(b, a + 1);
    EXPECT_EQ(c, b + 1);
    EXPECT_EQ(lum_destroy_image(c), 0);
    EXPECT_EQ(lum_destroy_image(a), 0);
    EXPECT_EQ(lum_create_image(), a);
    EXPECT_EQ(lum_create_image(), c);
    EXPECT_EQ(lum_destroy_image(a), 0);
    EXPECT_EQ(lum_destroy_image(b), 0);
    EXPECT_EQ(lum_destroy_image(c), 0);
}

TEST(Registry, DestroyChecksTheHandle) {
    const int32_t n = lum::registry::slot_count();
    EXPECT_EQ(lum_destroy_image(n + 5), -6);
    EXPECT_EQ(lum_destroy_image(-1), -6);
    const int32_t h = lum_create_image();
    EXPECT_EQ(lum_destroy_image(h), 0);
    EXPECT_EQ(lum_destroy_image(h), -64);
}

TEST(Registry, HandleCheckRunsInArgumentOrderAndStopsAtTheFirstFailure) {
    Image a(4, 4, lum_fmt_8u, lum_gray);
    const int32_t empty = lum_create_image();
    lum_destroy_image(empty);
    const int32_t beyond = lum::registry::slot_count() + 3;
    int calls = 0;
    auto body = [&](img*, img*) {
        ++calls;
        return lum::ok;
    };
    EXPECT_EQ(lum::with_images({beyond, a.h()}, body), -6);
    EXPECT_EQ(lum::with_images({a.h(), beyond}, body), -6);
    EXPECT_EQ(lum::with_images({empty, beyond}, body), -64);
    EXPECT_EQ(lum::with_images({a.h(), empty}, body), -64);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(lum::with_images({a.h(), a.h()}, body), 0);
    EXPECT_EQ(calls, 1);
}

TEST(Registry, GetBufDistinguishesNegativeHandles) {
    Image uninit;
    Image ready(3, 3, lum_fmt_8u, lum_gray);
    EXPECT_EQ(lum_get_buf(lum::registry::slot_count()), nullptr);
    EXPECT_EQ(lum_get_buf(uninit), nullptr);
    EXPECT_NE(lum_get_buf(ready), nullptr);
    const int32_t empty = lum_create_image();
    lum_destroy_image(empty);
    EXPECT_EQ(lum_get_buf(empty), nullptr);
    try {
        lum_get_buf(-1);
        FAIL() << "a negative handle reaches the checked lookup";
    } catch (const std::out_of_range& e) {
        EXPECT_STREQ(e.what(), "invalid vector subscript");
    }
}

TEST(Registry, PixelAccessAdmitsOnePastTheLastColumnAndRow) {
    Image im(10, 10, lum_fmt_8u, lum_gray);
    const uint8_t v = 9;
    uint8_t out = 0;
    EXPECT_EQ(lum_set_one_pixel(im, {10, 10}, &v), 0);  // lands in the slack row we own
    EXPECT_EQ(lum_get_one_pixel(im, {10, 10}, &out), 0);
    EXPECT_EQ(out, 9);
    EXPECT_EQ(lum_get_one_pixel(im, {11, 0}, &out), -7);
    EXPECT_EQ(lum_get_one_pixel(im, {-1, 0}, &out), -7);
    EXPECT_EQ(lum_set_one_pixel(im, {0, 11}, &v), -7);
    EXPECT_EQ(lum_set_one_pixel(im, {0, -1}, &v), -7);
    EXPECT_EQ(lum_set_one_pixel(im, {9, 4}, &v), 0);
    EXPECT_EQ(im.at<uint8_t>(9, 4), 9);
    Image uninit;
    EXPECT_EQ(lum_get_one_pixel(uninit, {0, 0}, &out), -1);
}

TEST(Registry, InfoDataBytesPhysicalSizeAndClear) {
    Image im(7, 3, lum_fmt_16u, lum_color, 12);
    EXPECT_EQ(lum_get_data_byte(im), 2);
    Image uninit;
    EXPECT_EQ(lum_get_data_byte(uninit), 0);
    EXPECT_EQ(lum_get_data_byte(-3), -6);
    EXPECT_EQ(lum_set_physical_size(im, 0.0f, -1.0f), -7);
    EXPECT_EQ(lum_set_physical_size(im, 4.0f, 2.0f), 0);
    const lum_info info = im.info();
    EXPECT_EQ(info.physical_width, 4.0f);
    EXPECT_EQ(info.valid_bits, 12u);
    EXPECT_EQ(info.step_bytes, 2u * 16u * 3u);
    im.randomize(1);
    EXPECT_EQ(lum_clear(im), 0);
    const auto bytes = im.bytes();
    EXPECT_TRUE(std::all_of(bytes.begin(), bytes.end(), [](uint8_t b) { return b == 0; }));
    EXPECT_EQ(lum_clear(uninit), 0);
}

TEST(Registry, BorrowedBufferThroughTheCInterface) {
    std::vector<uint16_t> buffer(20 * 4, 0);
    lum_info info{10, 4, 0, 0, 40, lum_fmt_16u, 16, lum_gray, buffer.data()};
    Image im;
    EXPECT_EQ(lum_init_image_ex(im, &info), 0);
    EXPECT_EQ(lum_get_buf(im), buffer.data());
    const uint16_t v = 513;
    EXPECT_EQ(lum_set_one_pixel(im, {3, 2}, &v), 0);
    EXPECT_EQ(buffer[2 * 20 + 3], 513);
}

TEST(Registry, PixelAccessStaysInsideACallersBuffer) {
    // Exactly rows x step bytes: the admitted position (width, height) is past the end.
    std::vector<uint8_t> exact(3 * 11 * 4);
    lum_info info{10, 4, 0, 0, 30, lum_fmt_8u, 8, lum_color, exact.data()};
    Image im;
    ASSERT_EQ(lum_init_image_ex(im, &info), 0);
    const uint8_t v[3] = {1, 2, 3};
    uint8_t out[3] = {};
    EXPECT_EQ(lum_set_one_pixel(im, {10, 4}, v), -2);
    EXPECT_EQ(lum_get_one_pixel(im, {0, 4}, out), -2);
    EXPECT_EQ(lum_set_one_pixel(im, {11, 3}, v), -7);  // the position check comes first
    EXPECT_TRUE(std::all_of(exact.begin(), exact.end(), [](uint8_t b) { return b == 0; }));
    EXPECT_EQ(lum_set_one_pixel(im, {11, 2}, v), -7);
    EXPECT_EQ(lum_set_one_pixel(im, {10, 3}, v), -2);  // no padding after the last row
    // A step that holds 11 pixels: column 10 of the last row is still inside.
    info.step_bytes = 33;
    ASSERT_EQ(lum_init_image_ex(im, &info), 0);
    EXPECT_EQ(lum_set_one_pixel(im, {10, 3}, v), 0);
    EXPECT_EQ(exact[3 * 33 + 30], 1);
    // A zero step keeps every pixel outside the (empty) buffer.
    info.step_bytes = 0;
    ASSERT_EQ(lum_init_image_ex(im, &info), 0);
    EXPECT_EQ(lum_get_one_pixel(im, {0, 0}, out), -2);
    // Layouts that copy nothing or are refused keep their own answer.
    lum_info floats{2, 2, 0, 0, 0, lum_fmt_32f, 0, lum_color, exact.data()};
    ASSERT_EQ(lum_init_image_ex(im, &floats), 0);
    EXPECT_EQ(lum_get_one_pixel(im, {1, 1}, out), 0);
    floats.pix_type = lum_fmt_16s;
    ASSERT_EQ(lum_init_image_ex(im, &floats), 0);
    EXPECT_EQ(lum_get_one_pixel(im, {1, 1}, out), -1);
}

TEST(CallFrame, StatusMappingPrintsEveryNonZeroStatus) {
    EXPECT_EQ(lum::test::captured_stdout([] { EXPECT_EQ(lum::map_status(0), 0); }), "");
    EXPECT_EQ(lum::test::captured_stdout([] { EXPECT_EQ(lum::map_status(-6), -5); }),
              "IPP function failed,return value -6.\n");
    EXPECT_EQ(lum::test::captured_stdout([] { EXPECT_EQ(lum::map_status(6), 0); }),
              "IPP function failed,return value 6.\n");
}

TEST(CallFrame, RectangleChecks) {
    img im;
    ASSERT_EQ(im.init(10, 8, lum_fmt_8u, lum_gray, 8), 0);
    const lum_rect inside{2, 3, 8, 5}, neg{-1, 0, 2, 2}, flat{0, 0, 0, 2}, wide{3, 0, 8, 2}, tall{0, 4, 2, 5};
    EXPECT_EQ(lum::check_rect(im, &inside), 0);
    EXPECT_EQ(lum::check_rect(im, &neg), -7);
    EXPECT_EQ(lum::check_rect(im, &flat), -7);
    EXPECT_EQ(lum::check_rect(im, &wide), -2);
    EXPECT_EQ(lum::check_rect(im, &tall), -2);
    EXPECT_EQ(lum::check_rect(im, nullptr), -7);
    img other;
    EXPECT_EQ(lum::require_initialised(&im, &other), -64);
    EXPECT_EQ(lum::require_initialised(&im, static_cast<img*>(nullptr)), -64);
    ASSERT_EQ(other.init(10, 8, lum_fmt_8u, lum_color, 8), 0);
    EXPECT_EQ(lum::require_same_layout(im, other), -4);
}

TEST(RegistryStress, ConcurrentCreateAndDestroyNeverShareAHandle) {
    constexpr int kThreads = 4, kRounds = 400;
    std::atomic<int> live_owner[4096] = {};
    std::atomic<bool> clash{false};
    auto worker = [&](int id) {
        std::vector<int32_t> mine;
        for (int r = 0; r < kRounds; ++r) {
            const int32_t h = lum_create_image();
            if (h < 0 || h >= 4096) {
                clash = true;
                return;
            }
            int expected = 0;
            if (!live_owner[h].compare_exchange_strong(expected, id + 1)) clash = true;
            if (lum_init_image(h, 8 + r % 5, 4, lum_fmt_8u, lum_gray, 8) != 0) clash = true;
            const uint8_t v = static_cast<uint8_t>(id);
            lum_set_one_pixel(h, {1, 1}, &v);
            mine.push_back(h);
            if (r % 3 == 2) {
                for (int32_t m : mine) {
                    uint8_t out = 0xFF;
                    lum_get_one_pixel(m, {1, 1}, &out);
                    if (out != id) clash = true;
                    live_owner[m].store(0);
                    if (lum_destroy_image(m) != 0) clash = true;
                }
                mine.clear();
            }
        }
        for (int32_t m : mine) {
            live_owner[m].store(0);
            lum_destroy_image(m);
        }
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) threads.emplace_back(worker, t);
    for (auto& t : threads) t.join();
    EXPECT_FALSE(clash.load());
}

}  // namespace
