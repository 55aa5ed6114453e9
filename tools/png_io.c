/* PNG reading and writing for the command-line tool with libpng's classic
 * interface: the simplified one would linearise 16-bit samples, and the tool
 * must round-trip them bit for bit. */
#include "png_io.h"

#include <png.h>
#include <setjmp.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct {
    char* text;
    size_t size;
} message;

static void say(char* error, size_t size, const char* format, ...) {
    va_list args;
    if (!error || size == 0) return;
    va_start(args, format);
    vsnprintf(error, size, format, args);
    va_end(args);
}

static void on_png_error(png_structp png, png_const_charp text) {
    message* m = (message*)png_get_error_ptr(png);
    if (m) say(m->text, m->size, "%s", text);
    png_longjmp(png, 1);
}

static void on_png_warning(png_structp png, png_const_charp text) {
    (void)png;
    (void)text; /* benign chunk complaints are not the user's concern */
}

/* Everything that must be released when libpng jumps out; kept in one place
 * so that the cleanup after setjmp sees the values stored before the jump. */
typedef struct {
    FILE* file;
    png_structp png;
    png_infop info;
    png_bytep* rows;
    int32_t image;
} png_job;

static void finish_read(png_job* job) {
    if (job->png) png_destroy_read_struct(&job->png, job->info ? &job->info : NULL, NULL);
    if (job->file) fclose(job->file);
    free(job->rows);
}

static int read_into(png_job* volatile job, message* m, const char* path) {
    png_uint_32 width, height, y;
    int depth, colour_type, channels, bits;
    lum_info info;
    png_color_8p sbit;
    int8_t status;

    if (setjmp(png_jmpbuf(job->png))) return -1;
    png_init_io(job->png, job->file);
    png_read_info(job->png, job->info);
    png_get_IHDR(job->png, job->info, &width, &height, &depth, &colour_type, NULL, NULL, NULL);
    if (width > 0x7fffffffu || height > 0x7fffffffu) {
        say(m->text, m->size, "%s: image too large", path);
        return -1;
    }
    bits = depth == 16 ? 16 : 8;
    if (png_get_sBIT(job->png, job->info, &sbit) && depth >= 8) {
        int s = (colour_type & PNG_COLOR_MASK_COLOR) ? sbit->red : sbit->gray;
        if (colour_type & PNG_COLOR_MASK_COLOR) {
            if (sbit->green > s) s = sbit->green;
            if (sbit->blue > s) s = sbit->blue;
        }
        if (s >= 1 && s <= depth) bits = s;
    }
    /* Keep the stored samples as they are: no shift back from sBIT, no gamma. */
    if (colour_type == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(job->png);
    if (colour_type == PNG_COLOR_TYPE_GRAY && depth < 8) png_set_expand_gray_1_2_4_to_8(job->png);
    if (png_get_valid(job->png, job->info, PNG_INFO_tRNS)) png_set_tRNS_to_alpha(job->png);
    if (colour_type & PNG_COLOR_MASK_ALPHA || png_get_valid(job->png, job->info, PNG_INFO_tRNS))
        png_set_strip_alpha(job->png);
    if (depth == 16) png_set_swap(job->png); /* PNG is big-endian, images are native */
    png_read_update_info(job->png, job->info);
    channels = png_get_channels(job->png, job->info);
    if (channels != 1 && channels != 3) {
        say(m->text, m->size, "%s: %d channels after decoding", path, channels);
        return -1;
    }
    if (depth == 16 && bits < 9) bits = 9; /* 16u images hold 9 to 16 valid bits */

    job->image = lum_create_image();
    status = lum_init_image(job->image, (int32_t)width, (int32_t)height, depth == 16 ? lum_fmt_16u : lum_fmt_8u,
                            channels == 3 ? lum_color : lum_gray, bits);
    if (status != 0) {
        say(m->text, m->size, "%s: cannot create a %u x %u image: %s", path, (unsigned)width, (unsigned)height,
            lum_status_text(status));
        return -1;
    }
    lum_get_info(job->image, &info);
    job->rows = (png_bytep*)malloc(sizeof(png_bytep) * (height ? height : 1));
    if (!job->rows) {
        say(m->text, m->size, "%s: out of memory", path);
        return -1;
    }
    for (y = 0; y < height; y += 1) job->rows[y] = (png_bytep)info.frame_buf + (size_t)info.step_bytes * y;
    png_read_image(job->png, job->rows);
    png_read_end(job->png, NULL);
    return 0;
}

int32_t lum_png_read(const char* path, char* error, size_t error_size) {
    png_job job = {NULL, NULL, NULL, NULL, -1};
    message m = {error, error_size};
    unsigned char signature[8];
    int result;

    job.file = fopen(path, "rb");
    if (!job.file) {
        say(error, error_size, "%s: cannot open for reading", path);
        return -1;
    }
    if (fread(signature, 1, 8, job.file) != 8 || png_sig_cmp(signature, 0, 8) != 0) {
        say(error, error_size, "%s: not a PNG file", path);
        fclose(job.file);
        return -1;
    }
    job.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &m, on_png_error, on_png_warning);
    if (job.png) job.info = png_create_info_struct(job.png);
    if (!job.png || !job.info) {
        say(error, error_size, "%s: out of memory", path);
        finish_read(&job);
        return -1;
    }
    png_set_sig_bytes(job.png, 8);
    result = read_into(&job, &m, path);
    if (result != 0 && error && strncmp(error, path, strlen(path)) != 0) {
        /* a libpng message: say which file it is about */
        char detail[256];
        snprintf(detail, sizeof detail, "%s", error);
        say(error, error_size, "%s: %s", path, detail);
    }
    finish_read(&job);
    if (result != 0) {
        if (job.image >= 0) lum_destroy_image(job.image);
        return -1;
    }
    return job.image;
}

