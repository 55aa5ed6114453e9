// Geometry on borrowed 16-bit and float buffers that start at odd addresses
// with odd steps: the result is the one the same call gives on images the
// library allocated.
#include <vector>

#include "support/support.hpp"

namespace {

using lum::test::Image;

// A caller's buffer of h rows w pixels, one byte past an aligned start, rows
// `sample + 1` bytes longer than the pixels; the samples copied from `from`.
struct Borrowed {
    std::vector<uint8_t> bytes;
    Image image;
    int step;
    Borrowed(const Image& from) {
        const lum_info i = from.info();
        const int row = int(i.width) * lum_get_data_byte(from) * int(i.channels);
        step = row + 3;
        bytes.assign(size_t(step) * i.height + 1, 0);
        for (int y = 0; y < int(i.height); ++y) std::memcpy(&bytes[1 + size_t(y) * step], from.row(y), row);
        lum_info mine = i;
        mine.step_bytes = step;
        mine.frame_buf = bytes.data() + 1;
        EXPECT_EQ(lum_init_image_ex(image, &mine), 0);
    }
    // Row y's pixels, as the owned image lays them out.
    bool same_as(const Image& owned) const {
        const lum_info i = owned.info();
        const int row = int(i.width) * lum_get_data_byte(owned) * int(i.channels);
        for (int y = 0; y < int(i.height); ++y)
            if (std::memcmp(&bytes[1 + size_t(y) * step], owned.row(y), row) != 0) return false;
        return true;
    }
};

TEST(AnyAddress, MirrorAndResizeGiveTheAlignedResult) {
    for (lum_data_format f : {lum_fmt_16u, lum_fmt_32f})
        for (lum_channels c : {lum_gray, lum_color}) {
            Image a(37, 23, f, c), b(53, 17, f, c);
            a.randomize(11);
            b.randomize(12);
            Borrowed oa(a), ob(b);
            for (int axis : {0, 1, 2}) {
                ASSERT_EQ(lum_mirrorI(a, axis), 0);
                ASSERT_EQ(lum_mirrorI(oa.image, axis), 0);
                EXPECT_TRUE(oa.same_as(a)) << f << " " << c << " axis " << axis;
            }
            for (int code : {1, 2, 16}) {
                ASSERT_EQ(lum_resize(a, {1, 2}, {35, 20}, b, {3, 0}, {50, 17}, code), 0);
                ASSERT_EQ(lum_resize(oa.image, {1, 2}, {35, 20}, ob.image, {3, 0}, {50, 17}, code), 0);
                EXPECT_TRUE(ob.same_as(b)) << f << " " << c << " code " << code;
            }
        }
}

}  // namespace
