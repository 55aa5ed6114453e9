// Morphology kernels against a direct minimum/maximum over the element with
// replicated borders: rectangles (odd, even, wider than the image), ellipses
// and arbitrary elements with several runs per row and empty rows, every
// operation, one and three channels, in place, every processor variant, on
// regions at odd addresses with odd steps.
#include <algorithm>
#include <vector>

#include "primitives/ellipse.hpp"
#include "primitives/morph.hpp"
#include "support/regions.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::Region;

// A w × h image of c interleaved channels on the shared region harness.
template <class T>
struct Image {
    int w, h, c;
    Region<T> r;
    Image(int w_, int h_, int c_, uint32_t seed) : w(w_), h(h_), c(c_), r(w_ * c_, h_, seed) {}
    T at(int x, int y, int ch) const { return r.get(x * c + ch, y); }
    void set(int x, int y, int ch, T v) { r.set(x * c + ch, y, v); }
};

template <class T>
Image<T> reference(const Image<T>& s, const std::vector<uint8_t>& e, int ew, int eh, bool max) {
    Image<T> d = s;
    for (int y = 0; y < s.h; ++y)
        for (int x = 0; x < s.w; ++x)
            for (int ch = 0; ch < s.c; ++ch) {
                bool any = false;
                T r{};
                for (int j = 0; j < eh; ++j)
                    for (int i = 0; i < ew; ++i) {
                        if (!e[size_t(j) * ew + i]) continue;
                        const int sx = std::clamp(x + i - ew / 2, 0, s.w - 1), sy = std::clamp(y + j - eh / 2, 0, s.h - 1);
                        const T v = s.at(sx, sy, ch);
                        r = !any ? v : max ? std::max(r, v) : std::min(r, v);
                        any = true;
                    }
                d.set(x, y, ch, r);
            }
    return d;
}

template <class T>
Image<T> reference_op(const Image<T>& s, const std::vector<uint8_t>& e, int ew, int eh, int op) {
    if (op <= 1) return reference(s, e, ew, eh, op == 1);
    return reference(reference(s, e, ew, eh, op == 3), e, ew, eh, op == 2);
}

template <class T>
int run(int op, const Image<T>& s, Image<T>& d, const std::vector<uint8_t>& e, int ew, int eh) {
    int64_t bytes = 0;
    const Size roi{s.w, s.h}, mask{ew, eh};
    EXPECT_EQ(lum::prim::morph_work_size(op, roi, mask, int(sizeof(T)), s.c, &bytes), 0);
    std::vector<uint8_t> work(size_t(bytes) + 64);
    void* w = work.data() + (64 - reinterpret_cast<uintptr_t>(work.data()) % 64) % 64;
    return lum::prim::morph<T>(op, s.r.data(), s.r.step, d.r.data(), d.r.step, roi, s.c, e.data(), mask, w);
}

struct Element {
    int w, h;
    std::vector<uint8_t> bytes;
};

std::vector<Element> elements() {
    std::vector<Element> out;
    for (auto [w, h] : {std::pair{1, 1}, {3, 3}, {2, 4}, {4, 2}, {5, 1}, {1, 6}, {7, 5}, {15, 15}, {40, 3}}) {
        out.push_back({w, h, std::vector<uint8_t>(size_t(w) * h, 255)});
        Element el{w, h, std::vector<uint8_t>(size_t(w) * h, 0)};
        lum::draw_ellipse(el.bytes.data(), w, w, h, {0, 0}, {0, 0, w, h});
        out.push_back(el);
    }
    // Several runs in a row and an empty row.
    out.push_back({5, 3, {255, 0, 255, 0, 255, 0, 0, 0, 0, 0, 0, 255, 255, 0, 1}});
    return out;
}

// Random samples, or a sparse binary picture; the padding stays random.
template <class T>
void fill(Image<T>& p, uint32_t seed, bool binary) {
    std::mt19937 rng(seed);
    for (int y = 0; y < p.h; ++y)
        for (int i = 0; i < p.w * p.c; ++i) p.r.set(i, y, binary ? T(rng() % 5 == 0 ? 200 : 0) : T(rng() % 60000));
}

template <class T>
void check_all(int w, int h, int c, uint32_t seed) {
    for (const Element& el : elements())
        for (int op = 0; op < 4; ++op)
            for (bool binary : {false, true}) {
                Image<T> s(w, h, c, seed), d(w, h, c, seed + 99);
                fill(s, seed + op, binary);
                Image<T> want = reference_op(s, el.bytes, el.w, el.h, op);
                // The destination's bytes outside the region stay as they were.
                Region<T> expected = d.r;
                for (int y = 0; y < h; ++y)
                    for (int i = 0; i < w * c; ++i) expected.set(i, y, want.r.get(i, y));
                ASSERT_EQ(run(op, s, d, el.bytes, el.w, el.h), 0);
                ASSERT_EQ(d.r.bytes, expected.bytes) << "op " << op << " element " << el.w << "x" << el.h << " image "
                                                     << w << "x" << h << " c" << c;
                // In place gives the same.
                expected = s.r;
                for (int y = 0; y < h; ++y)
                    for (int i = 0; i < w * c; ++i) expected.set(i, y, want.r.get(i, y));
                ASSERT_EQ(run(op, s, s, el.bytes, el.w, el.h), 0);
                ASSERT_EQ(s.r.bytes, expected.bytes) << "in place op " << op;
            }
}

