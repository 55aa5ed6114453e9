// Digital line sampling: every processor variant against the classic
// Bresenham walk (x, y or both advance as the error term says), in every
// octant, on a region at an odd address with an odd step; several shifted
// lines at once, and walks longer than the kernel's chunks.
#include <random>
#include <vector>

#include "primitives/line_sample.hpp"
#include "support/regions.hpp"
#include "support/support.hpp"

namespace {

using lum::test::Region;

// The samples of the line from (x1, y1) to (x2, y2).
template <class T>
std::vector<T> walk(const Region<T>& image, int x1, int y1, int x2, int y2) {
    std::vector<T> v;
    const int dx = std::abs(x2 - x1), dy = std::abs(y2 - y1), sx = x1 < x2 ? 1 : -1, sy = y1 < y2 ? 1 : -1;
    int err = dx - dy, x = x1, y = y1;
    for (;;) {
        v.push_back(image.get(x, y));
        if (x == x2 && y == y2) return v;
        const int e2 = 2 * err;
        if (e2 > -dy) {
            err -= dy;
            x += sx;
        }
        if (e2 < dx) {
            err += dx;
            y += sy;
        }
    }
}

template <class T>
void check(int w, int h, int lines, int cases) {
    const Region<T> image(w, h, uint32_t(w + h));
    std::mt19937 rng{uint32_t(w)};
    lum::test::for_each_variant([&](int) {
        for (int n = 0; n < cases; ++n) {
            const int x1 = int(rng() % w), y1 = int(rng() % h), x2 = int(rng() % w), y2 = int(rng() % h);
            const int count = std::max(std::abs(x2 - x1), std::abs(y2 - y1)) + 1;
            // Shifts that keep both ends inside.
            std::vector<int32_t> shifts;
            for (int i = 0; i < lines; ++i) {
                const int ox = int(rng() % w) - std::min(x1, x2), oy = int(rng() % h) - std::min(y1, y2);
                const bool fits = std::max(x1, x2) + ox < w && std::max(y1, y2) + oy < h;
                shifts.push_back(fits ? ox : 0);
                shifts.push_back(fits ? oy : 0);
            }
            std::vector<std::vector<T>> out(lines, std::vector<T>(count + 1, T(7)));
            std::vector<T*> rows;
            for (auto& o : out) rows.push_back(o.data());
            ASSERT_EQ(lum::prim::sample_lines<T>(image.data(), image.step, {w, h}, x1, y1, x2, y2, shifts.data(), lines,
                                                 rows.data(), count),
                      0);
            for (int i = 0; i < lines; ++i) {
                std::vector<T> want = walk(image, x1 + shifts[2 * i], y1 + shifts[2 * i + 1], x2 + shifts[2 * i],
                                           y2 + shifts[2 * i + 1]);
                want.push_back(T(7));
                ASSERT_EQ(out[i], want) << "line " << i << " from " << x1 << "," << y1 << " to " << x2 << "," << y2;
            }
        }
    });
}

TEST(LineSampleKernel, MatchesTheClassicWalk) {
    check<uint16_t>(40, 30, 1, 300);
    check<uint8_t>(41, 29, 3, 300);
    check<uint8_t>(3000, 17, 4, 20);   // x-major walks over several chunks
    check<uint16_t>(9, 2500, 2, 20);   // y-major
}

TEST(LineSampleKernel, Statuses) {
    using lum::prim::st_bad_arg;
    using lum::prim::st_capacity;
    uint8_t image[16 * 4] = {}, buffer[32];
    uint8_t* out = buffer;
    const int32_t none[2] = {0, 0}, right[2] = {1, 0};
    auto sample = [&](const uint8_t* im, lum::prim::Size size, int x1, int y1, int x2, int y2, const int32_t* shift,
                      int capacity) {
        return lum::prim::sample_lines<uint8_t>(im, 16, size, x1, y1, x2, y2, shift, 1, &out, capacity);
    };
    EXPECT_EQ(sample(image, {16, 4}, -1, 0, 3, 3, none, 32), st_bad_arg);
    EXPECT_EQ(sample(image, {16, 4}, 0, 0, 16, 3, none, 32), st_bad_arg);
    EXPECT_EQ(sample(image, {16, 4}, 0, 0, 15, 3, right, 32), st_bad_arg);  // the shifted line leaves the region
    EXPECT_EQ(sample(image, {16, 4}, 0, 0, 9, 3, none, 9), st_capacity);
    EXPECT_EQ(sample(image, {0, 4}, 0, 0, 9, 3, none, 10), -6);
    EXPECT_EQ(sample(image, {16, 4}, 0, 0, 9, 3, none, 10), 0);
    EXPECT_EQ(sample(nullptr, {16, 4}, 0, 0, 9, 3, none, 10), -8);
    EXPECT_EQ(sample(image, {16, 4}, 0, 0, 9, 3, nullptr, 10), -8);
}

}  // namespace
