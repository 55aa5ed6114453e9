"""Python code, however written, does not crash the interpreter or reach memory that is not the
image's: views outlive close(), borrowed arrays outlive their images' use, sizes passed by the
caller cannot overrun the arrays the library writes. Scenarios that used to crash run in a
child interpreter, so that a crash fails one test instead of ending the run."""
import ctypes
import os
import subprocess
import sys
import textwrap

import numpy as np
import pytest

from lum import raw as lum

PYTHON_DIR = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")


def run_child(code):
    """Runs code in a fresh interpreter with this package; returns (exit status, output)."""
    env = dict(os.environ)
    env["PYTHONPATH"] = PYTHON_DIR + os.pathsep + env.get("PYTHONPATH", "")
    p = subprocess.run([sys.executable, "-c", textwrap.dedent(code)], env=env, capture_output=True, text=True,
                       timeout=120)
    return p.returncode, p.stdout + p.stderr


def handle_alive(handle):
    info = lum.Info()
    return lum.lib.lum_get_info(ctypes.c_int32(handle), ctypes.byref(info)) == 0


def test_a_view_written_after_the_with_block_ends():
    status, output = run_child("""
        import gc, numpy as np
        from lum import raw
        with raw.Image(4000, 4000) as im:
            v = im.array
        v[:] = 7
        gc.collect()
        big = [np.ones((4000, 4000), np.uint8) for _ in range(3)]  # reuse of freed memory would show
        assert (v == 7).all()
        print("ok")
    """)
    assert status == 0 and "ok" in output, output


def test_close_drops_the_handle_once_no_view_remains():
    im = lum.Image(64, 8, lum.FMT_16U, lum.GRAY, 12)
    handle = im.handle
    v = im.array
    w = v[2:4, 5:9]  # a view of the view holds the buffer too
    del v
    im.close()
    im.close()  # twice is harmless
    assert im.closed and handle_alive(handle)
    w[:] = 4095
    assert lum.Image(3, 3).handle != handle  # the slot stays taken while a view remains
    del w
    assert not handle_alive(handle)


def test_use_after_close_raises_lum_error():
    im = lum.Image.from_array(np.arange(12, dtype=np.uint8).reshape(3, 4))
    im.close()
    for use in (lambda: im.array, lambda: im.info(), lambda: im.get_pixel(0, 0), lambda: im.clear(),
                lambda: lum.sum(im), lambda: lum.add(im, im, im), lambda: int(im)):
        with pytest.raises(lum.LumError) as e:
            use()
        assert e.value.code == -64
    assert repr(im) == "Image(closed)"


def test_a_borrowed_array_lives_as_long_as_its_image_and_cannot_be_resized():
    a = np.zeros((5, 40), np.uint8)
    im = lum.Image.from_array(a, copy=False)
    with pytest.raises(ValueError):
        a.resize((500, 400), refcheck=False)  # would free the memory the image points to
    root = np.zeros((6, 64), np.uint16)
    window = root[1:5, 3:40]
    im2 = lum.Image.from_array(window, copy=False, valid_bits=12)
    with pytest.raises(ValueError):
        root.resize((1000, 1000), refcheck=False)
    del window, a
    lum.addCI(im2, 9)
    assert (root[1:5, 3:40] == 9).all() and root[0].sum() == 0 and root[1:5, 40:].sum() == 0
    im.close()
    im2.close()
    root.resize((2, 8), refcheck=False)  # free again once no image borrows it


def test_borrowing_refuses_what_the_library_could_overrun():
    host = np.ones((7, 40), np.uint8)
    with pytest.raises(ValueError):
        # Rows 40 bytes apart from byte 5: 7 x 40 bytes from there leave the host's 280.
        lum.Image.from_array(host[:, 5:30], copy=False)
    lum.Image.from_array(host[:6, 5:30], copy=False).clear()  # the sixth row's padding is the host's
    flat = host.reshape(-1)  # rows x step bytes from the first pixel, and nothing else
    assert not flat[5:5 + 6 * 40].any() and flat[:5].all() and flat[5 + 6 * 40:].all()
    for bad in (np.zeros((4, 8), np.uint8)[::-1], np.zeros((4, 8), np.uint8)[:, ::-1],
                np.zeros((4, 8), np.uint8)[:, ::2], np.zeros((4, 8, 3), np.uint8)[:, :, ::-1],
                np.zeros(65, np.uint8)[1:].view(np.uint16).reshape(4, 8),
                np.broadcast_to(np.zeros(8, np.uint8), (4, 8))):
        with pytest.raises(ValueError):
            lum.Image.from_array(bad, copy=False)
    with pytest.raises(ValueError):
        lum.Image.from_array(np.broadcast_to(np.uint8(0), (2**31, 4)), copy=False)


@pytest.mark.parametrize("array", [np.zeros((0, 4), np.uint8), np.zeros((4, 0), np.uint16),
                                   np.zeros((3, 3), np.int64), np.zeros((3, 3), bool), np.zeros(5, np.uint8),
                                   np.zeros((2, 2, 4), np.uint8), np.zeros((3, 3), np.float64)])
def test_odd_arrays_give_errors_not_crashes(array):
    for copy in (True, False):
        try:
            im = lum.Image.from_array(array, copy=copy)
        except (ValueError, TypeError, lum.LumError):
            continue
        with pytest.raises(lum.LumError):  # an empty image: every operation refuses it
            lum.sum(im)


def test_huge_and_negative_sizes_are_refused():
    for w, h in ((2**31, 1), (1, -5), (-1, -1), (2**20, 2**20), (1, 2**40)):
        with pytest.raises((lum.LumError, ValueError)):
            lum.Image(w, h, lum.FMT_16U, lum.GRAY, 16)
    with pytest.raises(ValueError):
        lum.LShiftI(lum.Image(4, 4), 2**32)  # not wrapped to a shift by 0


def test_caller_sizes_cannot_overrun_result_arrays():
    status, output = run_child("""
        import numpy as np
        from lum import raw
        a = np.zeros((12, 12), np.uint8)
        a[2:8, 3:9] = 255
        for _ in range(200):
            handle, total, count = raw.find_contours(raw.Image.from_array(a))
            result, sizes = raw.get_contours_result(handle, 4, 1)  # far too small: room comes from the set
            assert result.size == 4 and sizes.tolist() == [total], (result, sizes)
            junk = [np.ones(n, np.int32) for n in range(1, 64)]  # a damaged heap would show here
        print("ok")
    """)
    assert status == 0 and "ok" in output, output
    a = np.zeros((12, 12), np.uint8)
    with pytest.raises(ValueError):
        lum.lut(lum.Image.from_array(a), lum.Image(12, 12), np.arange(16))  # 8 valid bits read 256 entries
    colour = lum.Image(4, 4, lum.FMT_8U, lum.COLOR)
    with pytest.raises(ValueError):
        lum.lut(lum.Image(4, 4), colour, np.arange(256))  # a grey-to-colour table has 3 x 256 entries


def test_contour_sets_of_empty_frames_are_released():
    empty = lum.Image(32, 32)
    lum.contours(empty)
    first, _, _ = lum.find_contours(empty)
    lum.release_contours(first)
    for _ in range(1000):
        assert lum.contours(empty) == []
    again, _, _ = lum.find_contours(empty)
    assert again == first  # the store did not grow
    assert lum.release_contours(again) == 0
    with pytest.raises(lum.LumError) as e:
        lum.release_contours(again)
    assert e.value.code == -32
