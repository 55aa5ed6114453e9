// Benchmark registry: each case sets up its data, then times lum_lib's
// operation and, where OpenCV is present, OpenCV's equivalent on that data.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#ifdef LUM_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

#include "lum_lib.h"

namespace lum::bench {

constexpr int kWidth = 3840;
constexpr int kHeight = 2160;

struct Timed {
    std::function<void()> lum;        // empty when the case cannot run (missing data): only the note is printed
    std::function<void()> reference;  // empty when there is no OpenCV equivalent
    std::string note;
};

// Registers a case; `setup` builds the data and returns the two bodies. The
// data lives as long as the returned functions hold it.
struct Case {
    Case(std::string name, std::function<Timed()> setup);
};

// An image handle for benchmarks, filled with deterministic noise.
class Frame {
public:
    Frame(int w, int h, lum_data_format f, lum_channels c, int bits = -1);
    ~Frame();
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;
    int32_t handle() const { return handle_; }
    lum_info info() const;
    void* data() const { return info().frame_buf; }
    int step() const { return static_cast<int>(info().step_bytes); }
#ifdef LUM_HAVE_OPENCV
    // An OpenCV header over the same buffer and step.
    cv::Mat mat() const;
#endif

private:
    int32_t handle_;
};

}  // namespace lum::bench
