/* PNG files to and from lum_lib images, through the public C interface only:
 * 8- and 16-bit grey and RGB, with the valid bits carried in the sBIT chunk. */
#ifndef LUM_TOOLS_PNG_IO_H
#define LUM_TOOLS_PNG_IO_H

#include <stddef.h>

#include <lum_lib.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Reads path into a new image by handle. Palette and low-depth files become
 * 8-bit, an alpha channel is dropped. Valid bits come from sBIT (grey or the
 * largest colour value), else the full depth. Returns the handle, or -1 with a
 * message in error (error_size bytes). */
int32_t lum_png_read(const char* path, char* error, size_t error_size);

/* Writes an 8u or 16u image, grey or colour, to path; 16-bit images below 16
 * valid bits get an sBIT chunk. Returns 0, or -1 with a message in error. */
int lum_png_write(const char* path, int32_t image, char* error, size_t error_size);

#ifdef __cplusplus
}
#endif

#endif
