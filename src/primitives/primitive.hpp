// The primitive layer: regions, primitive statuses and the per-processor
// dispatch. A primitive is declared once with LUM_PRIMITIVE; its kernel is
// defined in a *.kern.cpp file that is compiled once per instruction-set
// level, inside namespace lum::prim::LUM_ISA.
#pragma once

#include <atomic>
#include <cstdint>

namespace lum::prim {

// n rounded up to a multiple of 64 bytes: parts of a work buffer each start
// on a cache line. 64-bit counts only, signed or unsigned as the caller
// computes them, so that the rounding itself cannot overflow a narrower type.
template <class I>
constexpr I align64(I n) {
    static_assert(sizeof(I) == 8, "byte counts of 64 bits");
    return (n + 63) & ~I(63);
}

// Region size in pixels, passed as one 64-bit value (width low, height high).
struct Size {
    int32_t width;
    int32_t height;
};

// Primitive statuses shared by all kernels; others are the kernel's own.
enum : int {
    st_ok = 0,
    st_size = -6,     // region width or height 0 or less
    st_null = -8,     // a pointer the kernel needs is null
    st_bad_arg = -13, // a parameter the kernel refuses (code, order index, ...)
    st_div_zero = 6,  // warning: a division by zero was met
    st_domain = 7,    // warning: an argument outside the function's domain was met
};

// Dispatch index: -1 until the first primitive call, then 0..5 by the
// processor's features. Compiled levels: 0 baseline, 1 AVX2, 2 AVX-512.
int dispatch_index();
int detect_dispatch_index();
// Test hook: force an index (0..5), or -1 to detect again on the next call.
void force_dispatch_index(int index);
extern std::atomic<int> g_dispatch_index;

constexpr int compiled_level_for(int index) { return index >= 5 ? 2 : index == 4 ? 1 : 0; }

inline int compiled_level() {
    int index = g_dispatch_index.load(std::memory_order_relaxed);
    if (index < 0) index = dispatch_index();
    return compiled_level_for(index);
}

// Kernels read and write at any address and step: they load and store
// through the vector layer's unaligned accesses (and memcpy for single
// samples), so the entry only picks the level.
template <class Fn>
struct Dispatch;

template <class R, class... A>
struct Dispatch<R(A...)> {
    R (*variants[3])(A...);
    R operator()(A... args) const { return variants[compiled_level()](args...); }
};

}  // namespace lum::prim

// Declares primitive `name` of function type `...` in every level and the
// dispatch entry lum::prim::name that calls the level chosen for this
// processor.
#if defined(LUM_SINGLE_ISA)
#define LUM_PRIMITIVE(name, ...)                                  \
    using name##_fn = __VA_ARGS__;                                                   \
    namespace isa_base { name##_fn name; }                                           \
    inline constexpr Dispatch<name##_fn> name{{&isa_base::name, &isa_base::name, &isa_base::name}};
#else
#define LUM_PRIMITIVE(name, ...)                                  \
    using name##_fn = __VA_ARGS__;                                                   \
    namespace isa_base { name##_fn name; }                                           \
    namespace isa_avx2 { name##_fn name; }                                           \
    namespace isa_avx512 { name##_fn name; }                                         \
    inline constexpr Dispatch<name##_fn> name{{&isa_base::name, &isa_avx2::name, &isa_avx512::name}};
#endif

// Declares kernel template `name` in every level and the dispatch entry
// lum::prim::name<...>, a variable template over the same parameters:
//   LUM_KERNEL(binary, (class T, class Op), (T, Op), int(const T* a, int a_step, ...))
// The kernel file defines the template once and instantiates what the
// operations use with LUM_INSTANTIATE(binary, uint8_t, op::add).
#define LUM_UNPACK(...) __VA_ARGS__
#if defined(LUM_SINGLE_ISA)
#define LUM_KERNEL(name, params, args, ...)                                                        \
    template <LUM_UNPACK params> using name##_fn = __VA_ARGS__;                                    \
    namespace isa_base { template <LUM_UNPACK params> name##_fn<LUM_UNPACK args> name; }           \
    template <LUM_UNPACK params>                                                                   \
    inline constexpr Dispatch<name##_fn<LUM_UNPACK args>> name{                                    \
        {&isa_base::name<LUM_UNPACK args>, &isa_base::name<LUM_UNPACK args>, &isa_base::name<LUM_UNPACK args>}};
#else
#define LUM_KERNEL(name, params, args, ...)                                                        \
    template <LUM_UNPACK params> using name##_fn = __VA_ARGS__;                                    \
    namespace isa_base { template <LUM_UNPACK params> name##_fn<LUM_UNPACK args> name; }           \
    namespace isa_avx2 { template <LUM_UNPACK params> name##_fn<LUM_UNPACK args> name; }           \
    namespace isa_avx512 { template <LUM_UNPACK params> name##_fn<LUM_UNPACK args> name; }         \
    template <LUM_UNPACK params>                                                                   \
    inline constexpr Dispatch<name##_fn<LUM_UNPACK args>> name{                                    \
        {&isa_base::name<LUM_UNPACK args>, &isa_avx2::name<LUM_UNPACK args>, &isa_avx512::name<LUM_UNPACK args>}};
#endif
