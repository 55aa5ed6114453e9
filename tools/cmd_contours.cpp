// `lum contours`: outlines of the objects of an image as JSON, with an
// optional overlay PNG.
#include <cstdio>

#include "contour_measure.hpp"

namespace lum::cli {
namespace {

int run_contours(const Args& args) {
    const std::string& in = args.positional[0];
    const lum::image source = read_png(in);
    const lum_info i = source.info();
    if (i.channels != lum_gray) throw Error(in + ": contours need a grey image");
    if (args.has("threshold") && args.has("otsu")) throw UsageError("give --threshold or --otsu, not both");
    // Without a threshold every non-zero sample belongs to an object.
    long threshold = -1;
    if (args.has("otsu")) {
        int32_t t = 0;
        check(lum_otsu_get_threshold(source.handle(), &t), in, "Otsu threshold");
        threshold = static_cast<long>(t) + 1;  // the background class ends at Otsu's threshold
        if (threshold > (1L << i.valid_bits) - 1) throw Error(in + ": Otsu's threshold leaves no objects");
    } else if (args.has("threshold")) {
        threshold = args.integer("threshold", 0);
        if (threshold < 1 || threshold > (1L << i.valid_bits) - 1)
            throw UsageError("--threshold must be 1 to " + std::to_string((1L << i.valid_bits) - 1));
    }
    lum::image binary;
    const lum::image* traced = &source;
    if (threshold >= 0) {
        binary = new_image(i.width, i.height, i.pix_type, lum_gray, static_cast<int32_t>(i.valid_bits));
        check(lum_binarization(source.handle(), binary.handle(), static_cast<int32_t>(threshold)), in, "binarization");
        traced = &binary;
    }
    std::vector<Object> objects = find_objects(*traced, in);
    const long min_area = args.integer("min-area", 0);
    std::erase_if(objects, [&](const Object& o) { return o.area < min_area; });

    print("{\"file\": %s, \"width\": %d, \"height\": %d, \"threshold\": %s, \"count\": %zu,\n  \"contours\": %s}\n",
                json_string(in).c_str(), i.width, i.height,
                threshold >= 0 ? std::to_string(threshold).c_str() : "null", objects.size(),
                objects_json(objects, !args.has("no-points")).c_str());
    if (args.has("overlay")) {
        const lum::image overlay = render_grey(source, 1.0, 0);
        draw_objects(overlay, objects);
        write_png(overlay, args.text("overlay"));
    }
    return 0;
}

const Registration contours{{"contours", "IN.png", "outlines, areas and centroids of objects, as JSON",
                             "Objects are the non-zero samples of IN.png, or the samples at or above a\n"
                             "threshold. Each gets its outline (the boundary pixels in tracing order),\n"
                             "bounding box, and area and centroid from the outline's vertical runs.\n"
                             "Only outer boundaries are traced; outlines closing within eight steps\n"
                             "(specks of a few pixels) are not reported.",
                             {{"threshold", "T", "objects are the samples >= T"},
                              {"otsu", "", "objects are the samples above Otsu's threshold"},
                              {"min-area", "N", "drop objects smaller than N pixels"},
                              {"no-points", "", "leave the outline points out of the JSON"},
                              {"overlay", "OUT.png", "write the image in colour with the outlines drawn"}},
                             1, 1, run_contours}};

}  // namespace
}  // namespace lum::cli
