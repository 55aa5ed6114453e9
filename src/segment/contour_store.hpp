// Contour sets and the process-wide store that keeps them between the call
// that traces them and the call that copies them out. Handles are indexes
// into the store; only registration and release take its mutex.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "lum_lib.h"

namespace lum::contours {

// One traced boundary: `count` points of the owning set's point pool from
// `first` on, and its bounding box (min x, min y, width, height).
struct contour {
    size_t first;
    int32_t count;
    lum_rect box;
};

// All contours of one find or expand call. Points of every contour share one
// pool, so tracing a frame costs a handful of allocations, not one per contour.
struct contour_set {
    std::vector<lum_point> points;
    std::vector<contour> contours;

    const lum_point* points_of(const contour& c) const { return points.data() + c.first; }
    // Integers the result array needs: 2 per point and 4 for the box, per contour.
    uint32_t result_size() const;
};

// Stores the set in the lowest empty slot (or a new one) and returns its handle.
int32_t register_set(std::unique_ptr<contour_set> set);
// Number of slots ever used; handles at or beyond it are out of range.
int32_t slot_count();
// The set in slot `handle` (in range), or null for an empty slot.
contour_set* slot(int32_t handle);
// Frees the set in slot `handle` and empties the slot.
void release(int32_t handle);

}  // namespace lum::contours
