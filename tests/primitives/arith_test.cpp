// Element-wise kernels: every processor variant against a plain scalar
// reference on odd widths and steps at odd addresses, byte for byte, with the
// bytes around each region left alone.
#include <cmath>
#include <limits>
#include <vector>

#include "primitives/arith.hpp"
#include "primitives/arith_const.hpp"
#include "primitives/lut.hpp"
#include "primitives/shift.hpp"
#include "support/regions.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::for_each_variant;
using lum::test::kTestWidths;
using lum::test::Region;
namespace op = lum::prim::op;

constexpr int kRows = 3;

template <class D>
void expect_same(const Region<D>& got, const Region<D>& want, const char* what, int w) {
    ASSERT_EQ(got.bytes, want.bytes) << what << ", " << w << " samples per row";
}

// d = kernel(a, b) over regions of w samples per row; ref(a, b, old d, index
// in the row) gives each destination sample. Every variant, every width.
template <class A, class B, class D, class K, class R>
void check(const char* what, K kernel, R ref, int expected_status = 0, uint32_t range = 0) {
    for_each_variant([&](int) {
        for (int w : kTestWidths) {
            Region<A> a(w, kRows, 1, range);
            Region<B> b(w, kRows, 2, range);
            if (expected_status != 0) a.set(0, 0, A(0));  // the sample that raises the warning
            Region<D> got(w, kRows, 3, range), want = got;
            ASSERT_EQ(kernel(a.data(), a.step, b.data(), b.step, got.data(), got.step, Size{w, kRows}), expected_status)
                << what;
            for (int y = 0; y < kRows; ++y)
                for (int i = 0; i < w; ++i) want.set(i, y, ref(a.get(i, y), b.get(i, y), want.get(i, y), i));
            expect_same(got, want, what, w);
        }
    });
}

// Kernels of the older shape, a source and a source-destination of w pixels
// of ch channels, on aligned regions; ref(source sample, old sample, index).
template <class S, class D, class K, class R>
void in_place(const char* what, int ch, K kernel, R ref) {
    for_each_variant([&](int) {
        for (int w : kTestWidths) {
            Region<S> a(w * ch, kRows, 4, 0, true);
            Region<D> got(w * ch, kRows, 5, 0, true), want = got;
            ASSERT_EQ(kernel(a.data(), a.step, got.data(), got.step, Size{w, kRows}), 0) << what;
            for (int y = 0; y < kRows; ++y)
                for (int i = 0; i < w * ch; ++i) want.set(i, y, ref(a.get(i, y), want.get(i, y), i));
            expect_same(got, want, what, w);
        }
    });
}

template <class T>
T saturate(double v) {
    const double top = double(std::numeric_limits<T>::max());
    return static_cast<T>(v < 0 ? 0 : v > top ? top : v);
}

template <class T, class Op>
auto binary_kernel() {
    return [](const T* a, int sa, const T* b, int sb, T* d, int sd, Size z) {
        return lum::prim::binary<T, Op>(a, sa, b, sb, d, sd, z);
    };
}

