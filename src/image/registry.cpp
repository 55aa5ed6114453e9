// Registry storage: chunk k holds 64 << k slots, so handle h lives in chunk
// floor(log2(h + 64)) - 6. Chunks are published once and never freed.
#include "image/registry.hpp"

#include <atomic>
#include <bit>
#include <mutex>
#include <new>
#include <stdexcept>

namespace lum::registry {

namespace {
constexpr int kChunks = 26;  // 64 * (2^26 - 1) slots, more than any int32 handle needs
std::atomic<std::atomic<img*>*> g_chunks[kChunks];
std::atomic<int32_t> g_count{0};
std::mutex g_lock;
int32_t g_free = 0;  // emptied slots; guarded by g_lock

struct Place {
    int chunk;
    uint32_t offset;
};
Place place_of(int32_t handle) {
    const uint32_t v = static_cast<uint32_t>(handle) + 64u;
    const int top = std::bit_width(v) - 1;
    return {top - 6, v - (1u << top)};
}
std::atomic<img*>& cell(int32_t handle) {
    const Place p = place_of(handle);
    return g_chunks[p.chunk].load(std::memory_order_acquire)[p.offset];
}
}  // namespace

int32_t slot_count() { return g_count.load(std::memory_order_acquire); }

img* slot(int32_t handle) { return cell(handle).load(std::memory_order_acquire); }

img* at(int32_t handle) {
    if (handle < 0 || handle >= slot_count()) throw std::out_of_range("invalid vector subscript");
    return slot(handle);
}

int32_t create() {
    img* record = new img();
    std::lock_guard<std::mutex> guard(g_lock);
    const int32_t n = g_count.load(std::memory_order_relaxed);
    for (int32_t h = 0; g_free > 0 && h < n; ++h) {
        if (cell(h).load(std::memory_order_relaxed) == nullptr) {
            --g_free;
            cell(h).store(record, std::memory_order_release);
            return h;
        }
    }
    const Place p = place_of(n);
    if (!g_chunks[p.chunk].load(std::memory_order_relaxed)) {
        auto* chunk = new (std::nothrow) std::atomic<img*>[size_t{64} << p.chunk]();
        if (!chunk) {
            delete record;
            throw std::bad_alloc();
        }
        g_chunks[p.chunk].store(chunk, std::memory_order_release);
    }
    cell(n).store(record, std::memory_order_release);
    g_count.store(n + 1, std::memory_order_release);
    return n;
}

int8_t destroy(int32_t handle) {
    std::lock_guard<std::mutex> guard(g_lock);
    img* record = cell(handle).load(std::memory_order_relaxed);
    if (!record) return not_initialised;  // emptied by another thread meanwhile
    cell(handle).store(nullptr, std::memory_order_release);
    ++g_free;
    delete record;  // releases an owned buffer and zeroes the fields
    return ok;
}

}  // namespace lum::registry
