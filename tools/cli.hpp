// The command-line tool's shared parts: subcommand registration, argument
// parsing, images by handle that clean up after themselves, PNG in and out,
// and failures that name the file and the status phrase.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <lum_lib.h>

namespace lum::cli {

// A failure the user caused or must know about; main prints it and exits 1.
struct Error : std::runtime_error {
    using std::runtime_error::runtime_error;
};
// Bad command line; main prints it with a hint and exits 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Option {
    std::string name;        // without the leading dashes
    std::string value_name;  // empty for a flag
    std::string help;
};

class Args {
public:
    std::vector<std::string> positional;
    std::map<std::string, std::string> options;

    bool has(const std::string& name) const { return options.count(name) != 0; }
    std::string text(const std::string& name, const std::string& fallback = "") const;
    double number(const std::string& name, double fallback) const;
    long integer(const std::string& name, long fallback) const;
};

struct Command {
    std::string name;
    std::string arguments;  // e.g. "IN.png OUT.png"
    std::string summary;    // one line for `lum --help`
    std::string details;    // paragraphs for `lum NAME --help`
    std::vector<Option> options;
    size_t min_positional;
    size_t max_positional;
    std::function<int(const Args&)> run;
};

// Commands register themselves from their own source file at start-up.
std::vector<Command>& commands();
struct Registration {
    explicit Registration(Command command);
};

// Parses a number the way the user typed it; what names it in the message.
double parse_number(const std::string& text, const std::string& what);
long parse_integer(const std::string& text, const std::string& what);

// Throws Error "<where>: <what>: <phrase> (<code>)" for a negative status.
void check(int status, const std::string& where, const std::string& what);

// An image handle destroyed at scope exit.
class Image {
public:
    Image();
    Image(int32_t width, int32_t height, lum_data_format format, lum_channels channels, int32_t valid_bits);
    explicit Image(int32_t adopted) : handle_(adopted) {}
    ~Image();
    Image(Image&& other) noexcept : handle_(other.handle_) { other.handle_ = -1; }
    Image& operator=(Image&& other) noexcept;
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    int32_t handle() const { return handle_; }
    lum_info info() const;

private:
    int32_t handle_;
};

Image read_png(const std::string& path);
void write_png(const Image& image, const std::string& path);

const char* format_name(lum_data_format format);
lum_data_format parse_format(const std::string& text);

// JSON string literal with the needed escapes.
std::string json_string(const std::string& text);

}  // namespace lum::cli
