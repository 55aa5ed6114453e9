// Objects of a binary image as the tool reports them: outline, bounding box,
// and area and centroid through the contour's vertical runs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli.hpp"

namespace lum::cli {

struct Object {
    std::vector<lum_point> outline;
    lum_rect box{};
    int64_t area = 0;
    int32_t centroid_x = 0, centroid_y = 0;
};

// Traces the non-zero objects of a one-channel 8u or 16u image; where names
// the image in failures.
std::vector<Object> find_objects(const lum::image& binary, const std::string& where);

// JSON of the objects; with_points adds each outline.
std::string objects_json(const std::vector<Object>& objects, bool with_points);

// Paints the outlines red and the box corners yellow into an 8-bit colour image.
void draw_objects(const lum::image& colour, const std::vector<Object>& objects);

// A grey image rendered into a new 8-bit colour image through the palette
// renderer (16-bit images shifted down by their valid bits).
lum::image render_grey(const lum::image& grey, double contrast, int32_t brightness);

}  // namespace lum::cli
