"""Binarization, clipping, morphology, contours and the watershed: arrays in, arrays out."""
import ctypes
from typing import List, Optional, Tuple, Union

import numpy as np

from ._call import ANY, F32, GREY, INTEGER, U16, U8, Call, as_image, bits, check, function
from ._native import MorphParam, Point, Rect

_i8, _i32, _u32, _f32 = ctypes.c_int8, ctypes.c_int32, ctypes.c_uint32, ctypes.c_float
_H = _i32
_P = ctypes.POINTER

_binarize = function("lum_binarization", _i8, [_H, _H, _i32])
_binarizeI = function("lum_binarizationI", _i8, [_H, _f32, _f32, _f32])
_clip = function("lum_clipI", _i8, [_H, _f32, _f32])
_morph = function("lum_morph_open_close", _i8, [_H, _H, _P(MorphParam)])
_find = function("lum_find_contours", _i32, [_H, _P(_u32), _P(_u32)])
_fetch = function("lum_get_contours_result", _i8, [_i32, _P(_i32), _P(_u32)])
_release = function("lum_release_contours", _i8, [_i32])
_expand = function("lum_expand_contour", _i32, [_P(Point), _i32, _P(Rect), _i32, _P(_u32)])
_vline = function("lum_vline_contour", None, [_P(Point), _i32, _P(Rect), _P(_i32), _P(_u32)])
_watershed = function("lum_watershed", _i8, [_H, _H])

Array = np.ndarray


def binarize(image: Array, threshold: int, out: Optional[Array] = None, *, invert: bool = False,
             valid_bits: Optional[int] = None) -> Array:
    """A two-level image: samples >= threshold become 2**valid_bits - 1 (255 for full uint8 data),
    the others 0; invert=True swaps the two. uint8 or uint16 grey.

    threshold: 0..the sample maximum. Threshold 0 makes every sample foreground and a threshold
    above the sample maximum none (these two are filled here: the library's own binarization
    takes thresholds modulo the sample range and leaves such thresholds' images unchanged).
    """
    a = as_image(image, "image", INTEGER, GREY)
    vb = bits(a, valid_bits)
    t = int(threshold)
    if t < 0:
        raise ValueError(f"threshold {threshold}: use invert=True for the inverted sense")
    top = (1 << vb) - 1
    if t == 0 or t > np.iinfo(a.dtype).max:
        fill = (top if t == 0 else 0) if not invert else (0 if t == 0 else top)
        if out is None:
            return np.full(a.shape, fill, a.dtype)
        np.copyto(Call.target(out, a.shape, a.dtype), fill)
        return out
    with Call() as c:
        hs = c.lend(a, vb)
        hd, result = c.output(out, a.shape, a.dtype, vb, inputs=(a,), alias_ok=True)
        check(_binarize(hs, hd, -t if invert else t), "lum_binarization")
    return result


def threshold(image: Array, thresh: float, low: float = 0, high: Optional[float] = None,
              out: Optional[Array] = None) -> Array:
    """Samples below thresh become low, the others high (default: the dtype's maximum, 1.0 for
    float32). uint8, uint16 or float32 grey; low < thresh <= high's type range.

    Integer images take whole thresholds and levels within the sample range (levels truncated
    toward zero); float images compare in float (a sample within 0.0001 below thresh also
    becomes high). out may be the image itself.
    """
    a = as_image(image, "image", ANY, GREY)
    if high is None:
        high = 1.0 if a.dtype == F32 else np.iinfo(a.dtype).max
    t, lo, hi = float(thresh), float(low), float(high)
    if a.dtype != F32:
        top = np.iinfo(a.dtype).max
        for name, v in (("thresh", t), ("low", lo), ("high", hi)):
            if not 0 <= v <= top:
                raise ValueError(f"{name} {v} lies outside 0..{top} of {a.dtype}")
        if not t.is_integer():
            raise ValueError(f"thresh {thresh}: {a.dtype} images take whole thresholds")
        if int(t) == 0:  # nothing lies below 0: the library's two steps would leave the image as it is
            if out is None:
                return np.full(a.shape, int(hi), a.dtype)
            np.copyto(Call.target(out, a.shape, a.dtype), int(hi))
            return out
        if int(lo) >= int(t):
            raise ValueError(f"low {low} must lie below thresh {thresh}")
    elif not lo <= t - 0.0001:
        raise ValueError(f"low {low} must lie below thresh {thresh} - 0.0001")
    with Call() as c:
        h, result = c.in_place(a, out, bits(a, None))
        check(_binarizeI(h, t, lo, hi), "lum_binarizationI")
    return result


