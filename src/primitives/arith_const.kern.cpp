// Multiplication by per-channel constants with the plan of arith_const.hpp.
// The row loop steps by whole vectors of samples; each is split into parts of
// the precision's lanes (float for bytes, double otherwise), and the channel
// constants of a part follow from its place in the three-vector period of
// channel_row. Per 64 bytes on AVX-512: one subtraction, four widen-multiply-
// round chains, one pack, a compare and select per patch and one minimum.
#include "primitives/arith_const.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

namespace {

// Vectors of constants for each place j of the three-vector period: lane i of
// part k of vector j covers sample j × L + k × lanes<M> + i of the row.
template <class T, class M>
struct channel_parts {
    static constexpr int L = simd::lanes<T>, P = simd::lanes<M>, K = L / P;
    simd::vec<M> v[3][K];
    template <class C>
    channel_parts(const C* per_channel, int channels) {
        for (int j = 0; j < 3; ++j)
            for (int k = 0; k < K; ++k)
                for (int i = 0; i < P; ++i) v[j][k][i] = static_cast<M>(per_channel[channels == 3 ? (j * L + k * P + i) % 3 : 0]);
    }
};

// Sample vectors of T for each place j, lane i of channel (j × L + i) % 3.
template <class T>
struct channel_lanes {
    simd::vec<T> v[3];
    template <class C>
    channel_lanes(const C* per_channel, int channels) {
        for (int j = 0; j < 3; ++j)
            for (int i = 0; i < simd::lanes<T>; ++i)
                v[j][i] = static_cast<T>(per_channel[channels == 3 ? (j * simd::lanes<T> + i) % 3 : 0]);
    }
};

// The K parts' int32 results packed with saturation into one vector of T
// (four parts of float lanes for bytes; four of double lanes, half vectors of
// int32 joined in pairs, for 16-bit samples).
template <class T, class I>
inline simd::vec<T> packed(I p0, I p1, I p2, I p3) {
    if constexpr (sizeof(I) == simd::kBytes) return simd::pack_sat<T>(p0, p1, p2, p3);
    else return simd::pack_sat<T>(simd::join(p0, p1), simd::join(p2, p3));
}
template <class T, class F, size_t... k>
inline simd::vec<T> products(const F& part_product, std::index_sequence<k...>) {
    return packed<T>(part_product(std::integral_constant<int, int(k)>{})...);
}

template <class T>
void multiply_rows(const T* src, int src_step, T* dst, int dst_step, Size size, const multiply_plan& plan) {
    using M = std::conditional_t<sizeof(T) == 1, float, double>;
    using V = simd::vec<T>;
    const channel_parts<T, M> factor = sizeof(T) == 1 ? channel_parts<T, M>(plan.single_factor, plan.channels)
                                                      : channel_parts<T, M>(plan.factor, plan.channels);
    constexpr int K = channel_parts<T, M>::K;
    constexpr auto parts = std::make_index_sequence<K>();
    const V top = V{} + static_cast<T>(plan.top);
    auto rows = [&](const auto& op) {
        for (int y = 0; y < size.height; ++y)
            channel_row<T>(row_at(src, src_step, y), row_at(dst, dst_step, y), size.width, op);
    };
    if constexpr (sizeof(T) == 1) {
        const channel_lanes<uint8_t> offset(plan.offset, plan.channels);
        auto product = [&](V v, int j) {
            const V u = simd::sub_sat(v, offset.v[j]);
            return products<uint8_t>([&](auto k) {
                // Products stay below 2^22 (the plan's factors are below 2^14): no clamp before rounding.
                return simd::round_even(simd::to_float(simd::part<K, decltype(k)::value>(u)) * factor.v[j][decltype(k)::value]);
            }, parts);
        };
        if (plan.patches == 0) {
            rows([&](V v, int j) { return simd::min(product(v, j), top); });
            return;
        }
        channel_lanes<uint8_t> value[kMultiplyPatches] = {{plan.patch_value[0], plan.channels}, {plan.patch_value[1], plan.channels},
                                                           {plan.patch_value[2], plan.channels}, {plan.patch_value[3], plan.channels}};
        channel_lanes<uint8_t> result[kMultiplyPatches] = {{plan.patch_result[0], plan.channels}, {plan.patch_result[1], plan.channels},
                                                            {plan.patch_result[2], plan.channels}, {plan.patch_result[3], plan.channels}};
        rows([&](V v, int j) {
            const V u = simd::sub_sat(v, offset.v[j]);
            V r = product(v, j);
            for (int k = 0; k < kMultiplyPatches; ++k) r = u == value[k].v[j] ? result[k].v[j] : r;
            return simd::min(r, top);
        });
    } else if constexpr (sizeof(T) == 2) {
        rows([&](V v, int j) {
            return simd::min(products<T>([&](auto k) {
                return simd::round_for<T>(simd::to_double(simd::part<K, decltype(k)::value>(v)) * factor.v[j][decltype(k)::value]);
            }, parts), top);
        });
    } else {
        rows([&](V v, int j) {
            const auto product = [&](auto k) {
                const auto p = simd::to_double(simd::part<K, decltype(k)::value>(v)) * factor.v[j][decltype(k)::value];
                return __builtin_convertvector(p, simd::lanes_of<float, double>);
            };
            return simd::join(product(std::integral_constant<int, 0>{}), product(std::integral_constant<int, 1>{}));
        });
    }
}

}  // namespace

template <class T>
int multiply(const T* src, int src_step, T* dst, int dst_step, Size size, const multiply_plan* plan) {
    if (!src || !dst || !plan) return st_null;
    if (empty_region(size)) return st_size;
    if constexpr (sizeof(T) == 1) {
        if (!plan->single) {
            // Every result from the plan's table, offset and top included.
            const simd::byte_tables3 table(plan->table[0], plan->table[plan->channels == 3 ? 1 : 0],
                                           plan->table[plan->channels == 3 ? 2 : 0]);
            constexpr int L = simd::lanes<uint8_t>;
            for (int y = 0; y < size.height; ++y)
                channel_row<uint8_t>(row_at(src, src_step, y), row_at(dst, dst_step, y), size.width,
                                     [&table](simd::vec<uint8_t> v, int j) { return table(v, j * L % 3); });
            return st_ok;
        }
    }
    multiply_rows(src, src_step, dst, dst_step, size, *plan);
    return st_ok;
}

LUM_INSTANTIATE(multiply, uint8_t)
LUM_INSTANTIATE(multiply, uint16_t)
LUM_INSTANTIATE(multiply, float)

}  // namespace lum::prim::LUM_ISA
