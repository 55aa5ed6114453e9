// Element-wise kernels: every processor variant against a plain scalar
// reference on odd widths and steps, at odd addresses and on whole samples,
// byte for byte, with the bytes around each region left alone.
#include <cmath>
#include <limits>
#include <vector>

#include "primitives/arith.hpp"
#include "primitives/arith_const.hpp"
#include "primitives/convert.hpp"
#include "primitives/lut.hpp"
#include "primitives/scale.hpp"
#include "primitives/shift.hpp"
#include "support/regions.hpp"
#include "support/support.hpp"
#include "support/unary_check.hpp"

namespace {

using lum::prim::Size;
using lum::test::for_each_variant;
using lum::test::kTestWidths;
using lum::test::expect_unary_matches;
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
        for (int w : kTestWidths)
        for (bool aligned : {false, true}) {
            Region<A> a(w, kRows, 1, range, aligned);
            Region<B> b(w, kRows, 2, range, aligned);
            if (expected_status != 0) a.set(0, 0, A(0));  // the sample that raises the warning
            Region<D> got(w, kRows, 3, range, aligned), want = got;
            ASSERT_EQ(kernel(a.data(), a.step, b.data(), b.step, got.data(), got.step, Size{w, kRows}), expected_status)
                << what;
            for (int y = 0; y < kRows; ++y)
                for (int i = 0; i < w; ++i) want.set(i, y, ref(a.get(i, y), b.get(i, y), want.get(i, y), i));
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
        Region<uint8_t> g = canvas;  // one constant: rows stream from their aligned head
        ASSERT_EQ((lum::prim::constant<uint8_t, op::add>(a.data(), a.step, g.data(), g.step, g.size(), c + 1, 1)), 0);
        for (int y = 0; y < h; y += 37)
            for (int i = 0; i < w; ++i) {
                ASSERT_EQ(d.get(i, y), std::min(255, a.get(i, y) + b.get(i, y))) << i << "," << y;
                ASSERT_EQ(f.get(i, y), std::max(0, a.get(i, y) - c[i % 3])) << i << "," << y;
                ASSERT_EQ(g.get(i, y), std::min(255, a.get(i, y) + c[1])) << i << "," << y;
            }
        ASSERT_EQ(g.bytes.back(), canvas.bytes.back());
        ASSERT_EQ(d.bytes.back(), canvas.bytes.back());  // nothing written past the region
        // Widening and scaling stream as well; scaling in place keeps its stores cached.
        Region<uint16_t> wide(w, h, 13);
        Region<uint8_t> scaled = canvas, in_place = a;
        ASSERT_EQ((lum::prim::convert<uint8_t, uint16_t>(a.data(), a.step, wide.data(), wide.step, wide.size(),
                                                          lum::prim::round_nearest)), 0);
        ASSERT_EQ((lum::prim::scale<uint8_t, uint8_t>(a.data(), a.step, scaled.data(), scaled.step, a.size(), 2.0, 1.0)), 0);
        ASSERT_EQ((lum::prim::scale<uint8_t, uint8_t>(in_place.data(), in_place.step, in_place.data(), in_place.step,
                                                      a.size(), 2.0, 1.0)), 0);
        for (int y = 0; y < h; y += 41)
            for (int i = 0; i < w; ++i) {
                ASSERT_EQ(wide.get(i, y), a.get(i, y)) << i << "," << y;
                ASSERT_EQ(scaled.get(i, y), std::min(255, 2 * a.get(i, y) + 1)) << i << "," << y;
                ASSERT_EQ(in_place.get(i, y), scaled.get(i, y)) << i << "," << y;
            }
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
    // Every 16-bit dividend over divisors where quotients come nearest to halves
    // (large quotients, odd and power-of-two divisors) and zero.
    for (const uint16_t divisor : {0, 1, 2, 3, 7, 255, 256, 4093, 65534, 65535}) {
        std::vector<uint16_t> by(65536, divisor), want(65536);
        for (int a = 0; a < 65536; ++a) want[a] = div(divisor, uint16_t{}, uint16_t(a), 0);
        for_each_variant([&](int) {
            std::vector<uint16_t> got(65536);
            for (int a = 0; a < 65536; ++a) got[a] = uint16_t(a);
            lum::prim::divide<uint16_t>(by.data(), 1 << 17, got.data(), 1 << 17, {65536, 1});
            ASSERT_EQ(got, want) << "divisor " << divisor;
        });
    }
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

TEST(ElementwiseKernels, ClampedFormsLowerEveryResultToTheTop) {
    const uint8_t c8[3] = {7, 250, 0};
    const uint16_t c16[3] = {1000, 65535, 3};
    for (const int top : {0, 127, 255, 4095, 65535}) {
        SCOPED_TRACE(top);
        auto add = [top](auto a, auto b, auto, int) {
            using T = decltype(a);
            return std::min(saturate<T>(double(a) + b), static_cast<T>(std::min<int>(top, std::numeric_limits<T>::max())));
        };
        if (top <= 255)
            check<uint8_t, uint8_t, uint8_t>("add 8u", [top](const uint8_t* a, int sa, const uint8_t* b, int sb, uint8_t* d, int sd, Size z) {
                return lum::prim::binary_clamped<uint8_t, op::add>(a, sa, b, sb, d, sd, z, uint8_t(top));
            }, add);
        check<uint16_t, uint16_t, uint16_t>("add 16u", [top](const uint16_t* a, int sa, const uint16_t* b, int sb, uint16_t* d, int sd, Size z) {
            return lum::prim::binary_clamped<uint16_t, op::add>(a, sa, b, sb, d, sd, z, uint16_t(top));
        }, add);
        for (int channels : {1, 3}) {
            auto with = [channels](const auto* c, int i) { return c[channels == 3 ? i % 3 : 0]; };
            if (top <= 255)
                expect_unary_matches<uint8_t, uint8_t>("add constant 8u", [&](const uint8_t* s, int ss, uint8_t* d, int ds, Size z) {
                    return lum::prim::constant_clamped<uint8_t, op::add>(s, ss, d, ds, z, c8, channels, uint8_t(top));
                }, [&](uint8_t s, uint8_t, int i) { return std::min<uint8_t>(saturate<uint8_t>(double(s) + with(c8, i)), top); }, 0, true);
            expect_unary_matches<uint16_t, uint16_t>("add constant 16u", [&](const uint16_t* s, int ss, uint16_t* d, int ds, Size z) {
                return lum::prim::constant_clamped<uint16_t, op::add>(s, ss, d, ds, z, c16, channels, uint16_t(top));
            }, [&](uint16_t s, uint16_t, int i) { return std::min<uint16_t>(saturate<uint16_t>(double(s) + with(c16, i)), top); });
        }
    }
}

// The double-precision rule of the multiplications: the product of the sample
// (less the offset, for bytes) clamped to the range, rounded half to even.
template <class T>
T exact_product(T v, double c, int offset = 0) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(double(v) * c);
    } else {
        const double p = double(std::max(int(v) - offset, 0)) * c;
        return std::isnan(p) ? T(0) : saturate<T>(std::nearbyint(p));
    }
}

