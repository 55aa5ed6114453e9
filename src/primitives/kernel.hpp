// Helpers for kernel sources. Every *.kern.cpp is compiled once per
// instruction-set level with LUM_ISA naming that level's namespace, so all
// helpers here live inside it: code built for a wide level never leaks into
// the baseline through a shared inline definition. Kernel files should avoid
// std templates (std::min, std::clamp, ...) for the same reason.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "primitives/primitive.hpp"

#ifndef LUM_ISA
#error "kernel sources are compiled through lum_add_kernel_variants"
#endif

namespace lum::prim::LUM_ISA {

inline bool empty_region(Size s) { return s.width <= 0 || s.height <= 0; }

// Row y of a region with a byte step.
template <class T>
inline T* row_at(T* base, int step, int y) {
    using byte_t = std::conditional_t<std::is_const_v<T>, const uint8_t, uint8_t>;
    return reinterpret_cast<T*>(reinterpret_cast<byte_t*>(base) + static_cast<ptrdiff_t>(step) * y);
}

template <class T>
inline T min_of(T a, T b) { return b < a ? b : a; }
template <class T>
inline T max_of(T a, T b) { return a < b ? b : a; }

}  // namespace lum::prim::LUM_ISA
