// Test helpers: images by handle that clean up after themselves, random
// content, running a body under every processor variant, and capturing the
// failure message.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "lum_lib.h"

namespace lum::test {

// An image handle destroyed at scope exit.
class Image {
public:
    Image() : handle_(lum_create_image()) {}
    Image(int w, int h, lum_data_format f, lum_channels c, int bits = -1) : Image() {
        if (bits < 0) bits = f == lum_fmt_8u ? 8 : f == lum_fmt_16u ? 16 : 0;
        EXPECT_EQ(lum_init_image(handle_, w, h, f, c, bits), 0);
    }
    ~Image() { lum_destroy_image(handle_); }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    int32_t h() const { return handle_; }
    operator int32_t() const { return handle_; }
    lum_info info() const {
        lum_info i{};
        lum_get_info(handle_, &i);
        return i;
    }
    uint8_t* row(int y) const {
        const lum_info i = info();
        return static_cast<uint8_t*>(i.frame_buf) + static_cast<size_t>(i.step_bytes) * y;
    }
    template <class T>
    T& at(int x, int y, int c = 0) const {
        const lum_info i = info();
        return reinterpret_cast<T*>(row(y))[x * i.channels + c];
    }
    // The whole buffer, padding included (step × height bytes).
    std::vector<uint8_t> bytes() const {
        const lum_info i = info();
        const auto* p = static_cast<const uint8_t*>(i.frame_buf);
        return std::vector<uint8_t>(p, p + static_cast<size_t>(i.step_bytes) * i.height);
    }
    // Random samples in every byte of the buffer (floats kept finite, integers
    // kept within the valid bits when `within_bits`).
    void randomize(uint32_t seed, bool within_bits = true) const;

private:
    int32_t handle_;
};

// Runs body once under every processor variant this machine can execute,
// restoring the detected variant afterwards.
void for_each_variant(const std::function<void(int index)>& body);

// Runs fn and returns what it printed to standard output.
std::string captured_stdout(const std::function<void()>& fn);

}  // namespace lum::test
