// Choice of the processor variant, once per process on the first primitive
// call. Concurrent first calls detect the same processor and store the same value.
#include "primitives/primitive.hpp"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace lum::prim {

std::atomic<int> g_dispatch_index{-1};

namespace {
#if defined(__x86_64__) || defined(__i386__)
uint64_t read_xcr0() {
    uint32_t lo, hi;
    __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (static_cast<uint64_t>(hi) << 32) | lo;
}
#endif
}  // namespace

int detect_dispatch_index() {
#if defined(__x86_64__) || defined(__i386__)
    unsigned a, b, c, d;
    if (!__get_cpuid(1, &a, &b, &c, &d)) return 0;
    const unsigned ecx1 = c;
    const bool sse3 = ecx1 & (1u << 0), ssse3 = ecx1 & (1u << 9), sse41 = ecx1 & (1u << 19);
    const bool sse42 = ecx1 & (1u << 20), movbe = ecx1 & (1u << 22);
    const bool osxsave = ecx1 & (1u << 27), avx = ecx1 & (1u << 28);
    (void)sse3;
    uint64_t xcr0 = osxsave ? read_xcr0() : 0;
    const bool os_ymm = (xcr0 & 0x6) == 0x6;
    const bool os_zmm = (xcr0 & 0xE6) == 0xE6;
    unsigned ebx7 = 0;
    if (__get_cpuid_max(0, nullptr) >= 7) {
        __cpuid_count(7, 0, a, b, c, d);
        ebx7 = b;
    }
    const bool avx2 = ebx7 & (1u << 5), f = ebx7 & (1u << 16), dq = ebx7 & (1u << 17);
    const bool pf = ebx7 & (1u << 26), er = ebx7 & (1u << 27), cd = ebx7 & (1u << 28);
    const bool bw = ebx7 & (1u << 30), vl = ebx7 & (1u << 31);
    if (avx && os_zmm && f && cd && bw && dq && vl) return 5;
    if ((avx && os_zmm && f && cd && er && pf) || (avx && os_ymm && avx2)) return 4;
    if (avx && os_ymm) return 3;
    if (sse42) return 2;
    if (sse41 || movbe || ssse3) return 1;
    return 0;
#else
    return 0;
#endif
}

int dispatch_index() {
    int index = g_dispatch_index.load(std::memory_order_relaxed);
    if (index >= 0) return index;
    index = detect_dispatch_index();
    g_dispatch_index.store(index, std::memory_order_relaxed);
    return index;
}

void force_dispatch_index(int index) { g_dispatch_index.store(index, std::memory_order_relaxed); }

}  // namespace lum::prim
