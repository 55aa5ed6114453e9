// Objects of a binary image as lum_measure_objects gives them (pixel areas,
// centroids, boxes, holes, orientation, axes), and their JSON.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli.hpp"

namespace lum::cli {

// Every object of at least min_area pixels; labels is -1 or a 16u grey image
// of the binary's size that receives the label image; where names the image
// in failures.
std::vector<lum_object> measure_objects(const lum::image& binary, uint32_t min_area, int32_t labels,
                                        const std::string& where);

// A number as the reports print it; in JSON a NaN or an infinity is null.
std::string number(double v, bool json = true);

// The objects as a JSON array, one object per line.
std::string measured_json(const std::vector<lum_object>& objects);

}  // namespace lum::cli
