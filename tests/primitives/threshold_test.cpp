// Threshold, compare and masked-set kernels: every rule, every processor
// variant, against a plain reference on odd widths and steps at odd
// addresses, the bytes around each region intact; rows whose destination
// runs ahead inside their own source behave as a left-to-right pass.
#include <cmath>
#include <vector>

#include "primitives/threshold.hpp"
#include "support/regions.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::for_each_variant;
using lum::test::kTestWidths;
using lum::test::Region;
namespace thr = lum::prim::thr;

constexpr int kRows = 3;

// Samples that sit on, just below and just above the thresholds used below.
template <class T>
Region<T> source(int w, uint32_t seed) {
    Region<T> r(w, kRows, seed);
    std::mt19937 rng(seed);
    if constexpr (std::is_floating_point_v<T>) {
        for (int y = 0; y < kRows; ++y)
            for (int x = 0; x < w; ++x) r.set(x, y, rng() % 9 == 0 ? NAN : T(int(rng() % 27) - 13) * 0.25f);
    } else {
        for (int y = 0; y < kRows; ++y)
            for (int x = 0; x < w; x += 2) r.set(x, y, T(100 + int(rng() % 5) - 2));
    }
    return r;
}

// dst = threshold(src) with the rule against ref(sample) on a separate
// destination and in place.
template <class T, class Rule, class Ref>
void check_rule(const char* what, Rule rule, Ref ref) {
    for (int w : kTestWidths) {
        const Region<T> src = source<T>(w, w);
        Region<T> got(w, kRows, w + 1), want = got;
        for (int y = 0; y < kRows; ++y)
            for (int x = 0; x < w; ++x) want.set(x, y, ref(src.get(x, y)));
        ASSERT_EQ((lum::prim::threshold<T, Rule>(src.data(), src.step, got.data(), got.step, src.size(), rule)), 0);
        ASSERT_EQ(got.bytes, want.bytes) << what << ", width " << w;
        Region<T> in_place = src;
        ASSERT_EQ((lum::prim::threshold<T, Rule>(in_place.data(), in_place.step, in_place.data(), in_place.step,
                                                 src.size(), rule)),
                  0);
        for (int y = 0; y < kRows; ++y)
            for (int x = 0; x < w; ++x)
                ASSERT_EQ(std::memcmp(&in_place.bytes[in_place.at_byte(x, y)], &want.bytes[want.at_byte(x, y)],
                                      sizeof(T)),
                          0)
                    << what << " in place, width " << w;
    }
}

template <class T>
void check_rules(T t, T v, T low, T high) {
    check_rule<T>("below", thr::below<T>{t, v}, [=](T s) { return s < t ? v : s; });
    check_rule<T>("above", thr::above<T>{t, v}, [=](T s) { return s > t ? v : s; });
    check_rule<T>("below then above", thr::below_above<T>{t, low, T(t - 1), high}, [=](T s) {
        const T a = s < t ? low : s;
        return a > T(t - 1) ? high : a;
    });
    check_rule<T>("clip", thr::below_above<T>{low, low, high, high}, [=](T s) {
        const T a = s < low ? low : s;
        return a > high ? high : a;
    });
    if constexpr (!std::is_floating_point_v<T>) {
        check_rule<T>("split", thr::split<T>{t, high, low}, [=](T s) { return s < t ? high : low; });
        check_rule<T>("below then at least", thr::below_then_at_least<T>{t, high, low}, [=](T s) {
            const T a = s < t ? high : s;
            return a >= t ? low : a;
        });
        check_rule<T>("below then at least, raised below", thr::below_then_at_least<T>{t, T(t / 2), low}, [=](T s) {
            const T a = s < t ? T(t / 2) : s;
            return a >= t ? low : a;
        });
    }
}

TEST(ThresholdKernels, EveryRuleMatchesTheReference) {
    for_each_variant([](int) {
        check_rules<uint8_t>(100, 7, 3, 250);
        check_rules<uint16_t>(100, 9, 1, 65535);
        check_rules<float>(0.5f, -1.5f, -2.0f, 2.5f);
    });
}

