// `lum scale`: samples mapped linearly, d = s * a + b, into 8 or 16 bits.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "cli.hpp"

namespace lum::cli {
namespace {

int run_scale(const Args& args) {
    const std::string& in = args.positional[0];
    const lum::image source = read_png(in);
    const lum_info i = source.info();
    const lum_data_format to = parse_format(args.text("to", format_name(i.pix_type)));
    if (to == lum_fmt_32f) throw UsageError("--to: PNG holds 8u or 16u");
    const long bits = args.integer("bits", to == i.pix_type ? static_cast<long>(i.valid_bits) : to == lum_fmt_8u ? 8 : 16);
    const double top = std::ldexp(1.0, static_cast<int>(bits)) - 1;
    double a, b = 0;
    if (args.has("a") || args.has("b")) {
        if (args.has("stretch")) throw UsageError("--stretch or --a/--b, not both");
        a = args.number("a", 1.0);
        b = args.number("b", 0.0);
    } else if (args.has("stretch")) {
        // The image's own minimum and maximum onto the full output range.
        alignas(8) unsigned char low[3 * 4], high[3 * 4];
        check(lum_img_min_max(source.handle(), low, high), in, "minimum and maximum");
        double lo = sample_at(low, i.pix_type, 0), hi = sample_at(high, i.pix_type, 0);
        for (int c = 1; c < static_cast<int>(i.channels); c += 1) {
            lo = std::min(lo, sample_at(low, i.pix_type, c));
            hi = std::max(hi, sample_at(high, i.pix_type, c));
        }
        a = hi > lo ? top / (hi - lo) : 1.0;
        b = -lo * a;
    } else {
        a = top / (std::ldexp(1.0, static_cast<int>(i.valid_bits)) - 1);
    }
    const lum::image result = new_image(i.width, i.height, to, i.channels, static_cast<int32_t>(bits));
    // The scale primitive walks samples, not pixels: colour rows go through as
    // grey rows three times as wide over the same buffers.
    const lum::image from = grey_view(source), into = grey_view(result);
    check(lum_scale(from.handle(), into.handle(), a, b), in, "scale");
    print("a %.10g  b %.10g\n", a, b);
    write_png(result, args.positional[1]);
    return 0;
}

const Registration scale{{"scale", "IN.png OUT.png", "map samples linearly (d = s * a + b) into 8 or 16 bits",
                          "By default the input's valid range maps onto the output's: a 12-bit frame\n"
                          "scaled --to 8u becomes 0..255. --stretch maps the image's minimum and\n"
                          "maximum onto the output range; --a and --b give the factors directly.\n"
                          "Results are rounded and saturated to the output's valid bits.",
                          {{"to", "8u|16u", "output format (the input's)"},
                           {"bits", "N", "valid bits of the output (8 for 8u, 16 for 16u)"},
                           {"stretch", "", "map minimum..maximum onto the output range"},
                           {"a", "A", "factor"},
                           {"b", "B", "offset"}},
                          2, 2, run_scale}};

}  // namespace
}  // namespace lum::cli
