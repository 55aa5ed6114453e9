// Resize set-up, compiled once: the size queries and the tables of both axes.
// Each axis maps destination index d to the source coordinate
// c = (d + 0.5) S / D - 0.5 and keeps, per d, the first tap and the weights in
// the forms the kernels blend with: exact integer numerators for linear
// (8- and 16-bit samples), floats, and doubles for Lanczos.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>

#include "primitives/resize.hpp"

namespace lum::prim {

namespace {

constexpr int64_t kLargestBlock = 0x7FFFFFC0;

int taps_for(int interpolation) {
    return interpolation == resize_nearest ? 1 : interpolation == resize_lanczos ? 6 : 2;
}

bool sizes_ok(Size src, Size dst) { return src.width > 0 && src.height > 0 && dst.width > 0 && dst.height > 0; }

// The block as the library has always sized it: a clamped index and a weight
// per tap and destination index. Sizes beyond the largest block are refused
// on this measure, whatever the tables below need.
int64_t classic_bytes(Size dst, int taps) {
    return 64 + 2 * align64(int64_t(dst.width) * taps * 4) + 2 * align64(int64_t(dst.height) * taps * 4);
}

// Bytes of one axis's tables; `at` is advanced past them and the offsets recorded.
int64_t lay_out_axis(ResizeAxis& axis, int source, int size, int interpolation, int64_t at) {
    const int taps = taps_for(interpolation);
    axis = ResizeAxis{};
    axis.source = source;
    axis.size = size;
    axis.taps = taps;
    axis.first = at;
    at += align64(int64_t(size) * 4);
    if (interpolation == resize_nearest) return at;
    axis.numerator = at;
    at += align64(int64_t(size) * 4);
    axis.weight = at;
    at += align64(int64_t(size) * taps * 4);
    if (interpolation == resize_lanczos) {
        axis.weight_wide = at;
        at += align64(int64_t(size) * taps * 8);
    }
    return at;
}

int64_t block_bytes(Size src, Size dst, int interpolation, ResizeSpec* spec) {
    ResizeSpec scratch;
    ResizeSpec& s = spec ? *spec : scratch;
    int64_t at = align64(sizeof(ResizeSpec));
    at = lay_out_axis(s.x, src.width, dst.width, interpolation, at);
    return lay_out_axis(s.y, src.height, dst.height, interpolation, at);
}

template <class T>
T* table(ResizeSpec* spec, int64_t offset) {
    return reinterpret_cast<T*>(reinterpret_cast<unsigned char*>(spec) + offset);
}

ResizeSpec* lay_out(void* block, Size src, Size dst, int interpolation) {
    auto* spec = static_cast<ResizeSpec*>(block);
    spec->magic = kResizeMagic;
    spec->interpolation = interpolation;
    spec->src = src;
    spec->dst = dst;
    block_bytes(src, dst, interpolation, spec);
    return spec;
}

inline int32_t clamp_index(int64_t i, int n) { return int32_t(i < 0 ? 0 : i >= n ? n - 1 : i); }

inline double centre(int i, int s, int d) { return (i + 0.5) * double(s) / double(d) - 0.5; }

void record_advance(ResizeAxis& axis, const int32_t* first) {
    int32_t most = 0;
    for (int i = 1; i < axis.size; ++i) most = first[i] - first[i - 1] > most ? first[i] - first[i - 1] : most;
    axis.advance = most;
}

void nearest_axis(ResizeSpec* spec, ResizeAxis& axis) {
    const int s = axis.source, d = axis.size;
    auto* first = table<int32_t>(spec, axis.first);
    for (int i = 0; i < d; ++i) first[i] = clamp_index((2 * int64_t(i) + 1) * s / (2 * int64_t(d)), s);
    record_advance(axis, first);
}

// The fraction of c is n / 2D with n = ((2i + 1) S - D) mod 2D; every n shares
// the factor g = gcd(2S, 2D, |S - D|), so the weights are p / q exactly with
// p = n / g and q = 2D / g (q = 6 for 3840 -> 2880, 2 for halving).
void linear_axis(ResizeSpec* spec, ResizeAxis& axis) {
    const int s = axis.source, d = axis.size;
    const int64_t two_d = 2 * int64_t(d);
    const int64_t g = std::gcd(std::gcd(2 * int64_t(s), two_d), s > d ? int64_t(s) - d : int64_t(d) - s);
    axis.denominator = two_d / g;
    auto* first = table<int32_t>(spec, axis.first);
    auto* numerator = table<uint32_t>(spec, axis.numerator);
    auto* weight = table<float>(spec, axis.weight);
    // (2i + 1) S - D = 2D first + n with 0 <= n < 2D, for i = 0 and then each
    // next i 2S further on: first is floor(c), and n the fraction's numerator.
    const int64_t t0 = int64_t(s) - d;
    int64_t n = ((t0 % two_d) + two_d) % two_d, at = (t0 - n) / two_d;
    const int64_t whole_step = (2 * int64_t(s)) / two_d, part_step = (2 * int64_t(s)) % two_d;
    for (int i = 0; i < d; ++i) {
        const double f = centre(i, s, d) - double(at);
        first[i] = int32_t(at);
        weight[i] = float(1.0 - f);
        weight[d + i] = float(f);
        numerator[i] = uint32_t(n / g);
        at += whole_step;
        n += part_step;
        if (n >= two_d) {
            n -= two_d;
            ++at;
        }
    }
    record_advance(axis, first);
}

double lanczos3(double t) {
    const double pi = 3.141592653589793;
    if (t == 0.0) return 1.0;
    if (t <= -3.0 || t >= 3.0) return 0.0;
    const double a = pi * t, b = pi * t / 3.0;
    return (sin(a) / a) * (sin(b) / b);
}

// Raw weights go through `scratch` (6 doubles) before normalisation to a sum of 1.
void lanczos_axis(ResizeSpec* spec, ResizeAxis& axis, double* scratch) {
    const int s = axis.source, d = axis.size;
    auto* first = table<int32_t>(spec, axis.first);
    auto* weight = table<float>(spec, axis.weight);
    auto* wide = table<double>(spec, axis.weight_wide);
    for (int i = 0; i < d; ++i) {
        const double c = centre(i, s, d);
        const int64_t x0 = int64_t(floor(c));
        double sum = 0.0;
        for (int k = 0; k < 6; ++k) {
            scratch[k] = lanczos3(c - double(x0 - 2 + k));
            sum += scratch[k];
        }
        first[i] = int32_t(x0 - 2);
        for (int k = 0; k < 6; ++k) {
            wide[k * d + i] = scratch[k] / sum;
            weight[k * d + i] = float(scratch[k] / sum);
        }
    }
    record_advance(axis, first);
}

}  // namespace

int resize_get_size(Size src, Size dst, int interpolation, int antialiasing, int* spec_bytes, int* init_bytes) {
    if (!spec_bytes || !init_bytes) return st_null;
    if (!sizes_ok(src, dst)) return st_size;
    if (antialiasing != 0) return st_bad_arg;
    const int64_t bytes = block_bytes(src, dst, interpolation, nullptr);
    if (classic_bytes(dst, taps_for(interpolation)) > kLargestBlock || bytes > kLargestBlock) return st_bad_arg;
    *spec_bytes = int(bytes);
    *init_bytes = interpolation == resize_lanczos ? 64 : 0;
    return st_ok;
}

int resize_nearest_init(Size src, Size dst, void* block) {
    if (!block) return st_null;
    if (!sizes_ok(src, dst)) return st_size;
    ResizeSpec* spec = lay_out(block, src, dst, resize_nearest);
    nearest_axis(spec, spec->x);
    nearest_axis(spec, spec->y);
    return st_ok;
}

int resize_linear_init(Size src, Size dst, void* block) {
    if (!block) return st_null;
    if (!sizes_ok(src, dst)) return st_size;
    ResizeSpec* spec = lay_out(block, src, dst, resize_linear);
    linear_axis(spec, spec->x);
    linear_axis(spec, spec->y);
    return st_ok;
}

int resize_lanczos_init(Size src, Size dst, int lobes, void* block, void* init_buffer) {
    if (!block || !init_buffer) return st_null;
    if (!sizes_ok(src, dst)) return st_size;
    if (lobes != 3) return st_bad_arg;
    ResizeSpec* spec = lay_out(block, src, dst, resize_lanczos);
    auto* scratch = static_cast<double*>(init_buffer);
    lanczos_axis(spec, spec->x, scratch);
    lanczos_axis(spec, spec->y, scratch);
    return st_ok;
}

int resize_get_buffer_size(const void* block, Size dst, int channels, int* bytes) {
    if (!block || !bytes) return st_null;
    if (dst.width <= 0 || dst.height <= 0) return st_size;
    const auto* spec = static_cast<const ResizeSpec*>(block);
    if (spec->magic != kResizeMagic || channels < 1 || channels > 4) return st_bad_arg;
    // One row of the source's width.
    const int64_t total = (int64_t(spec->src.width) * channels + 16) * 4 + 64;
    if (total > kLargestBlock) return st_bad_arg;
    *bytes = int(total);
    return st_ok;
}

}  // namespace lum::prim
