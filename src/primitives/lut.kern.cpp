// Palette look-up kernels. 8-bit tables are first expanded to 256 entries
// (clamped indexes resolved once) so that the pixel loop is a plain lookup.
#include "primitives/kernel.hpp"
#include "primitives/lut.hpp"

namespace lum::prim::LUM_ISA {

namespace {

inline int last_index(int bits, int width_bits) {
    const int b = bits < 0 ? 0 : bits > width_bits ? width_bits : bits;
    return (1 << b) - 1;
}

// table[min(i, last)] for every byte value, reading only entries 0..last.
template <int Per>
void expand(const uint8_t* table, int last, uint8_t (*out)[Per]) {
    for (int i = 0; i < 256; ++i) {
        const int k = i < last ? i : last;
        for (int c = 0; c < Per; ++c) out[i][c] = table[Per * k + c];
    }
}

int check(const void* src, const void* dst, const void* table, Size z) {
    if (!src || !dst || !table) return st_null;
    if (empty_region(z)) return st_size;
    return st_ok;
}

}  // namespace

int lut_8u_c1r(const uint8_t* src, int ss, uint8_t* dst, int ds, Size z, const uint8_t* table, int bits) {
    if (const int e = check(src, dst, table, z)) return e;
    uint8_t t[256][1];
    expand<1>(table, last_index(bits, 8), t);
    for (int y = 0; y < z.height; ++y) {
        const uint8_t* __restrict s = row_at(src, ss, y);
        uint8_t* __restrict d = row_at(dst, ds, y);
        for (int x = 0; x < z.width; ++x) d[x] = t[s[x]][0];
    }
    return st_ok;
}

int lut_8u_c1c3r(const uint8_t* src, int ss, uint8_t* dst, int ds, Size z, const uint8_t* table, int bits) {
    if (const int e = check(src, dst, table, z)) return e;
    uint8_t t[256][3];
    expand<3>(table, last_index(bits, 8), t);
    for (int y = 0; y < z.height; ++y) {
        const uint8_t* __restrict s = row_at(src, ss, y);
        uint8_t* __restrict d = row_at(dst, ds, y);
        for (int x = 0; x < z.width; ++x) {
            const uint8_t* e = t[s[x]];
            d[3 * x] = e[0];
            d[3 * x + 1] = e[1];
            d[3 * x + 2] = e[2];
        }
    }
    return st_ok;
}

int lut_8u_c3r(const uint8_t* src, int ss, uint8_t* dst, int ds, Size z, const uint8_t* const* tables, int bits) {
    if (const int e = check(src, dst, tables, z)) return e;
    if (!tables[0] || !tables[1] || !tables[2]) return st_null;
    const int last = last_index(bits, 8);
    uint8_t t0[256][1], t1[256][1], t2[256][1];
    expand<1>(tables[0], last, t0);
    expand<1>(tables[1], last, t1);
    expand<1>(tables[2], last, t2);
    for (int y = 0; y < z.height; ++y) {
        const uint8_t* __restrict s = row_at(src, ss, y);
        uint8_t* __restrict d = row_at(dst, ds, y);
        for (int x = 0; x < z.width; ++x) {
            d[3 * x] = t0[s[3 * x]][0];
            d[3 * x + 1] = t1[s[3 * x + 1]][0];
            d[3 * x + 2] = t2[s[3 * x + 2]][0];
        }
    }
    return st_ok;
}

int lut_16u_c1r(const uint16_t* src, int ss, uint16_t* dst, int ds, Size z, const uint16_t* table, int bits) {
    if (const int e = check(src, dst, table, z)) return e;
    const unsigned last = unsigned(last_index(bits, 16));
    for (int y = 0; y < z.height; ++y) {
        const uint16_t* __restrict s = row_at(src, ss, y);
        uint16_t* __restrict d = row_at(dst, ds, y);
        for (int x = 0; x < z.width; ++x) d[x] = table[s[x] < last ? s[x] : last];
    }
    return st_ok;
}

int lut_16u_c3r(const uint16_t* src, int ss, uint16_t* dst, int ds, Size z, const uint16_t* const* tables, int bits) {
    if (const int e = check(src, dst, tables, z)) return e;
    if (!tables[0] || !tables[1] || !tables[2]) return st_null;
    const unsigned last = unsigned(last_index(bits, 16));
    const uint16_t* __restrict t0 = tables[0];
    const uint16_t* __restrict t1 = tables[1];
    const uint16_t* __restrict t2 = tables[2];
    for (int y = 0; y < z.height; ++y) {
        const uint16_t* __restrict s = row_at(src, ss, y);
        uint16_t* __restrict d = row_at(dst, ds, y);
        for (int x = 0; x < z.width; ++x) {
            const unsigned a = s[3 * x], b = s[3 * x + 1], c = s[3 * x + 2];
            d[3 * x] = t0[a < last ? a : last];
            d[3 * x + 1] = t1[b < last ? b : last];
            d[3 * x + 2] = t2[c < last ? c : last];
        }
    }
    return st_ok;
}

}  // namespace lum::prim::LUM_ISA
