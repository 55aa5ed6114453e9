// Watershed by handle: lines along ridges, plateaus split down the middle,
// one seed filling everything, the checks in order, 16-bit sources, and a
// comparison with a direct priority-queue implementation on random images.
#include <queue>
#include <tuple>
#include <vector>

#include "support/support.hpp"

namespace {

using lum::test::Image;

// The flooding written plainly: a heap ordered by (level, arrival), bounds
// tests on every neighbour, labels in a plain array.
template <class T>
std::vector<uint16_t> reference_watershed(const Image& source, const Image& markers) {
    const lum_info info = source.info();
    const int w = info.width, h = info.height;
    std::vector<uint16_t> label(size_t(w) * h);
    std::vector<int> state(size_t(w) * h, 0);  // 0 untouched, 1 queued, 2 done
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            label[size_t(y) * w + x] = markers.at<uint16_t>(x, y);
            if (label[size_t(y) * w + x]) state[size_t(y) * w + x] = 2;
        }
    using Item = std::tuple<uint32_t, uint64_t, int, int>;  // level, arrival, x, y
    std::priority_queue<Item, std::vector<Item>, std::greater<Item>> heap;
    uint64_t arrival = 0;
    const int dx[8] = {-1, 0, 1, -1, 1, -1, 0, 1}, dy[8] = {-1, -1, -1, 0, 0, 1, 1, 1};
    auto enqueue_neighbours = [&](int x, int y, uint32_t floor) {
        for (int k = 0; k < 8; ++k) {
            const int nx = x + dx[k], ny = y + dy[k];
            if (nx < 0 || ny < 0 || nx >= w || ny >= h || state[size_t(ny) * w + nx]) continue;
            state[size_t(ny) * w + nx] = 1;
            heap.emplace(std::max<uint32_t>(source.at<T>(nx, ny), floor), arrival++, nx, ny);
        }
    };
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            if (markers.at<uint16_t>(x, y)) enqueue_neighbours(x, y, 0);
    while (!heap.empty()) {
        const auto [level, order, x, y] = heap.top();
        heap.pop();
        uint16_t found = 0;
        bool line = false;
        for (int k = 0; k < 8; ++k) {
            const int nx = x + dx[k], ny = y + dy[k];
            if (nx < 0 || ny < 0 || nx >= w || ny >= h) continue;
            const uint16_t l = label[size_t(ny) * w + nx];
            if (l && found && l != found) line = true;
            if (!found) found = l;
        }
        state[size_t(y) * w + x] = 2;
        if (line) continue;
        label[size_t(y) * w + x] = found;
        enqueue_neighbours(x, y, level);
    }
    return label;
}

std::vector<uint16_t> labels_of(const Image& markers) {
    const lum_info i = markers.info();
    std::vector<uint16_t> out;
    for (int y = 0; y < i.height; ++y)
        for (int x = 0; x < i.width; ++x) out.push_back(markers.at<uint16_t>(x, y));
    return out;
}

TEST(Watershed, RidgeBetweenTwoBasinsBecomesALine) {
    for (lum_data_format f : {lum_fmt_8u, lum_fmt_16u}) {
        Image src(40, 20, f, lum_gray), markers(40, 20, lum_fmt_16u, lum_gray);
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 40; ++x) {
                const int v = x == 20 ? 200 : 10 + (x * 7 + y * 3) % 20;
                if (f == lum_fmt_8u) src.at<uint8_t>(x, y) = uint8_t(v);
                else src.at<uint16_t>(x, y) = uint16_t(v * 300);
            }
        markers.at<uint16_t>(5, 10) = 1;
        markers.at<uint16_t>(35, 3) = 2;
        const auto source_before = src.bytes();
        ASSERT_EQ(lum_watershed(src, markers), 0);
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 40; ++x)
                ASSERT_EQ(markers.at<uint16_t>(x, y), x < 20 ? 1 : x == 20 ? 0 : 2) << x << "," << y;
        EXPECT_EQ(src.bytes(), source_before);
    }
}

TEST(Watershed, PlateauIsSplitDownTheMiddle) {
    Image src(11, 5, lum_fmt_8u, lum_gray), markers(11, 5, lum_fmt_16u, lum_gray);
    markers.at<uint16_t>(0, 2) = 4;
    markers.at<uint16_t>(10, 2) = 9;
    ASSERT_EQ(lum_watershed(src, markers), 0);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 11; ++x) ASSERT_EQ(markers.at<uint16_t>(x, y), x < 5 ? 4 : x == 5 ? 0 : 9) << x;
}

TEST(Watershed, OneSeedFloodsEverything) {
    Image src(37, 23, lum_fmt_16u, lum_gray), markers(37, 23, lum_fmt_16u, lum_gray);
    src.randomize(8);
    markers.at<uint16_t>(36, 22) = 65535;
    ASSERT_EQ(lum_watershed(src, markers), 0);
    for (uint16_t l : labels_of(markers)) ASSERT_EQ(l, 65535);
}

