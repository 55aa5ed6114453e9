// Set-up of the multiplications by constants: the exact products of 8-bit
// samples and the single-precision factor that reproduces them.
#include <cmath>
#include <cstring>

#include "primitives/arith_const.hpp"

namespace lum::prim {

namespace {

// The double-precision rule: the product clamped to the sample range, then
// rounded by adding and removing 1.5 × 2^52 (halves to even); NaN gives 0.
uint8_t exact_product(int v, double c) {
    double p = double(v) * c;
    p = p > 0.0 ? p : 0.0;
    p = p < 255.0 ? p : 255.0;
    p = (p + 6755399441055744.0) - 6755399441055744.0;
    return static_cast<uint8_t>(p);
}

// For |c| below 2^14 a product stays below 2^22, where the vector rounding
// conversion is exact; the range is then enforced on integers.
uint8_t single_product(int v, float c) {
    const int r = static_cast<int>(std::nearbyint(float(v) * c));
    return static_cast<uint8_t>(r < 0 ? 0 : r > 255 ? 255 : r);
}

struct single_choice {
    float factor;
    int misses;
    uint8_t value[kMultiplyPatches], result[kMultiplyPatches];
};

// float(c) or one of its nearest neighbours, whichever misses the fewest
// byte values; false when every candidate misses more than the patches hold.
bool choose_single(double c, single_choice& best) {
    if (!(std::fabs(c) < 16383.0)) return false;
    const float base = static_cast<float>(c);
    const float down = std::nextafter(base, -HUGE_VALF), up = std::nextafter(base, HUGE_VALF);
    const float candidates[5] = {base, down, up, std::nextafter(down, -HUGE_VALF), std::nextafter(up, HUGE_VALF)};
    best.misses = kMultiplyPatches + 1;
    for (const float f : candidates) {
        single_choice trial{f, 0, {}, {}};
        for (int i = 0; i < 256 && trial.misses <= kMultiplyPatches; ++i) {
            const uint8_t exact = exact_product(i, c);
            if (single_product(i, f) == exact) continue;
            if (trial.misses < kMultiplyPatches) {
                trial.value[trial.misses] = uint8_t(i);
                trial.result[trial.misses] = exact;
            }
            ++trial.misses;
        }
        if (trial.misses < best.misses) best = trial;
        if (best.misses == 0) break;
    }
    return best.misses <= kMultiplyPatches;
}

void plan_bytes(multiply_plan& plan) {
    single_choice choice[3];
    plan.single = true;
    for (int c = 0; c < plan.channels; ++c) plan.single = plan.single && choose_single(plan.factor[c], choice[c]);
    if (plan.single) {
        plan.patches = 0;
        for (int c = 0; c < plan.channels; ++c) {
            plan.single_factor[c] = choice[c].factor;
            plan.patches = choice[c].misses > plan.patches ? choice[c].misses : plan.patches;
            for (int k = 0; k < kMultiplyPatches; ++k) {
                // Unused slots patch 0 with its own product, 0.
                const bool used = k < choice[c].misses;
                plan.patch_value[k][c] = used ? choice[c].value[k] : 0;
                plan.patch_result[k][c] = used ? choice[c].result[k] : 0;
            }
        }
        return;
    }
    for (int c = 0; c < plan.channels; ++c)
        for (int i = 0; i < 256; ++i) {
            const int u = i > plan.offset[c] ? i - plan.offset[c] : 0;
            const uint8_t r = exact_product(u, plan.factor[c]);
            plan.table[c][i] = r < plan.top ? r : static_cast<uint8_t>(plan.top);
        }
}

}  // namespace

template <class T>
int plan_multiply(const void* factors, int channels, uint32_t top, const uint8_t* offsets, multiply_plan& plan) {
    if (!factors) return st_null;
    plan.channels = channels == 3 ? 3 : 1;
    std::memcpy(plan.factor, factors, sizeof(double) * size_t(plan.channels));
    plan.top = top;
    for (int c = 0; c < 3; ++c) plan.offset[c] = offsets && c < plan.channels ? offsets[c] : 0;
    if constexpr (sizeof(T) == 1) plan_bytes(plan);
    return st_ok;
}

template int plan_multiply<uint8_t>(const void*, int, uint32_t, const uint8_t*, multiply_plan&);
template int plan_multiply<uint16_t>(const void*, int, uint32_t, const uint8_t*, multiply_plan&);
template int plan_multiply<float>(const void*, int, uint32_t, const uint8_t*, multiply_plan&);

}  // namespace lum::prim
