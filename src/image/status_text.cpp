// Short phrases for the status codes every operation returns, for hosts that
// show a failure to a person (the library itself prints none of them).
#include "image/image.hpp"

extern "C" LUM_API const char* lum_status_text(int code) {
    switch (code) {
    case lum::ok: return "success";
    case lum::bad_format: return "data format not supported";
    case lum::beyond_image: return "rectangle or size beyond the image";
    case lum::bad_valid_bits: return "valid bits out of range for the format";
    case lum::mismatch: return "images disagree in layout, format or size";
    case lum::primitive_failed: return "primitive failed";
    case lum::bad_handle: return "handle outside the registry";
    case lum::out_of_range: return "argument out of range";
    case lum::no_memory: return "out of memory";
    case lum::empty_item: return "empty item";
    case lum::not_initialised: return "image not initialised";
    case lum::bad_channels: return "channel count not supported";
    case lum::bad_output: return "missing or inconsistent output";
    default: return code > 0 ? "unknown warning" : "unknown status";
    }
}
