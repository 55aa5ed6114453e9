/* A C host: a 12-bit frame by handle, one pixel written and read back, and a
 * failing call explained with lum_status_text. */
#include <stdio.h>

#include <lum_lib.h>

int main(void) {
    int32_t frame = lum_create_image();
    int8_t status = lum_init_image(frame, 640, 480, lum_fmt_16u, lum_gray, 12);
    uint16_t in = 4000, out = 0;
    lum_point p = {10, 20};
    if (status != 0) {
        fprintf(stderr, "init: %s\n", lum_status_text(status));
        return 1;
    }
    lum_set_one_pixel(frame, p, &in);
    lum_get_one_pixel(frame, p, &out);
    printf("pixel (10, 20) = %u\n", out);
    status = lum_init_image(frame, 640, 480, lum_fmt_8u, lum_gray, 12); /* 12 bits do not fit 8u */
    printf("8u with 12 valid bits: %d (%s)\n", status, lum_status_text(status));
    lum_destroy_image(frame);
    return out == 4000 && status == -3 ? 0 : 1;
}