TEST(Watershed, ChecksInOrder) {
    Image src(8, 6, lum_fmt_8u, lum_gray), markers(8, 6, lum_fmt_16u, lum_gray), blank;
    Image colour(8, 6, lum_fmt_8u, lum_color), m3(8, 6, lum_fmt_16u, lum_color), f(8, 6, lum_fmt_32f, lum_gray, 32);
    Image m8(8, 6, lum_fmt_8u, lum_gray), small(8, 5, lum_fmt_16u, lum_gray), s16(8, 6, lum_fmt_16s, lum_gray, 16);
    EXPECT_EQ(lum_watershed(-1, markers), -6);
    EXPECT_EQ(lum_watershed(src, 1 << 20), -6);
    EXPECT_EQ(lum_watershed(blank, 1 << 20), -6);  // every handle is checked first
    EXPECT_EQ(lum_watershed(blank, markers), -64);
    EXPECT_EQ(lum_watershed(src, blank), -64);
    EXPECT_EQ(lum_watershed(colour, small), -1);
    EXPECT_EQ(lum_watershed(src, m3), -1);
    EXPECT_EQ(lum_watershed(f, markers), -1);
    EXPECT_EQ(lum_watershed(s16, markers), -1);
    EXPECT_EQ(lum_watershed(src, m8), -1);
    EXPECT_EQ(lum_watershed(src, small), -4);
    EXPECT_EQ(lum_watershed(src, markers), -32);  // no seed
    small.at<uint16_t>(0, 0) = 1;
    EXPECT_EQ(lum_watershed(src, small), -4);
}

TEST(Watershed, SameLabelsAsTheDirectImplementation) {
    std::mt19937 rng(17);
    const int sizes[][2] = {{1, 1}, {1, 9}, {9, 1}, {2, 2}, {15, 7}, {17, 17}, {64, 33}, {65, 40}, {200, 150}};
    for (int round = 0; round < 40; ++round) {
        const int w = sizes[round % 9][0], h = sizes[round % 9][1];
        const bool wide = round % 4 == 3;
        Image src(w, h, wide ? lum_fmt_16u : lum_fmt_8u, lum_gray), markers(w, h, lum_fmt_16u, lum_gray);
        const int grey = 1 + int(rng() % (round % 2 ? 6 : 250));  // few levels: wide plateaus
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const uint32_t v = rng() % grey;
                if (wide) src.at<uint16_t>(x, y) = uint16_t(v * 257 + rng() % 3);
                else src.at<uint8_t>(x, y) = uint8_t(v);
            }
        const int seeds = 1 + int(rng() % (1 + w * h / 20));
        for (int s = 0; s < seeds; ++s)
            markers.at<uint16_t>(int(rng() % w), int(rng() % h)) = uint16_t(1 + rng() % (round % 3 ? 5 : 60000));
        const auto want = wide ? reference_watershed<uint16_t>(src, markers) : reference_watershed<uint8_t>(src, markers);
        ASSERT_EQ(lum_watershed(src, markers), 0);
        ASSERT_EQ(labels_of(markers), want) << "round " << round << " (" << w << " x " << h << ")";
    }
}

// The same flooding on caller's buffers: 16-bit source and markers at odd
// addresses with odd steps, in every processor variant.
TEST(Watershed, BorrowedBuffersAtOddAddresses) {
    const int w = 37, h = 23, step = 2 * w + 3;
    Image src(w, h, lum_fmt_16u, lum_gray), markers(w, h, lum_fmt_16u, lum_gray);
    std::mt19937 rng(5);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) src.at<uint16_t>(x, y) = uint16_t(rng() % 9 * 1000);
    for (int s = 0; s < 12; ++s) markers.at<uint16_t>(int(rng() % w), int(rng() % h)) = uint16_t(1 + s);
    const auto want = reference_watershed<uint16_t>(src, markers);
    lum::test::for_each_variant([&](int) {
        std::vector<uint8_t> src_bytes(size_t(step) * h + 1), marker_bytes(size_t(step) * h + 1);
        for (int y = 0; y < h; ++y) {
            std::memcpy(&src_bytes[1 + size_t(y) * step], src.row(y), 2 * w);
            std::memcpy(&marker_bytes[1 + size_t(y) * step], markers.row(y), 2 * w);
        }
        lum_info si{w, h, 0, 0, uint32_t(step), lum_fmt_16u, 16, lum_gray, &src_bytes[1]};
        lum_info mi = si;
        mi.frame_buf = &marker_bytes[1];
        Image lent_src, lent_markers;
        ASSERT_EQ(lum_init_image_ex(lent_src, &si), 0);
        ASSERT_EQ(lum_init_image_ex(lent_markers, &mi), 0);
        ASSERT_EQ(lum_watershed(lent_src, lent_markers), 0);
        std::vector<uint16_t> got;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                uint16_t v;
                std::memcpy(&v, &marker_bytes[1 + size_t(y) * step + 2 * x], 2);
                got.push_back(v);
            }
        ASSERT_EQ(got, want);
    });
}

}  // namespace
