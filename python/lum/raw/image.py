"""Images by handle, made from a shape or from a NumPy array, with zero-copy views.

Lifetimes: an Image holds its handle through a keeper object; every array
that views the image's buffer holds the same keeper (as the array's base), and
a borrowed array is held by the keeper too. The handle is destroyed when the
last of them goes, so no view can outlive the memory it shows and no
borrowed array can be freed while the library may still touch it.
"""
import ctypes

import numpy as np

from .._layout import INT32_MAX, lend_step, pin
from .._native import (COLOR, FMT_16S, FMT_16U, FMT_32F, FMT_8U, GRAY, Info, LumError, Point, bind, check)

_i8, _i32, _vp = ctypes.c_int8, ctypes.c_int32, ctypes.c_void_p
_create = bind("lum_create_image", _i32, [])
_destroy = bind("lum_destroy_image", _i8, [_i32])
_init = bind("lum_init_image", _i8, [_i32, _i32, _i32, ctypes.c_int, ctypes.c_int, _i32])
_init_ex = bind("lum_init_image_ex", _i8, [_i32, ctypes.POINTER(Info)])
_get_info = bind("lum_get_info", _i8, [_i32, ctypes.POINTER(Info)])
_clear = bind("lum_clear", _i8, [_i32])
_set_physical = bind("lum_set_physical_size", _i8, [_i32, ctypes.c_float, ctypes.c_float])
_get_pixel = bind("lum_get_one_pixel", _i8, [_i32, Point, _vp])
_set_pixel = bind("lum_set_one_pixel", _i8, [_i32, Point, _vp])

DTYPES = {FMT_8U: np.dtype(np.uint8), FMT_16U: np.dtype(np.uint16),
          FMT_16S: np.dtype(np.int16), FMT_32F: np.dtype(np.float32)}
FORMATS = {dtype: fmt for fmt, dtype in DTYPES.items()}
FULL_BITS = {FMT_8U: 8, FMT_16U: 16, FMT_16S: 16, FMT_32F: 32}


def format_of(dtype):
    """The library's data format for a NumPy dtype (uint8, uint16, int16, float32)."""
    try:
        return FORMATS[np.dtype(dtype)]
    except (KeyError, TypeError):
        raise TypeError(f"no image format for dtype {dtype} (uint8, uint16, int16 or float32)") from None


class _Keeper:
    """Owns one registry handle and the memory a borrowed image shows; destroys the handle when dropped."""
    __slots__ = ("handle", "owner", "pins")

    def __init__(self, handle):
        self.handle = handle
        self.owner = None  # a borrowed array, alive while the library may touch it
        self.pins = ()

    def __del__(self):
        handle, self.handle = self.handle, -1
        if handle >= 0:
            try:
                _destroy(handle)
            except Exception:  # interpreter shutdown: the library may be gone already
                pass


class _View:
    """Exposes an image buffer to NumPy; holding the keeper keeps the buffer alive while a view exists."""

    def __init__(self, keeper, address, shape, strides, dtype):
        self.keeper = keeper
        self.__array_interface__ = {"version": 3, "data": (address, False), "shape": shape,
                                    "strides": strides, "typestr": dtype.str}


