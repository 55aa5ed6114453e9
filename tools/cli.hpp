// The command-line tool's shared parts: subcommand registration, argument
// parsing, the tool's own standard output, images within the size limit,
// PNG in and out, and failures that name the file and the status phrase.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <lum_lib.hpp>

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

// Options every command takes.
const std::vector<Option>& common_options();

// The tool's standard output. The library prints its failure messages on
// standard output, so main hands the library standard error as file 1 and
// keeps the original for what print collects: a command's output is written
// only once the command has succeeded, so a failure never leaves half a JSON
// document or library chatter in the data.
void print(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string& pending_output();

// Images above this many pixels are refused before anything is allocated.
constexpr uint64_t default_max_pixels = uint64_t{1} << 28;
uint64_t& max_pixels();

// Parses a number the way the user typed it; what names it in the message.
double parse_number(const std::string& text, const std::string& what);
long parse_integer(const std::string& text, const std::string& what);
// "a,b,c" with exactly count numbers (any count when count is 0).
std::vector<double> parse_numbers(const std::string& text, const std::string& what, size_t count);
// "X,Y,W,H".
lum_rect parse_rect(const std::string& text, const std::string& what);

// Throws Error "<where>: <what>: <phrase> (<code>)" for a negative status.
void check(int status, const std::string& where, const std::string& what);

// Runs f, turning a lum::error from the C++ header into the same message.
template <class F>
auto in_context(const std::string& where, const std::string& what, F&& f) -> decltype(f()) {
    try {
        return f();
    } catch (const lum::error& e) {
        check(e.code(), where, what);
        throw;
    }
}

// A new zeroed image of the library's, within the size limit.
lum::image new_image(int32_t width, int32_t height, lum_data_format format, lum_channels channels, int32_t valid_bits);
lum::image read_png(const std::string& path);
// A one-channel image over the same buffer, channels times as wide: for
// operations that walk samples rather than pixels.
lum::image grey_view(const lum::image& image);
void write_png(const lum::image& image, const std::string& path);

// Sample index of an array of the given format, as a double.
double sample_at(const void* samples, lum_data_format format, int index);

const char* format_name(lum_data_format format);
lum_data_format parse_format(const std::string& text);

// JSON string literal with the needed escapes. Bytes that are not part of
// valid UTF-8 (file names are bytes) each become U+FFFD, so the document
// stays valid JSON whatever the name.
std::string json_string(const std::string& text);

}  // namespace lum::cli
