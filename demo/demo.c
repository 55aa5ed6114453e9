/* lum_lib demo: creates images through the C interface, fills and reads
 * them, traces a part's outline, and prints what it did. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "lum_lib.h"

static const char* format_name(lum_data_format f) {
    switch (f) {
    case lum_fmt_8u: return "8u";
    case lum_fmt_16u: return "16u";
    case lum_fmt_16s: return "16s";
    case lum_fmt_32f: return "32f";
    }
    return "?";
}

static void describe(const char* what, int32_t h) {
    lum_info info;
    lum_get_info(h, &info);
    printf("%-22s handle %d: %d x %d, %s, %d channel(s), %u valid bits, step %u bytes\n", what, h, info.width,
           info.height, format_name(info.pix_type), (int)info.channels, info.valid_bits, info.step_bytes);
}

int main(void) {
    int32_t frame = lum_create_image();
    int32_t colour = lum_create_image();
    lum_point p;
    uint16_t sample = 0;
    int x, y;

    if (lum_init_image(frame, 640, 480, lum_fmt_16u, lum_gray, 12) != 0) return 1;
    if (lum_init_image(colour, 100, 50, lum_fmt_8u, lum_color, 8) != 0) return 1;
    describe("12-bit camera frame", frame);
    describe("colour image", colour);

    /* A gradient written pixel by pixel through the interface. */
    for (y = 0; y < 480; y += 1)
        for (x = 0; x < 640; x += 1) {
            uint16_t v = (uint16_t)((x * 4095) / 639);
            p.x = x;
            p.y = y;
            lum_set_one_pixel(frame, p, &v);
        }
    p.x = 320;
    p.y = 240;
    lum_get_one_pixel(frame, p, &sample);
    printf("gradient sample at (320, 240): %u\n", sample);

    {
        const uint8_t rgb[3] = {200, 100, 50};
        uint8_t back[3] = {0, 0, 0};
        p.x = 10;
        p.y = 5;
        lum_set_one_pixel(colour, p, rgb);
        lum_get_one_pixel(colour, p, back);
        printf("colour pixel at (10, 5): %u %u %u\n", back[0], back[1], back[2]);
    }

    /* Contours: a part traced and fetched, then an empty frame, whose set cannot be
     * fetched and goes back to the store with lum_release_contours. */
    {
        int32_t binary = lum_create_image(), set;
        uint32_t total = 0, count = 0;
        const uint8_t on = 255;
        const lum_rect part = {20, 10, 30, 16};
        lum_init_image(binary, 80, 40, lum_fmt_8u, lum_gray, 8);
        lum_addCI_rect(binary, &on, &part);
        set = lum_find_contours(binary, &total, &count);
        if (set >= 0 && count > 0) {
            int32_t* result = malloc(sizeof *result * total);
            uint32_t* sizes = malloc(sizeof *sizes * count);
            if (result && sizes && lum_get_contours_result(set, result, sizes) == 0)
                printf("%u contour: %u points, box %d x %d at (%d, %d)\n", count, (sizes[0] - 4) / 2,
                       result[sizes[0] - 2], result[sizes[0] - 1], result[sizes[0] - 4], result[sizes[0] - 3]);
            else
                lum_release_contours(set); /* a failed fetch leaves the set in the store */
            free(result);
            free(sizes);
        } else if (set >= 0) {
            lum_release_contours(set);
        }
        lum_clear(binary);
        set = lum_find_contours(binary, &total, &count);
        printf("an empty frame: contour set %d with %u contours, released with status %d\n", set, count,
               lum_release_contours(set));
        lum_destroy_image(binary);
    }

    p.x = 641;
    p.y = 0;
    printf("reading outside the frame gives status %d\n", lum_get_one_pixel(frame, p, &sample));
    printf("a 16-bit image with 8 valid bits is refused with %d\n", lum_init_image(colour, 4, 4, lum_fmt_16u, lum_gray, 8));

    lum_clear(frame);
    p.x = 320;
    p.y = 240;
    lum_get_one_pixel(frame, p, &sample);
    printf("after lum_clear: %u\n", sample);

    lum_destroy_image(colour);
    lum_destroy_image(frame);
    printf("destroying twice gives %d\n", lum_destroy_image(frame));
    return 0;
}
