"""Colour and channels: arrays in, arrays out."""
import ctypes
from typing import Optional, Sequence, Tuple

import numpy as np

from ._call import GREY, INTEGER, RGB, U8, Call, as_image, bits, check, function, same_memory
from ._layout import lend_step

_i8, _i32, _f32, _f64 = ctypes.c_int8, ctypes.c_int32, ctypes.c_float, ctypes.c_double
_H = _i32
_P = ctypes.POINTER
from ._native import Rect  # noqa: E402

_to_gray = function("lum_color_to_gray", _i8, [_H, _H])
_to_color = function("lum_gray_to_color", _i8, [_H, _H])
_twistI = function("lum_color_twistI", _i8, [_H, _P(_f32)])
_twist = function("lum_color_twist", _i8, [_H, _H, _P(_f32)])
_palette = function("lum_computer_color_bc", _i8, [_H, _H, _P(Rect), _P(ctypes.c_uint8), _f64, _i32])
_split = function("lum_copy_color2channels", _i8, [_H, _H, _H, _H])
_merge = function("lum_copy_channels2color", _i8, [_H, _H, _H, _H])
_insert = function("lum_copy_gray2color", _i8, [_H, _H, _i32])
_swap = function("lum_swap_channels", _i8, [_H, _P(_i32)])

Array = np.ndarray


def color_to_gray(image: Array, out: Optional[Array] = None, *, valid_bits: Optional[int] = None) -> Array:
    """The mean of the three channels (equal weights 1/3, rounded to nearest) as a grey image of
    the same dtype (uint8 or uint16 colour in)."""
    a = as_image(image, "image", INTEGER, RGB)
    vb = bits(a, valid_bits)
    with Call() as c:
        hs = c.lend(a, vb)
        hd, result = c.output(out, a.shape[:2], a.dtype, vb, inputs=(a,))
        check(_to_gray(hs, hd), "lum_color_to_gray")
    return result


def gray_to_color(image: Array, out: Optional[Array] = None) -> Array:
    """A uint8 grey image copied into all three channels of a new H x W x 3 image."""
    a = as_image(image, "image", (U8,), GREY)
    with Call() as c:
        hs = c.lend(a, 8)
        hd, result = c.output(out, a.shape + (3,), U8, 8, inputs=(a,))
        check(_to_color(hs, hd), "lum_gray_to_color")
    return result


def transform_color(image: Array, matrix, out: Optional[Array] = None, *,
                    valid_bits: Optional[int] = None) -> Array:
    """A 3 x 4 colour matrix applied to every pixel of a uint8 or uint16 colour image:
    out_c = m[c, 0] s0 + m[c, 1] s1 + m[c, 2] s2 + m[c, 3], rounded to nearest and saturated;
    uint16 results are then clamped to 2**valid_bits - 1. out may be the image itself."""
    a = as_image(image, "image", INTEGER, RGB)
    m = np.ascontiguousarray(np.asarray(matrix, np.float32))
    if m.shape != (3, 4):
        raise ValueError(f"a colour matrix has shape (3, 4), not {m.shape}")
    vb = bits(a, valid_bits)
    fp = m.ctypes.data_as(_P(_f32))
    with Call() as c:
        if out is not None and isinstance(out, np.ndarray) and same_memory(out, a):
            h, result = c.in_place(a, out, vb)
            check(_twistI(h, fp), "lum_color_twistI")
            return result
        # Source and destination are walked with the source's step: one layout for both.
        step = lend_step(a)
        if step is None or (out is not None and lend_step(Call.target(out, a.shape, a.dtype)) != step) \
                or (out is not None and np.may_share_memory(out, a)):
            a = np.array(a, order="C")
            hs = c.lend(a, vb)
            hd, result = c.output(None, a.shape, a.dtype, vb)
            if out is not None:
                c.copy_back.append((result, out))
                result = out
        else:
            hs = c.lend(a, vb)
            hd, result = c.output(out, a.shape, a.dtype, vb, inputs=(a,))
        check(_twist(hs, hd, fp), "lum_color_twist")
    return result


