/*
 * lum_lib: two-dimensional image processing and measurement for machine vision.
 *
 * Images live in a process-wide registry and are named by integer handles.
 * Every function checks its handles first (-6: outside the registry, -64:
 * empty slot), runs one operation and returns a signed 8-bit status:
 *    0 success            -1 format not supported      -2 rectangle beyond image
 *   -3 bad valid bits     -4 images disagree           -5 primitive failed
 *   -6 bad handle         -7 argument out of range     -8 out of memory
 *  -32 empty item       -64 image not initialised     -65 channels not supported
 * -128 missing or inconsistent output
 * The library starts no threads and prints nothing but
 * "IPP function failed,return value %d." when a kernel reports a failure.
 */
#ifndef LUM_LIB_H
#define LUM_LIB_H

#include <stdint.h>

#if defined(_WIN32)
#define LUM_API __declspec(dllexport)
#else
#define LUM_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef enum lum_data_format { lum_fmt_8u = 1, lum_fmt_16u = 2, lum_fmt_16s = 3, lum_fmt_32f = 4 } lum_data_format;
typedef enum lum_channels { lum_gray = 1, lum_color = 3 } lum_channels;

typedef struct lum_point { int32_t x; int32_t y; } lum_point;
typedef struct lum_size  { int32_t width; int32_t height; } lum_size;
typedef struct lum_rect  { int32_t x; int32_t y; int32_t width; int32_t height; } lum_rect;

/* Plain description of an image; the first nine fields of the img record. */
typedef struct lum_info {
    int32_t width;
    int32_t height;
    float physical_width;
    float physical_height;
    uint32_t step_bytes;
    lum_data_format pix_type;
    uint32_t valid_bits;
    lum_channels channels;
    void* frame_buf;
} lum_info;

/* the morphology parameter record */
typedef struct lum_morph_param { int32_t shape; int32_t operation; int32_t width; int32_t height; } lum_morph_param;

/* ---- Images, handles, pixels ------------------------------------------ */

/* New, uninitialised image; returns the smallest free handle. */
LUM_API int32_t lum_create_image(void);
/* Releases the image (and its buffer if the library allocated it); the handle becomes free. */
LUM_API int8_t  lum_destroy_image(int32_t image);
/* Allocates a zeroed buffer: step = bytes/sample * ((width & ~15) + 16) * channels.
 * -3 bad valid bits (16u: 9..16, 8u: at most 8), -65 channels not 1 or 3, -8 no memory. */
LUM_API int8_t  lum_init_image(int32_t image, int32_t width, int32_t height, lum_data_format format, lum_channels channels, int32_t valid_bits);
/* Borrows the caller's buffer described by info; the library never frees it. The buffer may start at
 * any address and step by any number of bytes (16-bit and float samples need not be aligned). */
LUM_API int8_t  lum_init_image_ex(int32_t image, const lum_info* info);
/* Copies the image's description into info. */
LUM_API int8_t  lum_get_info(int32_t image, lum_info* info);
/* The image's first byte of row 0, or null for a handle beyond the registry, an empty slot or an uninitialised image. */
LUM_API void*   lum_get_buf(int32_t image);
/* Bytes per sample (1, 2, 2, 4; 0 when uninitialised), or -6 / -64. */
LUM_API int32_t lum_get_data_byte(int32_t image);
/* Stores the physical size; -7 when either value is negative. */
LUM_API int8_t  lum_set_physical_size(int32_t image, float width, float height);
/* Reads one pixel (all channels) into value; -7 when x > width or y > height or negative. */
LUM_API int8_t  lum_get_one_pixel(int32_t image, lum_point position, void* value);
/* Writes one pixel (all channels) from value; same bounds as lum_get_one_pixel. */
LUM_API int8_t  lum_set_one_pixel(int32_t image, lum_point position, const void* value);
/* Zeroes the image's buffer (step * height bytes). */
LUM_API int8_t  lum_clear(int32_t image);

/* ---- Two-image arithmetic and logic, constants, conversion, shifts, tables, inversion ---- */

