// 64-byte aligned allocation for image buffers and scratch memory. The block
// is over-allocated by 72 bytes; the raw heap pointer is kept just before it.
#include <cstdlib>
#include <cstring>
#include <limits>

#include "image/image.hpp"

namespace lum {

namespace {
void* align_raw(void* raw) {
    auto addr = (reinterpret_cast<uintptr_t>(raw) + 71) & ~uintptr_t{63};
    void* block = reinterpret_cast<void*>(addr);
    std::memcpy(static_cast<char*>(block) - 8, &raw, sizeof raw);
    return block;
}
}  // namespace

void* aligned_alloc64(int64_t size) {
    if (size < 1 || size > std::numeric_limits<int64_t>::max() - 72) return nullptr;
    if (static_cast<uint64_t>(size) > std::numeric_limits<size_t>::max() - 72) return nullptr;
    void* raw = std::malloc(static_cast<size_t>(size) + 72);
    return raw ? align_raw(raw) : nullptr;
}

void* aligned_alloc64(int32_t size) {
    if (size < 1 || size > std::numeric_limits<int32_t>::max() - 72) return nullptr;
    void* raw = std::malloc(static_cast<size_t>(size) + 72);
    return raw ? align_raw(raw) : nullptr;
}

void aligned_free64(void* block) {
    if (!block) return;
    void* raw;
    std::memcpy(&raw, static_cast<char*>(block) - 8, sizeof raw);
    std::free(raw);
}

}  // namespace lum
