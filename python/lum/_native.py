"""The shared library, its C types and its status codes.

The library is found, in this order, at $LUM_LIB (a path to liblum_lib.so),
inside this package (where `pip install .` puts it), next to the package in a
tree installed by CMake (../../../liblum_lib.so from lib/python3/dist-packages/lum),
in a build tree beside the sources (build/liblum_lib.so), and through the
dynamic loader's own search.
"""
import ctypes
import ctypes.util
import os

FMT_8U, FMT_16U, FMT_16S, FMT_32F = 1, 2, 3, 4
GRAY, COLOR = 1, 3


class Point(ctypes.Structure):
    _fields_ = [("x", ctypes.c_int32), ("y", ctypes.c_int32)]


class Size(ctypes.Structure):
    _fields_ = [("width", ctypes.c_int32), ("height", ctypes.c_int32)]


class Rect(ctypes.Structure):
    _fields_ = [("x", ctypes.c_int32), ("y", ctypes.c_int32),
                ("width", ctypes.c_int32), ("height", ctypes.c_int32)]


class Info(ctypes.Structure):
    _fields_ = [("width", ctypes.c_int32), ("height", ctypes.c_int32),
                ("physical_width", ctypes.c_float), ("physical_height", ctypes.c_float),
                ("step_bytes", ctypes.c_uint32), ("pix_type", ctypes.c_int),
                ("valid_bits", ctypes.c_uint32), ("channels", ctypes.c_int),
                ("frame_buf", ctypes.c_void_p)]


class MorphParam(ctypes.Structure):
    _fields_ = [("shape", ctypes.c_int32), ("operation", ctypes.c_int32),
                ("width", ctypes.c_int32), ("height", ctypes.c_int32)]


def _candidates():
    if os.environ.get("LUM_LIB"):
        yield os.environ["LUM_LIB"]
        return
    here = os.path.dirname(os.path.abspath(__file__))
    for relative in ("liblum_lib.so", "../../../liblum_lib.so", "../../build/liblum_lib.so"):
        path = os.path.normpath(os.path.join(here, relative))
        if os.path.exists(path):
            yield path
    found = ctypes.util.find_library("lum_lib")
    if found:
        yield found
    yield "liblum_lib.so"


def _load():
    errors = []
    for path in _candidates():
        try:
            return ctypes.CDLL(path)
        except OSError as e:
            errors.append(str(e))
    raise ImportError("cannot load liblum_lib.so (set LUM_LIB to its path): " + "; ".join(errors))


lib = _load()
lib.lum_status_text.restype = ctypes.c_char_p
lib.lum_status_text.argtypes = [ctypes.c_int]


def status_text(code):
    """The library's short phrase for a status code."""
    return lib.lum_status_text(int(code)).decode()


class LumError(Exception):
    """A negative status from the library: .code, .phrase (lum_status_text) and .function."""

    def __init__(self, code, function="", detail=""):
        self.code = int(code)
        self.phrase = status_text(code)
        self.function = function
        where = function + ": " if function else ""
        more = f" ({detail})" if detail else ""
        super().__init__(f"{where}{self.phrase} ({self.code}){more}")


def check(status, function=""):
    """Returns status when it is not negative, else raises LumError."""
    if status < 0:
        raise LumError(status, function)
    return status


def bind(name, restype, argtypes):
    """The C function with its prototype set, or None when the library does not export it."""
    try:
        f = getattr(lib, name)
    except AttributeError:
        return None
    f.restype = restype
    f.argtypes = argtypes
    return f


class Object(ctypes.Structure):
    """One record of lum_measure_objects (natural alignment, 72 bytes)."""
    _fields_ = [("label", ctypes.c_uint32), ("area", ctypes.c_uint32),
                ("centroid_x", ctypes.c_double), ("centroid_y", ctypes.c_double),
                ("x", ctypes.c_int32), ("y", ctypes.c_int32), ("width", ctypes.c_int32), ("height", ctypes.c_int32),
                ("holes", ctypes.c_uint32), ("orientation", ctypes.c_double),
                ("major_axis", ctypes.c_double), ("minor_axis", ctypes.c_double)]


_measure_objects = []


def measure_objects_function():
    """lum_measure_objects with its prototype, or None when the loaded library lacks it.

    Looked up on first use, so that the package imports from a library built
    before the function existed."""
    if not _measure_objects:
        _measure_objects.append(bind("lum_measure_objects", ctypes.c_int8,
                                     [ctypes.c_int32, ctypes.c_uint32, ctypes.c_int32, ctypes.POINTER(Object),
                                      ctypes.c_uint32, ctypes.POINTER(ctypes.c_uint32)]))
    return _measure_objects[0]