/* Converts every sample into destination (initialised with the target format) over the source's size:
 * 8u->16u, 16u->8u (saturating), 16u->32f (1 or 3 channels), 32f->8u (1 channel, rounded to nearest).
 * -64, -65 channel counts differ, -1 other pairs, -2 a destination too small for its buffer, -5 primitive. */
/* d = a + b (saturating), then d clamped to its valid bits (8u, 16u); a, b, d agree in layout, else -4.
 * -64, -4, -1 format, -65 channels, -5 primitive; the clamp's codes after the sum is written. */
LUM_API int8_t lum_add(int32_t a, int32_t b, int32_t d);
/* b = b + a, dispatched on a's format (16u into a one-channel float b adds as floats; other b formats: 0, nothing done);
 * integer b clamped to its valid bits unless they cover the full range. -64, -4, -1, -65, -5. */
LUM_API int8_t lum_addI(int32_t a, int32_t b);
/* d = a - b saturating at 0, 8u and 16u only; a is read with b's row step. -64, -4, -1 (float too), -65, -5. */
LUM_API int8_t lum_sub(int32_t a, int32_t b, int32_t d);
/* a = a - b in place (8u, 16u saturating; 32f). -64, -4, -1, -65, -5. */
LUM_API int8_t lum_subI(int32_t a, int32_t b);
/* d = |a - b| over a's size and layout, nothing compared; 8u C1/C3, 16u C1. -64, -1, -65, -2 outside a buffer, -5. */
LUM_API int8_t lum_absDiff(int32_t a, int32_t b, int32_t d);
/* b = b AND a / b OR a / b XOR a for 8u and 16u; a is left unchanged. -64, -4, -1, -5;
 * a channel count other than 1 or 3 returns 0 and does nothing. */
LUM_API int8_t lum_and(int32_t a, int32_t b);
LUM_API int8_t lum_or(int32_t a, int32_t b);
LUM_API int8_t lum_xor(int32_t a, int32_t b);

/* Adds one sample value (the image's sample type) to every channel, in place over the image or rect, then clamps the
 * whole image to its valid bits. 8u, 16u. -64, -7/-2 rect, -1, -65, -5, the clamp's codes. */
LUM_API int8_t lum_addCI(int32_t image, const void* value);
LUM_API int8_t lum_addCI_rect(int32_t image, const void* value, const lum_rect* rect);
/* Multiplies in place by value (const double[channels]), rounded to nearest and saturated; integer images are then
 * clamped to their valid bits. 8u, 16u (C1, C3), 32f (C1). -64, -7/-2, -1, -65, -5. */
LUM_API int8_t lum_mulCI(int32_t image, const void* value);            /* value: const double[channels] */
LUM_API int8_t lum_mulCI_rect(int32_t image, const void* value, const lum_rect* rect);
/* destination = source - value (one sample of the image's type, every channel), saturating at 0. 8u, 16u.
 * -64, -4, -1, -65, -5. */
LUM_API int8_t lum_subC(int32_t source, int32_t destination, const void* value);

/* Converts every sample into destination (initialised with the target format) over the source's size:
 * 8u->16u, 16u->8u (saturating), 16u->32f (1 or 3 channels), 32f->8u (1 channel, rounded to nearest).
 * -64, -65 channel counts differ, -1 other pairs, -2 a destination too small for its buffer, -5 primitive. */
LUM_API int8_t lum_convert(int32_t source, int32_t destination);

/* Logical shifts of a one-channel 8u or 16u image in place, over the image or rect; bits shifted out are lost.
 * -64, -7/-2 rect, -3 right shift by more than the valid bits, -1 channels or format, -5. */
LUM_API int8_t lum_LShiftI(int32_t image, uint32_t count);
LUM_API int8_t lum_LShiftI_rect(int32_t image, uint32_t count, const lum_rect* rect);
LUM_API int8_t lum_RShiftI(int32_t image, uint32_t count);
LUM_API int8_t lum_RShiftI_rect(int32_t image, uint32_t count, const lum_rect* rect);

