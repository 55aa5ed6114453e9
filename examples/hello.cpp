// A C++ host: an img record managed by the caller, and a handle's buffer
// lent by the caller through lum_init_image_ex.
#include <lum_lib.h>

#include <cstdio>
#include <vector>

int main() {
    img frame;
    if (frame.init(320, 240, lum_fmt_8u, lum_color, 8) != 0) return 1;
    const uint8_t orange[3] = {255, 128, 0};
    uint8_t back[3] = {};
    frame.set_px_value(5, 5, orange);
    frame.get_px_value(5, 5, back);
    std::printf("img %d x %d, step %u, pixel (5, 5) = %u %u %u\n", frame.get_width(), frame.get_height(),
                frame.get_StepBytes(), back[0], back[1], back[2]);

    std::vector<uint16_t> pixels(64 * 48, 1000);  // the host's own buffer, rows 128 bytes apart
    lum_info info{64, 48, 0.0f, 0.0f, 64 * sizeof(uint16_t), lum_fmt_16u, 12, lum_gray, pixels.data()};
    const int32_t h = lum_create_image();
    lum_init_image_ex(h, &info);
    const uint16_t v = 4095;
    lum_set_one_pixel(h, lum_point{3, 2}, &v);  // the library writes straight into the host's buffer
    std::printf("borrowed buffer sample (3, 2) = %u\n", pixels[2 * 64 + 3]);
    lum_destroy_image(h);
    return back[1] == 128 && pixels[2 * 64 + 3] == 4095 ? 0 : 1;
}
