// `lum info`: what a PNG file becomes as a lum_lib image.
#include <cstdio>

#include "cli.hpp"

namespace lum::cli {
namespace {

int run_info(const Args& args) {
    const bool json = args.has("json");
    if (json) std::printf("[");
    bool first = true;
    for (const std::string& path : args.positional) {
        const Image image = read_png(path);
        const lum_info i = image.info();
        const char* layout = i.channels == lum_color ? "colour" : "grey";
        if (json) {
            std::printf("%s\n  {\"file\": %s, \"width\": %d, \"height\": %d, \"channels\": %d, \"format\": \"%s\", "
                        "\"valid_bits\": %u, \"step_bytes\": %u}",
                        first ? "" : ",", json_string(path).c_str(), i.width, i.height, static_cast<int>(i.channels),
                        format_name(i.pix_type), i.valid_bits, i.step_bytes);
        } else {
            std::printf("%s: %d x %d, %s, %s, %u valid bits, step %u bytes\n", path.c_str(), i.width, i.height,
                        layout, format_name(i.pix_type), i.valid_bits, i.step_bytes);
        }
        first = false;
    }
    if (json) std::printf("\n]\n");
    return 0;
}

const Registration info{{"info", "IN.png...", "describe images: size, channels, format, valid bits",
                         "Valid bits come from the file's sBIT chunk when it has one (lum writes it for\n"
                         "16-bit images of fewer than 16 significant bits), else from the bit depth.",
                         {{"json", "", "print a JSON array instead of one line per file"}},
                         1, 1000000, run_info}};

}  // namespace
}  // namespace lum::cli
