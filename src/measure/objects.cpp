// Blob analysis: the 8-connected objects of a one-channel 8u or 16u image with
// their area, centroid, bounding box, holes and moment ellipse, and on request
// a 16-bit label image. One pass over the rows' runs does all of it.
//
// Each row becomes runs of non-zero samples (the kernel). A run that touches
// no run of the row above (8-connected: columns overlapping or diagonal) opens
// a provisional label; one touching several joins their labels in a
// union-find whose roots are the smallest label of a set, so a root is the
// label opened at the object's first pixel in raster order. A run's area and
// coordinate sums (x, y, x², y², xy) go in closed form into its label's
// accumulators, which are folded into the roots at the end. Holes come from
// the Euler number: for 8-connected pixels against 4-connected background,
// an object's runs minus the touches between its runs of consecutive rows is
// one minus the number of background components it encloses (each cycle of
// touching runs closes one). Cost: a few vector operations per 64 samples plus
// constant work per run; scratch: per label and, with a label image, 12 bytes
// per run.
#include <cmath>
#include <cstring>
#include <new>
#include <numbers>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

#include "image/call_frame.hpp"
#include "primitives/objects.hpp"

namespace lum::measure {

namespace {

using i128 = __int128;
using u128 = unsigned __int128;

// Unsigned 256-bit products: the moments scaled by n² and their determinant
// need them, and their exactness is what keeps thin objects' minor axes right.
struct u256 {
    u128 hi, lo;
};

u256 product(u128 a, u128 b) {
    const u128 a0 = static_cast<uint64_t>(a), a1 = a >> 64, b0 = static_cast<uint64_t>(b), b1 = b >> 64;
    const u128 p00 = a0 * b0, p01 = a0 * b1, p10 = a1 * b0, p11 = a1 * b1;
    const u128 mid = (p00 >> 64) + static_cast<uint64_t>(p01) + static_cast<uint64_t>(p10);
    return {p11 + (p01 >> 64) + (p10 >> 64) + (mid >> 64), mid << 64 | static_cast<uint64_t>(p00)};
}
bool less(const u256& a, const u256& b) { return a.hi < b.hi || (a.hi == b.hi && a.lo < b.lo); }
u256 minus(const u256& a, const u256& b) {  // a >= b
    return {a.hi - b.hi - (a.lo < b.lo ? 1 : 0), a.lo - b.lo};
}
double to_double(const u256& a) { return static_cast<double>(a.hi) * 0x1p128 + static_cast<double>(a.lo); }

// a - b as sign and magnitude.
struct signed256 {
    bool negative;
    u256 magnitude;
    double value() const { return negative ? -to_double(magnitude) : to_double(magnitude); }
    bool zero() const { return magnitude.hi == 0 && magnitude.lo == 0; }
};
signed256 difference(const u256& a, const u256& b) {
    return less(a, b) ? signed256{true, minus(b, a)} : signed256{false, minus(a, b)};
}

// Union-find over labels numbered in order of creation; linking the larger
// root under the smaller keeps every parent at or below its child.
class forest {
public:
    uint32_t add() {
        if (parent_.size() >= UINT32_MAX - 1) throw std::bad_alloc();  // labels are 32-bit
        const auto label = static_cast<uint32_t>(parent_.size());
        parent_.push_back(label);
        return label;
    }
    uint32_t find(uint32_t a) {
        while (parent_[a] != a) {
            parent_[a] = parent_[parent_[a]];
            a = parent_[a];
        }
        return a;
    }
    // Joins the sets of a and b; returns the root of the joined set.
    uint32_t unite(uint32_t a, uint32_t b) {
        a = find(a);
        b = find(b);
        if (b < a) std::swap(a, b);
        parent_[b] = a;
        return a;
    }
    // Every label's parent becomes its root: parents come before children.
    void flatten() {
        for (size_t l = 0; l < parent_.size(); ++l) parent_[l] = parent_[parent_[l]];
    }
    uint32_t root(uint32_t a) const { return parent_[a]; }  // after flatten
    size_t size() const { return parent_.size(); }
    void reserve(size_t n) { parent_.reserve(n); }

private:
    std::vector<uint32_t> parent_;
};

// Sums of one provisional label. S is int64_t when the whole image's sums
// fit in it (every 4K frame; such an image has fewer than 2^30 pixels, so a
// 32-bit area and Euler count do too), else __int128.
template <class S>
struct blob {
    using count_t = std::conditional_t<sizeof(S) == 8, uint32_t, uint64_t>;
    count_t area;
    std::make_signed_t<count_t> euler;  // runs minus touches between runs of consecutive rows
    S sx, sy, sxx, syy, sxy;
    int32_t min_x, max_x, min_y, max_y;

