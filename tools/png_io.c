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
    void* scratch;
    int32_t image;
} png_job;

/* The header, and by how many bits stored samples lie above their original values. */
typedef struct {
    png_header header;
    int shift;
} png_layout;

unsigned png_widen_sample(unsigned value, int bits, int depth) {
    const unsigned top = (1u << bits) - 1u;
    unsigned out;
    int shift = depth - bits;
    if (bits <= 0 || bits >= depth) return value;
    if (value > top) value = top;
    /* The valid bits repeated from the top down until the sample is full:
     * 0 stays 0, the maximum becomes the depth's maximum, the steps stay even. */
    out = value << shift;
    for (shift -= bits; shift > -bits; shift -= bits) out |= shift >= 0 ? value << shift : value >> -shift;
    return out & ((1u << depth) - 1u);
}

static void finish_read(png_job* job) {
    if (job->png) png_destroy_read_struct(&job->png, job->info ? &job->info : NULL, NULL);
    if (job->file) fclose(job->file);
    free(job->rows);
    job->png = NULL;
    job->info = NULL;
    job->file = NULL;
    job->rows = NULL;
}

/* Opens path and checks the signature; -1 with a message otherwise. */
static int open_for_reading(png_job* job, message* m, const char* path) {
    unsigned char signature[8];
    job->file = fopen(path, "rb");
    if (!job->file) {
        say(m->text, m->size, "%s: cannot open for reading", path);
        return -1;
    }
    if (fread(signature, 1, 8, job->file) != 8 || png_sig_cmp(signature, 0, 8) != 0) {
        say(m->text, m->size, "%s: not a PNG file", path);
        return -1;
    }
    job->png = png_create_read_struct(PNG_LIBPNG_VER_STRING, m, on_png_error, on_png_warning);
    if (job->png) job->info = png_create_info_struct(job->png);
    if (!job->png || !job->info) {
        say(m->text, m->size, "%s: out of memory", path);
        return -1;
    }
    png_set_sig_bytes(job->png, 8);
    return 0;
}

/* Reads the chunks before the image data. */
static int read_layout(png_job* volatile job, png_layout* layout) {
    png_uint_32 width, height;
    int depth, colour_type, significant = 0;
    png_color_8p sbit;
    png_header* h = &layout->header;

    if (setjmp(png_jmpbuf(job->png))) return -1;
    png_init_io(job->png, job->file);
    png_read_info(job->png, job->info);
    png_get_IHDR(job->png, job->info, &width, &height, &depth, &colour_type, NULL, NULL, NULL);
    h->width = width;
    h->height = height;
    h->file_depth = depth;
    h->depth = depth == 16 ? 16 : 8;
    h->channels = (colour_type & PNG_COLOR_MASK_COLOR) ? 3 : 1;
    /* Low-depth grey is widened to 8 bits by replication, so its sBIT no longer describes the samples. */
    if (depth >= 8 && png_get_sBIT(job->png, job->info, &sbit)) {
        significant = (colour_type & PNG_COLOR_MASK_COLOR) ? sbit->red : sbit->gray;
        if (colour_type & PNG_COLOR_MASK_COLOR) {
            if (sbit->green > significant) significant = sbit->green;
            if (sbit->blue > significant) significant = sbit->blue;
        }
        if (significant < 1 || significant > depth) significant = 0;
    }
    /* One shift for every channel (the largest sBIT's) keeps the channels in balance. */
    layout->shift = significant ? h->depth - significant : 0;
    h->valid_bits = significant ? significant : h->depth;
    if (h->depth == 16 && h->valid_bits < 9) h->valid_bits = 9; /* 16u images hold 9 to 16 valid bits */
    return 0;
}

/* Names the file in a message that libpng wrote. */
static void name_the_file(char* error, size_t error_size, const char* path) {
    if (error && error_size && strncmp(error, path, strlen(path)) != 0) {
        char detail[256];
        snprintf(detail, sizeof detail, "%s", error);
        say(error, error_size, "%s: %s", path, detail);
    }
}

