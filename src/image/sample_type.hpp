// The one dispatch from an image's format to a typed kernel: an operation
// names the sample types it accepts and writes its body once as a template.
//
//     return with_sample_type<uint8_t, uint16_t, float>(im->pix_type, [&]<class T>() -> int8_t {
//         ... prim::binary<T, prim::op::add>(...) ...
//     });
//
// A format outside the list gives -1 (bad_format), as every operation's
// format check does.
#pragma once

#include <cstdint>
#include <type_traits>

#include "image/image.hpp"

namespace lum {

// The format whose samples are T.
template <class T>
inline constexpr int32_t format_of = std::is_same_v<T, uint8_t>    ? lum_fmt_8u
                                     : std::is_same_v<T, uint16_t> ? lum_fmt_16u
                                     : std::is_same_v<T, int16_t>  ? lum_fmt_16s
                                     : std::is_same_v<T, float>    ? lum_fmt_32f
                                                                   : 0;

template <class T>
inline constexpr bool is_float_sample = std::is_floating_point_v<T>;

// Calls fn.template operator()<T>() for the accepted sample type T whose
// format is `format`, or returns bad_format when none is.
template <class First, class... Rest, class Fn>
auto with_sample_type(int32_t format, Fn&& fn) -> decltype(fn.template operator()<First>()) {
    using R = decltype(fn.template operator()<First>());
    if (format == format_of<First>) return fn.template operator()<First>();
    if constexpr (sizeof...(Rest) > 0)
        return static_cast<R>(with_sample_type<Rest...>(format, static_cast<Fn&&>(fn)));
    else
        return static_cast<R>(bad_format);
}

}  // namespace lum
