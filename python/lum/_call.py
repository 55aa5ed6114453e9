"""How the NumPy layer hands arrays to the library for one call.

Each call lends its arrays to the library as borrowed images (lum_init_image_ex
with the array's own row stride as the step) and destroys those handles when
it returns, on every path. An array the library cannot address as it lies
(reversed or scattered rows, pixels not contiguous, misaligned 16-bit or float
samples, a last row without the padding the step implies) is copied first; an
`out=` array that cannot be lent, or that overlaps an input where that would
change the answer, receives the result through a temporary.

No lock is taken here: the library's own calls release the GIL, so calls on
different arrays run in parallel on threads.
"""
import ctypes

import numpy as np

from ._layout import INT32_MAX, lend_step, pin
from ._native import COLOR, FMT_16U, FMT_32F, FMT_8U, GRAY, Info, LumError, Point, Rect, bind

_i8, _i32 = ctypes.c_int8, ctypes.c_int32
_create = bind("lum_create_image", _i32, [])
_destroy = bind("lum_destroy_image", _i8, [_i32])
_init_ex = bind("lum_init_image_ex", _i8, [_i32, ctypes.POINTER(Info)])

U8, U16, F32 = np.dtype(np.uint8), np.dtype(np.uint16), np.dtype(np.float32)
INTEGER = (U8, U16)
ANY = (U8, U16, F32)
FORMAT = {U8: FMT_8U, U16: FMT_16U, F32: FMT_32F}
GREY, RGB, EITHER = (GRAY,), (COLOR,), (GRAY, COLOR)


def function(name, restype, argtypes):
    """The bound C function, or a stand-in that raises NotImplementedError when the library lacks it."""
    f = bind(name, restype, argtypes)
    if f is not None:
        return f

    def missing(*args):
        raise NotImplementedError(f"the loaded liblum_lib.so does not export {name}")
    return missing


def check(status, function):
    if status < 0:
        raise LumError(status, function)
    return status


def _names(dtypes):
    return ", ".join(str(d) for d in dtypes)


def as_image(value, name="image", dtypes=ANY, channels=EITHER, boolean=False):
    """value as an array the library handles: 2-D grey or H x W x 3 colour of one of dtypes.
    boolean: a bool array is taken as uint8 0/1 (one byte per sample already: no copy)."""
    a = np.asarray(value)
    if boolean and a.dtype == np.bool_:
        a = a.view(np.uint8)
    if a.dtype not in dtypes:
        raise TypeError(f"{name}: dtype {a.dtype} is not handled here (expected {_names(dtypes)})")
    if a.ndim == 2:
        c = GRAY
    elif a.ndim == 3 and a.shape[2] == 3:
        c = COLOR
    else:
        raise ValueError(f"{name}: expected shape (height, width) or (height, width, 3), got {a.shape}")
    if c not in channels:
        raise ValueError(f"{name}: {'grey (height, width)' if channels == GREY else 'colour (height, width, 3)'}"
                         f" images only, got shape {a.shape}")
    if a.shape[0] > INT32_MAX or a.shape[1] > INT32_MAX:
        raise ValueError(f"{name}: shape {a.shape} exceeds the library's 32-bit sizes")
    return a


def bits(a, valid_bits):
    """The valid bits an array is lent with: uint8 1..8 (default 8), uint16 9..16 (default 16), float 32."""
    if a.dtype == F32:
        return 32
    top = 8 if a.dtype == U8 else 16
    if valid_bits is None:
        return top
    v = int(valid_bits)
    low = 1 if a.dtype == U8 else 9
    if not low <= v <= top:
        raise ValueError(f"valid_bits={valid_bits} for {a.dtype} (expected {low}..{top})")
    return v


def same_memory(a, b):
    """Whether two arrays are the very same view (same start, shape and strides)."""
    ia, ib = a.__array_interface__, b.__array_interface__
    return ia["data"][0] == ib["data"][0] and a.shape == b.shape and a.strides == b.strides and a.dtype == b.dtype


def point(p, name):
    try:
        x, y = (int(v) for v in p)
    except (TypeError, ValueError):
        raise TypeError(f"{name}: expected a point (x, y), got {p!r}") from None
    return Point(x, y)


