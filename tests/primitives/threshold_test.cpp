// Threshold, compare and masked-set kernels: every processor variant against
// a plain reference on odd widths and steps, bytes around the region intact.
#include <vector>

#include "primitives/threshold.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;

struct Buffer {
    int step, rows;
    std::vector<uint8_t> bytes;
    Buffer(int step_, int rows_, uint32_t seed) : step(step_), rows(rows_), bytes(size_t(step_) * rows_ + 16) {
        std::mt19937 rng(seed);
        for (auto& b : bytes) b = static_cast<uint8_t>(rng() % 7 == 0 ? 0 : rng());
    }
    template <class T>
    T* at(int offset = 0) {
        return reinterpret_cast<T*>(bytes.data() + offset);
    }
    template <class T>
    T get(int off, int x, int y) const {
        T v;
        std::memcpy(&v, bytes.data() + off + size_t(y) * step + x * sizeof(T), sizeof v);
        return v;
    }
    template <class T>
    void put(int off, int x, int y, T v) {
        std::memcpy(bytes.data() + off + size_t(y) * step + x * sizeof(T), &v, sizeof v);
    }
};

template <class T>
void check_family(int w, T t, T v) {
    const int h = 3, off = int(sizeof(T));
    const int step = w * int(sizeof(T)) + 5 * int(sizeof(T)), mstep = w + 7;
    Buffer src(step, h, w), got(step, h, w + 1), want(step, h, w + 1), mask(mstep, h, w + 2);
    if constexpr (std::is_floating_point_v<T>)
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) src.put<T>(off, x, y, T((x * 7 + y) % 13)), got.put<T>(off, x, y, T(x % 5)),
                                        want.put<T>(off, x, y, T(x % 5));
    auto kernels = [&](auto lt_copy, auto lt, auto ge, auto set) {
        // below-to-value, copying
        Buffer g = got, wt = want;
        ASSERT_EQ(lt_copy(src.at<T>(off), step, g.at<T>(off), step, Size{w, h}, t, v), 0);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const T s = src.get<T>(off, x, y);
                wt.put<T>(off, x, y, s < t ? v : s);
            }
        ASSERT_EQ(g.bytes, wt.bytes) << "lt copy width " << w;
        // below-to-value, in place
        g = src, wt = src;
        ASSERT_EQ(lt(g.at<T>(off), step, Size{w, h}, t, v), 0);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const T s = src.get<T>(off, x, y);
                wt.put<T>(off, x, y, s < t ? v : s);
            }
        ASSERT_EQ(g.bytes, wt.bytes) << "lt in place width " << w;
        // compare into a mask
        Buffer gm = mask, wm = mask;
        ASSERT_EQ(ge(src.at<T>(off), step, t, gm.at<uint8_t>(1), mstep, Size{w, h}), 0);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) wm.put<uint8_t>(1, x, y, src.get<T>(off, x, y) >= t ? 255 : 0);
        ASSERT_EQ(gm.bytes, wm.bytes) << "compare width " << w;
        // masked set
        g = src, wt = src;
        ASSERT_EQ(set(v, g.at<T>(off), step, Size{w, h}, mask.at<uint8_t>(1), mstep), 0);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                if (mask.get<uint8_t>(1, x, y)) wt.put<T>(off, x, y, v);
        ASSERT_EQ(g.bytes, wt.bytes) << "masked set width " << w;
    };
    if constexpr (sizeof(T) == 1)
        kernels(lum::prim::threshold_lt_val_8u_c1r, lum::prim::threshold_lt_val_8u_c1ir, lum::prim::compare_ge_c_8u_c1r,
                lum::prim::set_masked_8u_c1mr);
    else if constexpr (std::is_same_v<T, uint16_t>)
        kernels(lum::prim::threshold_lt_val_16u_c1r, lum::prim::threshold_lt_val_16u_c1ir,
                lum::prim::compare_ge_c_16u_c1r, lum::prim::set_masked_16u_c1mr);
    else
        kernels(lum::prim::threshold_lt_val_32f_c1r, lum::prim::threshold_lt_val_32f_c1ir,
                lum::prim::compare_ge_c_32f_c1r, lum::prim::set_masked_32f_c1mr);
}