template <class T>
lum::prim::multiply_plan plan_of(const double* factors, int channels, uint32_t top, const uint8_t* offsets = nullptr) {
    lum::prim::multiply_plan plan;
    EXPECT_EQ(lum::prim::plan_multiply<T>(factors, channels, top, offsets, plan), 0);
    return plan;
}

// 8-bit products run in single precision when a float factor reproduces the
// double results for all 256 values (a few patched), from a table otherwise:
// both must equal the double-precision rule for every byte, near-halves
// included, with and without an offset subtracted first.
TEST(ArithKernels, EightBitMultiplyEqualsDoublePrecisionForEveryByte) {
    using namespace lum::prim;
    std::mt19937 rng(17);
    std::vector<double> factors = {2.55, 1.7, 255.0 / 149.1, 0.1, 1.0 / 3, 100.5, 20000.0, -1.0, 0.0, HUGE_VAL, std::nan("")};
    for (int k = 0; k < 300; ++k) factors.push_back(std::ldexp(double(rng() % 1000000), -int(rng() % 20)));
    for_each_variant([&](int) {
        for (const double c : factors) {
            const double c3[3] = {c, c * 0.5, 1.0};
            const uint8_t offsets[3] = {0, 50, 255};
            uint8_t v[256], v3[3 * 256], w3[3 * 256];
            for (int i = 0; i < 256; ++i) v[i] = uint8_t(i);
            for (int i = 0; i < 768; ++i) v3[i] = uint8_t(i / 3);
            const multiply_plan one = plan_of<uint8_t>(&c, 1, 255), three = plan_of<uint8_t>(c3, 3, 255),
                                shifted = plan_of<uint8_t>(c3, 3, 200, offsets);
            ASSERT_EQ(multiply<uint8_t>(v, 256, v, 256, {256, 1}, &one), 0);
            ASSERT_EQ(multiply<uint8_t>(v3, 768, w3, 768, {768, 1}, &shifted), 0);
            ASSERT_EQ(multiply<uint8_t>(v3, 768, v3, 768, {768, 1}, &three), 0);
            for (int i = 0; i < 256; ++i) {
                ASSERT_EQ(v[i], exact_product<uint8_t>(uint8_t(i), c)) << c << " at " << i;
                for (int ch = 0; ch < 3; ++ch) {
                    ASSERT_EQ(v3[3 * i + ch], exact_product<uint8_t>(uint8_t(i), c3[ch])) << c << " at " << i;
                    ASSERT_EQ(w3[3 * i + ch], std::min<uint8_t>(exact_product<uint8_t>(uint8_t(i), c3[ch], offsets[ch]), 200))
                        << c << " at " << i;
                }
            }
        }
    });
}