/* Maps every source sample through table (2^valid_bits entries) into destination over the source's size:
 * 8u C1 -> C1 or C3 (3-byte entries), 8u C3 (tables at byte offsets 0, 256, 512), 16u C1, 16u C3 (channel 0 through
 * the first table, channels 1 and 2 through the second). -64, -7 empty source or null table, -2, -65, -1, -5. */
LUM_API int8_t lum_lut(int32_t source, int32_t destination, const void* table);
/* destination = valid-bits mask of source - source, 8u and 16u. -64, -4, -1, -65, -5. */
LUM_API int8_t lum_invert(int32_t source, int32_t destination);

/* (end of section) */


/* ---- Division, scaling, logarithm, shifts into a second image, level adjustment ---- */

/* b = b / a in place over a's size (8u, 16u rounded to nearest and saturated; 32f IEEE), 1 or 3 channels.
 * A zero divisor (x/0 -> maximum, 0/0 -> 0) prints a warning and still gives 0. -64, -4 channels or format, -1, -65, -5. */
LUM_API int8_t lum_divI(int32_t a, int32_t b);

/* d = s * a + b from source into destination, any pair of 8u, 16u, 32f; integer results rounded and saturated.
 * The region width counts samples, not pixels. -64, -7 origin/size, -2 beyond either image, -1 format, -5. */
LUM_API int8_t lum_scale(int32_t source, int32_t destination, double a, double b);
LUM_API int8_t lum_scale_rect(int32_t source, lum_point source_origin, int32_t destination, lum_point destination_origin, lum_size size, double a, double b);
/* The same in place over the image or rect (width in samples). -64, -7, -2, -1, -5. */
LUM_API int8_t lum_scaleI(int32_t image, double a, double b);
LUM_API int8_t lum_scaleI_rect(int32_t image, double a, double b, const lum_rect* rect);

/* Natural logarithm in place of a one-channel float image; 0 gives -inf, negatives NaN (warning printed, status 0).
 * -64, -1 not one channel or not float, -5. */
LUM_API int8_t lum_lnI(int32_t image);

/* Shift a one-channel 8u or 16u source into a one-channel 8u or 16u destination: 16u->8u shifts then saturates,
 * 8u->16u widens then shifts. -64, -7 origin/size, -2 beyond either image, -65, -1 other formats, -8, -5. */
LUM_API int8_t lum_LShift(int32_t source, int32_t destination, uint32_t count);
LUM_API int8_t lum_LShift_rect(int32_t source, lum_point source_origin, int32_t destination, lum_point destination_origin, lum_size size, uint32_t count);
LUM_API int8_t lum_RShift(int32_t source, int32_t destination, uint32_t count);
LUM_API int8_t lum_RShift_rect(int32_t source, lum_point source_origin, int32_t destination, lum_point destination_origin, lum_size size, uint32_t count);

/* Stretches levels of an 8u image into destination: per channel (s - trunc(low)) * m / (high - low), m the destination's
 * valid-bits maximum, rounded and saturated. -64, -7/-2 region, -4 channels or format differ, -1 not 8u, -65,
 * -7 null low or high, -5. */
LUM_API int8_t lum_adjust(int32_t source, int32_t destination, const double* low, const double* high);

/* (end of section) */


/* ---- Colour and channels ---- */

/* Colour (3 channels, 8u or 16u) to grey with equal weights 1/3; result in destination (its own step).
 * -64 either image, -1 source not 3 channels or destination not 1, -1 format not 8u/16u, -5 kernel failure. */
LUM_API int8_t lum_color_to_gray(int32_t source, int32_t destination);
/* 8u grey copied into all three channels of the 8u colour destination. -64, -1 layout or format. */
LUM_API int8_t lum_gray_to_color(int32_t source, int32_t destination);
/* In place: out_c = m[4c]*s0 + m[4c+1]*s1 + m[4c+2]*s2 + m[4c+3], rounded and saturated;
 * 16u results are then clamped to the valid bits. -64, -1 not 3 channels or format not 8u/16u, -5. */
