"""Pixel arithmetic, logic, conversions, tables and colour through the NumPy layer, checked
against NumPy and OpenCV where the definitions coincide."""
import cv2
import numpy as np
import pytest

import lum

RNG = np.random.default_rng(17)
SHAPES = [(19, 37), (8, 70, 3)]


def rand(shape, dtype, top=None):
    if np.dtype(dtype) == np.float32:
        return (RNG.random(shape, dtype=np.float32) * 100).astype(np.float32)
    top = np.iinfo(dtype).max if top is None else top
    return RNG.integers(0, top + 1, shape, dtype=dtype)


@pytest.mark.parametrize("shape", SHAPES)
@pytest.mark.parametrize("dtype", [np.uint8, np.uint16, np.float32])
def test_sums_and_differences_saturate_like_opencv(shape, dtype):
    a, b = rand(shape, dtype), rand(shape, dtype)
    assert np.array_equal(lum.add(a, b), cv2.add(a, b))
    if dtype != np.float32:
        assert np.array_equal(lum.subtract(a, b), cv2.subtract(a, b))
        assert np.array_equal(lum.bitwise_and(a, b), a & b)
        assert np.array_equal(lum.bitwise_or(a, b), a | b)
        assert np.array_equal(lum.bitwise_xor(a, b), a ^ b)
    else:
        assert np.array_equal(lum.subtract(a, b), a - b)
    if dtype == np.uint8 or (dtype == np.uint16 and len(shape) == 2):
        assert np.array_equal(lum.absdiff(a, b), cv2.absdiff(a, b))


def test_valid_bits_clamp_sums_and_numbers_go_to_every_channel():
    a, b = rand((9, 9), np.uint16, 4095), rand((9, 9), np.uint16, 4095)
    assert np.array_equal(lum.add(a, b, valid_bits=12), np.minimum(a.astype(int) + b, 4095))
    assert lum.add(np.full((2, 2), 200, np.uint8), np.full((2, 2), 100, np.uint8), valid_bits=7).max() == 127
    c = rand((4, 5, 3), np.uint8)
    assert np.array_equal(lum.add(c, 30), np.minimum(c.astype(int) + 30, 255))
    assert np.array_equal(lum.add(c, -30), np.maximum(c.astype(int) - 30, 0))
    assert np.array_equal(lum.subtract(a, 1000), np.maximum(a.astype(int) - 1000, 0))
    assert np.array_equal(lum.add(a, 1000, valid_bits=12), np.minimum(a.astype(int) + 1000, 4095))
    f = rand((3, 3), np.float32)
    assert np.array_equal(lum.subtract(f, 0.25), f - np.float32(0.25))
    with pytest.raises(TypeError):
        lum.add(a, 2.5)


def test_extremes_pixel_by_pixel():
    for dtype in (np.uint8, np.uint16):
        a, b = rand((11, 13), dtype), rand((11, 13), dtype)
        assert np.array_equal(lum.maximum(a, b), np.maximum(a, b))
        assert np.array_equal(lum.minimum(a, b), np.minimum(a, b))
    with pytest.raises(TypeError):  # the library leaves float images untouched: refused here
        lum.maximum(rand((3, 3), np.float32), rand((3, 3), np.float32))


def test_products_and_quotients_round_half_to_even():
    a = np.array([[1, 3, 5, 7, 200, 255]], np.uint8)
    assert lum.multiply(a, 0.5).tolist() == [[0, 2, 2, 4, 100, 128]]
    assert lum.multiply(a, 2).tolist() == [[2, 6, 10, 14, 255, 255]]
    c = rand((3, 4, 3), np.uint16, 4095)
    assert np.array_equal(lum.multiply(c, (1, 2, 0.5), valid_bits=12),
                          np.minimum(np.rint(c * np.array([1, 2, 0.5])), 4095))
    x = np.array([[10, 10, 0, 7, 9]], np.uint8)
    y = np.array([[4, 0, 0, 2, 6]], np.uint8)
    assert lum.divide(x, y).tolist() == [[2, 255, 0, 4, 2]]  # 2.5 -> 2, x/0 -> max, 0/0 -> 0, 3.5 -> 4, 1.5 -> 2
    f, g = rand((5, 6), np.float32), rand((5, 6), np.float32) + 1
    assert np.array_equal(lum.divide(f, g), f / g)


def test_conversions_and_shifts():
    w = np.array([[0, 200, 300, 4095]], np.uint16)
    assert lum.convert(w, np.uint8).tolist() == [[0, 200, 255, 255]]
    assert lum.convert(w, np.float32).dtype == np.float32
    assert lum.convert(np.array([[0.4, 0.5, 1.5, 254.6, 300, -3]], np.float32), np.uint8).tolist() == \
        [[0, 0, 2, 255, 255, 0]]
    assert lum.convert(np.array([[7, 255]], np.uint8), np.uint16).tolist() == [[7, 255]]
    frame = rand((6, 9), np.uint16, 4095)
    assert np.array_equal(lum.right_shift(frame, 4, dtype=np.uint8), frame >> 4)
    assert np.array_equal(lum.right_shift(frame, 2), frame >> 2)
    assert np.array_equal(lum.left_shift(np.array([[1, 2, 255]], np.uint8), 4, dtype=np.uint16), [[16, 32, 4080]])
    assert np.array_equal(lum.left_shift(frame, 4), (frame << 4).astype(np.uint16))
    with pytest.raises(lum.LumError) as e:
        lum.right_shift(frame, 13, valid_bits=12)
    assert e.value.code == -3


