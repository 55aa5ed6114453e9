// Resize engines and kernels: every processor variant against a direct
// per-pixel reference (same centres, taps and single-precision sums), for the
// three formats, one and three channels, up- and downscaling with odd sizes.
#include <cmath>

#include "geometry/resize.hpp"
#include "primitives/geometry_support.hpp"
#include "primitives/resize.hpp"
#include "support/support.hpp"

namespace {

using lum::test::Plane;

struct Axis {
    int taps;
    std::vector<int> index;
    std::vector<float> weight;
};

int clamp(int64_t i, int n) { return int(i < 0 ? 0 : i >= n ? n - 1 : i); }

double lanczos3(double t) {
    const double pi = 3.141592653589793;
    if (t == 0.0) return 1.0;
    if (t <= -3.0 || t >= 3.0) return 0.0;
    const double a = pi * t, b = pi * t / 3.0;
    return (std::sin(a) / a) * (std::sin(b) / b);
}

Axis axis(int kind, int s, int d) {
    Axis a;
    a.taps = kind == 1 ? 1 : kind == 2 ? 2 : 6;
    for (int i = 0; i < d; ++i) {
        const double c = (i + 0.5) * double(s) / double(d) - 0.5;
        const double f0 = std::floor(c);
        if (kind == 1) {
            a.index.push_back(clamp((2 * int64_t(i) + 1) * s / (2 * int64_t(d)), s));
            a.weight.push_back(1.0f);
        } else if (kind == 2) {
            a.index.push_back(clamp(int64_t(f0), s));
            a.index.push_back(clamp(int64_t(f0) + 1, s));
            a.weight.push_back(float(1.0 - (c - f0)));
            a.weight.push_back(float(c - f0));
        } else {
            double raw[6], sum = 0.0;
            for (int k = 0; k < 6; ++k) sum += raw[k] = lanczos3(c - double(int64_t(f0) - 2 + k));
            for (int k = 0; k < 6; ++k) {
                a.index.push_back(clamp(int64_t(f0) - 2 + k, s));
                a.weight.push_back(float(raw[k] / sum));
            }
        }
    }
    return a;
}

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
void reference(int kind, Plane& src, int sw, int sh, Plane& dst, int dw, int dh) {
    const Axis ax = axis(kind, sw, dw), ay = axis(kind, sh, dh);
    for (int y = 0; y < dh; ++y)
        for (int x = 0; x < dw; ++x)
            for (int c = 0; c < CH; ++c) {
                if (kind == 1) {
                    dst.row<T>(y)[x * CH + c] = src.row<T>(ay.index[y])[ax.index[x] * CH + c];
                    continue;
                }
                // Vertical sums first, then the horizontal blend of those.
                float h = 0.0f;
                for (int j = 0; j < ax.taps; ++j) {
                    float v = 0.0f;
                    for (int k = 0; k < ay.taps; ++k)
                        v += ay.weight[y * ay.taps + k] *
                             float(src.row<T>(ay.index[y * ay.taps + k])[ax.index[x * ax.taps + j] * CH + c]);
                    h += ax.weight[x * ax.taps + j] * v;
                }
                dst.row<T>(y)[x * CH + c] = store<T>(h);
            }
}

template <class T>
int8_t engine(const T* s, int ss, const lum_size& sz, T* d, int ds, const lum_size& dz, int ch, int kind) {
    if constexpr (sizeof(T) == 1)
        return lum::resize_8u(s, ss, sz, d, ds, dz, ch, kind);
    else if constexpr (sizeof(T) == 2)
        return lum::resize_16u(s, ss, sz, d, ds, dz, ch, kind);
    else
        return lum::resize_32f(s, ss, sz, d, ds, dz, ch, kind);
}

template <class T, int CH>
void check_all() {
    const lum_size pairs[][2] = {{{17, 6}, {40, 9}}, {{65, 11}, {17, 4}}, {{1000, 7}, {333, 13}},
                                 {{15, 9}, {63, 5}}, {{1, 6}, {65, 3}},   {{63, 8}, {1, 1}},
                                 {{130, 10}, {65, 5}}, {{2, 2}, {1, 1}}};
    lum::test::for_each_variant([&](int) {
        for (const auto& p : pairs)
            for (int kind : {1, 2, 16}) {
                const lum_size s = p[0], d = p[1];
                const int ss = (s.width * CH + 3) * int(sizeof(T)), ds = (d.width * CH + 5) * int(sizeof(T));
                Plane src(ss, s.height, s.width, lum::test::is_float<T>), got(ds, d.height, 3), want = got;
                ASSERT_EQ(engine(src.row<T>(0), ss, s, got.row<T>(0), ds, d, CH, kind), 0);
                reference<T, CH>(kind, src, s.width, s.height, want, d.width, d.height);
                ASSERT_EQ(got.bytes, want.bytes) << s.width << "x" << s.height << " to " << d.width << "x" << d.height
                                                 << " kind " << kind << " channels " << CH;
            }
    });
}

TEST(ResizeKernels, EveryFormatAndInterpolationMatchesTheReference) {
    check_all<uint8_t, 1>();
    check_all<uint8_t, 3>();
    check_all<uint16_t, 1>();
    check_all<uint16_t, 3>();
    check_all<float, 1>();
    check_all<float, 3>();
}

TEST(ResizeKernels, EngineRefusesBadCodesAndChannelCounts) {
    uint8_t src[64 * 8] = {}, dst[64 * 8] = {};
    const lum_size s{8, 8}, d{4, 4};
    EXPECT_EQ(lum::resize_8u(src, 64, s, dst, 64, d, 1, 6), -7);
    EXPECT_EQ(lum::resize_8u(src, 64, s, dst, 64, d, 2, 2), -65);
    EXPECT_EQ(lum::resize_8u(src, 64, s, dst, 64, d, 3, 16), 0);
}

TEST(ResizeKernels, KernelsCheckTheirSetUpBlockAndArguments) {
    using namespace lum::prim;
    int spec_bytes = 0, init_bytes = 0, work_bytes = 0;
    ASSERT_EQ(resize_get_size({8, 8}, {4, 4}, 2, 0, &spec_bytes, &init_bytes), 0);
    EXPECT_EQ(resize_get_size({8, 8}, {4, 4}, 2, 1, &spec_bytes, &init_bytes), st_bad_arg);
    EXPECT_EQ(resize_get_size({0, 8}, {4, 4}, 2, 0, &spec_bytes, &init_bytes), -6);
    std::vector<uint8_t> spec(spec_bytes);
    ASSERT_EQ(resize_linear_init({8, 8}, {4, 4}, spec.data()), 0);
    ASSERT_EQ(resize_get_buffer_size(spec.data(), {4, 4}, 1, &work_bytes), 0);
    std::vector<uint8_t> work(work_bytes);
    uint8_t src[64] = {}, dst[16] = {};
    EXPECT_EQ(resize_linear_8u_c1(src, 8, dst, 4, {0, 0}, {4, 4}, border_replicate, spec.data(), work.data()), 0);
    EXPECT_EQ(resize_linear_8u_c1(src, 8, dst, 4, {0, 0}, {4, 4}, border_replicate, spec.data(), nullptr), -8);
    EXPECT_EQ(resize_linear_8u_c1(src, 8, dst, 4, {0, 0}, {4, 4}, 7, spec.data(), work.data()), st_bad_arg);
    EXPECT_EQ(resize_nearest_8u_c1(src, 8, dst, 4, {0, 0}, {4, 4}, spec.data(), work.data()), st_bad_arg);
    EXPECT_EQ(resize_lanczos_init({8, 8}, {4, 4}, 2, spec.data(), work.data()), st_bad_arg);
}

}  // namespace
