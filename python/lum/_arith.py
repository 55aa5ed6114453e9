"""Pixel arithmetic, logic, conversions, shifts, tables, levels: arrays in, arrays out."""
import ctypes
from typing import Optional, Sequence, Union

import numpy as np

from ._call import ANY, EITHER, F32, GREY, INTEGER, U16, U8, Call, as_image, bits, check, function, same_memory

_i8, _i32, _u32, _f64, _vp = ctypes.c_int8, ctypes.c_int32, ctypes.c_uint32, ctypes.c_double, ctypes.c_void_p
_H = _i32

_add = function("lum_add", _i8, [_H, _H, _H])
_addI = function("lum_addI", _i8, [_H, _H])
_sub = function("lum_sub", _i8, [_H, _H, _H])
_subI = function("lum_subI", _i8, [_H, _H])
_absdiff = function("lum_absDiff", _i8, [_H, _H, _H])
_and = function("lum_and", _i8, [_H, _H])
_or = function("lum_or", _i8, [_H, _H])
_xor = function("lum_xor", _i8, [_H, _H])
_addC = function("lum_addCI", _i8, [_H, _vp])
_subC = function("lum_subC", _i8, [_H, _H, _vp])
_mulC = function("lum_mulCI", _i8, [_H, _vp])
_max_every = function("lum_img_max_every", _i8, [_H, _H, _H])
_min_every = function("lum_img_min_every", _i8, [_H, _H, _H])
_convert = function("lum_convert", _i8, [_H, _H])
_lshiftI = function("lum_LShiftI", _i8, [_H, _u32])
_rshiftI = function("lum_RShiftI", _i8, [_H, _u32])
_lshift = function("lum_LShift", _i8, [_H, _H, _u32])
_rshift = function("lum_RShift", _i8, [_H, _H, _u32])
_lut = function("lum_lut", _i8, [_H, _H, _vp])
_invert = function("lum_invert", _i8, [_H, _H])
_divI = function("lum_divI", _i8, [_H, _H])
_scale = function("lum_scale", _i8, [_H, _H, _f64, _f64])
_scaleI = function("lum_scaleI", _i8, [_H, _f64, _f64])
_lnI = function("lum_lnI", _i8, [_H])
_adjust = function("lum_adjust", _i8, [_H, _H, ctypes.POINTER(_f64), ctypes.POINTER(_f64)])

Number = Union[int, float]
Array = np.ndarray


def _pair(a, b, dtypes, channels=EITHER):
    a = as_image(a, "a", dtypes, channels)
    b = as_image(b, "b", dtypes, channels)
    if a.dtype != b.dtype:
        raise TypeError(f"a is {a.dtype} and b is {b.dtype}: convert one of them first")
    if a.shape != b.shape:
        raise ValueError(f"a has shape {a.shape} and b {b.shape}")
    return a, b


def _sample(a, value, name="value"):
    """value as one sample of a's integer type, refused when it does not fit."""
    if isinstance(value, (float, np.floating)) and not float(value).is_integer():
        raise TypeError(f"{name} {value!r}: {a.dtype} images take whole numbers")
    v = int(value)
    top = np.iinfo(a.dtype).max
    if not 0 <= v <= top:
        raise ValueError(f"{name} {value!r} lies outside 0..{top} of {a.dtype}")
    return np.array([v], a.dtype)


def _as_samples(a):
    """A colour array seen as a grey one of 3 x width samples: for operations that treat every
    sample alike, whose library form walks a row as width samples."""
    return a.reshape(a.shape[0], a.shape[1] * 3) if a.ndim == 3 else a


