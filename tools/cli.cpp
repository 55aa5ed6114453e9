// Shared parts of the command-line tool: argument values, image handles,
// PNG files and status checks.
#include "cli.hpp"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "png_io.h"

namespace lum::cli {

std::vector<Command>& commands() {
    static std::vector<Command> all;
    return all;
}

Registration::Registration(Command command) { commands().push_back(std::move(command)); }

double parse_number(const std::string& text, const std::string& what) {
    char* end = nullptr;
    errno = 0;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || errno == ERANGE) throw UsageError(what + ": not a number: '" + text + "'");
    return value;
}

long parse_integer(const std::string& text, const std::string& what) {
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno == ERANGE)
        throw UsageError(what + ": not an integer: '" + text + "'");
    return value;
}

std::vector<double> parse_numbers(const std::string& text, const std::string& what, size_t count) {
    std::vector<double> values;
    size_t start = 0;
    while (true) {
        const size_t comma = text.find(',', start);
        values.push_back(parse_number(text.substr(start, comma - start), what));
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    if (count != 0 && values.size() != count)
        throw UsageError(what + ": expected " + std::to_string(count) + " numbers separated by commas");
    return values;
}

lum_rect parse_rect(const std::string& text, const std::string& what) {
    const std::vector<double> v = parse_numbers(text, what, 4);
    for (const double d : v)
        if (!(d >= -2147483648.0 && d <= 2147483647.0) || d != std::floor(d))
            throw UsageError(what + ": X,Y,W,H are 32-bit integers");
    return lum_rect{static_cast<int32_t>(v[0]), static_cast<int32_t>(v[1]), static_cast<int32_t>(v[2]),
                    static_cast<int32_t>(v[3])};
}

std::string Args::text(const std::string& name, const std::string& fallback) const {
    const auto it = options.find(name);
    return it == options.end() ? fallback : it->second;
}

double Args::number(const std::string& name, double fallback) const {
    return has(name) ? parse_number(text(name), "--" + name) : fallback;
}

long Args::integer(const std::string& name, long fallback) const {
    return has(name) ? parse_integer(text(name), "--" + name) : fallback;
}

void check(int status, const std::string& where, const std::string& what) {
    if (status >= 0) return;
    throw Error(where + ": " + what + ": " + lum_status_text(status) + " (" + std::to_string(status) + ")");
}

Image::Image() : handle_(lum_create_image()) {}

Image::Image(int32_t width, int32_t height, lum_data_format format, lum_channels channels, int32_t valid_bits)
    : Image() {
    check(lum_init_image(handle_, width, height, format, channels, valid_bits), "image",
          "cannot create " + std::to_string(width) + " x " + std::to_string(height) + " " + format_name(format));
}

Image::~Image() {
    if (handle_ >= 0) lum_destroy_image(handle_);
}

Image& Image::operator=(Image&& other) noexcept {
    if (this != &other) {
        if (handle_ >= 0) lum_destroy_image(handle_);
        handle_ = other.handle_;
        other.handle_ = -1;
    }
    return *this;
}

lum_info Image::info() const {
    lum_info i{};
    lum_get_info(handle_, &i);
    return i;
}

Image read_png(const std::string& path) {
    char error[512] = "";
    const int32_t handle = read_png_file(path.c_str(), error, sizeof error);
    if (handle < 0) throw Error(error);
    return Image(handle);
}

Image grey_view(const Image& image) {
    lum_info i = image.info();
    i.width *= static_cast<int32_t>(i.channels);
    i.channels = lum_gray;
    Image view;
    check(lum_init_image_ex(view.handle(), &i), "image", "view");
    return view;
}

void write_png(const Image& image, const std::string& path) {
    char error[512] = "";
    if (write_png_file(path.c_str(), image.handle(), error, sizeof error) != 0) throw Error(error);
}

double sample_at(const void* samples, lum_data_format format, int index) {
    switch (format) {
    case lum_fmt_8u: return static_cast<const uint8_t*>(samples)[index];
    case lum_fmt_16u: return static_cast<const uint16_t*>(samples)[index];
    case lum_fmt_16s: return static_cast<const int16_t*>(samples)[index];
    case lum_fmt_32f: return static_cast<const float*>(samples)[index];
    }
    return 0;
}

const char* format_name(lum_data_format format) {
    switch (format) {
    case lum_fmt_8u: return "8u";
    case lum_fmt_16u: return "16u";
    case lum_fmt_16s: return "16s";
    case lum_fmt_32f: return "32f";
    }
    return "?";
}

lum_data_format parse_format(const std::string& text) {
    if (text == "8u") return lum_fmt_8u;
    if (text == "16u") return lum_fmt_16u;
    if (text == "32f") return lum_fmt_32f;
    throw UsageError("unknown format '" + text + "' (8u, 16u or 32f)");
}

std::string json_string(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\t': out += "\\t"; break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x", c);
                out += buf;
            } else {
                out += c;
            }
        }
    }
    return out + "\"";
}

}  // namespace lum::cli
