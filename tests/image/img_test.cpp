// The image record: step formula, valid-bits and channel checks, ownership,
// clearing and single-pixel access.
#include <cerrno>
#include <cstdint>
#include <type_traits>

#include "image/image.hpp"
#include "support/support.hpp"

namespace {

// A copy would leave two records owning one buffer; assignment stays member-wise.
static_assert(!std::is_copy_constructible_v<img>);
static_assert(std::is_copy_assignable_v<img>);

TEST(ImgInit, StepRoundsWidthDownThenAddsSixteenPixels) {
    img a;
    EXPECT_EQ(a.init(100, 50, lum_fmt_8u, lum_gray, 8), 0);
    EXPECT_EQ(a.get_StepBytes(), 112u);
    EXPECT_EQ(a.init(32, 10, lum_fmt_16u, lum_color, 12), 0);
    EXPECT_EQ(a.get_StepBytes(), 288u);
    EXPECT_EQ(a.init(0, 10, lum_fmt_32f, lum_gray, 0), 0);
    EXPECT_EQ(a.get_StepBytes(), 64u);
    EXPECT_EQ(a.init(15, 3, lum_fmt_16s, lum_gray, 0), 0);
    EXPECT_EQ(a.get_StepBytes(), 32u);
}

TEST(ImgInit, BufferIsAlignedZeroedAndOwned) {
    img a;
    ASSERT_EQ(a.init(33, 7, lum_fmt_16u, lum_color, 16), 0);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(a.get_frame_buf()) % 64, 0u);
    EXPECT_EQ(a.ownership, 1);
    EXPECT_EQ(a.is_valid(), 0);
    const auto* p = static_cast<const uint8_t*>(a.get_frame_buf());
    // The slack row past the image is zeroed too.
    for (size_t k = 0; k < size_t{a.step_bytes} * (a.height + 1); ++k) ASSERT_EQ(p[k], 0) << k;
}

TEST(ImgInit, RefusesBadSizesAndFormatsWithNoMemory) {
    img a;
    EXPECT_EQ(a.init(10, 0, lum_fmt_8u, lum_gray, 8), -8);
    EXPECT_EQ(a.ownership, 0);
    EXPECT_EQ(a.get_width(), 0);
    EXPECT_EQ(a.init(10, 10, static_cast<lum_data_format>(0), lum_gray, 8), -8);
    EXPECT_EQ(a.init(10, 10, static_cast<lum_data_format>(7), lum_gray, 8), -8);
    EXPECT_EQ(a.init(10, -3, lum_fmt_8u, lum_gray, 8), -8);
    EXPECT_EQ(a.is_valid(), -64);
}

TEST(ImgInit, ValidBitsAreCheckedBeforeChannelsAndLeaveTheImageAlone) {
    img a;
    ASSERT_EQ(a.init(8, 8, lum_fmt_8u, lum_gray, 8), 0);
    void* before = a.get_frame_buf();
    EXPECT_EQ(a.init(8, 8, lum_fmt_16u, lum_gray, 8), -3);
    EXPECT_EQ(a.init(8, 8, lum_fmt_16u, lum_gray, 17), -3);
    EXPECT_EQ(a.init(8, 8, lum_fmt_8u, lum_gray, 9), -3);
    EXPECT_EQ(a.init(8, 8, lum_fmt_16u, static_cast<lum_channels>(2), 4), -3);
    EXPECT_EQ(a.init(8, 8, lum_fmt_8u, static_cast<lum_channels>(2), 8), -65);
    EXPECT_EQ(a.get_frame_buf(), before);
    EXPECT_EQ(a.get_pix_type(), lum_fmt_8u);
    EXPECT_EQ(a.ownership, 1);

    EXPECT_EQ(a.init(8, 8, lum_fmt_8u, lum_gray, 0), 0);
    EXPECT_EQ(a.init(8, 8, lum_fmt_8u, lum_gray, -5), 0);
    EXPECT_EQ(a.init(8, 8, lum_fmt_32f, lum_gray, 99), 0);
    EXPECT_EQ(a.init(8, 8, lum_fmt_16u, lum_gray, 9), 0);
}

