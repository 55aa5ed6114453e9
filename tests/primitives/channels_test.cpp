// Channel-move kernels: every processor variant against a plain scalar
// reference on odd widths and steps at odd addresses, byte for byte, with the
// bytes around each region (and the channels a kernel must not touch) left alone.
#include <cstring>
#include <vector>

#include "primitives/channels.hpp"
#include "support/regions.hpp"
#include "support/support.hpp"

namespace {

using lum::prim::Size;
using lum::test::for_each_variant;
using lum::test::kTestWidths;
using lum::test::Region;

constexpr int kRows = 3;

TEST(ChannelKernels, OneIntoThreeTouchesOnlyItsChannel) {
    for_each_variant([](int) {
        for (int channel = 0; channel < 3; ++channel)
            for (int width : kTestWidths) {
                Region<uint8_t> src(width, kRows, width), got(3 * width, kRows, 4), want = got;
                ASSERT_EQ(lum::prim::copy_to_channel<uint8_t>(src.data(), src.step, got.data() + channel, got.step,
                                                              {width, kRows}),
                          0);
                for (int y = 0; y < kRows; ++y)
                    for (int x = 0; x < width; ++x) want.set(3 * x + channel, y, src.get(x, y));
                ASSERT_EQ(got.bytes, want.bytes) << "channel " << channel << ", width " << width;
            }
    });
}

template <class T>
void check_split_merge() {
    for_each_variant([](int) {
        for (int width : kTestWidths) {
            Region<T> colour(3 * width, kRows, width);
            std::vector<Region<T>> planes, want;
            for (int c = 0; c < 3; ++c) planes.emplace_back(width, kRows, 10 + c);
            want = planes;
            T* out[3] = {planes[0].data(), planes[1].data(), planes[2].data()};
            ASSERT_EQ(lum::prim::split_channels<T>(colour.data(), colour.step, out, planes[0].step, {width, kRows}), 0);
            for (int c = 0; c < 3; ++c) {
                for (int y = 0; y < kRows; ++y)
                    for (int x = 0; x < width; ++x) want[c].set(x, y, colour.get(3 * x + c, y));
                ASSERT_EQ(planes[c].bytes, want[c].bytes) << "split, plane " << c << ", width " << width;
            }

            // Planes of other content merged back: each sample lands in its channel.
            Region<T> got(3 * width, kRows, 99), expect = got;
            std::vector<Region<T>> in;
            for (int c = 0; c < 3; ++c) in.emplace_back(width, kRows, 20 + c);
            const T* from[3] = {in[0].data(), in[1].data(), in[2].data()};
            ASSERT_EQ(lum::prim::merge_channels<T>(from, in[0].step, got.data(), got.step, {width, kRows}), 0);
            for (int y = 0; y < kRows; ++y)
                for (int i = 0; i < 3 * width; ++i) expect.set(i, y, in[i % 3].get(i / 3, y));
            ASSERT_EQ(got.bytes, expect.bytes) << "merge, width " << width;
        }
    });
}

TEST(ChannelKernels, SplitAndMergeMatchTheReference) {
    check_split_merge<uint8_t>();
    check_split_merge<uint16_t>();
}

TEST(ChannelKernels, SwapFollowsTheOrder) {
    const int32_t orders[][3] = {{2, 1, 0}, {1, 2, 0}, {0, 0, 2}, {2, 2, 2}, {0, 1, 2}};
    for_each_variant([&](int) {
        for (const auto& order : orders)
            for (int width : kTestWidths) {
                Region<uint8_t> got(3 * width, kRows, width);
                const Region<uint8_t> before = got;
                Region<uint8_t> want = got;
                uint8_t odd[13];  // the order at an odd address
                std::memcpy(odd + 1, order, sizeof order);
                ASSERT_EQ(lum::prim::swap_channels<uint8_t>(got.data(), got.step, {width, kRows},
                                                            reinterpret_cast<const int32_t*>(odd + 1)),
                          0);
                for (int y = 0; y < kRows; ++y)
                    for (int x = 0; x < width; ++x)
                        for (int c = 0; c < 3; ++c) want.set(3 * x + c, y, before.get(3 * x + order[c], y));
                ASSERT_EQ(got.bytes, want.bytes) << "width " << width;
            }
    });
}

TEST(ChannelKernels, RefuseBadOrdersEmptyRegionsAndNullPointers) {
    using namespace lum::prim;
    uint8_t px[6] = {1, 2, 3, 4, 5, 6};
    const int32_t bad[][3] = {{3, 1, 0}, {0, -1, 2}, {0, 1, 1 << 30}};
    for (const auto& order : bad) EXPECT_EQ(swap_channels<uint8_t>(px, 6, {2, 1}, order), st_bad_arg);
    const int32_t fine[3] = {2, 1, 0};
    EXPECT_EQ(swap_channels<uint8_t>(px, 6, {0, 1}, fine), st_size);
    EXPECT_EQ(swap_channels<uint8_t>(px, 6, {1, 1}, nullptr), st_null);
    EXPECT_EQ(std::vector<uint8_t>(px, px + 6), (std::vector<uint8_t>{1, 2, 3, 4, 5, 6}));

    uint8_t* planes[3] = {px, px, nullptr};
    const uint8_t* cplanes[3] = {px, nullptr, px};
    EXPECT_EQ(split_channels<uint8_t>(px, 6, planes, 2, {1, 1}), st_null);
    EXPECT_EQ(split_channels<uint8_t>(px, 6, nullptr, 2, {1, 1}), st_null);
    EXPECT_EQ(merge_channels<uint8_t>(cplanes, 2, px, 6, {1, 1}), st_null);
    planes[2] = px;
    EXPECT_EQ(split_channels<uint8_t>(px, 6, planes, 2, {1, 0}), st_size);
    EXPECT_EQ(copy_to_channel<uint8_t>(px, 6, nullptr, 6, {1, 1}), st_null);
    EXPECT_EQ(copy_to_channel<uint8_t>(px, 6, px, 6, {-1, 1}), st_size);
}

}  // namespace
