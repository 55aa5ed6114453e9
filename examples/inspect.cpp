// A C++17 host written with lum_lib.hpp: the camera's frame lent to the
// library without a copy, images owned by lum::image, failures as lum::error
// exceptions, and the parts' outlines as vectors (the library's contour set is
// released whatever happens).
#include <lum_lib.hpp>

#include <cstdio>
#include <vector>

int main() {
    constexpr int32_t width = 120, height = 80;
    std::vector<uint16_t> camera(width * height, 400);  // the host's 12-bit frame
    for (int32_t y = 10; y < 30; ++y)
        for (int32_t x = 15; x < 55; ++x) camera[y * width + x] = 3000;  // a plate
    for (int32_t y = 45; y < 70; ++y)
        for (int32_t x = 70; x < 100; ++x)
            if ((x - 85) * (x - 85) + (y - 57) * (y - 57) <= 120) camera[y * width + x] = 2600;  // a disc
    camera[5 * width + 5] = 4000;  // a hot pixel the opening removes

    try {
        const lum::image frame =
            lum::image::borrow(camera.data(), width, height, width * sizeof(uint16_t), lum_fmt_16u, lum_gray, 12);
        lum::image binary(width, height, lum_fmt_16u, lum_gray, 12), clean(width, height, lum_fmt_16u, lum_gray, 12);
        int32_t threshold = 0;
        lum::check(lum_otsu_get_threshold(frame.handle(), &threshold), "lum_otsu_get_threshold");
        lum::check(lum_binarization(frame.handle(), binary.handle(), threshold + 1), "lum_binarization");
        lum::morph(binary, clean, lum::morph_operation::open, lum::morph_shape::rectangle, 3, 3);

        std::vector<lum_rect> boxes;
        const std::vector<lum::contour> parts = lum::find_contours(clean, &boxes);
        std::printf("threshold %d, %zu part(s)\n", threshold, parts.size());
        for (size_t k = 0; k < parts.size(); ++k)
            std::printf("  part %zu: %zu outline points, box %d x %d at (%d, %d)\n", k + 1, parts[k].size(),
                        boxes[k].width, boxes[k].height, boxes[k].x, boxes[k].y);

        lum::image small(width / 2, height / 2, lum_fmt_16u, lum_gray, 12);
        lum::resize(clean, small, lum::interpolation::nearest);
        lum::mirror(small, lum::mirror_axis::left_right);

        lum::image wrong(10, 10);  // 8u, 10 x 10: the library refuses the pair
        lum::check(lum_add(frame.handle(), wrong.handle(), binary.handle()), "lum_add");
        return 1;
    } catch (const lum::error& e) {
        std::printf("refused as expected: %s\n", e.what());
        return e.code() == -4 ? 0 : 1;
    }
}