def add(a: Array, b: Union[Array, Number], out: Optional[Array] = None, *,
        valid_bits: Optional[int] = None) -> Array:
    """a + b, sample by sample, into a new array (or out).

    a, b: arrays of one shape and dtype (uint8, uint16 or float32; grey or H x W x 3), or b a number.
    Integer sums saturate at the sample range and are then clamped to 2**valid_bits - 1
    (valid_bits: 1..8 for uint8, 9..16 for uint16; default the full width). Float sums are plain
    float32 sums. A number is added to every channel: for integer images a whole number within
    the sample range (a negative one subtracts, saturating at 0, without the clamp); for float
    images any float. out: an array of a's shape and dtype, which may be a or b itself.
    """
    if np.ndim(b) == 0:
        a = as_image(a, "a")
        if a.dtype == F32:
            return scale(a, 1.0, float(b), out=out)
        if float(b) < 0:
            return subtract(a, -b, out=out, valid_bits=valid_bits)
        value = _sample(a, b, "b")
        vb = bits(a, valid_bits)
        with Call() as c:
            h, result = c.in_place(a, out, vb)
            check(_addC(h, value.ctypes.data), "lum_addCI")
        return result
    a, b = _pair(a, b, ANY)
    vb = bits(a, valid_bits)
    with Call() as c:
        if isinstance(out, np.ndarray) and same_memory(out, b):  # b += a, in place
            ha = c.lend(a, vb)
            hb, result = c.in_place(b, out, vb, others=(a,))
            check(_addI(ha, hb), "lum_addI")
            return result
        ha, hb = c.lend(a, vb), c.lend(b, vb)
        hd, result = c.output(out, a.shape, a.dtype, vb, inputs=(a, b), alias_ok=True)
        check(_add(ha, hb, hd), "lum_add")
    return result


def subtract(a: Array, b: Union[Array, Number], out: Optional[Array] = None, *,
             valid_bits: Optional[int] = None) -> Array:
    """a - b, sample by sample, into a new array (or out).

    Integer differences saturate at 0; float differences are plain float32 differences.
    b may be a number, subtracted from every channel (integer images: a whole number within the
    sample range; a negative one adds, as add() does). out may be a or b itself.
    """
    if np.ndim(b) == 0:
        a = as_image(a, "a")
        if a.dtype == F32:
            return scale(a, 1.0, -float(b), out=out)
        if float(b) < 0:
            return add(a, -b, out=out, valid_bits=valid_bits)
        value = _sample(a, b, "b")
        vb = bits(a, valid_bits)
        with Call() as c:
            ha = c.lend(a, vb)
            hd, result = c.output(out, a.shape, a.dtype, vb, inputs=(a,), alias_ok=True)
            check(_subC(ha, hd, value.ctypes.data), "lum_subC")
        return result
    a, b = _pair(a, b, ANY)
    vb = bits(a, valid_bits)
    with Call() as c:
        if a.dtype == F32 or (isinstance(out, np.ndarray) and same_memory(out, a)):  # a -= b, in place
            hb = c.lend(b, vb)
            hd, result = c.in_place(a, out, vb, others=(b,))
            check(_subI(hd, hb), "lum_subI")
            return result
        # The library reads a with b's row step: both go in with one layout.
        a, b = _one_layout(a, b)
        ha, hb = c.lend(a, vb), c.lend(b, vb)
        hd, result = c.output(out, a.shape, a.dtype, vb, inputs=(a, b), alias_ok=True)
        check(_sub(ha, hb, hd), "lum_sub")
    return result


def _one_layout(*arrays):
    """The arrays as they are when they share one row step, else contiguous copies of them all."""
    from ._layout import lend_step
    steps = {lend_step(x) for x in arrays}
    if len(steps) == 1 and None not in steps:
        return arrays
    return tuple(np.array(x, order="C") for x in arrays)


def absdiff(a: Array, b: Array, out: Optional[Array] = None) -> Array:
    """|a - b|, sample by sample (uint8 grey or colour, uint16 grey). out may be a or b itself."""
    a, b = _pair(a, b, INTEGER)
    with Call() as c:
        ha, hb = c.lend(a, 16), c.lend(b, 16)
        hd, result = c.output(out, a.shape, a.dtype, 16, inputs=(a, b), alias_ok=True)
        check(_absdiff(ha, hb, hd), "lum_absDiff")
    return result


def _bitwise(c_function, name, a, b, out):
    a, b = _pair(a, b, INTEGER)
    with Call() as c:
        ha = c.lend(a, 16)
        hb, result = c.in_place(b, out, 16, others=(a,))
        check(c_function(ha, hb), name)
    return result


def bitwise_and(a: Array, b: Array, out: Optional[Array] = None) -> Array:
    """a AND b, bit by bit (uint8 or uint16, grey or colour). out may be a or b itself."""
    return _bitwise(_and, "lum_and", a, b, out)


def bitwise_or(a: Array, b: Array, out: Optional[Array] = None) -> Array:
    """a OR b, bit by bit (uint8 or uint16, grey or colour). out may be a or b itself."""
    return _bitwise(_or, "lum_or", a, b, out)


