/* PNG files to and from lum_lib images, through the public C interface only:
 * 8- and 16-bit grey and RGB, with the valid bits carried in the sBIT chunk.
 *
 * Samples of fewer valid bits than the file's depth are stored as PNG stores
 * them, scaled to the full depth (the valid bits repeated downwards: 12-bit
 * 4095 is 65535, 2048 is 32776), so that readers that ignore sBIT still see
 * the picture; reading shifts them back by depth - sBIT, which restores the
 * original values exactly. */
#ifndef LUM_TOOLS_PNG_IO_H
#define LUM_TOOLS_PNG_IO_H

#include <stddef.h>
#include <stdint.h>

#include <lum_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What a file becomes as an image, from its header chunks alone. */
typedef struct png_header {
    uint32_t width;
    uint32_t height;
    int channels;   /* 1 or 3: alpha is dropped, palettes become RGB */
    int depth;      /* 8 or 16: sample size of the image (low depths become 8) */
    int valid_bits; /* from sBIT (the largest channel value), else the depth; 16-bit images at least 9 */
    int file_depth; /* bit depth in the file: 1, 2, 4, 8 or 16 */
} png_header;

/* Reads the chunks up to the image data, decoding nothing. Returns 0, or -1
 * with a message in error (error_size bytes). */
int read_png_header(const char* path, png_header* header, char* error, size_t error_size);

/* Reads path into a new image by handle. Images of more than max_pixels
 * pixels (or rows too long for a 32-bit step) are refused from the header,
 * before anything is allocated. Returns the handle, or -1 with a message. */
int32_t read_png_file(const char* path, uint64_t max_pixels, char* error, size_t error_size);

/* Writes an 8u or 16u image, grey or colour, to path; images below their
 * depth's bits get an sBIT chunk and scaled samples (samples above the valid
 * bits are written as their maximum). Returns 0, or -1 with a message. */
int write_png_file(const char* path, int32_t image, char* error, size_t error_size);

/* A sample of `bits` valid bits scaled to `depth` bits by bit replication. */
unsigned png_widen_sample(unsigned value, int bits, int depth);

#ifdef __cplusplus
}
#endif

#endif
