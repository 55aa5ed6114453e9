"""Every exported operation as a Python function, arguments in the C order.

Handles may be given as Image objects or plain integers; points, sizes and
rectangles as tuples. Results that C returns through pointers are returned
instead (lum.raw.sum(image) -> float); a negative status raises LumError. A
function the loaded library does not export is simply absent from this module.
"""
import ctypes

import numpy as np

from .._native import LumError, MorphParam, Object, Point, Rect, Size, bind, check, measure_objects_function
from .image import DTYPES, Image

_i8, _i32, _u32 = ctypes.c_int8, ctypes.c_int32, ctypes.c_uint32
_f32, _f64, _vp = ctypes.c_float, ctypes.c_double, ctypes.c_void_p
_P = ctypes.POINTER

__all__ = []

def _ranged(low, high, what):
    def convert(v):
        n = int(v)
        if not low <= n <= high:  # ctypes would wrap it silently
            raise ValueError(f"{v} does not fit a {what} argument")
        return n
    return convert


_KINDS = {
    "h": (_i32, int),
    "i": (_i32, _ranged(-2**31, 2**31 - 1, "32-bit signed")),
    "u": (_u32, _ranged(0, 2**32 - 1, "32-bit unsigned")),
    "f": (_f32, float),
    "d": (_f64, float),
    "p": (Point, lambda v: v if isinstance(v, Point) else Point(*v)),
    "s": (Size, lambda v: v if isinstance(v, Size) else Size(*v)),
    "r": (_P(Rect), lambda v: None if v is None else ctypes.byref(v if isinstance(v, Rect) else Rect(*v))),
}


def _export(name, function):
    function.__name__ = name
    globals()[name] = function
    __all__.append(name)


def _plain(name, kinds, doc):
    """A function whose C arguments are all handles, numbers, points, sizes or rectangles."""
    c = bind("lum_" + name, _i8, [_KINDS[k][0] for k in kinds])
    if c is None:
        return
    converters = [_KINDS[k][1] for k in kinds]

    def call(*args):
        if len(args) != len(converters):
            raise TypeError(f"{name}() takes {len(converters)} arguments ({len(args)} given)")
        return check(c(*[convert(a) for convert, a in zip(converters, args)]), "lum_" + name)

    call.__doc__ = doc
    _export(name, call)


def _info(handle):
    return Image.info(_Handle(handle))


class _Handle:
    """Lets Image's helpers read the record of a plain integer handle."""

    def __init__(self, handle):
        self.handle = int(handle)


def _samples(handle, values, count=None):
    """values as a contiguous array of the image's sample type."""
    dtype = DTYPES[_info(handle).pix_type]
    a = np.ascontiguousarray(values, dtype=dtype).reshape(-1)
    if count is not None and a.size != count:
        a = np.ascontiguousarray(np.broadcast_to(a, (count,)))
    return a


def _doubles(values, count):
    a = np.ascontiguousarray(values, dtype=np.float64).reshape(-1)
    return np.ascontiguousarray(np.broadcast_to(a, (count,))) if a.size != count else a


# ---- two-image arithmetic and logic -------------------------------------------
for _name, _kinds, _doc in [
        ("add", "hhh", "add(a, b, d): d = a + b, saturated, clamped to d's valid bits."),
        ("addI", "hh", "addI(a, b): b = b + a."),
        ("sub", "hhh", "sub(a, b, d): d = a - b, saturated."),
        ("subI", "hh", "subI(a, b): a = a - b."),
        ("absDiff", "hhh", "absDiff(a, b, d): d = |a - b|."),
        ("and", "hh", "and_(a, b): b = b AND a."),
        ("or", "hh", "or_(a, b): b = b OR a."),
        ("xor", "hh", "xor(a, b): b = b XOR a."),
        ("img_max_every", "hhh", "img_max_every(first, second, d): d = max(first, second) per sample."),
        ("img_min_every", "hhh", "img_min_every(first, second, d): d = min(first, second) per sample.")]:
    _plain(_name, _kinds, _doc)
