// `lum convert`: rewrites a PNG file, keeping every sample and the valid bits.
#include "cli.hpp"

namespace lum::cli {
namespace {

int run_convert(const Args& args) {
    const Image image = read_png(args.positional[0]);
    write_png(image, args.positional[1]);
    return 0;
}

const Registration convert{{"convert", "IN.png OUT.png", "rewrite an image (samples and valid bits kept exactly)",
                            "Reads IN.png into an image of the library and writes it back as OUT.png:\n"
                            "8- and 16-bit grey and RGB, palette and low-depth files become 8-bit,\n"
                            "alpha is dropped.",
                            {},
                            2, 2, run_convert}};

}  // namespace
}  // namespace lum::cli