TEST(ArithKernels, MultiplicationsMatchTheReferenceAtAnyAddress) {
    const double factors[3] = {1.0001, 0.4999, 3.5};
    for (int channels : {1, 3}) {
        SCOPED_TRACE(channels);
        auto with = [channels, &factors](int i) { return factors[channels == 3 ? i % 3 : 0]; };
        for (const uint32_t top : {65535u, 4095u}) {
            const auto plan = plan_of<uint16_t>(factors, channels, top);
            expect_unary_matches<uint16_t, uint16_t>("16u", [&](const uint16_t* s, int ss, uint16_t* d, int ds, Size z) {
                return lum::prim::multiply<uint16_t>(s, ss, d, ds, z, &plan);
            }, [&](uint16_t s, uint16_t, int i) { return std::min<uint16_t>(exact_product<uint16_t>(s, with(i)), top); }, 0, true);
        }
        const auto bytes = plan_of<uint8_t>(factors, channels, 100);
        expect_unary_matches<uint8_t, uint8_t>("8u", [&](const uint8_t* s, int ss, uint8_t* d, int ds, Size z) {
            return lum::prim::multiply<uint8_t>(s, ss, d, ds, z, &bytes);
        }, [&](uint8_t s, uint8_t, int i) { return std::min<uint8_t>(exact_product<uint8_t>(s, with(i)), 100); });
        const auto floats = plan_of<float>(factors, channels, 0);
        expect_unary_matches<float, float>("32f", [&](const float* s, int ss, float* d, int ds, Size z) {
            return lum::prim::multiply<float>(s, ss, d, ds, z, &floats);
        }, [&](float s, float, int i) { return exact_product<float>(s, with(i)); }, 0, true);
    }
}

template <class S, class D, class Dir>
void check_shift(uint32_t c, bool in_place = false) {
    constexpr bool left = std::is_same_v<Dir, op::shift_left>;
    using W = std::conditional_t<(sizeof(S) > sizeof(D)), S, D>;
    auto kernel = [c](const S* s, int ss, D* d, int ds, Size z) { return lum::prim::shift<S, D, Dir>(s, ss, d, ds, z, c); };
    // Shifted at the wider width (bits beyond it lost), then saturated to D.
    auto ref = [c](S s, D, int) {
        const uint64_t w = c >= 8 * sizeof(W) ? 0 : static_cast<W>(left ? uint64_t(s) << c : uint64_t(s) >> c);
        return static_cast<D>(std::min<uint64_t>(w, std::numeric_limits<D>::max()));
    };
    expect_unary_matches<S, D>(left ? "left" : "right", kernel, ref, 0, in_place);
}

TEST(ArithKernels, ShiftsMatchTheReferenceForEveryCountAndPair) {
    for (uint32_t c : {0u, 1u, 3u, 7u, 8u, 12u, 15u, 16u, 31u, 40u}) {
        SCOPED_TRACE(c);
        check_shift<uint8_t, uint8_t, op::shift_left>(c);
        check_shift<uint8_t, uint8_t, op::shift_right>(c, true);
        check_shift<uint16_t, uint16_t, op::shift_left>(c, true);
        check_shift<uint16_t, uint16_t, op::shift_right>(c);
        check_shift<uint16_t, uint8_t, op::shift_left>(c);
        check_shift<uint16_t, uint8_t, op::shift_right>(c);
        check_shift<uint8_t, uint16_t, op::shift_left>(c);
        check_shift<uint8_t, uint16_t, op::shift_right>(c);
    }
}

