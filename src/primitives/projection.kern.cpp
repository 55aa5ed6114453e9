// Projection kernels: row and column reductions and the float accumulator of
// a pixel-wise mean, one body per sample type.
#include <cmath>

#include "primitives/kernel.hpp"
#include "primitives/projection.hpp"

namespace lum::prim::LUM_ISA {

namespace {

template <class T>
struct limits;
template <>
struct limits<uint8_t> {
    static constexpr float max = 255.0f;
};
template <>
struct limits<uint16_t> {
    static constexpr float max = 65535.0f;
};

// Nearest sample value, halves to even, saturated; floats pass as they are.
template <class T>
inline T to_sample(float v) {
    if constexpr (std::is_floating_point_v<T>) {
        return v;
    } else {
        float r = std::nearbyint(v);
        r = r > 0.0f ? r : 0.0f;
        r = r < limits<T>::max ? r : limits<T>::max;
        return static_cast<T>(static_cast<int32_t>(r));
    }
}

template <class T>
inline T to_sample(double v) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(v);
    } else {
        double r = std::nearbyint(v);
        r = r > 0.0 ? r : 0.0;
        r = r < limits<T>::max ? r : limits<T>::max;
        return static_cast<T>(static_cast<int32_t>(r));
    }
}

template <class T, bool Max>
int row_extreme(const T* src, int step, T* dst, int dst_step, Size size) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y) {
        const T* __restrict s = row_at(src, step, y);
        T best = s[0];
        if constexpr (Max)
            for (int x = 1; x < size.width; ++x) best = best < s[x] ? s[x] : best;
        else
            for (int x = 1; x < size.width; ++x) best = s[x] < best ? s[x] : best;
        *row_at(dst, dst_step, y) = best;
    }
    return st_ok;
}

template <class T, bool Max>
int column_extreme(const T* src, int step, Size size, T* row) {
    if (!src || !row) return st_null;
    if (empty_region(size)) return st_size;
    T* __restrict d = row;
    for (int y = 0; y < size.height; ++y) {
        const T* __restrict s = row_at(src, step, y);
        if constexpr (Max)
            for (int x = 0; x < size.width; ++x) d[x] = d[x] < s[x] ? s[x] : d[x];
        else
            for (int x = 0; x < size.width; ++x) d[x] = s[x] < d[x] ? s[x] : d[x];
    }
    return st_ok;
}

// Exact row total: 32-bit partial sums over chunks that cannot overflow.
template <class T>
double row_total(const T* __restrict s, int n) {
    if constexpr (std::is_floating_point_v<T>) {
        double lane[16] = {};
        int x = 0;
        for (; x + 16 <= n; x += 16)
            for (int k = 0; k < 16; ++k) lane[k] += static_cast<double>(s[x + k]);
        for (int k = 0; x < n; ++x, ++k) lane[k] += static_cast<double>(s[x]);
        double t = 0;
        for (int k = 0; k < 16; ++k) t += lane[k];
        return t;
    } else {
        uint64_t total = 0;
        for (int x0 = 0; x0 < n; x0 += 65536) {
            const int end = n - x0 < 65536 ? n : x0 + 65536;
            uint32_t acc = 0;
            for (int x = x0; x < end; ++x) acc += s[x];
            total += acc;
        }
        return static_cast<double>(total);
    }
}

template <class T>
int row_mean(const T* src, int step, T* dst, int dst_step, Size size) {
    if (!src || !dst) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y)
        *row_at(dst, dst_step, y) = to_sample<T>(row_total(row_at(src, step, y), size.width) / size.width);
    return st_ok;
}

template <class T>
int column_mean(const T* src, int step, Size size, T* row, double* work) {
    if (!src || !row || !work) return st_null;
    if (empty_region(size)) return st_size;
    double* __restrict w = work;
    for (int x = 0; x < size.width; ++x) w[x] = 0.0;
    for (int y = 0; y < size.height; ++y) {
        const T* __restrict s = row_at(src, step, y);
        for (int x = 0; x < size.width; ++x) w[x] += static_cast<double>(s[x]);
    }
    const double n = size.height;
    T* __restrict d = row;
    for (int x = 0; x < size.width; ++x) d[x] = to_sample<T>(w[x] / n);
    return st_ok;
}

