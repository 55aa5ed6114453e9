// Format conversion kernels: whole-row loops over samples, a three-channel
// region being the one-channel loop over three times the width.
#include "primitives/convert.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

namespace {

template <class S, class D>
int widen(const S* src, int src_step, D* dst, int dst_step, Size size, int channels) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    const int n = size.width * channels;
    for (int y = 0; y < size.height; ++y) {
        const S* __restrict s = row_at(src, src_step, y);
        D* __restrict d = row_at(dst, dst_step, y);
        for (int x = 0; x < n; ++x) d[x] = static_cast<D>(s[x]);
    }
    return st_ok;
}

int narrow_16u8u(const uint16_t* src, int src_step, uint8_t* dst, int dst_step, Size size, int channels) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    const int n = size.width * channels;
    for (int y = 0; y < size.height; ++y) {
        const uint16_t* __restrict s = row_at(src, src_step, y);
        uint8_t* __restrict d = row_at(dst, dst_step, y);
        for (int x = 0; x < n; ++x) d[x] = static_cast<uint8_t>(s[x] > 255 ? 255 : s[x]);
    }
    return st_ok;
}

// Adding and removing 1.5 × 2^23 leaves a float in 0..2^22 rounded to an
// integer by the current (half-to-even) mode, in a form every level vectorizes.

}  // namespace

int convert_8u16u_c1r(const uint8_t* s, int ss, uint16_t* d, int ds, Size z) { return widen(s, ss, d, ds, z, 1); }
int convert_8u16u_c3r(const uint8_t* s, int ss, uint16_t* d, int ds, Size z) { return widen(s, ss, d, ds, z, 3); }
int convert_16u8u_c1r(const uint16_t* s, int ss, uint8_t* d, int ds, Size z) { return narrow_16u8u(s, ss, d, ds, z, 1); }
int convert_16u8u_c3r(const uint16_t* s, int ss, uint8_t* d, int ds, Size z) { return narrow_16u8u(s, ss, d, ds, z, 3); }
int convert_16u32f_c1r(const uint16_t* s, int ss, float* d, int ds, Size z) { return widen(s, ss, d, ds, z, 1); }
int convert_16u32f_c3r(const uint16_t* s, int ss, float* d, int ds, Size z) { return widen(s, ss, d, ds, z, 3); }

int convert_32f8u_c1r(const float* src, int src_step, uint8_t* dst, int dst_step, Size size, int rounding) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    if (rounding != round_zero && rounding != round_nearest) return st_bad_arg;
    const float magic = rounding == round_nearest ? kRoundMagic : 0.0f;
    for (int y = 0; y < size.height; ++y) {
        const float* __restrict s = row_at(src, src_step, y);
        uint8_t* __restrict d = row_at(dst, dst_step, y);
        for (int x = 0; x < size.width; ++x) {
            float v = s[x] > 0.0f ? s[x] : 0.0f;  // NaN goes to 0 as well
            v = v < 255.0f ? v : 255.0f;
            v = (v + magic) - magic;
            d[x] = static_cast<uint8_t>(static_cast<int>(v));
        }
    }
    return st_ok;
}

}  // namespace lum::prim::LUM_ISA
