// A C++ host: the caller's own buffer lent to the library through
// lum_init_image_ex, measured in place, and an img record managed by the caller.
#include <lum_lib.h>

#include <cstdio>
#include <vector>

int main() {
    std::vector<uint16_t> pixels(64 * 48, 1000);  // the host's frame, rows 128 bytes apart
    for (int y = 10; y < 20; ++y)
        for (int x = 8; x < 40; ++x) pixels[y * 64 + x] = 3000;
    lum_info info{64, 48, 0.0f, 0.0f, 64 * sizeof(uint16_t), lum_fmt_16u, 12, lum_gray, pixels.data()};
    const int32_t h = lum_create_image();
    lum_init_image_ex(h, &info);  // no copy: the library reads and writes the host's buffer
    double mean = 0, stddev = 0;
    uint16_t lowest = 0, highest = 0;
    lum_img_mean_stddev(h, &mean, &stddev);
    lum_img_min_max(h, &lowest, &highest);
    lum_RShiftI(h, 4);  // 12 bits down to 8, in the host's buffer
    std::printf("mean %.1f, stddev %.1f, range %u..%u, first sample now %u\n", mean, stddev, lowest, highest,
                pixels[0]);
    lum_destroy_image(h);  // the buffer stays the host's

    img frame;  // a record the caller owns, outside the registry
    if (frame.init(320, 240, lum_fmt_8u, lum_color, 8) != 0) return 1;
    const uint8_t orange[3] = {255, 128, 0};
    uint8_t back[3] = {};
    frame.set_px_value(5, 5, orange);
    frame.get_px_value(5, 5, back);
    std::printf("img %d x %d, step %u, pixel (5, 5) = %u %u %u\n", frame.get_width(), frame.get_height(),
                frame.get_StepBytes(), back[0], back[1], back[2]);
    return pixels[0] == 1000 >> 4 && highest == 3000 && back[1] == 128 ? 0 : 1;
}