def clip(image: Array, low: Optional[float], high: Optional[float], out: Optional[Array] = None) -> Array:
    """Samples below low become low and samples above high become high; None leaves that side
    open. uint8, uint16 (bounds truncated toward zero, within the sample range) or float32 grey.
    out may be the image itself."""
    a = as_image(image, "image", ANY, GREY)
    lo = float("nan") if low is None else float(low)
    hi = float("nan") if high is None else float(high)
    if a.dtype != F32:
        top = np.iinfo(a.dtype).max
        for name, v in (("low", lo), ("high", hi)):
            if v == v and not 0 <= v <= top:
                raise ValueError(f"{name} {v} lies outside 0..{top} of {a.dtype}")
    with Call() as c:
        h, result = c.in_place(a, out, bits(a, None))
        check(_clip(h, lo, hi), "lum_clipI")
    return result


_SHAPES = {"rect": 0, "ellipse": 2}


def _morphology(operation, name, image, size, shape, out):
    a = as_image(image, "image", INTEGER, GREY)
    if shape not in _SHAPES:
        raise ValueError(f"shape {shape!r}: expected 'rect' or 'ellipse'")
    width, height = (int(size), int(size)) if np.ndim(size) == 0 else (int(size[0]), int(size[1]))
    param = MorphParam(_SHAPES[shape], operation, width, height)
    with Call() as c:
        hs = c.lend(a, bits(a, None))
        hd, result = c.output(out, a.shape, a.dtype, bits(a, None), inputs=(a,))
        check(_morph(hs, hd, ctypes.byref(param)), "lum_morph_open_close")
    return result


def opening(image: Array, size: Union[int, Tuple[int, int]] = (3, 3), shape: str = "rect",
            out: Optional[Array] = None) -> Array:
    """Morphological opening (erosion, then dilation) of a uint8 or uint16 grey image: removes
    bright specks smaller than the element. size = (width, height) of the element (or one number),
    shape "rect" (full rectangle) or "ellipse" (inscribed); borders are replicated, so objects
    touching the edge are not eaten from outside. Grey levels are min/max filtered (flat element).
    """
    return _morphology(2, "lum_morph_open_close", image, size, shape, out)


def closing(image: Array, size: Union[int, Tuple[int, int]] = (3, 3), shape: str = "rect",
            out: Optional[Array] = None) -> Array:
    """Morphological closing (dilation, then erosion) of a uint8 or uint16 grey image: fills dark
    gaps smaller than the element. size, shape and borders as opening()."""
    return _morphology(3, "lum_morph_open_close", image, size, shape, out)


def _fetch_set(handle, total, count):
    """The contours of a set as [(points (n, 2), box (x, y, w, h))]; the set is released either way."""
    if count == 0 or total == 0:
        _release(handle)  # an empty set cannot be fetched, and would stay in the store
        return []
    result = np.zeros(total, np.int32)
    sizes = np.zeros(count, np.uint32)
    status = _fetch(handle, result.ctypes.data_as(_P(_i32)), sizes.ctypes.data_as(_P(_u32)))
    if status < 0:
        _release(handle)
        check(status, "lum_get_contours_result")
    out, start = [], 0
    for size in sizes.tolist():
        if size == 0 or start >= total:  # a count guessed from the total leaves spare sizes
            break
        chunk = result[start:start + size]
        out.append((chunk[:-4].reshape(-1, 2).copy(), tuple(chunk[-4:].tolist())))
        start += size
    return out


