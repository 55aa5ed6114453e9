/* A C99 host: creates, fills, reads and destroys an image through the C interface. */
#include <stddef.h>
#include <stdio.h>
#include <string.h>

#include "lum_lib.h"

int main(void) {
    int32_t h = lum_create_image();
    lum_info info;
    lum_point p = {3, 2};
    uint16_t in[3] = {1, 2, 4095}, out[3] = {0, 0, 0};
    if (h < 0) return 1;
    if (lum_init_image(h, 20, 10, lum_fmt_16u, lum_color, 12) != 0) return 2;
    if (lum_get_info(h, &info) != 0 || info.step_bytes != 2 * 32 * 3 || info.channels != lum_color) return 3;
    if (lum_set_one_pixel(h, p, in) != 0 || lum_get_one_pixel(h, p, out) != 0) return 4;
    if (memcmp(in, out, sizeof in) != 0) return 5;
    if (lum_get_data_byte(h) != 2) return 6;
    {
        /* Bindings lay the object record out by hand: natural alignment, 72 bytes. */
        lum_object objects[2];
        uint32_t count = 0;
        if (sizeof(lum_object) != 72 || offsetof(lum_object, centroid_x) != 8 || offsetof(lum_object, x) != 24 ||
            offsetof(lum_object, holes) != 40 || offsetof(lum_object, orientation) != 48 ||
            offsetof(lum_object, minor_axis) != 64)
            return 8;
        if (lum_measure_objects(h, 0, -1, objects, 2, &count) != -65) return 9;
    }
    if (lum_destroy_image(h) != 0 || lum_destroy_image(h) != -64) return 7;
    puts("c header ok");
    return 0;
}