TEST(ArithKernels, LookUpsClampIndexesToTheTable) {
    using lum::prim::lut;
    std::vector<uint8_t> t8(3 * 256);
    std::vector<uint8_t> t16_bytes(2 * 2 * 4096 + 1);  // 16-bit entries read from an odd address
    std::mt19937 rng(9);
    for (auto& v : t8) v = uint8_t(rng());
    for (auto& v : t16_bytes) v = uint8_t(rng());
    const auto* t16 = reinterpret_cast<const uint16_t*>(t16_bytes.data() + 1);
    auto entry16 = [&](int i) {
        uint16_t v;
        std::memcpy(&v, t16_bytes.data() + 1 + 2 * i, 2);
        return v;
    };
    for (int bits : {8, 5, 0, 12}) {
        SCOPED_TRACE(bits);
        const int last = (1 << std::min(bits, 8)) - 1;
        const uint8_t* three[3] = {t8.data(), t8.data() + 256, t8.data() + 512};
        for (int channels : {1, 3})
            expect_unary_matches<uint8_t, uint8_t>("8u", [&](const uint8_t* s, int ss, uint8_t* d, int ds, Size z) {
                return lut<uint8_t>(s, ss, d, ds, z, three, channels, bits);
            }, [&](uint8_t s, uint8_t, int i) { return three[channels == 3 ? i % 3 : 0][std::min<int>(s, last)]; }, 0, channels == 3);
    }
    const uint16_t* three[3] = {t16, t16 + 4096, t16 + 2048};
    for (int channels : {1, 3})
        expect_unary_matches<uint16_t, uint16_t>("16u", [&](const uint16_t* s, int ss, uint16_t* d, int ds, Size z) {
            return lut<uint16_t>(s, ss, d, ds, z, three, channels, 11);
        }, [&](uint16_t s, uint16_t, int i) {
            const int start[3] = {0, 4096, 2048};
            return entry16(start[channels == 3 ? i % 3 : 0] + std::min<int>(s, 2047));
        });
    // Gray to colour: three bytes per entry.
    for_each_variant([&](int) {
        for (int w : kTestWidths) {
            Region<uint8_t> src(w, kRows, 1), got(3 * w, kRows, 2), want = got;
            ASSERT_EQ(lum::prim::lut_8u_c1c3(src.data(), src.step, got.data(), got.step, {w, kRows}, t8.data(), 8), 0);
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
    multiply_plan plan;
    EXPECT_EQ(plan_multiply<uint8_t>(nullptr, 1, 255, nullptr, plan), st_null);
    ASSERT_EQ(plan_multiply<uint8_t>(f, 1, 255, nullptr, plan), 0);
    EXPECT_EQ(multiply<uint8_t>(b, 4, b, 4, {0, 1}, &plan), st_size);
    EXPECT_EQ(multiply<uint8_t>(b, 4, b, 4, {1, 1}, nullptr), st_null);
    EXPECT_EQ((shift<uint8_t, uint8_t, op::shift_left>(nullptr, 4, b, 4, {1, 1}, 1)), st_null);
    EXPECT_EQ((shift<uint16_t, uint8_t, op::shift_right>(nullptr, 4, b, 4, {0, 1}, 1)), st_null);
    EXPECT_EQ((shift<uint8_t, uint16_t, op::shift_right>(b, 4, nullptr, 4, {1, 1}, 1)), st_null);
    const uint8_t* none[3] = {b, nullptr, b};
    EXPECT_EQ(lut<uint8_t>(b, 4, b, 4, {1, 1}, nullptr, 1, 8), st_null);
    EXPECT_EQ(lut<uint8_t>(b, 4, b, 4, {0, 1}, none, 3, 8), st_size);
    EXPECT_EQ(lut<uint8_t>(b, 4, b, 4, {1, 1}, none, 3, 8), st_null);
    const uint8_t identity[256] = {};
    const uint8_t* whole[1] = {identity};
    EXPECT_EQ(lut<uint8_t>(b, 4, b, 4, {1, 1}, whole, 1, 8), 0);
}

}  // namespace