def bitwise_xor(a: Array, b: Array, out: Optional[Array] = None) -> Array:
    """a XOR b, bit by bit (uint8 or uint16, grey or colour). out may be a or b itself."""
    return _bitwise(_xor, "lum_xor", a, b, out)


def maximum(a: Array, b: Array, out: Optional[Array] = None) -> Array:
    """The larger of a and b, pixel by pixel (uint8 or uint16 grey). out may be a or b itself."""
    a, b = _pair(a, b, INTEGER, GREY)
    with Call() as c:
        ha, hb = c.lend(a, 16), c.lend(b, 16)
        hd, result = c.output(out, a.shape, a.dtype, 16, inputs=(a, b), alias_ok=True)
        check(_max_every(ha, hb, hd), "lum_img_max_every")
    return result


def minimum(a: Array, b: Array, out: Optional[Array] = None) -> Array:
    """The smaller of a and b, pixel by pixel (uint8 or uint16 grey). out may be a or b itself."""
    a, b = _pair(a, b, INTEGER, GREY)
    with Call() as c:
        ha, hb = c.lend(a, 16), c.lend(b, 16)
        hd, result = c.output(out, a.shape, a.dtype, 16, inputs=(a, b), alias_ok=True)
        check(_min_every(ha, hb, hd), "lum_img_min_every")
    return result


def multiply(image: Array, factor: Union[Number, Sequence[float]], out: Optional[Array] = None, *,
             valid_bits: Optional[int] = None) -> Array:
    """image * factor, sample by sample: uint8 and uint16 grey or colour, float32 grey.

    factor: a number, or one per channel for colour. Integer products are rounded to nearest
    (halves to even) and saturated, then clamped to 2**valid_bits - 1. out may be the image itself.
    """
    a = as_image(image, "image")
    channels = 3 if a.ndim == 3 else 1
    f = np.ascontiguousarray(np.broadcast_to(np.asarray(factor, np.float64), (channels,)))
    vb = bits(a, valid_bits)
    with Call() as c:
        h, result = c.in_place(a, out, vb)
        check(_mulC(h, f.ctypes.data), "lum_mulCI")
    return result


def divide(a: Array, b: Array, out: Optional[Array] = None) -> Array:
    """a / b, sample by sample (uint8, uint16, float32; grey or colour).

    Integer quotients are rounded to nearest (halves to even) and saturated; x / 0 gives the
    sample maximum and 0 / 0 gives 0 (the library then prints its warning line on standard
    output). Float quotients follow IEEE 754. out may be a or b itself.
    """
    a, b = _pair(a, b, ANY)
    with Call() as c:
        hb = c.lend(b, 16 if b.dtype != F32 else 32)
        hd, result = c.in_place(a, out, 16 if a.dtype != F32 else 32, others=(b,))
        check(_divI(hb, hd), "lum_divI")
    return result


def convert(image: Array, dtype, out: Optional[Array] = None, *, valid_bits: Optional[int] = None) -> Array:
    """The image's samples in another dtype.

    uint8 -> uint16 (same values), uint16 -> uint8 (values above 255 saturate; no scaling: use
    right_shift or scale for that), uint16 -> float32 (grey or colour), float32 -> uint8 (grey;
    rounded to nearest, halves to even, saturated). valid_bits: of the result when it is uint16.
    """
    a = as_image(image, "image")
    target = np.dtype(dtype)
    if target not in ANY:
        raise TypeError(f"no conversion to {target}")
    out_bits = 32 if target == F32 else 8 if target == U8 else (16 if valid_bits is None else int(valid_bits))
    with Call() as c:
        hs = c.lend(a, bits(a, None))
        hd, result = c.output(out, a.shape, target, out_bits, inputs=(a,))
        check(_convert(hs, hd), "lum_convert")
    return result


