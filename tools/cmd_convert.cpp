// `lum convert`: rewrites a PNG file, keeping every sample and the valid bits,
// or converts it between 8 and 16 bits.
#include <algorithm>

#include "cli.hpp"

namespace lum::cli {
namespace {

int run_convert(const Args& args) {
    const std::string& in = args.positional[0];
    const lum::image source = read_png(in);
    const lum_info i = source.info();
    const lum_data_format to = args.has("to") ? parse_format(args.text("to")) : i.pix_type;
    if (to == lum_fmt_32f) throw UsageError("--to: PNG holds 8u or 16u");
    const long shift = args.integer("shift", 0);
    if (shift < 0 || shift > 15) throw UsageError("--shift: 0 to 15 bits");
    if (to == i.pix_type && shift == 0 && !args.has("bits")) {
        write_png(source, args.positional[1]);
        return 0;
    }
    const bool narrowing = i.pix_type == lum_fmt_16u && to == lum_fmt_8u;
    long bits = args.integer("bits", 0);
    if (bits == 0) {
        bits = to == lum_fmt_8u ? 8 : static_cast<long>(i.valid_bits);
        if (to == lum_fmt_16u && i.pix_type == lum_fmt_8u) bits = std::max(9L, std::min(16L, 8 + shift));
    }
    const lum::image result = new_image(i.width, i.height, to, i.channels, static_cast<int32_t>(bits));
    if (shift == 0 && to != i.pix_type) {
        check(lum_convert(source.handle(), result.handle()), in, "conversion");
    } else {
        // Shifts go through one-channel views: colour rows are rows of three times as many samples.
        const lum::image from = grey_view(source), into = grey_view(result);
        const uint32_t count = static_cast<uint32_t>(shift);
        check(narrowing || to == i.pix_type ? lum_RShift(from.handle(), into.handle(), count)
                                            : lum_LShift(from.handle(), into.handle(), count),
              in, narrowing || to == i.pix_type ? "right shift" : "left shift");
    }
    write_png(result, args.positional[1]);
    return 0;
}

const Registration convert{{"convert", "IN.png OUT.png", "rewrite an image, or convert it between 8 and 16 bits",
                            "Without options the samples and valid bits are kept exactly. --to 8u\n"
                            "narrows 16-bit samples with saturation (values above 255 become 255), after\n"
                            "a right shift by --shift bits: a 12-bit frame becomes 8 bits with\n"
                            "--to 8u --shift 4. --to 16u widens 8-bit samples, shifted left by --shift.\n"
                            "Palette and low-depth files are read as 8-bit, alpha is dropped.",
                            {{"to", "8u|16u", "output format (the input's)"},
                             {"shift", "N", "shift right when narrowing or keeping the format, left when widening"},
                             {"bits", "N", "valid bits of the output"}},
                            2, 2, run_convert}};

}  // namespace
}  // namespace lum::cli
