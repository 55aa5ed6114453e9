// The library's one diagnostic, printed to standard output.
#include <cstdarg>
#include <cstdio>

#include "image/image.hpp"

namespace lum {

void report_primitive_failure(const char* format, ...) {
    va_list args;
    va_start(args, format);
    std::vprintf(format, args);
    va_end(args);
    std::fflush(stdout);
}

}  // namespace lum
