// Objects of a binary image through the contour functions: tracing and
// fetching through the C++ header, vertical runs for area and centroid, and an
// overlay drawn with the palette renderer and single-pixel writes.
#include "contour_measure.hpp"

#include <cstdio>

namespace lum::cli {

std::vector<Object> find_objects(const lum::image& binary, const std::string& where) {
    // The header's tracing releases the library's contour set on every path,
    // the empty set of an empty frame included.
    std::vector<lum_rect> boxes;
    std::vector<lum::contour> outlines =
        in_context(where, "contour tracing", [&] { return lum::find_contours(binary, &boxes); });
    std::vector<Object> objects;
    for (size_t k = 0; k < outlines.size(); k += 1) {
        Object o;
        o.outline = std::move(outlines[k]);
        o.box = boxes[k];
        const size_t n = o.outline.size();
        // At most one run per pair of column changes, plus the closing triple.
        std::vector<int32_t> runs(3 * (n + 2));
        uint32_t written = 0;
        lum_vline_contour(o.outline.data(), static_cast<int32_t>(n), &o.box, runs.data(), &written);
        if (written >= 3) {
            o.centroid_x = runs[written - 3];
            o.centroid_y = runs[written - 2];
            o.area = runs[written - 1];
        }
        objects.push_back(std::move(o));
    }
    return objects;
}

std::string objects_json(const std::vector<Object>& objects, bool with_points) {
    std::string out = "[";
    char buf[160];
    for (size_t i = 0; i < objects.size(); i += 1) {
        const Object& o = objects[i];
        std::snprintf(buf, sizeof buf,
                      "%s\n    {\"id\": %zu, \"area\": %lld, \"centroid\": [%d, %d], \"bbox\": [%d, %d, %d, %d], "
                      "\"outline_points\": %zu",
                      i ? "," : "", i + 1, static_cast<long long>(o.area), o.centroid_x, o.centroid_y, o.box.x,
                      o.box.y, o.box.width, o.box.height, o.outline.size());
        out += buf;
        if (with_points) {
            out += ", \"points\": [";
            for (size_t k = 0; k < o.outline.size(); k += 1) {
                std::snprintf(buf, sizeof buf, "%s[%d, %d]", k ? ", " : "", o.outline[k].x, o.outline[k].y);
                out += buf;
            }
            out += "]";
        }
        out += "}";
    }
    return out + (objects.empty() ? "]" : "\n  ]");
}

void draw_objects(const lum::image& colour, const std::vector<Object>& objects) {
    const uint8_t red[3] = {255, 0, 0}, yellow[3] = {255, 255, 0};
    const lum_info i = colour.info();
    auto put = [&](int32_t x, int32_t y, const uint8_t* c) {
        if (x >= 0 && y >= 0 && x < i.width && y < i.height) lum_set_one_pixel(colour.handle(), lum_point{x, y}, c);
    };
    for (const Object& o : objects) {
        const int32_t x0 = o.box.x - 2, y0 = o.box.y - 2, x1 = o.box.x + o.box.width + 1, y1 = o.box.y + o.box.height + 1;
        for (int32_t d = 0; d < 6; d += 1) {  // corner marks of the bounding box
            put(x0 + d, y0, yellow), put(x0, y0 + d, yellow), put(x1 - d, y0, yellow), put(x1, y0 + d, yellow);
            put(x0 + d, y1, yellow), put(x0, y1 - d, yellow), put(x1 - d, y1, yellow), put(x1, y1 - d, yellow);
        }
        for (const lum_point& p : o.outline) put(p.x, p.y, red);
        for (int32_t d = -3; d <= 3; d += 1) put(o.centroid_x + d, o.centroid_y, red), put(o.centroid_x, o.centroid_y + d, red);
    }
}

lum::image render_grey(const lum::image& grey, double contrast, int32_t brightness) {
    const lum_info i = grey.info();
    lum::image colour = new_image(i.width, i.height, lum_fmt_8u, lum_color, 8);
    uint8_t palette[256 * 3];
    for (int k = 0; k < 256; k += 1) palette[3 * k] = palette[3 * k + 1] = palette[3 * k + 2] = static_cast<uint8_t>(k);
    const lum_rect whole{0, 0, i.width, i.height};
    check(lum_computer_color_bc(grey.handle(), colour.handle(), &whole, palette, contrast, brightness), "overlay",
          "palette rendering");
    return colour;
}

}  // namespace lum::cli
