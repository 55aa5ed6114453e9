// `lum mirror`, `lum resize`, `lum rotate`: the geometric operations on PNG files.
#include <cmath>

#include "cli.hpp"

namespace lum::cli {
namespace {

lum::interpolation interpolation(const Args& args, bool lanczos_allowed) {
    const std::string name = args.text("interp", "linear");
    if (name == "nearest") return lum::interpolation::nearest;
    if (name == "linear") return lum::interpolation::linear;
    if (name == "lanczos" && lanczos_allowed) return lum::interpolation::lanczos;
    throw UsageError(lanczos_allowed ? "--interp is nearest, linear or lanczos" : "--interp is nearest or linear");
}

int run_mirror(const Args& args) {
    const std::string& in = args.positional[0];
    const std::string flip = args.text("flip", "leftright");
    if (flip != "updown" && flip != "leftright" && flip != "both") throw UsageError("--flip is updown, leftright or both");
    const lum::mirror_axis axis = flip == "updown"      ? lum::mirror_axis::up_down
                                  : flip == "leftright" ? lum::mirror_axis::left_right
                                                        : lum::mirror_axis::both;
    const bool part = args.has("rect");
    const lum_rect rect = part ? parse_rect(args.text("rect"), "--rect") : lum_rect{};
    lum::image image = read_png(in);
    in_context(in, "mirror", [&] { part ? lum::mirror(image, axis, rect) : lum::mirror(image, axis); });
    write_png(image, args.positional[1]);
    return 0;
}

lum_size parse_size(const std::string& text, const std::string& what) {
    const size_t x = text.find('x');
    if (x == std::string::npos) throw UsageError(what + ": expected WxH");
    return lum_size{static_cast<int32_t>(parse_integer(text.substr(0, x), what)),
                    static_cast<int32_t>(parse_integer(text.substr(x + 1), what))};
}

int run_resize(const Args& args) {
    const std::string& in = args.positional[0];
    if (args.has("size") == args.has("factor")) throw UsageError("give --size or --factor");
    const lum::interpolation how = interpolation(args, true);
    const lum::image source = read_png(in);
    const lum_info i = source.info();
    lum_size to{};
    if (args.has("size")) {
        to = parse_size(args.text("size"), "--size");
    } else {
        const double f = args.number("factor", 1.0);
        to = lum_size{static_cast<int32_t>(std::lround(i.width * f)), static_cast<int32_t>(std::lround(i.height * f))};
    }
    if (to.width < 1 || to.height < 1 || to.width > 65536 || to.height > 65536)
        throw UsageError("output size must be 1 to 65536 pixels each way");
    lum::image result = new_image(to.width, to.height, i.pix_type, i.channels, static_cast<int32_t>(i.valid_bits));
    in_context(in, "resize", [&] { lum::resize(source, result, how); });
    write_png(result, args.positional[1]);
    return 0;
}

int run_rotate(const Args& args) {
    const std::string& in = args.positional[0];
    const double angle = parse_number(args.positional[2], "ANGLE");
    const lum::interpolation how = interpolation(args, false);
    const lum::image source = read_png(in);
    const lum_info i = source.info();
    lum::image result = new_image(i.width, i.height, i.pix_type, i.channels, static_cast<int32_t>(i.valid_bits));
    double x_shift = 0, y_shift = 0;
    if (args.has("shift")) {
        const std::vector<double> s = parse_numbers(args.text("shift"), "--shift", 2);
        x_shift = s[0];
        y_shift = s[1];
    } else if (!args.has("about-origin")) {
        // The library turns about the top-left pixel; shift so that the centre stays put.
        const double a = angle * 3.141592653589793 / 180.0, c = std::cos(a), s = std::sin(a);
        const double cx = (i.width - 1) / 2.0, cy = (i.height - 1) / 2.0;
        x_shift = cx - (cx * c + cy * s);
        y_shift = cy - (-cx * s + cy * c);
    }
    in_context(in, "rotate", [&] { lum::rotate(source, result, angle, x_shift, y_shift, how); });
    write_png(result, args.positional[1]);
    return 0;
}

const Registration mirror{{"mirror", "IN.png OUT.png", "flip an image (or a rectangle of it)",
                           "updown swaps the rows top to bottom, leftright the columns, both does both.",
                           {{"flip", "updown|leftright|both", "the flip (leftright)"},
                            {"rect", "X,Y,W,H", "flip this rectangle only"}},
                           2, 2, run_mirror}};

const Registration resize{{"resize", "IN.png OUT.png", "resize an image",
                           "Nearest neighbour, bilinear or Lanczos (three lobes) interpolation with\n"
                           "replicated borders; sources smaller than 6 pixels either way use the\n"
                           "nearest neighbour.",
                           {{"size", "WxH", "output size in pixels"},
                            {"factor", "F", "output size as a multiple of the input's"},
                            {"interp", "nearest|linear|lanczos", "interpolation (linear)"}},
                           2, 2, run_resize}};

const Registration rotate{{"rotate", "IN.png OUT.png ANGLE", "rotate an image by ANGLE degrees",
                           "Positive angles turn counterclockwise on screen, about the image centre;\n"
                           "the size is kept and uncovered pixels are 0.",
                           {{"interp", "nearest|linear", "interpolation (linear)"},
                            {"about-origin", "", "turn about the top-left pixel instead"},
                            {"shift", "X,Y", "turn about the top-left pixel, then shift by X,Y"}},
                           3, 3, run_rotate}};

}  // namespace
}  // namespace lum::cli