LUM_API int8_t lum_color_twistI(int32_t image, const float* matrix);                 /* 3 rows of 4 */
/* The same from source into destination; both are walked with the source's step and size. */
LUM_API int8_t lum_color_twist(int32_t source, int32_t destination, const float* matrix);
/* Adds palette[3i+2], palette[3i+1], palette[3i] (saturating) to the destination pixel, with i the grey sample
 * of the rectangle times contrast plus brightness, truncated and clamped to 0..255 (16u first shifted right by
 * valid bits - 8). Destination: 8u colour of the rectangle's size. -7 bad rectangle or null palette, -2, -1. */
LUM_API int8_t lum_computer_color_bc(int32_t source, int32_t destination, const lum_rect* rect, const uint8_t* palette, double contrast, int32_t brightness);

/* Whole-image copy into destination; -4 unless channels, format, width and height agree. */
LUM_API int8_t lum_copy(int32_t source, int32_t destination);
/* Copies a size.width x size.height rectangle from source_origin to destination_origin.
 * -7 negative origin or empty size, -2 rectangle leaves an image, -4 layouts differ, -1, -65. */
LUM_API int8_t lum_copy_rect(int32_t source, lum_point source_origin, int32_t destination, lum_point destination_origin, lum_size size);
/* Writes the 8u grey image into channel 0, 1 or 2 of the 8u colour image (others unchanged); -7 bad channel. */
LUM_API int8_t lum_copy_gray2color(int32_t grey, int32_t colour, int32_t channel);
/* Splits a colour image (8u or 16u) into three grey planes of its format; the planes share plane0's step. */
LUM_API int8_t lum_copy_color2channels(int32_t colour, int32_t plane0, int32_t plane1, int32_t plane2);
/* Merges three grey planes (read with plane0's step) into the colour image. */
LUM_API int8_t lum_copy_channels2color(int32_t plane0, int32_t plane1, int32_t plane2, int32_t colour);
/* In place on an 8u colour image: channel c receives channel order[c]; an index outside 0..2 gives -5. */
LUM_API int8_t lum_swap_channels(int32_t image, const int32_t* order);               /* 3 entries */

/* (end of section) */


/* ---- Geometry ---- */

/* Flips the whole image in place: axis 0 rows top to bottom, 1 columns left to right, 2 both.
 * -64, -1 layout not 8u/16u/32f with 1 or 3 channels, -5 axis refused by the kernel. */
LUM_API int8_t lum_mirrorI(int32_t image, int32_t axis);
/* The same on a rectangle of the image; -7 negative origin or empty size, -2 rectangle leaves the image. */
LUM_API int8_t lum_mirrorI_rect(int32_t image, int32_t axis, const lum_rect* rect);
/* Scales the source rectangle into the destination rectangle: interpolation 1 nearest, 2 linear, 16 Lanczos
 * (nearest when the source rectangle is under 6 pixels wide or high); equal sizes copy. Returns the checks'
 * codes (-64, -7, -2 source then destination, -4 layouts differ, -1 format), else 0 even if the resize failed. */
LUM_API int8_t lum_resize(int32_t source, lum_point source_origin, lum_size source_size, int32_t destination, lum_point destination_origin, lum_size destination_size, int32_t interpolation);
/* Turns the source by angle degrees (counter-clockwise on screen) about its top-left pixel, then shifts it,
 * into the destination, which is cleared to 0 first: x' = x cos + y sin + x_shift, y' = -x sin + y cos + y_shift.
 * Interpolation 1 nearest, 2 linear (else -7). -64, -4 layouts differ, -1 format, -5 non-finite angle. */
LUM_API int8_t lum_rotate(int32_t source, int32_t destination, double angle, double x_shift, double y_shift, int32_t interpolation);

/* (end of section) */


/* ---- Statistics, histograms, Otsu threshold, projections ---- */

/* Sum of the samples as a double; every row is read as width one-channel samples (use on one-channel
 * images). 8u, 16u, 32f; -64, -7/-2 rectangle, -1 other formats. */
