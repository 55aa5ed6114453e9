// Warp kernel: every processor variant against a per-pixel reference that
// checks every neighbour against the source's bounds (the kernels find the
// inside span per row instead), for every layout, nearest and linear, on
// regions at odd addresses with odd steps. Linear on 16-bit samples is held
// to the rounded blend computed in long double.
#include <cmath>

#include "primitives/warp.hpp"
#include "support/regions.hpp"
#include "support/support.hpp"

namespace {

using lum::test::Region;
namespace prim = lum::prim;

template <class T, class R>
T store(R v) {
    if constexpr (std::is_floating_point_v<T>) {
        return T(v);
    } else {
        const R top = sizeof(T) == 1 ? 255 : 65535, r = std::nearbyint(v);
        return static_cast<T>(r < 0 ? 0 : r > top ? top : r);
    }
}

// The blend precision: float, or long double for 16-bit samples (which the
// kernel blends in double; blends within 1e-7 of a half keep the kernel's value).
template <class T>
using blend_t = std::conditional_t<std::is_same_v<T, uint16_t>, long double, float>;

template <class T>
void reference(int kind, const double* m, const Region<T>& src, int sw, int sh, const Region<T>& got, Region<T>& dst,
               int dw, int dh, int ch) {
    using F = blend_t<T>;
    const double det = m[0] * m[4] - m[1] * m[3];
    const double inv[6] = {m[4] / det,  -m[1] / det, (m[1] * m[5] - m[2] * m[4]) / det,
                           -m[3] / det, m[0] / det,  (m[2] * m[3] - m[0] * m[5]) / det};
    auto sample = [&](int x, int y, int c) -> F {
        return x >= 0 && x < sw && y >= 0 && y < sh ? F(src.get(x * ch + c, y)) : F(0);
    };
    for (int y = 0; y < dh; ++y)
        for (int x = 0; x < dw; ++x) {
            const double half = kind == 1 ? 0.5 : 0.0;
            const double u = (inv[1] * y + inv[2] + half) + inv[0] * double(x);
            const double v = (inv[4] * y + inv[5] + half) + inv[3] * double(x);
            const double fu = std::floor(u), fv = std::floor(v);
            for (int c = 0; c < ch; ++c) {
                T out;
                if (kind == 1) {
                    const int ix = int(std::max(-2.0, std::min(fu, 1e9))), iy = int(std::max(-2.0, std::min(fv, 1e9)));
                    out = ix >= 0 && ix < sw && iy >= 0 && iy < sh ? src.get(ix * ch + c, iy) : T(0);
                } else if (fu < -1 || fu > sw - 1 || fv < -1 || fv > sh - 1) {
                    out = T(0);
                } else {
                    const int ix = int(fu), iy = int(fv);
                    const F fx = F(u - ix), fy = F(v - iy);
                    const F top = (1 - fx) * sample(ix, iy, c) + fx * sample(ix + 1, iy, c);
                    const F bottom = (1 - fx) * sample(ix, iy + 1, c) + fx * sample(ix + 1, iy + 1, c);
                    const F blend = (1 - fy) * top + fy * bottom;
                    const bool near_half = std::is_same_v<T, uint16_t> && std::fabs(blend - std::floor(blend) - F(0.5)) < F(1e-7);
                    out = near_half ? got.get(x * ch + c, y) : store<T>(blend);
                }
                dst.set(x * ch + c, y, out);
            }
        }
}

template <class T, class Filter>
void check(int data_type, int ch) {
    const int kind = std::is_same_v<Filter, prim::filter::nearest> ? 1 : 2;
    struct Case { double angle, xs, ys; int sw, sh, dw, dh; };
    const Case cases[] = {{30, 20, -5, 65, 17, 63, 40},     {90, 0, 14, 15, 9, 17, 21},   {-45.5, 3, 30, 17, 33, 65, 41},
                          {200, 70, 40, 63, 31, 1000, 5},   {1e-7, 0.25, 0.5, 33, 7, 15, 9}, {0, 0, 0, 1, 1, 3, 2},
                          {270, -0.5, 64.5, 65, 15, 16, 66}, {0, 0.5, 0.25, 40, 20, 40, 20}, {13, 2.5, 1.5, 129, 40, 127, 45}};
    SCOPED_TRACE(::testing::Message() << "kind " << kind << " channels " << ch);
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
            ASSERT_EQ(setup(s, d, data_type, m, 0, ch, 0, zero, 0, spec.data()), 0);
            ASSERT_EQ(prim::warp_get_buffer_size(spec.data(), d, &work_bytes), 0);
            std::vector<uint8_t> work(work_bytes);
            Region<T> src(k.sw * ch, k.sh, 0);
            lum::test::fill_samples(src, uint32_t(k.sw));
            Region<T> got(k.dw * ch, k.dh, 9), want = got;
            ASSERT_EQ((prim::warp_affine<T, Filter>(src.data(), src.step, got.data(), got.step, {0, 0}, d, ch,
                                                    spec.data(), work.data())),
                      0);
            reference<T>(kind, m, src, k.sw, k.sh, got, want, k.dw, k.dh, ch);
            ASSERT_EQ(got.bytes, want.bytes) << "angle " << k.angle;
            // A band of rows gets the rows of the whole warp.
            if (k.dh > 3) {
                Region<T> band(k.dw * ch, 2, 4);
                const int top = k.dh / 2;
                ASSERT_EQ((prim::warp_affine<T, Filter>(src.data(), src.step, band.data(), band.step, {0, top},
                                                        {k.dw, 2}, ch, spec.data(), work.data())),
                          0);
                for (int r = 0; r < 2; ++r)
                    for (int i = 0; i < k.dw * ch; ++i) ASSERT_EQ(band.get(i, r), got.get(i, top + r)) << "band row " << r;
            }
        }
    });
}