TEST(ImgInit, ReinitialisingABorrowedImageLeavesTheCallersBuffer) {
    alignas(64) uint8_t buffer[64 * 4] = {};
    buffer[5] = 77;
    lum_info info{16, 4, 1.5f, 2.5f, 64, lum_fmt_8u, 8, lum_gray, buffer};
    img a;
    EXPECT_EQ(a.init_ext(&info), 0);
    EXPECT_EQ(a.ownership, 2);
    EXPECT_EQ(a.physical_width, 1.5f);
    a.clear_data();  // writes into the caller's buffer as well
    EXPECT_EQ(buffer[5], 0);
    buffer[5] = 78;
    EXPECT_EQ(a.init(4, 4, lum_fmt_8u, lum_gray, 8), 0);
    EXPECT_EQ(a.ownership, 1);
    EXPECT_EQ(a.physical_width, 0.0f);
    EXPECT_EQ(buffer[5], 78);
    EXPECT_EQ(a.init_ext(&info), 0);  // the owned buffer is released (checked by the leak sanitizer)
    EXPECT_EQ(a.get_frame_buf(), buffer);
}

TEST(ImgInit, NullInfoSetsErrnoAndLeavesAnEmptyBorrowingImage) {
    img a;
    ASSERT_EQ(a.init(8, 8, lum_fmt_8u, lum_gray, 8), 0);
    errno = 0;
    EXPECT_EQ(a.init_ext(nullptr), 0);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(a.ownership, 2);
    EXPECT_EQ(a.get_width(), 0);
    EXPECT_EQ(a.get_frame_buf(), nullptr);
    errno = 0;
    a.get_info(nullptr);
    EXPECT_EQ(errno, EINVAL);
}

TEST(ImgPixels, AccessByFormatAndChannels) {
    img a;
    ASSERT_EQ(a.init(5, 5, lum_fmt_16u, lum_color, 12), 0);
    const uint16_t in[3] = {1, 2, 3};
    uint16_t out[3] = {};
    EXPECT_EQ(a.set_px_value(4, 2, in), 0);
    EXPECT_EQ(a.get_px_value(4, 2, out), 0);
    EXPECT_EQ(out[2], 3);
    EXPECT_EQ(static_cast<uint16_t*>(a.get_ptr_at_position({4, 2}))[1], 2);
    EXPECT_EQ(a.get_1px_bytes(), 2);

    img f;
    ASSERT_EQ(f.init(5, 5, lum_fmt_32f, lum_color, 0), 0);
    const float fin[3] = {1.0f, 2.0f, 3.0f};
    EXPECT_EQ(f.set_px_value(1, 1, fin), 0);  // succeeds and copies nothing
    EXPECT_EQ(static_cast<float*>(f.get_ptr_at_position({1, 1}))[0], 0.0f);

    img s;
    ASSERT_EQ(s.init(5, 5, lum_fmt_16s, lum_gray, 0), 0);
    EXPECT_EQ(s.set_px_value(0, 0, in), -1);
    img e;
    EXPECT_EQ(e.get_px_value(0, 0, out), -1);

    lum_info odd{4, 4, 0, 0, 16, lum_fmt_8u, 8, static_cast<lum_channels>(2), a.get_frame_buf()};
    img g;
    g.init_ext(&odd);
    EXPECT_EQ(g.set_px_value(0, 0, in), -65);
}

TEST(ImgPhysicalSize, NegativeRefusedZeroAndNanAccepted) {
    img a;
    EXPECT_EQ(a.set_physical_size(2.0f, 3.0f), 0);
    EXPECT_EQ(a.set_physical_size(-0.5f, 1.0f), -7);
    EXPECT_EQ(a.physical_width, 2.0f);
    EXPECT_EQ(a.set_physical_size(0.0f, 0.0f), 0);
    EXPECT_EQ(a.set_physical_size(std::numeric_limits<float>::quiet_NaN(), 1.0f), 0);
}

TEST(AlignedAlloc, AlignsAndRefusesNonPositiveAndOverflowingSizes) {
    for (int64_t n : {1, 63, 64, 1000}) {
        void* p = lum::aligned_alloc64(n);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
        lum::aligned_free64(p);
    }
    EXPECT_EQ(lum::aligned_alloc64(int64_t{0}), nullptr);
    EXPECT_EQ(lum::aligned_alloc64(int64_t{-1}), nullptr);
    EXPECT_EQ(lum::aligned_alloc64(std::numeric_limits<int64_t>::max() - 10), nullptr);
    EXPECT_EQ(lum::aligned_alloc64(int32_t{0}), nullptr);
    EXPECT_EQ(lum::aligned_alloc64(std::numeric_limits<int32_t>::max() - 10), nullptr);
    void* q = lum::aligned_alloc64(int32_t{100});
    ASSERT_NE(q, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(q) % 64, 0u);
    lum::aligned_free64(q);
    lum::aligned_free64(nullptr);
}

}  // namespace
