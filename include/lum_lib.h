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
/* Borrows the caller's buffer described by info; the library never frees it. */
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

/* (end of section) */


/* ---- Division, scaling, logarithm, shifts into a second image, level adjustment ---- */

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

/* (end of section) */


/* ---- Statistics, histograms, Otsu threshold, projections ---- */

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

/* (end of section) */


/* ---- Binarization, clipping, morphology, contours ---- */

/* Traces the outer boundary of every object (non-zero samples) of a one-channel 8u or 16u image into
 * a new contour set; returns its handle (>= 0) with the contour count and the result size in integers.
 * -6 / -64 handle, -1 not one channel, -7 format neither 8u nor 16u, -128 total or count missing. */
LUM_API int32_t lum_find_contours(int32_t image, uint32_t* total, uint32_t* count);
/* Copies a contour set into result (per contour: x, y pairs, then min x, min y, width, height; sizes[i]
 * = 2 * points + 4) and releases it. -128 an array missing, -6 handle out of range, -32 no set or no contours. */
LUM_API int8_t  lum_get_contours_result(int32_t contours, int32_t* result, uint32_t* sizes);
/* Vertical runs of a closed contour: triples (column, first row, last row), then (centroid x, centroid y,
 * area); written receives the number of integers. Nothing happens when a pointer is null. */
LUM_API void    lum_vline_contour(const lum_point* points, int32_t count, const lum_rect* rect, int32_t* runs, uint32_t* written);
/* (end of section) */


/* ---- Watershed ---- */

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