LUM_API int8_t lum_sum(int32_t image, double* sum);
LUM_API int8_t lum_sum_rect(int32_t image, const lum_rect* rect, double* sum);
/* Minimum and maximum in the image's own sample type, one per channel (room for 1 or 3 values each).
 * -64, -7/-2 rectangle, -7 null output, -1 format, -65 channels. */
LUM_API int8_t lum_img_min_max(int32_t image, void* minimum, void* maximum);
LUM_API int8_t lum_img_min_max_rect(int32_t image, const lum_rect* rect, void* minimum, void* maximum);
/* Mean and population standard deviation of a one-channel 8u, 16u or 32f image.
 * -64, -7/-2 rectangle, -7 null output, -1 format, -65 channels. */
LUM_API int8_t lum_img_mean_stddev(int32_t image, double* mean, double* stddev);
LUM_API int8_t lum_img_mean_stddev_rect(int32_t image, const lum_rect* rect, double* mean, double* stddev);
/* destination = larger (smaller) of first and second, pixel by pixel, one-channel 8u or 16u.
 * -64, -4 layouts differ, -65 channels; 16s and 32f images return 0 and change nothing. */
LUM_API int8_t lum_img_max_every(int32_t first, int32_t second, int32_t destination);
LUM_API int8_t lum_img_min_every(int32_t first, int32_t second, int32_t destination);
/* Uniform histogram of a one-channel 8u, 16u or 32f image: counts[k] (every one of the bins written) holds the
 * samples v with lower + k*(upper-lower)/bins <= v < lower + (k+1)*(upper-lower)/bins, levels in double precision.
 * -64, -7/-2 rectangle, -1 channels not 1 or format 16s, -7 null counts, bins 0 or lower >= upper, -5 bins < 0. */
LUM_API int8_t lum_histogram(int32_t image, float lower, float upper, uint32_t* counts, int32_t bins);
LUM_API int8_t lum_histogram_rect(int32_t image, const lum_rect* rect, float lower, float upper, uint32_t* counts, int32_t bins);
/* Otsu's threshold of a one-channel 8u or 16u image, in the image's sample values. A 16u image is rescaled to
 * 8 bits through its whole-image minimum and maximum, and its rectangle is measured at the rescaled image's
 * top-left corner; a constant 16u image gives its value. -64, -7/-2 rectangle, -1 channels or format, -7 null. */
LUM_API int8_t lum_otsu_get_threshold(int32_t image, int32_t* threshold);
LUM_API int8_t lum_otsu_get_threshold_rect(int32_t image, const lum_rect* rect, int32_t* threshold);
/* Projection of frame number index (of count) of a sequence of one-channel frames into destination (same format).
 * direction 0: destination = max (min) of itself and the frame, pixel by pixel; 1: the maximum (minimum) of each
 * row r goes to destination (index, r); 2: destination row index = max (min) of itself and every frame row.
 * 16s and 32f frames return 0 and change nothing. -64, -1 frame channels, -4 format/channels differ,
 * -7 direction or empty sizes/count, -2 destination too small (also a column/row index past its buffer). */
LUM_API int8_t lum_projection_max(int32_t frame, int32_t destination, uint32_t index, uint32_t count, int32_t direction);
LUM_API int8_t lum_projection_min(int32_t frame, int32_t destination, uint32_t index, uint32_t count, int32_t direction);
/* Creates the float accumulator (width x height, one channel) of lum_projection_mean into *accumulator;
 * returns the init status (the handle stays created on failure). */
LUM_API int8_t lum_projection_mean_init(uint32_t width, uint32_t height, int32_t* accumulator);
/* Mean projection (8u, 16u, 32f). Direction 0: index 0 restarts the accumulator, each frame is added, and at
 * index = count - 1 the destination receives accumulator / count (rounded to nearest, saturated). Directions 1
 * and 2 write each row's (column's) mean at once into column (row) index. Codes as lum_projection_max (but -1
 * for 16s frames), plus -1 for an accumulator that is not one-channel float, -2 for one smaller than the frame
 * and -7 for count 0 in direction 0. */