TEST(ElementwiseKernels, TwoRegionOperationsMatchTheReference) {
    auto add = [](auto a, auto b, auto, int) { return saturate<decltype(a)>(double(a) + b); };
    auto sub = [](auto a, auto b, auto, int) { return saturate<decltype(a)>(double(a) - b); };
    auto absd = [](auto a, auto b, auto, int) { return static_cast<decltype(a)>(a > b ? a - b : b - a); };
    auto low = [](auto a, auto b, auto, int) { return a < b ? a : b; };
    auto high = [](auto a, auto b, auto, int) { return a < b ? b : a; };
    check<uint8_t, uint8_t, uint8_t>("add 8u", binary_kernel<uint8_t, op::add>(), add);
    check<uint16_t, uint16_t, uint16_t>("add 16u", binary_kernel<uint16_t, op::add>(), add);
    check<float, float, float>("add 32f", binary_kernel<float, op::add>(), [](float a, float b, float, int) { return a + b; });
    check<uint8_t, uint8_t, uint8_t>("sub 8u", binary_kernel<uint8_t, op::sub>(), sub);
    check<uint16_t, uint16_t, uint16_t>("sub 16u", binary_kernel<uint16_t, op::sub>(), sub);
    check<float, float, float>("sub 32f", binary_kernel<float, op::sub>(), [](float a, float b, float, int) { return a - b; });
    check<uint8_t, uint8_t, uint8_t>("absdiff 8u", binary_kernel<uint8_t, op::abs_diff>(), absd);
    check<uint16_t, uint16_t, uint16_t>("absdiff 16u", binary_kernel<uint16_t, op::abs_diff>(), absd);
    check<uint8_t, uint8_t, uint8_t>("min 8u", binary_kernel<uint8_t, op::min>(), low);
    check<uint16_t, uint16_t, uint16_t>("max 16u", binary_kernel<uint16_t, op::max>(), high);
    check<uint8_t, uint8_t, uint8_t>("and", binary_kernel<uint8_t, op::bit_and>(),
                                     [](uint8_t a, uint8_t b, uint8_t, int) { return uint8_t(a & b); });
    check<uint8_t, uint8_t, uint8_t>("or", binary_kernel<uint8_t, op::bit_or>(),
                                     [](uint8_t a, uint8_t b, uint8_t, int) { return uint8_t(a | b); });
    check<uint8_t, uint8_t, uint8_t>("xor", binary_kernel<uint8_t, op::bit_xor>(),
                                     [](uint8_t a, uint8_t b, uint8_t, int) { return uint8_t(a ^ b); });
}

TEST(ElementwiseKernels, InPlaceGivesWhatTheSeparateDestinationGets) {
    for_each_variant([&](int) {
        for (int w : kTestWidths) {
            Region<uint16_t> a(w, kRows, 4), b(w, kRows, 5), d(w, kRows, 6);
            ASSERT_EQ((lum::prim::binary<uint16_t, op::sub>(a.data(), a.step, b.data(), b.step, d.data(), d.step, b.size())), 0);
            ASSERT_EQ((lum::prim::binary<uint16_t, op::sub>(a.data(), a.step, b.data(), b.step, b.data(), b.step, b.size())), 0);
            for (int y = 0; y < kRows; ++y)
                for (int i = 0; i < w; ++i) ASSERT_EQ(b.get(i, y), d.get(i, y));
        }
    });
}

// Destinations of several megabytes take streaming stores after an aligned head.
TEST(ElementwiseKernels, LargeRegionsGiveWhatSmallOnesGive) {
    const int w = 4099, h = 1030;  // 4.2 MB of 8-bit samples
    const Region<uint8_t> a(w, h, 7, 0), b(w, h, 8, 0), canvas(w, h, 9, 0);
    const Region<uint16_t> a16(w / 2, h, 11, 0, true), b16(w / 2, h, 12, 0, true);
    const Region<uint16_t> odd_a16(w / 2, h, 11), odd_b16(w / 2, h, 12);
    const uint8_t c[3] = {3, 200, 0};
    for_each_variant([&](int) {
        Region<uint8_t> d = canvas, f = canvas;
        ASSERT_EQ((lum::prim::binary<uint8_t, op::add>(a.data(), a.step, b.data(), b.step, d.data(), d.step, d.size())), 0);
        ASSERT_EQ((lum::prim::constant<uint8_t, op::sub>(a.data(), a.step, f.data(), f.step, f.size(), c, 3)), 0);
        for (int y = 0; y < h; y += 37)
            for (int i = 0; i < w; ++i) {
                ASSERT_EQ(d.get(i, y), std::min(255, a.get(i, y) + b.get(i, y))) << i << "," << y;
                ASSERT_EQ(f.get(i, y), std::max(0, a.get(i, y) - c[i % 3])) << i << "," << y;
            }
        ASSERT_EQ(d.bytes.back(), canvas.bytes.back());  // nothing written past the region
        // 16-bit rows on their own boundary stream; rows off it keep the plain stores.
        for (const auto* pair : {&a16, &odd_a16}) {
            const Region<uint16_t>& x = *pair;
            const Region<uint16_t>& y16 = pair == &a16 ? b16 : odd_b16;
            Region<uint16_t> out = y16;
            ASSERT_EQ((lum::prim::binary<uint16_t, op::abs_diff>(x.data(), x.step, y16.data(), y16.step, out.data(),
                                                                 out.step, out.size())), 0);
            for (int y = 0; y < h; y += 53)
                for (int i = 0; i < w / 2; ++i) ASSERT_EQ(out.get(i, y), std::abs(x.get(i, y) - y16.get(i, y)));
        }
    });
}