class Image:
    """An image in the library's registry.

    Image(width, height, format=FMT_8U, channels=GRAY, valid_bits=None) allocates a
    zeroed image; Image.from_array(array) copies an array into a new image and
    Image.from_array(array, copy=False) lends the array's buffer to the library.
    close() (or the end of a `with` block) ends the image: using it afterwards
    raises LumError (-64); its handle is destroyed once no view of it remains.
    """

    def __init__(self, width=None, height=None, format=FMT_8U, channels=GRAY, valid_bits=None):
        self._keeper = None
        if width is not None:
            for name, v in (("width", width), ("height", height), ("format", format), ("channels", channels),
                            ("valid_bits", valid_bits)):
                if v is not None and not -2**31 <= int(v) < 2**31:
                    raise ValueError(f"{name}={v} does not fit the library's 32-bit argument")
        self._keeper = _Keeper(check(_create(), "lum_create_image"))
        if width is not None:
            if valid_bits is None:
                valid_bits = FULL_BITS.get(int(format), 0)
            try:
                check(_init(self._keeper.handle, width, height, int(format), int(channels), valid_bits),
                      "lum_init_image")
            except (LumError, ctypes.ArgumentError):
                self.close()
                raise

    @classmethod
    def _adopt(cls, handle):
        """An Image that takes over an existing handle."""
        image = cls.__new__(cls)
        image._keeper = _Keeper(handle)
        return image

    @classmethod
    def from_array(cls, array, valid_bits=None, copy=True):
        """A new image holding array ((h, w) grey or (h, w, 3) colour).

        copy=False borrows the array's memory through lum_init_image_ex: the
        library then reads and writes the caller's array, which must be
        writeable, have contiguous pixels within each row (any row stride, rows
        in order), be aligned to its sample size, and own the rows x step bytes
        from its first pixel (the library may touch the last row's padding).
        The image keeps the array alive, and NumPy cannot resize it meanwhile.
        """
        array = np.asarray(array)
        if array.ndim == 3 and array.shape[2] == 3:
            channels = COLOR
        elif array.ndim == 2:
            channels = GRAY
        else:
            raise ValueError(f"expected shape (h, w) or (h, w, 3), got {array.shape}")
        fmt = format_of(array.dtype)
        if valid_bits is None:
            valid_bits = FULL_BITS[fmt]
        h, w = array.shape[:2]
        if h > INT32_MAX or w > INT32_MAX:
            raise ValueError(f"shape {array.shape} exceeds the library's 32-bit sizes")
        if copy:
            image = cls(w, h, fmt, channels, valid_bits)
            image.array[...] = array
            return image
        if not array.flags.writeable:
            raise ValueError("a borrowed array must be writeable: the library writes into it")
        step = lend_step(array)
        if step is None:
            raise ValueError("the library cannot borrow this array as it lies (it needs rows in order of "
                             "contiguous pixels, aligned samples, and the memory of the last row's padding); "
                             "pass copy=True")
        info = Info(w, h, 0.0, 0.0, step, fmt, valid_bits, channels, array.__array_interface__["data"][0])
        image = cls()
        check(_init_ex(image._keeper.handle, ctypes.byref(info)), "lum_init_image_ex")
        image._keeper.owner = array
        image._keeper.pins = pin(array)
        return image

    @property
    def closed(self):
        return self._keeper is None

    @property
    def handle(self):
        if self._keeper is None:
            raise LumError(-64, "", "the image is closed")
        return self._keeper.handle

    def __int__(self):
        return self.handle

    def __index__(self):
        return self.handle

    def info(self):
        """The image's lum_info record."""
        i = Info()
        check(_get_info(self.handle, ctypes.byref(i)), "lum_get_info")
        return i

    @property
    def width(self):
        return self.info().width

    @property
    def height(self):
        return self.info().height

    @property
    def channels(self):
        return self.info().channels

    @property
    def format(self):
        return self.info().pix_type

    @property
    def valid_bits(self):
        return self.info().valid_bits

    @property
    def step(self):
        return self.info().step_bytes

    @property
    def dtype(self):
        return DTYPES[self.info().pix_type]

    @property
    def shape(self):
        i = self.info()
        return (i.height, i.width) if i.channels == GRAY else (i.height, i.width, i.channels)

    @property
    def array(self):
        """A zero-copy NumPy view of the pixels (row padding excluded), strides from the step.

        The view keeps the image's buffer alive: it stays valid after close()."""
        keeper = self._keeper
        i = self.info()
        if not i.frame_buf:
            raise ValueError("image is not initialised")
        dtype = DTYPES.get(i.pix_type)
        if dtype is None:
            raise ValueError(f"no NumPy type for format {i.pix_type}")
        if i.channels not in (GRAY, COLOR) or i.width < 0 or i.height < 0:
            raise ValueError(f"no NumPy view for {i.width} x {i.height} x {i.channels}")
        item = dtype.itemsize
        if i.channels == GRAY:
            shape, strides = (i.height, i.width), (i.step_bytes, item)
        else:
            shape, strides = (i.height, i.width, i.channels), (i.step_bytes, item * i.channels, item)
        return np.asarray(_View(keeper, i.frame_buf, shape, strides, dtype))

    def to_numpy(self):
        """A copy of the pixels as a new contiguous array."""
        return np.array(self.array)

    def clear(self):
        check(_clear(self.handle), "lum_clear")

    def set_physical_size(self, width, height):
        check(_set_physical(self.handle, width, height), "lum_set_physical_size")

    def get_pixel(self, x, y):
        """One pixel through lum_get_one_pixel: a scalar, or a tuple for colour."""
        i = self.info()
        value = np.zeros(max(i.channels, 1), DTYPES.get(i.pix_type, np.float32))
        check(_get_pixel(self.handle, Point(x, y), value.ctypes.data), "lum_get_one_pixel")
        return value[0].item() if i.channels == GRAY else tuple(v.item() for v in value)

    def set_pixel(self, x, y, value):
        i = self.info()
        value = np.ascontiguousarray(np.broadcast_to(np.asarray(value, DTYPES.get(i.pix_type, np.float32)),
                                                     (max(i.channels, 1),)))
        check(_set_pixel(self.handle, Point(x, y), value.ctypes.data), "lum_set_one_pixel")

    def close(self):
        """Ends the image. Its handle is destroyed now, or when the last view of its buffer goes."""
        self._keeper = None

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __repr__(self):
        if self._keeper is None:
            return "Image(closed)"
        i = self.info()
        if not i.frame_buf:
            return f"Image(handle={self.handle}, uninitialised)"
        return (f"Image(handle={self.handle}, {i.width}x{i.height}, channels={i.channels}, "
                f"dtype={DTYPES.get(i.pix_type)}, valid_bits={i.valid_bits})")
