// Linear scaling kernels: all nine pairs and the in-place forms, every
// processor variant against a double-precision reference, byte for byte.
#include <cmath>
#include <limits>
#include <vector>

#include "primitives/scale.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::for_each_variant;

constexpr int kWidths[] = {1, 15, 17, 63, 65, 1000};
constexpr int kRows = 3;

template <class T>
std::vector<T> random_row_block(int n, uint32_t seed) {
    std::mt19937 rng(seed);
    std::vector<T> v(size_t(n + 7) * kRows + 2);
    for (auto& x : v) {
        if constexpr (std::is_same_v<T, float>)
            x = float(int(rng() % 400001) - 100000) * 0.005f;
        else
            x = static_cast<T>(rng());
    }
    return v;
}

// Float destinations in double precision; integer ones in single precision.
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

template <class S, class D, class K>
void check_pair(K kernel, double a, double b) {
    for_each_variant([&](int) {
        for (int w : kWidths) {
            const int ss = int(sizeof(S)) * (w + 7), ds = int(sizeof(D)) * (w + 7);
            auto src = random_row_block<S>(w, 1);
            auto got = random_row_block<D>(w, 2), want = got;
            ASSERT_EQ(kernel(src.data() + 1, ss, got.data() + 1, ds, Size{w, kRows}, a, b), 0);
            for (int y = 0; y < kRows; ++y)
                for (int x = 0; x < w; ++x)
                    want[1 + size_t(y) * (w + 7) + x] = reference<S, D>(src[1 + size_t(y) * (w + 7) + x], a, b);
            ASSERT_EQ(0, std::memcmp(got.data(), want.data(), got.size() * sizeof(D))) << "width " << w;
        }
    });
}

TEST(ScaleKernels, EveryPairMatchesTheReference) {
    using namespace lum::prim;
    for (auto [a, b] : {std::pair{1.7, -20.5}, std::pair{255.0 / 4095.0, 0.0}, std::pair{-0.5, 300.25}, std::pair{0.5, 0.0}, std::pair{100000.0, -3.0e6}}) {
        SCOPED_TRACE(a);
        check_pair<uint8_t, uint8_t>(scale_8u8u_c1r, a, b);
        check_pair<uint8_t, uint16_t>(scale_8u16u_c1r, a * 300, b);
        check_pair<uint8_t, float>(scale_8u32f_c1r, a, b);
        check_pair<uint16_t, uint8_t>(scale_16u8u_c1r, a, b);
        check_pair<uint16_t, uint16_t>(scale_16u16u_c1r, a, b);
        check_pair<uint16_t, float>(scale_16u32f_c1r, a, b);
        check_pair<float, uint8_t>(scale_32f8u_c1r, a, b);
        check_pair<float, uint16_t>(scale_32f16u_c1r, a * 100, b);
        check_pair<float, float>(scale_32f32f_c1r, a, b);
    }
}

TEST(ScaleKernels, InPlaceFormsEqualTheTwoRegionForms) {
    using namespace lum::prim;
    for_each_variant([](int) {
        auto p = random_row_block<uint16_t>(65, 3), q = p, out = p;
        ASSERT_EQ(scale_16u_c1ir(p.data(), 144, {65, kRows}, 0.75, 3.5), 0);
        ASSERT_EQ(scale_16u16u_c1r(q.data(), 144, out.data(), 144, {65, kRows}, 0.75, 3.5), 0);
        EXPECT_EQ(p, out);
        auto f = random_row_block<float>(17, 4), g = f;
        ASSERT_EQ(scale_32f_c1ir(f.data(), 96, {17, kRows}, -2.0, 1.0), 0);
        ASSERT_EQ(scale_32f32f_c1r(g.data(), 96, g.data(), 96, {17, kRows}, -2.0, 1.0), 0);
        EXPECT_EQ(f, g);
    });
}

TEST(ScaleKernels, HalvesGoToEvenNaNToZeroAndSizesAreChecked) {
    using namespace lum::prim;
    const uint8_t s[4] = {1, 3, 5, 7};
    uint8_t d[4];
    ASSERT_EQ(scale_8u8u_c1r(s, 4, d, 4, {4, 1}, 0.5, 0.0), 0);
    EXPECT_EQ(d[0], 0);
    EXPECT_EQ(d[1], 2);
    EXPECT_EQ(d[2], 2);
    EXPECT_EQ(d[3], 4);
    ASSERT_EQ(scale_8u8u_c1r(s, 4, d, 4, {4, 1}, std::nan(""), 0.0), 0);
    EXPECT_EQ(d[0], 0);
    EXPECT_EQ(scale_8u8u_c1r(s, 4, d, 4, {0, 1}, 1, 0), st_size);
    EXPECT_EQ(scale_8u_c1ir(nullptr, 4, {1, 1}, 1, 0), st_null);
}

}  // namespace