template <class T>
void check_mask_kernels(T t, T v) {
    for (int w : kTestWidths) {
        const Region<T> src = source<T>(w, w + 3);
        Region<uint8_t> mask(w, kRows, w + 4), want_mask = mask;
        for (int y = 0; y < kRows; ++y)
            for (int x = 0; x < w; ++x) want_mask.set(x, y, src.get(x, y) >= t ? 255 : 0);
        ASSERT_EQ(lum::prim::compare_at_least<T>(src.data(), src.step, t, mask.data(), mask.step, src.size()), 0);
        ASSERT_EQ(mask.bytes, want_mask.bytes) << "compare, width " << w;

        Region<uint8_t> select(w, kRows, w + 5, 3);
        Region<T> got = src, want = src;
        for (int y = 0; y < kRows; ++y)
            for (int x = 0; x < w; ++x)
                if (select.get(x, y)) want.set(x, y, v);
        ASSERT_EQ(lum::prim::set_selected<T>(v, got.data(), got.step, src.size(), select.data(), select.step), 0);
        ASSERT_EQ(got.bytes, want.bytes) << "masked set, width " << w;
    }
}

TEST(ThresholdKernels, CompareAndMaskedSet) {
    for_each_variant([](int) {
        check_mask_kernels<uint8_t>(100, 7);
        check_mask_kernels<uint16_t>(100, 65535);
        check_mask_kernels<float>(0.5f, -1.5f);
    });
}

// A destination that starts inside its own source row, ahead of it, reads
// what the row already wrote: the result of one sample at a time, left to
// right. One behind reads only samples not yet written.
TEST(ThresholdKernels, OverlappingRowsActAsOnePassInOrder) {
    for_each_variant([](int) {
        for (int w : kTestWidths) {
            for (int shift : {1, 3, 64, -1, -40}) {
                Region<uint16_t> buf(w + 100, 2, w);
                const int from = shift > 0 ? 10 : 10 - shift, to = from + shift;
                Region<uint16_t> want = buf;
                const thr::below_above<uint16_t> rule{30000, 5, 29999, 65535};
                for (int y = 0; y < 2; ++y)
                    for (int x = 0; x < w; ++x) {
                        uint16_t s = want.get(from + x, y);
                        s = s < 30000 ? 5 : s;
                        want.set(to + x, y, s > 29999 ? 65535 : s);
                    }
                uint16_t* base = buf.data();
                ASSERT_EQ((lum::prim::threshold<uint16_t, thr::below_above<uint16_t>>(
                              base + from, buf.step, base + to, buf.step, Size{w, 2}, rule)),
                          0);
                ASSERT_EQ(buf.bytes, want.bytes) << "width " << w << " shift " << shift;
            }
        }
    });
}

// Destinations larger than the caches go out through streaming stores from
// their first aligned vector on: the same bytes, the same untouched padding.
TEST(ThresholdKernels, LargeDestinations) {
    for_each_variant([](int) {
        const int w = 2101, h = 2050;
        const Region<uint8_t> src(w, h, 7);
        Region<uint8_t> got(w, h, 8), want = got;
        const thr::below_above<uint8_t> rule{100, 3, 99, 250};
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) want.set(x, y, src.get(x, y) < 100 ? 3 : 250);
        ASSERT_EQ((lum::prim::threshold<uint8_t, thr::below_above<uint8_t>>(src.data(), src.step, got.data(), got.step,
                                                                             src.size(), rule)),
                  0);
        ASSERT_EQ(got.bytes, want.bytes);
    });
}

TEST(ThresholdKernels, NullAndEmpty) {
    uint8_t b[8] = {};
    const thr::below<uint8_t> rule{1, 1};
    EXPECT_EQ((lum::prim::threshold<uint8_t, thr::below<uint8_t>>(nullptr, 8, b, 8, {1, 1}, rule)), -8);
    EXPECT_EQ((lum::prim::threshold<uint8_t, thr::below<uint8_t>>(b, 8, b, 8, {0, 1}, rule)), -6);
    EXPECT_EQ(lum::prim::compare_at_least<uint8_t>(b, 8, 1, nullptr, 8, {1, 1}), -8);
    EXPECT_EQ(lum::prim::set_selected<uint8_t>(1, b, 8, {1, -1}, b, 8), -6);
    EXPECT_EQ(lum::prim::set_selected<uint8_t>(1, b, 8, {1, 1}, nullptr, 8), -8);
}

}  // namespace
