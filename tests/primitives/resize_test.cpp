// Resize engine and kernel: every processor variant against per-pixel
// references on regions at odd addresses with odd steps, for the three formats,
// one and three channels, up- and downscaling with odd sizes, spans wide
// enough for several tiles and ratios that gather. Linear on 8- and 16-bit
// samples is checked against the exact rational blend, Lanczos on 16-bit
// samples against a long-double blend, the single-precision blends against the
// same single-precision sums.
#include <cmath>

#include "geometry/resize.hpp"
#include "primitives/resize.hpp"
#include "support/regions.hpp"
#include "support/support.hpp"

namespace {

using lum::test::Region;
using wide = __int128;

int clamp(int64_t i, int n) { return int(i < 0 ? 0 : i >= n ? n - 1 : i); }

int64_t floor_div(int64_t a, int64_t b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }

template <class R>
R lanczos3(R t) {
    const R pi = R(3.141592653589793238462643383279L);
    if (t == 0) return 1;
    if (t <= -3 || t >= 3) return 0;
    const R a = pi * t, b = pi * t / 3;
    return (std::sin(a) / a) * (std::sin(b) / b);
}

// One axis: per destination index the clamped source index of each tap and its weight.
template <class R>
struct Axis {
    int taps;
    std::vector<int> index;
    std::vector<R> weight;
};

template <class R>
Axis<R> axis(int kind, int s, int d) {
    Axis<R> a{kind == 1 ? 1 : kind == 2 ? 2 : 6, {}, {}};
    for (int i = 0; i < d; ++i) {
        const double c = (i + 0.5) * double(s) / double(d) - 0.5;
        const double f0 = std::floor(c);
        if (kind == 1) {
            a.index.push_back(clamp((2 * int64_t(i) + 1) * s / (2 * int64_t(d)), s));
            a.weight.push_back(1);
        } else if (kind == 2) {
            a.index.push_back(clamp(int64_t(f0), s));
            a.index.push_back(clamp(int64_t(f0) + 1, s));
            a.weight.push_back(R(1.0 - (c - f0)));
            a.weight.push_back(R(c - f0));
        } else {
            // Float weights are double weights rounded, as the set-up makes them.
            using C = std::conditional_t<std::is_same_v<R, float>, double, R>;
            C raw[6], sum = 0;
            for (int k = 0; k < 6; ++k) sum += raw[k] = lanczos3<C>(C(c) - C(int64_t(f0) - 2 + k));
            for (int k = 0; k < 6; ++k) {
                a.index.push_back(clamp(int64_t(f0) - 2 + k, s));
                a.weight.push_back(R(raw[k] / sum));
            }
        }
    }
    return a;
}

template <class T>
T store(long double v) {
    if constexpr (std::is_floating_point_v<T>) {
        return T(v);
    } else {
        const long double top = sizeof(T) == 1 ? 255 : 65535, r = std::nearbyint(v);
        return static_cast<T>(r < 0 ? 0 : r > top ? top : r);
    }
}

// Nearest, or the single-precision sums of the kernel: vertical first, then horizontal.
template <class T>
void float_reference(int kind, const Region<T>& src, int sw, int sh, Region<T>& dst, int dw, int dh, int ch) {
    const Axis<float> ax = axis<float>(kind, sw, dw), ay = axis<float>(kind, sh, dh);
    for (int y = 0; y < dh; ++y)
        for (int x = 0; x < dw; ++x)
            for (int c = 0; c < ch; ++c) {
                if (kind == 1) {
                    dst.set(x * ch + c, y, src.get(ax.index[x] * ch + c, ay.index[y]));
                    continue;
                }
                float h = 0.0f;
                for (int j = 0; j < ax.taps; ++j) {
                    float v = 0.0f;
                    for (int k = 0; k < ay.taps; ++k)
                        v += ay.weight[y * ay.taps + k] *
                             float(src.get(ax.index[x * ax.taps + j] * ch + c, ay.index[y * ay.taps + k]));
                    h += ax.weight[x * ax.taps + j] * v;
                }
                dst.set(x * ch + c, y, store<T>(h));
            }
}

// The exact bilinear blend: the fraction of c = ((2i + 1) S - D) / 2D is n / 2D,
// so the sum is an integer over 4 Dx Dy, rounded half to even.
template <class T>
void exact_linear_reference(const Region<T>& src, int sw, int sh, Region<T>& dst, int dw, int dh, int ch) {
    auto taps = [](int i, int s, int d, int (&at)[2], int64_t (&w)[2]) {
        const int64_t t = (2 * int64_t(i) + 1) * s - d, den = 2 * int64_t(d), x0 = floor_div(t, den);
        at[0] = clamp(x0, s);
        at[1] = clamp(x0 + 1, s);
        w[1] = t - x0 * den;
        w[0] = den - w[1];
    };
    const wide whole = wide(4) * dw * dh;
    for (int y = 0; y < dh; ++y) {
        int ry[2];
        int64_t wy[2];
        taps(y, sh, dh, ry, wy);
        for (int x = 0; x < dw; ++x) {
            int rx[2];
            int64_t wx[2];
            taps(x, sw, dw, rx, wx);
            for (int c = 0; c < ch; ++c) {
                wide sum = 0;
                for (int j = 0; j < 2; ++j)
                    for (int k = 0; k < 2; ++k) sum += wide(wy[j]) * wx[k] * src.get(rx[k] * ch + c, ry[j]);
                wide q = sum / whole;
                const wide r2 = 2 * (sum - q * whole);
                if (r2 > whole || (r2 == whole && (q & 1))) ++q;
                dst.set(x * ch + c, y, static_cast<T>(q));
            }
        }
    }
}

// 16-bit Lanczos in long double; samples whose blend lies within 1e-7 of a
// half are left as the kernel wrote them (the kernel blends in double).
void wide_lanczos_reference(const Region<uint16_t>& src, int sw, int sh, const Region<uint16_t>& got,
                            Region<uint16_t>& dst, int dw, int dh, int ch) {
    const Axis<long double> ax = axis<long double>(16, sw, dw), ay = axis<long double>(16, sh, dh);
    for (int y = 0; y < dh; ++y)
        for (int x = 0; x < dw; ++x)
            for (int c = 0; c < ch; ++c) {
                long double h = 0;
                for (int j = 0; j < 6; ++j) {
                    long double v = 0;
                    for (int k = 0; k < 6; ++k)
                        v += ay.weight[y * 6 + k] * src.get(ax.index[x * 6 + j] * ch + c, ay.index[y * 6 + k]);
                    h += ax.weight[x * 6 + j] * v;
                }
                const long double off_half = std::fabs(h - std::floor(h) - 0.5L);
                dst.set(x * ch + c, y, off_half < 1e-7L ? got.get(x * ch + c, y) : store<uint16_t>(h));
            }
}

template <class T>
void run(const Region<T>& src, const lum_size& s, Region<T>& got, const lum_size& d, int ch, int kind) {
    ASSERT_EQ(lum::resize_engine<T>(src.data(), src.step, s, got.data(), got.step, d, ch, kind), 0);
}

template <class T>
void check_all(int ch) {
    const lum_size pairs[][2] = {{{17, 6}, {40, 9}},   {{65, 11}, {17, 4}},   {{1000, 7}, {333, 13}},
                                 {{15, 9}, {63, 5}},   {{1, 6}, {65, 3}},     {{63, 8}, {1, 1}},
                                 {{130, 10}, {65, 5}}, {{2, 2}, {1, 1}},      {{15, 8}, {19, 8}},
                                 {{200, 9}, {7, 3}},   {{3000, 3}, {2250, 4}}, {{1280, 4}, {1920, 6}},
                                 {{9000, 2}, {9001, 3}}};
    for (const auto& p : pairs)
        for (int kind : {1, 2, 16}) {
            const lum_size s = p[0], d = p[1];
            SCOPED_TRACE(::testing::Message() << s.width << "x" << s.height << " to " << d.width << "x" << d.height
                                              << " kind " << kind << " channels " << ch << " sample bytes " << sizeof(T));
            Region<T> src(s.width * ch, s.height, 0);
            lum::test::fill_samples(src, uint32_t(s.width + kind));
            const Region<T> blank(d.width * ch, d.height, 3);
            Region<T> first = blank;
            lum::test::for_each_variant([&](int index) {
                Region<T> got = blank, want = blank;
                run(src, s, got, d, ch, kind);
                if (kind == 2 && !std::is_floating_point_v<T>)
                    exact_linear_reference(src, s.width, s.height, want, d.width, d.height, ch);
                else if constexpr (std::is_same_v<T, uint16_t>) {
                    if (kind == 16) wide_lanczos_reference(src, s.width, s.height, got, want, d.width, d.height, ch);
                    else float_reference(kind, src, s.width, s.height, want, d.width, d.height, ch);
                } else
                    float_reference(kind, src, s.width, s.height, want, d.width, d.height, ch);
                ASSERT_EQ(got.bytes, want.bytes) << "variant " << index;
                if (index == 0) first = got;
                ASSERT_EQ(got.bytes, first.bytes) << "variant " << index << " differs from the baseline";
            });
        }
}

TEST(ResizeKernel, EveryFormatAndInterpolationMatchesTheReference) {
    for (int ch : {1, 3}) {
        check_all<uint8_t>(ch);
        check_all<uint16_t>(ch);
        check_all<float>(ch);
    }
}

// Integer linear resizes round the exact blend, halves to even, over many
// sizes: common ratios (small denominators, many ties), odd ones, and sizes
// whose denominators take the blend out of int32 into double lanes.
TEST(ResizeKernel, IntegerLinearIsTheRoundedExactBlend) {
    auto check = [](auto zero, int sw, int sh, int dw, int dh, int ch, uint32_t range) {
        using T = decltype(zero);
        Region<T> src(sw * ch, sh, 0);
        lum::test::fill_samples(src, uint32_t(sw * 31 + dh), range);
        Region<T> got(dw * ch, dh, 5), want = got;
        lum::test::for_each_variant([&](int) {
            run(src, {sw, sh}, got, {dw, dh}, ch, 2);
            exact_linear_reference(src, sw, sh, want, dw, dh, ch);
            ASSERT_EQ(got.bytes, want.bytes) << sw << "x" << sh << " to " << dw << "x" << dh << " ch " << ch;
        });
    };
    check(uint16_t{}, 15, 8, 19, 8, 1, 0);
    for (int s = 2; s <= 24; s += 3)
        for (int d = 1; d <= 40; d += 3) {
            check(uint16_t{}, s, d + 1, d, s, 1, 0);
            check(uint16_t{}, s, d + 1, d, s, 3, 4);  // few levels: many exact halves
            check(uint8_t{}, d, s, s, d, 1, 0);
        }
    check(uint16_t{}, 1000, 100, 999, 99, 1, 0);   // Q = 1998 * 198: double lanes for 16 bits
    check(uint8_t{}, 3000, 700, 2999, 701, 1, 0);   // Q above 2^23: double lanes for 8 bits
}

TEST(ResizeKernel, EngineRefusesBadCodesAndChannelCounts) {
    uint8_t src[64 * 8] = {}, dst[64 * 8] = {};
    const lum_size s{8, 8}, d{4, 4};
    EXPECT_EQ(lum::resize_engine<uint8_t>(src, 64, s, dst, 64, d, 1, 6), -7);
    EXPECT_EQ(lum::resize_engine<uint8_t>(src, 64, s, dst, 64, d, 2, 2), -65);
    EXPECT_EQ(lum::resize_engine<uint8_t>(src, 64, s, dst, 64, d, 3, 16), 0);
}

TEST(ResizeKernel, SetUpAndKernelStatuses) {
    using namespace lum::prim;
    int spec_bytes = 0, init_bytes = 0, work_bytes = 0;
    ASSERT_EQ(resize_get_size({8, 8}, {4, 4}, 2, 0, &spec_bytes, &init_bytes), 0);
    EXPECT_EQ(resize_get_size({8, 8}, {4, 4}, 2, 1, &spec_bytes, &init_bytes), st_bad_arg);
    EXPECT_EQ(resize_get_size({0, 8}, {4, 4}, 2, 0, &spec_bytes, &init_bytes), st_size);
    EXPECT_EQ(resize_get_size({8, 8}, {4, 4}, 2, 0, nullptr, &init_bytes), st_null);
    EXPECT_EQ(resize_get_size({8, 8}, {50000000, 1}, 16, 0, &spec_bytes, &init_bytes), st_bad_arg);
    std::vector<uint8_t> spec(spec_bytes);
    EXPECT_EQ(resize_linear_init({8, 8}, {4, 4}, nullptr), st_null);
    EXPECT_EQ(resize_linear_init({8, 8}, {0, 4}, spec.data()), st_size);
    ASSERT_EQ(resize_linear_init({8, 8}, {4, 4}, spec.data()), 0);
    EXPECT_EQ(resize_get_buffer_size(spec.data(), {4, 4}, 5, &work_bytes), st_bad_arg);
    ASSERT_EQ(resize_get_buffer_size(spec.data(), {4, 4}, 1, &work_bytes), 0);
    std::vector<uint8_t> work(work_bytes);
    uint8_t src[64] = {}, dst[16] = {};
    auto linear = resize<uint8_t, filter::linear>;
    EXPECT_EQ(linear(src, 8, dst, 4, {0, 0}, {4, 4}, 1, border_replicate, spec.data(), work.data()), 0);
    EXPECT_EQ(linear(nullptr, 8, dst, 4, {0, 0}, {4, 4}, 1, border_replicate, spec.data(), work.data()), st_null);
    EXPECT_EQ(linear(src, 8, dst, 4, {0, 0}, {0, 4}, 1, border_replicate, spec.data(), work.data()), st_size);
    EXPECT_EQ(linear(src, 8, dst, 4, {1, 0}, {4, 4}, 1, border_replicate, spec.data(), work.data()), st_bad_arg);
    EXPECT_EQ(linear(src, 8, dst, 4, {0, 0}, {4, 3}, 1, border_replicate, spec.data(), work.data()), st_bad_arg);
    EXPECT_EQ(linear(src, 8, dst, 4, {0, 0}, {4, 4}, 1, border_replicate, spec.data(), nullptr), st_null);
    EXPECT_EQ(linear(src, 8, dst, 4, {0, 0}, {4, 4}, 1, 7, spec.data(), work.data()), st_bad_arg);
    EXPECT_EQ((resize<uint8_t, filter::nearest>(src, 8, dst, 4, {0, 0}, {4, 4}, 1, 0, spec.data(), nullptr)),
              st_bad_arg);  // a linear set-up
    EXPECT_EQ(resize_lanczos_init({8, 8}, {4, 4}, 2, spec.data(), work.data()), st_bad_arg);
    EXPECT_EQ(resize_lanczos_init({8, 8}, {4, 4}, 3, spec.data(), nullptr), st_null);
}

}  // namespace
