// `lum stats`: minimum, maximum, mean, standard deviation and sum of images,
// whole or over a rectangle.
#include <cstdio>
#include <string>

#include "cli.hpp"

namespace lum::cli {
namespace {

std::string list(const double* v, int n, bool json) {
    std::string out = n > 1 ? "[" : "";
    for (int i = 0; i < n; i += 1) {
        char buf[32];
        std::snprintf(buf, sizeof buf, "%.10g", v[i]);
        if (i) out.append(json ? ", " : " ");
        out.append(buf);
    }
    return out + (n > 1 ? "]" : "");
}

int run_stats(const Args& args) {
    const bool json = args.has("json");
    if (json) print("[");
    bool first = true;
    for (const std::string& path : args.positional) {
        const lum::image image = read_png(path);
        const lum_info i = image.info();
        const lum_rect rect = args.has("rect") ? parse_rect(args.text("rect"), "--rect") : lum_rect{0, 0, i.width, i.height};
        const int channels = static_cast<int>(i.channels);
        alignas(8) unsigned char low[3 * 8], high[3 * 8];
        check(lum_img_min_max_rect(image.handle(), &rect, low, high), path, "minimum and maximum");
        double minimum[3], maximum[3];
        for (int c = 0; c < channels; c += 1) {
            minimum[c] = sample_at(low, i.pix_type, c);
            maximum[c] = sample_at(high, i.pix_type, c);
        }
        // Mean, deviation and sum are measured on one-channel images.
        double mean = 0, stddev = 0, sum = 0;
        const bool grey = channels == 1;
        if (grey) {
            check(lum_img_mean_stddev_rect(image.handle(), &rect, &mean, &stddev), path, "mean and deviation");
            check(lum_sum_rect(image.handle(), &rect, &sum), path, "sum");
        }
        if (json) {
            print("%s\n  {\"file\": %s, \"rect\": [%d, %d, %d, %d], \"min\": %s, \"max\": %s", first ? "" : ",",
                        json_string(path).c_str(), rect.x, rect.y, rect.width, rect.height,
                        list(minimum, channels, true).c_str(), list(maximum, channels, true).c_str());
            if (grey) print(", \"mean\": %.10g, \"stddev\": %.10g, \"sum\": %.17g", mean, stddev, sum);
            print("}");
        } else {
            print("%s: min %s  max %s", path.c_str(), list(minimum, channels, false).c_str(),
                        list(maximum, channels, false).c_str());
            if (grey) print("  mean %.6g  stddev %.6g  sum %.17g", mean, stddev, sum);
            print("\n");
        }
        first = false;
    }
    if (json) print("\n]\n");
    return 0;
}

const Registration stats{{"stats", "IN.png...", "minimum, maximum, mean, standard deviation and sum",
                          "Minimum and maximum are per channel for colour images; mean, standard\n"
                          "deviation and sum are given for grey images.",
                          {{"rect", "X,Y,W,H", "measure this rectangle only"},
                           {"json", "", "print a JSON array instead of one line per file"}},
                          1, 1000000, run_stats}};

}  // namespace
}  // namespace lum::cli
