// Threshold, compare and masked-set kernels, one body per sample type,
// written as branch-free selects over whole rows.
#include "primitives/kernel.hpp"
#include "primitives/threshold.hpp"

namespace lum::prim::LUM_ISA {

namespace {

// No __restrict: the copying form is also called with source == destination,
// and the compiler's overlap check keeps the vector loop for distinct rows.
template <class T>
int lt_val_copy(const T* src, int src_step, T* dst, int dst_step, Size size, T threshold, T value) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y) {
        const T* s = row_at(src, src_step, y);
        T* d = row_at(dst, dst_step, y);
        for (int x = 0; x < size.width; ++x) d[x] = s[x] < threshold ? value : s[x];
    }
    return st_ok;
}

template <class T>
int lt_val_inplace(T* image, int step, Size size, T threshold, T value) {
    if (!image) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y) {
        T* __restrict p = row_at(image, step, y);
        for (int x = 0; x < size.width; ++x) p[x] = p[x] < threshold ? value : p[x];
    }
    return st_ok;
}

template <class T>
int compare_ge(const T* src, int src_step, T value, uint8_t* mask, int mask_step, Size size) {
    if (!src || !mask) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y) {
        const T* __restrict s = row_at(src, src_step, y);
        uint8_t* __restrict m = row_at(mask, mask_step, y);
        for (int x = 0; x < size.width; ++x) m[x] = s[x] >= value ? uint8_t{255} : uint8_t{0};
    }
    return st_ok;
}

template <class T>
int set_masked(T value, T* image, int step, Size size, const uint8_t* mask, int mask_step) {
    if (!image || !mask) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y) {
        T* __restrict p = row_at(image, step, y);
        const uint8_t* __restrict m = row_at(mask, mask_step, y);
        for (int x = 0; x < size.width; ++x) p[x] = m[x] ? value : p[x];
    }
    return st_ok;
}

template <class T>
int lt_gt(const T* src, int src_step, T* dst, int dst_step, Size size, T lt, T lt_value, T gt, T gt_value) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y) {
        const T* s = row_at(src, src_step, y);
        T* d = row_at(dst, dst_step, y);
        for (int x = 0; x < size.width; ++x) {
            const T t = s[x] < lt ? lt_value : s[x];
            d[x] = t > gt ? gt_value : t;
        }
    }
    return st_ok;
}

template <class T>
int split(const T* src, int src_step, T* dst, int dst_step, Size size, T threshold, T below, T at_or_above) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y) {
        const T* __restrict s = row_at(src, src_step, y);
        T* __restrict d = row_at(dst, dst_step, y);
        for (int x = 0; x < size.width; ++x) d[x] = s[x] < threshold ? below : at_or_above;
    }
    return st_ok;
}

template <class T>
int lt_then_ge(T* image, int step, Size size, T threshold, T raised, T lowered) {
    if (!image) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y) {
        T* __restrict p = row_at(image, step, y);
        for (int x = 0; x < size.width; ++x) {
            const T t = p[x] < threshold ? raised : p[x];
            p[x] = t >= threshold ? lowered : t;
        }
    }
    return st_ok;
}

}  // namespace

int threshold_lt_val_8u_c1r(const uint8_t* s, int ss, uint8_t* d, int ds, Size z, uint8_t t, uint8_t v) {
    return lt_val_copy(s, ss, d, ds, z, t, v);
}
int threshold_lt_val_16u_c1r(const uint16_t* s, int ss, uint16_t* d, int ds, Size z, uint16_t t, uint16_t v) {
    return lt_val_copy(s, ss, d, ds, z, t, v);
}
int threshold_lt_val_32f_c1r(const float* s, int ss, float* d, int ds, Size z, float t, float v) {
    return lt_val_copy(s, ss, d, ds, z, t, v);
}

int threshold_lt_val_8u_c1ir(uint8_t* p, int s, Size z, uint8_t t, uint8_t v) { return lt_val_inplace(p, s, z, t, v); }
int threshold_lt_val_16u_c1ir(uint16_t* p, int s, Size z, uint16_t t, uint16_t v) {
    return lt_val_inplace(p, s, z, t, v);
}
int threshold_lt_val_32f_c1ir(float* p, int s, Size z, float t, float v) { return lt_val_inplace(p, s, z, t, v); }

int compare_ge_c_8u_c1r(const uint8_t* s, int ss, uint8_t v, uint8_t* m, int ms, Size z) {
    return compare_ge(s, ss, v, m, ms, z);
}
int compare_ge_c_16u_c1r(const uint16_t* s, int ss, uint16_t v, uint8_t* m, int ms, Size z) {
    return compare_ge(s, ss, v, m, ms, z);
}
int compare_ge_c_32f_c1r(const float* s, int ss, float v, uint8_t* m, int ms, Size z) {
    return compare_ge(s, ss, v, m, ms, z);
}

int set_masked_8u_c1mr(uint8_t v, uint8_t* p, int s, Size z, const uint8_t* m, int ms) {
    return set_masked(v, p, s, z, m, ms);
}
int set_masked_16u_c1mr(uint16_t v, uint16_t* p, int s, Size z, const uint8_t* m, int ms) {
    return set_masked(v, p, s, z, m, ms);
}
int set_masked_32f_c1mr(float v, float* p, int s, Size z, const uint8_t* m, int ms) {
    return set_masked(v, p, s, z, m, ms);
}

int threshold_lt_gt_val_8u_c1r(const uint8_t* s, int ss, uint8_t* d, int ds, Size z, uint8_t a, uint8_t av, uint8_t b,
                               uint8_t bv) {
    return lt_gt(s, ss, d, ds, z, a, av, b, bv);
}
int threshold_lt_gt_val_16u_c1r(const uint16_t* s, int ss, uint16_t* d, int ds, Size z, uint16_t a, uint16_t av,
                                uint16_t b, uint16_t bv) {
    return lt_gt(s, ss, d, ds, z, a, av, b, bv);
}
int threshold_lt_gt_val_32f_c1r(const float* s, int ss, float* d, int ds, Size z, float a, float av, float b,
                                float bv) {
    return lt_gt(s, ss, d, ds, z, a, av, b, bv);
}
int threshold_split_8u_c1r(const uint8_t* s, int ss, uint8_t* d, int ds, Size z, uint8_t t, uint8_t lo, uint8_t hi) {
    return split(s, ss, d, ds, z, t, lo, hi);
}
int threshold_split_16u_c1r(const uint16_t* s, int ss, uint16_t* d, int ds, Size z, uint16_t t, uint16_t lo,
                            uint16_t hi) {
    return split(s, ss, d, ds, z, t, lo, hi);
}
int threshold_lt_then_ge_8u_c1ir(uint8_t* p, int s, Size z, uint8_t t, uint8_t up, uint8_t down) {
    return lt_then_ge(p, s, z, t, up, down);
}
int threshold_lt_then_ge_16u_c1ir(uint16_t* p, int s, Size z, uint16_t t, uint16_t up, uint16_t down) {
    return lt_then_ge(p, s, z, t, up, down);
}

}  // namespace lum::prim::LUM_ISA
