"""Images from Python: shapes, arrays copied or borrowed, views, pixels, errors."""
import ctypes

import numpy as np
import pytest

from lum import raw as lum


def test_status_text_and_errors_carry_code_and_phrase():
    assert lum.status_text(-64) == "image not initialised"
    with pytest.raises(lum.LumError) as e:
        lum.Image(4, 4, lum.FMT_8U, lum.GRAY, 9)
    assert e.value.code == -3 and e.value.phrase == lum.status_text(-3)
    assert e.value.function == "lum_init_image" and "(-3)" in str(e.value)
    with pytest.raises(lum.LumError) as e:
        lum.check(-6, "lum_add")
    assert str(e.value) == "lum_add: handle outside the registry (-6)"
    assert lum.check(0) == 0 and lum.check(3) == 3


@pytest.mark.parametrize("dtype,fmt,bits", [(np.uint8, lum.FMT_8U, 8), (np.uint16, lum.FMT_16U, 16),
                                            (np.float32, lum.FMT_32F, 32)])
@pytest.mark.parametrize("channels", [lum.GRAY, lum.COLOR])
def test_new_image_matches_the_c_record(dtype, fmt, channels, bits):
    im = lum.Image(17, 5, fmt, channels)
    info = im.info()
    assert (info.width, info.height, info.pix_type, info.channels, info.valid_bits) == (17, 5, fmt, channels, bits)
    assert info.step_bytes == np.dtype(dtype).itemsize * 32 * channels
    assert im.dtype == dtype and im.shape == ((5, 17) if channels == 1 else (5, 17, 3))
    a = im.array
    assert a.strides[0] == info.step_bytes and a.ctypes.data == info.frame_buf
    assert not a.any()


def test_view_is_zero_copy_both_ways():
    im = lum.Image(9, 4, lum.FMT_16U, lum.GRAY, 12)
    view = im.array
    view[2, 3] = 4000
    assert im.get_pixel(3, 2) == 4000
    im.set_pixel(8, 0, 17)
    assert view[0, 8] == 17
    # The view keeps the buffer alive after the last Image reference goes.
    handle = im.handle
    del im
    view[1, 1] = 5
    value = ctypes.c_uint16()
    assert lum.lib.lum_get_one_pixel(handle, lum.Point(1, 1), ctypes.byref(value)) == 0 and value.value == 5


def test_from_array_copies_with_its_own_step():
    src = np.arange(3 * 21 * 3, dtype=np.uint8).reshape(3, 21, 3)
    im = lum.Image.from_array(src)
    assert im.channels == lum.COLOR and im.step == 32 * 3
    np.testing.assert_array_equal(im.to_numpy(), src)
    src[0, 0, 0] = 99
    assert im.array[0, 0, 0] == 0  # a copy, not the caller's memory


def test_borrowed_array_sees_the_library_writes_and_keeps_its_step():
    host = np.ones((7, 40), np.uint16)
    window = host[:6, 5:30]  # rows 80 bytes apart, 25 samples used
    im = lum.Image.from_array(window, valid_bits=12, copy=False)
    info = im.info()
    assert info.step_bytes == 80 and info.frame_buf == window.ctypes.data and info.valid_bits == 12
    im.set_pixel(2, 3, 4095)
    assert host[3, 7] == 4095
    im.clear()  # step x height bytes from the window's first sample, padding included
    assert not host[:6, 5:].any() and not host[6, :5].any()
    assert host[6, 5:].all() and host[0, :5].all()
    del window
    im.set_pixel(0, 0, 1)
    assert host[0, 5] == 1  # the image keeps the array alive


def test_borrowing_refuses_layouts_the_library_cannot_address():
    with pytest.raises(ValueError):
        lum.Image.from_array(np.zeros((4, 8), np.uint8)[:, ::2], copy=False)
    ro = np.zeros((4, 4), np.uint8)
    ro.flags.writeable = False
    with pytest.raises(ValueError):
        lum.Image.from_array(ro, copy=False)
    with pytest.raises(TypeError):
        lum.Image.from_array(np.zeros((4, 4), np.int64))
    with pytest.raises(ValueError):
        lum.Image.from_array(np.zeros((4, 4, 2), np.uint8))


def test_pixels_out_of_range_raise_and_close_releases_the_handle():
    im = lum.Image(10, 10, lum.FMT_8U, lum.COLOR)
    im.set_pixel(1, 2, (10, 20, 30))
    assert im.get_pixel(1, 2) == (10, 20, 30)
    with pytest.raises(lum.LumError) as e:
        im.get_pixel(11, 0)
    assert e.value.code == -7
    handle = im.handle
    im.close()
    assert lum.lib.lum_destroy_image(ctypes.c_int32(handle)) == -64
    with pytest.raises(lum.LumError) as e:
        im.handle
    assert e.value.code == -64


def test_physical_size_and_uninitialised_image():
    im = lum.Image()
    assert "uninitialised" in repr(im)
    im.set_physical_size(1.5, 2.0)
    with pytest.raises(lum.LumError) as e:
        im.set_physical_size(-1, 0)
    assert e.value.code == -7
    with pytest.raises(ValueError):
        im.array