LUM_API int8_t lum_projection_mean(int32_t frame, int32_t destination, uint32_t index, uint32_t count, int32_t direction, int32_t accumulator);

/* (end of section) */


/* ---- Masks and line profiles ---- */
/* Clears the 8-bit one-channel mask, then draws shape 0 rectangle, 1 ellipse (both over the whole mask)
 * or 2 polygon (count vertices) as 255. -1 not 8u C1, -7 unknown shape, -32 no vertices, -128 bad crossings. */
LUM_API int8_t lum_generate_mask(int32_t mask, uint32_t shape, const lum_point* points, int32_t count);
/* As lum_generate_mask on a mask whose top-left sample is plane point origin; with count 2 the points are
 * read as one lum_rect bounding the rectangle or ellipse (plane coordinates), clipped to the mask. */
LUM_API int8_t lum_generate_mask_part(int32_t mask, lum_point origin, uint32_t shape, const lum_point* points, int32_t count);
/* Mean of the 8u/16u C1 image's samples under the non-zero mask samples, mask placed at (x, y).
 * -1 mask not 8u C1 or image not 8u/16u C1, -7 negative x or y, -2 mask overhangs the image. */
LUM_API int8_t lum_mask_mean(int32_t image, int32_t x, int32_t y, int32_t mask, double* mean);
/* Mean and standard deviation (divisor: samples counted) under the mask; codes as lum_mask_mean. */
LUM_API int8_t lum_mask_mean_stddev(int32_t image, int32_t x, int32_t y, int32_t mask, double* mean, double* stddev);
/* Smallest and largest sample under the mask (0 and 0 when it selects none); codes as lum_mask_mean. */
LUM_API int8_t lum_mask_min_max(int32_t image, int32_t x, int32_t y, int32_t mask, float* minimum, float* maximum);

/* Profile along the segment first-second of a grey 8u/16u image: the digital line, with thickness > 1 the
 * lines shifted by the band offsets stacked and averaged, resampled to L = trunc(sqrt(dx^2 + dy^2)) samples
 * (dx, dy counting both ends) of the image's type. *count: capacity in, L out (set before sampling).
 * -64, -1 not grey or format, -7 point beyond the image, null output, thickness 0, L 0 or above capacity,
 * -5 a point outside the image or another kernel failure. */
LUM_API int8_t lum_get_fast_profile(int32_t image, lum_point first, lum_point second, uint32_t thickness, void* samples, uint32_t* count);
/* The same; a band of thickness > 1 lines is taken parallel to the segment from the image turned so that the
 * segment lies along a row (8u, 16u and 32f), then averaged across. Codes as lum_get_fast_profile. */
LUM_API int8_t lum_get_profile(int32_t image, lum_point first, lum_point second, uint32_t thickness, void* samples, uint32_t* count);

/* (end of section) */


/* ---- Binarization, clipping, morphology, contours ---- */
/* Source samples at or above threshold become (1 << valid_bits) - 1 in destination, the others 0; a negative
 * threshold inverts the sense. 8u/16u C1 (thresholds modulo 256/65536; low bits all 0 leave a copy).
 * -7 empty size, -2 beyond an image, -1 not one channel or unsupported format (float: -1 after writing). */
LUM_API int8_t lum_binarization(int32_t source, int32_t destination, int32_t threshold);
/* As lum_binarization on a size.width x size.height rectangle at each image's origin. */
LUM_API int8_t lum_binarization_rect(int32_t source, lum_point source_origin, int32_t destination, lum_point destination_origin, lum_size size, int32_t threshold);
/* In place: below |threshold| becomes low, the rest high; a negative threshold inverts the sense.
 * 8u/16u/32f C1; -7 when low exceeds high, -1 other formats or channels. */
LUM_API int8_t lum_binarizationI(int32_t image, float threshold, float low, float high);
/* In place: samples below low become low, above high become high; a NaN bound is ignored.
 * 8u/16u/32f C1; -7 when low exceeds high. */