int read_png_header(const char* path, png_header* header, char* error, size_t error_size) {
    png_job job = {NULL, NULL, NULL, NULL, NULL, -1};
    message m = {error, error_size};
    png_layout layout;
    int result = open_for_reading(&job, &m, path);
    if (result == 0) {
        result = read_layout(&job, &layout);
        if (result != 0) name_the_file(error, error_size, path);
    }
    finish_read(&job);
    if (result == 0) *header = layout.header;
    return result;
}

static int read_pixels(png_job* volatile job, message* m, const char* path, const png_layout* layout) {
    const png_header* h = &layout->header;
    png_uint_32 y;
    int colour_type = png_get_color_type(job->png, job->info), channels;
    lum_info info;
    int8_t status;

    if (setjmp(png_jmpbuf(job->png))) return -1;
    /* Keep the stored samples as they are (no gamma); sBIT's shift is undone below. */
    if (colour_type == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(job->png);
    if (colour_type == PNG_COLOR_TYPE_GRAY && h->file_depth < 8) png_set_expand_gray_1_2_4_to_8(job->png);
    if (png_get_valid(job->png, job->info, PNG_INFO_tRNS)) png_set_tRNS_to_alpha(job->png);
    if (colour_type & PNG_COLOR_MASK_ALPHA || png_get_valid(job->png, job->info, PNG_INFO_tRNS))
        png_set_strip_alpha(job->png);
    if (h->depth == 16) png_set_swap(job->png); /* PNG is big-endian, images are native */
    png_read_update_info(job->png, job->info);
    channels = png_get_channels(job->png, job->info);
    if (channels != h->channels) {
        say(m->text, m->size, "%s: %d channels after decoding", path, channels);
        return -1;
    }

    job->image = lum_create_image();
    status = lum_init_image(job->image, (int32_t)h->width, (int32_t)h->height, h->depth == 16 ? lum_fmt_16u : lum_fmt_8u,
                            channels == 3 ? lum_color : lum_gray, h->valid_bits);
    if (status != 0) {
        say(m->text, m->size, "%s: cannot create a %u x %u image: %s", path, (unsigned)h->width, (unsigned)h->height,
            lum_status_text(status));
        return -1;
    }
    lum_get_info(job->image, &info);
    job->rows = (png_bytep*)malloc(sizeof(png_bytep) * (h->height ? h->height : 1));
    if (!job->rows) {
        say(m->text, m->size, "%s: out of memory", path);
        return -1;
    }
    for (y = 0; y < h->height; y += 1) job->rows[y] = (png_bytep)info.frame_buf + (size_t)info.step_bytes * y;
    png_read_image(job->png, job->rows);
    png_read_end(job->png, NULL);
    if (layout->shift > 0) {
        const size_t samples = (size_t)h->width * (size_t)channels;
        for (y = 0; y < h->height; y += 1) {
            size_t x;
            if (h->depth == 16) {
                uint16_t* row = (uint16_t*)job->rows[y];
                for (x = 0; x < samples; x += 1) row[x] = (uint16_t)(row[x] >> layout->shift);
            } else {
                uint8_t* row = job->rows[y];
                for (x = 0; x < samples; x += 1) row[x] = (uint8_t)(row[x] >> layout->shift);
            }
        }
    }
    return 0;
}

int32_t read_png_file(const char* path, uint64_t max_pixels, char* error, size_t error_size) {
    png_job job = {NULL, NULL, NULL, NULL, NULL, -1};
    message m = {error, error_size};
    png_layout layout;
    int result = open_for_reading(&job, &m, path);

    if (result == 0) {
        result = read_layout(&job, &layout);
        if (result != 0) name_the_file(error, error_size, path);
    }
    if (result == 0) {
        const png_header* h = &layout.header;
        const uint64_t pixels = (uint64_t)h->width * h->height;
        /* The library's row step is 32-bit: bytes per sample x channels x (width rounded down to 16, plus 16). */
        const uint64_t step = (uint64_t)(h->depth / 8) * (uint64_t)h->channels * (((uint64_t)h->width & ~15ull) + 16u);
        if (pixels > max_pixels) {
            say(error, error_size,
                "%s: %u x %u is %llu pixels, more than the limit of %llu (raise it with --max-pixels)", path,
                (unsigned)h->width, (unsigned)h->height, (unsigned long long)pixels, (unsigned long long)max_pixels);
            result = -1;
        } else if (step > 0xffffffffull) {
            say(error, error_size, "%s: rows of %u pixels are too long for an image", path, (unsigned)h->width);
            result = -1;
        } else {
            result = read_pixels(&job, &m, path, &layout);
            if (result != 0) name_the_file(error, error_size, path);
        }
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
    free(job->scratch);
}

static int write_from(png_job* volatile job, const lum_info* info) {
    png_color_8 sbit;
    int32_t y;
    const int colour = info->channels == lum_color;
    const int depth = info->pix_type == lum_fmt_16u ? 16 : 8;
    const int bits = (int)info->valid_bits;
    const int scaled = bits > 0 && bits < depth;
    const size_t samples = (size_t)info->width * (colour ? 3u : 1u);

    if (setjmp(png_jmpbuf(job->png))) return -1;
    png_init_io(job->png, job->file);
    /* Camera frames compress little better at higher levels, and take far longer. */
    png_set_compression_level(job->png, 2);
    png_set_IHDR(job->png, job->info, (png_uint_32)info->width, (png_uint_32)info->height, depth,
                 colour ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (scaled) {
        memset(&sbit, 0, sizeof sbit);
        sbit.red = sbit.green = sbit.blue = sbit.gray = (png_byte)bits;
        png_set_sBIT(job->png, job->info, &sbit);
    }
    png_write_info(job->png, job->info);
    if (depth == 16) png_set_swap(job->png);
    for (y = 0; y < info->height; y += 1) job->rows[y] = (png_bytep)info->frame_buf + (size_t)info->step_bytes * y;
    if (!scaled) {
        png_write_image(job->png, job->rows);
    } else {
        /* Scaled rows go through a row of our own: the image keeps its samples. */
        for (y = 0; y < info->height; y += 1) {
            size_t x;
            if (depth == 16) {
                const uint16_t* from = (const uint16_t*)job->rows[y];
                uint16_t* to = (uint16_t*)job->scratch;
                for (x = 0; x < samples; x += 1) to[x] = (uint16_t)png_widen_sample(from[x], bits, 16);
            } else {
                const uint8_t* from = job->rows[y];
                uint8_t* to = (uint8_t*)job->scratch;
                for (x = 0; x < samples; x += 1) to[x] = (uint8_t)png_widen_sample(from[x], bits, 8);
            }
            png_write_row(job->png, (png_bytep)job->scratch);
        }
    }
    png_write_end(job->png, NULL);
    return 0;
}

int write_png_file(const char* path, int32_t image, char* error, size_t error_size) {
    png_job job = {NULL, NULL, NULL, NULL, NULL, image};
    message m = {error, error_size};
    lum_info info;
    int8_t status = lum_get_info(image, &info);
    int result;

    if (status != 0) {
        say(error, error_size, "%s: %s", path, lum_status_text(status));
        return -1;
    }
    if (!info.frame_buf || (info.pix_type != lum_fmt_8u && info.pix_type != lum_fmt_16u) ||
        (info.channels != lum_gray && info.channels != lum_color) || info.width < 1 || info.height < 1) {
        say(error, error_size, "%s: PNG holds 8u or 16u grey or colour images only", path);
        return -1;
    }
    job.rows = (png_bytep*)malloc(sizeof(png_bytep) * (size_t)info.height);
    job.scratch = malloc((size_t)info.width * (size_t)info.channels * (info.pix_type == lum_fmt_16u ? 2u : 1u));
    job.file = job.rows && job.scratch ? fopen(path, "wb") : NULL;
    if (!job.rows || !job.scratch || !job.file) {
        say(error, error_size, job.rows && job.scratch ? "%s: cannot open for writing" : "%s: out of memory", path);
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