# `and` and `or` are Python keywords: lum.and_ / lum.or_ (getattr(lum, "and") works too).
for _name in ("and", "or"):
    if _name in globals():
        _export(_name + "_", globals()[_name])

# ---- constants ---------------------------------------------------------------
_addCI = bind("lum_addCI", _i8, [_i32, _vp])
_addCI_rect = bind("lum_addCI_rect", _i8, [_i32, _vp, _P(Rect)])
_mulCI = bind("lum_mulCI", _i8, [_i32, _vp])
_mulCI_rect = bind("lum_mulCI_rect", _i8, [_i32, _vp, _P(Rect)])
_subC = bind("lum_subC", _i8, [_i32, _i32, _vp])

if _addCI:
    def addCI(image, value):
        """image = image + value (one sample of the image's type, applied to every channel)."""
        v = _samples(image, value, 1)
        return check(_addCI(int(image), v.ctypes.data), "lum_addCI")
    _export("addCI", addCI)
if _addCI_rect:
    def addCI_rect(image, value, rect):
        v = _samples(image, value, 1)
        return check(_addCI_rect(int(image), v.ctypes.data, _KINDS["r"][1](rect)), "lum_addCI_rect")
    _export("addCI_rect", addCI_rect)
if _mulCI:
    def mulCI(image, value):
        """image = image * value (one double per channel; a scalar applies to all)."""
        v = _doubles(value, _info(image).channels)
        return check(_mulCI(int(image), v.ctypes.data), "lum_mulCI")
    _export("mulCI", mulCI)
if _mulCI_rect:
    def mulCI_rect(image, value, rect):
        v = _doubles(value, _info(image).channels)
        return check(_mulCI_rect(int(image), v.ctypes.data, _KINDS["r"][1](rect)), "lum_mulCI_rect")
    _export("mulCI_rect", mulCI_rect)
if _subC:
    def subC(source, destination, value):
        """destination = source - value (one sample of the source's type)."""
        v = _samples(source, value, 1)
        return check(_subC(int(source), int(destination), v.ctypes.data), "lum_subC")
    _export("subC", subC)

_plain("convert", "hh", "convert(source, destination): sample format conversion.")
for _n in ("LShiftI", "RShiftI"):
    _plain(_n, "hu", f"{_n}(image, count): in-place bit shift.")
    _plain(_n + "_rect", "hur", f"{_n}_rect(image, count, rect): in-place bit shift of a rectangle.")

_lut = bind("lum_lut", _i8, [_i32, _i32, _vp])
def _lut_entries(source, destination):
    """How many table entries lum_lut reads for this pair: 2^v per table, v the source's valid bits
    (0..8 for 8u, 0..16 for 16u), three 8-bit tables 256 entries apart, two 16-bit tables for colour."""
    s, d = _info(source), _info(destination)
    if s.pix_type == 1:
        per = 1 << min(max(int(s.valid_bits), 0), 8)
        if s.channels == 3:
            return 512 + per
        return 3 * per if d.channels == 3 else per
    per = 1 << min(max(int(s.valid_bits), 0), 16)
    return 2 * per if s.channels == 3 else per


if _lut:
    def lut(source, destination, table):
        """destination = table[source]; table entries of the source's sample type (2^valid_bits per table)."""
        t = _samples(source, table)
        need = _lut_entries(source, destination)
        if t.size < need:
            raise ValueError(f"the table has {t.size} entries; this source reads {need}")
        return check(_lut(int(source), int(destination), t.ctypes.data), "lum_lut")
    _export("lut", lut)

_plain("invert", "hh", "invert(source, destination): destination = valid-bits maximum - source.")
_plain("divI", "hh", "divI(a, b): b = b / a.")
_plain("scale", "hhdd", "scale(source, destination, a, b): destination = source * a + b.")
_plain("scale_rect", "hphsdd", "scale_rect(source, source_origin, destination, destination_origin, size, a, b).")
_plain("scaleI", "hdd", "scaleI(image, a, b): image = image * a + b.")
_plain("scaleI_rect", "hddr", "scaleI_rect(image, a, b, rect).")
_plain("lnI", "h", "lnI(image): natural logarithm of a float image, in place.")
for _n in ("LShift", "RShift"):
    _plain(_n, "hhu", f"{_n}(source, destination, count): shift into a second image.")
    _plain(_n + "_rect", "hphsu", f"{_n}_rect(source, source_origin, destination, destination_origin, size, count).")

