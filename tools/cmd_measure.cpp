// `lum measure`: the objects of a binary image with their areas, centroids,
// boxes, holes, orientation and axes, as JSON or CSV, and optionally the
// image of their labels. Built once the library has lum_measure_objects.
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "cli.hpp"

namespace lum::cli {
namespace {

// Every object of at least min_area pixels; labels is -1 or a 16u grey image
// of the binary's size that receives the label image.
std::vector<lum_object> measure(const lum::image& binary, uint32_t min_area, int32_t labels, const std::string& where) {
    uint32_t count = 0;
    check(lum_measure_objects(binary.handle(), min_area, -1, nullptr, 0, &count), where, "object count");
    std::vector<lum_object> objects(count);
    uint32_t written = 0;
    check(lum_measure_objects(binary.handle(), min_area, labels, objects.data(), count, &written), where,
          "object measurement");
    if (written < objects.size()) objects.resize(written);
    return objects;
}

// JSON has no NaN or infinity: such a value (the axes of a degenerate object,
// should the library give one) is null there.
std::string number(double v, bool json = true) {
    if (json && !std::isfinite(v)) return "null";
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.10g", v);
    return buf;
}

std::string objects_json(const std::vector<lum_object>& objects) {
    std::string out = "[";
    for (size_t k = 0; k < objects.size(); k += 1) {
        const lum_object& o = objects[k];
        char buf[160];
        std::snprintf(buf, sizeof buf, "%s\n    {\"label\": %u, \"area\": %u, \"centroid\": [", k ? "," : "", o.label,
                      o.area);
        out += buf;
        out += number(o.centroid_x) + ", " + number(o.centroid_y) + "], ";
        std::snprintf(buf, sizeof buf, "\"bbox\": [%d, %d, %d, %d], \"holes\": %u, ", o.x, o.y, o.width, o.height,
                      o.holes);
        out += buf;
        out += "\"orientation\": " + number(o.orientation) + ", \"major_axis\": " + number(o.major_axis) +
               ", \"minor_axis\": " + number(o.minor_axis) + "}";
    }
    return out + (objects.empty() ? "]" : "\n  ]");
}

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
        measure(binary, static_cast<uint32_t>(min_area), labels ? labels.handle() : -1, in);

    if (format == "json") {
        print("{\"file\": %s, \"width\": %d, \"height\": %d, \"min_area\": %ld, \"count\": %zu,\n  \"objects\": %s}\n",
              json_string(in).c_str(), i.width, i.height, min_area, objects.size(), objects_json(objects).c_str());
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

// The demo's report gains the objects' table once the library can measure them.
const DemoSection demo_objects{"objects_measured", [](const lum::image& binary) {
                                   return objects_json(measure(binary, 0, -1, "frame"));
                               }};

}  // namespace
}  // namespace lum::cli