TEST(MorphKernels, EveryVariantMatchesTheReference) {
    lum::test::for_each_variant([](int) {
        for (int w : {1, 17, 65}) {
            check_all<uint8_t>(w, 9, 1, w);
            check_all<uint16_t>(w, 7, 1, w + 1);
        }
        check_all<float>(15, 6, 1, 3);
        check_all<uint8_t>(13, 5, 3, 4);
        check_all<uint16_t>(6, 5, 3, 5);
        check_all<float>(7, 4, 3, 6);
    });
}

// A destination larger than the caches (written with streaming stores) gets
// the 3 × 3 minimum, and after it the opening, of a separable reference, and
// the maximum over a small ellipse.
TEST(MorphKernels, LargeDestinations) {
    const int w = 2101, h = 2050;
    Image<uint8_t> src(w, h, 1, 3);
    auto window = [&](const Region<uint8_t>& in, bool max) {
        Region<uint8_t> across = in, out = in;
        auto pick = [max](uint8_t a, uint8_t b) { return max ? std::max(a, b) : std::min(a, b); };
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                across.set(x, y, pick(pick(in.get(std::max(x - 1, 0), y), in.get(x, y)), in.get(std::min(x + 1, w - 1), y)));
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                out.set(x, y, pick(pick(across.get(x, std::max(y - 1, 0)), across.get(x, y)), across.get(x, std::min(y + 1, h - 1))));
        return out;
    };
    const std::vector<uint8_t> rect(9, 255);
    const Image<uint8_t> blank(w, h, 1, 4);
    Region<uint8_t> eroded = blank.r, opened = blank.r;
    const Region<uint8_t> e = window(src.r, false), o = window(e, true);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) eroded.set(x, y, e.get(x, y)), opened.set(x, y, o.get(x, y));
    // An element of five runs in five rows: every run group but the last reads the row back.
    std::vector<uint8_t> ellipse(15, 0);
    lum::draw_ellipse(ellipse.data(), 3, 3, 5, {0, 0}, {0, 0, 3, 5});
    Region<uint8_t> dilated = blank.r;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            uint8_t m = 0;
            for (int j = 0; j < 5; ++j)
                for (int i = 0; i < 3; ++i)
                    if (ellipse[size_t(j) * 3 + i])
                        m = std::max(m, src.r.get(std::clamp(x + i - 1, 0, w - 1), std::clamp(y + j - 2, 0, h - 1)));
            dilated.set(x, y, m);
        }
    lum::test::for_each_variant([&](int) {
        for (int op : {0, 2}) {
            Image<uint8_t> d = blank;
            ASSERT_EQ(run(op, src, d, rect, 3, 3), 0);
            ASSERT_EQ(d.r.bytes, (op == 0 ? eroded : opened).bytes) << "op " << op;
        }
        Image<uint8_t> d = blank;
        ASSERT_EQ(run(1, src, d, ellipse, 3, 5), 0);
        ASSERT_EQ(d.r.bytes, dilated.bytes) << "ellipse";
    });
}

TEST(MorphKernels, Refusals) {
    uint8_t b[64] = {}, e[1] = {255};
    int64_t bytes = 0;
    EXPECT_EQ(lum::prim::morph_work_size(0, {4, 4}, {0, 3}, 1, 1, &bytes), -6);
    EXPECT_EQ(lum::prim::morph_work_size(0, {4, 4}, {3, 3}, 1, 2, &bytes), -13);
    EXPECT_EQ(lum::prim::morph_work_size(4, {4, 4}, {3, 3}, 1, 1, &bytes), -13);
    EXPECT_EQ(lum::prim::morph_work_size(0, {4, 4}, {3, 3}, 1, 1, nullptr), -8);
    EXPECT_EQ(lum::prim::morph<uint8_t>(0, b, 8, b, 8, {4, 4}, 1, nullptr, {1, 1}, b), -8);
    EXPECT_EQ(lum::prim::morph<uint8_t>(0, b, 8, b, 8, {4, 4}, 1, e, {1, 1}, nullptr), -8);
    EXPECT_EQ(lum::prim::morph<uint8_t>(0, b, 8, b, 8, {4, -1}, 1, e, {1, 1}, b), -6);
    EXPECT_EQ(lum::prim::morph<uint8_t>(9, b, 8, b, 8, {4, 4}, 1, e, {1, 1}, b), -13);
    EXPECT_EQ(lum::prim::morph<uint8_t>(0, b, 8, b, 8, {4, 4}, 2, e, {1, 1}, b), -13);
}

}  // namespace