_adjust = bind("lum_adjust", _i8, [_i32, _i32, _P(_f64), _P(_f64)])
if _adjust:
    def adjust(source, destination, low, high):
        """Stretches levels low..high (one double per channel, or a scalar) to the full 8-bit range."""
        n = _info(source).channels
        lo, hi = _doubles(low, n), _doubles(high, n)
        return check(_adjust(int(source), int(destination), lo.ctypes.data_as(_P(_f64)),
                             hi.ctypes.data_as(_P(_f64))), "lum_adjust")
    _export("adjust", adjust)

# ---- colour and channels -----------------------------------------------------
_plain("color_to_gray", "hh", "color_to_gray(source, destination): equal-weight grey of a colour image.")
_plain("gray_to_color", "hh", "gray_to_color(source, destination): grey copied into three channels.")
_twistI = bind("lum_color_twistI", _i8, [_i32, _P(_f32)])
_twist = bind("lum_color_twist", _i8, [_i32, _i32, _P(_f32)])


def _matrix(m):
    a = np.ascontiguousarray(m, dtype=np.float32).reshape(-1)
    if a.size != 12:
        raise ValueError("a colour twist matrix has 3 rows of 4")
    return a


if _twistI:
    def color_twistI(image, matrix):
        """Applies a 3 x 4 colour matrix in place."""
        m = _matrix(matrix)
        return check(_twistI(int(image), m.ctypes.data_as(_P(_f32))), "lum_color_twistI")
    _export("color_twistI", color_twistI)
if _twist:
    def color_twist(source, destination, matrix):
        """destination = 3 x 4 colour matrix applied to source."""
        m = _matrix(matrix)
        return check(_twist(int(source), int(destination), m.ctypes.data_as(_P(_f32))), "lum_color_twist")
    _export("color_twist", color_twist)

_bc = bind("lum_computer_color_bc", _i8, [_i32, _i32, _P(Rect), _P(ctypes.c_uint8), _f64, _i32])
if _bc:
    def computer_color_bc(source, destination, rect, palette, contrast, brightness):
        """Adds palette[grey * contrast + brightness] (256 x 3 bytes) to a colour destination."""
        p = np.ascontiguousarray(palette, dtype=np.uint8).reshape(-1)
        if p.size < 768:
            raise ValueError("a palette has 256 entries of 3 bytes")
        return check(_bc(int(source), int(destination), _KINDS["r"][1](rect), p.ctypes.data_as(_P(ctypes.c_uint8)),
                         contrast, brightness), "lum_computer_color_bc")
    _export("computer_color_bc", computer_color_bc)

_plain("copy", "hh", "copy(source, destination): whole-image copy.")
_plain("copy_rect", "hphs", "copy_rect(source, source_origin, destination, destination_origin, size).")
_plain("copy_gray2color", "hhi", "copy_gray2color(grey, colour, channel): grey into one channel.")
_plain("copy_color2channels", "hhhh", "copy_color2channels(colour, plane0, plane1, plane2).")
_plain("copy_channels2color", "hhhh", "copy_channels2color(plane0, plane1, plane2, colour).")
_swap = bind("lum_swap_channels", _i8, [_i32, _P(_i32)])
if _swap:
    def swap_channels(image, order):
        """Reorders the three channels in place: new channel c = old channel order[c]."""
        o = np.ascontiguousarray(order, dtype=np.int32).reshape(-1)
        if o.size != 3:
            raise ValueError("order has three entries")
        return check(_swap(int(image), o.ctypes.data_as(_P(_i32))), "lum_swap_channels")
    _export("swap_channels", swap_channels)

