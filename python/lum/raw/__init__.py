"""lum.raw: the handle-level mirror of lum_lib's C interface.

    import numpy as np
    from lum import raw
    frame = raw.Image.from_array(np.random.randint(0, 4096, (480, 640), np.uint16), valid_bits=12)
    binary = raw.Image(640, 480, raw.FMT_16U, raw.GRAY, 12)
    raw.binarization(frame, binary, 2000)

For hosts that manage images themselves. Images are Image objects (owning a
handle of the library's registry); every exported C operation is a function
with the C argument order, taking Image objects or handles, returning what C
writes through pointers, and raising LumError for a negative status. The
NumPy layer (the functions of `lum` itself) is built on the same library.
"""
from .._native import (COLOR, FMT_16S, FMT_16U, FMT_32F, FMT_8U, GRAY, Info, LumError, MorphParam, Point, Rect,
                       Size, check, lib, status_text)
from .image import Image, format_of
from . import ops as _ops
from .ops import *  # noqa: F401,F403 -- the operations the loaded library exports
from .ops import OBJECT_DTYPE, split_contours

__all__ = ["COLOR", "FMT_16S", "FMT_16U", "FMT_32F", "FMT_8U", "GRAY", "Image", "Info", "LumError", "MorphParam",
           "OBJECT_DTYPE", "Point", "Rect", "Size", "check", "format_of", "lib", "split_contours",
           "status_text"] + _ops.__all__
globals().update({name: getattr(_ops, name) for name in _ops.__all__})