TEST(ElementwiseKernels, ConstantsRepeatPerChannel) {
    const uint8_t c8[3] = {7, 250, 0};
    const uint16_t c16[3] = {1000, 65535, 3};
    for (int channels : {1, 3}) {
        SCOPED_TRACE(channels);
        auto with = [channels](const auto* c, int i) { return c[channels == 3 ? i % 3 : 0]; };
        check<uint8_t, uint8_t, uint8_t>("add 8u", [&](const uint8_t* a, int sa, const uint8_t*, int, uint8_t* d, int sd, Size z) {
            return lum::prim::constant<uint8_t, op::add>(a, sa, d, sd, z, c8, channels);
        }, [&](uint8_t a, uint8_t, uint8_t, int i) { return saturate<uint8_t>(double(a) + with(c8, i)); });
        check<uint16_t, uint16_t, uint16_t>("sub 16u", [&](const uint16_t* a, int sa, const uint16_t*, int, uint16_t* d, int sd, Size z) {
            return lum::prim::constant<uint16_t, op::sub>(a, sa, d, sd, z, c16, channels);
        }, [&](uint16_t a, uint16_t, uint16_t, int i) { return saturate<uint16_t>(double(a) - with(c16, i)); });
        check<uint8_t, uint8_t, uint8_t>("rsub 8u", [&](const uint8_t* a, int sa, const uint8_t*, int, uint8_t* d, int sd, Size z) {
            return lum::prim::constant<uint8_t, op::rsub>(a, sa, d, sd, z, c8, channels);
        }, [&](uint8_t a, uint8_t, uint8_t, int i) { return saturate<uint8_t>(double(with(c8, i)) - a); });
        check<uint16_t, uint16_t, uint16_t>("min 16u", [&](const uint16_t* a, int sa, const uint16_t*, int, uint16_t* d, int sd, Size z) {
            return lum::prim::constant<uint16_t, op::min>(a, sa, d, sd, z, c16, channels);
        }, [&](uint16_t a, uint16_t, uint16_t, int i) { return std::min(a, with(c16, i)); });
    }
}

TEST(ElementwiseKernels, DivisionRoundsToNearestAndWarnsOnZero) {
    using lum::prim::st_div_zero;
    auto div = [](auto s, auto, auto o, int) {
        using T = decltype(o);
        if (s == 0) return o ? std::numeric_limits<T>::max() : T(0);
        return saturate<T>(std::nearbyint(double(o) / double(s)));
    };
    // Divisors read as the first region, the quotient replaces the destination.
    auto divide = [](auto tag) {
        using T = decltype(tag);
        return [](const T* a, int sa, const T*, int, T* d, int sd, Size z) { return lum::prim::divide<T>(a, sa, d, sd, z); };
    };
    check<uint8_t, uint8_t, uint8_t>("div 8u", divide(uint8_t{}), div, st_div_zero);
    check<uint16_t, uint16_t, uint16_t>("div 16u", divide(uint16_t{}), div, st_div_zero);
    check<uint16_t, uint16_t, uint16_t>("div 16u, small", divide(uint16_t{}), div, st_div_zero, 7);
    check<float, float, float>("div 32f", divide(float{}), [](float s, float, float o, int) { return o / s; }, st_div_zero);
    // Exact halves go to even; no zero divisor, no warning, also when the row's tail is short.
    const uint8_t divisors[5] = {4, 2, 2, 2, 6};
    uint8_t dividends[5] = {100, 5, 7, 3, 3};
    for_each_variant([&](int) {
        uint8_t d[5];
        std::memcpy(d, dividends, 5);
        ASSERT_EQ(lum::prim::divide<uint8_t>(divisors, 5, d, 5, {5, 1}), 0);
        EXPECT_EQ(std::vector<uint8_t>(d, d + 5), (std::vector<uint8_t>{25, 2, 4, 2, 0}));
    });
}

