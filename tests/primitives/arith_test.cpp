// Two-region, constant, shift, look-up and logarithm kernels: every processor
// variant against a plain scalar reference on odd widths and steps, byte for
// byte, with the bytes around each region left alone.
#include <cmath>
#include <limits>
#include <vector>

#include "primitives/arith.hpp"
#include "primitives/arith_const.hpp"
#include "primitives/lut.hpp"
#include "primitives/shift.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::for_each_variant;

constexpr int kWidths[] = {1, 15, 17, 63, 65, 1000};
constexpr int kRows = 3;

// Random samples with the edges of the range (and zeros) well represented.
template <class T>
T random_sample(std::mt19937& rng) {
    const unsigned pick = rng() % 16;
    if constexpr (std::is_same_v<T, float>) {
        if (pick == 0) return 0.0f;
        return float(int(rng() % 200001) - 100000) * 0.0125f;
    } else {
        if (pick == 0) return 0;
        if (pick == 1) return std::numeric_limits<T>::max();
        return static_cast<T>(rng());
    }
}

// A region of `rows` rows inside a random buffer whose step is not a
// multiple of any vector width, starting at a small odd sample offset.
template <class T>
struct Region {
    int n, step;
    std::vector<T> buf;
    Region(int samples, uint32_t seed) : n(samples), step(int(sizeof(T)) * (samples + 5)), buf(size_t(samples + 5) * kRows + 3) {
        std::mt19937 rng(seed);
        for (auto& v : buf) v = random_sample<T>(rng);
    }
    T* data() { return buf.data() + 1; }
    T& at(int i, int y) { return buf[1 + size_t(y) * (n + 5) + i]; }
};

template <class T>
void expect_same(const std::vector<T>& got, const std::vector<T>& want, const char* what, int w) {
    ASSERT_EQ(0, std::memcmp(got.data(), want.data(), got.size() * sizeof(T))) << what << " width " << w;
}

// dst = kernel(src1, src2); ref(a, b) gives one destination sample.
template <class T, class D = T, class K, class R>
void binary(const char* what, int ch, K kernel, R ref) {
    for_each_variant([&](int) {
        for (int w : kWidths) {
            Region<T> a(w * ch, 1), b(w * ch, 2);
            Region<D> got(w * ch, 3), want = got;
            ASSERT_EQ(kernel(a.data(), a.step, b.data(), b.step, got.data(), got.step, Size{w, kRows}), 0) << what;
            for (int y = 0; y < kRows; ++y)
                for (int i = 0; i < w * ch; ++i) want.at(i, y) = ref(a.at(i, y), b.at(i, y));
            expect_same(got.buf, want.buf, what, w);
        }
    });
}

// In place: region = kernel(src, region); ref(src sample, old sample, index in row).
template <class S, class D, class K, class R>
void in_place(const char* what, int ch, K kernel, R ref, int expected_status = 0) {
    for_each_variant([&](int) {
        for (int w : kWidths) {
            Region<S> a(w * ch, 4);
            if (expected_status != 0) a.at(0, 0) = S(0);  // the sample that raises the warning
            Region<D> got(w * ch, 5), want = got;
            ASSERT_EQ(kernel(a.data(), a.step, got.data(), got.step, Size{w, kRows}), expected_status) << what;
            for (int y = 0; y < kRows; ++y)
                for (int i = 0; i < w * ch; ++i) want.at(i, y) = ref(a.at(i, y), want.at(i, y), i);
            expect_same(got.buf, want.buf, what, w);
        }
    });
}

template <class T>
T saturate(double v) {
    const double top = double(std::numeric_limits<T>::max());
    return static_cast<T>(v < 0 ? 0 : v > top ? top : v);
}

