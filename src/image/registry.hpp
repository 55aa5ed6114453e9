// The image registry: handles are indexes into a growable table of records.
// Slots live in chunks that never move, so a lookup never races with the
// table growing; only create and destroy take the registry lock.
#pragma once

#include <cstdint>

#include "image/image.hpp"

namespace lum::registry {

int32_t create();
int8_t destroy(int32_t handle);
int32_t slot_count();
// Record in a slot already known to be in range (null when empty).
img* slot(int32_t handle);
// Bounds-checked lookup: throws std::out_of_range("invalid vector subscript").
img* at(int32_t handle);

}  // namespace lum::registry
