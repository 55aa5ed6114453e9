// Projections by handle over sequences of frames, in every direction: which
// samples of the destination receive what, the checks and their order, and
// the mean's accumulator.
#include <algorithm>
#include <vector>

#include "support/support.hpp"

namespace {

using lum::test::Image;

TEST(Projection, RowMaximaFillOneColumnPerFrame) {
    Image dst(10, 50, lum_fmt_8u, lum_gray);
    std::vector<std::vector<uint8_t>> want(10, std::vector<uint8_t>(50));
    for (uint32_t i = 0; i < 10; ++i) {
        Image frame(100, 50, lum_fmt_8u, lum_gray);
        frame.randomize(i);
        for (int y = 0; y < 50; ++y) want[i][y] = *std::max_element(frame.row(y), frame.row(y) + 100);
        ASSERT_EQ(lum_projection_max(frame, dst, i, 10, 1), 0);
    }
    for (int i = 0; i < 10; ++i)
        for (int y = 0; y < 50; ++y) ASSERT_EQ(dst.at<uint8_t>(i, y), want[i][y]) << i << "," << y;
    Image frame(100, 50, lum_fmt_8u, lum_gray);
    EXPECT_EQ(lum_projection_max(frame, dst, 0, 11, 1), -2);
    EXPECT_EQ(lum_projection_max(frame, dst, 0, 0, 1), -7);
    Image tall(100, 51, lum_fmt_8u, lum_gray);
    EXPECT_EQ(lum_projection_min(tall, dst, 0, 10, 1), -2);
    EXPECT_EQ(lum_projection_max(frame, dst, 1000, 10, 1), -2);  // an index past the destination's buffer
}

TEST(Projection, ColumnsCombineWithTheDestinationRow) {
    Image dst(64, 4, lum_fmt_16u, lum_gray), frame(60, 30, lum_fmt_16u, lum_gray);
    frame.randomize(3);
    ASSERT_EQ(lum_projection_min(frame, dst, 2, 4, 2), 0);
    for (int x = 0; x < 64; ++x) EXPECT_EQ(dst.at<uint16_t>(x, 2), 0);  // zero-filled row stays 0
    for (int x = 0; x < 60; ++x) dst.at<uint16_t>(x, 1) = 40000;
    ASSERT_EQ(lum_projection_max(frame, dst, 1, 4, 2), 0);
    for (int x = 0; x < 60; ++x) {
        uint16_t m = 40000;
        for (int y = 0; y < 30; ++y) m = std::max(m, frame.at<uint16_t>(x, y));
        ASSERT_EQ(dst.at<uint16_t>(x, 1), m);
    }
    EXPECT_EQ(dst.at<uint16_t>(60, 1), 0);  // beyond the frame's width: untouched
    EXPECT_EQ(lum_projection_max(frame, dst, 0, 5, 2), -2);
    Image wide(65, 4, lum_fmt_16u, lum_gray);
    EXPECT_EQ(lum_projection_max(wide, dst, 0, 4, 2), -2);
    EXPECT_EQ(lum_projection_max(frame, dst, 9, 4, 2), -2);  // row 9 lies past the buffer
}

TEST(Projection, PixelwiseOverTheSequence) {
    Image a(33, 7, lum_fmt_8u, lum_gray), b(33, 7, lum_fmt_8u, lum_gray), dst(40, 8, lum_fmt_8u, lum_gray);
    a.randomize(1), b.randomize(2);
    ASSERT_EQ(lum_projection_max(a, dst, 0, 2, 0), 0);
    ASSERT_EQ(lum_projection_max(b, dst, 1, 2, 0), 0);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 40; ++x) {
            const uint8_t want = x < 33 && y < 7 ? std::max(a.at<uint8_t>(x, y), b.at<uint8_t>(x, y)) : 0;
            ASSERT_EQ(dst.at<uint8_t>(x, y), want);
        }
    Image small(32, 7, lum_fmt_8u, lum_gray);
    EXPECT_EQ(lum_projection_min(a, small, 0, 1, 0), -2);
    EXPECT_EQ(lum_projection_max(a, dst, 0, 1, 3), -7);
    EXPECT_EQ(lum_projection_max(a, dst, 0, 1, -1), -7);
}