TEST(ArithKernels, TwoRegionOperationsMatchTheReference) {
    using namespace lum::prim;
    auto add = [](auto a, auto b) { return saturate<decltype(a)>(double(a) + b); };
    auto sub = [](auto a, auto b) { return saturate<decltype(a)>(double(b) - a); };  // first operand subtracted
    auto absd = [](auto a, auto b) { return static_cast<decltype(a)>(a > b ? a - b : b - a); };
    auto add8 = [](const uint8_t* a, int sa, const uint8_t* b, int sb, uint8_t* d, int sd, Size z) {
        return add_8u_c1rsfs(a, sa, b, sb, d, sd, z, 0);
    };
    auto add16c3 = [](const uint16_t* a, int sa, const uint16_t* b, int sb, uint16_t* d, int sd, Size z) {
        return add_16u_c3rsfs(a, sa, b, sb, d, sd, z, 0);
    };
    auto sub8c3 = [](const uint8_t* a, int sa, const uint8_t* b, int sb, uint8_t* d, int sd, Size z) {
        return sub_8u_c3rsfs(a, sa, b, sb, d, sd, z, 0);
    };
    auto sub16 = [](const uint16_t* a, int sa, const uint16_t* b, int sb, uint16_t* d, int sd, Size z) {
        return sub_16u_c1rsfs(a, sa, b, sb, d, sd, z, 0);
    };
    binary<uint8_t>("add 8u", 1, add8, add);
    binary<uint16_t>("add 16u C3", 3, add16c3, add);
    binary<uint8_t>("sub 8u C3", 3, sub8c3, sub);
    binary<uint16_t>("sub 16u", 1, sub16, sub);
    binary<float>("add 32f C3", 3, add_32f_c3r, [](float a, float b) { return a + b; });
    binary<float>("sub 32f", 1, sub_32f_c1r, [](float a, float b) { return b - a; });
    binary<uint8_t>("absdiff 8u C3", 3, absdiff_8u_c3r, absd);
    binary<uint16_t>("absdiff 16u", 1, absdiff_16u_c1r, absd);
}

TEST(ArithKernels, ScaleFactorRoundsHalvesToEven) {
    using namespace lum::prim;
    const uint8_t a[4] = {1, 3, 2, 200}, b[4] = {0, 0, 1, 200};
    uint8_t d[4];
    ASSERT_EQ(add_8u_c1rsfs(a, 4, b, 4, d, 4, {4, 1}, 1), 0);
    EXPECT_EQ(d[0], 0);    // 0.5 -> 0
    EXPECT_EQ(d[1], 2);    // 1.5 -> 2
    EXPECT_EQ(d[2], 2);    // 1.5 -> 2
    EXPECT_EQ(d[3], 200);  // 400 / 2, no saturation on the way
    ASSERT_EQ(add_8u_c1rsfs(a, 4, b, 4, d, 4, {4, 1}, -1), 0);
    EXPECT_EQ(d[1], 6);
    EXPECT_EQ(d[3], 255);
}

TEST(ArithKernels, InPlaceOperationsMatchTheReference) {
    using namespace lum::prim;
    auto add = [](auto s, auto o, int) { return saturate<decltype(o)>(double(o) + s); };
    auto sub = [](auto s, auto o, int) { return saturate<decltype(o)>(double(o) - s); };
    in_place<uint8_t, uint8_t>("add 8u C3", 3, [](auto... a) { return add_8u_c3irsfs(a..., 0); }, add);
    in_place<uint16_t, uint16_t>("add 16u", 1, [](auto... a) { return add_16u_c1irsfs(a..., 0); }, add);
    in_place<uint8_t, uint8_t>("sub 8u", 1, [](auto... a) { return sub_8u_c1irsfs(a..., 0); }, sub);
    in_place<uint16_t, uint16_t>("sub 16u C3", 3, [](auto... a) { return sub_16u_c3irsfs(a..., 0); }, sub);
    in_place<float, float>("add 32f", 1, add_32f_c1ir, [](float s, float o, int) { return o + s; });
    in_place<float, float>("sub 32f C3", 3, sub_32f_c3ir, [](float s, float o, int) { return o - s; });
    in_place<uint16_t, float>("add 16u to 32f", 1, add_16u32f_c1ir, [](uint16_t s, float o, int) { return o + float(s); });
    in_place<uint8_t, uint8_t>("and 8u C3", 3, and_8u_c3ir, [](uint8_t s, uint8_t o, int) { return uint8_t(o & s); });
    in_place<uint16_t, uint16_t>("or 16u", 1, or_16u_c1ir, [](uint16_t s, uint16_t o, int) { return uint16_t(o | s); });
    in_place<uint8_t, uint8_t>("xor 8u", 1, xor_8u_c1ir, [](uint8_t s, uint8_t o, int) { return uint8_t(o ^ s); });
    in_place<uint16_t, uint16_t>("xor 16u C3", 3, xor_16u_c3ir, [](uint16_t s, uint16_t o, int) { return uint16_t(o ^ s); });
}

