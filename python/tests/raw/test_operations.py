"""The raw wrappers that pack arguments or results of their own (pointers,
tables, arrays, contour sets) against NumPy references and direct C calls;
the plain pass-through wrappers are covered once, by the shared converter
test. The library's own results are tested in C++. An operation the loaded
library does not export is skipped."""
import ctypes

import numpy as np
import pytest

from lum import raw as lum

RNG = np.random.default_rng(11)


def needs(*names):
    missing = [n for n in names if not hasattr(lum, n)]
    return pytest.mark.skipif(bool(missing), reason="library does not export " + ", ".join(missing))


def grey(shape=(19, 37), dtype=np.uint8, top=None):
    top = np.iinfo(dtype).max if top is None else top
    return RNG.integers(0, top + 1, shape, dtype=dtype)


@needs("subI", "and_", "clipI", "mirrorI")
def test_plain_wrappers_convert_each_kind_of_argument():
    a, b = grey(), grey()
    ia, ib = lum.Image.from_array(a), lum.Image.from_array(b)
    lum.and_(ia, ib)  # "and" is a Python keyword: exported with a trailing underscore
    np.testing.assert_array_equal(ib.array, a & b)
    lum.clipI(ia, 100.5, 200)  # float arguments
    np.testing.assert_array_equal(ia.array, np.clip(a, 100, 200))
    with pytest.raises(ValueError):
        lum.mirrorI(ia, 2**31)  # beyond int32: refused, not wrapped
    with pytest.raises(TypeError):
        lum.subI(ia)
    with pytest.raises(lum.LumError) as e:
        lum.subI(ia, lum.Image(5, 5))
    assert e.value.code == -4


@needs("computer_color_bc")
def test_palette_rendering_adds_in_reverse_byte_order():
    g = lum.Image.from_array(np.array([[0, 1, 255]], np.uint8))
    out = lum.Image(3, 1, lum.FMT_8U, lum.COLOR)
    palette = np.zeros((256, 3), np.uint8)
    palette[1] = (10, 20, 30)
    lum.computer_color_bc(g, out, (0, 0, 3, 1), palette, 1.0, 0)
    assert out.array[0, 1].tolist() == [30, 20, 10]


@needs("img_min_max", "img_mean_stddev", "sum")
def test_statistics_equal_numpy_and_the_raw_c_call():
    a = grey(dtype=np.uint16, top=4095)
    im = lum.Image.from_array(a, valid_bits=12)
    assert lum.img_min_max(im) == (a.min(), a.max())
    mean, sd = lum.img_mean_stddev(im)
    assert mean == pytest.approx(a.mean()) and sd == pytest.approx(a.std())
    assert lum.sum(im) == a.sum()
    raw_mean, raw_sd = ctypes.c_double(), ctypes.c_double()
    assert lum.lib.lum_img_mean_stddev(im.handle, ctypes.byref(raw_mean), ctypes.byref(raw_sd)) == 0
    assert (raw_mean.value, raw_sd.value) == (mean, sd)
    c = lum.Image.from_array(RNG.integers(0, 256, (5, 6, 3), dtype=np.uint8))
    lo, hi = lum.img_min_max(c)
    assert lo == tuple(c.array.min(axis=(0, 1)).tolist()) and hi == tuple(c.array.max(axis=(0, 1)).tolist())
    with pytest.raises(lum.LumError) as e:
        lum.img_mean_stddev(c)
    assert e.value.code == -65


@needs("histogram", "otsu_get_threshold")
def test_histogram_and_otsu():
    a = np.where(np.arange(400).reshape(20, 20) % 2 == 0, 10, 200).astype(np.uint8)
    im = lum.Image.from_array(a)
    counts = lum.histogram(im, 0, 256, 4)
    assert counts.tolist() == [200, 0, 0, 200] and counts.dtype == np.uint32
    assert lum.otsu_get_threshold(im) == 10
    with pytest.raises(lum.LumError) as e:
        lum.histogram(im, 5, 5, 4)
    assert e.value.code == -7


@needs("morph_open_close")
def test_opening_removes_specks():
    a = np.zeros((20, 20), np.uint8)
    a[2:12, 2:12] = 255
    a[16, 16] = 255
    d = lum.Image(20, 20)
    lum.morph_open_close(lum.Image.from_array(a), d, (0, 2, 3, 3))
    expected = a.copy()
    expected[16, 16] = 0
    np.testing.assert_array_equal(d.array, expected)


@needs("find_contours", "get_contours_result", "vline_contour")
def test_contours_round_trip_through_the_store():
    a = np.zeros((12, 12), np.uint8)
    a[2:8, 3:9] = 255
    im = lum.Image.from_array(a)
    handle, total, count = lum.find_contours(im)
    assert count == 1 and total == 2 * 20 + 4
    result, sizes = lum.get_contours_result(handle, total, count)
    (points, box), = lum.split_contours(result, sizes)
    assert box == (3, 2, 6, 6) and len(points) == 20
    assert {tuple(p) for p in points} == {(x, y) for y in range(2, 8) for x in range(3, 9)
                                          if y in (2, 7) or x in (3, 8)}
    with pytest.raises(lum.LumError) as e:
        lum.get_contours_result(handle, total, count)  # a set is fetched once
    assert e.value.code == -32
    runs, (cx, cy, area) = lum.vline_contour([(1, 1), (3, 1), (3, 3), (1, 3)], (0, 0, 5, 5))
    assert runs.tolist() == [[3, 1, 3]] and (cx, cy, area) == (2, 2, 3)
    assert lum.contours(lum.Image(5, 5)) == []


