"""Flips, resizing and rotation: arrays in, arrays out."""
import ctypes
import math
from typing import Optional, Tuple, Union

import numpy as np

from ._call import Call, as_image, bits, check, function
from ._native import Point, Size

_i8, _i32, _f64 = ctypes.c_int8, ctypes.c_int32, ctypes.c_double
_H = _i32

_mirror = function("lum_mirrorI", _i8, [_H, _i32])
_resize = function("lum_resize", _i8, [_H, Point, Size, _H, Point, Size, _i32])
_rotate = function("lum_rotate", _i8, [_H, _H, _f64, _f64, _f64, _i32])

Array = np.ndarray
INTERPOLATION = {"nearest": 1, "linear": 2, "lanczos": 16}


def _interpolation(name, allowed):
    if name not in allowed:
        raise ValueError(f"interpolation {name!r}: expected one of {', '.join(map(repr, allowed))}")
    return INTERPOLATION[name]


def flip(image: Array, axis: Optional[Union[int, Tuple[int, int]]] = None, out: Optional[Array] = None) -> Array:
    """The image flipped as numpy.flip does: axis 0 reverses the rows (top to bottom), axis 1 the
    columns (left to right), None or (0, 1) both. uint8, uint16, float32; grey or colour.
    out may be the image itself."""
    a = as_image(image)
    if axis is None or (isinstance(axis, (tuple, list)) and sorted(axis) == [0, 1]):
        code = 2
    elif axis in (0, 1, -2):
        code = 0 if axis in (0, -2) else 1
    elif axis == -1:
        code = 1
    else:
        raise ValueError(f"axis {axis!r}: expected 0, 1 or None")
    with Call() as c:
        h, result = c.in_place(a, out, bits(a, None))
        check(_mirror(h, code), "lum_mirrorI")
    return result


def resize(image: Array, size: Optional[Tuple[int, int]], interpolation: str = "linear",
           out: Optional[Array] = None) -> Array:
    """The image scaled to size = (width, height) (OpenCV's order; None: out's size).

    Pixel centres map by (d + 0.5) * source / destination - 0.5. "nearest" takes the source pixel
    floor((d + 0.5) * source / destination); "linear" is bilinear and "lanczos" Lanczos-3 (6 x 6
    taps; nearest when the image is under 6 pixels wide or high), both with replicated borders.
    Integer results are rounded to nearest and saturated. uint8, uint16, float32; grey or colour.
    """
    a = as_image(image)
    code = _interpolation(interpolation, ("nearest", "linear", "lanczos"))
    if size is None:
        if out is None:
            raise ValueError("give size=(width, height) or out=")
        width, height = out.shape[1], out.shape[0]
    else:
        width, height = (int(v) for v in size)
    if width < 1 or height < 1:
        raise ValueError(f"size ({width}, {height}): a resized image has at least one pixel")
    shape = (height, width) + a.shape[2:]
    h, w = a.shape[:2]
    vb = bits(a, None)
    with Call() as c:
        hs = c.lend(a, vb)
        hd, result = c.output(out, shape, a.dtype, vb, inputs=(a,))
        check(_resize(hs, Point(0, 0), Size(w, h), hd, Point(0, 0), Size(width, height), code), "lum_resize")
    return result


def rotate(image: Array, angle: float, center: Optional[Tuple[float, float]] = None,
           interpolation: str = "linear", out: Optional[Array] = None) -> Array:
    """The image turned by angle degrees counter-clockwise (as seen on screen) about center.

    center = (x, y) in pixels, default the image centre ((width - 1) / 2, (height - 1) / 2), as
    scikit-image's rotate does; the result has the image's shape. Pixels whose source lies outside
    the image are 0; with "linear" (bilinear) a neighbour outside counts as 0, so edges fade
    against 0. "nearest" takes the nearest source pixel. Integer results are rounded to nearest.
    uint8, uint16, float32 grey; uint8 colour.
    """
    a = as_image(image)
    code = _interpolation(interpolation, ("nearest", "linear"))
    h, w = a.shape[:2]
    cx, cy = ((w - 1) / 2.0, (h - 1) / 2.0) if center is None else (float(center[0]), float(center[1]))
    angle = float(angle)
    t = math.radians(angle) if math.isfinite(angle) else 0.0  # a non-finite angle is the library's to refuse
    cos, sin = math.cos(t), math.sin(t)
    # The library turns about the top-left pixel, (x, y) -> (x cos + y sin + xs, -x sin + y cos + ys):
    # this shift keeps the centre where it is.
    xs = cx - (cx * cos + cy * sin)
    ys = cy - (-cx * sin + cy * cos)
    vb = bits(a, None)
    with Call() as c:
        hs = c.lend(a, vb)
        hd, result = c.output(out, a.shape, a.dtype, vb, inputs=(a,))
        check(_rotate(hs, hd, angle, xs, ys, code), "lum_rotate")
    return result
