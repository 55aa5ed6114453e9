#include "support/support.hpp"

#include "primitives/primitive.hpp"

namespace lum::test {

void Image::randomize(uint32_t seed, bool within_bits) const {
    const lum_info i = info();
    std::mt19937 rng(seed);
    const size_t bytes = static_cast<size_t>(i.step_bytes) * i.height;
    auto* p = static_cast<uint8_t*>(i.frame_buf);
    if (i.pix_type == lum_fmt_32f) {
        std::uniform_real_distribution<float> dist(-1000.0f, 1000.0f);
        for (size_t k = 0; k + 4 <= bytes; k += 4) {
            float v = dist(rng);
            std::memcpy(p + k, &v, 4);
        }
    } else if (i.pix_type == lum_fmt_16u) {
        const uint32_t mask = within_bits && i.valid_bits < 16 ? (1u << i.valid_bits) - 1 : 0xFFFFu;
        for (size_t k = 0; k + 2 <= bytes; k += 2) {
            uint16_t v = static_cast<uint16_t>(rng() & mask);
            std::memcpy(p + k, &v, 2);
        }
    } else {
        const uint32_t mask = within_bits && i.valid_bits < 8 ? (1u << i.valid_bits) - 1 : 0xFFu;
        for (size_t k = 0; k < bytes; ++k) p[k] = static_cast<uint8_t>(rng() & mask);
    }
}

void for_each_variant(const std::function<void(int index)>& body) {
    const int detected = prim::detect_dispatch_index();
    for (int index = 0; index <= detected; ++index) {
        prim::force_dispatch_index(index);
        SCOPED_TRACE("dispatch index " + std::to_string(index));
        body(index);
    }
    prim::force_dispatch_index(detected);
}

std::string captured_stdout(const std::function<void()>& fn) {
    testing::internal::CaptureStdout();
    fn();
    return testing::internal::GetCapturedStdout();
}

}  // namespace lum::test