def _shift(in_place_fn, into_fn, names, a, count, out, dtype, valid_bits, out_valid_bits):
    a = as_image(a, "image", INTEGER, GREY)
    count = int(count)
    if count < 0:
        raise ValueError(f"a shift count of {count}")
    vb = bits(a, valid_bits)
    target = a.dtype if dtype is None else np.dtype(dtype)
    if target == a.dtype and out_valid_bits is None:
        with Call() as c:
            h, result = c.in_place(a, out, vb)
            check(in_place_fn(h, count), names[0])
        return result
    if target not in INTEGER:
        raise TypeError(f"shifts give uint8 or uint16, not {target}")
    ob = 8 if target == U8 else 16
    if out_valid_bits is not None:
        ob = bits(np.empty(0, target), out_valid_bits)
    with Call() as c:
        hs = c.lend(a, vb)
        hd, result = c.output(out, a.shape, target, ob, inputs=(a,))
        check(into_fn(hs, hd, count), names[1])
    return result


def left_shift(image: Array, count: int, out: Optional[Array] = None, *, dtype=None,
               valid_bits: Optional[int] = None, out_valid_bits: Optional[int] = None) -> Array:
    """Samples shifted left by count bits (uint8 or uint16 grey); bits shifted out are lost.

    dtype: the result's (uint8 or uint16; default the image's). Into uint16 an 8-bit sample is
    widened before it is shifted; into uint8 a 16-bit sample is shifted, then saturated to 255.
    """
    return _shift(_lshiftI, _lshift, ("lum_LShiftI", "lum_LShift"), image, count, out, dtype, valid_bits,
                  out_valid_bits)


def right_shift(image: Array, count: int, out: Optional[Array] = None, *, dtype=None,
                valid_bits: Optional[int] = None, out_valid_bits: Optional[int] = None) -> Array:
    """Samples shifted right by count bits (uint8 or uint16 grey), e.g. 12-bit data to 8 bits with
    right_shift(frame, 4, dtype=numpy.uint8). In place (same dtype) a count above valid_bits
    raises LumError(-3). Into uint8 a 16-bit sample is shifted, then saturated to 255.
    """
    return _shift(_rshiftI, _rshift, ("lum_RShiftI", "lum_RShift"), image, count, out, dtype, valid_bits,
                  out_valid_bits)


def lut(image: Array, table, out: Optional[Array] = None, *, valid_bits: Optional[int] = None) -> Array:
    """Every sample mapped through a table: result = table[sample].

    The table has at least 2**valid_bits entries of the image's dtype (256 for uint8, 65536 for
    full 16-bit data, 4096 for 12-bit data); a sample above the last entry maps through the last.
    - uint8 grey: table (n,) gives a grey result, table (n, 3) a colour result (one colour per level).
    - uint8 colour: table (n,) maps every channel, table (3, n) one table per channel.
    - uint16 grey or colour: table (n,), every channel alike.
    """
    a = as_image(image, "image", INTEGER)
    vb = bits(a, valid_bits)
    n = 1 << vb
    t = np.asarray(table)
    if t.size and (t.min() < 0 or t.max() > np.iinfo(a.dtype).max):
        raise ValueError(f"table values lie outside the range of {a.dtype}")
    t = t.astype(a.dtype, copy=False)
    colour_in = a.ndim == 3
    out_shape = a.shape
    if a.dtype == U8 and not colour_in and t.ndim == 2 and t.shape[1] == 3:
        rows, flat = t.shape[0], np.ascontiguousarray(t[:n]).reshape(-1)
        out_shape = a.shape + (3,)
    elif a.dtype == U8 and colour_in and t.ndim == 2 and t.shape[0] == 3:
        rows = t.shape[1]
        flat = np.zeros((3, 256), U8)
        flat[:, :min(rows, 256)] = t[:, :256]
        flat = flat.reshape(-1)
    elif t.ndim == 1:
        rows = t.shape[0]
        if a.dtype == U8 and colour_in:
            flat = np.zeros((3, 256), U8)
            flat[:, :min(rows, 256)] = t[:256]
            flat = flat.reshape(-1)
        elif a.dtype == U16 and colour_in:
            flat = np.concatenate([t[:n], t[:n]])  # channel 0 through the first table, 1 and 2 the second
        else:
            flat = np.ascontiguousarray(t[:n])
    else:
        raise ValueError(f"a table of shape {t.shape} does not fit a {a.dtype} image of shape {a.shape}")
    if rows < n:
        raise ValueError(f"the table has {rows} entries; {a.dtype} data of {vb} valid bits needs {n}")
    with Call() as c:
        hs = c.lend(a, vb)
        hd, result = c.output(out, out_shape, a.dtype, 8 if a.dtype == U8 else 16, inputs=(a,), alias_ok=True)
        check(_lut(hs, hd, flat.ctypes.data), "lum_lut")
    return result