# ---- geometry ----------------------------------------------------------------
_plain("mirrorI", "hi", "mirrorI(image, axis): flip in place; axis 0 rows, 1 columns, 2 both.")
_plain("mirrorI_rect", "hir", "mirrorI_rect(image, axis, rect).")
_plain("resize", "hpshpsi", "resize(source, source_origin, source_size, destination, destination_origin, "
                            "destination_size, interpolation): 1 nearest, 2 linear, 16 Lanczos.")
_plain("rotate", "hhdddi", "rotate(source, destination, angle, x_shift, y_shift, interpolation).")

# ---- measurement -------------------------------------------------------------
_sum = bind("lum_sum", _i8, [_i32, _P(_f64)])
_sum_rect = bind("lum_sum_rect", _i8, [_i32, _P(Rect), _P(_f64)])
if _sum:
    def sum(image):
        """The sum of the samples, as a float."""
        s = _f64()
        check(_sum(int(image), ctypes.byref(s)), "lum_sum")
        return s.value
    _export("sum", sum)
if _sum_rect:
    def sum_rect(image, rect):
        s = _f64()
        check(_sum_rect(int(image), _KINDS["r"][1](rect), ctypes.byref(s)), "lum_sum_rect")
        return s.value
    _export("sum_rect", sum_rect)

_min_max = bind("lum_img_min_max", _i8, [_i32, _vp, _vp])
_min_max_rect = bind("lum_img_min_max_rect", _i8, [_i32, _P(Rect), _vp, _vp])


def _min_max_result(image, run):
    i = _info(image)
    lo = np.zeros(max(i.channels, 1), DTYPES.get(i.pix_type, np.float32))
    hi = np.zeros_like(lo)
    run(lo.ctypes.data, hi.ctypes.data)
    if i.channels == 1:
        return lo[0].item(), hi[0].item()
    return tuple(lo.tolist()), tuple(hi.tolist())


if _min_max:
    def img_min_max(image):
        """(minimum, maximum) in the image's sample type; tuples per channel for colour."""
        return _min_max_result(image, lambda lo, hi: check(_min_max(int(image), lo, hi), "lum_img_min_max"))
    _export("img_min_max", img_min_max)
if _min_max_rect:
    def img_min_max_rect(image, rect):
        r = _KINDS["r"][1](rect)
        return _min_max_result(image, lambda lo, hi: check(_min_max_rect(int(image), r, lo, hi),
                                                           "lum_img_min_max_rect"))
    _export("img_min_max_rect", img_min_max_rect)

_mean_sd = bind("lum_img_mean_stddev", _i8, [_i32, _P(_f64), _P(_f64)])
_mean_sd_rect = bind("lum_img_mean_stddev_rect", _i8, [_i32, _P(Rect), _P(_f64), _P(_f64)])
if _mean_sd:
    def img_mean_stddev(image):
        """(mean, standard deviation) of a one-channel image."""
        m, s = _f64(), _f64()
        check(_mean_sd(int(image), ctypes.byref(m), ctypes.byref(s)), "lum_img_mean_stddev")
        return m.value, s.value
    _export("img_mean_stddev", img_mean_stddev)
if _mean_sd_rect:
    def img_mean_stddev_rect(image, rect):
        m, s = _f64(), _f64()
        check(_mean_sd_rect(int(image), _KINDS["r"][1](rect), ctypes.byref(m), ctypes.byref(s)),
              "lum_img_mean_stddev_rect")
        return m.value, s.value
    _export("img_mean_stddev_rect", img_mean_stddev_rect)

_hist = bind("lum_histogram", _i8, [_i32, _f32, _f32, _P(_u32), _i32])
_hist_rect = bind("lum_histogram_rect", _i8, [_i32, _P(Rect), _f32, _f32, _P(_u32), _i32])
if _hist:
    def histogram(image, lower, upper, bins):
        """Counts of bins uniform bins over [lower, upper), as a uint32 array."""
        counts = np.zeros(max(int(bins), 1), np.uint32)
        check(_hist(int(image), lower, upper, counts.ctypes.data_as(_P(_u32)), bins), "lum_histogram")
        return counts[:bins]
    _export("histogram", histogram)
