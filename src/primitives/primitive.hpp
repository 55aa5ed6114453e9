// The primitive layer: regions, primitive statuses and the per-processor
// dispatch. A primitive is declared once with LUM_PRIMITIVE; its kernel is
// defined in a *.kern.cpp file that is compiled once per instruction-set
// level, inside namespace lum::prim::LUM_ISA.
#pragma once

#include <atomic>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

namespace lum::prim {

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
    st_misaligned = -16, // a region's address or step is not a multiple of its sample size
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

template <class Fn, bool AlignedOnly = true>
struct Dispatch;

// Every typed pointer a kernel gets must sit on its type's alignment, and a
// region, a (pointer, int step) pair in front of the Size argument, must
// also step by whole samples: kernels address samples with typed (and
// vector) accesses. Images the library allocates always qualify; a borrowed
// buffer, or a destination written in a wider type than it was described
// with, may not, and is refused with st_misaligned before anything is read.
namespace detail {

template <class T>
bool sample_aligned(const T* p, int step) {
    if constexpr (std::is_void_v<T>) {
        return true;
    } else if constexpr (alignof(T) == 1) {
        return true;
    } else {
        return reinterpret_cast<uintptr_t>(p) % alignof(T) == 0 && step % static_cast<int>(sizeof(T)) == 0;
    }
}

template <class P>
bool region_aligned(P p, int step) {
    using T = std::remove_pointer_t<P>;
    if constexpr (std::is_pointer_v<T>) {
        // Planar form: three plane pointers sharing one step.
        if (!p) return true;
        for (int c = 0; c < 3; ++c)
            if (!sample_aligned(p[c], step)) return false;
        return true;
    } else {
        return sample_aligned(p, step);
    }
}

template <class... A>
constexpr size_t size_position() {
    constexpr bool is_size[] = {std::is_same_v<A, Size>..., false};
    for (size_t i = 0; i < sizeof...(A); ++i)
        if (is_size[i]) return i;
    return sizeof...(A);
}

template <size_t At, class Tuple, size_t... I>
bool arguments_aligned(const Tuple& args, std::index_sequence<I...>) {
    bool aligned = true;
    (([&] {
         using P = std::tuple_element_t<I, Tuple>;
         if constexpr (std::is_pointer_v<P>) {
             aligned = aligned && sample_aligned(std::get<I>(args), 0);
             if constexpr (I + 1 < At) {
                 if constexpr (std::is_same_v<std::tuple_element_t<I + 1, Tuple>, int>)
                     aligned = aligned && region_aligned(std::get<I>(args), std::get<I + 1>(args));
             }
         }
     }()),
     ...);
    return aligned;
}

}  // namespace detail

// Kernels declared with LUM_KERNEL read and write at any address and skip the check.
template <class R, bool AlignedOnly, class... A>
struct Dispatch<R(A...), AlignedOnly> {
    R (*variants[3])(A...);
    R operator()(A... args) const {
        constexpr size_t at = detail::size_position<A...>();
        if constexpr (AlignedOnly && at < sizeof...(A)) {
            const std::tuple<A...> all(args...);
            const Size size = std::get<at>(all);
            // An empty region is the kernel's to refuse, with its own status.
            if (size.width > 0 && size.height > 0 &&
                !detail::arguments_aligned<at>(all, std::index_sequence_for<A...>{}))
                return st_misaligned;
        }
        return variants[compiled_level()](args...);
    }
};

}  // namespace lum::prim

// Declares primitive `name` of function type `...` in every level and the
// dispatch entry lum::prim::name that calls the level chosen for this
// processor. LUM_PRIMITIVE_ANY declares one that reads and writes at any
// address (no alignment check in front of it).
#if defined(LUM_SINGLE_ISA)
#define LUM_PRIMITIVE_WITH(aligned_only, name, ...)                                  \
    using name##_fn = __VA_ARGS__;                                                   \
    namespace isa_base { name##_fn name; }                                           \
    inline constexpr Dispatch<name##_fn, aligned_only> name{{&isa_base::name, &isa_base::name, &isa_base::name}};
#else
#define LUM_PRIMITIVE_WITH(aligned_only, name, ...)                                  \
    using name##_fn = __VA_ARGS__;                                                   \
    namespace isa_base { name##_fn name; }                                           \
    namespace isa_avx2 { name##_fn name; }                                           \
    namespace isa_avx512 { name##_fn name; }                                         \
    inline constexpr Dispatch<name##_fn, aligned_only> name{{&isa_base::name, &isa_avx2::name, &isa_avx512::name}};
#endif
#define LUM_PRIMITIVE(name, ...) LUM_PRIMITIVE_WITH(true, name, __VA_ARGS__)
#define LUM_PRIMITIVE_ANY(name, ...) LUM_PRIMITIVE_WITH(false, name, __VA_ARGS__)

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
    inline constexpr Dispatch<name##_fn<LUM_UNPACK args>, false> name{                                    \
        {&isa_base::name<LUM_UNPACK args>, &isa_base::name<LUM_UNPACK args>, &isa_base::name<LUM_UNPACK args>}};
#else
#define LUM_KERNEL(name, params, args, ...)                                                        \
    template <LUM_UNPACK params> using name##_fn = __VA_ARGS__;                                    \
    namespace isa_base { template <LUM_UNPACK params> name##_fn<LUM_UNPACK args> name; }           \
    namespace isa_avx2 { template <LUM_UNPACK params> name##_fn<LUM_UNPACK args> name; }           \
    namespace isa_avx512 { template <LUM_UNPACK params> name##_fn<LUM_UNPACK args> name; }         \
    template <LUM_UNPACK params>                                                                   \
    inline constexpr Dispatch<name##_fn<LUM_UNPACK args>, false> name{                                    \
        {&isa_base::name<LUM_UNPACK args>, &isa_avx2::name<LUM_UNPACK args>, &isa_avx512::name<LUM_UNPACK args>}};
#endif
