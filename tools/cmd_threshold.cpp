// `lum threshold`: a grey image into a two-level image, at a given value or
// at Otsu's threshold.
#include <cstdio>

#include "cli.hpp"

namespace lum::cli {
namespace {

int run_threshold(const Args& args) {
    const std::string& in = args.positional[0];
    const std::string& out = args.positional[1];
    const bool otsu = args.has("otsu");
    if (otsu == (args.positional.size() == 3)) throw UsageError("give either a threshold VALUE or --otsu");
    const lum::image source = read_png(in);
    const lum_info i = source.info();
    long threshold;
    if (otsu) {
        int32_t t = 0;
        check(lum_otsu_get_threshold(source.handle(), &t), in, "Otsu threshold");
        // Otsu's threshold is the last level of the background class.
        threshold = static_cast<long>(t) + 1;
        print("otsu %d: samples >= %ld are objects\n", t, threshold);
    } else {
        threshold = parse_integer(args.positional[2], "VALUE");
    }
    // The library takes thresholds modulo the sample range, so one outside
    // 1 .. maximum would not mean what the user typed.
    const long maximum = (1L << i.valid_bits) - 1;
    if (i.pix_type != lum_fmt_8u && i.pix_type != lum_fmt_16u) throw Error(in + ": threshold needs an 8u or 16u image");
    if (threshold < 1 || threshold > maximum) {
        if (otsu) throw Error(in + ": Otsu's threshold " + std::to_string(threshold) + " leaves one level only");
        throw UsageError("VALUE must be 1 to " + std::to_string(maximum) + " for this image");
    }
    const lum::image binary = new_image(i.width, i.height, i.pix_type, i.channels, static_cast<int32_t>(i.valid_bits));
    const int32_t t = static_cast<int32_t>(args.has("invert") ? -threshold : threshold);
    check(lum_binarization(source.handle(), binary.handle(), t), in, "binarization");
    write_png(binary, out);
    return 0;
}

const Registration threshold{{"threshold", "IN.png OUT.png [VALUE]", "binarize a grey image at VALUE or at Otsu's threshold",
                              "Samples at or above the threshold become the largest value of the image's\n"
                              "valid bits (255 for 8 bits, 4095 for 12), the others 0. --otsu computes\n"
                              "Otsu's threshold from the image, prints it and keeps the samples above it.",
                              {{"otsu", "", "keep the samples above Otsu's threshold"},
                               {"invert", "", "samples below the threshold become the maximum instead"}},
                              2, 3, run_threshold}};

}  // namespace
}  // namespace lum::cli
