// Shared parts of the command-line tool: argument values, image handles,
// PNG files and status checks.
#include "cli.hpp"

#include <cerrno>
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
    const int32_t handle = lum_png_read(path.c_str(), error, sizeof error);
    if (handle < 0) throw Error(error);
    return Image(handle);
}

void write_png(const Image& image, const std::string& path) {
    char error[512] = "";
    if (lum_png_write(path.c_str(), image.handle(), error, sizeof error) != 0) throw Error(error);
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