TEST(ArithKernels, DivisionRoundsToNearestAndWarnsOnZero) {
    using namespace lum::prim;
    // The random regions always hold zero divisors, hence the warning status.
    auto div = [](auto s, auto o, int) {
        using T = decltype(o);
        if (s == 0) return o ? std::numeric_limits<T>::max() : T(0);
        return saturate<T>(std::nearbyint(double(o) / double(s)));
    };
    in_place<uint8_t, uint8_t>("div 8u", 1, [](auto... a) { return div_8u_c1irsfs(a..., 0); }, div, st_div_zero);
    in_place<uint16_t, uint16_t>("div 16u C3", 3, [](auto... a) { return div_16u_c3irsfs(a..., 0); }, div, st_div_zero);
    in_place<float, float>("div 32f", 1, div_32f_c1ir, [](float s, float o, int) { return o / s; }, st_div_zero);
    const uint8_t four = 4, three[3] = {2, 2, 2};
    uint8_t hundred = 100, odd[3] = {5, 7, 3};
    EXPECT_EQ(div_8u_c1irsfs(&four, 1, &hundred, 1, {1, 1}, 0), 0);
    EXPECT_EQ(hundred, 25);
    EXPECT_EQ(div_8u_c3irsfs(three, 3, odd, 3, {1, 1}, 0), 0);
    EXPECT_EQ(odd[0], 2);  // 2.5 -> 2
    EXPECT_EQ(odd[1], 4);  // 3.5 -> 4
    EXPECT_EQ(odd[2], 2);  // 1.5 -> 2
}

// Constant kernels through the in-place harness, the source region unused.
TEST(ArithKernels, ConstantOperationsMatchTheReference) {
    using namespace lum::prim;
    const uint8_t c8[3] = {7, 250, 0};
    const uint16_t c16[3] = {1000, 65535, 3};
    const double f3[3] = {0.5, 1.25, 3.0}, f1[1] = {2.5};
    auto sat_add = [](auto o, double c) { return saturate<decltype(o)>(double(o) + c); };
    in_place<uint8_t, uint8_t>("addC 8u C3", 3, [&](const uint8_t*, int, uint8_t* p, int s, Size z) {
        return add_c_8u_c3irsfs(p, s, z, c8, 0);
    }, [&](uint8_t, uint8_t o, int i) { return sat_add(o, c8[i % 3]); });
    in_place<uint16_t, uint16_t>("addC 16u", 1, [&](const uint16_t*, int, uint16_t* p, int s, Size z) {
        return add_c_16u_c1irsfs(p, s, z, c16[0], 0);
    }, [&](uint16_t, uint16_t o, int) { return sat_add(o, c16[0]); });
    in_place<uint8_t, uint8_t>("subC 8u", 1, [&](const uint8_t* a, int sa, uint8_t* p, int s, Size z) {
        return sub_c_8u_c1rsfs(a, sa, p, s, z, c8[0], 0);
    }, [&](uint8_t a, uint8_t, int) { return saturate<uint8_t>(double(a) - c8[0]); });
    in_place<uint16_t, uint16_t>("subC 16u C3", 3, [&](const uint16_t* a, int sa, uint16_t* p, int s, Size z) {
        return sub_c_16u_c3rsfs(a, sa, p, s, z, c16, 0);
    }, [&](uint16_t a, uint16_t, int i) { return saturate<uint16_t>(double(a) - c16[i % 3]); });
    in_place<uint8_t, uint8_t>("rsubC 8u", 1, [&](const uint8_t* a, int sa, uint8_t* p, int s, Size z) {
        return rsub_c_8u_c1r(a, sa, p, s, z, 200);
    }, [&](uint8_t a, uint8_t, int) { return saturate<uint8_t>(200.0 - a); });
    in_place<uint16_t, uint16_t>("rsubC 16u", 1, [&](const uint16_t* a, int sa, uint16_t* p, int s, Size z) {
        return rsub_c_16u_c1r(a, sa, p, s, z, 4095);
    }, [&](uint16_t a, uint16_t, int) { return saturate<uint16_t>(4095.0 - a); });
    auto mul = [](auto o, double c) { return saturate<decltype(o)>(std::nearbyint(double(o) * c)); };
    in_place<uint8_t, uint8_t>("mulC 8u C3", 3, [&](const uint8_t*, int, uint8_t* p, int s, Size z) {
        return mul_c_8u_c3ir(p, s, z, f3);
    }, [&](uint8_t, uint8_t o, int i) { return mul(o, f3[i % 3]); });
    in_place<uint16_t, uint16_t>("mulC 16u", 1, [&](const uint16_t*, int, uint16_t* p, int s, Size z) {
        return mul_c_16u_c1ir(p, s, z, f1);
    }, [&](uint16_t, uint16_t o, int) { return mul(o, f1[0]); });
    in_place<float, float>("mulC 32f", 1, [&](const float*, int, float* p, int s, Size z) {
        return mul_c_32f_c1ir(p, s, z, f1);
    }, [&](float, float o, int) { return float(double(o) * f1[0]); });
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
        for (int w : kWidths) {
            Region<uint8_t> src(w, 1), got(3 * w, 2), want = got;
            ASSERT_EQ(lut_8u_c1c3r(src.data(), src.step, got.data(), got.step, {w, kRows}, t8.data(), 8), 0);
            for (int y = 0; y < kRows; ++y)
                for (int x = 0; x < w; ++x)
                    for (int c = 0; c < 3; ++c) want.at(3 * x + c, y) = t8[3 * src.at(x, y) + c];
            expect_same(got.buf, want.buf, "lut 8u C1 to C3", w);
        }
    });
}

