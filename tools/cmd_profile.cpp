// `lum profile`: the samples along a line, optionally averaged over a band.
#include <cmath>
#include <cstdio>
#include <vector>

#include "cli.hpp"

namespace lum::cli {
namespace {

lum_point parse_point(const std::string& text, const std::string& what) {
    const std::vector<double> v = parse_numbers(text, what, 2);
    for (const double d : v)
        if (!(d >= -2147483648.0 && d <= 2147483647.0) || d != std::floor(d))
            throw UsageError(what + ": X,Y are integers");
    return lum_point{static_cast<int32_t>(v[0]), static_cast<int32_t>(v[1])};
}

int run_profile(const Args& args) {
    const std::string& in = args.positional[0];
    const lum_point first = parse_point(args.positional[1], "FROM");
    const lum_point second = parse_point(args.positional[2], "TO");
    const long thickness = args.integer("thickness", 1);
    if (thickness < 1 || thickness > 1000) throw UsageError("--thickness: 1 to 1000 lines");
    const std::string format = args.text("format", "csv");
    if (format != "csv" && format != "json") throw UsageError("--format is csv or json");
    const lum::image image = read_png(in);
    const lum_info i = image.info();
    const double dx = second.x - first.x, dy = second.y - first.y;
    uint32_t count = static_cast<uint32_t>(std::ceil(std::hypot(dx, dy))) + 2;
    std::vector<uint16_t> samples(count);  // room for 16-bit samples, used as bytes for 8-bit images
    const int status = args.has("fast")
                           ? lum_get_fast_profile(image.handle(), first, second, static_cast<uint32_t>(thickness),
                                                  samples.data(), &count)
                           : lum_get_profile(image.handle(), first, second, static_cast<uint32_t>(thickness),
                                             samples.data(), &count);
    check(status, in, "profile");
    if (format == "json") print("{\"file\": %s, \"samples\": [", json_string(in).c_str());
    else print("index,value\n");
    for (uint32_t k = 0; k < count; k += 1) {
        const double v = sample_at(samples.data(), i.pix_type, static_cast<int>(k));
        if (format == "json") print("%s%g", k ? ", " : "", v);
        else print("%u,%g\n", k, v);
    }
    if (format == "json") print("]}\n");
    return 0;
}

const Registration profile{{"profile", "IN.png X1,Y1 X2,Y2", "samples along a line (CSV or JSON)",
                            "Samples from the first point to the second, resampled to the line's\n"
                            "length; --thickness averages a band of parallel lines.",
                            {{"thickness", "N", "lines averaged (1)"},
                             {"fast", "", "stack digital lines instead of interpolating"},
                             {"format", "csv|json", "output format (csv)"}},
                            3, 3, run_profile}};

}  // namespace
}  // namespace lum::cli