if _hist_rect:
    def histogram_rect(image, rect, lower, upper, bins):
        counts = np.zeros(max(int(bins), 1), np.uint32)
        check(_hist_rect(int(image), _KINDS["r"][1](rect), lower, upper, counts.ctypes.data_as(_P(_u32)), bins),
              "lum_histogram_rect")
        return counts[:bins]
    _export("histogram_rect", histogram_rect)

_otsu = bind("lum_otsu_get_threshold", _i8, [_i32, _P(_i32)])
_otsu_rect = bind("lum_otsu_get_threshold_rect", _i8, [_i32, _P(Rect), _P(_i32)])
if _otsu:
    def otsu_get_threshold(image):
        """The Otsu threshold of a one-channel image, in its own sample scale."""
        t = _i32()
        check(_otsu(int(image), ctypes.byref(t)), "lum_otsu_get_threshold")
        return t.value
    _export("otsu_get_threshold", otsu_get_threshold)
if _otsu_rect:
    def otsu_get_threshold_rect(image, rect):
        t = _i32()
        check(_otsu_rect(int(image), _KINDS["r"][1](rect), ctypes.byref(t)), "lum_otsu_get_threshold_rect")
        return t.value
    _export("otsu_get_threshold_rect", otsu_get_threshold_rect)

_plain("projection_max", "hhuui", "projection_max(frame, destination, index, count, direction).")
_plain("projection_min", "hhuui", "projection_min(frame, destination, index, count, direction).")
_plain("projection_mean", "hhuuih", "projection_mean(frame, destination, index, count, direction, accumulator).")
_mean_init = bind("lum_projection_mean_init", _i8, [_u32, _u32, _P(_i32)])
if _mean_init:
    def projection_mean_init(width, height):
        """A new float accumulator image for projection_mean; returns an Image that owns the handle."""
        h = _i32(-1)
        status = _mean_init(width, height, ctypes.byref(h))
        image = Image._adopt(h.value) if h.value >= 0 else None  # destroyed with the image, also on failure
        check(status, "lum_projection_mean_init")
        return image
    _export("projection_mean_init", projection_mean_init)

for _n in ("get_fast_profile", "get_profile"):
    _c = bind("lum_" + _n, _i8, [_i32, Point, Point, _u32, _vp, _P(_u32)])
    if _c:
        def _profile(image, first, second, thickness, capacity=None, _c=_c, _n=_n):
            """Samples along first..second averaged over thickness lines, in the image's type."""
            p1, p2 = _KINDS["p"][1](first), _KINDS["p"][1](second)
            if capacity is None:
                capacity = abs(p2.x - p1.x) + abs(p2.y - p1.y) + 2
            out = np.zeros(max(capacity, 1), DTYPES.get(_info(image).pix_type, np.uint8))
            count = _u32(capacity)
            check(_c(int(image), p1, p2, thickness, out.ctypes.data, ctypes.byref(count)), "lum_" + _n)
            return out[:count.value]
        _export(_n, _profile)


def _points(points):
    a = np.ascontiguousarray(points, dtype=np.int32).reshape(-1, 2)
    return a, a.ctypes.data_as(_P(Point)), a.shape[0]


_gen_mask = bind("lum_generate_mask", _i8, [_i32, _u32, _P(Point), _i32])
_gen_mask_part = bind("lum_generate_mask_part", _i8, [_i32, Point, _u32, _P(Point), _i32])
if _gen_mask:
    def generate_mask(mask, shape, points=()):
        """Draws shape 0 rectangle, 1 ellipse or 2 polygon (points [(x, y), ...]) into an 8-bit mask."""
        a, p, n = _points(points)
        return check(_gen_mask(int(mask), shape, p if n else None, n), "lum_generate_mask")
    _export("generate_mask", generate_mask)
if _gen_mask_part:
    def generate_mask_part(mask, origin, shape, points=()):
        a, p, n = _points(points)
        return check(_gen_mask_part(int(mask), _KINDS["p"][1](origin), shape, p if n else None, n),
                     "lum_generate_mask_part")
    _export("generate_mask_part", generate_mask_part)

