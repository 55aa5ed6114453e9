// `lum demo`: an inspection pipeline on a synthetic 12-bit frame, from the
// raw frame to a table of measured parts, with every step timed.
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "contour_measure.hpp"
#include "objects.hpp"

namespace lum::cli {
namespace {

constexpr int32_t frame_width = 1600, frame_height = 1200;

struct Part {
    int kind;  // 0 disc, 1 plate, 2 ring, 3 washer
    double cx, cy, size;
    double level;
};

// Deterministic noise: the demo shows the same frame on every machine.
struct Noise {
    uint64_t state = 0x9e3779b97f4a7c15ull;
    double uniform() {
        state ^= state << 13, state ^= state >> 7, state ^= state << 17;
        return static_cast<double>(state >> 11) * (1.0 / 9007199254740992.0);
    }
    double normal() { return (uniform() + uniform() + uniform() + uniform() - 2.0) * 1.7320508; }
};

// Parts of several sizes on a grid, each away from its neighbours and the border.
std::vector<Part> layout() {
    std::vector<Part> parts;
    const double sizes[] = {38, 70, 55, 95, 46, 82, 60, 105, 42, 75, 66, 52};
    for (int k = 0; k < 12; k += 1) {
        const int col = k % 4, row = k / 4;
        parts.push_back(Part{k % 4, 200.0 + 400.0 * col + (row % 2 ? 25.0 : -20.0), 200.0 + 400.0 * row + (col % 2 ? 20 : -15),
                             sizes[k], 2700.0 + 60.0 * (k % 5)});
    }
    return parts;
}

bool inside(const Part& p, double x, double y) {
    const double dx = x - p.cx, dy = y - p.cy, r = std::sqrt(dx * dx + dy * dy);
    switch (p.kind) {
    case 0: return r <= p.size;
    case 1: return std::fabs(dx) <= p.size * 1.3 && std::fabs(dy) <= p.size * 0.7;
    case 2: return r <= p.size && r >= p.size * 0.55;
    default: return std::fabs(dx) <= p.size && std::fabs(dy) <= p.size && r >= p.size * 0.35;
    }
}

// An uneven, lit background, the parts, dust specks the opening removes, and sensor noise.
lum::image synthesise(const std::vector<Part>& parts) {
    lum::image frame = new_image(frame_width, frame_height, lum_fmt_16u, lum_gray, 12);
    const lum_info i = frame.info();
    Noise noise;
    for (int32_t y = 0; y < frame_height; y += 1) {
        auto* row = reinterpret_cast<uint16_t*>(static_cast<uint8_t*>(i.frame_buf) + static_cast<size_t>(i.step_bytes) * y);
        for (int32_t x = 0; x < frame_width; x += 1) {
            double v = 620.0 + 320.0 * x / frame_width + 160.0 * std::sin(6.2831853 * y / frame_height * 0.8 + 0.6);
            for (const Part& p : parts) {
                if (std::fabs(x - p.cx) > 1.4 * p.size || std::fabs(y - p.cy) > 1.4 * p.size) continue;
                if (inside(p, x, y)) v = p.level - 0.8 * (x - p.cx) - 0.5 * (y - p.cy);
            }
            v += 70.0 * noise.normal();
            row[x] = static_cast<uint16_t>(v < 0 ? 0 : v > 4095 ? 4095 : std::lround(v));
        }
    }
    for (int k = 0; k < 40; k += 1) {  // dust: 2 x 2 specks
        const int32_t x = static_cast<int32_t>(noise.uniform() * (frame_width - 2));
        const int32_t y = static_cast<int32_t>(noise.uniform() * (frame_height - 2));
        const uint16_t bright = 3600;
        for (int d = 0; d < 4; d += 1) lum_set_one_pixel(frame.handle(), lum_point{x + d % 2, y + d / 2}, &bright);
    }
    return frame;
}

using Clock = std::chrono::steady_clock;

struct Timer {
    std::vector<std::pair<std::string, double>> steps;
    Clock::time_point start = Clock::now();
    void lap(const std::string& name) {
        const Clock::time_point now = Clock::now();
        steps.emplace_back(name, std::chrono::duration<double, std::milli>(now - start).count());
        start = now;
    }
};

int run_demo(const Args& args) {
    const std::string dir = args.positional.empty() ? "lum-demo" : args.positional[0];
    if (::mkdir(dir.c_str(), 0777) != 0 && errno != EEXIST) throw Error(dir + ": cannot create the folder");
    const std::vector<Part> parts = layout();
    Timer timer;

    const lum::image frame = synthesise(parts);
    timer.lap("synthesise 12-bit frame");

    const lum::image frame8 = new_image(frame_width, frame_height, lum_fmt_8u, lum_gray, 8);
    // 12 significant bits to 8: shift out the four lowest.
    check(lum_RShift(frame.handle(), frame8.handle(), 4), "frame", "12 to 8 bits");
    timer.lap("12 to 8 bits");

    int32_t otsu = 0;
    check(lum_otsu_get_threshold(frame8.handle(), &otsu), "frame", "Otsu threshold");
    timer.lap("Otsu threshold");

    const lum::image binary = new_image(frame_width, frame_height, lum_fmt_8u, lum_gray, 8);
    check(lum_binarization(frame8.handle(), binary.handle(), otsu + 1), "frame", "binarization");
    timer.lap("binarize");

    lum::image opened = new_image(frame_width, frame_height, lum_fmt_8u, lum_gray, 8);
    in_context("frame", "opening",
               [&] { lum::morph(binary, opened, lum::morph_operation::open, lum::morph_shape::rectangle, 5, 5); });
    timer.lap("open (5 x 5)");

    // Areas and centroids are the pixels' own; the outlines only draw the overlay.
    const std::vector<lum_object> objects = measure_objects(opened, 0, -1, "frame");
    timer.lap("measure objects");
    const std::vector<Object> outlines = find_objects(opened, "frame");
    timer.lap("trace outlines");

    const lum::image overlay = render_grey(frame8, 0.9, 0);
    uint8_t tint[256 * 3] = {};
    tint[255 * 3 + 1] = 70;  // objects greened; the palette's bytes are in reverse channel order
    const lum_rect whole{0, 0, frame_width, frame_height};
    check(lum_computer_color_bc(opened.handle(), overlay.handle(), &whole, tint, 1.0, 0), "overlay", "palette rendering");
    draw_objects(overlay, outlines);
    timer.lap("render overlay");

    const std::string files[] = {dir + "/frame12.png", dir + "/frame8.png", dir + "/binary.png", dir + "/opened.png",
                                 dir + "/overlay.png", dir + "/report.json"};
    write_png(frame, files[0]);
    write_png(frame8, files[1]);
    write_png(binary, files[2]);
    write_png(opened, files[3]);
    write_png(overlay, files[4]);
    timer.lap("write PNG files");

    FILE* report = std::fopen(files[5].c_str(), "w");
    if (!report) throw Error(files[5] + ": cannot open for writing");
    std::fprintf(report, "{\"frame\": {\"width\": %d, \"height\": %d, \"valid_bits\": 12},\n \"parts_drawn\": %zu,\n"
                         " \"otsu_threshold\": %d,\n \"objects\": %s,\n",
                 frame_width, frame_height, parts.size(), otsu, measured_json(objects).c_str());
    std::fprintf(report, " \"timings_ms\": {");
    for (size_t k = 0; k < timer.steps.size(); k += 1)
        std::fprintf(report, "%s%s: %.3f", k ? ", " : "", json_string(timer.steps[k].first).c_str(), timer.steps[k].second);
    std::fprintf(report, "}}\n");
    std::fclose(report);

    print("lum demo: a %d x %d 12-bit inspection frame with %zu parts, dust and noise\n\n", frame_width,
          frame_height, parts.size());
    print("  %5s %8s %16s %22s %5s\n", "label", "area", "centroid", "bounding box", "holes");
    for (const lum_object& o : objects) {
        char centroid[48], box[48];
        std::snprintf(centroid, sizeof centroid, "(%.1f, %.1f)", o.centroid_x, o.centroid_y);
        std::snprintf(box, sizeof box, "%d x %d at (%d, %d)", o.width, o.height, o.x, o.y);
        print("  %5u %8u %16s %22s %5u\n", o.label, o.area, centroid, box, o.holes);
    }
    print("\n%zu objects found (%zu parts drawn), Otsu threshold %d of 255\n\n", objects.size(), parts.size(), otsu);
    double library = 0;
    for (const auto& [name, ms] : timer.steps) {
        print("  %-26s %9.2f ms\n", name.c_str(), ms);
        if (name != "synthesise 12-bit frame" && name != "write PNG files") library += ms;
    }
    print("  %-26s %9.2f ms\n\nwritten to %s/: frame12.png frame8.png binary.png opened.png overlay.png report.json\n",
          "image processing in all", library, dir.c_str());
    return 0;
}

const Registration demo{{"demo", "[DIR]", "run the inspection demo and write its images and report into DIR",
                         "Synthesises a 12-bit inspection frame (parts of several sizes on an uneven\n"
                         "background, with dust and noise), shifts it to 8 bits, finds Otsu's\n"
                         "threshold, binarizes, opens with a 5 x 5 element, traces and measures the\n"
                         "objects, renders a colour overlay, and writes frame12.png, frame8.png,\n"
                         "binary.png, opened.png, overlay.png and report.json into DIR (lum-demo).",
                         {},
                         0, 1, run_demo}};

}  // namespace
}  // namespace lum::cli
