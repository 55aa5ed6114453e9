// Fill, copy and in-place "greater than T becomes V" kernels, one body per
// sample type, compiled for every instruction-set level.
#include "primitives/fill.hpp"
#include "primitives/kernel.hpp"

namespace lum::prim::LUM_ISA {

namespace {

template <class T>
int set_c1(T value, T* dst, int step, Size size) {
    if (!dst) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y) {
        T* d = row_at(dst, step, y);
        for (int x = 0; x < size.width; ++x) d[x] = value;
    }
    return st_ok;
}

// The first row is built from the pattern by doubling copies; every other
// row is a copy of the first.
template <class T>
int set_c3(const T* value, T* dst, int step, Size size) {
    if (!dst || !value) return st_null;
    if (empty_region(size)) return st_size;
    const size_t n = static_cast<size_t>(size.width) * 3;
    T* first = dst;
    first[0] = value[0];
    first[1] = value[1];
    first[2] = value[2];
    size_t done = 3;
    while (done < n) {
        const size_t chunk = done < n - done ? done : n - done;
        std::memcpy(first + done, first, chunk * sizeof(T));
        done += chunk;
    }
    for (int y = 1; y < size.height; ++y) std::memcpy(row_at(dst, step, y), first, n * sizeof(T));
    return st_ok;
}

template <class T>
int copy_rows(const T* src, int src_step, T* dst, int dst_step, Size size, int channels) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    const size_t bytes = static_cast<size_t>(size.width) * static_cast<size_t>(channels) * sizeof(T);
    for (int y = 0; y < size.height; ++y) std::memmove(row_at(dst, dst_step, y), row_at(src, src_step, y), bytes);
    return st_ok;
}

template <class T>
void threshold_gt_row(T* __restrict p, int n, T threshold, T value) {
    for (int x = 0; x < n; ++x) p[x] = p[x] > threshold ? value : p[x];
}

template <class T>
int threshold_gt_c1(T* image, int step, Size size, T threshold, T value) {
    if (!image) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y) threshold_gt_row(row_at(image, step, y), size.width, threshold, value);
    return st_ok;
}

template <class T>
int threshold_gt_c3(T* image, int step, Size size, const T* threshold, const T* value) {
    if (!image || !threshold || !value) return st_null;
    if (empty_region(size)) return st_size;
    if (threshold[0] == threshold[1] && threshold[0] == threshold[2] && value[0] == value[1] && value[0] == value[2]) {
        for (int y = 0; y < size.height; ++y)
            threshold_gt_row(row_at(image, step, y), size.width * 3, threshold[0], value[0]);
        return st_ok;
    }
    const T t0 = threshold[0], t1 = threshold[1], t2 = threshold[2];
    const T v0 = value[0], v1 = value[1], v2 = value[2];
    for (int y = 0; y < size.height; ++y) {
        T* __restrict p = row_at(image, step, y);
        for (int x = 0; x < size.width; ++x) {
            p[3 * x] = p[3 * x] > t0 ? v0 : p[3 * x];
            p[3 * x + 1] = p[3 * x + 1] > t1 ? v1 : p[3 * x + 1];
            p[3 * x + 2] = p[3 * x + 2] > t2 ? v2 : p[3 * x + 2];
        }
    }
    return st_ok;
}

}  // namespace

int fill_bytes(uint8_t value, uint8_t* dst, int32_t length) {
    if (!dst) return st_null;
    if (length <= 0) return st_size;
    std::memset(dst, value, static_cast<size_t>(length));
    return st_ok;
}

int set_8u_c1(uint8_t v, uint8_t* d, int s, Size z) { return set_c1(v, d, s, z); }
int set_8u_c3(const uint8_t* v, uint8_t* d, int s, Size z) { return set_c3(v, d, s, z); }
int set_16u_c1(uint16_t v, uint16_t* d, int s, Size z) { return set_c1(v, d, s, z); }
int set_16u_c3(const uint16_t* v, uint16_t* d, int s, Size z) { return set_c3(v, d, s, z); }
int set_32f_c1(float v, float* d, int s, Size z) { return set_c1(v, d, s, z); }
int set_32f_c3(const float* v, float* d, int s, Size z) { return set_c3(v, d, s, z); }

int copy_8u_c1(const uint8_t* s, int ss, uint8_t* d, int ds, Size z) { return copy_rows(s, ss, d, ds, z, 1); }
int copy_8u_c3(const uint8_t* s, int ss, uint8_t* d, int ds, Size z) { return copy_rows(s, ss, d, ds, z, 3); }
int copy_16u_c1(const uint16_t* s, int ss, uint16_t* d, int ds, Size z) { return copy_rows(s, ss, d, ds, z, 1); }
int copy_16u_c3(const uint16_t* s, int ss, uint16_t* d, int ds, Size z) { return copy_rows(s, ss, d, ds, z, 3); }
int copy_32f_c1(const float* s, int ss, float* d, int ds, Size z) { return copy_rows(s, ss, d, ds, z, 1); }
int copy_32f_c3(const float* s, int ss, float* d, int ds, Size z) { return copy_rows(s, ss, d, ds, z, 3); }

int threshold_gt_val_8u_c1ir(uint8_t* p, int s, Size z, uint8_t t, uint8_t v) { return threshold_gt_c1(p, s, z, t, v); }
int threshold_gt_val_8u_c3ir(uint8_t* p, int s, Size z, const uint8_t* t, const uint8_t* v) {
    return threshold_gt_c3(p, s, z, t, v);
}
int threshold_gt_val_16u_c1ir(uint16_t* p, int s, Size z, uint16_t t, uint16_t v) {
    return threshold_gt_c1(p, s, z, t, v);
}
int threshold_gt_val_16u_c3ir(uint16_t* p, int s, Size z, const uint16_t* t, const uint16_t* v) {
    return threshold_gt_c3(p, s, z, t, v);
}
int threshold_gt_val_32f_c1ir(float* p, int s, Size z, float t, float v) { return threshold_gt_c1(p, s, z, t, v); }
int threshold_gt_val_32f_c3ir(float* p, int s, Size z, const float* t, const float* v) {
    return threshold_gt_c3(p, s, z, t, v);
}

}  // namespace lum::prim::LUM_ISA