def apply_palette(image: Array, palette, out: Optional[Array] = None, *, contrast: float = 1.0,
                  brightness: int = 0, valid_bits: Optional[int] = None) -> Array:
    """Renders a grey image through a palette of 256 colours, adding onto out.

    For every pixel, i = trunc(sample * contrast + brightness) clamped to 0..255 (a uint16 sample
    is first shifted right by valid_bits - 8), and palette[i] (a (256, 3) uint8 array, channels in
    the order of out) is added to out's pixel with saturation at 255. out: a uint8 H x W x 3
    image to draw onto (several grey images can be overlaid), default a new black one.
    """
    a = as_image(image, "image", INTEGER, GREY)
    p = np.asarray(palette)
    if p.shape != (256, 3):
        raise ValueError(f"a palette has shape (256, 3), not {p.shape}")
    if p.dtype != U8:
        if p.min() < 0 or p.max() > 255:
            raise ValueError("palette values lie outside 0..255")
    # The library adds an entry's bytes in reverse order (entry byte 2 to channel 0).
    entries = np.ascontiguousarray(p[:, ::-1], dtype=U8)
    vb = bits(a, valid_bits)
    h, w = a.shape
    whole = Rect(0, 0, w, h)
    with Call() as c:
        hs = c.lend(a, vb)
        if out is None:
            hd, result = c.output(None, (h, w, 3), U8, 8)
        else:
            Call.target(out, (h, w, 3), U8)
            hd, result = c.in_place(out, out, 8, others=(a,))
        check(_palette(hs, hd, ctypes.byref(whole), entries.ctypes.data_as(_P(ctypes.c_uint8)), float(contrast),
                       int(brightness)), "lum_computer_color_bc")
    return result


def split_channels(image: Array) -> Tuple[Array, Array, Array]:
    """The three channels of a uint8 or uint16 colour image as three new grey images."""
    a = as_image(image, "image", INTEGER, RGB)
    with Call() as c:
        hs = c.lend(a, 16)
        planes = [c.output(None, a.shape[:2], a.dtype, 16) for _ in range(3)]
        check(_split(hs, *(h for h, _ in planes)), "lum_copy_color2channels")
    return tuple(p for _, p in planes)


def merge_channels(channel0: Array, channel1: Array, channel2: Array, out: Optional[Array] = None) -> Array:
    """Three grey images of one shape and dtype (uint8 or uint16) as the channels of a colour image."""
    planes = [as_image(p, f"channel{k}", INTEGER, GREY) for k, p in enumerate((channel0, channel1, channel2))]
    if len({p.shape for p in planes}) != 1 or len({p.dtype for p in planes}) != 1:
        raise ValueError("the three channels differ in shape or dtype")
    # The library reads all three with the first one's step.
    if len({lend_step(p) for p in planes}) != 1:
        planes = [np.array(p, order="C") for p in planes]
    shape = planes[0].shape + (3,)
    with Call() as c:
        hp = [c.lend(p, 16) for p in planes]
        hd, result = c.output(out, shape, planes[0].dtype, 16, inputs=planes)
        check(_merge(*hp, hd), "lum_copy_channels2color")
    return result


def insert_channel(image: Array, channel_image: Array, channel: int, out: Optional[Array] = None) -> Array:
    """A uint8 colour image with channel (0, 1 or 2) replaced by a uint8 grey image of its size.
    out may be the colour image itself."""
    a = as_image(image, "image", (U8,), RGB)
    g = as_image(channel_image, "channel_image", (U8,), GREY)
    if g.shape != a.shape[:2]:
        raise ValueError(f"channel_image has shape {g.shape}, the image {a.shape[:2]}")
    with Call() as c:
        hg = c.lend(g, 8)
        hd, result = c.in_place(a, out, 8, others=(g,))
        check(_insert(hg, hd, int(channel)), "lum_copy_gray2color")
    return result


def reorder_channels(image: Array, order: Sequence[int], out: Optional[Array] = None) -> Array:
    """A uint8 colour image with channel c taken from channel order[c], e.g. (2, 1, 0) swaps the
    first and the last. An index outside 0..2 raises LumError(-5). out may be the image itself."""
    a = as_image(image, "image", (U8,), RGB)
    o = np.ascontiguousarray(np.asarray(order, np.int32))
    if o.shape != (3,):
        raise ValueError("order has three entries")
    with Call() as c:
        h, result = c.in_place(a, out, 8)
        check(_swap(h, o.ctypes.data_as(_P(_i32))), "lum_swap_channels")
    return result
