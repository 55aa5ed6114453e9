// Warp kernels: every processor variant against a per-pixel reference that
// checks every neighbour against the source's bounds (the kernels find the
// inside span per row instead), for all four layouts, nearest and linear.
#include <cmath>

#include "primitives/geometry_support.hpp"
#include "primitives/warp.hpp"
#include "support/support.hpp"

namespace {

using lum::test::Plane;
namespace prim = lum::prim;

template <class T>
T store(float v) {
    if constexpr (sizeof(T) == 4) {
        return v;
    } else {
        const float top = sizeof(T) == 1 ? 255.0f : 65535.0f;
        const float r = std::nearbyint(v);
        return static_cast<T>(r < 0.0f ? 0.0f : r > top ? top : r);
    }
}

template <class T, int CH>
void reference(int kind, const double* m, Plane& src, int sw, int sh, Plane& dst, int dw, int dh) {
    const double det = m[0] * m[4] - m[1] * m[3];
    const double inv[6] = {m[4] / det,  -m[1] / det, (m[1] * m[5] - m[2] * m[4]) / det,
                           -m[3] / det, m[0] / det,  (m[2] * m[3] - m[0] * m[5]) / det};
    auto sample = [&](int x, int y, int c) -> float {
        return x >= 0 && x < sw && y >= 0 && y < sh ? float(src.row<T>(y)[x * CH + c]) : 0.0f;
    };
    for (int y = 0; y < dh; ++y)
        for (int x = 0; x < dw; ++x) {
            const double half = kind == 1 ? 0.5 : 0.0;
            const double u = (inv[1] * y + inv[2] + half) + inv[0] * double(x);
            const double v = (inv[4] * y + inv[5] + half) + inv[3] * double(x);
            const double fu = std::floor(u), fv = std::floor(v);
            for (int c = 0; c < CH; ++c) {
                T& out = dst.row<T>(y)[x * CH + c];
                if (kind == 1) {
                    out = store<T>(sample(int(std::max(-2.0, std::min(fu, 1e9))), int(std::max(-2.0, std::min(fv, 1e9))), c));
                    continue;
                }
                if (fu < -1 || fu > sw - 1 || fv < -1 || fv > sh - 1) {
                    out = T(0);
                    continue;
                }
                const int ix = int(fu), iy = int(fv);
                const float fx = float(u - ix), fy = float(v - iy);
                const float top = (1.0f - fx) * sample(ix, iy, c) + fx * sample(ix + 1, iy, c);
                const float bottom = (1.0f - fx) * sample(ix, iy + 1, c) + fx * sample(ix + 1, iy + 1, c);
                out = store<T>((1.0f - fy) * top + fy * bottom);
            }
        }
}

template <class T, int CH, class Kernel>
void check(int data_type, int kind, Kernel& kernel) {
    struct Case { double angle, xs, ys; int sw, sh, dw, dh; };
    const Case cases[] = {{30, 20, -5, 65, 17, 63, 40},     {90, 0, 14, 15, 9, 17, 21},   {-45.5, 3, 30, 17, 33, 65, 41},
                          {200, 70, 40, 63, 31, 1000, 5},   {1e-7, 0.25, 0.5, 33, 7, 15, 9}, {0, 0, 0, 1, 1, 3, 2},
                          {270, -0.5, 64.5, 65, 15, 16, 66}};
    lum::test::for_each_variant([&](int) {
        for (const Case& k : cases) {
            double m[6];
            ASSERT_EQ(prim::rotate_transform(k.angle, k.xs, k.ys, m), 0);
            const prim::Size s{k.sw, k.sh}, d{k.dw, k.dh};
            int spec_bytes = 0, init_bytes = 0, work_bytes = 0;
            ASSERT_EQ(prim::warp_affine_get_size(s, d, data_type, m, kind, 0, 0, &spec_bytes, &init_bytes), 0);
            std::vector<uint8_t> spec(spec_bytes);
            const double zero[3] = {};
            auto& setup = kind == 1 ? prim::warp_affine_nearest_init : prim::warp_affine_linear_init;
            ASSERT_EQ(setup(s, d, data_type, m, 0, CH, 0, zero, 0, spec.data()), 0);
            ASSERT_EQ(prim::warp_get_buffer_size(spec.data(), d, &work_bytes), 0);
            std::vector<uint8_t> work(work_bytes);
            const int ss = (k.sw * CH + 3) * int(sizeof(T)), ds = (k.dw * CH + 1) * int(sizeof(T));
            Plane src(ss, k.sh, k.sw, lum::test::is_float<T>), got(ds, k.dh, 9), want = got;
            ASSERT_EQ(kernel(src.row<T>(0), ss, got.row<T>(0), ds, {0, 0}, d, spec.data(), work.data()), 0);
            reference<T, CH>(kind, m, src, k.sw, k.sh, want, k.dw, k.dh);
            ASSERT_EQ(got.bytes, want.bytes) << "angle " << k.angle << " kind " << kind;
        }
    });
}

TEST(WarpKernels, EveryLayoutMatchesTheReference) {
    check<uint8_t, 1>(prim::data_8u, 1, prim::warp_affine_nearest_8u_c1);
    check<uint8_t, 1>(prim::data_8u, 2, prim::warp_affine_linear_8u_c1);
    check<uint8_t, 3>(prim::data_8u, 1, prim::warp_affine_nearest_8u_c3);
    check<uint8_t, 3>(prim::data_8u, 2, prim::warp_affine_linear_8u_c3);
    check<uint16_t, 1>(prim::data_16u, 1, prim::warp_affine_nearest_16u_c1);
    check<uint16_t, 1>(prim::data_16u, 2, prim::warp_affine_linear_16u_c1);
    check<float, 1>(prim::data_32f, 1, prim::warp_affine_nearest_32f_c1);
    check<float, 1>(prim::data_32f, 2, prim::warp_affine_linear_32f_c1);
}

TEST(WarpKernels, RotationMatrixIsExactAtRightAnglesAndRefusesNonFinite) {
    double m[6];
    ASSERT_EQ(prim::rotate_transform(-270.0, 1, 2, m), 0);   // reduces to 90
    EXPECT_EQ(m[0], 0.0);
    EXPECT_EQ(m[1], 1.0);
    EXPECT_EQ(m[3], -1.0);
    EXPECT_EQ(m[2], 1.0);
    EXPECT_EQ(m[5], 2.0);
    ASSERT_EQ(prim::rotate_transform(540.0, 0, 0, m), 0);
    EXPECT_EQ(m[0], -1.0);
    EXPECT_EQ(m[1], 0.0);
    ASSERT_EQ(prim::rotate_transform(30.0, 0, 0, m), 0);
    EXPECT_DOUBLE_EQ(m[1], 0.5);
    EXPECT_LT(prim::rotate_transform(INFINITY, 0, 0, m), 0);
    EXPECT_LT(prim::rotate_transform(NAN, 0, 0, m), 0);
    int a, b;
    const double singular[6] = {1, 2, 0, 2, 4, 0};
    EXPECT_LT(prim::warp_affine_get_size({4, 4}, {4, 4}, prim::data_8u, singular, 1, 0, 0, &a, &b), 0);
    EXPECT_LT(prim::warp_affine_get_size({4, 4}, {4, 4}, prim::data_8u, m, 3, 0, 0, &a, &b), 0);
}

}  // namespace
