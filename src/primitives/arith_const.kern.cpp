// Kernels of a region and constants. Three-channel constants are laid out as
// a repeating row pattern so that the inner loop is the same plain sample loop
// as for one channel.
#include <cmath>

#include "primitives/arith_const.hpp"
#include "primitives/kernel.hpp"


namespace lum::prim::LUM_ISA {

namespace {

// A block of the three per-channel constants repeated: a multiple of 3 and of
// every vector width, so a row is walked in whole blocks plus a tail.
constexpr int kBlock = 3 * 256;

template <class C>
struct Pattern {
    C v[kBlock];
    explicit Pattern(const C* c3) {
        for (int i = 0; i < kBlock; ++i) v[i] = c3[i % 3];
    }
    explicit Pattern(C c) {
        for (int i = 0; i < kBlock; ++i) v[i] = c;
    }
};

// Calls op(samples, constants, count) over each row in blocks of the pattern.
template <class T, class C, class Op>
void over_rows(T* base, int step, Size z, int channels, const Pattern<C>& pat, Op op) {
    const int n = z.width * channels;
    for (int y = 0; y < z.height; ++y) {
        T* row = row_at(base, step, y);
        int x = 0;
        for (; x + kBlock <= n; x += kBlock) op(row + x, pat.v, kBlock);
        if (x < n) op(row + x, pat.v, n - x);
    }
}

// Integer product rounded by adding and removing 1.5 × 2^52 after clamping
// to the type's range.
template <class T>
inline T rounded_product(T v, double c) {
    double p = double(v) * c;
    p = p > 0.0 ? p : 0.0;
    p = p < double(max_value<T>()) ? p : double(max_value<T>());
    p = (p + 6755399441055744.0) - 6755399441055744.0;
    return static_cast<T>(static_cast<int>(p));
}

template <class T>
int mul_c1(T* p, int step, Size z, double c) {
    for (int y = 0; y < z.height; ++y) {
        T* __restrict o = row_at(p, step, y);
        for (int x = 0; x < z.width; ++x) o[x] = rounded_product(o[x], c);
    }
    return st_ok;
}

template <class T>
int mul_c(T* p, int step, Size z, int ch, const Pattern<double>& pat) {
    over_rows(p, step, z, ch, pat, [](T* __restrict o, const double* __restrict c, int n) {
        for (int x = 0; x < n; ++x) o[x] = rounded_product(o[x], c[x]);
    });
    return st_ok;
}

int checked(const void* p, const void* value, Size z) {
    if (!p || !value) return st_null;
    if (empty_region(z)) return st_size;
    return st_ok;
}

}  // namespace

// 8-bit samples have 256 values per channel, so a product can be checked
// for every sample value beforehand. The pixel loop runs in single precision
// (twice the lanes of double) with float(c) or one of its nearest neighbours,
// whichever reproduces the double-precision result for the most byte values;
// the few values it misses (products within a rounding error of a half) are
// patched with their double-precision results by compare-and-select. When
// more than kPatches values would need it, the double results come from a
// table instead.
namespace {

constexpr int kPatches = 4;

// For |c| below 2^14 the product stays below 2^22, where adding and removing
// 1.5 × 2^23 rounds exactly; the range is then enforced on integers.
inline uint8_t float_product(uint8_t v, float c) {
    const float p = (float(v) * c + 12582912.0f) - 12582912.0f;
    const int r = static_cast<int>(p);
    return static_cast<uint8_t>(r < 0 ? 0 : r > 255 ? 255 : r);
}

struct FloatPlan {
    float factor;
    int patches;               // values that need their double result
    uint8_t value[kPatches];   // byte values whose float result is patched
    uint8_t result[kPatches];  // their double-precision results
};

bool plan_product(double c, FloatPlan& plan) {
    if (!(std::fabs(c) < 16383.0)) return false;
    const float base = static_cast<float>(c);
    const float down = nextafterf(base, -HUGE_VALF), up = nextafterf(base, HUGE_VALF);
    const float candidates[5] = {base, down, up, nextafterf(down, -HUGE_VALF), nextafterf(up, HUGE_VALF)};
    int best = kPatches + 1;
    for (const float f : candidates) {
        FloatPlan trial{f, 0, {}, {}};
        int misses = 0;
        for (int i = 0; i < 256 && misses <= kPatches; ++i) {
            const uint8_t exact = rounded_product(uint8_t(i), c);
            if (float_product(uint8_t(i), f) != exact) {
                if (misses < kPatches) {
                    trial.value[misses] = uint8_t(i);
                    trial.result[misses] = exact;
                }
                ++misses;
            }
        }
        if (misses < best) {
            best = misses;
            plan = trial;
            if (misses == 0) break;
        }
    }
    if (best > kPatches) return false;
    plan.patches = best;
    // Unused slots repeat a harmless pair: the first patch, or 0 and its own result.
    const uint8_t v0 = best > 0 ? plan.value[0] : 0, r0 = best > 0 ? plan.result[0] : float_product(0, plan.factor);
    for (int k = best; k < kPatches; ++k) {
        plan.value[k] = v0;
        plan.result[k] = r0;
    }
    return true;
}

template <class V, class R, class F>
inline uint8_t planned_product(uint8_t v, F f, const V& values, const R& results) {
    uint8_t r = float_product(v, f);
    for (int k = 0; k < kPatches; ++k) r = v == values[k] ? results[k] : r;
    return r;
}

}  // namespace

int mul_c_8u_c1ir(uint8_t* p, int step, Size z, const double* v) {
    if (const int e = checked(p, v, z)) return e;
    FloatPlan plan;
    if (plan_product(v[0], plan)) {
        const float f = plan.factor;
        const uint8_t values[kPatches] = {plan.value[0], plan.value[1], plan.value[2], plan.value[3]};
        const uint8_t results[kPatches] = {plan.result[0], plan.result[1], plan.result[2], plan.result[3]};
        for (int y = 0; y < z.height; ++y) {
            uint8_t* __restrict o = row_at(p, step, y);
            if (plan.patches == 0)
                for (int x = 0; x < z.width; ++x) o[x] = float_product(o[x], f);
            else
                for (int x = 0; x < z.width; ++x) o[x] = planned_product(o[x], f, values, results);
        }
        return st_ok;
    }
    int32_t table[256];
    for (int i = 0; i < 256; ++i) table[i] = rounded_product(uint8_t(i), v[0]);
    for (int y = 0; y < z.height; ++y) {
        uint8_t* __restrict o = row_at(p, step, y);
        for (int x = 0; x < z.width; ++x) o[x] = static_cast<uint8_t>(table[o[x]]);
    }
    return st_ok;
}

int mul_c_8u_c3ir(uint8_t* p, int step, Size z, const double* v) {
    if (const int e = checked(p, v, z)) return e;
    FloatPlan plan[3];
    if (plan_product(v[0], plan[0]) && plan_product(v[1], plan[1]) && plan_product(v[2], plan[2])) {
        const float f3[3] = {plan[0].factor, plan[1].factor, plan[2].factor};
        const Pattern<float> factor(f3);
        if (plan[0].patches + plan[1].patches + plan[2].patches == 0) {
            over_rows(p, step, z, 3, factor, [](uint8_t* __restrict o, const float* __restrict c, int n) {
                for (int x = 0; x < n; ++x) o[x] = float_product(o[x], c[x]);
            });
            return st_ok;
        }
        struct Patches {
            uint8_t values[kPatches][kBlock], results[kPatches][kBlock];
        } patches;
        for (int k = 0; k < kPatches; ++k)
            for (int i = 0; i < kBlock; ++i) {
                patches.values[k][i] = plan[i % 3].value[k];
                patches.results[k][i] = plan[i % 3].result[k];
            }
        const int n = z.width * 3;
        for (int y = 0; y < z.height; ++y) {
            uint8_t* row = row_at(p, step, y);
            for (int x0 = 0; x0 < n; x0 += kBlock) {
                const int m = n - x0 < kBlock ? n - x0 : kBlock;
                uint8_t* __restrict o = row + x0;
                const float* __restrict f = factor.v;
                for (int x = 0; x < m; ++x) {
                    const uint8_t in = o[x];
                    uint8_t r = float_product(in, f[x]);
                    for (int k = 0; k < kPatches; ++k) r = in == patches.values[k][x] ? patches.results[k][x] : r;
                    o[x] = r;
                }
            }
        }
        return st_ok;
    }
    int32_t table[3 * 256];
    for (int c = 0; c < 3; ++c)
        for (int i = 0; i < 256; ++i) table[256 * c + i] = rounded_product(uint8_t(i), v[c]);
    int32_t channel_base[3] = {0, 256, 512};
    over_rows(p, step, z, 3, Pattern<int32_t>(channel_base),
              [&table](uint8_t* __restrict o, const int32_t* __restrict b, int n) {
                  for (int x = 0; x < n; ++x) o[x] = static_cast<uint8_t>(table[o[x] + b[x]]);
              });
    return st_ok;
}

int mul_c_16u_c1ir(uint16_t* p, int step, Size z, const double* v) {
    if (const int e = checked(p, v, z)) return e;
    return mul_c1(p, step, z, v[0]);
}
int mul_c_16u_c3ir(uint16_t* p, int step, Size z, const double* v) {
    if (const int e = checked(p, v, z)) return e;
    return mul_c(p, step, z, 3, Pattern<double>(v));
}
int mul_c_32f_c1ir(float* p, int step, Size z, const double* v) {
    if (const int e = checked(p, v, z)) return e;
    const double c = v[0];
    for (int y = 0; y < z.height; ++y) {
        float* __restrict o = row_at(p, step, y);
        for (int x = 0; x < z.width; ++x) o[x] = static_cast<float>(double(o[x]) * c);
    }
    return st_ok;
}

}  // namespace lum::prim::LUM_ISA
