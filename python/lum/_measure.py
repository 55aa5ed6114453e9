"""Statistics, histograms, thresholds, projections, profiles, masks and object measurement."""
import ctypes
import math
from typing import NamedTuple, Optional, Sequence, Tuple, Union

import numpy as np

from ._call import ANY, EITHER, F32, GREY, INTEGER, U16, U8, Call, as_image, bits, check, function, point, rect
from ._native import Object, Point, Rect, measure_objects_function

_i8, _i32, _u32, _f32, _f64, _vp = (ctypes.c_int8, ctypes.c_int32, ctypes.c_uint32, ctypes.c_float,
                                    ctypes.c_double, ctypes.c_void_p)
_H = _i32
_P = ctypes.POINTER

_sum = function("lum_sum", _i8, [_H, _P(_f64)])
_sum_rect = function("lum_sum_rect", _i8, [_H, _P(Rect), _P(_f64)])
_min_max = function("lum_img_min_max", _i8, [_H, _vp, _vp])
_min_max_rect = function("lum_img_min_max_rect", _i8, [_H, _P(Rect), _vp, _vp])
_mean_sd = function("lum_img_mean_stddev", _i8, [_H, _P(_f64), _P(_f64)])
_mean_sd_rect = function("lum_img_mean_stddev_rect", _i8, [_H, _P(Rect), _P(_f64), _P(_f64)])
_hist = function("lum_histogram", _i8, [_H, _f32, _f32, _P(_u32), _i32])
_hist_rect = function("lum_histogram_rect", _i8, [_H, _P(Rect), _f32, _f32, _P(_u32), _i32])
_otsu = function("lum_otsu_get_threshold", _i8, [_H, _P(_i32)])
_otsu_rect = function("lum_otsu_get_threshold_rect", _i8, [_H, _P(Rect), _P(_i32)])
_proj_max = function("lum_projection_max", _i8, [_H, _H, _u32, _u32, _i32])
_proj_min = function("lum_projection_min", _i8, [_H, _H, _u32, _u32, _i32])
_proj_mean_init = function("lum_projection_mean_init", _i8, [_u32, _u32, _P(_i32)])
_proj_mean = function("lum_projection_mean", _i8, [_H, _H, _u32, _u32, _i32, _H])
_destroy = function("lum_destroy_image", _i8, [_H])
_fast_profile = function("lum_get_fast_profile", _i8, [_H, Point, Point, _u32, _vp, _P(_u32)])
_profile = function("lum_get_profile", _i8, [_H, Point, Point, _u32, _vp, _P(_u32)])
_mask = function("lum_generate_mask", _i8, [_H, _u32, _P(Point), _i32])
_mask_part = function("lum_generate_mask_part", _i8, [_H, Point, _u32, _P(Point), _i32])
_mask_mean = function("lum_mask_mean", _i8, [_H, _i32, _i32, _H, _P(_f64)])
_mask_mean_sd = function("lum_mask_mean_stddev", _i8, [_H, _i32, _i32, _H, _P(_f64), _P(_f64)])
_mask_min_max = function("lum_mask_min_max", _i8, [_H, _i32, _i32, _H, _P(_f32), _P(_f32)])

Array = np.ndarray
Number = Union[int, float]


class Stats(NamedTuple):
    """Statistics of a grey image: min and max in its sample type, mean and population standard
    deviation (divisor N) and the sum of the samples as floats."""
    min: Number
    max: Number
    mean: float
    stddev: float
    sum: float


class MaskStats(NamedTuple):
    """Statistics of the samples under a mask: mean, population standard deviation, min and max."""
    mean: float
    stddev: float
    min: float
    max: float


def _rect_arg(r):
    return None if r is None else ctypes.byref(rect(r))


def stats(image: Array, rect: Optional[Tuple[int, int, int, int]] = None) -> Stats:
    """min, max, mean, stddev and sum of a grey image (uint8, uint16, float32), or of
    rect = (x, y, width, height) of it. Integer sums are exact up to 2**53."""
    a = as_image(image, "image", ANY, GREY)
    r = _rect_arg(rect)
    lo, hi = np.zeros(1, a.dtype), np.zeros(1, a.dtype)
    mean, sd, total = _f64(), _f64(), _f64()
    with Call() as c:
        h = c.lend(a, bits(a, None))
        if r is None:
            check(_min_max(h, lo.ctypes.data, hi.ctypes.data), "lum_img_min_max")
            check(_mean_sd(h, ctypes.byref(mean), ctypes.byref(sd)), "lum_img_mean_stddev")
            check(_sum(h, ctypes.byref(total)), "lum_sum")
        else:
            check(_min_max_rect(h, r, lo.ctypes.data, hi.ctypes.data), "lum_img_min_max_rect")
            check(_mean_sd_rect(h, r, ctypes.byref(mean), ctypes.byref(sd)), "lum_img_mean_stddev_rect")
            check(_sum_rect(h, r, ctypes.byref(total)), "lum_sum_rect")
    return Stats(lo[0].item(), hi[0].item(), mean.value, sd.value, total.value)


