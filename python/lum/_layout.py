"""Whether the library can take a NumPy array's memory as it lies.

The library addresses an image as rows of contiguous pixels `step` bytes
apart and may touch any byte of the rows × step bytes that start at its
first pixel (the padding of the last row included). An array is lent only
when that whole block lies inside memory the array's owner holds; otherwise
the caller copies it.
"""
import weakref

import numpy as np

INT32_MAX = 2**31 - 1


def _bounds(a):
    """[first, last) byte addresses of an array's elements."""
    ai = a.__array_interface__
    lo = hi = ai["data"][0]
    if a.size == 0:
        return lo, hi
    strides = ai["strides"]
    if strides is None:  # C order
        strides = []
        s = a.itemsize
        for n in reversed(a.shape):
            strides.insert(0, s)
            s *= n
    for n, s in zip(a.shape, strides):
        if s >= 0:
            hi += (n - 1) * s
        else:
            lo += (n - 1) * s
    return lo, hi + a.itemsize


def owner_chain(a):
    """The array and every array it views, down to the one that owns the memory."""
    chain = [a]
    while isinstance(chain[-1].base, np.ndarray):
        chain.append(chain[-1].base)
    return chain


def lend_step(a):
    """The row step with which the library can borrow a 2-D grey or H x W x 3 array, or None.

    Rows must run forward and hold contiguous pixels, 16-bit and float data
    must be aligned to its sample size (the kernels refuse other addresses),
    and the rows x step bytes from the first pixel must stay in the owner's memory.
    """
    h, w = a.shape[0], a.shape[1]
    channels = 3 if a.ndim == 3 else 1
    item = a.itemsize
    if h > INT32_MAX or w > INT32_MAX or not a.flags.aligned:
        return None
    s = a.strides
    if w > 1 and s[1] != item * channels:
        return None
    if channels == 3 and w > 0 and s[2] != item:
        return None
    row = item * channels * w
    if a.size == 0:
        return row  # rows x step = 0 bytes: nothing to reach
    step = s[0] if h > 1 else row
    if step < row or step % item or step > 0xFFFFFFFF:
        return None
    if step == row and a.flags.c_contiguous:
        return step
    start = a.__array_interface__["data"][0]
    lo, hi = _bounds(owner_chain(a)[-1])
    if start < lo or start + h * step > hi:
        return None
    return step


def pin(a):
    """Weak references that keep NumPy from resizing any array in a's chain in place
    (ndarray.resize refuses an array that is weakly referenced, even with refcheck=False)."""
    return [weakref.ref(x) for x in owner_chain(a)]
