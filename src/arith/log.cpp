// Natural logarithm in place, for one-channel float images only; samples of 0
// or below give −inf or NaN with a printed warning and status 0.
#include "arith/clamp.hpp"
#include "primitives/arith.hpp"

namespace lum {

namespace {

int8_t log_in_place(img* im) {
    LUM_CHECK(require_initialised(im));
    if (im->channels != lum_gray) return bad_format;  // channels first, and -1 like the format
    if (im->pix_type != lum_fmt_32f) return bad_format;
    if (!whole_fits(*im)) return beyond_image;
    return map_status(prim::ln_32f(static_cast<float*>(im->frame_buf), step_of(*im), size_of(*im)));
}

}  // namespace

}  // namespace lum

extern "C" LUM_API int8_t lum_lnI(int32_t image) {
    return lum::with_images({image}, [](img* im) { return lum::log_in_place(im); });
}
