// Linear scaling kernels: all nine pairs and the in-place forms, every
// processor variant against the reference rule on odd widths, steps and
// addresses, byte for byte.
#include <cmath>
#include <limits>

#include "primitives/scale.hpp"
#include "support/unary_check.hpp"

namespace {

using lum::prim::Size;
using lum::test::expect_unary_matches;

// Float destinations in double precision; integer ones in single precision
// with a and b rounded to float, the product rounded before the sum.
template <class S, class D>
D reference(S s, double a, double b) {
    if constexpr (std::is_same_v<D, float>) {
        return static_cast<D>(double(s) * a + b);
    } else {
        volatile float product = float(s) * float(a);  // kept apart from the addition
        const float v = product + float(b);
        const float top = float(std::numeric_limits<D>::max());
        if (!(v > 0)) return 0;
        return static_cast<D>(std::nearbyint(v < top ? v : top));
    }
}

template <class S, class D>
void check_pair(double a, double b) {
    // Which NaN a product of two NaNs keeps is the processor's business: float results of a NaN gain are left out.
    if (std::is_same_v<D, float> && std::isnan(a)) return;
    auto kernel = [a, b](const S* s, int ss, D* d, int ds, Size z) { return lum::prim::scale<S, D>(s, ss, d, ds, z, a, b); };
    auto ref = [a, b](S s, D, int) { return reference<S, D>(s, a, b); };
    expect_unary_matches<S, D>("scale", kernel, ref);
    if constexpr (std::is_same_v<S, D>) expect_unary_matches<S, D>("scale in place", kernel, ref, 0, true);
}

TEST(ScaleKernels, EveryPairMatchesTheReference) {
    // Single-precision shortcuts of float destinations included: a float gain without offset (0.5, 1e30,
    // -0.1f, an infinite one), an offset without gain (1, -20.5), float gains and offsets whose sums are
    // exact in double for integer samples (-0.5 and 300.25, 1e5 and -3e6) and one whose are not (3, 1e-30f).
    const std::pair<double, double> constants[] = {{1.7, -20.5}, {255.0 / 4095.0, 0.0}, {-0.5, 300.25}, {0.5, 0.0},
                                                   {100000.0, -3.0e6}, {1e30, 0.0}, {std::nan(""), 1.0},
                                                   {1.0, -20.5}, {double(-0.1f), -0.0}, {HUGE_VAL, 0.0},
                                                   {1.0, 0.1}, {3.0, double(1e-30f)}};
    for (auto [a, b] : constants) {
        SCOPED_TRACE(a);
        check_pair<uint8_t, uint8_t>(a, b);
        check_pair<uint8_t, uint16_t>(a * 300, b);
        check_pair<uint8_t, float>(a, b);
        check_pair<uint16_t, uint8_t>(a, b);
        check_pair<uint16_t, uint16_t>(a, b);
        check_pair<uint16_t, float>(a, b);
        check_pair<float, uint8_t>(a, b);
        check_pair<float, uint16_t>(a * 100, b);
        check_pair<float, float>(a, b);
    }
}

TEST(ScaleKernels, HalvesGoToEvenNaNToZeroAndSizesAreChecked) {
    using namespace lum::prim;
    const uint8_t s[4] = {1, 3, 5, 7};
    uint8_t d[4];
    lum::test::for_each_variant([&](int) {
        ASSERT_EQ((scale<uint8_t, uint8_t>(s, 4, d, 4, {4, 1}, 0.5, 0.0)), 0);
        EXPECT_EQ(d[0], 0);
        EXPECT_EQ(d[1], 2);
        EXPECT_EQ(d[2], 2);
        EXPECT_EQ(d[3], 4);
        ASSERT_EQ((scale<uint8_t, uint8_t>(s, 4, d, 4, {4, 1}, std::nan(""), 0.0)), 0);
        EXPECT_EQ(d[0], 0);
    });
    EXPECT_EQ((scale<uint8_t, uint8_t>(s, 4, d, 4, {0, 1}, 1, 0)), st_size);
    EXPECT_EQ((scale<uint8_t, uint8_t>(nullptr, 4, d, 4, {1, 1}, 1, 0)), st_null);
}

}  // namespace
