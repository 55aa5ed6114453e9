// The fuzz driver reads its input as a small program of calls to the C
// interface. This header holds the reader and the world of images that the
// calls work on; fuzz_interface.cpp holds the table of calls.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <vector>

#include "lum_lib.h"

namespace lum::fuzz {

// Consumes the input; past its end every read gives 0.
class Input {
public:
    Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    bool done() const { return pos_ >= size_; }
    uint8_t u8() { return pos_ < size_ ? data_[pos_++] : 0; }
    uint16_t u16() { return static_cast<uint16_t>(u8() | (u8() << 8)); }
    uint32_t u32() { return static_cast<uint32_t>(u16()) | (static_cast<uint32_t>(u16()) << 16); }
    // Mostly small values in [lo, hi], now and then an extreme one.
    int32_t in(int32_t lo, int32_t hi) {
        const uint8_t sel = u8();
        if (sel == 255) return static_cast<int32_t>(u32());
        if (sel == 254) return sel & 1 ? INT32_MIN : INT32_MAX;
        const uint32_t span = static_cast<uint32_t>(hi - lo) + 1;
        return lo + static_cast<int32_t>(u16() % span);
    }
    bool chance(int percent) { return u8() % 100 < percent; }
    double real() {
        switch (u8() % 12) {
        case 0: return 0.0;
        case 1: return -1.0;
        case 2: return 1e300;
        case 3: return __builtin_nan("");
        case 4: return __builtin_inf();
        case 5: return -__builtin_inf();
        default: return static_cast<double>(static_cast<int16_t>(u16())) / 16.0;
        }
    }
    lum_point point() { return {in(-3, 48), in(-3, 48)}; }
    lum_size size() { return {in(-2, 48), in(-2, 48)}; }
    lum_rect rect() { return {in(-3, 40), in(-3, 40), in(-2, 48), in(-2, 48)}; }

private:
    const uint8_t* data_;
    size_t size_;
    size_t pos_ = 0;
};

// Buffers handed out as outputs and tables: large enough for any honest use
// of the interface with the small images the driver makes.
struct Scratch {
    alignas(64) uint8_t bytes[1 << 20];
};

class World {
public:
    ~World();
    int32_t create();
    void destroy(int32_t handle);
    // A live, destroyed, out-of-range or arbitrary handle.
    int32_t handle(Input& in);
    // A caller buffer described honestly, with a spare row like the library's own.
    void borrow(int32_t handle, Input& in);
    void* scratch() { return scratch_->bytes; }
    void* maybe_null(Input& in) { return in.chance(8) ? nullptr : scratch(); }
    // The scratch buffer with its first `bytes` bytes taken from the input
    // (points, tables, matrices); the rest keeps what earlier calls left.
    void* filled(Input& in, size_t bytes) {
        auto* p = scratch_->bytes;
        for (size_t k = 0; k < bytes && k < sizeof(Scratch); ++k) p[k] = in.u8();
        return p;
    }
    // Like filled(), but null now and then.
    void* filled_or_null(Input& in, size_t bytes) { return in.chance(8) ? nullptr : filled(in, bytes); }

private:
    std::vector<int32_t> live_;
    std::vector<int32_t> dead_;
    std::vector<void*> borrowed_;
    static Scratch* scratch_;
};

using Call = std::function<void(World&, Input&)>;
const std::vector<Call>& calls();

}  // namespace lum::fuzz