TEST(ElementwiseKernels, AccumulationIntoFloat) {
    auto accumulate = [](auto tag, int replace) {
        using S = decltype(tag);
        return [replace](const S* a, int sa, const float*, int, float* d, int sd, Size z) {
            return lum::prim::accumulate<S>(a, sa, d, sd, z, replace);
        };
    };
    check<uint8_t, float, float>("replace 8u", accumulate(uint8_t{}, 1), [](uint8_t a, float, float, int) { return float(a); });
    check<uint16_t, float, float>("add 16u", accumulate(uint16_t{}, 0), [](uint16_t a, float, float o, int) { return o + float(a); });
    check<float, float, float>("add 32f", accumulate(float{}, 0), [](float a, float, float o, int) { return o + a; });
}

// 8-bit products run in single precision when a float factor reproduces the
// double results for all 256 values, from a table otherwise: both must equal
// the double-precision rule for every byte, near-halves included.
TEST(ArithKernels, EightBitMultiplyEqualsDoublePrecisionForEveryByte) {
    using namespace lum::prim;
    std::mt19937 rng(17);
    std::vector<double> factors = {2.55, 1.7, 255.0 / 149.1, 0.1, 1.0 / 3, 100.5, 20000.0, -1.0, 0.0};
    for (int k = 0; k < 300; ++k) factors.push_back(std::ldexp(double(rng() % 1000000), -int(rng() % 20)));
    for_each_variant([&](int) {
        for (const double c : factors) {
            uint8_t v[256], v3[3 * 256];
            for (int i = 0; i < 256; ++i) v[i] = uint8_t(i);
            for (int i = 0; i < 768; ++i) v3[i] = uint8_t(i / 3);
            const double c3[3] = {c, c * 0.5, 1.0};
            ASSERT_EQ(mul_c_8u_c1ir(v, 256, {256, 1}, &c), 0);
            ASSERT_EQ(mul_c_8u_c3ir(v3, 768, {256, 1}, c3), 0);
            for (int i = 0; i < 256; ++i) {
                ASSERT_EQ(v[i], saturate<uint8_t>(std::nearbyint(double(i) * c))) << c << " at " << i;
                for (int ch = 0; ch < 3; ++ch)
                    ASSERT_EQ(v3[3 * i + ch], saturate<uint8_t>(std::nearbyint(double(i) * c3[ch]))) << c << " at " << i;
            }
        }
    });
}

