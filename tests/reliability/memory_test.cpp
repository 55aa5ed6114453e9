// Memory over a long run: ten thousand cycles of create, initialise, operate
// and destroy, over every family of operations, refusals included, leave the
// heap where it was after the first cycles.
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "lum_lib.h"
#include "segment/contour_store.hpp"

namespace {

// Bytes the C heap has handed out and not got back (0 when a sanitizer's
// allocator stands in for the C library's).
size_t heap_in_use() {
    const struct mallinfo2 m = mallinfo2();
    return m.uordblks + m.hblkhd;
}

size_t resident_bytes() {
    long pages = 0, resident = 0;
    if (FILE* f = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = 0;
        std::fclose(f);
    }
    return static_cast<size_t>(resident) * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

// One cycle: every handle it takes is destroyed and every contour set fetched.
void cycle(int k) {
    const lum_data_format formats[] = {lum_fmt_8u, lum_fmt_16u, lum_fmt_32f};
    const lum_data_format format = formats[k % 3];
    const int32_t w = 96 + k % 5, h = 64;
    const int32_t a = lum_create_image(), b = lum_create_image(), gray = lum_create_image(),
                  mask = lum_create_image();
    lum_init_image(a, w, h, format, lum_color, format == lum_fmt_16u ? 12 : 8);
    lum_init_image(b, w, h, format, lum_color, format == lum_fmt_16u ? 12 : 8);
    lum_init_image(gray, w, h, lum_fmt_8u, lum_gray, 8);
    lum_init_image(mask, 20, 16, lum_fmt_8u, lum_gray, 8);

    const double add[3] = {10, 20, 30};
    lum_addCI(a, add);
    lum_copy(a, b);
    lum_add(a, b, b);
    lum_mirrorI(b, k % 3);
    lum_resize(a, {0, 0}, {w, h}, b, {0, 0}, {w / 2 + 1, h / 2 + 1}, k % 2 ? 2 : 16);
    lum_rotate(a, b, 30.0 + k, 4, 2, 1);
    double sum[3], minimum[3], maximum[3];
    lum_sum(b, sum);
    lum_img_min_max(b, minimum, maximum);
    const float table[12] = {0.5f, 0.25f, 0.25f, 1, 0, 1, 0, 0, 0, 0, 1, 0};
    lum_color_twistI(a, table);
    lum_color_to_gray(a, gray);  // 8u colour only: the others are refused
    lum_swap_channels(a, nullptr);  // refused: no order

    // Grey frame: histogram, Otsu, binarize, morphology, contours, profiles, masks.
    uint8_t* p = static_cast<uint8_t*>(lum_get_buf(gray));
    lum_info info{};
    lum_get_info(gray, &info);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) p[y * info.step_bytes + x] = ((x / 9 + y / 7 + k) % 3) ? 30 : 200;
    uint32_t counts[256];
    lum_histogram(gray, 0, 256, counts, 256);
    int32_t threshold = 0;
    lum_otsu_get_threshold(gray, &threshold);
    lum_binarization(gray, gray, threshold + 1);
    const lum_morph_param param{k % 2 ? 0 : 2, 2 + k % 2, 5, 3};
    lum_morph_open_close(gray, gray, &param);
    uint32_t total = 0, count = 0;
    const int32_t set = lum_find_contours(gray, &total, &count);
    if (set >= 0 && count > 0) {
        std::vector<int32_t> points(total);
        std::vector<uint32_t> sizes(count);
        lum_get_contours_result(set, points.data(), sizes.data());
    } else if (set >= 0) {
        lum_release_contours(set);
    }
    lum_object objects[4];
    uint32_t found = 0;
    lum_measure_objects(gray, 2, -1, objects, 4, &found);
    lum_measure_objects(gray, 0, a, objects, 4, &found);  // refused: a holds no 16-bit labels
    uint8_t samples[512];
    uint32_t sample_count = 0;
    lum_get_profile(gray, {1, 1}, {w - 2, h - 3}, 3, samples, &sample_count);
    lum_get_fast_profile(gray, {0, 5}, {w - 1, 5}, 1, samples, &sample_count);
    const lum_point ellipse[2] = {{2, 2}, {17, 13}};
    lum_generate_mask(mask, 1, ellipse, 2);
    double mean = 0;
    lum_mask_mean(gray, 3, 4, mask, &mean);

    // Projection through an accumulator the library creates.
    int32_t accumulator = -1;
    if (lum_projection_mean_init(w, h, &accumulator) == 0) {
        lum_projection_mean(gray, gray, 0, 1, 0, accumulator);
        lum_destroy_image(accumulator);
    }

    // A borrowed buffer: the library must neither keep nor free it.
    std::vector<uint8_t> host(static_cast<size_t>(w + 3) * (h + 1));
    lum_info borrowed{};
    borrowed.width = w;
    borrowed.height = h;
    borrowed.pix_type = lum_fmt_8u;
    borrowed.channels = lum_gray;
    borrowed.valid_bits = 8;
    borrowed.step_bytes = w + 3;
    borrowed.frame_buf = host.data();
    const int32_t guest = lum_create_image();
    lum_init_image_ex(guest, &borrowed);
    lum_copy(gray, guest);
    lum_init_image(guest, w, h, lum_fmt_16u, lum_gray, 16);  // now the library's own buffer
    lum_destroy_image(guest);

    // Refused and failing calls release what they took, too.
    lum_init_image(mask, -1, 5, lum_fmt_8u, lum_gray, 8);
    lum_init_image(mask, 1 << 30, 1 << 30, lum_fmt_32f, lum_color, 0);
    const lum_morph_param huge{0, 2, INT32_MAX, INT32_MAX};  // its element cannot be had
    lum_morph_open_close(a, b, &huge);
    lum_copy(a, gray);

    for (int32_t handle : {a, b, gray, mask}) lum_destroy_image(handle);
}

TEST(Memory, TenThousandCyclesReturnTheHeapToWhereItStarted) {
    // First the registry's table and the contour store's pool of spare point blocks reach their size.
    for (int k = 0; k < 2000; ++k) cycle(k);
    // The resident size first: reading it is the only allocation of the test itself.
    const size_t resident_before = resident_bytes(), heap_before = heap_in_use();
    for (int k = 0; k < 10000; ++k) cycle(k);
    const size_t resident_after = resident_bytes(), heap_after = heap_in_use();
    if (heap_before > 0) {
        EXPECT_EQ(heap_after, heap_before);
    }
    EXPECT_LT(resident_after, resident_before + (8u << 20));
    // Every handle came back: the next image gets the smallest one again.
    const int32_t next = lum_create_image();
    EXPECT_EQ(next, 0);
    lum_destroy_image(next);
}

TEST(Memory, EmptyFramesWithReleaseKeepTheStoreAtOneSlot) {
    // An inspection line: most frames hold nothing, and the host releases the empty set.
    const int32_t frame = lum_create_image();
    ASSERT_EQ(lum_init_image(frame, 64, 48, lum_fmt_8u, lum_gray, 8), 0);
    uint32_t total = 0, count = 0;
    const int32_t first = lum_find_contours(frame, &total, &count);
    ASSERT_GE(first, 0);
    ASSERT_EQ(lum_release_contours(first), 0);
    const int32_t slots = lum::contours::slot_count();
    const size_t heap_before = heap_in_use();
    for (int k = 0; k < 100000; ++k) {
        const int32_t set = lum_find_contours(frame, &total, &count);
        ASSERT_EQ(set, first);
        ASSERT_EQ(count, 0u);
        ASSERT_EQ(lum_release_contours(set), 0);
    }
    EXPECT_EQ(lum::contours::slot_count(), slots);
    if (heap_before > 0) {
        EXPECT_EQ(heap_in_use(), heap_before);
    }
    lum_destroy_image(frame);
}

}  // namespace