def min_max(image: Array, rect: Optional[Tuple[int, int, int, int]] = None):
    """(min, max) of an image or of rect = (x, y, width, height) of it, in its sample type;
    for colour images two tuples of three (one value per channel)."""
    a = as_image(image)
    n = 3 if a.ndim == 3 else 1
    lo, hi = np.zeros(n, a.dtype), np.zeros(n, a.dtype)
    r = _rect_arg(rect)
    with Call() as c:
        h = c.lend(a, bits(a, None))
        if r is None:
            check(_min_max(h, lo.ctypes.data, hi.ctypes.data), "lum_img_min_max")
        else:
            check(_min_max_rect(h, r, lo.ctypes.data, hi.ctypes.data), "lum_img_min_max_rect")
    if n == 1:
        return lo[0].item(), hi[0].item()
    return tuple(lo.tolist()), tuple(hi.tolist())


def histogram(image: Array, bins: int = 256, range: Optional[Tuple[float, float]] = None,
              rect: Optional[Tuple[int, int, int, int]] = None, *, valid_bits: Optional[int] = None) -> Array:
    """Counts of a grey image's samples in `bins` equal bins over range = (lower, upper), as uint32.

    Bin k holds lower + k (upper - lower) / bins <= v < lower + (k + 1) (upper - lower) / bins
    (levels in double precision): a sample on a level belongs to the bin above it and samples at
    or above upper are not counted. Default range: (0, 256) for uint8, (0, 2**valid_bits) for
    uint16; float32 images need an explicit range. rect = (x, y, width, height) counts a part.
    """
    a = as_image(image, "image", ANY, GREY)
    if range is None:
        if a.dtype == F32:
            raise ValueError("float32 images need range=(lower, upper)")
        range = (0, 1 << bits(a, valid_bits))
    lower, upper = float(range[0]), float(range[1])
    bins = int(bins)
    if bins < 1 or bins > 2**31 - 1:
        raise ValueError(f"bins={bins}")
    counts = np.zeros(bins, np.uint32)
    cp = counts.ctypes.data_as(_P(_u32))
    with Call() as c:
        h = c.lend(a, bits(a, valid_bits))
        if rect is None:
            check(_hist(h, lower, upper, cp, bins), "lum_histogram")
        else:
            check(_hist_rect(h, _rect_arg(rect), lower, upper, cp, bins), "lum_histogram_rect")
    return counts


def threshold_otsu(image: Array, rect: Optional[Tuple[int, int, int, int]] = None) -> int:
    """Otsu's threshold of a uint8 or uint16 grey image, in the image's own sample values: the
    level that best splits the histogram into two classes, the value scikit-image's threshold_otsu
    gives for uint8 images. Its classes are samples <= t and samples > t, so image > t is the
    foreground (binarize(image, t + 1); binarize(image, t) also counts the samples equal to t).
    A uint16 image is first stretched onto 0..255 through its minimum and maximum (the threshold
    is mapped back); a constant uint16 image gives its value. rect = (x, y, width, height)
    measures a part (of the stretched image, for uint16).
    """
    a = as_image(image, "image", INTEGER, GREY)
    t = _i32()
    with Call() as c:
        h = c.lend(a, bits(a, None))
        if rect is None:
            check(_otsu(h, ctypes.byref(t)), "lum_otsu_get_threshold")
        else:
            check(_otsu_rect(h, _rect_arg(rect), ctypes.byref(t)), "lum_otsu_get_threshold_rect")
    return t.value


_DIRECTIONS = {"pixel": 0, "row": 1, "column": 2}


