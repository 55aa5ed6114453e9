// Flip kernel: every processor variant against a plain reference for the
// three axes, one and three channels, on regions at odd addresses with odd
// steps; rows wider than the kernel's chunks, and the bytes around the region
// left alone.
#include "primitives/mirror.hpp"
#include "support/regions.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::Region;

template <class T>
void check(int channels) {
    std::vector<int> widths(std::begin(lum::test::kTestWidths), std::end(lum::test::kTestWidths));
    widths.push_back(9001);  // past two chunks of every layout
    lum::test::for_each_variant([&](int) {
        for (int w : widths)
            for (int h : {1, 4, 5})
                for (int axis : {0, 1, 2}) {
                    Region<T> got(w * channels, h, uint32_t(w + h)), want = got;
                    const Region<T> before = got;
                    ASSERT_EQ(lum::prim::mirror<T>(got.data(), got.step, Size{w, h}, channels, axis), 0);
                    for (int y = 0; y < h; ++y)
                        for (int x = 0; x < w; ++x) {
                            const int sy = axis == 1 ? y : h - 1 - y, sx = axis == 0 ? x : w - 1 - x;
                            for (int c = 0; c < channels; ++c)
                                want.set(x * channels + c, y, before.get(sx * channels + c, sy));
                        }
                    ASSERT_EQ(got.bytes, want.bytes) << "w " << w << " h " << h << " axis " << axis;
                }
    });
}

TEST(MirrorKernel, EveryLayoutAndAxisMatchesTheReference) {
    for (int channels : {1, 3}) {
        SCOPED_TRACE(channels);
        check<uint8_t>(channels);
        check<uint16_t>(channels);
        check<float>(channels);
    }
}

TEST(MirrorKernel, Statuses) {
    uint16_t px[3] = {};
    EXPECT_EQ(lum::prim::mirror<uint16_t>(nullptr, 6, Size{1, 1}, 1, 0), -8);
    EXPECT_EQ(lum::prim::mirror<uint16_t>(px, 6, Size{0, 1}, 1, 9), -6);
    EXPECT_EQ(lum::prim::mirror<uint16_t>(px, 6, Size{1, 1}, 1, 3), -13);
    EXPECT_EQ(lum::prim::mirror<uint16_t>(px, 6, Size{1, 1}, 1, -1), -13);
    EXPECT_EQ(lum::prim::mirror<uint16_t>(px, 6, Size{1, 1}, 2, 0), -13);
}

}  // namespace