LUM_API int8_t lum_clipI(int32_t image, float low, float high);
/* Opening (operation 2) or closing (3) of the 8u/16u C1 source into destination over the source's size, with a
 * full rectangle (shape 0) or ellipse (shape 2) element, replicated borders. -7 other shapes or operations,
 * -65 source not one channel, -1 other formats. */
LUM_API int8_t lum_morph_open_close(int32_t source, int32_t destination, const lum_morph_param* param);

/* Traces the outer boundary of every object (non-zero samples) of a one-channel 8u or 16u image into
 * a new contour set; returns its handle (>= 0) with the contour count and the result size in integers.
 * -6 / -64 handle, -1 not one channel, -7 format neither 8u nor 16u, -128 total or count missing. */
LUM_API int32_t lum_find_contours(int32_t image, uint32_t* total, uint32_t* count);
/* Copies a contour set into result (per contour: x, y pairs, then min x, min y, width, height; sizes[i]
 * = 2 * points + 4) and releases it. -128 an array missing, -6 handle out of range, -32 no set or no contours. */
LUM_API int8_t  lum_get_contours_result(int32_t contours, int32_t* result, uint32_t* sizes);
/* Grows a contour by distance: its points, shifted by (distance - rect x, distance - rect y), are drawn into a
 * (rect width + 2 distance) x (rect height + 2 distance) scratch image, dilated with a (2 distance + 1) ellipse
 * and traced into a new contour set (scratch coordinates); returns its handle with the result size in total.
 * Codes of the dilation (-64 scratch image not allocated, -7 element size 0 or less), -7 points or rect
 * missing, -128 total missing. */
LUM_API int32_t lum_expand_contour(const lum_point* points, int32_t count, const lum_rect* rect, int32_t distance, uint32_t* total);
/* Vertical runs of a closed contour: triples (column, first row, last row), then (centroid x, centroid y,
 * area); written receives the number of integers. Nothing happens when a pointer is null. */
LUM_API void    lum_vline_contour(const lum_point* points, int32_t count, const lum_rect* rect, int32_t* runs, uint32_t* written);
/* Frees the contour set in slot `set` without copying it out, whatever it holds (a set of no contours
 * included): a host that does not fetch a set releases it so the store does not grow. 0 released,
 * -6 a handle outside the store, -32 an empty slot. */
LUM_API int8_t  lum_release_contours(int32_t set);
/* (end of section) */


/* ---- Watershed ---- */

/* Marker-controlled watershed by flooding. source: one-channel 8u or 16u, unchanged. markers: one-channel 16u of
 * the same size; each non-zero value is a seed and names one basin. The basins grow from their seeds in the order
 * of the source's grey level (a pixel enters at the larger of its own level and the level being flooded), first
 * in first out within a level, 8-connected. A pixel takes the label of its labelled neighbours when they agree;
 * where two different basins meet it stays 0 (the watershed line) and floods no further; a pixel no basin
 * reaches stays 0. Time and memory linear in the pixels (one bucket per grey level; 8 to 12 bytes of scratch
 * per pixel).
 * Codes: -6/-64 handles, -64 uninitialised, -1 a channel count other than 1, source not 8u/16u or markers not
 * 16u, -4 sizes differ, -32 no seed at all, -8 out of memory (the markers are then unchanged). */
LUM_API int8_t lum_watershed(int32_t source, int32_t markers);

/* (end of section) */


/* ---- Objects ---- */

/* One object of lum_measure_objects. Coordinates are pixel indexes (x column, y row; a pixel's centre is its
 * index); lengths are in pixels. 72 bytes: 4 bytes of padding follow holes. */
typedef struct lum_object {
    uint32_t label;                  /* 1-based, in the order of each object's first pixel in raster order */
    uint32_t area;                   /* number of pixels (saturated at 2^32 - 1) */
    double   centroid_x, centroid_y; /* mean of the pixels' x and y */
    int32_t  x, y, width, height;    /* bounding box: first column and row, columns and rows spanned */
    uint32_t holes;                  /* background components enclosed by the object */
    double   orientation;            /* radians, angle of the major axis, see lum_measure_objects */
    double   major_axis, minor_axis; /* 4 * sqrt of the eigenvalues of the pixels' covariance */
} lum_object;

