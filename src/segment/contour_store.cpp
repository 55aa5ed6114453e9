// The contour store: a table of contour sets whose slots live in chunks that
// never move (chunk k holds 64 << k slots), so a fetch can look a handle up
// without the mutex while other threads register or release sets.
#include "segment/contour_store.hpp"

#include "image/slot_table.hpp"

#include <atomic>
#include <bit>
#include <mutex>
#include <new>

namespace lum::contours {

uint32_t contour_set::result_size() const {
    uint32_t total = 0;
    for (const contour& c : contours) total += 2u * static_cast<uint32_t>(c.count) + 4u;
    return total;
}

// ---- spare point blocks

// A spare block holds the link to the next spare in its own first bytes.
struct block_source::spare {
    spare* next;
};
static_assert(sizeof(lum_point) * kBlockPoints >= sizeof(void*));

namespace {
constexpr int32_t kMaxSpares = 64;  // 4 MB kept at most
std::atomic<block_source::spare*> g_spares{nullptr};
std::atomic<int32_t> g_spare_count{0};
}  // namespace

// Only whole lists are taken (one exchange) and only pushes compete, so the
// list needs no lock and has no ABA hazard.
block_source::block_source() : local_(g_spares.exchange(nullptr, std::memory_order_acquire)) {
    int32_t n = 0;
    for (spare* s = local_; s; s = s->next) ++n;
    g_spare_count.fetch_sub(n, std::memory_order_relaxed);
}

block_source::~block_source() {
    while (local_) {
        spare* s = local_;
        local_ = s->next;
        give({reinterpret_cast<lum_point*>(s), kBlockPoints});
    }
}

point_block block_source::take(size_t size) {
    if (size == kBlockPoints && local_) {
        spare* s = local_;
        local_ = s->next;
        return {reinterpret_cast<lum_point*>(s), size};
    }
    return {new lum_point[size], size};
}

void block_source::give(point_block block) {
    if (!block.data) return;
    if (block.size != kBlockPoints || g_spare_count.fetch_add(1, std::memory_order_relaxed) >= kMaxSpares) {
        if (block.size == kBlockPoints) g_spare_count.fetch_sub(1, std::memory_order_relaxed);
        delete[] block.data;
        return;
    }
    auto* s = new (block.data) spare{g_spares.load(std::memory_order_relaxed)};
    while (!g_spares.compare_exchange_weak(s->next, s, std::memory_order_release, std::memory_order_relaxed)) {
    }
}

contour_set::~contour_set() {
    for (const point_block& b : blocks) block_source::give(b);
}

namespace {
slot_table<contour_set> g_slots;
std::mutex g_lock;
int32_t g_lowest_free = 0;  // no empty slot below this index; guarded by g_lock
}  // namespace

int32_t slot_count() { return g_slots.count(); }

contour_set* slot(int32_t handle) { return g_slots.cell(handle).load(std::memory_order_acquire); }

int32_t register_set(std::unique_ptr<contour_set> set) {
    std::lock_guard<std::mutex> guard(g_lock);
    const int32_t n = g_slots.count();
    // Sets that are never fetched keep their slots, so the search starts at the
    // lowest slot a release may have emptied instead of at 0 every time.
    for (int32_t h = g_lowest_free; h < n; ++h) {
        if (g_slots.cell(h).load(std::memory_order_relaxed) == nullptr) {
            g_lowest_free = h + 1;
            g_slots.cell(h).store(set.release(), std::memory_order_release);
            return h;
        }
    }
    const int32_t h = g_slots.append(set.get());
    set.release();
    g_lowest_free = h + 1;
    return h;
}

bool release_if_held(int32_t handle) {
    contour_set* set;
    {
        std::lock_guard<std::mutex> guard(g_lock);
        set = g_slots.cell(handle).exchange(nullptr, std::memory_order_acq_rel);
        if (set && handle < g_lowest_free) g_lowest_free = handle;
    }
    delete set;
    return set != nullptr;
}

void release(int32_t handle) { release_if_held(handle); }

}  // namespace lum::contours
