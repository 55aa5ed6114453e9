// Failure atomicity over the whole C interface: random programs of calls (the
// fuzz driver's table) run on images filled with random bytes, and every call
// that is refused leaves every image of the registry exactly as it was:
// record, samples and row padding, and the bytes past the last row of a
// borrowed buffer.
#include <gtest/gtest.h>

#include <cstring>
#include <cstdio>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "fuzz_driver.hpp"
#include "image/registry.hpp"

namespace {

using lum::fuzz::Call;
using lum::fuzz::Input;
using lum::fuzz::World;

struct SlotState {
    int32_t status = 0;  // of lum_get_info
    lum_info info{};
    std::vector<uint8_t> bytes;
};

// Bytes of an image that the test looks at: all rows with their padding.
size_t buffer_bytes(const lum_info& info) {
    return info.height > 0 ? static_cast<size_t>(info.step_bytes) * static_cast<size_t>(info.height) : 0;
}

std::vector<SlotState> snapshot() {
    std::vector<SlotState> slots(static_cast<size_t>(lum::registry::slot_count()));
    for (size_t h = 0; h < slots.size(); ++h) {
        SlotState& s = slots[h];
        s.status = lum_get_info(static_cast<int32_t>(h), &s.info);
        if (s.status == 0 && s.info.frame_buf) {
            const auto* p = static_cast<const uint8_t*>(s.info.frame_buf);
            s.bytes.assign(p, p + buffer_bytes(s.info));
        }
    }
    return slots;
}

bool same_info(const lum_info& a, const lum_info& b) {
    return a.width == b.width && a.height == b.height && a.pix_type == b.pix_type && a.channels == b.channels &&
           a.valid_bits == b.valid_bits && a.step_bytes == b.step_bytes && a.frame_buf == b.frame_buf &&
           std::memcmp(&a.physical_width, &b.physical_width, sizeof a.physical_width) == 0 &&
           std::memcmp(&a.physical_height, &b.physical_height, sizeof a.physical_height) == 0;
}

// Slots whose image differs between two snapshots (state, record or bytes),
// each with a description of its first difference.
std::vector<std::pair<int32_t, std::string>> changes(const std::vector<SlotState>& before,
                                                     const std::vector<SlotState>& after) {
    std::vector<std::pair<int32_t, std::string>> changed;
    for (size_t h = 0; h < after.size(); ++h) {
        const SlotState empty{-64, {}, {}};
        const SlotState& a = h < before.size() ? before[h] : empty;
        const SlotState& b = after[h];
        std::string what;
        if (a.status != b.status) {
            what = "changed state";
        } else if (a.status == 0 && !same_info(a.info, b.info)) {
            what = "changed its record";
        } else if (a.bytes != b.bytes) {
            size_t k = 0;
            while (a.bytes[k] == b.bytes[k]) ++k;
            what = "changed byte " + std::to_string(k) + " (row " + std::to_string(k / a.info.step_bytes) +
                   ", offset " + std::to_string(k % a.info.step_bytes) + " of step " +
                   std::to_string(a.info.step_bytes) + ")";
        }
        if (!what.empty()) changed.emplace_back(static_cast<int32_t>(h), "slot " + std::to_string(h) + " " + what);
    }
    return changed;
}

// The refusals that come after a write by design, and the one image each may
// change: `picked` are the handles the call was given, in argument order.
bool may_change(const std::string& name, int status, const std::vector<int32_t>& picked,
                const std::vector<SlotState>& before, int32_t slot) {
    auto is = [&](size_t k) { return picked.size() > k && picked[k] == slot; };
    auto format_of = [&](size_t k) {
        const int32_t h = picked.size() > k ? picked[k] : -1;
        return h >= 0 && size_t(h) < before.size() && before[h].status == 0 ? before[h].info.pix_type : 0;
    };
    // An image whose new buffer cannot be had is left empty.
    if (name == "init_image" && status == -8) return is(0);
    // The accumulator is created before its initialisation fails, and stays.
    if (name == "projection_mean_init") return slot >= 0 && (size_t(slot) >= before.size() || before[slot].status != 0);
    // The destination is cleared before the interpolation code is examined.
    if (name == "rotate" && status == -7) return is(1);
    // The mask is cleared before its shape is looked at (and a polygon may be partly drawn).
    if (name == "generate_mask/generate_mask_part" && (status == -7 || status == -32 || status == -128)) return is(0);
    // A float source is binarized as 16-bit rows, then refused.
    if (name == "binarization/binarization_rect" && status == -1) return format_of(0) == lum_fmt_32f && is(1);
    return false;
}

// Fills every image not seen before with random bytes, padding included, so
// that a stray write of zeros shows.
class Randomizer {
public:
    explicit Randomizer(uint32_t seed) : rng_(seed) {}
    void fill_new_images() {
        for (int32_t h = 0; h < lum::registry::slot_count(); ++h) {
            lum_info info{};
            if (lum_get_info(h, &info) != 0 || !info.frame_buf) continue;
            if (!seen_.insert({info.frame_buf, buffer_bytes(info)}).second) continue;
            auto* p = static_cast<uint8_t*>(info.frame_buf);
            const size_t n = buffer_bytes(info);
            for (size_t k = 0; k < n; ++k) p[k] = static_cast<uint8_t>(rng_());
        }
    }
    void forget() { seen_.clear(); }

private:
    std::minstd_rand rng_;
    std::set<std::pair<void*, size_t>> seen_;
};

// Six images to start from, so that calls get past the handle checks: mostly
// initialised, in a few sizes (so that two-image calls often match), formats
// and channel counts; now and then empty or a caller's buffer.
void populate(World& world, std::mt19937& rng, Input& in) {
    static const lum_size sizes[] = {{8, 6}, {8, 6}, {17, 5}, {33, 9}, {1, 1}};
    static const lum_data_format formats[] = {lum_fmt_8u, lum_fmt_8u, lum_fmt_16u, lum_fmt_32f, lum_fmt_16s};
    for (int k = 0; k < 6; ++k) {
        const int32_t h = world.create();
        const uint32_t pick = rng() % 10;
        if (pick == 0) continue;
        if (pick == 1) {
            world.borrow(h, in);
            continue;
        }
        const lum_size size = sizes[rng() % 5];
        const lum_data_format format = formats[rng() % 5];
        lum_init_image(h, size.width, size.height, format, rng() % 3 ? lum_gray : lum_color,
                       format == lum_fmt_16u ? 9 + int(rng() % 8) : 8);
    }
}

// Statuses after which an operation may have written part of its result.
bool is_refusal(int status) { return status < 0 && status != -5; }

TEST(FailureAtomicity, RefusedCallsLeaveEveryImageUntouched) {
    const std::vector<Call>& table = lum::fuzz::calls();
    std::mt19937 rng(20261123);
    Randomizer randomizer(7);
    std::map<int, int> refusals;  // status -> count
    std::map<std::string, std::map<int, int>> by_call;
    int checked = 0;
    std::string failures;
    int failure_count = 0;

    for (int program = 0; program < 12000; ++program) {
        std::vector<uint8_t> bytes(256 + rng() % 768);
        for (auto& b : bytes) b = static_cast<uint8_t>(rng());
        Input in(bytes.data(), bytes.size());
        in.tame_extremes();
        {
            World world;
            world.limit_image_bytes(64 << 10);  // every call copies and compares every image
            populate(world, rng, in);
            for (int step = 0; step < 64 && !in.done(); ++step) {
                const Call& call = table[in.u8() % table.size()];
                randomizer.fill_new_images();
                const auto before = snapshot();
                world.forget_picked();
                const int status = call.run(world, in);
                ++by_call[call.name][status];
                if (!is_refusal(status)) continue;
                ++refusals[status];
                ++checked;
                for (const auto& [slot, what] : changes(before, snapshot())) {
                    if (may_change(call.name, status, world.picked(), before, slot)) continue;
                    if (failure_count++ < 10)
                        failures += std::string(call.name) + " returned " + std::to_string(status) + " but " + what +
                                    " (program " + std::to_string(program) + ", step " + std::to_string(step) +
                                    ")\n";
                }
            }
        }
        randomizer.forget();  // every buffer went with the world
    }
    EXPECT_EQ(failures, "");
    // The programs reach the refusals of every kind, not only the handle check.
    for (int status : {-1, -2, -4, -6, -7, -64, -65})
        EXPECT_GT(refusals[status], 0) << "no call was refused with " << status;
    EXPECT_GT(checked, 10000);
    // Every operation with checks of its own was refused past the handle check at least once.
    const std::set<std::string> handle_checks_only = {"create_image", "destroy_image", "get_info", "init_image_ex",
                                                      "clear"};
    for (const auto& [name, statuses] : by_call) {
        int deep = 0;
        for (const auto& [status, n] : statuses)
            if (is_refusal(status) && status != -6 && status != -64) deep += n;
        if (statuses.count(lum::fuzz::skipped) == 0 && handle_checks_only.count(name) == 0) {
            EXPECT_GT(deep, 0) << name;
        }
    }
}

}  // namespace
