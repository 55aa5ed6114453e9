// Conversion kernels: every processor variant against a plain reference on
// odd widths and steps, byte for byte, bytes around the region untouched.
#include <cmath>
#include <vector>

#include "primitives/convert.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::for_each_variant;

constexpr int kWidths[] = {1, 15, 17, 63, 65, 1000};

// A random buffer holding `rows` rows of `step` bytes, plus a margin.
struct Canvas {
    int step;
    std::vector<uint8_t> bytes;
    Canvas(int step_, int rows, uint32_t seed) : step(step_), bytes(size_t(step_) * rows + 64) {
        std::mt19937 rng(seed);
        for (auto& b : bytes) b = static_cast<uint8_t>(rng());
    }
    template <class T>
    T* at(int offset = 0) { return reinterpret_cast<T*>(bytes.data() + offset); }
    template <class T>
    T& sample(int x, int y, int offset = 0) { return reinterpret_cast<T*>(bytes.data() + offset + size_t(y) * step)[x]; }
};

// Source samples that exercise the edges of each conversion.
template <class S>
void fill_source(Canvas& c, int n, int rows) {
    std::mt19937 rng(n * 7 + rows);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < n; ++x) {
            if constexpr (std::is_same_v<S, float>)
                c.sample<float>(x, y) = float(int(rng() % 1400) - 400) * 0.25f;  // halves, negatives, above 255
            else
                c.sample<S>(x, y) = static_cast<S>(rng());
        }
}

template <class S, class D, class Kernel, class Ref>
void check(Kernel kernel, Ref ref, int channels) {
    for_each_variant([&](int) {
        for (int w : kWidths) {
            const int h = 3, n = w * channels;
            const int sstep = n * int(sizeof(S)) + 6 * int(sizeof(S)), dstep = n * int(sizeof(D)) + 5 * int(sizeof(D));
            Canvas src(sstep, h, 1);
            fill_source<S>(src, n, h);
            Canvas got(dstep, h, 2), want(dstep, h, 2);
            ASSERT_EQ(kernel(src.at<S>(), sstep, got.at<D>(0), dstep,
                             Size{w, h}),
                      0);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < n; ++x) want.sample<D>(x, y) = ref(src.sample<S>(x, y));
            ASSERT_EQ(got.bytes, want.bytes) << "width " << w << " channels " << channels;
        }
    });
}

TEST(ConvertKernels, EveryVariantMatchesTheReference) {
    using namespace lum::prim;
    auto widen = [](auto v) { return static_cast<uint16_t>(v); };
    auto narrow = [](uint16_t v) { return static_cast<uint8_t>(v > 255 ? 255 : v); };
    auto to_float = [](uint16_t v) { return static_cast<float>(v); };
    check<uint8_t, uint16_t>(convert_8u16u_c1r, widen, 1);
    check<uint8_t, uint16_t>(convert_8u16u_c3r, widen, 3);
    check<uint16_t, uint8_t>(convert_16u8u_c1r, narrow, 1);
    check<uint16_t, uint8_t>(convert_16u8u_c3r, narrow, 3);
    check<uint16_t, float>(convert_16u32f_c1r, to_float, 1);
    check<uint16_t, float>(convert_16u32f_c3r, to_float, 3);
    auto nearest = [](const float* s, int ss, uint8_t* d, int ds, Size z) {
        return convert_32f8u_c1r(s, ss, d, ds, z, round_nearest);
    };
    check<float, uint8_t>(nearest, [](float v) { return uint8_t(std::nearbyint(std::fmin(std::fmax(v, 0.f), 255.f))); },
                          1);
    auto toward_zero = [](const float* s, int ss, uint8_t* d, int ds, Size z) {
        return convert_32f8u_c1r(s, ss, d, ds, z, round_zero);
    };
    check<float, uint8_t>(toward_zero, [](float v) { return uint8_t(std::fmin(std::fmax(v, 0.f), 255.f)); }, 1);
}

TEST(ConvertKernels, RefuseEmptyRegionsNullPointersAndUnknownRounding) {
    using namespace lum::prim;
    uint8_t b[64] = {};
    uint16_t w[64] = {};
    float f[16] = {};
    EXPECT_EQ(convert_8u16u_c1r(b, 8, w, 16, {0, 1}), st_size);
    EXPECT_EQ(convert_16u8u_c3r(w, 8, b, 16, {1, 0}), st_size);
    EXPECT_EQ(convert_16u32f_c1r(nullptr, 8, f, 16, {1, 1}), st_null);
    EXPECT_EQ(convert_32f8u_c1r(f, 8, nullptr, 8, {1, 1}, round_nearest), st_null);
    EXPECT_EQ(convert_32f8u_c1r(f, 8, b, 8, {1, 1}, 7), st_bad_arg);
}

TEST(ConvertKernels, NaNBecomesZero) {
    const float nan = std::nanf("");
    uint8_t out = 9;
    ASSERT_EQ(lum::prim::convert_32f8u_c1r(&nan, 4, &out, 1, {1, 1}, lum::prim::round_nearest), 0);
    EXPECT_EQ(out, 0);
}

}  // namespace
