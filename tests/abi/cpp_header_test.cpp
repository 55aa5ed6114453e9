// The C++ header lum_lib.hpp as a C++17 host uses it, over the shared library:
// ownership of handles (no leak, no double destruction, borrowed buffers left
// to their owner), exceptions carrying the status, the enums reaching the C
// codes they stand for, and contour sets released on every path.
#include <lum_lib.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

static_assert(!std::is_copy_constructible_v<lum::image>, "an owning handle must not be copied");
static_assert(!std::is_copy_assignable_v<lum::image>, "an owning handle must not be copied");
static_assert(std::is_nothrow_move_constructible_v<lum::image> && std::is_nothrow_move_assignable_v<lum::image>,
              "lum::image moves, so vectors of images grow without copies");
static_assert(std::is_base_of_v<std::exception, lum::error>);

namespace {

// The handle lum_create_image would give next (the smallest free one).
int32_t next_handle() {
    const int32_t h = lum_create_image();
    lum_destroy_image(h);
    return h;
}

// The slot the contour store would give the next set.
int32_t next_contour_slot() {
    const int32_t empty = lum_create_image();
    lum_init_image(empty, 8, 8, lum_fmt_8u, lum_gray, 8);
    uint32_t total = 0, count = 0;
    const int32_t set = lum_find_contours(empty, &total, &count);
    lum_release_contours(set);
    lum_destroy_image(empty);
    return set;
}

template <class T>
void fill(const lum::image& im, T (*value)(int32_t x, int32_t y)) {
    const lum_info i = im.info();
    for (int32_t y = 0; y < i.height; ++y)
        for (int32_t x = 0; x < i.width * static_cast<int32_t>(i.channels); ++x) im.row<T>(y)[x] = value(x, y);
}

template <class T>
std::vector<T> samples(const lum::image& im) {
    const lum_info i = im.info();
    std::vector<T> out;
    for (int32_t y = 0; y < i.height; ++y)
        out.insert(out.end(), im.row<T>(y), im.row<T>(y) + i.width * static_cast<int32_t>(i.channels));
    return out;
}

TEST(CppImage, OwnsItsHandleFromConstructionToDestruction) {
    int32_t h;
    {
        const lum::image im(40, 30, lum_fmt_16u, lum_gray, 12);
        h = im.handle();
        ASSERT_GE(h, 0);
        const lum_info i = im.info();
        EXPECT_EQ(i.width, 40);
        EXPECT_EQ(i.height, 30);
        EXPECT_EQ(i.pix_type, lum_fmt_16u);
        EXPECT_EQ(i.valid_bits, 12u);
        EXPECT_EQ(im.step_bytes(), 2u * 48u);
        EXPECT_EQ(im.data(), lum_get_buf(h));
        const std::vector<uint16_t> zero(40 * 30, 0);
        EXPECT_EQ(samples<uint16_t>(im), zero);
    }
    lum_info after{};
    EXPECT_EQ(lum_get_info(h, &after), -64);  // destroyed: the slot is empty
    EXPECT_EQ(next_handle(), h);

    // valid bits 0 means the format's full depth
    EXPECT_EQ(lum::image(4, 4, lum_fmt_16u).valid_bits(), 16u);
    EXPECT_EQ(lum::image(4, 4).valid_bits(), 8u);
    EXPECT_EQ(lum::image(4, 4, lum_fmt_8u, lum_color).channels(), lum_color);
}

TEST(CppImage, FailedInitialisationThrowsAndLeaksNoHandle) {
    const int32_t free_before = next_handle();
    try {
        lum::image bad(10, 10, lum_fmt_16u, lum_gray, 8);  // 16u holds 9 to 16 valid bits
        FAIL() << "no exception";
    } catch (const lum::error& e) {
        EXPECT_EQ(e.code(), -3);
        EXPECT_STREQ(e.phrase(), lum_status_text(-3));
        EXPECT_NE(std::strstr(e.what(), "lum_init_image: "), nullptr) << e.what();
        EXPECT_NE(std::strstr(e.what(), "(-3)"), nullptr) << e.what();
    }
    EXPECT_THROW(lum::image(10, 10, lum_fmt_8u, static_cast<lum_channels>(2)), lum::error);
    EXPECT_EQ(next_handle(), free_before);
}

TEST(CppImage, MovesTransferTheHandleAndDestroyTheOverwrittenOne) {
    lum::image a(8, 8), b(16, 16);
    const int32_t ha = a.handle(), hb = b.handle();
    lum::image c(std::move(a));
    EXPECT_EQ(a.handle(), -1);
    EXPECT_FALSE(a);
    EXPECT_EQ(c.handle(), ha);
    c = std::move(b);  // c's first image is destroyed now
    lum_info i{};
    EXPECT_EQ(lum_get_info(ha, &i), -64);
    EXPECT_EQ(c.handle(), hb);
    EXPECT_EQ(c.width(), 16);

    std::vector<lum::image> many;
    for (int k = 0; k < 40; ++k) many.emplace_back(4 + k, 4);  // reallocations move, never copy
    for (int k = 0; k < 40; ++k) EXPECT_EQ(many[static_cast<size_t>(k)].width(), 4 + k);

    // Operations on an empty object fail with the handle's status instead of touching anything.
    try {
        a.info();
        FAIL() << "no exception";
    } catch (const lum::error& e) {
        EXPECT_EQ(e.code(), -6);
    }
}

TEST(CppImage, ReleaseAndAdoptHandOwnershipOver) {
    lum::image a(8, 8);
    const int32_t h = a.release();
    EXPECT_EQ(a.handle(), -1);
    lum_info i{};
    EXPECT_EQ(lum_get_info(h, &i), 0);  // still alive: the caller owns it now
    {
        const lum::image back = lum::image::adopt(h);
        EXPECT_EQ(back.handle(), h);
    }
    EXPECT_EQ(lum_get_info(h, &i), -64);
}

TEST(CppImage, BorrowedBuffersAreUsedInPlaceAndLeftToTheirOwner) {
    std::vector<uint16_t> pixels(64 * 10, 1000);
    pixels[3 * 64 + 5] = 3000;
    {
        const lum::image lent = lum::image::borrow(pixels.data(), 60, 10, 64 * sizeof(uint16_t), lum_fmt_16u, lum_gray, 12);
        EXPECT_EQ(lent.data(), pixels.data());
        uint16_t low = 0, high = 0;
        lum::check(lum_img_min_max(lent.handle(), &low, &high), "lum_img_min_max");
        EXPECT_EQ(low, 1000);
        EXPECT_EQ(high, 3000);
        lum::check(lum_RShiftI(lent.handle(), 4));
        EXPECT_EQ(lent.row<uint16_t>(3)[5], 3000 >> 4);
    }
    // Destroying the image left the buffer alone (a sanitizer build sees any free of it).
    EXPECT_EQ(pixels[0], 1000 >> 4);
    EXPECT_EQ(pixels[60], 1000);  // beyond the borrowed width: untouched
    const lum::image full = lum::image::borrow(pixels.data(), 64, 10, 128, lum_fmt_16u);
    EXPECT_EQ(full.valid_bits(), 16u);
}

TEST(CppErrors, CheckPassesResultsThroughAndThrowsForNegativeOnes) {
    EXPECT_EQ(lum::check(0), 0);
    EXPECT_EQ(lum::check(7, "lum_find_contours"), 7);
    try {
        lum::check(-64, "lum_sum");
        FAIL() << "no exception";
    } catch (const lum::error& e) {
        EXPECT_EQ(e.code(), -64);
        EXPECT_STREQ(e.what(), (std::string("lum_sum: ") + lum_status_text(-64) + " (-64)").c_str());
    }
    const lum::image a(10, 10), b(12, 10);
    lum::image d(10, 10);
    try {
        lum::check(lum_add(a.handle(), b.handle(), d.handle()), "lum_add");
        FAIL() << "no exception";
    } catch (const lum::error& e) {
        EXPECT_EQ(e.code(), -4);
    }
}

TEST(CppOperations, EnumsReachTheOperationsTheyName) {
    lum::image source(20, 12);
    fill<uint8_t>(source, [](int32_t x, int32_t y) { return static_cast<uint8_t>(x * 7 + y * 13); });
    const std::vector<uint8_t> before = samples<uint8_t>(source);

    lum::mirror(source, lum::mirror_axis::up_down);
    std::vector<uint8_t> flipped = samples<uint8_t>(source);
    for (int32_t y = 0; y < 12; ++y)
        for (int32_t x = 0; x < 20; ++x) EXPECT_EQ(flipped[static_cast<size_t>(y * 20 + x)], before[static_cast<size_t>((11 - y) * 20 + x)]);
    lum::mirror(source, lum::mirror_axis::up_down);
    lum::mirror(source, lum::mirror_axis::left_right, lum_rect{2, 1, 4, 3});
    flipped = samples<uint8_t>(source);
    EXPECT_EQ(flipped[1 * 20 + 2], before[1 * 20 + 5]);
    EXPECT_EQ(flipped[0], before[0]);
    lum::mirror(source, lum::mirror_axis::left_right, lum_rect{2, 1, 4, 3});

    // Nearest neighbour halving takes source index 2d + 1, as the C call with code 1 does.
    lum::image half(10, 6), reference(10, 6);
    lum::resize(source, half, lum::interpolation::nearest);
    lum_resize(source.handle(), lum_point{0, 0}, lum_size{20, 12}, reference.handle(), lum_point{0, 0}, lum_size{10, 6}, 1);
    EXPECT_EQ(samples<uint8_t>(half), samples<uint8_t>(reference));
    EXPECT_EQ(half.row<uint8_t>(2)[3], before[5 * 20 + 7]);
    lum::resize(source, half, lum::interpolation::lanczos);
    lum_resize(source.handle(), lum_point{0, 0}, lum_size{20, 12}, reference.handle(), lum_point{0, 0}, lum_size{10, 6}, 16);
    EXPECT_EQ(samples<uint8_t>(half), samples<uint8_t>(reference));

    lum::image turned(20, 12), turned_c(20, 12);
    lum::rotate(source, turned, 30.0, 4.0, -2.0, lum::interpolation::nearest);
    lum_rotate(source.handle(), turned_c.handle(), 30.0, 4.0, -2.0, 1);
    EXPECT_EQ(samples<uint8_t>(turned), samples<uint8_t>(turned_c));
    try {
        lum::rotate(source, turned, 10.0, 0.0, 0.0, lum::interpolation::lanczos);  // rotation has no Lanczos
        FAIL() << "no exception";
    } catch (const lum::error& e) {
        EXPECT_EQ(e.code(), -7);
    }

    lum::image opened(20, 12), opened_c(20, 12);
    lum::morph(source, opened, lum::morph_operation::close, lum::morph_shape::ellipse, 5, 3);
    const lum_morph_param param{2, 3, 5, 3};
    lum_morph_open_close(source.handle(), opened_c.handle(), &param);
    EXPECT_EQ(samples<uint8_t>(opened), samples<uint8_t>(opened_c));
}

TEST(CppOperations, ProjectionsAndMasks) {
    std::vector<lum::image> frames;
    for (int k = 0; k < 3; ++k) {
        frames.emplace_back(6, 4);
        lum::check(lum_addCI(frames.back().handle(), std::vector<uint8_t>{static_cast<uint8_t>(10 * (k + 1))}.data()));
    }
    lum::image rows(3, 4), mean(6, 4);
    lum::image accumulator = lum::projection_mean_accumulator(6, 4);
    for (uint32_t k = 0; k < 3; ++k) {
        lum::projection_max(frames[k], rows, k, 3, lum::projection_direction::rows);
        lum::projection_mean(frames[k], mean, k, 3, lum::projection_direction::pixels, accumulator);
    }
    EXPECT_EQ(rows.row<uint8_t>(2)[0], 10);  // frame k's row maxima in column k
    EXPECT_EQ(rows.row<uint8_t>(2)[2], 30);
    EXPECT_EQ(mean.row<uint8_t>(1)[4], 20);
    lum::image columns(6, 3);
    const uint8_t top = 255;
    lum::check(lum_addCI(columns.handle(), &top));
    for (uint32_t k = 0; k < 3; ++k) lum::projection_min(frames[k], columns, k, 3, lum::projection_direction::columns);
    EXPECT_EQ(columns.row<uint8_t>(1)[5], 20);  // frame k's column minima in row k

    try {
        lum::projection_mean_accumulator(0xffffffffu, 4);  // a width no buffer can hold
        FAIL() << "no exception";
    } catch (const lum::error& e) {
        EXPECT_EQ(e.code(), -8);
    }

    lum::image mask(9, 7);
    lum::generate_mask(mask, lum::mask_shape::rectangle, {});
    EXPECT_EQ(samples<uint8_t>(mask), std::vector<uint8_t>(9 * 7, 255));
    lum::generate_mask(mask, lum::mask_shape::polygon, {{1, 1}, {6, 1}, {6, 5}, {1, 5}});
    EXPECT_EQ(mask.row<uint8_t>(3)[3], 255);
    EXPECT_EQ(mask.row<uint8_t>(0)[0], 0);
    try {
        lum::generate_mask(mask, lum::mask_shape::polygon, {});
        FAIL() << "no exception";
    } catch (const lum::error& e) {
        EXPECT_EQ(e.code(), -32);
    }
    lum::generate_mask_part(mask, lum_point{0, 0}, lum::mask_shape::ellipse, {{0, 0}, {9, 7}});
    EXPECT_EQ(mask.row<uint8_t>(3)[4], 255);
    EXPECT_EQ(mask.row<uint8_t>(0)[0], 0);
}

TEST(CppContours, OutlinesAndBoxesAsTheCInterfaceGivesThem) {
    lum::image binary(40, 30);
    for (int32_t y = 3; y < 9; ++y)
        for (int32_t x = 4; x < 15; ++x) binary.row<uint8_t>(y)[x] = 255;
    for (int32_t y = 15; y < 27; ++y)
        for (int32_t x = 20; x < 32; ++x) binary.row<uint8_t>(y)[x] = (x - 26) * (x - 26) + (y - 21) * (y - 21) <= 30 ? 255 : 0;

    const int32_t slot = next_contour_slot();
    std::vector<lum_rect> boxes;
    const std::vector<lum::contour> outlines = lum::find_contours(binary, &boxes);
    EXPECT_EQ(next_contour_slot(), slot);  // fetched: the library released the set

    uint32_t total = 0, count = 0;
    const int32_t set = lum_find_contours(binary.handle(), &total, &count);
    ASSERT_GE(set, 0);
    std::vector<int32_t> result(total);
    std::vector<uint32_t> sizes(count);
    ASSERT_EQ(lum_get_contours_result(set, result.data(), sizes.data()), 0);
    ASSERT_EQ(outlines.size(), 2u);
    ASSERT_EQ(boxes.size(), 2u);
    size_t at = 0;
    for (size_t i = 0; i < count; ++i) {
        const size_t n = (sizes[i] - 4) / 2;
        ASSERT_EQ(outlines[i].size(), n);
        for (size_t k = 0; k < n; ++k) {
            EXPECT_EQ(outlines[i][k].x, result[at + 2 * k]);
            EXPECT_EQ(outlines[i][k].y, result[at + 2 * k + 1]);
        }
        EXPECT_EQ(boxes[i].x, result[at + 2 * n]);
        EXPECT_EQ(boxes[i].height, result[at + 2 * n + 3]);
        at += sizes[i];
    }
    EXPECT_EQ(boxes[0].x, 4);
    EXPECT_EQ(boxes[0].width, 11);
    EXPECT_EQ(lum::find_contours(binary).size(), 2u);  // boxes are optional
}

TEST(CppContours, EmptyFramesReleaseTheirSets) {
    // An inspection line sees empty frames most of the time: the store must not grow.
    const lum::image empty(64, 48);
    const int32_t slot = next_contour_slot();
    for (int k = 0; k < 20000; ++k) ASSERT_TRUE(lum::find_contours(empty).empty());
    EXPECT_EQ(next_contour_slot(), slot);

    try {
        lum::find_contours(lum::image(4, 4, lum_fmt_8u, lum_color));
        FAIL() << "no exception";
    } catch (const lum::error& e) {
        EXPECT_EQ(e.code(), -1);
    }
    EXPECT_EQ(next_contour_slot(), slot);
}

TEST(CppContours, ExpandedContoursAreFetchedWithoutACount) {
    const lum::contour square{{2, 2}, {3, 2}, {4, 2}, {4, 3}, {4, 4}, {3, 4}, {2, 4}, {2, 3}};
    const lum_rect box{2, 2, 3, 3};
    const int32_t slot = next_contour_slot();
    const std::vector<lum::contour> grown = lum::expand_contour(square, box, 2);
    EXPECT_EQ(next_contour_slot(), slot);
    ASSERT_EQ(grown.size(), 1u);

    uint32_t total = 0;
    const int32_t set = lum_expand_contour(square.data(), 8, &box, 2, &total);
    ASSERT_GE(set, 0);
    std::vector<int32_t> result(total);
    std::vector<uint32_t> sizes(total / 6 + 1);
    ASSERT_EQ(lum_get_contours_result(set, result.data(), sizes.data()), 0);
    ASSERT_EQ(grown[0].size(), (sizes[0] - 4) / 2);
    for (size_t k = 0; k < grown[0].size(); ++k) EXPECT_EQ(grown[0][k].x, result[2 * k]);
    // Scratch coordinates: the grown square spans 0 .. 3 + 2 * 2 - 1.
    int32_t right = 0;
    for (const lum_point& p : grown[0]) right = std::max(right, p.x);
    EXPECT_EQ(right, 6);
}

}  // namespace