template <class T>
int accumulate(const T* src, int step, float* acc, int acc_step, Size size, int replace) {
    if (!src || !acc) return st_null;
    if (empty_region(size)) return st_size;
    for (int y = 0; y < size.height; ++y) {
        const T* __restrict s = row_at(src, step, y);
        float* __restrict a = row_at(acc, acc_step, y);
        if (replace)
            for (int x = 0; x < size.width; ++x) a[x] = static_cast<float>(s[x]);
        else
            for (int x = 0; x < size.width; ++x) a[x] += static_cast<float>(s[x]);
    }
    return st_ok;
}

template <class T>
int accumulator_mean(const float* acc, int acc_step, T* dst, int dst_step, Size size, uint32_t count) {
    if (!acc || !dst) return st_null;
    if (empty_region(size)) return st_size;
    if (count == 0) return st_bad_arg;
    const float n = static_cast<float>(count);
    for (int y = 0; y < size.height; ++y) {
        const float* __restrict a = row_at(acc, acc_step, y);
        T* __restrict d = row_at(dst, dst_step, y);
        for (int x = 0; x < size.width; ++x) d[x] = to_sample<T>(a[x] / n);
    }
    return st_ok;
}

}  // namespace

int row_max_8u_c1(const uint8_t* s, int st, uint8_t* d, int ds, Size z) { return row_extreme<uint8_t, true>(s, st, d, ds, z); }
int row_max_16u_c1(const uint16_t* s, int st, uint16_t* d, int ds, Size z) {
    return row_extreme<uint16_t, true>(s, st, d, ds, z);
}
int row_min_8u_c1(const uint8_t* s, int st, uint8_t* d, int ds, Size z) { return row_extreme<uint8_t, false>(s, st, d, ds, z); }
int row_min_16u_c1(const uint16_t* s, int st, uint16_t* d, int ds, Size z) {
    return row_extreme<uint16_t, false>(s, st, d, ds, z);
}

int column_max_8u_c1ir(const uint8_t* s, int st, Size z, uint8_t* r) { return column_extreme<uint8_t, true>(s, st, z, r); }
int column_max_16u_c1ir(const uint16_t* s, int st, Size z, uint16_t* r) {
    return column_extreme<uint16_t, true>(s, st, z, r);
}
int column_min_8u_c1ir(const uint8_t* s, int st, Size z, uint8_t* r) { return column_extreme<uint8_t, false>(s, st, z, r); }
int column_min_16u_c1ir(const uint16_t* s, int st, Size z, uint16_t* r) {
    return column_extreme<uint16_t, false>(s, st, z, r);
}

int row_mean_8u_c1(const uint8_t* s, int st, uint8_t* d, int ds, Size z) { return row_mean(s, st, d, ds, z); }
int row_mean_16u_c1(const uint16_t* s, int st, uint16_t* d, int ds, Size z) { return row_mean(s, st, d, ds, z); }
int row_mean_32f_c1(const float* s, int st, float* d, int ds, Size z) { return row_mean(s, st, d, ds, z); }

int column_mean_8u_c1(const uint8_t* s, int st, Size z, uint8_t* r, double* w) { return column_mean(s, st, z, r, w); }
int column_mean_16u_c1(const uint16_t* s, int st, Size z, uint16_t* r, double* w) {
    return column_mean(s, st, z, r, w);
}
int column_mean_32f_c1(const float* s, int st, Size z, float* r, double* w) { return column_mean(s, st, z, r, w); }

int accumulate_8u_c1(const uint8_t* s, int st, float* a, int as, Size z, int r) { return accumulate(s, st, a, as, z, r); }
int accumulate_16u_c1(const uint16_t* s, int st, float* a, int as, Size z, int r) {
    return accumulate(s, st, a, as, z, r);
}
int accumulate_32f_c1(const float* s, int st, float* a, int as, Size z, int r) { return accumulate(s, st, a, as, z, r); }

int accumulator_mean_8u_c1(const float* a, int as, uint8_t* d, int ds, Size z, uint32_t n) {
    return accumulator_mean(a, as, d, ds, z, n);
}
int accumulator_mean_16u_c1(const float* a, int as, uint16_t* d, int ds, Size z, uint32_t n) {
    return accumulator_mean(a, as, d, ds, z, n);
}
int accumulator_mean_32f_c1(const float* a, int as, float* d, int ds, Size z, uint32_t n) {
    return accumulator_mean(a, as, d, ds, z, n);
}

}  // namespace lum::prim::LUM_ISA