TEST(ThresholdKernels, EveryVariantMatchesTheReference) {
    lum::test::for_each_variant([](int) {
        for (int w : {1, 15, 17, 63, 65, 1000}) {
            check_family<uint8_t>(w, 100, 7);
            check_family<uint16_t>(w, 30000, 9);
            check_family<float>(w, 6.0f, -1.5f);
        }
    });
}

// The one-pass forms equal the steps they stand for, run one after the other.
template <class T>
void check_fused(int w, T lt, T ltv, T gt, T gtv) {
    const int h = 3, step = w * int(sizeof(T)) + 3 * int(sizeof(T));
    Buffer src(step, h, w), got(step, h, w + 5), want(step, h, w + 5);
    std::vector<T> row(w);
    auto fused = [&](auto lt_gt) {
        Buffer g = got, wt = got;
        ASSERT_EQ(lt_gt(src.at<T>(0), step, g.at<T>(0), step, Size{w, h}, lt, ltv, gt, gtv), 0);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                T v = src.get<T>(0, x, y);
                v = v < lt ? ltv : v;
                wt.put<T>(0, x, y, v > gt ? gtv : v);
            }
        ASSERT_EQ(g.bytes, wt.bytes) << "lt_gt width " << w;
    };
    auto split_and_chain = [&](auto split, auto chain) {
        Buffer g = got, wt = got;
        ASSERT_EQ(split(src.at<T>(0), step, g.at<T>(0), step, Size{w, h}, lt, ltv, gtv), 0);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) wt.put<T>(0, x, y, src.get<T>(0, x, y) < lt ? ltv : gtv);
        ASSERT_EQ(g.bytes, wt.bytes) << "split width " << w;
        g = src, wt = src;
        ASSERT_EQ(chain(g.at<T>(0), step, Size{w, h}, lt, ltv, gtv), 0);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                T v = src.get<T>(0, x, y);
                v = v < lt ? ltv : v;
                wt.put<T>(0, x, y, v >= lt ? gtv : v);
            }
        ASSERT_EQ(g.bytes, wt.bytes) << "lt then ge width " << w;
    };
    if constexpr (sizeof(T) == 1) {
        fused(lum::prim::threshold_lt_gt_val_8u_c1r);
        split_and_chain(lum::prim::threshold_split_8u_c1r, lum::prim::threshold_lt_then_ge_8u_c1ir);
    } else if constexpr (std::is_same_v<T, uint16_t>) {
        fused(lum::prim::threshold_lt_gt_val_16u_c1r);
        split_and_chain(lum::prim::threshold_split_16u_c1r, lum::prim::threshold_lt_then_ge_16u_c1ir);
    } else {
        fused(lum::prim::threshold_lt_gt_val_32f_c1r);
    }
}

TEST(ThresholdKernels, OnePassFormsMatchTheirSteps) {
    lum::test::for_each_variant([](int) {
        for (int w : {1, 15, 17, 63, 65, 1000}) {
            check_fused<uint8_t>(w, 100, 3, 99, 250);
            check_fused<uint8_t>(w, 50, 20, 200, 7);
            check_fused<uint16_t>(w, 30000, 1, 29999, 65535);
            check_fused<float>(w, 0.5f, -2.0f, 0.4999f, 9.0f);
        }
    });
}

TEST(ThresholdKernels, NullAndEmpty) {
    uint8_t b[8] = {};
    EXPECT_EQ(lum::prim::threshold_lt_val_8u_c1r(nullptr, 8, b, 8, {1, 1}, 1, 1), -8);
    EXPECT_EQ(lum::prim::threshold_lt_val_8u_c1ir(b, 8, {0, 1}, 1, 1), -6);
    EXPECT_EQ(lum::prim::compare_ge_c_8u_c1r(b, 8, 1, nullptr, 8, {1, 1}), -8);
    EXPECT_EQ(lum::prim::set_masked_8u_c1mr(1, b, 8, {1, -1}, b, 8), -6);
    EXPECT_EQ(lum::prim::set_masked_8u_c1mr(1, b, 8, {1, 1}, nullptr, 8), -8);
}

}  // namespace