TEST(Projection, ChecksAndSilentFormats) {
    Image g(8, 8, lum_fmt_8u, lum_gray), c(8, 8, lum_fmt_8u, lum_color), w16(8, 8, lum_fmt_16u, lum_gray);
    Image f(8, 8, lum_fmt_32f, lum_gray, 32), fd(8, 8, lum_fmt_32f, lum_gray, 32), blank;
    EXPECT_EQ(lum_projection_max(blank, g, 0, 1, 0), -64);
    EXPECT_EQ(lum_projection_max(c, g, 0, 1, 0), -1);
    EXPECT_EQ(lum_projection_max(g, w16, 0, 1, 0), -4);
    EXPECT_EQ(lum_projection_max(g, blank, 0, 1, 0), -4);  // an empty record has no format to agree with
    EXPECT_EQ(lum_projection_max(g, 999, 0, 1, 0), -6);
    f.randomize(4);
    const auto before = fd.bytes();
    EXPECT_EQ(lum_projection_max(f, fd, 0, 1, 0), 0);
    EXPECT_EQ(lum_projection_min(f, fd, 0, 1, 7), 0);  // not even the direction is looked at
    EXPECT_EQ(fd.bytes(), before);
}

TEST(ProjectionMean, OverTheSequenceRoundsHalvesToEven) {
    int32_t acc = -1;
    ASSERT_EQ(lum_projection_mean_init(5, 2, &acc), 0);
    lum_info info{};
    ASSERT_EQ(lum_get_info(acc, &info), 0);
    EXPECT_EQ(info.pix_type, lum_fmt_32f);
    EXPECT_EQ(info.channels, lum_gray);
    EXPECT_EQ(info.width, 5);
    EXPECT_EQ(info.height, 2);
    Image a(5, 2, lum_fmt_8u, lum_gray), b(5, 2, lum_fmt_8u, lum_gray), dst(5, 2, lum_fmt_8u, lum_gray);
    const uint8_t va[5] = {1, 2, 0, 255, 10}, vb[5] = {2, 3, 1, 254, 10};
    for (int x = 0; x < 5; ++x) a.at<uint8_t>(x, 0) = va[x], b.at<uint8_t>(x, 0) = vb[x];
    for (int round = 0; round < 2; ++round) {  // the second run starts afresh at index 0
        ASSERT_EQ(lum_projection_mean(a, dst, 0, 2, 0, acc), 0);
        EXPECT_EQ(dst.at<uint8_t>(0, 0), 0);  // nothing written before the last frame
        ASSERT_EQ(lum_projection_mean(b, dst, 1, 2, 0, acc), 0);
        const uint8_t want[5] = {2, 2, 0, 254, 10};  // 1.5, 2.5, 0.5, 254.5, 10
        for (int x = 0; x < 5; ++x) EXPECT_EQ(dst.at<uint8_t>(x, 0), want[x]) << x;
        for (int x = 0; x < 5; ++x) dst.at<uint8_t>(x, 0) = 0;
    }
    EXPECT_EQ(lum_projection_mean(a, dst, 0, 0, 0, acc), -7);
    Image big(6, 2, lum_fmt_8u, lum_gray), bigdst(6, 2, lum_fmt_8u, lum_gray);
    EXPECT_EQ(lum_projection_mean(big, bigdst, 0, 2, 0, acc), -2);  // accumulator smaller than the frame
    lum_destroy_image(acc);
}

TEST(ProjectionMean, RowAndColumnMeansAndChecks) {
    int32_t acc = -1;
    ASSERT_EQ(lum_projection_mean_init(1, 1, &acc), 0);
    Image frame(4, 3, lum_fmt_16u, lum_gray), dst(5, 5, lum_fmt_16u, lum_gray);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x) frame.at<uint16_t>(x, y) = uint16_t(1000 * y + x);
    ASSERT_EQ(lum_projection_mean(frame, dst, 2, 5, 1, acc), 0);
    for (int y = 0; y < 3; ++y) EXPECT_EQ(dst.at<uint16_t>(2, y), 1000 * y + 2);  // 1.5 rounds to 2
    ASSERT_EQ(lum_projection_mean(frame, dst, 4, 5, 2, acc), 0);
    for (int x = 0; x < 4; ++x) EXPECT_EQ(dst.at<uint16_t>(x, 4), 1000 + x);
    EXPECT_EQ(dst.at<uint16_t>(4, 4), 0);

    Image blank, c(4, 3, lum_fmt_16u, lum_color), g8(4, 3, lum_fmt_8u, lum_gray);
    EXPECT_EQ(lum_projection_mean(frame, dst, 0, 5, 1, blank), -64);
    EXPECT_EQ(lum_projection_mean(frame, dst, 0, 5, 1, c), -1);
    EXPECT_EQ(lum_projection_mean(frame, g8, 0, 5, 1, acc), -4);
    EXPECT_EQ(lum_projection_mean(frame, dst, 0, 6, 1, acc), -2);
    EXPECT_EQ(lum_projection_mean(frame, dst, 0, 5, 4, acc), -7);
    EXPECT_EQ(lum_projection_mean(frame, dst, 0, 5, 0, g8), -1);  // not a float accumulator
    lum_destroy_image(acc);
}

}  // namespace
