// Shift kernels. Counts above 31 behave as 31, which already clears every
// bit of an 8- or 16-bit sample, so the loops need no special case.
#include "primitives/kernel.hpp"
#include "primitives/shift.hpp"

namespace lum::prim::LUM_ISA {

namespace {

// Bytes have no vector shift of their own: eight at a time are shifted as
// one 64-bit word, the bits that crossed into a neighbouring byte masked off.
template <bool Left>
void shift_bytes(const uint8_t* s, uint8_t* d, int n, unsigned c) {
    if (c >= 8) {
        for (int x = 0; x < n; ++x) d[x] = 0;
        return;
    }
    const uint64_t keep = (Left ? uint64_t(0xFFu << c) & 0xFFu : uint64_t(0xFFu >> c)) * 0x0101010101010101ull;
    int x = 0;
    if (s == d) {  // in place: one pointer, so no overlap test stands in the way
        for (; x + 8 <= n; x += 8) {
            uint64_t w;
            std::memcpy(&w, d + x, 8);
            w = (Left ? w << c : w >> c) & keep;
            std::memcpy(d + x, &w, 8);
        }
    } else {
        const uint8_t* __restrict from = s;
        uint8_t* __restrict to = d;
        for (; x + 8 <= n; x += 8) {
            uint64_t w;
            std::memcpy(&w, from + x, 8);
            w = (Left ? w << c : w >> c) & keep;
            std::memcpy(to + x, &w, 8);
        }
    }
    for (; x < n; ++x) d[x] = static_cast<uint8_t>(Left ? unsigned(s[x]) << c : unsigned(s[x]) >> c);
}

template <class T, bool Left>
int shift(const T* src, int src_step, T* dst, int dst_step, Size z, uint32_t count) {
    if (!src || !dst) return st_null;
    if (empty_region(z)) return st_size;
    const unsigned c = count > 31 ? 31u : count;
    for (int y = 0; y < z.height; ++y) {
        const T* s = row_at(src, src_step, y);
        T* d = row_at(dst, dst_step, y);
        if constexpr (sizeof(T) == 1) {
            shift_bytes<Left>(s, d, z.width, c);
        } else if (s == d) {
            for (int x = 0; x < z.width; ++x) d[x] = static_cast<T>(Left ? unsigned(d[x]) << c : unsigned(d[x]) >> c);
        } else {
            const T* __restrict a = s;
            T* __restrict o = d;
            for (int x = 0; x < z.width; ++x) o[x] = static_cast<T>(Left ? unsigned(a[x]) << c : unsigned(a[x]) >> c);
        }
    }
    return st_ok;
}

}  // namespace

int lshift_8u_c1ir(uint32_t c, uint8_t* p, int step, Size z) { return shift<uint8_t, true>(p, step, p, step, z, c); }
int rshift_8u_c1ir(uint32_t c, uint8_t* p, int step, Size z) { return shift<uint8_t, false>(p, step, p, step, z, c); }
int lshift_16u_c1ir(uint32_t c, uint16_t* p, int step, Size z) { return shift<uint16_t, true>(p, step, p, step, z, c); }
int rshift_16u_c1ir(uint32_t c, uint16_t* p, int step, Size z) {
    return shift<uint16_t, false>(p, step, p, step, z, c);
}
int lshift_8u_c1r(const uint8_t* s, int ss, uint8_t* d, int ds, Size z, uint32_t c) {
    return shift<uint8_t, true>(s, ss, d, ds, z, c);
}
int rshift_8u_c1r(const uint8_t* s, int ss, uint8_t* d, int ds, Size z, uint32_t c) {
    return shift<uint8_t, false>(s, ss, d, ds, z, c);
}
int lshift_16u_c1r(const uint16_t* s, int ss, uint16_t* d, int ds, Size z, uint32_t c) {
    return shift<uint16_t, true>(s, ss, d, ds, z, c);
}
int rshift_16u_c1r(const uint16_t* s, int ss, uint16_t* d, int ds, Size z, uint32_t c) {
    return shift<uint16_t, false>(s, ss, d, ds, z, c);
}

}  // namespace lum::prim::LUM_ISA
