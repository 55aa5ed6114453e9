// Morphology kernels against a direct minimum/maximum over the element with
// replicated borders: rectangles (odd, even, wider than the image), ellipses
// and arbitrary elements with several runs per row and empty rows, every
// operation, one and three channels, in place, every processor variant.
#include <algorithm>
#include <vector>

#include "measure/masks.hpp"
#include "primitives/morph.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;

template <class T>
struct Plane {
    int w, h, c, step;  // step in samples
    std::vector<T> v;
    Plane(int w_, int h_, int c_, int pad) : w(w_), h(h_), c(c_), step(w_ * c_ + pad), v(size_t(step) * h_ + 8) {}
    T& at(int x, int y, int ch) { return v[size_t(y) * step + size_t(x) * c + ch]; }
    T at(int x, int y, int ch) const { return v[size_t(y) * step + size_t(x) * c + ch]; }
};

template <class T>
Plane<T> reference(const Plane<T>& s, const std::vector<uint8_t>& e, int ew, int eh, bool max) {
    Plane<T> d = s;
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
                d.at(x, y, ch) = r;
            }
    return d;
}

template <class T>
Plane<T> reference_op(const Plane<T>& s, const std::vector<uint8_t>& e, int ew, int eh, int op) {
    if (op <= 1) return reference(s, e, ew, eh, op == 1);
    return reference(reference(s, e, ew, eh, op == 3), e, ew, eh, op == 2);
}

template <class T>
int run(int op, const Plane<T>& s, Plane<T>& d, const std::vector<uint8_t>& e, int ew, int eh) {
    int64_t bytes = 0;
    const Size roi{s.w, s.h}, mask{ew, eh};
    EXPECT_EQ(lum::prim::morph_work_size(op, roi, mask, int(sizeof(T)), s.c, &bytes), 0);
    std::vector<uint8_t> work(size_t(bytes) + 64);
    void* w = work.data() + (64 - reinterpret_cast<uintptr_t>(work.data()) % 64) % 64;
    const int ss = s.step * int(sizeof(T)), ds = d.step * int(sizeof(T));
    const T* sp = s.v.data();
    T* dp = d.v.data();
    if constexpr (std::is_same_v<T, uint8_t>)
        return s.c == 1 ? lum::prim::morph_8u_c1r(op, sp, ss, dp, ds, roi, e.data(), mask, w)
                        : lum::prim::morph_8u_c3r(op, sp, ss, dp, ds, roi, e.data(), mask, w);
    else if constexpr (std::is_same_v<T, uint16_t>)
        return s.c == 1 ? lum::prim::morph_16u_c1r(op, sp, ss, dp, ds, roi, e.data(), mask, w)
                        : lum::prim::morph_16u_c3r(op, sp, ss, dp, ds, roi, e.data(), mask, w);
    else
        return s.c == 1 ? lum::prim::morph_32f_c1r(op, sp, ss, dp, ds, roi, e.data(), mask, w)
                        : lum::prim::morph_32f_c3r(op, sp, ss, dp, ds, roi, e.data(), mask, w);
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

template <class T>
void fill(Plane<T>& p, uint32_t seed, bool binary) {
    std::mt19937 rng(seed);
    for (auto& v : p.v) v = binary ? T(rng() % 5 == 0 ? 200 : 0) : T(rng() % 60000);
}

template <class T>
void check_all(int w, int h, int c, uint32_t seed) {
    for (const Element& el : elements())
        for (int op = 0; op < 4; ++op)
            for (bool binary : {false, true}) {
                Plane<T> s(w, h, c, 3), d(w, h, c, 5);
                fill(s, seed + op, binary);
                fill(d, seed + 99, false);
                Plane<T> want = reference_op(s, el.bytes, el.w, el.h, op);
                ASSERT_EQ(run(op, s, d, el.bytes, el.w, el.h), 0);
                for (int y = 0; y < h; ++y)
                    for (int x = 0; x < w * c; ++x)
                        ASSERT_EQ(d.v[size_t(y) * d.step + x], want.v[size_t(y) * want.step + x])
                            << "op " << op << " element " << el.w << "x" << el.h << " image " << w << "x" << h
                            << " c" << c << " at sample " << x << "," << y;
                // Nothing beyond the region's samples in each row changes.
                Plane<T> pristine(w, h, c, 5);
                fill(pristine, seed + 99, false);
                for (int y = 0; y < h; ++y)
                    for (int x = w * c; x < d.step; ++x) ASSERT_EQ(d.v[size_t(y) * d.step + x], pristine.v[size_t(y) * d.step + x]);
                // In place gives the same.
                ASSERT_EQ(run(op, s, s, el.bytes, el.w, el.h), 0);
                for (int y = 0; y < h; ++y)
                    for (int x = 0; x < w * c; ++x)
                        ASSERT_EQ(s.v[size_t(y) * s.step + x], want.v[size_t(y) * want.step + x]) << "in place op " << op;
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

TEST(MorphKernels, Refusals) {
    uint8_t b[64] = {}, e[1] = {255};
    int64_t bytes = 0;
    EXPECT_EQ(lum::prim::morph_work_size(0, {4, 4}, {0, 3}, 1, 1, &bytes), -6);
    EXPECT_EQ(lum::prim::morph_work_size(0, {4, 4}, {3, 3}, 1, 2, &bytes), -13);
    EXPECT_EQ(lum::prim::morph_work_size(4, {4, 4}, {3, 3}, 1, 1, &bytes), -13);
    EXPECT_EQ(lum::prim::morph_work_size(0, {4, 4}, {3, 3}, 1, 1, nullptr), -8);
    EXPECT_EQ(lum::prim::morph_8u_c1r(0, b, 8, b, 8, {4, 4}, nullptr, {1, 1}, b), -8);
    EXPECT_EQ(lum::prim::morph_8u_c1r(0, b, 8, b, 8, {4, 4}, e, {1, 1}, nullptr), -8);
    EXPECT_EQ(lum::prim::morph_8u_c1r(0, b, 8, b, 8, {4, -1}, e, {1, 1}, b), -6);
    EXPECT_EQ(lum::prim::morph_8u_c1r(9, b, 8, b, 8, {4, 4}, e, {1, 1}, b), -13);
}

}  // namespace
