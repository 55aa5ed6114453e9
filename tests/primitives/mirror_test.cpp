// Flip kernels: every processor variant against a plain reference for the
// three axes, odd sizes and steps; bytes outside the region stay as they were.
#include "primitives/geometry_support.hpp"
#include "primitives/mirror.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::Plane;

template <class T, int CH, class Kernel>
void check(Kernel& kernel) {
    const int widths[] = {1, 15, 17, 63, 65, 1000};
    lum::test::for_each_variant([&](int) {
        for (int w : widths)
            for (int h : {1, 4, 5})
                for (int axis : {0, 1, 2}) {
                    const int step = (w * CH + 3) * int(sizeof(T));
                    Plane got(step, h, w + h), want = got;
                    ASSERT_EQ(kernel(got.row<T>(0), step, Size{w, h}, axis), 0);
                    Plane orig = want;
                    for (int y = 0; y < h; ++y)
                        for (int x = 0; x < w; ++x) {
                            const int sy = axis == 1 ? y : h - 1 - y, sx = axis == 0 ? x : w - 1 - x;
                            for (int c = 0; c < CH; ++c) want.row<T>(y)[x * CH + c] = orig.row<T>(sy)[sx * CH + c];
                        }
                    ASSERT_EQ(got.bytes, want.bytes) << "w " << w << " h " << h << " axis " << axis;
                }
    });
    T px[3] = {};
    EXPECT_LT(kernel(px, 16, Size{1, 1}, 3), 0);
    EXPECT_LT(kernel(px, 16, Size{1, 1}, -1), 0);
    EXPECT_EQ(kernel(px, 16, Size{0, 1}, 0), -6);
    EXPECT_EQ(kernel(nullptr, 16, Size{1, 1}, 0), -8);
}

TEST(MirrorKernels, EveryLayoutAndAxisMatchesTheReference) {
    check<uint8_t, 1>(lum::prim::mirror_8u_c1ir);
    check<uint8_t, 3>(lum::prim::mirror_8u_c3ir);
    check<uint16_t, 1>(lum::prim::mirror_16u_c1ir);
    check<uint16_t, 3>(lum::prim::mirror_16u_c3ir);
    check<float, 1>(lum::prim::mirror_32f_c1ir);
    check<float, 3>(lum::prim::mirror_32f_c3ir);
}

}  // namespace