def projection(frames, op: str = "max", direction: str = "pixel", out: Optional[Array] = None) -> Array:
    """Reduces a sequence of equally sized grey frames (a list of (h, w) arrays, or an (n, h, w)
    array) into one image.

    op: "max", "min" (uint8, uint16) or "mean" (uint8, uint16, float32).
    direction "pixel": result (h, w), pixel by pixel over the frames (the mean rounded to nearest
    and saturated to the frames' dtype); "row": result (h, n), column i holds the reduction of each
    row of frame i; "column": result (n, w), row i holds the reduction of each column of frame i.
    """
    if op not in ("max", "min", "mean"):
        raise ValueError(f"op {op!r}: expected 'max', 'min' or 'mean'")
    if direction not in _DIRECTIONS:
        raise ValueError(f"direction {direction!r}: expected 'pixel', 'row' or 'column'")
    if isinstance(frames, np.ndarray) and frames.ndim == 3:
        frames = list(frames)
    dtypes = INTEGER if op != "mean" else ANY
    frames = [as_image(f, f"frames[{k}]", dtypes, GREY) for k, f in enumerate(frames)]
    n = len(frames)
    if n == 0:
        raise ValueError("no frames")
    if len({f.shape for f in frames}) != 1 or len({f.dtype for f in frames}) != 1:
        raise ValueError("the frames differ in shape or dtype")
    h, w = frames[0].shape
    dtype = frames[0].dtype
    d = _DIRECTIONS[direction]
    shape = {0: (h, w), 1: (h, n), 2: (n, w)}[d]
    vb = bits(frames[0], None)
    with Call() as c:
        if op == "mean":
            hd, result = c.output(out, shape, dtype, vb)
            acc = _i32(-1)
            status = _proj_mean_init(w, h, ctypes.byref(acc))
            try:
                check(status, "lum_projection_mean_init")
                for k, f in enumerate(frames):
                    check(_proj_mean(c.lend(f, vb), hd, k, n, d, acc.value), "lum_projection_mean")
            finally:
                if acc.value >= 0:
                    _destroy(acc.value)
            return result
        # The destination takes part in the reduction: start it at the neutral value.
        start = None
        if d == 0:
            start = frames[0]
        elif d == 2 and op == "min":
            start = np.full(shape, np.iinfo(dtype).max, dtype)
        elif d == 2:
            start = np.zeros(shape, dtype)
        if start is None:
            hd, result = c.output(out, shape, dtype, vb)
        else:
            hd, result = c.in_place(start, out, vb, others=frames)
        fn, name = (_proj_max, "lum_projection_max") if op == "max" else (_proj_min, "lum_projection_min")
        for k, f in enumerate(frames):
            check(fn(c.lend(f, vb), hd, k, n, d), name)
    return result


def profile(image: Array, p0: Tuple[int, int], p1: Tuple[int, int], thickness: int = 1, *,
            fast: bool = False) -> Array:
    """Grey levels along the line from p0 = (x0, y0) to p1 = (x1, y1), both ends included.

    The result has L = trunc(sqrt(dx**2 + dy**2)) samples of the image's dtype, dx = |x1 - x0| + 1
    and dy = |y1 - y0| + 1, resampled from the line's pixels (linear interpolation).
    thickness > 1 averages a band of that many lines parallel to the segment: by default taken
    from the image turned so that the line lies along a row (uint8, uint16, float32); fast=True
    instead stacks the digital line shifted across it (uint8, uint16). Both points must lie in
    the image (LumError -7 otherwise).
    """
    a = as_image(image, "image", ANY, GREY)
    q0, q1 = point(p0, "p0"), point(p1, "p1")
    thickness = int(thickness)
    if thickness < 1:
        raise ValueError(f"thickness={thickness}")
    dx, dy = abs(float(q1.x) - q0.x) + 1.0, abs(float(q1.y) - q0.y) + 1.0
    length = int(math.sqrt(dx * dx + dy * dy))
    samples = np.zeros(max(length, 1), a.dtype)
    count = _u32(samples.size)
    fn, name = (_fast_profile, "lum_get_fast_profile") if fast else (_profile, "lum_get_profile")
    with Call() as c:
        h = c.lend(a, bits(a, None))
        check(fn(h, q0, q1, thickness, samples.ctypes.data, ctypes.byref(count)), name)
    return samples[:min(count.value, samples.size)]


_KINDS = {"rectangle": 0, "ellipse": 1, "polygon": 2}


