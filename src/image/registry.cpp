// The image registry: records in a slot table whose lookups need no lock;
// create and destroy serialise on the registry lock.
#include "image/registry.hpp"

#include <memory>
#include <mutex>
#include <stdexcept>

#include "image/slot_table.hpp"

namespace lum::registry {

namespace {
slot_table<img> g_slots;
std::mutex g_lock;
int32_t g_free = 0;  // emptied slots; guarded by g_lock
}  // namespace

int32_t slot_count() { return g_slots.count(); }

img* slot(int32_t handle) { return g_slots.cell(handle).load(std::memory_order_acquire); }

img* at(int32_t handle) {
    if (handle < 0 || handle >= slot_count()) throw std::out_of_range("invalid vector subscript");
    return slot(handle);
}

int32_t create() {
    auto record = std::make_unique<img>();
    std::lock_guard<std::mutex> guard(g_lock);
    const int32_t n = g_slots.count();
    for (int32_t h = 0; g_free > 0 && h < n; ++h) {
        if (g_slots.cell(h).load(std::memory_order_relaxed) == nullptr) {
            --g_free;
            g_slots.cell(h).store(record.release(), std::memory_order_release);
            return h;
        }
    }
    const int32_t h = g_slots.append(record.get());  // throws std::bad_alloc, the record then goes
    record.release();
    return h;
}

int8_t destroy(int32_t handle) {
    std::lock_guard<std::mutex> guard(g_lock);
    img* record = g_slots.cell(handle).load(std::memory_order_relaxed);
    if (!record) return not_initialised;  // emptied by another thread meanwhile
    g_slots.cell(handle).store(nullptr, std::memory_order_release);
    ++g_free;
    delete record;  // releases an owned buffer and zeroes the fields
    return ok;
}

}  // namespace lum::registry
