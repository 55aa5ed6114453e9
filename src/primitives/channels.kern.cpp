// Channel move kernels: grey into one channel of three, split into planes,
// merge from planes and in-place channel reordering.
#include "primitives/channels.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

namespace {

template <class T>
int split(const T* src, int src_step, T* const* dst, int dst_step, Size size) {
    if (!src || !dst || !dst[0] || !dst[1] || !dst[2]) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y) {
        const T* __restrict s = row_at(src, src_step, y);
        T* __restrict d0 = row_at(dst[0], dst_step, y);
        T* __restrict d1 = row_at(dst[1], dst_step, y);
        T* __restrict d2 = row_at(dst[2], dst_step, y);
        for (int x = 0; x < size.width; ++x) {
            d0[x] = s[3 * x];
            d1[x] = s[3 * x + 1];
            d2[x] = s[3 * x + 2];
        }
    }
    return st_ok;
}

template <class T>
int merge(const T* const* src, int src_step, T* dst, int dst_step, Size size) {
    if (!src || !src[0] || !src[1] || !src[2] || !dst) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y) {
        const T* __restrict s0 = row_at(src[0], src_step, y);
        const T* __restrict s1 = row_at(src[1], src_step, y);
        const T* __restrict s2 = row_at(src[2], src_step, y);
        T* __restrict d = row_at(dst, dst_step, y);
        for (int x = 0; x < size.width; ++x) {
            d[3 * x] = s0[x];
            d[3 * x + 1] = s1[x];
            d[3 * x + 2] = s2[x];
        }
    }
    return st_ok;
}

}  // namespace

int copy_8u_c1c3r(const uint8_t* src, int src_step, uint8_t* dst, int dst_step, Size size) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y) {
        const uint8_t* __restrict s = row_at(src, src_step, y);
        uint8_t* __restrict d = row_at(dst, dst_step, y);
        for (int x = 0; x < size.width; ++x) d[3 * x] = s[x];
    }
    return st_ok;
}

int copy_8u_c3p3r(const uint8_t* s, int ss, uint8_t* const* d, int ds, Size z) { return split(s, ss, d, ds, z); }
int copy_16u_c3p3r(const uint16_t* s, int ss, uint16_t* const* d, int ds, Size z) { return split(s, ss, d, ds, z); }
int copy_8u_p3c3r(const uint8_t* const* s, int ss, uint8_t* d, int ds, Size z) { return merge(s, ss, d, ds, z); }
int copy_16u_p3c3r(const uint16_t* const* s, int ss, uint16_t* d, int ds, Size z) { return merge(s, ss, d, ds, z); }

// Each pixel is read whole before it is written, so any order (repeats included) works in place.
int swap_channels_8u_c3ir(uint8_t* image, int step, Size size, const int32_t* order) {
    if (!image || !order) return st_null;
    if (empty_region(size)) return st_size;
    const int32_t a = order[0], b = order[1], c = order[2];
    if (static_cast<uint32_t>(a) > 2u || static_cast<uint32_t>(b) > 2u || static_cast<uint32_t>(c) > 2u)
        return st_bad_arg;
    for (int y = 0; y < size.height; ++y) {
        uint8_t* __restrict p = row_at(image, step, y);
        if (a == 2 && b == 1 && c == 0) {
            for (int x = 0; x < size.width; ++x) {
                const uint8_t t = p[3 * x];
                p[3 * x] = p[3 * x + 2];
                p[3 * x + 2] = t;
            }
        } else {
            for (int x = 0; x < size.width; ++x) {
                const uint8_t v0 = p[3 * x + a], v1 = p[3 * x + b], v2 = p[3 * x + c];
                p[3 * x] = v0;
                p[3 * x + 1] = v1;
                p[3 * x + 2] = v2;
            }
        }
    }
    return st_ok;
}

}  // namespace lum::prim::LUM_ISA