def rect(r, name="rect"):
    try:
        x, y, w, h = (int(v) for v in r)
    except (TypeError, ValueError):
        raise TypeError(f"{name}: expected (x, y, width, height), got {r!r}") from None
    return Rect(x, y, w, h)


def blank(shape, dtype):
    return np.zeros(shape, dtype)


class Call:
    """The borrowed images of one library call, destroyed when the block ends.

        with Call() as c:
            h = c.lend(a, 8)
            d, result = c.output(out, a.shape, a.dtype, 8, inputs=(a,))
            check(lum_something(h, d), "lum_something")
        return result
    """
    __slots__ = ("handles", "held", "copy_back")

    def __enter__(self):
        self.handles = []
        self.held = []
        self.copy_back = []
        return self

    def __exit__(self, kind, value, trace):
        for h in self.handles:
            _destroy(h)
        self.handles = []
        if kind is None:
            for temp, out in self.copy_back:
                np.copyto(out, temp)
        self.held = []
        return False

    def lend(self, a, valid_bits):
        """A handle borrowing array a (copied first when the library cannot address it as it lies)."""
        step = lend_step(a)
        if step is None:
            a = np.array(a, order="C")
            step = a.itemsize * a.shape[1] * (3 if a.ndim == 3 else 1)
        self.held.append((a, pin(a)))
        info = Info(a.shape[1], a.shape[0], 0.0, 0.0, step, FORMAT[a.dtype], valid_bits,
                    COLOR if a.ndim == 3 else GRAY, a.__array_interface__["data"][0])
        h = _create()
        if h < 0:
            raise LumError(h, "lum_create_image")
        self.handles.append(h)
        check(_init_ex(h, ctypes.byref(info)), "lum_init_image_ex")
        return h

    def output(self, out, shape, dtype, valid_bits, inputs=(), alias_ok=False, name="out"):
        """(handle, result array) for a result of the given shape and dtype: a new zeroed array,
        or out itself when it can be lent, else a temporary whose content lands in out afterwards.
        alias_ok: the operation is element by element, so out may be exactly one of the inputs."""
        dtype = np.dtype(dtype)
        if out is None:
            result = blank(shape, dtype)
            return self.lend(result, valid_bits), result
        target = self.target(out, shape, dtype, name)
        if lend_step(target) is not None and not self._clashes(target, inputs, alias_ok):
            return self.lend(target, valid_bits), target
        temp = blank(shape, dtype)
        self.copy_back.append((temp, target))
        return self.lend(temp, valid_bits), target

    def in_place(self, a, out, valid_bits, others=(), name="out"):
        """(handle, result array) for an operation that works in place: the result starts as a copy of a
        (in out when given: out may be a itself) and others are the further inputs it reads."""
        if out is None:
            result = np.array(a, order="C")
            return self.lend(result, valid_bits), result
        target = self.target(out, a.shape, a.dtype, name)
        lendable = lend_step(target) is not None
        if lendable and not self._clashes(target, others, alias_ok=False):
            if not same_memory(target, a):
                np.copyto(target, a)
            return self.lend(target, valid_bits), target
        temp = np.array(a, order="C")
        self.copy_back.append((temp, target))
        return self.lend(temp, valid_bits), target

    @staticmethod
    def target(out, shape, dtype, name="out"):
        if not isinstance(out, np.ndarray):
            raise TypeError(f"{name}: expected a numpy.ndarray, got {type(out).__name__}")
        if out.dtype != dtype:
            raise TypeError(f"{name}: dtype {out.dtype}, the result is {dtype}")
        if out.shape != tuple(shape):
            raise ValueError(f"{name}: shape {out.shape}, the result is {tuple(shape)}")
        if not out.flags.writeable:
            raise ValueError(f"{name}: the array is read-only")
        return out

    @staticmethod
    def _clashes(target, inputs, alias_ok):
        for x in inputs:
            if x is not None and np.may_share_memory(target, x):
                if not (alias_ok and same_memory(target, x)):
                    return True
        return False
