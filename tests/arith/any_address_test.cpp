// The arithmetic family on caller buffers at any address: every operation
// run on the library's own images and again on copies lent at an odd address
// with an odd step (value arrays and tables at odd addresses too) gives the
// same status and the same samples.
#include <array>
#include <cstring>
#include <tuple>

#include "arith/arith_support.hpp"

namespace {

using lum::test::fill;
using lum::test::Image;
using lum::test::sample;

// An image over a caller's buffer that starts one byte into its storage, rows
// an odd number of bytes apart, holding a copy of another image's samples.
struct Lent {
    std::vector<uint8_t> storage;
    Image image;
    explicit Lent(const Image& like) {
        lum_info info = like.info();
        const size_t row = size_t(info.width) * info.channels * (info.pix_type == lum_fmt_8u ? 1 : info.pix_type == lum_fmt_16u ? 2 : 4);
        info.step_bytes = uint32_t(row + 3);
        storage.assign(1 + size_t(info.step_bytes) * info.height, 0);
        for (int y = 0; y < info.height; ++y) std::memcpy(&storage[1 + size_t(y) * info.step_bytes], like.row(y), row);
        info.frame_buf = storage.data() + 1;
        EXPECT_EQ(lum_init_image_ex(image, &info), 0);
    }
};

// The samples of an image's rows, without the padding.
std::vector<uint8_t> rows_of(const Image& im) {
    const lum_info info = im.info();
    const size_t row = size_t(info.width) * info.channels * (info.pix_type == lum_fmt_8u ? 1 : info.pix_type == lum_fmt_16u ? 2 : 4);
    std::vector<uint8_t> out;
    for (int y = 0; y < info.height; ++y) out.insert(out.end(), im.row(y), im.row(y) + row);
    return out;
}

// Runs op(handles...) on the images and on lent copies of them.
template <size_t N, class Op>
void expect_same_when_lent(const char* what, std::array<Image*, N> images, Op op) {
    std::array<std::unique_ptr<Lent>, N> lent;
    for (size_t i = 0; i < N; ++i) lent[i] = std::make_unique<Lent>(*images[i]);
    std::array<int32_t, N> own{}, borrowed{};
    for (size_t i = 0; i < N; ++i) {
        own[i] = images[i]->h();
        borrowed[i] = lent[i]->image.h();
    }
    const int8_t want = std::apply(op, own), got = std::apply(op, borrowed);
    EXPECT_EQ(got, want) << what;
    for (size_t i = 0; i < N; ++i) EXPECT_EQ(rows_of(lent[i]->image), rows_of(*images[i])) << what << ", image " << i;
}

// A value at an odd address.
template <class T, size_t N>
struct OddValues {
    uint8_t bytes[N * sizeof(T) + 1];
    explicit OddValues(const std::array<T, N>& v) { std::memcpy(bytes + 1, v.data(), sizeof bytes - 1); }
    const T* get() const { return reinterpret_cast<const T*>(bytes + 1); }
};

TEST(AnyAddress, EveryOperationGivesTheSameSamplesOnLentBuffers) {
    Image a16(37, 5, lum_fmt_16u, lum_gray, 12), b16(37, 5, lum_fmt_16u, lum_gray, 12), d16(37, 5, lum_fmt_16u, lum_gray, 12);
    Image c16(13, 5, lum_fmt_16u, lum_color, 12), e16(13, 5, lum_fmt_16u, lum_color, 12);
    Image a8(37, 5, lum_fmt_8u, lum_gray), c8(13, 5, lum_fmt_8u, lum_color), e8(13, 5, lum_fmt_8u, lum_color);
    Image f(37, 5, lum_fmt_32f, lum_gray), g(37, 5, lum_fmt_32f, lum_gray);
    for (Image* im : {&a16, &b16, &d16, &c16, &e16, &a8, &c8, &e8, &f, &g}) im->randomize(uint32_t(im->h()));
    for (int i = 0; i < 37; ++i) sample<float>(g, i, 0) = float(i + 1);  // positive samples for the logarithm
    const OddValues<uint16_t, 1> v16({300});
    const OddValues<double, 3> gains({1.25, 0.5, 3.0});
    const OddValues<double, 3> low({10.5, 0.0, 40.0}), high({200.0, 255.0, 90.0});
    std::vector<uint8_t> table_bytes(2 * 2 * 4096 + 1);  // two 16-bit tables of 2^12 entries
    for (size_t i = 0; i < table_bytes.size(); ++i) table_bytes[i] = uint8_t(i * 7);
    const void* table = table_bytes.data() + 1;

    expect_same_when_lent<3>("add", {&a16, &b16, &d16}, [](auto x, auto y, auto z) { return lum_add(x, y, z); });
    expect_same_when_lent<2>("addI", {&a16, &b16}, [](auto x, auto y) { return lum_addI(x, y); });
    expect_same_when_lent<3>("sub", {&a16, &b16, &d16}, [](auto x, auto y, auto z) { return lum_sub(x, y, z); });
    expect_same_when_lent<3>("absDiff", {&a16, &b16, &d16}, [](auto x, auto y, auto z) { return lum_absDiff(x, y, z); });
    expect_same_when_lent<2>("xor", {&a16, &b16}, [](auto x, auto y) { return lum_xor(x, y); });
    expect_same_when_lent<1>("addCI", {&c16}, [&](auto x) { return lum_addCI(x, v16.get()); });
    expect_same_when_lent<2>("subC", {&a16, &d16}, [&](auto x, auto y) { return lum_subC(x, y, v16.get()); });
    expect_same_when_lent<1>("mulCI 16u", {&c16}, [&](auto x) { return lum_mulCI(x, gains.get()); });
    expect_same_when_lent<1>("mulCI 8u", {&c8}, [&](auto x) { return lum_mulCI(x, gains.get()); });
    expect_same_when_lent<1>("mulCI 32f", {&f}, [&](auto x) { return lum_mulCI(x, gains.get()); });
    expect_same_when_lent<2>("divI 16u", {&a16, &b16}, [](auto x, auto y) { return lum_divI(x, y); });
    expect_same_when_lent<2>("divI 32f", {&g, &f}, [](auto x, auto y) { return lum_divI(x, y); });
    expect_same_when_lent<1>("lnI", {&g}, [](auto x) { return lum_lnI(x); });
    expect_same_when_lent<2>("invert", {&c16, &e16}, [](auto x, auto y) { return lum_invert(x, y); });
    expect_same_when_lent<2>("convert 16u to 32f", {&a16, &f}, [](auto x, auto y) { return lum_convert(x, y); });
    expect_same_when_lent<2>("convert 32f to 8u", {&f, &a8}, [](auto x, auto y) { return lum_convert(x, y); });
    expect_same_when_lent<2>("convert 8u to 16u", {&a8, &b16}, [](auto x, auto y) { return lum_convert(x, y); });
    expect_same_when_lent<2>("scale 16u to 32f", {&a16, &f}, [](auto x, auto y) { return lum_scale(x, y, 0.3, -2.0); });
    expect_same_when_lent<2>("scale 32f to 16u", {&f, &b16}, [](auto x, auto y) { return lum_scale(x, y, 7.5, 100.0); });
    expect_same_when_lent<1>("scaleI 32f", {&f}, [](auto x) { return lum_scaleI(x, 1.7, 0.25); });
    expect_same_when_lent<1>("LShiftI 16u", {&a16}, [](auto x) { return lum_LShiftI(x, 3); });
    expect_same_when_lent<2>("RShift 16u to 8u", {&b16, &a8}, [](auto x, auto y) { return lum_RShift(x, y, 2); });
    expect_same_when_lent<2>("LShift 8u to 16u", {&a8, &d16}, [](auto x, auto y) { return lum_LShift(x, y, 5); });
    expect_same_when_lent<2>("lut 16u", {&c16, &e16}, [&](auto x, auto y) { return lum_lut(x, y, table); });
    expect_same_when_lent<2>("lut 8u", {&c8, &e8}, [&](auto x, auto y) { return lum_lut(x, y, table); });
    expect_same_when_lent<2>("adjust", {&c8, &e8}, [&](auto x, auto y) { return lum_adjust(x, y, low.get(), high.get()); });
}

}  // namespace
