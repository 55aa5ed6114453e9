// `lum morph`: opening or closing of a grey image with a rectangular or
// round structuring element.
#include "cli.hpp"

namespace lum::cli {
namespace {

int run_morph(const Args& args) {
    const std::string& in = args.positional[0];
    const std::string op = args.text("op", "open");
    if (op != "open" && op != "close") throw UsageError("--op is open or close");
    const std::string shape = args.text("shape", "rect");
    if (shape != "rect" && shape != "disk") throw UsageError("--shape is rect or disk");
    int32_t w = 3, h = 3;
    if (args.has("size")) {
        const std::string s = args.text("size");
        const size_t x = s.find('x');
        w = static_cast<int32_t>(parse_integer(s.substr(0, x), "--size"));
        h = x == std::string::npos ? w : static_cast<int32_t>(parse_integer(s.substr(x + 1), "--size"));
        if (w < 1 || h < 1 || w > 255 || h > 255) throw UsageError("--size: 1 to 255 pixels each way");
    }
    const lum::image source = read_png(in);
    const lum_info i = source.info();
    lum::image result = new_image(i.width, i.height, i.pix_type, i.channels, static_cast<int32_t>(i.valid_bits));
    in_context(in, op == "open" ? "opening" : "closing", [&] {
        lum::morph(source, result, op == "open" ? lum::morph_operation::open : lum::morph_operation::close,
                   shape == "rect" ? lum::morph_shape::rectangle : lum::morph_shape::ellipse, w, h);
    });
    write_png(result, args.positional[1]);
    return 0;
}

const Registration morph{{"morph", "IN.png OUT.png", "opening or closing of a grey image",
                          "Opening (erosion, then dilation) removes bright specks smaller than the\n"
                          "element; closing (dilation, then erosion) fills dark ones.",
                          {{"op", "open|close", "the operation (open)"},
                           {"size", "W[xH]", "element size in pixels (3)"},
                           {"shape", "rect|disk", "element shape (rect)"}},
                          2, 2, run_morph}};

}  // namespace
}  // namespace lum::cli