def find_contours(binary: Array, boxes: bool = False) -> List[Array]:
    """The outer boundaries of the objects (non-zero samples) of a bool, uint8 or uint16 grey image.

    Returns a list of (n, 2) int32 arrays of (x, y) boundary pixels, one per object, in the
    order the tracer meets them (row by row); with boxes=True, a list of (points, (x, y, width,
    height)) pairs. Objects whose boundary closes within eight steps (3 x 3 and smaller) and
    objects inside another object's hole are not reported; use measure() to count every object.
    """
    a = as_image(binary, "binary", INTEGER, GREY, boolean=True)
    total, count = _u32(), _u32()
    with Call() as c:
        h = c.lend(a, bits(a, None))
        handle = check(_find(h, ctypes.byref(total), ctypes.byref(count)), "lum_find_contours")
    found = _fetch_set(handle, total.value, count.value)
    return found if boxes else [p for p, _ in found]


def _points(points):
    p = np.ascontiguousarray(np.asarray(points, np.int32).reshape(-1, 2))
    return p, p.ctypes.data_as(_P(Point)), p.shape[0]


def _bounding_rect(p):
    lo, hi = p.min(axis=0), p.max(axis=0)
    return Rect(int(lo[0]), int(lo[1]), int(hi[0] - lo[0] + 1), int(hi[1] - lo[1] + 1))


def expand_contour(points, distance: int, rect: Optional[Tuple[int, int, int, int]] = None) -> List[Array]:
    """A closed contour grown by distance pixels: the boundary of its points dilated with a
    (2 distance + 1) ellipse. points: (n, 2) of (x, y); rect: their bounding box (default computed).
    Returns a list of (m, 2) int32 arrays of (x, y) in the points' coordinates."""
    p, pp, n = _points(points)
    if n == 0:
        raise ValueError("no points")
    r = _bounding_rect(p) if rect is None else Rect(*(int(v) for v in rect))
    distance = int(distance)
    total = _u32()
    handle = check(_expand(pp, n, ctypes.byref(r), distance, ctypes.byref(total)), "lum_expand_contour")
    found = _fetch_set(handle, total.value, total.value // 6)
    shift = np.array([r.x - distance, r.y - distance], np.int32)  # from the scratch image's coordinates
    return [q + shift for q, _ in found]


def contour_runs(points, rect: Optional[Tuple[int, int, int, int]] = None):
    """The vertical runs inside a closed contour: (runs, (cx, cy), area).

    runs: (k, 3) int32 of (x, first y, last y) per column pair of boundary crossings; (cx, cy):
    the mean of the points, rounded half away from zero; area: the pixels of the runs. rect: the
    contour's bounding box (default computed); columns outside it are skipped.
    """
    p, pp, n = _points(points)
    if n == 0:
        return np.zeros((0, 3), np.int32), None, 0
    r = _bounding_rect(p) if rect is None else Rect(*(int(v) for v in rect))
    room = 3 * (n // 2 + 1) + 3
    runs = np.zeros(room, np.int32)
    written = _u32()
    _vline(pp, n, ctypes.byref(r), runs.ctypes.data_as(_P(_i32)), ctypes.byref(written))
    w = min(written.value, room)
    if w < 3:
        return np.zeros((0, 3), np.int32), None, 0
    cx, cy, area = runs[w - 3:w].tolist()
    return runs[:w - 3].reshape(-1, 3).copy(), (cx, cy), area


def watershed(image: Array, markers: Array, out: Optional[Array] = None) -> Array:
    """Marker-controlled watershed: the basins of `markers` flooded over `image`.

    image: uint8 or uint16 grey; markers: an integer array of its shape whose non-zero values
    (1..65535) are seeds naming basins. Returns a uint16 label image: each pixel a basin reached
    holds its label; pixels where basins meet (the watershed lines) and pixels none reached hold 0.
    Flooding runs in grey-level order, first in first out within a level, 8-connected. No seed at
    all raises LumError(-32). out (uint16) may be markers itself.
    """
    a = as_image(image, "image", INTEGER, GREY)
    m = np.asarray(markers)
    if m.shape != a.shape:
        raise ValueError(f"markers have shape {m.shape}, the image {a.shape}")
    if m.dtype != U16:
        if not np.issubdtype(m.dtype, np.integer):
            raise TypeError(f"markers: integer labels, not {m.dtype}")
        if m.size and (m.min() < 0 or m.max() > 65535):
            raise ValueError("markers hold labels outside 0..65535")
        m = m.astype(U16)
    with Call() as c:
        hs = c.lend(a, bits(a, None))
        hm, result = c.in_place(m, out, 16, others=(a,))
        check(_watershed(hs, hm), "lum_watershed")
    return result