static void finish_write(png_job* job) {
    if (job->png) png_destroy_write_struct(&job->png, job->info ? &job->info : NULL);
    if (job->file) fclose(job->file);
    free(job->rows);
}

static int write_from(png_job* volatile job, const lum_info* info) {
    png_color_8 sbit;
    int32_t y;
    const int colour = info->channels == lum_color;
    const int depth = info->pix_type == lum_fmt_16u ? 16 : 8;

    if (setjmp(png_jmpbuf(job->png))) return -1;
    png_init_io(job->png, job->file);
    png_set_IHDR(job->png, job->info, (png_uint_32)info->width, (png_uint_32)info->height, depth,
                 colour ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if ((int)info->valid_bits < depth && info->valid_bits > 0) {
        memset(&sbit, 0, sizeof sbit);
        sbit.red = sbit.green = sbit.blue = sbit.gray = (png_byte)info->valid_bits;
        png_set_sBIT(job->png, job->info, &sbit);
    }
    png_write_info(job->png, job->info);
    if (depth == 16) png_set_swap(job->png);
    for (y = 0; y < info->height; y += 1) job->rows[y] = (png_bytep)info->frame_buf + (size_t)info->step_bytes * y;
    png_write_image(job->png, job->rows);
    png_write_end(job->png, NULL);
    return 0;
}

int lum_png_write(const char* path, int32_t image, char* error, size_t error_size) {
    png_job job = {NULL, NULL, NULL, NULL, image};
    message m = {error, error_size};
    lum_info info;
    int8_t status = lum_get_info(image, &info);
    int result;

    if (status != 0) {
        say(error, error_size, "%s: %s", path, lum_status_text(status));
        return -1;
    }
    if (!info.frame_buf || (info.pix_type != lum_fmt_8u && info.pix_type != lum_fmt_16u) ||
        (info.channels != lum_gray && info.channels != lum_color)) {
        say(error, error_size, "%s: PNG holds 8u or 16u grey or colour images only", path);
        return -1;
    }
    job.rows = (png_bytep*)malloc(sizeof(png_bytep) * (info.height > 0 ? (size_t)info.height : 1));
    job.file = fopen(path, "wb");
    if (!job.rows || !job.file) {
        say(error, error_size, job.rows ? "%s: cannot open for writing" : "%s: out of memory", path);
        finish_write(&job);
        return -1;
    }
    job.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &m, on_png_error, on_png_warning);
    if (job.png) job.info = png_create_info_struct(job.png);
    if (!job.png || !job.info) {
        say(error, error_size, "%s: out of memory", path);
        finish_write(&job);
        return -1;
    }
    result = write_from(&job, &info);
    if (result != 0 && error) {
        char detail[256];
        snprintf(detail, sizeof detail, "%s", error);
        say(error, error_size, "%s: %s", path, detail);
    }
    finish_write(&job);
    if (result != 0) remove(path);
    return result;
}
