// A growable table of atomic slots whose chunks never move: chunk k holds
// 64 << k slots, so slot h lives in chunk floor(log2(h + 64)) - 6. Lookups
// need no lock and never race with growth; appending is the owner's to
// serialise (the registry and the contour store each hold their own mutex).
#pragma once

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace lum {

template <class T>
class slot_table {
public:
    int32_t count() const { return count_.load(std::memory_order_acquire); }

    // The slot of an index below count().
    std::atomic<T*>& cell(int32_t index) {
        const place p = place_of(index);
        return chunks_[p.chunk].load(std::memory_order_acquire)[p.offset];
    }

    // Appends `item` in a new last slot and returns its index; call under the owner's lock.
    // Throws std::bad_alloc when a new chunk cannot be had (nothing is appended then).
    int32_t append(T* item) {
        const int32_t n = count_.load(std::memory_order_relaxed);
        const place p = place_of(n);
        if (!chunks_[p.chunk].load(std::memory_order_relaxed))
            chunks_[p.chunk].store(new std::atomic<T*>[size_t{64} << p.chunk](), std::memory_order_release);
        cell(n).store(item, std::memory_order_release);
        count_.store(n + 1, std::memory_order_release);
        return n;
    }

private:
    struct place {
        int chunk;
        uint32_t offset;
    };
    static place place_of(int32_t index) {
        const uint32_t v = static_cast<uint32_t>(index) + 64u;
        const int top = std::bit_width(v) - 1;
        return {top - 6, v - (1u << top)};
    }

    static constexpr int kChunks = 26;  // 64 * (2^26 - 1) slots: every non-negative int32 index
    std::atomic<std::atomic<T*>*> chunks_[kChunks] = {};
    std::atomic<int32_t> count_{0};
};

}  // namespace lum
