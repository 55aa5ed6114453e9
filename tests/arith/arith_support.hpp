// Helpers shared by the arithmetic tests: sample access by index within a row
// and filling an image with one value.
#pragma once

#include "support/support.hpp"

namespace lum::test {

// Sample i of row y (i counts samples, not pixels).
template <class T>
T& sample(const Image& im, int i, int y) {
    return reinterpret_cast<T*>(im.row(y))[i];
}

template <class T>
void fill(const Image& im, T value) {
    const lum_info info = im.info();
    for (int y = 0; y < info.height; ++y)
        for (int i = 0; i < info.width * int(info.channels); ++i) sample<T>(im, i, y) = value;
}

}  // namespace lum::test
