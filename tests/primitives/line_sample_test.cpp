// Digital line sampling: on an image whose samples encode their position (at
// an odd address with an odd step), the visited pixels form a connected
// 8-neighbour path from end to end with one pixel per step of the major axis,
// in every octant and under every variant.
#include <random>
#include <vector>

#include "primitives/line_sample.hpp"
#include "support/support.hpp"

namespace {

TEST(LineSampleKernels, ConnectedPathBetweenTheEnds) {
    const int w = 40, h = 30, step = w * 2 + 7;
    std::vector<uint8_t> buf(size_t(step) * h + 1);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const uint16_t v = static_cast<uint16_t>(y * 256 + x);
            std::memcpy(&buf[1 + size_t(y) * step + 2 * x], &v, 2);
        }
    const auto* image = reinterpret_cast<const uint16_t*>(buf.data() + 1);
    std::mt19937 rng(3);
    lum::test::for_each_variant([&](int) {
        for (int n = 0; n < 300; ++n) {
            const int x1 = int(rng() % w), y1 = int(rng() % h), x2 = int(rng() % w), y2 = int(rng() % h);
            const int dx = std::abs(x2 - x1), dy = std::abs(y2 - y1), count = std::max(dx, dy) + 1;
            std::vector<uint16_t> out(count + 1, 0xFFFF);
            ASSERT_EQ(lum::prim::sample_line<uint16_t>(image, step, {w, h}, x1, y1, x2, y2, out.data(), count), 0);
            ASSERT_EQ(out[count], 0xFFFF);
            ASSERT_EQ(out[0], y1 * 256 + x1);
            ASSERT_EQ(out[count - 1], y2 * 256 + x2);
            for (int i = 1; i < count; ++i) {
                const int px = out[i - 1] & 255, py = out[i - 1] >> 8, qx = out[i] & 255, qy = out[i] >> 8;
                ASSERT_LE(std::abs(qx - px), 1);
                ASSERT_LE(std::abs(qy - py), 1);
                ASSERT_EQ(dx >= dy ? std::abs(qx - px) : std::abs(qy - py), 1);
            }
        }
    });
}

TEST(LineSampleKernels, RefusesPointsOutsideAndShortCapacity) {
    using lum::prim::st_bad_arg;
    using lum::prim::st_capacity;
    uint8_t image[16 * 4] = {}, out[32];
    EXPECT_EQ(lum::prim::sample_line<uint8_t>(image, 16, {16, 4}, -1, 0, 3, 3, out, 32), st_bad_arg);
    EXPECT_EQ(lum::prim::sample_line<uint8_t>(image, 16, {16, 4}, 0, 0, 16, 3, out, 32), st_bad_arg);
    EXPECT_EQ(lum::prim::sample_line<uint8_t>(image, 16, {16, 4}, 0, 0, 9, 3, out, 9), st_capacity);
    EXPECT_EQ(lum::prim::sample_line<uint8_t>(image, 16, {0, 4}, 0, 0, 9, 3, out, 10), -6);
    EXPECT_EQ(lum::prim::sample_line<uint8_t>(image, 16, {16, 4}, 0, 0, 9, 3, out, 10), 0);
    EXPECT_EQ(lum::prim::sample_line<uint8_t>(nullptr, 16, {16, 4}, 0, 0, 9, 3, out, 10), -8);
}

}  // namespace
