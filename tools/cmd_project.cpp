// `lum project`: maximum, minimum or mean of a sequence of frames, pixel by
// pixel or one line per frame, with a progress bar on a terminal.
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "cli.hpp"

namespace lum::cli {
namespace {

void progress(size_t done, size_t total) {
    const int width = 40, filled = static_cast<int>(width * done / total);
    std::fprintf(stderr, "\r[%.*s%*s] %zu/%zu frames", filled, "########################################",
                 width - filled, "", done, total);
    if (done == total) std::fprintf(stderr, "\n");
    std::fflush(stderr);
}

// Fills every sample of an image with its valid-bits maximum, so that a
// minimum over frames starts from above them all.
void fill_with_maximum(const lum::image& image) {
    const lum_info i = image.info();
    const unsigned top = (1u << i.valid_bits) - 1;
    for (int32_t y = 0; y < i.height; y += 1) {
        auto* row = static_cast<uint8_t*>(i.frame_buf) + static_cast<size_t>(i.step_bytes) * y;
        for (int32_t x = 0; x < i.width; x += 1) {
            if (i.pix_type == lum_fmt_8u) row[x] = static_cast<uint8_t>(top);
            else reinterpret_cast<uint16_t*>(row)[x] = static_cast<uint16_t>(top);
        }
    }
}

int run_project(const Args& args) {
    const std::string& out = args.positional[0];
    const std::vector<std::string> frames(args.positional.begin() + 1, args.positional.end());
    const std::string op = args.text("op", "max");
    if (op != "max" && op != "min" && op != "mean") throw UsageError("--op is max, min or mean");
    const std::string along = args.text("direction", "pixel");
    if (along != "pixel" && along != "rows" && along != "columns") throw UsageError("--direction is pixel, rows or columns");
    const lum::projection_direction direction = along == "pixel" ? lum::projection_direction::pixels
                                                : along == "rows" ? lum::projection_direction::rows
                                                                  : lum::projection_direction::columns;
    const bool bar = !args.has("quiet") && ::isatty(STDERR_FILENO);
    const uint32_t count = static_cast<uint32_t>(frames.size());

    lum::image destination, accumulator;
    lum_info first{};
    for (uint32_t index = 0; index < count; index += 1) {
        const lum::image frame = read_png(frames[index]);
        const lum_info i = frame.info();
        if (index == 0) {
            first = i;
            if (i.channels != lum_gray || (i.pix_type != lum_fmt_8u && i.pix_type != lum_fmt_16u))
                throw Error(frames[0] + ": projections need grey 8u or 16u frames");
            const int32_t w = direction == lum::projection_direction::rows ? static_cast<int32_t>(count) : i.width;
            const int32_t h = direction == lum::projection_direction::columns ? static_cast<int32_t>(count) : i.height;
            destination = new_image(w, h, i.pix_type, lum_gray, static_cast<int32_t>(i.valid_bits));
            if (op == "min") fill_with_maximum(destination);
            if (op == "mean") {
                accumulator = in_context(frames[0], "mean accumulator", [&] {
                    return lum::projection_mean_accumulator(static_cast<uint32_t>(i.width), static_cast<uint32_t>(i.height));
                });
            }
        } else if (i.width != first.width || i.height != first.height || i.pix_type != first.pix_type ||
                   i.channels != first.channels) {
            throw Error(frames[index] + ": differs from " + frames[0] + " in size or format");
        }
        in_context(frames[index], op + " projection", [&] {
            if (op == "max") lum::projection_max(frame, destination, index, count, direction);
            else if (op == "min") lum::projection_min(frame, destination, index, count, direction);
            else lum::projection_mean(frame, destination, index, count, direction, accumulator);
        });
        if (bar) progress(index + 1, count);
    }
    write_png(destination, out);
    return 0;
}

const Registration project{{"project", "OUT.png FRAME.png...", "maximum, minimum or mean over a sequence of frames",
                            "--direction pixel (the default) reduces the frames pixel by pixel into an\n"
                            "image of their size; rows writes each frame's row maxima (minima, means)\n"
                            "as one column of OUT.png, columns each frame's column values as one row.\n"
                            "A progress bar is shown on a terminal.",
                            {{"op", "max|min|mean", "the reduction (max)"},
                             {"direction", "pixel|rows|columns", "what is reduced (pixel)"},
                             {"quiet", "", "no progress bar"}},
                            2, 1000000, run_project}};

}  // namespace
}  // namespace lum::cli