def draw_mask(shape: Tuple[int, int], kind: str = "rectangle", points=None,
              box: Optional[Tuple[int, int, int, int]] = None, origin: Optional[Tuple[int, int]] = None,
              out: Optional[Array] = None) -> Array:
    """A uint8 mask of shape (height, width): 255 inside a shape, 0 elsewhere.

    kind "rectangle" or "ellipse" (inscribed): the shape fills box = (x, y, width, height), default
    the whole mask. kind "polygon": points [(x, y), ...] are its vertices in order; a row's span
    runs from one edge crossing to the next, both included. origin = (x, y): the plane point of
    the mask's top-left sample (box and points are plane coordinates, clipped to the mask).
    Masks under 3 x 3 are always filled as rectangles.
    """
    if kind not in _KINDS:
        raise ValueError(f"kind {kind!r}: expected 'rectangle', 'ellipse' or 'polygon'")
    height, width = (int(v) for v in shape)
    code = _KINDS[kind]
    if code == 2:
        if points is None:
            raise ValueError("a polygon needs points")
        verts = np.ascontiguousarray(np.asarray(points, np.int32).reshape(-1, 2))
        if verts.shape[0] == 0:
            raise ValueError("a polygon needs points")
        pp, n = verts.ctypes.data_as(_P(Point)), verts.shape[0]
    elif box is not None:
        verts = np.ascontiguousarray(np.asarray(box, np.int32).reshape(2, 2))
        pp, n = verts.ctypes.data_as(_P(Point)), 2
    else:
        verts, pp, n = None, None, 0
    with Call() as c:
        # The library clears the whole buffer of a mask, row padding included: out goes in gapless.
        target = None if out is None else Call.target(out, (height, width), U8)
        if target is not None and not target.flags.c_contiguous:
            hm, result = c.output(None, (height, width), U8, 8)
            c.copy_back.append((result, target))
            result = target
        else:
            hm, result = c.output(target, (height, width), U8, 8)
        if origin is None and box is None:
            check(_mask(hm, code, pp, n), "lum_generate_mask")
        else:
            check(_mask_part(hm, point(origin or (0, 0), "origin"), code, pp, n), "lum_generate_mask_part")
    return result


def _masked(image, mask, origin):
    a = as_image(image, "image", INTEGER, GREY)
    m = as_image(mask, "mask", (U8,), GREY)
    x, y = (int(v) for v in origin)
    return a, m, x, y


def masked_mean(image: Array, mask: Array, origin: Tuple[int, int] = (0, 0)) -> float:
    """Mean of a uint8 or uint16 grey image's samples under the non-zero samples of a uint8 mask
    whose top-left sample lies at origin = (x, y) of the image (the mask must fit inside)."""
    a, m, x, y = _masked(image, mask, origin)
    mean = _f64()
    with Call() as c:
        check(_mask_mean(c.lend(a, 16 if a.dtype == U16 else 8), x, y, c.lend(m, 8), ctypes.byref(mean)),
              "lum_mask_mean")
    return mean.value


def masked_stats(image: Array, mask: Array, origin: Tuple[int, int] = (0, 0)) -> MaskStats:
    """mean, stddev (divisor: the samples counted), min and max of a uint8 or uint16 grey image's
    samples under the non-zero samples of a uint8 mask placed at origin = (x, y). A mask that
    selects nothing gives min = max = 0."""
    a, m, x, y = _masked(image, mask, origin)
    mean, sd, lo, hi = _f64(), _f64(), _f32(), _f32()
    with Call() as c:
        ha, hm = c.lend(a, 16 if a.dtype == U16 else 8), c.lend(m, 8)
        check(_mask_mean_sd(ha, x, y, hm, ctypes.byref(mean), ctypes.byref(sd)), "lum_mask_mean_stddev")
        check(_mask_min_max(ha, x, y, hm, ctypes.byref(lo), ctypes.byref(hi)), "lum_mask_min_max")
    return MaskStats(mean.value, sd.value, lo.value, hi.value)


OBJECT_FIELDS = [name for name, _ in Object._fields_]
OBJECT_DTYPE = np.dtype({"names": OBJECT_FIELDS,
                         "formats": ["<u4", "<u4", "<f8", "<f8", "<i4", "<i4", "<i4", "<i4", "<u4",
                                     "<f8", "<f8", "<f8"],
                         "offsets": [getattr(Object, name).offset for name in OBJECT_FIELDS],
                         "itemsize": ctypes.sizeof(Object)})
