// Shared parts of the command-line tool: argument values, the collected
// standard output, images within the size limit, PNG files, status checks and
// JSON strings.
#include "cli.hpp"

#include <cerrno>
#include <cmath>
#include <cstdarg>
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

const std::vector<Option>& common_options() {
    static const std::vector<Option> all{
        {"max-pixels", "N", "refuse images of more than N pixels (" + std::to_string(default_max_pixels) + ")"}};
    return all;
}

std::string& pending_output() {
    static std::string text;
    return text;
}

void print(const char* format, ...) {
    va_list args, again;
    va_start(args, format);
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, args);
    va_end(args);
    if (length > 0) {
        std::string& out = pending_output();
        const size_t at = out.size();
        out.resize(at + static_cast<size_t>(length) + 1);
        std::vsnprintf(&out[at], static_cast<size_t>(length) + 1, format, again);
        out.resize(at + static_cast<size_t>(length));
    }
    va_end(again);
}

uint64_t& max_pixels() {
    static uint64_t limit = default_max_pixels;
    return limit;
}

lum::image new_image(int32_t width, int32_t height, lum_data_format format, lum_channels channels, int32_t valid_bits) {
    const std::string what = "cannot create " + std::to_string(width) + " x " + std::to_string(height) + " " +
                             format_name(format);
    if (width > 0 && height > 0 && static_cast<uint64_t>(width) * static_cast<uint64_t>(height) > max_pixels())
        throw Error("image: " + what + ": more than the limit of " + std::to_string(max_pixels()) +
                    " pixels (raise it with --max-pixels)");
    // The library's row step is 32-bit; a wider row would wrap it.
    const uint64_t step = static_cast<uint64_t>(lum::full_bits(format) / 8) * static_cast<uint64_t>(channels) *
                          ((static_cast<uint64_t>(width) & ~uint64_t{15}) + 16);
    if (width > 0 && step > 0xffffffffull) throw Error("image: " + what + ": rows too long for an image");
    return in_context("image", what, [&] { return lum::image(width, height, format, channels, valid_bits); });
}

lum::image read_png(const std::string& path) {
    char error[512] = "";
    const int32_t handle = read_png_file(path.c_str(), max_pixels(), error, sizeof error);
    if (handle < 0) throw Error(error);
    return lum::image::adopt(handle);
}

lum::image grey_view(const lum::image& image) {
    lum_info i = image.info();
    i.width *= static_cast<int32_t>(i.channels);
    i.channels = lum_gray;
    return in_context("image", "view", [&] { return lum::image::borrow(i); });
}

void write_png(const lum::image& image, const std::string& path) {
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

namespace {

// Length of the valid UTF-8 sequence at text[at], or 0 when none starts there
// (stray continuation bytes, overlong forms, surrogates, beyond U+10FFFF, cut short).
size_t utf8_sequence(const std::string& text, size_t at) {
    const auto byte = [&](size_t k) { return at + k < text.size() ? static_cast<unsigned char>(text[at + k]) : 0u; };
    const unsigned lead = byte(0);
    size_t length;
    unsigned low = 0x80, high = 0xbf;  // the range of the second byte
    if (lead < 0x80) return 1;
    if (lead >= 0xc2 && lead <= 0xdf) length = 2;
    else if (lead >= 0xe0 && lead <= 0xef) length = 3, low = lead == 0xe0 ? 0xa0 : 0x80, high = lead == 0xed ? 0x9f : 0xbf;
    else if (lead >= 0xf0 && lead <= 0xf4) length = 4, low = lead == 0xf0 ? 0x90 : 0x80, high = lead == 0xf4 ? 0x8f : 0xbf;
    else return 0;
    if (byte(1) < low || byte(1) > high) return 0;
    for (size_t k = 2; k < length; ++k)
        if (byte(k) < 0x80 || byte(k) > 0xbf) return 0;
    return length;
}

}  // namespace

std::string json_string(const std::string& text) {
    std::string out = "\"";
    for (size_t at = 0; at < text.size();) {
        const char c = text[at];
        const size_t length = utf8_sequence(text, at);
        if (length == 0) {
            out += "\\ufffd";
            at += 1;
            continue;
        }
        if (length > 1) {
            out.append(text, at, length);
            at += length;
            continue;
        }
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\t': out += "\\t"; break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x", static_cast<unsigned>(c));
                out += buf;
            } else {
                out += c;
            }
        }
        at += 1;
    }
    return out + "\"";
}

}  // namespace lum::cli