    void add_run(int32_t s, int32_t e, S y, S yy, int32_t touches) {
        const S n = e - s, a = s;
        const S rx = (2 * a + n - 1) * n / 2;  // x summed over the run
        const S rxx = n * a * a + a * n * (n - 1) + (n - 1) * n * (2 * n - 1) / 6;
        area += static_cast<count_t>(e - s);
        euler += 1 - touches;
        sx += rx;
        sxx += rxx;
        sy += n * y;
        syy += n * yy;
        sxy += rx * y;
        if (s < min_x) min_x = s;
        if (e - 1 > max_x) max_x = e - 1;
        max_y = static_cast<int32_t>(y);
    }
    void fold(const blob& o) {
        area += o.area;
        euler += o.euler;
        sx += o.sx;
        sy += o.sy;
        sxx += o.sxx;
        syy += o.syy;
        sxy += o.sxy;
        if (o.min_x < min_x) min_x = o.min_x;
        if (o.max_x > max_x) max_x = o.max_x;
        if (o.min_y < min_y) min_y = o.min_y;
        if (o.max_y > max_y) max_y = o.max_y;
    }
    uint32_t holes() const {
        const auto h = 1 - static_cast<int64_t>(euler);
        return h > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(h);
    }
};

// One row's runs and their labels.
struct row_runs {
    std::vector<int32_t> start, end;
    std::vector<uint32_t> label;
    int32_t n = 0;
    explicit row_runs(int32_t width)
        : start(static_cast<size_t>(width) / 2 + 1), end(start.size()), label(start.size()) {}
};

struct request {
    const uint8_t* samples;
    int64_t step;
    int32_t width, height;
    bool wide;  // 16u
    uint32_t min_area;
    img* labels;
    lum_object* objects;
    uint32_t capacity;
    uint32_t* count;
};

// Record of one object from its exact sums.
template <class S>
lum_object record_of(const blob<S>& b, uint32_t label) {
    lum_object r{};
    r.label = label;
    r.area = b.area > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(b.area);
    r.x = b.min_x;
    r.y = b.min_y;
    r.width = b.max_x - b.min_x + 1;
    r.height = b.max_y - b.min_y + 1;
    r.holes = b.holes();
    const double n = static_cast<double>(b.area);
    r.centroid_x = static_cast<double>(static_cast<i128>(b.sx)) / n;
    r.centroid_y = static_cast<double>(static_cast<i128>(b.sy)) / n;
    // n² times the variances and the covariance, exact: n Σx² - (Σx)² and so on.
    const auto un = static_cast<u128>(b.area);
    const auto sx = static_cast<u128>(static_cast<i128>(b.sx)), sy = static_cast<u128>(static_cast<i128>(b.sy));
    const u256 xx = minus(product(un, static_cast<u128>(static_cast<i128>(b.sxx))), product(sx, sx));
    const u256 yy = minus(product(un, static_cast<u128>(static_cast<i128>(b.syy))), product(sy, sy));
    const signed256 xy = difference(product(un, static_cast<u128>(static_cast<i128>(b.sxy))), product(sx, sy));
    const signed256 spread = difference(yy, xx);
    if (spread.zero()) {
        r.orientation = !xy.zero() && !xy.negative ? std::numbers::pi / 4 : -std::numbers::pi / 4;
    } else {
        r.orientation = 0.5 * std::atan2(2.0 * xy.value(), spread.value());
    }
    const double a = to_double(xx), c = to_double(yy), cov = xy.value();
    const double large = 0.5 * (a + c) + std::hypot(0.5 * spread.value(), cov);
    double small = 0.0;
    if (large > 0.0) {
        if (xx.hi == 0 && yy.hi == 0 && xy.magnitude.hi == 0) {
            // The smaller eigenvalue as determinant / larger one: the difference
            // form loses it to cancellation on long thin objects.
            const u256 det = minus(product(xx.lo, yy.lo), product(xy.magnitude.lo, xy.magnitude.lo));
            small = to_double(det) / large;
        } else {
            // Objects of 2^33 pixels or more: moments beyond 128 bits, in doubles.
            small = std::fmax(0.5 * (a + c) - std::hypot(0.5 * spread.value(), cov), 0.0);
        }
    }
    r.major_axis = 4.0 * std::sqrt(large) / n;
    r.minor_axis = 4.0 * std::sqrt(small) / n;
    return r;
}

template <class S>
int8_t measure(const request& q) {
    const int32_t width = q.width, height = q.height;
    const auto& find_runs = q.wide ? prim::object_runs_16u : prim::object_runs_8u;
    const bool keep_runs = q.labels != nullptr;

    forest objects;
    std::vector<blob<S>> blobs;
    std::vector<prim::LabelRun> runs;
    std::vector<int32_t> runs_in_row;
    objects.reserve(1024);
    blobs.reserve(1024);
    if (keep_runs) runs_in_row.resize(static_cast<size_t>(height));
    row_runs rows[2] = {row_runs(width), row_runs(width)};

    for (int32_t y = 0; y < height; ++y) {
        row_runs& cur = rows[y & 1];
        const row_runs& prev = rows[(y & 1) ^ 1];
        const int32_t pn = y > 0 ? prev.n : 0;
        const int status = find_runs(q.samples + q.step * y, width, cur.start.data(), cur.end.data(), &cur.n);
        if (status != 0) return map_status(status);
        const int32_t n = cur.n;
        const S sy = y, syy = S(y) * y;

        // A run joins every run above it that it touches at an edge or a corner.
        int32_t j = 0;
        for (int32_t i = 0; i < n; ++i) {
            const int32_t s = cur.start[i], e = cur.end[i];
            while (j < pn && prev.end[j] < s) ++j;
            uint32_t label;
            int32_t t = j;
            if (t < pn && prev.start[t] <= e) {
                label = prev.label[t];
                for (++t; t < pn && prev.start[t] <= e; ++t)
                    if (prev.label[t] != label) label = objects.unite(label, prev.label[t]);
            } else {
                label = objects.add();
                blobs.push_back({0, 0, 0, 0, 0, 0, 0, s, s, y, y});
            }
            cur.label[i] = label;
            blobs[label].add_run(s, e, sy, syy, t - j);
            if (keep_runs) runs.push_back({s, e, label});
        }
        if (keep_runs) runs_in_row[static_cast<size_t>(y)] = n;
    }

    // Fold every label into its root; number the roots that are large enough.
    objects.flatten();
    const size_t labels = objects.size();
    for (size_t l = 0; l < labels; ++l) {
        const uint32_t r = objects.root(static_cast<uint32_t>(l));
        if (r != l) blobs[r].fold(blobs[l]);
    }
    std::vector<uint32_t> final_label(labels);
    uint32_t found = 0;
    for (size_t l = 0; l < labels; ++l) {
        const uint32_t r = objects.root(static_cast<uint32_t>(l));
        if (r == l) {
            final_label[l] = blobs[l].area >= q.min_area ? ++found : 0;
        } else {
            final_label[l] = final_label[r];
        }
    }
    if (keep_runs && found > 65535) return out_of_range;

    // Nothing below allocates: the results are written whole or not at all.
    if (keep_runs) {
        auto* out = static_cast<uint8_t*>(q.labels->frame_buf);
        const int64_t step = q.labels->step_bytes;
        const prim::LabelRun* r = runs.data();
        for (int32_t y = 0; y < height; ++y) {
            const int32_t k = runs_in_row[static_cast<size_t>(y)];
            prim::paint_label_row_16u(out + step * y, width, r, k, final_label.data());
            r += k;
        }
    }
    uint32_t written = 0;
    for (size_t l = 0; l < labels && written < q.capacity; ++l) {
        if (final_label[l] == 0 || objects.root(static_cast<uint32_t>(l)) != l) continue;
        const lum_object rec = record_of(blobs[l], final_label[l]);
        std::memcpy(q.objects + written, &rec, sizeof rec);
        ++written;
    }
    *q.count = found;
    return ok;
}

bool holds_its_rows(const img& image) {
    if (image.width > 0 && image.height > 0 && image.frame_buf == nullptr) return false;
    return whole_fits(image);
}

int8_t objects(img* image, img* labels, uint32_t min_area, lum_object* out, uint32_t capacity, uint32_t* count) {
    LUM_CHECK(labels ? require_initialised(image, labels) : require_initialised(image));
    const img& im = *image;
    if (im.pix_type != lum_fmt_8u && im.pix_type != lum_fmt_16u) return bad_format;
    if (im.channels != lum_gray) return bad_channels;
    if (labels && (labels->pix_type != lum_fmt_16u || labels->channels != lum_gray || labels->width != im.width ||
                   labels->height != im.height))
        return mismatch;
    if (!count || (!out && capacity > 0)) return bad_output;
    if (!holds_its_rows(im) || (labels && !holds_its_rows(*labels))) return beyond_image;
    if (im.width <= 0 || im.height <= 0) {
        *count = 0;
        return ok;
    }
    const request q{static_cast<const uint8_t*>(im.frame_buf),
                    static_cast<int64_t>(im.step_bytes),
                    im.width,
                    im.height,
                    im.pix_type == lum_fmt_16u,
                    min_area,
                    labels,
                    out,
                    capacity,
                    count};
    // Every sum of the image stays below pixels × (longer side)²: 64-bit sums when that is below 2^60.
    const u128 longer = static_cast<u128>(im.width > im.height ? im.width : im.height);
    const bool narrow = static_cast<u128>(im.width) * static_cast<u128>(im.height) * longer * longer < (u128{1} << 60);
    try {
        return narrow ? measure<int64_t>(q) : measure<i128>(q);
    } catch (const std::bad_alloc&) {
        return no_memory;
    } catch (const std::length_error&) {
        return no_memory;
    }
}

}  // namespace

}  // namespace lum::measure

extern "C" {

LUM_API int8_t lum_measure_objects(int32_t image, uint32_t min_area, int32_t labels, lum_object* objects,
                                   uint32_t capacity, uint32_t* count) {
    using lum::with_images;
    if (labels == -1)
        return with_images({image}, [&](img* im) {
            return lum::measure::objects(im, nullptr, min_area, objects, capacity, count);
        });
    return with_images({image, labels}, [&](img* im, img* lab) {
        return lum::measure::objects(im, lab, min_area, objects, capacity, count);
    });
}

}  // extern "C"
