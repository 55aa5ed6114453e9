// Palette look-up kernels. 8-bit tables hold every byte value's entry (an
// expanded copy when the table is shorter), so that a whole vector of samples
// is looked up at once (simd::byte_table: word permutes on AVX-512BW, lane by
// lane elsewhere); 16-bit samples are looked up one at a time.
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

}  // namespace

template <class T>
int lut(const T* src, int src_step, T* dst, int dst_step, Size size, const T* const* tables, int channels, int bits) {
    if (!src || !dst || !tables) return st_null;
    if (empty_region(size)) return st_size;
    const int count = channels == 3 ? 3 : 1;
    for (int c = 0; c < count; ++c)
        if (!tables[c]) return st_null;
    const int last = last_index(bits, 8 * sizeof(T));
    if constexpr (sizeof(T) == 1) {
        uint8_t expanded[3][256][1];
        const uint8_t* t[3] = {tables[0], tables[count == 3 ? 1 : 0], tables[count == 3 ? 2 : 0]};
        if (last < 255)
            for (int c = 0; c < count; ++c) {
                expand<1>(tables[c], last, expanded[c]);
                t[c] = expanded[c][0];
            }
        using V = simd::vec<uint8_t>;
        if (count == 1) {
            const simd::byte_table table(t[0]);
            for (int y = 0; y < size.height; ++y)
                unary_row(row_at(src, src_step, y), row_at(dst, dst_step, y), size.width, table);
        } else {
            const simd::byte_tables3 table(t[0], t[1], t[2]);
            constexpr int L = simd::lanes<uint8_t>;
            for (int y = 0; y < size.height; ++y)
                channel_row<uint8_t>(row_at(src, src_step, y), row_at(dst, dst_step, y), size.width,
                                     [&table](V v, int j) { return table(v, j * L % 3); });
        }
    } else {
        const unsigned top = unsigned(last);
        auto entry = [top](const T* s, const T* table) {
            const unsigned i = load_one(s);
            return load_one(table + (i < top ? i : top));
        };
        for (int y = 0; y < size.height; ++y) {
            const T* s = row_at(src, src_step, y);
            T* d = row_at(dst, dst_step, y);
            if (count == 1) {
                for (int x = 0; x < size.width; ++x) store_one(d + x, entry(s + x, tables[0]));
                continue;
            }
            // Three channels: whole pixels, then the samples of a last partial one.
            int x = 0;
            for (; x + 3 <= size.width; x += 3)
                for (int c = 0; c < 3; ++c) store_one(d + x + c, entry(s + x + c, tables[c]));
            for (int c = 0; x < size.width; ++x, ++c) store_one(d + x, entry(s + x, tables[c]));
        }
    }
    return st_ok;
}

LUM_INSTANTIATE(lut, uint8_t)
LUM_INSTANTIATE(lut, uint16_t)

int lut_8u_c1c3(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size, const uint8_t* table,
                int bits) {
    if (!src || !dst || !table) return st_null;
    if (empty_region(size)) return st_size;
    uint8_t t[256][3];
    expand<3>(table, last_index(bits, 8), t);
    for (int y = 0; y < size.height; ++y) {
        const uint8_t* s = row_at(src, src_step, y);
        uint8_t* d = row_at(dst, dst_step, y);
        for (int x = 0; x < size.width; ++x) std::memcpy(d + 3 * x, t[s[x]], 3);
    }
    return st_ok;
}

}  // namespace lum::prim::LUM_ISA