TEST(ArithKernels, ShiftsMatchTheReferenceForEveryCount) {
    using namespace lum::prim;
    for (uint32_t c : {0u, 1u, 3u, 7u, 8u, 12u, 15u, 16u, 31u, 40u}) {
        SCOPED_TRACE(c);
        auto l = [c](auto s, auto, int) { return static_cast<decltype(s)>(c >= 32 ? 0 : (uint64_t(s) << c)); };
        auto r = [c](auto s, auto, int) { return static_cast<decltype(s)>(c >= 32 ? 0 : (uint64_t(s) >> c)); };
        in_place<uint8_t, uint8_t>("lshift 8u", 1, [c](const uint8_t* a, int sa, uint8_t* d, int sd, Size z) {
            return lshift_8u_c1r(a, sa, d, sd, z, c);
        }, l);
        in_place<uint16_t, uint16_t>("rshift 16u", 1, [c](const uint16_t* a, int sa, uint16_t* d, int sd, Size z) {
            return rshift_16u_c1r(a, sa, d, sd, z, c);
        }, r);
        auto li = [c](auto, auto o, int) { return static_cast<decltype(o)>(c >= 32 ? 0 : (uint64_t(o) << c)); };
        auto ri = [c](auto, auto o, int) { return static_cast<decltype(o)>(c >= 32 ? 0 : (uint64_t(o) >> c)); };
        in_place<uint16_t, uint16_t>("lshift 16u in place", 1,
                                     [c](const uint16_t*, int, uint16_t* p, int s, Size z) { return lshift_16u_c1ir(c, p, s, z); }, li);
        in_place<uint8_t, uint8_t>("rshift 8u", 1, [c](const uint8_t* a, int sa, uint8_t* d, int sd, Size z) {
            return rshift_8u_c1r(a, sa, d, sd, z, c);
        }, r);
        in_place<uint8_t, uint8_t>("lshift 8u in place", 1,
                                   [c](const uint8_t*, int, uint8_t* p, int s, Size z) { return lshift_8u_c1ir(c, p, s, z); }, li);
        in_place<uint8_t, uint8_t>("rshift 8u in place", 1,
                                   [c](const uint8_t*, int, uint8_t* p, int s, Size z) { return rshift_8u_c1ir(c, p, s, z); }, ri);
    }
}

TEST(ArithKernels, LookUpsClampIndexesToTheTable) {
    using namespace lum::prim;
    std::vector<uint8_t> t8(3 * 256);
    std::vector<uint16_t> t16(2 * 4096);
    std::mt19937 rng(9);
    for (auto& v : t8) v = uint8_t(rng());
    for (auto& v : t16) v = uint16_t(rng());
    for (int bits : {8, 5}) {
        const int last = (1 << bits) - 1;
        in_place<uint8_t, uint8_t>("lut 8u", 1, [&](const uint8_t* a, int sa, uint8_t* d, int sd, Size z) {
            return lut_8u_c1r(a, sa, d, sd, z, t8.data(), bits);
        }, [&](uint8_t s, uint8_t, int) { return t8[s < last ? s : last]; });
        const uint8_t* three[3] = {t8.data(), t8.data() + 256, t8.data() + 512};
        in_place<uint8_t, uint8_t>("lut 8u C3", 3, [&](const uint8_t* a, int sa, uint8_t* d, int sd, Size z) {
            return lut_8u_c3r(a, sa, d, sd, z, three, bits);
        }, [&](uint8_t s, uint8_t, int i) { return three[i % 3][s < last ? s : last]; });
    }
    const int last = 4095;
    in_place<uint16_t, uint16_t>("lut 16u", 1, [&](const uint16_t* a, int sa, uint16_t* d, int sd, Size z) {
        return lut_16u_c1r(a, sa, d, sd, z, t16.data(), 12);
    }, [&](uint16_t s, uint16_t, int) { return t16[s < last ? s : last]; });
    const uint16_t* three[3] = {t16.data(), t16.data() + 4096, t16.data() + 2048};
    in_place<uint16_t, uint16_t>("lut 16u C3", 3, [&](const uint16_t* a, int sa, uint16_t* d, int sd, Size z) {
        return lut_16u_c3r(a, sa, d, sd, z, three, 11);
    }, [&](uint16_t s, uint16_t, int i) { return three[i % 3][s < 2047 ? s : 2047]; });
    // Gray to colour: three bytes per entry.
    for_each_variant([&](int) {
        for (int w : kTestWidths) {
            Region<uint8_t> src(w, kRows, 1), got(3 * w, kRows, 2), want = got;
            ASSERT_EQ(lut_8u_c1c3r(src.data(), src.step, got.data(), got.step, {w, kRows}, t8.data(), 8), 0);
            for (int y = 0; y < kRows; ++y)
                for (int x = 0; x < w; ++x)
                    for (int c = 0; c < 3; ++c) want.set(3 * x + c, y, t8[3 * src.get(x, y) + c]);
            expect_same(got, want, "lut 8u C1 to C3", w);
        }
    });
}