_mask_mean = bind("lum_mask_mean", _i8, [_i32, _i32, _i32, _i32, _P(_f64)])
_mask_mean_sd = bind("lum_mask_mean_stddev", _i8, [_i32, _i32, _i32, _i32, _P(_f64), _P(_f64)])
_mask_min_max = bind("lum_mask_min_max", _i8, [_i32, _i32, _i32, _i32, _P(_f32), _P(_f32)])
if _mask_mean:
    def mask_mean(image, x, y, mask):
        m = _f64()
        check(_mask_mean(int(image), x, y, int(mask), ctypes.byref(m)), "lum_mask_mean")
        return m.value
    _export("mask_mean", mask_mean)
if _mask_mean_sd:
    def mask_mean_stddev(image, x, y, mask):
        m, s = _f64(), _f64()
        check(_mask_mean_sd(int(image), x, y, int(mask), ctypes.byref(m), ctypes.byref(s)), "lum_mask_mean_stddev")
        return m.value, s.value
    _export("mask_mean_stddev", mask_mean_stddev)
if _mask_min_max:
    def mask_min_max(image, x, y, mask):
        lo, hi = _f32(), _f32()
        check(_mask_min_max(int(image), x, y, int(mask), ctypes.byref(lo), ctypes.byref(hi)), "lum_mask_min_max")
        return lo.value, hi.value
    _export("mask_min_max", mask_min_max)

# ---- segmentation and morphology ---------------------------------------------
_plain("binarization", "hhi", "binarization(source, destination, threshold).")
_plain("binarization_rect", "hphsi",
       "binarization_rect(source, source_origin, destination, destination_origin, size, threshold).")
_plain("binarizationI", "hfff", "binarizationI(image, threshold, low, high).")
_plain("clipI", "hff", "clipI(image, low, high).")
_morph = bind("lum_morph_open_close", _i8, [_i32, _i32, _P(MorphParam)])
if _morph:
    def morph_open_close(source, destination, param):
        """param: (shape, operation, width, height); operation 2 opening, 3 closing."""
        p = param if isinstance(param, MorphParam) else MorphParam(*param)
        return check(_morph(int(source), int(destination), ctypes.byref(p)), "lum_morph_open_close")
    _export("morph_open_close", morph_open_close)

_find = bind("lum_find_contours", _i32, [_i32, _P(_u32), _P(_u32)])
_get_result = bind("lum_get_contours_result", _i8, [_i32, _P(_i32), _P(_u32)])
_release = bind("lum_release_contours", _i8, [_i32])
_expand = bind("lum_expand_contour", _i32, [_P(Point), _i32, _P(Rect), _i32, _P(_u32)])
_vline = bind("lum_vline_contour", None, [_P(Point), _i32, _P(Rect), _P(_i32), _P(_u32)])

# The sizes of the contour sets made here, by set handle: a fetch always gets
# room for the whole set, whatever total the caller passes, so that a wrong
# total cannot make the library write past the arrays.
_set_sizes = {}

if _find:
    def find_contours(image):
        """(contour-set handle, total integers, number of contours); fetch with get_contours_result
        or free with release_contours (a set of no contours too)."""
        total, count = _u32(), _u32()
        h = check(_find(int(image), ctypes.byref(total), ctypes.byref(count)), "lum_find_contours")
        _set_sizes[h] = (total.value, count.value)
        return h, total.value, count.value
    _export("find_contours", find_contours)
if _release:
    def release_contours(contours):
        """Frees a contour set without fetching it (0; -6 outside the store, -32 an empty slot)."""
        _set_sizes.pop(int(contours), None)
        return check(_release(int(contours)), "lum_release_contours")
    _export("release_contours", release_contours)
