// Palette rendering. A row goes in chunks of kChunk pixels: the chunk's
// palette entries are worked out in vector lanes (16-bit samples, in double
// precision; 8-bit samples are their own entries), each pixel's colour is
// copied as one 4-byte word into a contiguous buffer (the fourth byte is
// overwritten by the next pixel), and the buffer is added to the destination
// row with saturation a vector at a time. Per pixel: an entry, a load and a
// store for the colour, and a third of a vector's worth of additions.
#include "primitives/kernel.hpp"
#include "primitives/palette.hpp"

namespace lum::prim::LUM_ISA {

namespace {

constexpr int kChunk = 256;

// Palette entries of n 16-bit samples.
void entries(const uint16_t* s, uint8_t* index, int n, const PaletteColours& pc) {
    using D = simd::vec<double>;
    using S = simd::lanes_of<uint16_t, double>;
    constexpr int L = simd::lanes<double>;
    const D contrast = D{} + pc.contrast, brightness = D{} + pc.brightness;
    const int shift = pc.shift;
    for (int i = 0; i < n; i += L) {
        const int m = n - i < L ? n - i : L;
        const auto wide = (simd::lanes_of<int32_t, double>)simd::widen<uint32_t>(simd::load_first<S>(s + i, m));
        const D v = simd::convert<double>(wide) * contrast + brightness;
        const auto k = simd::truncate_to_int32(v) >> shift;
        const auto lo = decltype(k){}, hi = lo + 255;
        simd::store_first(index + i, simd::narrow_sat<uint8_t>(simd::min(simd::max(k, lo), hi)), m);
    }
}

}  // namespace

template <class T>
int palette_add(const T* src, int src_step, uint8_t* dst, int dst_step, Size size, const PaletteColours* colours) {
    if (!src || !dst || !colours) return st_null;
    if (empty_region(size)) return st_size;
    using V = simd::vec<uint8_t>;
    alignas(64) uint8_t index[kChunk];
    alignas(64) uint8_t add[3 * kChunk + 1];
    for (int y = 0; y < size.height; ++y) {
        const T* s = row_at(src, src_step, y);
        uint8_t* d = row_at(dst, dst_step, y);
        for (int x0 = 0; x0 < size.width; x0 += kChunk) {
            const int n = size.width - x0 < kChunk ? size.width - x0 : kChunk;
            const uint8_t* entry = index;
            if constexpr (sizeof(T) == 1) entry = s + x0;
            else entries(s + x0, index, n, *colours);
            for (int i = 0; i < n; ++i) std::memcpy(add + 3 * i, colours->colour[entry[i]], 4);
            uint8_t* out = d + 3 * x0;
            binary_row(out, add, out, 3 * n, [](V a, V b) { return simd::add_sat(a, b); });
        }
    }
    return st_ok;
}

LUM_INSTANTIATE(palette_add, uint8_t)
LUM_INSTANTIATE(palette_add, uint16_t)

}  // namespace lum::prim::LUM_ISA