TEST(ArithKernels, LogarithmIsAccurateAndMarksTheDomain) {
    using namespace lum::prim;
    // Positive samples only: no warning; every variant identical, all within 2 ulp of the library logarithm.
    std::vector<float> first;
    for_each_variant([&](int) {
        std::mt19937 rng(4);
        std::vector<float> v(4099);
        for (size_t i = 0; i < v.size(); ++i)
            v[i] = i < 64 ? std::ldexp(1.0f, int(i) - 140) : std::exp(float(int(rng() % 16000) - 8000) * 0.01f);
        const std::vector<float> in = v;
        ASSERT_EQ(ln_32f_c1ir(v.data(), int(v.size() * 4), {int(v.size()), 1}), 0);
        for (size_t i = 0; i < v.size(); ++i) {
            const float want = std::log(in[i]);
            ASSERT_LE(std::fabs(v[i] - want), 2.5f * std::fabs(std::nextafter(want, 0.0f) - want) + 1e-7f) << in[i];
        }
        if (first.empty()) first = v;
        ASSERT_EQ(0, std::memcmp(first.data(), v.data(), v.size() * 4));
    });
    float edge[6] = {0.0f, -1.0f, 1.0f, 2.7182817f, HUGE_VALF, std::nanf("")};
    ASSERT_EQ(ln_32f_c1ir(edge, 24, {6, 1}), st_domain);
    EXPECT_EQ(edge[0], -HUGE_VALF);
    EXPECT_TRUE(std::isnan(edge[1]));
    EXPECT_EQ(edge[2], 0.0f);
    EXPECT_NEAR(edge[3], 1.0f, 1e-6f);
    EXPECT_EQ(edge[4], HUGE_VALF);
    EXPECT_TRUE(std::isnan(edge[5]));
}

TEST(ArithKernels, RefuseEmptyRegionsAndNullPointers) {
    using namespace lum::prim;
    uint8_t b[16] = {};
    const double f[1] = {1.0};
    EXPECT_EQ(add_8u_c1rsfs(b, 4, b, 4, nullptr, 4, {1, 1}, 0), st_null);
    EXPECT_EQ(sub_16u_c1irsfs(nullptr, 4, nullptr, 4, {1, 1}, 0), st_null);
    EXPECT_EQ(absdiff_8u_c1r(b, 4, b, 4, b, 4, {0, 1}), st_size);
    EXPECT_EQ(and_8u_c1ir(b, 4, b, 4, {1, -1}), st_size);
    EXPECT_EQ(mul_c_8u_c1ir(b, 4, {1, 1}, nullptr), st_null);
    EXPECT_EQ(mul_c_8u_c1ir(b, 4, {0, 1}, f), st_size);
    EXPECT_EQ(add_c_8u_c1irsfs(b, 4, {1, 0}, 1, 0), st_size);
    EXPECT_EQ(lshift_8u_c1ir(1, nullptr, 4, {1, 1}), st_null);
    EXPECT_EQ(lut_8u_c1r(b, 4, b, 4, {1, 1}, nullptr, 8), st_null);
    EXPECT_EQ(ln_32f_c1ir(nullptr, 4, {1, 1}), st_null);
    EXPECT_EQ(div_32f_c1ir(nullptr, 4, nullptr, 4, {0, 0}), st_null);
}

}  // namespace
