// Shift kernels. Counts above 31 behave as 31, which already clears every
// bit of an 8- or 16-bit sample, so the loops need no special case.
#include "primitives/kernel.hpp"
#include "primitives/shift.hpp"

namespace lum::prim::LUM_ISA {

namespace {

template <class T, bool Left>
int shift(const T* src, int src_step, T* dst, int dst_step, Size z, uint32_t count) {
    if (!src || !dst) return st_null;
    if (empty_region(z)) return st_size;
    const unsigned c = count > 31 ? 31u : count;
    for (int y = 0; y < z.height; ++y) {
        const T* s = row_at(src, src_step, y);
        T* d = row_at(dst, dst_step, y);
        if (s == d) {
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