def test_handles_and_images_are_interchangeable_and_bad_handles_raise():
    if not hasattr(lum, "sum"):
        pytest.skip("library does not export sum")
    im = lum.Image.from_array(np.full((3, 3), 2, np.uint8))
    assert lum.sum(im.handle) == lum.sum(im) == 18
    with pytest.raises(lum.LumError) as e:
        lum.sum(1 << 20)
    assert e.value.code == -6 and e.value.function == "lum_sum"


# ---- arguments passed through pointers: each wrapper's packing checked once ----

@needs("addCI", "mulCI", "subC")
def test_constants_take_the_image_sample_type_and_one_double_per_channel():
    c = lum.Image.from_array(np.full((2, 3, 3), 100, np.uint8))
    lum.addCI(c, 27)
    assert (c.array == 127).all()
    lum.mulCI(c, (1.0, 2.0, 0.5))
    assert c.array[0, 0].tolist() == [127, 254, 64]
    g = lum.Image.from_array(np.full((2, 2), 1000, np.uint16), valid_bits=12)
    d = lum.Image(2, 2, lum.FMT_16U, lum.GRAY, 12)
    lum.subC(g, d, 300)
    assert (d.array == 700).all()
    lum.addCI_rect(g, 5, (1, 1, 1, 1))
    assert g.array.tolist() == [[1000, 1000], [1000, 1005]]


@needs("lut")
def test_lut_tables_follow_the_source_format():
    a = np.arange(256, dtype=np.uint8).reshape(16, 16)
    d = lum.Image(16, 16)
    lum.lut(lum.Image.from_array(a), d, 255 - np.arange(256))
    np.testing.assert_array_equal(d.array, 255 - a)
    w = np.array([[0, 1023, 512]], np.uint16)
    dw = lum.Image(3, 1, lum.FMT_16U, lum.GRAY, 10)
    lum.lut(lum.Image.from_array(w, valid_bits=10), dw, np.arange(1024)[::-1])
    assert dw.array.tolist() == [[1023, 0, 511]]


@needs("LShift", "RShiftI_rect")
def test_shifts():
    a = lum.Image.from_array(np.array([[1, 2, 255]], np.uint8))
    d = lum.Image(3, 1, lum.FMT_16U, lum.GRAY, 16)
    lum.LShift(a, d, 4)
    assert d.array.tolist() == [[16, 32, 4080]]
    lum.RShiftI_rect(d, 4, (2, 0, 1, 1))
    assert d.array.tolist() == [[16, 32, 255]]


@needs("color_twist", "swap_channels")
def test_colour_matrix_and_channel_order():
    c = lum.Image.from_array(np.array([[[10, 20, 30]]], np.uint8))
    d = lum.Image(1, 1, lum.FMT_8U, lum.COLOR)
    lum.color_twist(c, d, [[0, 0, 1, 0], [0, 1, 0, 5], [1, 0, 0, 0]])
    assert d.array[0, 0].tolist() == [30, 25, 10]
    lum.swap_channels(d, (2, 1, 0))
    assert d.array[0, 0].tolist() == [10, 25, 30]


@needs("resize", "rotate")
def test_resize_and_rotate_arguments():
    a = RNG.integers(0, 256, (8, 12), dtype=np.uint8)
    d = lum.Image(6, 4)
    lum.resize(lum.Image.from_array(a), (0, 0), (12, 8), d, (0, 0), (6, 4), 1)
    np.testing.assert_array_equal(d.array, a[1::2, 1::2])
    r = lum.Image(12, 8)
    lum.rotate(lum.Image.from_array(a), r, 0.0, 2.0, 0.0, 1)  # a pure shift right by two
    np.testing.assert_array_equal(r.array[:, 2:], a[:, :-2])


@needs("projection_mean_init", "projection_mean")
def test_projection_accumulator_is_an_image_the_caller_owns():
    frames = [RNG.integers(0, 4096, (3, 4), dtype=np.uint16) for _ in range(3)]
    mean = lum.Image(4, 3, lum.FMT_16U, lum.GRAY, 12)
    acc = lum.projection_mean_init(4, 3)
    assert acc.format == lum.FMT_32F
    for k, f in enumerate(frames):
        lum.projection_mean(lum.Image.from_array(f, valid_bits=12), mean, k, 3, 0, acc)
    assert np.abs(mean.array - np.mean(frames, axis=0)).max() <= 0.5


@needs("generate_mask", "mask_mean", "mask_min_max", "mask_mean_stddev")
def test_polygon_masks_and_masked_statistics():
    mask = lum.Image(10, 10)
    lum.generate_mask(mask, 2, [(0, 0), (9, 0), (9, 9), (0, 9)])
    assert mask.array.min() == 0 and mask.array.max() == 255
    a = lum.Image.from_array(RNG.integers(0, 256, (12, 12), dtype=np.uint8))
    full = lum.Image(3, 3)
    lum.generate_mask(full, 0)
    window = a.array[2:5, 1:4]
    assert lum.mask_min_max(a, 1, 2, full) == (window.min(), window.max())
    assert lum.mask_mean(a, 1, 2, full) == pytest.approx(window.mean())
    mean, sd = lum.mask_mean_stddev(a, 1, 2, full)
    assert (mean, sd) == (pytest.approx(window.mean()), pytest.approx(window.std()))


@needs("expand_contour", "get_contours_result")
def test_expanded_contour_is_fetched_without_a_count():
    ring = [(5, 5), (6, 5), (7, 5), (7, 6), (7, 7), (6, 7), (5, 7), (5, 6)]
    handle, total = lum.expand_contour(ring, (5, 5, 3, 3), 2)
    result, sizes = lum.get_contours_result(handle, total)
    assert sizes.sum() == total and len(sizes) == 1
    (points, box), = lum.split_contours(result, sizes)
    assert box == (0, 0, 7, 7)  # scratch coordinates: add (R.x - r, R.y - r) to map back
