// `lum measure`: the objects of a binary image with their areas, centroids,
// boxes, holes, orientation and axes, as JSON or CSV, and optionally the
// image of their labels.
#include <cstdio>
#include <string>
#include <vector>

#include "cli.hpp"
#include "objects.hpp"

namespace lum::cli {
namespace {

int run_measure(const Args& args) {
    const std::string& in = args.positional[0];
    const std::string format = args.text("format", "json");
    if (format != "json" && format != "csv") throw UsageError("--format is json or csv");
    const long min_area = args.integer("min-area", 0);
    if (min_area < 0 || min_area > 0xffffffffL) throw UsageError("--min-area: 0 to 4294967295 pixels");
    const lum::image binary = read_png(in);
    const lum_info i = binary.info();
    lum::image labels;
    if (args.has("labels")) labels = new_image(i.width, i.height, lum_fmt_16u, lum_gray, 16);
    const std::vector<lum_object> objects =
        measure_objects(binary, static_cast<uint32_t>(min_area), labels ? labels.handle() : -1, in);

    if (format == "json") {
        print("{\"file\": %s, \"width\": %d, \"height\": %d, \"min_area\": %ld, \"count\": %zu,\n  \"objects\": %s}\n",
              json_string(in).c_str(), i.width, i.height, min_area, objects.size(), measured_json(objects).c_str());
    } else {
        print("label,area,centroid_x,centroid_y,x,y,width,height,holes,orientation,major_axis,minor_axis\n");
        for (const lum_object& o : objects)
            print("%u,%u,%s,%s,%d,%d,%d,%d,%u,%s,%s,%s\n", o.label, o.area, number(o.centroid_x, false).c_str(),
                  number(o.centroid_y, false).c_str(), o.x, o.y, o.width, o.height, o.holes,
                  number(o.orientation, false).c_str(), number(o.major_axis, false).c_str(),
                  number(o.minor_axis, false).c_str());
    }
    if (labels) write_png(labels, args.text("labels"));
    return 0;
}

const Registration measure_command{
    {"measure", "IN.png", "objects of a binary image: area, centroid, box, holes, axes (JSON or CSV)",
     "Objects are the connected non-zero samples of a grey IN.png (threshold it\n"
     "first with lum threshold). Each gets its label, area in pixels, centroid,\n"
     "bounding box, number of holes, orientation and major and minor axes, as\n"
     "lum_measure_objects measures them. --labels writes the 16-bit image in\n"
     "which each object's pixels hold its label.",
     {{"format", "json|csv", "output format (json)"},
      {"min-area", "N", "leave out objects smaller than N pixels"},
      {"labels", "OUT.png", "write the label image"}},
     1, 1, run_measure}};

}  // namespace
}  // namespace lum::cli