def test_tables_map_every_layout():
    a = rand((16, 16), np.uint8)
    assert np.array_equal(lum.lut(a, 255 - np.arange(256)), 255 - a)
    palette = RNG.integers(0, 256, (256, 3), dtype=np.uint8)
    assert np.array_equal(lum.lut(a, palette), palette[a])
    c = rand((5, 7, 3), np.uint8)
    tables = RNG.integers(0, 256, (3, 256), dtype=np.uint8)
    expected = np.stack([tables[k][c[..., k]] for k in range(3)], axis=2)
    assert np.array_equal(lum.lut(c, tables), expected)
    w = rand((4, 9), np.uint16, 1023)
    t = RNG.integers(0, 65536, 1024, dtype=np.uint16)
    assert np.array_equal(lum.lut(w, t, valid_bits=10), t[w])
    wc = rand((4, 9, 3), np.uint16, 1023)
    assert np.array_equal(lum.lut(wc, t, valid_bits=10), t[wc])
    assert lum.lut(np.array([[0, 600]], np.uint16), np.arange(512), valid_bits=9).tolist() == [[0, 511]]


def test_inversion_scaling_logarithm_and_levels():
    w = rand((7, 8), np.uint16, 4095)
    assert np.array_equal(lum.invert(w, valid_bits=12), 4095 - w)
    c = rand((3, 5, 3), np.uint8)
    assert np.array_equal(lum.invert(c), 255 - c)
    assert np.array_equal(lum.scale(w, 255 / 4095, dtype=np.uint8), np.rint(w * (255 / 4095)))
    assert np.array_equal(lum.scale(c, 0.5, 10), np.rint(c * 0.5 + 10))  # every channel
    assert np.array_equal(lum.scale(c, 1.5, dtype=np.float32), (c * np.float32(1.5)).astype(np.float32))
    f = rand((4, 6), np.float32) + 1
    np.testing.assert_allclose(lum.log(f), np.log(f), rtol=2e-7)
    with np.errstate(divide="ignore"):
        assert lum.log(np.zeros((1, 2), np.float32)).tolist() == [[-np.inf, -np.inf]]
    g = rand((6, 6), np.uint8)
    expected = np.clip(np.rint((g.astype(float) - 20) * (255 / (230 - 20))), 0, 255)  # factor first
    assert np.array_equal(lum.adjust_levels(g, 20, 230), expected)
    lo, hi = (10, 20, 30), (100, 200, 250)
    expected = np.clip(np.rint((c - np.array(lo)) * (255 / (np.array(hi) - np.array(lo)))), 0, 255)
    assert np.array_equal(lum.adjust_levels(c, lo, hi), expected)


def test_colour_to_grey_matrix_and_palette():
    c = rand((9, 11, 3), np.uint8)
    assert np.array_equal(lum.color_to_gray(c), np.rint(c.astype(float).mean(axis=2)))
    g = rand((9, 11), np.uint8)
    assert np.array_equal(lum.gray_to_color(g), np.repeat(g[..., None], 3, axis=2))
    m = np.array([[0.5, 0.25, 0, 3], [0, 1, 0, 0], [1, 1, 1, -10]], np.float32)
    expected = np.clip(np.rint(c.astype(np.float64) @ m[:, :3].T + m[:, 3]), 0, 255)
    assert np.abs(lum.transform_color(c, m).astype(int) - expected).max() <= 1  # float32 sums on the way
    x = c.copy()
    assert np.array_equal(lum.transform_color(x, m, out=x), lum.transform_color(c, m))
    w = rand((4, 4, 3), np.uint16, 4095)
    assert lum.transform_color(w, [[2, 0, 0, 0], [0, 2, 0, 0], [0, 0, 2, 0]], valid_bits=12).max() <= 4095
    palette = RNG.integers(0, 256, (256, 3), dtype=np.uint8)
    base = rand((9, 11, 3), np.uint8)
    drawn = lum.apply_palette(g, palette, out=base.copy())
    assert np.array_equal(drawn, np.minimum(base.astype(int) + palette[g], 255))  # channels in out's order
    twelve = rand((9, 11), np.uint16, 4095)
    assert np.array_equal(lum.apply_palette(twelve, palette, valid_bits=12), palette[twelve >> 4])
    half = lum.apply_palette(g, palette, contrast=0.5, brightness=10)
    assert np.array_equal(half, palette[np.clip(np.floor(g * 0.5 + 10), 0, 255).astype(int)])


def test_channels_split_merge_insert_and_reorder():
    for dtype in (np.uint8, np.uint16):
        c = rand((5, 40, 3), dtype)
        planes = lum.split_channels(c[:, 3:30])  # a window with its own step
        for k in range(3):
            assert np.array_equal(planes[k], c[:, 3:30, k])
        assert np.array_equal(lum.merge_channels(c[:, :, 0], c[:, :, 1].copy(), c[::-1, :, 2][::-1]), c)
    c = rand((5, 6, 3), np.uint8)
    g = rand((5, 6), np.uint8)
    expected = c.copy()
    expected[..., 2] = g
    assert np.array_equal(lum.insert_channel(c, g, 2), expected)
    assert np.array_equal(lum.reorder_channels(c, (2, 0, 1)), c[..., [2, 0, 1]])
    with pytest.raises(lum.LumError) as e:
        lum.reorder_channels(c, (0, 1, 3))
    assert e.value.code == -5
