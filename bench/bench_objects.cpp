// Blob analysis of a binary 4K frame: lum_measure_objects (areas, centroids,
// boxes, holes and the moment ellipse) against OpenCV's connected components
// with statistics, 8-connected, 32-bit labels, on discs and on a thresholded
// photograph, with and without lum_lib's label image (OpenCV always writes one).
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench.hpp"

#ifdef LUM_HAVE_PNG
#include "png_io.h"
#endif

namespace lum::bench {
namespace {

// A binary frame (0 / 255) of `blobs` discs and ellipses that may touch or
// overlap, some of them rings, on a cleared background.
std::shared_ptr<Frame> disc_frame(int blobs, int min_r, int max_r, uint32_t seed) {
    auto f = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_8u, lum_gray);
    lum_clear(f->handle());
    const lum_info i = f->info();
    auto* p = static_cast<uint8_t*>(i.frame_buf);
    std::mt19937 rng(seed);
    for (int k = 0; k < blobs; ++k) {
        const int cx = int(rng() % kWidth), cy = int(rng() % kHeight);
        const int rx = min_r + int(rng() % uint32_t(max_r - min_r + 1));
        const int ry = k % 3 == 0 ? min_r + int(rng() % uint32_t(max_r - min_r + 1)) : rx;
        const bool ring = k % 5 == 0;
        for (int y = cy - ry; y <= cy + ry; ++y) {
            if (y < 0 || y >= kHeight) continue;
            for (int x = cx - rx; x <= cx + rx; ++x) {
                if (x < 0 || x >= kWidth) continue;
                const double u = double(x - cx) / rx, v = double(y - cy) / ry, d = u * u + v * v;
                if (d <= 1.0 && (!ring || d >= 0.4)) p[size_t(y) * i.step_bytes + x] = 255;
            }
        }
    }
    return f;
}

// A photograph from Debian's python3-skimage, thresholded at its Otsu level
// and tiled over the frame; null (and why in `note`) when it cannot be read.
std::shared_ptr<Frame> photo_frame(const std::string& name, std::string& note) {
#ifdef LUM_HAVE_PNG
    const std::string path = "/usr/lib/python3/dist-packages/skimage/data/" + name;
    char error[256] = "";
    const int32_t h = read_png_file(path.c_str(), uint64_t{1} << 26, error, sizeof error);
    if (h < 0) {
        note = path + ": " + error + " (install python3-skimage); skipped";
        return nullptr;
    }
    lum_info src{};
    lum_get_info(h, &src);
    int32_t level = 0;
    if (src.pix_type != lum_fmt_8u || src.channels != lum_gray || lum_otsu_get_threshold(h, &level) != 0) {
        note = path + ": not an 8-bit grey picture; skipped";
        lum_destroy_image(h);
        return nullptr;
    }
    auto f = std::make_shared<Frame>(kWidth, kHeight, lum_fmt_8u, lum_gray);
    const lum_info dst = f->info();
    const auto* in = static_cast<const uint8_t*>(src.frame_buf);
    auto* out = static_cast<uint8_t*>(dst.frame_buf);
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            out[size_t(y) * dst.step_bytes + x] =
                in[size_t(y % src.height) * src.step_bytes + x % src.width] > level ? 255 : 0;
    note = name + " > " + std::to_string(level) + " tiled";
    lum_destroy_image(h);
    return f;
#else
    note = name + ": built without libpng; skipped";
    return nullptr;
#endif
}

// The host keeps its record array from frame to frame, sized by the first one.
struct Records {
    std::vector<lum_object> objects;
    uint32_t count = 0;
};

uint32_t measure_into(const Frame& f, int32_t labels, Records& r) {
    lum_measure_objects(f.handle(), 0, labels, r.objects.data(), uint32_t(r.objects.size()), &r.count);
    if (r.count > r.objects.size()) {
        r.objects.resize(r.count);
        lum_measure_objects(f.handle(), 0, labels, r.objects.data(), r.count, &r.count);
    }
    return r.count;
}

Timed objects_case(std::shared_ptr<Frame> f, bool with_labels, std::string note) {
    if (!f) return Timed{{}, {}, note};
    auto labels = with_labels ? std::make_shared<Frame>(kWidth, kHeight, lum_fmt_16u, lum_gray) : nullptr;
    const int32_t lh = labels ? labels->handle() : -1;
    auto records = std::make_shared<Records>();
    Timed t{[f, labels, lh, records] { measure_into(*f, lh, *records); }, {}, ""};
    uint64_t holes = 0;
    const uint32_t n = measure_into(*f, lh, *records);
    for (uint32_t k = 0; k < n; ++k) holes += records->objects[k].holes;
    t.note = std::to_string(n) + " objects, " + std::to_string(holes) + " holes" + (note.empty() ? "" : ", " + note);
#ifdef LUM_HAVE_OPENCV
    struct Outputs {
        cv::Mat labels, stats, centroids;
    };
    auto out = std::make_shared<Outputs>();
    t.reference = [f, out] {
        cv::connectedComponentsWithStats(f->mat(), out->labels, out->stats, out->centroids, 8, CV_32S);
    };
#endif
    return t;
}

const Case discs_plain("measure_objects 8u, 2000 discs",
                       [] { return objects_case(disc_frame(2000, 5, 40, 11), false, ""); });
const Case discs_labels("measure_objects 8u, 2000 discs + labels",
                        [] { return objects_case(disc_frame(2000, 5, 40, 11), true, ""); });
const Case camera_plain("measure_objects 8u, camera", [] {
    std::string note;
    auto f = photo_frame("camera.png", note);
    return objects_case(f, false, note);
});
const Case camera_labels("measure_objects 8u, camera + labels", [] {
    std::string note;
    auto f = photo_frame("camera.png", note);
    return objects_case(f, true, note);
});

}  // namespace
}  // namespace lum::bench