def invert(image: Array, out: Optional[Array] = None, *, valid_bits: Optional[int] = None) -> Array:
    """(2**valid_bits - 1) - sample (uint8 or uint16, grey or colour). out may be the image itself.
    Samples above the valid-bits maximum are a caller's error; their result is not defined here."""
    a = as_image(image, "image", INTEGER)
    vb = bits(a, valid_bits)
    with Call() as c:
        hs = c.lend(a, vb)
        hd, result = c.output(out, a.shape, a.dtype, vb, inputs=(a,), alias_ok=True)
        check(_invert(hs, hd), "lum_invert")
    return result


def scale(image: Array, alpha: float, beta: float = 0.0, out: Optional[Array] = None, *, dtype=None,
          valid_bits: Optional[int] = None) -> Array:
    """image * alpha + beta, sample by sample, between any of uint8, uint16 and float32.

    dtype: the result's (default the image's). Integer results are rounded to nearest (halves to
    even) and saturated to the sample range (not to valid bits). Colour images are scaled on every
    channel alike. out may be the image itself.
    """
    a = as_image(image, "image")
    target = a.dtype if dtype is None else np.dtype(dtype)
    if target not in ANY:
        raise TypeError(f"no scaling into {target}")
    ob = 32 if target == F32 else 8 if target == U8 else (16 if valid_bits is None else int(valid_bits))
    flat = _as_samples(a)
    flat_out = None
    if out is not None:
        Call.target(out, a.shape, target)
        flat_out = _sample_view(out)
        if flat_out is None:  # a colour out whose samples are not one grid: through a new array
            np.copyto(out, scale(a, alpha, beta, dtype=target, valid_bits=valid_bits))
            return out
    with Call() as c:
        if flat_out is not None and target == a.dtype and same_memory(flat_out, flat):
            h, _ = c.in_place(flat, flat_out, ob)
            check(_scaleI(h, float(alpha), float(beta)), "lum_scaleI")
        else:
            hs = c.lend(flat, bits(a, valid_bits) if a.dtype == target else bits(a, None))
            hd, result = c.output(flat_out, flat.shape, target, ob, inputs=(flat,), alias_ok=True)
            check(_scale(hs, hd, float(alpha), float(beta)), "lum_scale")
    return out if out is not None else result.reshape(a.shape)


def _sample_view(a):
    """_as_samples(a) as a view of a's memory, or None when that needs a copy."""
    if a.ndim == 2:
        return a
    v = a.view()
    try:
        v.shape = (a.shape[0], a.shape[1] * 3)
    except AttributeError:
        return None
    return v


def log(image: Array, out: Optional[Array] = None) -> Array:
    """Natural logarithm of a float32 grey image: log(0) = -inf, log(x < 0) = NaN (the library then
    prints its warning line on standard output). out may be the image itself."""
    a = as_image(image, "image", (F32,), GREY)
    with Call() as c:
        h, result = c.in_place(a, out, 32)
        check(_lnI(h), "lum_lnI")
    return result


def adjust_levels(image: Array, low: Union[float, Sequence[float]], high: Union[float, Sequence[float]],
                  out: Optional[Array] = None, *, valid_bits: Optional[int] = None) -> Array:
    """Stretches the levels low..high of a uint8 image onto 0..2**valid_bits - 1 (default 255).

    Per channel: (sample - trunc(low)) * max / (high - low), rounded to nearest and saturated, so
    samples at or below low become 0 and samples at or above high become max. low and high are
    numbers or one per channel. out may be the image itself.
    """
    a = as_image(image, "image", (U8,))
    channels = 3 if a.ndim == 3 else 1
    lo = np.ascontiguousarray(np.broadcast_to(np.asarray(low, np.float64), (channels,)))
    hi = np.ascontiguousarray(np.broadcast_to(np.asarray(high, np.float64), (channels,)))
    vb = bits(a, valid_bits)
    P = ctypes.POINTER(_f64)
    with Call() as c:
        hs = c.lend(a, 8)
        hd, result = c.output(out, a.shape, a.dtype, vb, inputs=(a,), alias_ok=True)
        check(_adjust(hs, hd, lo.ctypes.data_as(P), hi.ctypes.data_as(P)), "lum_adjust")
    return result
