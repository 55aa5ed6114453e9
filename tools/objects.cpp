// Objects of a binary image through lum_measure_objects: a counting call,
// then the records.
#include "objects.hpp"

#include <cmath>
#include <cstdio>

namespace lum::cli {

std::vector<lum_object> measure_objects(const lum::image& binary, uint32_t min_area, int32_t labels,
                                        const std::string& where) {
    uint32_t count = 0;
    check(lum_measure_objects(binary.handle(), min_area, -1, nullptr, 0, &count), where, "object count");
    std::vector<lum_object> objects(count);
    uint32_t written = 0;
    check(lum_measure_objects(binary.handle(), min_area, labels, objects.data(), count, &written), where,
          "object measurement");
    if (written < objects.size()) objects.resize(written);
    return objects;
}

std::string number(double v, bool json) {
    if (json && !std::isfinite(v)) return "null";
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.10g", v);
    return buf;
}

std::string measured_json(const std::vector<lum_object>& objects) {
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

}  // namespace lum::cli
