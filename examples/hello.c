/* A C host: a frame with one bright part, Otsu's threshold, binarization and
 * the part's outline from the contour store (every set released, fetched or
 * not); failures explained with lum_status_text. */
#include <stdio.h>
#include <stdlib.h>

#include <lum_lib.h>

static int fail(const char* what, int status) {
    fprintf(stderr, "%s: %s (%d)\n", what, lum_status_text(status), status);
    return 1;
}

int main(void) {
    int32_t frame = lum_create_image(), objects = lum_create_image(), otsu = 0, set, *points;
    uint8_t background = 40, part = 150;
    lum_rect where = {20, 10, 30, 16};
    uint32_t total = 0, count = 0, *sizes;
    int8_t status = lum_init_image(frame, 80, 40, lum_fmt_8u, lum_gray, 8);
    if (status != 0) return fail("init", status);
    lum_init_image(objects, 80, 40, lum_fmt_8u, lum_gray, 8);
    lum_addCI(frame, &background);
    lum_addCI_rect(frame, &part, &where);
    lum_otsu_get_threshold(frame, &otsu);
    status = lum_binarization(frame, objects, otsu + 1); /* above Otsu's threshold: 255, else 0 */
    if (status != 0) return fail("binarization", status);
    set = lum_find_contours(objects, &total, &count);
    if (set < 0) return fail("contours", set);
    if (count == 0) {
        /* an empty frame's set cannot be fetched: release it, or the store keeps it */
        lum_release_contours(set);
        return fail("contours", -32);
    }
    points = malloc(sizeof(int32_t) * total);
    sizes = malloc(sizeof(uint32_t) * count);
    status = points && sizes ? lum_get_contours_result(set, points, sizes) : -8;
    if (status != 0) {
        lum_release_contours(set); /* a failed fetch leaves the set in the store */
        return fail("contour result", status);
    }
    /* each contour: its x, y pairs, then its bounding box x, y, width, height */
    printf("threshold %d, %u object(s), first box at (%d, %d), %d x %d\n", otsu, count, points[sizes[0] - 4],
           points[sizes[0] - 3], points[sizes[0] - 2], points[sizes[0] - 1]);
    status = count == 1 && points[sizes[0] - 2] == 30 ? 0 : 1;
    free(points);
    free(sizes);
    lum_destroy_image(frame);
    lum_destroy_image(objects);
    return status;
}
