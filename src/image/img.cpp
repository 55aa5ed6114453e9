// The image record: allocation of owned buffers, adoption of caller buffers,
// description, clearing and single-pixel access.
#include <cerrno>
#include <cstring>

#include "image/image.hpp"
#include "primitives/fill.hpp"

namespace lum {
const int8_t sample_bytes[16] = {0, 1, 2, 2, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
}

using lum::bytes_per_sample;

img::img() { clear_default(); }

img::~img() { destroy(); }

img& img::operator=(const img& other) {
    width = other.width;
    height = other.height;
    physical_width = other.physical_width;
    physical_height = other.physical_height;
    step_bytes = other.step_bytes;
    pix_type = other.pix_type;
    valid_bits = other.valid_bits;
    channels = other.channels;
    frame_buf = other.frame_buf;
    ownership = other.ownership;
    return *this;
}

void img::clear_default() {
    width = 0;
    height = 0;
    physical_width = 0.0f;
    physical_height = 0.0f;
    step_bytes = 0;
    pix_type = static_cast<lum_data_format>(0);
    valid_bits = 0;
    channels = static_cast<lum_channels>(0);
    frame_buf = nullptr;
    ownership = 0;
}

void img::destroy() {
    if (ownership == 1) lum::aligned_free64(frame_buf);
    clear_default();
}

signed char img::init(int w, int h, lum_data_format format, lum_channels ch, int bits) {
    if (format == lum_fmt_16u && (bits < 9 || bits > 16)) return lum::bad_valid_bits;
    if (format == lum_fmt_8u && bits > 8) return lum::bad_valid_bits;
    if (ch != lum_gray && ch != lum_color) return lum::bad_channels;

    if (ownership != 0) {
        if (ownership == 1) lum::aligned_free64(frame_buf);
        physical_width = 0.0f;
        physical_height = 0.0f;
        frame_buf = nullptr;
        ownership = 0;
    }
    width = w;
    height = h;
    pix_type = format;
    channels = ch;
    valid_bits = static_cast<uint32_t>(bits);
    // Rounded down to a multiple of 16, then 16 pixels of padding added.
    const uint32_t padded = (static_cast<uint32_t>(w) & ~15u) + 16u;
    step_bytes = static_cast<uint32_t>(bytes_per_sample(format)) * padded * static_cast<uint32_t>(ch);

    const int64_t bytes = static_cast<int64_t>(step_bytes) * static_cast<int64_t>(h);
    // One slack row beyond the image keeps the pixel access at (width, height) inside our block.
    void* buf = bytes > 0 ? lum::aligned_alloc64(bytes + static_cast<int64_t>(step_bytes)) : nullptr;
    if (!buf) {
        clear_default();
        return lum::no_memory;
    }
    frame_buf = buf;
    clear_data();
    std::memset(static_cast<char*>(buf) + bytes, 0, step_bytes);
    ownership = 1;
    return lum::ok;
}

signed char img::init_ext(const lum_info* info) {
    if (ownership != 0) destroy();
    if (!info) {
        clear_default();
        errno = EINVAL;  // no invalid-parameter handler to call on this platform
        ownership = 2;
        return lum::ok;
    }
    width = info->width;
    height = info->height;
    physical_width = info->physical_width;
    physical_height = info->physical_height;
    step_bytes = info->step_bytes;
    pix_type = info->pix_type;
    valid_bits = info->valid_bits;
    channels = info->channels;
    frame_buf = info->frame_buf;
    ownership = 2;
    return lum::ok;
}

void img::get_info(lum_info* info) const {
    if (!info) {
        errno = EINVAL;
        return;
    }
    info->width = width;
    info->height = height;
    info->physical_width = physical_width;
    info->physical_height = physical_height;
    info->step_bytes = step_bytes;
    info->pix_type = pix_type;
    info->valid_bits = valid_bits;
    info->channels = channels;
    info->frame_buf = frame_buf;
}

void img::clear_data() {
    // 32-bit byte count, zeroed in chunks of at most 0x7FFFFFFF bytes.
    const uint32_t count = step_bytes * static_cast<uint32_t>(height);
    if (count == 0) return;
    constexpr uint32_t chunk = 0x7FFFFFFFu;
    const uint32_t chunks = (count - 1) / chunk + 1;
    auto* p = static_cast<uint8_t*>(frame_buf);
    uint32_t left = count;
    for (uint32_t i = 0; i < chunks; ++i) {
        const uint32_t n = left < chunk ? left : chunk;
        lum::prim::fill_bytes(0, p, static_cast<int32_t>(n));
        p += n;
        left -= n;
    }
}

namespace {
// Samples to copy for one pixel access, or a status when the layout is refused.
int pixel_bytes_or_status(lum_data_format type, lum_channels ch) {
    switch (type) {
    case lum_fmt_8u:
    case lum_fmt_16u:
        if (ch == lum_gray) return bytes_per_sample(type);
        if (ch == lum_color) return 3 * bytes_per_sample(type);
        return lum::bad_channels;
    case lum_fmt_32f:
        return ch == lum_gray ? 4 : 0;  // a three-channel float pixel copies nothing
    default:
        return lum::bad_format;
    }
}
}  // namespace

signed char img::set_px_value(int x, int y, const void* value) {
    const int n = pixel_bytes_or_status(pix_type, channels);
    if (n < 0) return static_cast<signed char>(n);
    if (n > 0) std::memcpy(get_ptr_at_position({x, y}), value, static_cast<size_t>(n));
    return lum::ok;
}

signed char img::get_px_value(int x, int y, void* value) const {
    const int n = pixel_bytes_or_status(pix_type, channels);
    if (n < 0) return static_cast<signed char>(n);
    if (n > 0) std::memcpy(value, get_ptr_at_position({x, y}), static_cast<size_t>(n));
    return lum::ok;
}

void* img::get_ptr_at_position(lum_point position) const {
    const int32_t x_bytes = static_cast<int32_t>(static_cast<uint32_t>(position.x) *
                                                 static_cast<uint32_t>(channels) *
                                                 static_cast<uint32_t>(bytes_per_sample(pix_type)));
    const int64_t y_bytes = static_cast<int64_t>(position.y) * static_cast<int64_t>(step_bytes);
    // Integer arithmetic: the address is formed without any check, as documented.
    return reinterpret_cast<void*>(reinterpret_cast<uintptr_t>(frame_buf) + static_cast<uintptr_t>(y_bytes) +
                                   static_cast<uintptr_t>(static_cast<int64_t>(x_bytes)));
}

signed char img::set_physical_size(float w, float h) {
    if (0.0f > w || 0.0f > h) return lum::out_of_range;  // NaN passes
    physical_width = w;
    physical_height = h;
    return lum::ok;
}

signed char img::is_valid() const { return ownership != 0 ? lum::ok : lum::not_initialised; }
int img::get_width() const { return width; }
int img::get_height() const { return height; }
unsigned int img::get_StepBytes() const { return step_bytes; }
lum_data_format img::get_pix_type() const { return pix_type; }
unsigned int img::get_valid_bits() const { return valid_bits; }
lum_channels img::get_channels() const { return channels; }
void* img::get_frame_buf() const { return frame_buf; }
signed char img::get_1px_bytes() const { return static_cast<signed char>(bytes_per_sample(pix_type)); }
