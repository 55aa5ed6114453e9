// The fuzz driver reads its input as a small program of calls to the C
// interface. This header holds the reader and the world of images that the
// calls work on; fuzz_calls.cpp holds the table of calls, which the fuzzer
// (fuzz_interface.cpp) and the failure-atomicity test both run.
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
        if (sel == 254) return u8() & 1 ? INT32_MIN : INT32_MAX;
        const uint32_t span = static_cast<uint32_t>(hi - lo) + 1;
        return lo + static_cast<int32_t>(u16() % span);
    }
    // Like in(), but a value beyond cap becomes cap, or the type's limit when it is far
    // beyond (2^28 or more): a size of 2^28 x 2 is a legal request for half a gigabyte,
    // which slows the run down and finds nothing new, while the limits still reach the
    // overflow checks. With tame_extremes() every value beyond cap becomes cap.
    int32_t moderate(int32_t lo, int32_t hi, int32_t cap) {
        const int32_t v = in(lo, hi);
        if (v >= -cap && v <= cap) return v;
        const bool far = v >= (1 << 28) || v <= -(1 << 28);
        if (tame_ || !far) return v > 0 ? cap : -cap;
        return v > 0 ? INT32_MAX : INT32_MIN;
    }
    void tame_extremes() { tame_ = true; }
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
    bool tame_ = false;
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
    int destroy(int32_t handle);
    // A live, destroyed, out-of-range or arbitrary handle.
    int32_t handle(Input& in);
    // The handles handle() gave since the last forget_picked(), in order.
    const std::vector<int32_t>& picked() const { return picked_; }
    void forget_picked() { picked_.clear(); }
    // A caller buffer of exactly rows x step bytes under any description a host may give.
    int borrow(int32_t handle, Input& in);
    // Images initialised through the table stay below this size (16 MiB unless set).
    void limit_image_bytes(uint64_t bytes) { image_bytes_limit_ = bytes; }
    uint64_t image_bytes_limit() const { return image_bytes_limit_; }
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

    // Contour sets the driver was handed; fetched with honest arrays, at the latest at the end.
    void keep_contours(int32_t set, uint32_t total, uint32_t count);
    int fetch_contours(Input& in);
    int release_contours(Input& in);

private:
    int32_t pick(Input& in);
    struct ContourSet {
        int32_t handle;
        uint32_t total;
        uint32_t count;
    };
    std::vector<ContourSet> sets_;
    std::vector<int32_t> live_;
    std::vector<int32_t> picked_;
    uint64_t image_bytes_limit_ = 16ull << 20;
    std::vector<int32_t> dead_;
    std::vector<void*> borrowed_;
    static Scratch* scratch_;
};

// What a call returns when its guard kept it from reaching the library, or
// when the function it called returns no status.
inline constexpr int skipped = 1000;

struct Call {
    const char* name;  // the exported functions it calls, without the prefix
    std::function<int(World&, Input&)> run;
};
const std::vector<Call>& calls();

}  // namespace lum::fuzz