PHYSICAL_FIELDS = ["physical_area", "physical_centroid_x", "physical_centroid_y", "physical_width",
                   "physical_height", "physical_orientation", "physical_major_axis", "physical_minor_axis"]


def measure(binary: Array, min_area: int = 0, labels: bool = False,
            pixel_size: Optional[Union[float, Tuple[float, float]]] = None):
    """The objects of a binary image: the 8-connected components of its non-zero samples.

    binary: bool, uint8 or uint16 grey. Objects of fewer than min_area pixels are left out and take no
    label. Returns a NumPy structured array, one record per object in label order (labels from 1,
    in the raster order of each object's first pixel), with the fields
      label, area (pixels), centroid_x, centroid_y (mean of the pixels' x and y),
      x, y, width, height (bounding box), holes (background components it encloses,
      4-connected, not touching the border), orientation (radians, the major axis' angle as
      scikit-image's regionprops gives it), major_axis, minor_axis (4 sqrt of the eigenvalues of
      the pixels' covariance).
    labels=True: returns (objects, label_image), a uint16 image holding each pixel's label (0 for
    background and left-out objects; more than 65535 objects raise LumError -7).
    pixel_size: s or (sx, sy), the physical size of a pixel: adds the fields physical_area,
    physical_centroid_x/_y (pixel centres at x sx, y sy), physical_width/_height,
    physical_orientation and physical_major/minor_axis (the covariance taken in physical units).
    """
    fn = measure_objects_function()
    if fn is None:
        raise NotImplementedError("the loaded liblum_lib.so does not export lum_measure_objects")
    a = as_image(binary, "binary", INTEGER, GREY, boolean=True)
    min_area = int(min_area)
    if not 0 <= min_area <= 0xFFFFFFFF:
        raise ValueError(f"min_area={min_area}")
    count = _u32()
    with Call() as c:
        h = c.lend(a, bits(a, None))
        if labels:
            hl, label_image = c.output(None, a.shape, U16, 16)
        else:
            hl, label_image = -1, None
        # Labels are written by the call that fills the records; the first call only counts.
        check(fn(h, min_area, -1, None, 0, ctypes.byref(count)), "lum_measure_objects")
        capacity = count.value
        records = np.zeros(max(capacity, 1), OBJECT_DTYPE)
        check(fn(h, min_area, hl, records.ctypes.data_as(_P(Object)), capacity, ctypes.byref(count)),
              "lum_measure_objects")
    records = records[:min(capacity, count.value)]
    if pixel_size is not None:
        records = _physical(records, pixel_size)
    return (records, label_image) if labels else records


def _physical(records, pixel_size):
    sx, sy = (float(pixel_size), float(pixel_size)) if np.ndim(pixel_size) == 0 else \
        (float(pixel_size[0]), float(pixel_size[1]))
    extra = [(name, "<f8") for name in PHYSICAL_FIELDS]
    out = np.zeros(records.shape, np.dtype([(n, records.dtype.fields[n][0]) for n in records.dtype.names] + extra))
    for name in records.dtype.names:
        out[name] = records[name]
    out["physical_area"] = records["area"] * (sx * sy)
    out["physical_centroid_x"] = records["centroid_x"] * sx
    out["physical_centroid_y"] = records["centroid_y"] * sy
    out["physical_width"] = records["width"] * sx
    out["physical_height"] = records["height"] * sy
    # The covariance back from its axes: eigenvalues (axis / 4)^2, the major one along the
    # orientation (scikit-image's: angle between the row axis and the major axis).
    t = records["orientation"]
    l1, l2 = (records["major_axis"] / 4) ** 2, (records["minor_axis"] / 4) ** 2
    vr, vc = np.cos(t), np.sin(t)  # the major axis in (row, column)
    crr = l1 * vr * vr + l2 * vc * vc
    ccc = l1 * vc * vc + l2 * vr * vr
    crc = (l1 - l2) * vr * vc
    crr, ccc, crc = crr * sy * sy, ccc * sx * sx, crc * sx * sy
    half_sum, root = (crr + ccc) / 2, np.sqrt(((crr - ccc) / 2) ** 2 + crc ** 2)
    out["physical_major_axis"] = 4 * np.sqrt(np.maximum(half_sum + root, 0))
    out["physical_minor_axis"] = 4 * np.sqrt(np.maximum(half_sum - root, 0))
    out["physical_orientation"] = 0.5 * np.arctan2(2 * crc, crr - ccc)
    return out