if _get_result:
    def get_contours_result(contours, total=None, count=None):
        """(result int32 array, sizes uint32 array) of a contour set, which is then released.

        total and count may be left out for a set made by find_contours or
        expand_contour here (expand_contour does not report a count): every
        contour takes at least 6 integers, so total // 6 sizes always suffice."""
        contours = int(contours)
        known_total, known_count = _set_sizes.pop(contours, (None, None))
        if total is None:
            total = known_total
        if count is None:
            count = known_count
        if total is None:
            raise ValueError("total is needed for a contour set not made through this module")
        total = int(total)
        room = max(total, known_total or 0)
        result = np.zeros(max(room, 1), np.int32)
        sizes = np.zeros(max(count if count is not None else room // 6, room // 6, 1), np.uint32)
        check(_get_result(contours, result.ctypes.data_as(_P(_i32)), sizes.ctypes.data_as(_P(_u32))),
              "lum_get_contours_result")
        if count is None:
            count = int(np.searchsorted(np.cumsum(sizes, dtype=np.int64), total) + 1) if total else 0
        return result[:total], sizes[:count]
    _export("get_contours_result", get_contours_result)
if _expand:
    def expand_contour(points, rect, distance):
        """(contour-set handle, total integers) of a contour grown by distance."""
        a, p, n = _points(points)
        total = _u32()
        h = check(_expand(p, n, _KINDS["r"][1](rect), distance, ctypes.byref(total)), "lum_expand_contour")
        _set_sizes[h] = (total.value, None)
        return h, total.value
    _export("expand_contour", expand_contour)
if _vline:
    def vline_contour(points, rect):
        """(runs as an (n, 3) array of (x, y_first, y_last), (cx, cy, area)) of a closed contour."""
        a, p, n = _points(points)
        r = rect if isinstance(rect, Rect) else Rect(*rect)
        room = 3 * (2 * n + 2) + 3  # at most one run per two points, then the centroid and area
        out = np.zeros(room, np.int32)
        written = _u32()
        _vline(p, n, ctypes.byref(r), out.ctypes.data_as(_P(_i32)), ctypes.byref(written))
        w = min(written.value, room)
        if w < 3:
            return np.zeros((0, 3), np.int32), None
        return out[:w - 3].reshape(-1, 3).copy(), tuple(out[w - 3:w].tolist())
    _export("vline_contour", vline_contour)
_plain("watershed", "hh", "watershed(source, markers).")


def split_contours(result, sizes):
    """[(points (n, 2) int32 array, (x, y, width, height))] from a contour result."""
    out, start = [], 0
    for size in sizes.tolist():
        chunk = result[start:start + size]
        out.append((chunk[:-4].reshape(-1, 2).copy(), tuple(chunk[-4:].tolist())))
        start += size
    return out


if _find and _get_result and _release:
    def contours(image):
        """find_contours and get_contours_result in one: a list of (points, bounding box).
        A set of no contours, which cannot be fetched, is released."""
        h, total, count = find_contours(image)
        if count == 0:
            release_contours(h)
            return []
        return split_contours(*get_contours_result(h, total, count))
    _export("contours", contours)


from .._measure import OBJECT_DTYPE  # noqa: E402 -- one record layout for both layers


def measure_objects(image, min_area=0, labels=-1, capacity=None):
    """(objects, count): the records lum_measure_objects writes, as a structured array of
    min(count, capacity) entries (capacity None: all of them, after a counting call), and the
    number of objects found. labels: -1 or a 16u one-channel image receiving each pixel's label.
    Raises NotImplementedError when the loaded library does not export lum_measure_objects."""
    c = measure_objects_function()
    if c is None:
        raise NotImplementedError("the loaded liblum_lib.so does not export lum_measure_objects")
    count = _u32()
    labels = -1 if labels is None else int(labels)
    if capacity is None:
        check(c(int(image), min_area, labels, None, 0, ctypes.byref(count)), "lum_measure_objects")
        capacity = count.value
    records = np.zeros(max(int(capacity), 1), OBJECT_DTYPE)
    check(c(int(image), min_area, labels, records.ctypes.data_as(_P(Object)) if capacity else None, capacity,
            ctypes.byref(count)), "lum_measure_objects")
    return records[:min(count.value, capacity)], count.value


_export("measure_objects", measure_objects)