TEST(ElementwiseKernels, LogarithmIsAccurateAndMarksTheDomain) {
    using namespace lum::prim;
    // Positive samples only: no warning; every variant identical, all within 2 ulp of the library logarithm.
    std::vector<float> first;
    for_each_variant([&](int) {
        std::mt19937 rng(4);
        std::vector<float> v(4099);
        for (size_t i = 0; i < v.size(); ++i)
            v[i] = i < 64 ? std::ldexp(1.0f, int(i) - 140) : std::exp(float(int(rng() % 16000) - 8000) * 0.01f);
        const std::vector<float> in = v;
        ASSERT_EQ(ln_32f(v.data(), int(v.size() * 4), {int(v.size()), 1}), 0);
        for (size_t i = 0; i < v.size(); ++i) {
            const float want = std::log(in[i]);
            ASSERT_LE(std::fabs(v[i] - want), 2.5f * std::fabs(std::nextafter(want, 0.0f) - want) + 1e-7f) << in[i];
        }
        if (first.empty()) first = v;
        ASSERT_EQ(0, std::memcmp(first.data(), v.data(), v.size() * 4));
        float edge[6] = {0.0f, -1.0f, 1.0f, 2.7182817f, HUGE_VALF, std::nanf("")};
        ASSERT_EQ(ln_32f(edge, 24, {6, 1}), st_domain);
        EXPECT_EQ(edge[0], -HUGE_VALF);
        EXPECT_TRUE(std::isnan(edge[1]));
        EXPECT_EQ(edge[2], 0.0f);
        EXPECT_NEAR(edge[3], 1.0f, 1e-6f);
        EXPECT_EQ(edge[4], HUGE_VALF);
        EXPECT_TRUE(std::isnan(edge[5]));
        float positive[3] = {1.0f, 2.0f, 3.0f};  // a short tail must not read as outside the domain
        ASSERT_EQ(ln_32f(positive, 12, {3, 1}), 0);
    });
}

TEST(ElementwiseKernels, RefuseEmptyRegionsAndNullPointers) {
    using namespace lum::prim;
    uint8_t b[16] = {};
    const double f[1] = {1.0};
    EXPECT_EQ((binary<uint8_t, op::add>(b, 4, b, 4, nullptr, 4, {1, 1})), st_null);
    EXPECT_EQ((binary<uint8_t, op::abs_diff>(b, 4, b, 4, b, 4, {0, 1})), st_size);
    EXPECT_EQ((constant<uint8_t, op::add>(b, 4, b, 4, {1, 0}, b, 1)), st_size);
    EXPECT_EQ((constant<uint8_t, op::add>(b, 4, b, 4, {1, 1}, nullptr, 1)), st_null);
    EXPECT_EQ(divide<float>(nullptr, 4, nullptr, 4, {0, 0}), st_null);
    EXPECT_EQ(accumulate<uint8_t>(b, 4, nullptr, 4, {1, 1}, 0), st_null);
    EXPECT_EQ(ln_32f(nullptr, 4, {1, 1}), st_null);
    EXPECT_EQ(mul_c_8u_c1ir(b, 4, {1, 1}, nullptr), st_null);
    EXPECT_EQ(mul_c_8u_c1ir(b, 4, {0, 1}, f), st_size);
    EXPECT_EQ(lshift_8u_c1ir(1, nullptr, 4, {1, 1}), st_null);
    EXPECT_EQ(lut_8u_c1r(b, 4, b, 4, {1, 1}, nullptr, 8), st_null);
}

}  // namespace
