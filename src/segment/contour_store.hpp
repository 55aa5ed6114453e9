// Contour sets and the process-wide store that keeps them between the call
// that traces them and the call that copies them out. Handles are indexes
// into the store; only registration and release take its mutex.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "lum_lib.h"

namespace lum::contours {

// One traced boundary: `count` points from `points` on (inside one of the
// owning set's blocks), and its bounding box (min x, min y, width, height).
struct contour {
    const lum_point* points;
    int32_t count;
    lum_rect box;
};

// Points of the contours of one set live in blocks that are never moved, each
// contour inside one block. Blocks of the standard size are recycled through a
// small process-wide list of spares: a traced frame then writes into memory the
// process already has, instead of faulting in fresh pages on every call.
constexpr size_t kBlockPoints = 8192;

struct point_block {
    lum_point* data = nullptr;
    size_t size = 0;
};

// Standard blocks taken from the spares (all of them at once, so that finds on
// other threads simply allocate); what is left goes back on destruction.
class block_source {
public:
    struct spare;
    block_source();
    ~block_source();
    block_source(const block_source&) = delete;
    block_source& operator=(const block_source&) = delete;
    // A block of `size` points (a spare when size is standard); throws std::bad_alloc.
    point_block take(size_t size);
    // Keeps a block among the spares, or frees it.
    static void give(point_block block);

private:
    spare* local_ = nullptr;
};

// All contours of one find or expand call.
struct contour_set {
    std::vector<point_block> blocks;
    std::vector<contour> contours;

    contour_set() = default;
    contour_set(const contour_set&) = delete;
    contour_set& operator=(const contour_set&) = delete;
    ~contour_set();  // standard blocks go to the spares

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
// As release, under the mutex whatever the slot holds; false when it was already empty.
bool release_if_held(int32_t handle);

}  // namespace lum::contours
