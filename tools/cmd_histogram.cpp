// `lum histogram`: counts of uniform bins over a range of sample values.
#include <cstdio>
#include <vector>

#include "cli.hpp"

namespace lum::cli {
namespace {

int run_histogram(const Args& args) {
    const std::string& path = args.positional[0];
    const lum::image image = read_png(path);
    const lum_info i = image.info();
    const double full = i.pix_type == lum_fmt_32f ? 1.0 : static_cast<double>(1u << i.valid_bits);
    double lower = 0, upper = full;
    if (args.has("range")) {
        const std::vector<double> r = parse_numbers(args.text("range"), "--range", 2);
        lower = r[0];
        upper = r[1];
    }
    const long bins = args.integer("bins", i.pix_type == lum_fmt_32f ? 256 : static_cast<long>(std::min(full, 256.0)));
    if (bins < 1 || bins > (1 << 24)) throw UsageError("--bins must be 1 to 16777216");
    std::vector<uint32_t> counts(static_cast<size_t>(bins));
    const lum_rect rect = args.has("rect") ? parse_rect(args.text("rect"), "--rect") : lum_rect{0, 0, i.width, i.height};
    check(lum_histogram_rect(image.handle(), &rect, static_cast<float>(lower), static_cast<float>(upper), counts.data(),
                             static_cast<int32_t>(bins)),
          path, "histogram");
    const std::string format = args.text("format", "csv");
    const double width = (upper - lower) / static_cast<double>(bins);
    if (format == "json") {
        print("{\"file\": %s, \"lower\": %.10g, \"upper\": %.10g, \"counts\": [", json_string(path).c_str(),
                    lower, upper);
        for (long k = 0; k < bins; k += 1) print("%s%u", k ? ", " : "", counts[static_cast<size_t>(k)]);
        print("]}\n");
    } else if (format == "csv") {
        print("from,to,count\n");
        for (long k = 0; k < bins; k += 1)
            print("%.10g,%.10g,%u\n", lower + static_cast<double>(k) * width,
                        lower + static_cast<double>(k + 1) * width, counts[static_cast<size_t>(k)]);
    } else {
        throw UsageError("--format is csv or json");
    }
    return 0;
}

const Registration histogram{{"histogram", "IN.png", "histogram of a grey image (CSV or JSON)",
                              "Bin k counts the samples v with from <= v < to. By default the bins cover\n"
                              "0 to 2^valid_bits (0 to 1 for float images), at most 256 of them.",
                              {{"bins", "N", "number of bins"},
                               {"range", "LO,HI", "values covered by the bins"},
                               {"rect", "X,Y,W,H", "count this rectangle only"},
                               {"format", "csv|json", "output format (csv)"}},
                              1, 1, run_histogram}};

}  // namespace
}  // namespace lum::cli
