// `lum info`: what a PNG file becomes as a lum_lib image, from its header
// chunks alone: nothing is decoded, so any size is described at once.
#include "cli.hpp"
#include "png_io.h"

namespace lum::cli {
namespace {

// The row step lum_init_image gives such an image (see lum_lib.h).
uint64_t library_step(const png_header& h) {
    return static_cast<uint64_t>(h.depth / 8) * static_cast<uint64_t>(h.channels) * ((h.width & ~15u) + 16ull);
}

int run_info(const Args& args) {
    const bool json = args.has("json");
    if (json) print("[");
    bool first = true;
    for (const std::string& path : args.positional) {
        png_header h{};
        char error[512] = "";
        if (read_png_header(path.c_str(), &h, error, sizeof error) != 0) throw Error(error);
        const char* format = h.depth == 16 ? "16u" : "8u";
        const unsigned long long step = library_step(h);
        if (json) {
            print("%s\n  {\"file\": %s, \"width\": %u, \"height\": %u, \"channels\": %d, \"format\": \"%s\", "
                  "\"valid_bits\": %d, \"step_bytes\": %llu}",
                  first ? "" : ",", json_string(path).c_str(), h.width, h.height, h.channels, format, h.valid_bits, step);
        } else {
            print("%s: %u x %u, %s, %s, %d valid bits, step %llu bytes\n", path.c_str(), h.width, h.height,
                  h.channels == 3 ? "colour" : "grey", format, h.valid_bits, step);
        }
        first = false;
    }
    if (json) print("\n]\n");
    return 0;
}

const Registration info{{"info", "IN.png...", "describe images: size, channels, format, valid bits",
                         "Reads the header chunks only: the image data is neither decoded nor\n"
                         "checked, and no size limit applies. Valid bits come from the file's sBIT\n"
                         "chunk when it has one (lum writes it for images of fewer significant bits\n"
                         "than their depth), else from the bit depth. step_bytes is the row step of\n"
                         "the image the library would create for it.",
                         {{"json", "", "print a JSON array instead of one line per file"}},
                         1, 1000000, run_info}};

}  // namespace
}  // namespace lum::cli