/* Blob analysis of a one-channel 8u or 16u image. Objects are the 8-connected components of its non-zero
 * samples; holes are the 4-connected components of zero samples that do not touch the image border, each
 * counted for the object that encloses it (an object inside a hole is an object of its own and leaves the
 * hole one hole). Objects of fewer than min_area pixels are left out and take no label; labels 1, 2, ... go
 * to the others in the order of their first pixel in raster order (top row first, then leftmost).
 * *count receives the number of objects; the first min(*count, capacity) records are written to objects in
 * label order (objects may be null when capacity is 0: a counting call).
 * With var_x, var_y and cov_xy the population variances and covariance of the object's pixel coordinates,
 * major_axis and minor_axis are 4 * sqrt of the larger and smaller eigenvalue of [[var_x, cov_xy], [cov_xy,
 * var_y]], and orientation = atan2(2 cov_xy, var_y - var_x) / 2 in [-pi/2, pi/2]: the angle from the y axis
 * (down the rows) to the major axis, positive toward +x; with var_x = var_y it is pi/4 when cov_xy > 0 and
 * -pi/4 otherwise (a single pixel: -pi/4, axes 0). Moments are summed exactly in integers.
 * labels: -1, or the handle of a one-channel 16u image of the image's size that receives each pixel's label
 * (0 for background and left-out objects); it may be the image itself.
 * Codes, in this order: -6/-64 handles (image, then labels unless -1), -64 an image not initialised, -1 image
 * format not 8u or 16u, -65 image not one channel, -4 label image not 16u one-channel or of another size,
 * -128 count null or objects null with capacity > 0, -2 an image without a buffer or with rows longer than
 * its step, -7 more than 65535 objects with a label image, -8 out of memory. On any code but 0 nothing is
 * written: not the records, not the count, not the label image. Buffers may start at any address, and any
 * step of at least a row will do (odd ones included).
 * Time linear in the runs of non-zero samples plus one pass over the samples; scratch memory linear in the
 * runs (12 more bytes per run with a label image). */
LUM_API int8_t lum_measure_objects(int32_t image, uint32_t min_area, int32_t labels,
                                   lum_object* objects, uint32_t capacity, uint32_t* count);

/* (end of section) */


/* ---- Status text ---- */

/* A short, static English phrase for a status code ("image not initialised" for -64);
 * codes outside the table get "unknown status" (negative) or "unknown warning" (positive). Never null. */
LUM_API const char* lum_status_text(int code);

/* (end of section) */


#ifdef __cplusplus
} /* extern "C" */

/* The image record behind every handle. */
class LUM_API img {
public:
    int32_t width;
    int32_t height;
    float physical_width;
    float physical_height;
    uint32_t step_bytes;
    lum_data_format pix_type;
    uint32_t valid_bits;
    lum_channels channels;
    void* frame_buf;
    uint8_t ownership; /* 0 not initialised, 1 owns frame_buf, 2 borrows it */

    img();
    ~img();
    /* Copying would leave two records owning one buffer: not available. */
    img(const img&) = delete;
    /* Member-wise: the two records then share one buffer (and both may release it when it is owned). */
    img& operator=(const img& other);
    signed char init(int width, int height, lum_data_format format, lum_channels channels, int valid_bits);
    signed char init_ext(const lum_info* info);
    void get_info(lum_info* info) const;
    void clear_data();
    signed char set_px_value(int x, int y, const void* value);
    signed char get_px_value(int x, int y, void* value) const;
    void* get_ptr_at_position(lum_point position) const;
    signed char set_physical_size(float width, float height);
    signed char is_valid() const;
    int get_width() const;
    int get_height() const;
    unsigned int get_StepBytes() const;
    lum_data_format get_pix_type() const;
    unsigned int get_valid_bits() const;
    lum_channels get_channels() const;
    void* get_frame_buf() const;
    signed char get_1px_bytes() const;

private:
    void destroy();
    void clear_default();
};
#endif /* __cplusplus */

#endif /* LUM_LIB_H */