TEST(WarpKernel, EveryLayoutMatchesTheReference) {
    using prim::filter::linear;
    using prim::filter::nearest;
    check<uint8_t, nearest>(prim::data_8u, 1);
    check<uint8_t, linear>(prim::data_8u, 1);
    check<uint8_t, nearest>(prim::data_8u, 3);
    check<uint8_t, linear>(prim::data_8u, 3);
    check<uint16_t, nearest>(prim::data_16u, 1);
    check<uint16_t, linear>(prim::data_16u, 1);
    check<float, nearest>(prim::data_32f, 1);
    check<float, linear>(prim::data_32f, 1);
}

TEST(WarpKernel, RotationMatrixIsExactAtRightAnglesAndRefusesNonFinite) {
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
    EXPECT_EQ(prim::rotate_transform(INFINITY, 0, 0, m), prim::st_bad_arg);
    EXPECT_EQ(prim::rotate_transform(NAN, 0, 0, m), prim::st_bad_arg);
    EXPECT_EQ(prim::rotate_transform(0, 0, 0, nullptr), prim::st_null);
}

TEST(WarpKernel, SetUpAndKernelStatuses) {
    double m[6];
    ASSERT_EQ(prim::rotate_transform(30.0, 0, 0, m), 0);
    int a = 0, b = 0;
    const double singular[6] = {1, 2, 0, 2, 4, 0}, zero[3] = {};
    EXPECT_EQ(prim::warp_affine_get_size({4, 4}, {4, 4}, prim::data_8u, singular, 1, 0, 0, &a, &b), prim::st_bad_arg);
    EXPECT_EQ(prim::warp_affine_get_size({4, 4}, {4, 4}, prim::data_8u, m, 3, 0, 0, &a, &b), prim::st_bad_arg);
    EXPECT_EQ(prim::warp_affine_get_size({4, 4}, {4, 4}, 3, m, 1, 0, 0, &a, &b), prim::st_bad_arg);
    EXPECT_EQ(prim::warp_affine_get_size({0, 4}, {4, 4}, prim::data_8u, m, 1, 0, 0, &a, &b), prim::st_size);
    EXPECT_EQ(prim::warp_affine_get_size({4, 4}, {4, 4}, prim::data_8u, nullptr, 1, 0, 0, &a, &b), prim::st_null);
    ASSERT_EQ(prim::warp_affine_get_size({4, 4}, {4, 4}, prim::data_16u, m, 2, 0, 0, &a, &b), 0);
    std::vector<uint8_t> spec(a);
    EXPECT_EQ(prim::warp_affine_linear_init({4, 4}, {4, 4}, prim::data_16u, m, 0, 3, 0, zero, 0, spec.data()),
              prim::st_bad_arg);
    EXPECT_EQ(prim::warp_affine_linear_init({4, 4}, {4, 4}, prim::data_16u, m, 0, 1, 0, nullptr, 0, spec.data()),
              prim::st_null);
    ASSERT_EQ(prim::warp_affine_linear_init({4, 4}, {4, 4}, prim::data_16u, m, 0, 1, 0, zero, 0, spec.data()), 0);
    int work_bytes = 0;
    ASSERT_EQ(prim::warp_get_buffer_size(spec.data(), {4, 4}, &work_bytes), 0);
    std::vector<uint8_t> work(work_bytes);
    uint16_t src[16] = {}, dst[16] = {};
    auto linear = prim::warp_affine<uint16_t, prim::filter::linear>;
    EXPECT_EQ(linear(src, 8, dst, 8, {0, 0}, {4, 4}, 1, spec.data(), work.data()), 0);
    EXPECT_EQ(linear(src, 8, dst, 8, {0, 0}, {4, 4}, 1, spec.data(), nullptr), prim::st_null);
    EXPECT_EQ(linear(src, 8, dst, 8, {0, 1}, {4, 3}, 1, spec.data(), work.data()), 0);  // rows 1 to 3
    EXPECT_EQ(linear(src, 8, dst, 8, {0, 2}, {4, 3}, 1, spec.data(), work.data()), prim::st_bad_arg);
    EXPECT_EQ(linear(src, 8, dst, 8, {1, 0}, {3, 4}, 1, spec.data(), work.data()), prim::st_bad_arg);
    EXPECT_EQ(linear(src, 8, dst, 8, {0, -1}, {4, 3}, 1, spec.data(), work.data()), prim::st_bad_arg);
    EXPECT_EQ(linear(src, 8, dst, 8, {0, 0}, {3, 4}, 1, spec.data(), work.data()), prim::st_bad_arg);
    EXPECT_EQ(linear(src, 8, dst, 8, {0, 0}, {4, 4}, 3, spec.data(), work.data()), prim::st_bad_arg);
    EXPECT_EQ((prim::warp_affine<uint16_t, prim::filter::nearest>(src, 8, dst, 8, {0, 0}, {4, 4}, 1, spec.data(),
                                                                  work.data())),
              prim::st_bad_arg);  // a linear set-up
    EXPECT_EQ((prim::warp_affine<uint8_t, prim::filter::linear>(reinterpret_cast<uint8_t*>(src), 8,
                                                                reinterpret_cast<uint8_t*>(dst), 8, {0, 0}, {4, 4}, 1,
                                                                spec.data(), work.data())),
              prim::st_bad_arg);  // a 16-bit set-up
}

}  // namespace
