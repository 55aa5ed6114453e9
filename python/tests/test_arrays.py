"""How the NumPy layer hands arrays to the library: zero-copy where the library can address the
array as it lies, copies where it cannot, `out=` written exactly where it lies (nothing around
it), overlaps resolved, errors raised before anything is written, and no input crashes."""
import ctypes

import numpy as np
import pytest

import lum
from lum import _call

RNG = np.random.default_rng(5)


@pytest.fixture
def lent(monkeypatch):
    """Records (frame_buf, step, width, height) of every array lent to the library."""
    seen = []
    real = _call._init_ex

    def spy(handle, info_ref):
        info = ctypes.cast(info_ref, ctypes.POINTER(lum.raw.Info)).contents
        seen.append((info.frame_buf or 0, info.step_bytes, info.width, info.height))
        return real(handle, info_ref)
    monkeypatch.setattr(_call, "_init_ex", spy)
    return seen


def test_arrays_are_lent_as_they_lie_when_the_library_can_address_them(lent):
    host = RNG.integers(0, 256, (10, 64), dtype=np.uint8)
    for a, step in ((host, 64), (host[2:8, 5:40], 64), (host[::2, :30], 128)):
        lent.clear()
        lum.stats(a)
        assert lent == [(a.ctypes.data, step, a.shape[1], a.shape[0])]
    ro = host.copy()
    ro.flags.writeable = False
    lent.clear()
    lum.stats(ro)
    assert lent[0][0] == ro.ctypes.data  # inputs are only read: read-only arrays go in as they are
    colour = RNG.integers(0, 256, (6, 20, 3), dtype=np.uint8)
    lent.clear()
    lum.min_max(colour[1:5, 2:9])
    assert lent == [(colour[1:5, 2:9].ctypes.data, 60, 7, 4)]


def test_arrays_the_library_cannot_address_are_copied_with_the_same_result(lent):
    base = RNG.integers(0, 4096, (12, 40), dtype=np.uint16)
    expected = lum.stats(base[:, ::-1])
    buffer = np.zeros(base.size * 2 + 1, np.uint8)
    misaligned = buffer[1:].view(np.uint16).reshape(12, 40)
    misaligned[...] = base[:, ::-1]
    layouts = [base[:, ::-1], np.asfortranarray(base[:, ::-1]), misaligned,
               base[::-1, ::-1][::-1],  # rows in order again, columns reversed
               np.broadcast_to(base[:1, ::-1], (12, 40))]
    for a in layouts[:-1]:
        lent.clear()
        assert lum.stats(a) == expected
        assert lent[0][0] != a.ctypes.data and lent[0][1] == 80
    lum.stats(layouts[-1])
    rows = base[::-1]
    lent.clear()
    assert np.array_equal(lum.binarize(rows, 2000, valid_bits=12), np.where(rows >= 2000, 4095, 0))
    # The last row of a window whose padding would leave the owner's memory: copied.
    host = RNG.integers(0, 256, (8, 32), dtype=np.uint8)
    window = host[:, 4:20]
    lent.clear()
    lum.stats(window)
    assert lent[0][1] == 16


FUNCTIONS_WITH_OUT = [
    ("add", lambda a, out: lum.add(a, a, out=out)),
    ("subtract", lambda a, out: lum.subtract(a, 3, out=out)),
    ("absdiff", lambda a, out: lum.absdiff(a, a[::-1], out=out)),
    ("bitwise_or", lambda a, out: lum.bitwise_or(a, a[::-1], out=out)),
    ("maximum", lambda a, out: lum.maximum(a, a[::-1], out=out)),
    ("multiply", lambda a, out: lum.multiply(a, 1.5, out=out)),
    ("divide", lambda a, out: lum.divide(a, a[::-1] | 1, out=out)),
    ("left_shift", lambda a, out: lum.left_shift(a, 1, out=out)),
    ("lut", lambda a, out: lum.lut(a, np.arange(256)[::-1], out=out)),
    ("invert", lambda a, out: lum.invert(a, out=out)),
    ("scale", lambda a, out: lum.scale(a, 0.5, 3, out=out)),
    ("adjust_levels", lambda a, out: lum.adjust_levels(a, 20, 200, out=out)),
    ("flip", lambda a, out: lum.flip(a, 1, out=out)),
    ("resize", lambda a, out: lum.resize(a[:5, :11], (21, 9), out=out)),
    ("rotate", lambda a, out: lum.rotate(a, 20, out=out)),
    ("binarize", lambda a, out: lum.binarize(a, 99, out=out)),
    ("threshold", lambda a, out: lum.threshold(a, 99, 5, 250, out=out)),
    ("clip", lambda a, out: lum.clip(a, 30, 220, out=out)),
    ("opening", lambda a, out: lum.opening(a, (3, 5), out=out)),
    ("closing", lambda a, out: lum.closing(a, 3, "ellipse", out=out)),
    ("draw_mask", lambda a, out: lum.draw_mask(a.shape, "ellipse", out=out)),
    ("projection", lambda a, out: lum.projection([a, a[::-1]], "max", out=out)),
    ("watershed", lambda a, out: lum.watershed(a, np.eye(*a.shape, dtype=np.uint16), out=out.view(np.uint16)
                                               if out is not None else None)),
]


@pytest.mark.parametrize("name,run", FUNCTIONS_WITH_OUT, ids=[n for n, _ in FUNCTIONS_WITH_OUT])
def test_out_receives_the_result_where_it_lies_and_nothing_around_it(name, run):
    a = RNG.integers(0, 256, (9, 21), dtype=np.uint8)
    expected = run(a, None)
    dtype = np.uint16 if name == "watershed" else np.uint8
    host = np.full((13, 40), 0xA5, dtype)
    window = host[2:2 + 9, 7:7 + 21] if name != "watershed" else host[2:11, 7:28]
    out = window.view(np.uint8) if name == "watershed" else window
    result = run(a, out)
    assert result is out or result.base is not None
    assert np.array_equal(window, expected)
    outside = np.ones(host.shape, bool)
    outside[2:11, 7:28] = False
    assert (host[outside] == 0xA5).all(), f"{name} wrote outside out"


def test_out_may_be_an_input_or_overlap_one():
    a = RNG.integers(0, 200, (16, 16), dtype=np.uint8)
    b = RNG.integers(0, 200, (16, 16), dtype=np.uint8)
    expected = np.minimum(a.astype(int) + b, 255)
    x = a.copy()
    assert lum.add(x, b, out=x) is x and np.array_equal(x, expected)
    y = b.copy()
    assert lum.add(a, y, out=y) is y and np.array_equal(y, expected)  # b += a in place
    y = b.copy()
    lum.subtract(a, y, out=y)
    assert np.array_equal(y, np.maximum(a.astype(int) - b, 0))
    x = a.copy()
    lum.subtract(x, b, out=x)  # a -= b in place
    assert np.array_equal(x, np.maximum(a.astype(int) - b, 0))
    w = (a.astype(np.uint16) * 20)[:, ::-1]  # in place through a copy: the result still lands in w
    lum.add(np.ones_like(w), w, out=w, valid_bits=12)
    assert np.array_equal(w, np.minimum((a.astype(int) * 20)[:, ::-1] + 1, 4095))
    # A shifted view of the input: computed aside, then written.
    host = np.zeros((17, 16), np.uint8)
    host[:16] = a
    lum.flip(host[:16], 0, out=host[1:])
    assert np.array_equal(host[1:], a[::-1])
    host[:16] = a
    lum.resize(host[:16], (16, 16), "nearest", out=host[1:])
    assert np.array_equal(host[1:], a)
    z = a.copy()
    lum.divide(z, z, out=z)  # every sample divided by itself
    assert set(np.unique(z)) <= {0, 1}


def test_bad_arguments_raise_before_anything_is_written():
    a = np.zeros((4, 6), np.uint8)
    out = np.full((4, 6), 7, np.uint8)
    cases = [
        (TypeError, lambda: lum.add(a, a.astype(np.uint16))),
        (ValueError, lambda: lum.add(a, a[:3])),
        (TypeError, lambda: lum.stats(a.astype(np.int64))),
        (TypeError, lambda: lum.binarize(a.astype(np.float32), 1)),
        (ValueError, lambda: lum.stats(np.zeros((4, 6, 4), np.uint8))),
        (ValueError, lambda: lum.stats(np.zeros(6, np.uint8))),
        (ValueError, lambda: lum.binarize(np.zeros((4, 6, 3), np.uint8), 5)),
        (TypeError, lambda: lum.add(a, a, out=out.astype(np.uint16))),
        (ValueError, lambda: lum.add(a, a, out=out[:3])),
        (TypeError, lambda: lum.add(a, a, out=[0] * 24)),
        (ValueError, lambda: lum.add(a, 256)),
        (ValueError, lambda: lum.binarize(a.astype(np.uint16), 5, valid_bits=17)),
        (ValueError, lambda: lum.resize(a, (0, 4))),
        (ValueError, lambda: lum.resize(a, (3, 4), "cubic")),
        (ValueError, lambda: lum.opening(a, 3, "disc")),
        (ValueError, lambda: lum.lut(a, np.arange(100))),
    ]
    for kind, call in cases:
        with pytest.raises(kind):
            call()
    ro = out.copy()
    ro.flags.writeable = False
    with pytest.raises(ValueError):
        lum.add(a, a, out=ro)
    assert (out == 7).all()


def test_library_refusals_raise_lum_error_with_code_and_phrase():
    a = np.zeros((8, 8), np.uint8)
    with pytest.raises(lum.LumError) as e:
        lum.profile(a, (0, 0), (20, 0))  # a point beyond the image
    assert e.value.code == -7 and e.value.phrase == lum.status_text(-7)
    assert e.value.function == "lum_get_profile"
    with pytest.raises(lum.LumError) as e:
        lum.watershed(a, np.zeros((8, 8), np.uint16))  # no seed
    assert e.value.code == -32
    with pytest.raises(lum.LumError) as e:
        lum.absdiff(np.zeros((4, 4, 3), np.uint16), np.zeros((4, 4, 3), np.uint16))
    assert e.value.code == -65


EVERY_FUNCTION = [
    lambda a: lum.add(a, a), lambda a: lum.add(a, 3), lambda a: lum.subtract(a, a), lambda a: lum.absdiff(a, a),
    lambda a: lum.bitwise_and(a, a), lambda a: lum.maximum(a, a), lambda a: lum.multiply(a, 2),
    lambda a: lum.divide(a, a), lambda a: lum.convert(a, np.uint16), lambda a: lum.left_shift(a, 1),
    lambda a: lum.right_shift(a, 1, dtype=np.uint16), lambda a: lum.lut(a, np.arange(256)),
    lambda a: lum.invert(a), lambda a: lum.scale(a, 2.0), lambda a: lum.log(a.astype(np.float32)),
    lambda a: lum.adjust_levels(a, 1, 9), lambda a: lum.gray_to_color(a), lambda a: lum.flip(a),
    lambda a: lum.resize(a, (3, 3)), lambda a: lum.rotate(a, 10), lambda a: lum.stats(a),
    lambda a: lum.min_max(a), lambda a: lum.histogram(a), lambda a: lum.threshold_otsu(a),
    lambda a: lum.projection([a, a]), lambda a: lum.projection([a, a], "mean", "row"),
    lambda a: lum.profile(a, (0, 0), (0, 0)), lambda a: lum.masked_mean(a, a), lambda a: lum.masked_stats(a, a),
    lambda a: lum.binarize(a, 3), lambda a: lum.threshold(a, 3), lambda a: lum.clip(a, 1, 2),
    lambda a: lum.opening(a), lambda a: lum.closing(a), lambda a: lum.find_contours(a),
    lambda a: lum.watershed(a, a.astype(np.uint16)), lambda a: lum.draw_mask(a.shape),
]


@pytest.mark.parametrize("shape", [(0, 5), (5, 0), (0, 0), (1, 1), (1, 7), (7, 1)])
def test_empty_and_tiny_images_give_results_or_errors_never_crashes(shape):
    a = np.zeros(shape, np.uint8)
    for run in EVERY_FUNCTION:
        try:
            run(a)
        except (lum.LumError, ValueError):
            pass
    c = np.zeros(shape + (3,), np.uint8)
    for run in (lum.color_to_gray, lum.split_channels, lambda x: lum.reorder_channels(x, (2, 1, 0)),
                lambda x: lum.transform_color(x, np.eye(3, 4))):
        try:
            run(c)
        except (lum.LumError, ValueError):
            pass


def test_huge_shapes_are_refused_before_any_allocation():
    huge = np.broadcast_to(np.uint8(0), (2**31, 2))
    with pytest.raises(ValueError):
        lum.stats(huge)
    with pytest.raises((MemoryError, ValueError)):
        lum.resize(np.zeros((2, 2), np.uint8), (2**20, 2**20))


def layouts(a):
    """a in layouts the library takes as they lie and in layouts that are copied on the way in."""
    host = np.zeros((a.shape[0] + 3, a.shape[1] + 9) + a.shape[2:], a.dtype)
    window = host[1:1 + a.shape[0], 4:4 + a.shape[1]]
    window[...] = a
    ro = a.copy()
    ro.flags.writeable = False
    flipped = np.flip(a, 1).copy()[:, ::-1]
    raw_bytes = np.zeros(a.nbytes + a.itemsize, np.uint8)[1:1 + a.nbytes]
    misaligned = raw_bytes.view(a.dtype).reshape(a.shape)
    misaligned[...] = a
    return {"window": window, "read-only": ro, "reversed columns": flipped, "misaligned": misaligned,
            "fortran": np.asfortranarray(a)}


SINGLE_IMAGE = {
    "add": lambda a: lum.add(a, a), "scale": lambda a: lum.scale(a, 0.7, 2), "flip": lambda a: lum.flip(a, 0),
    "resize": lambda a: lum.resize(a, (17, 9), "lanczos"), "rotate": lambda a: lum.rotate(a, 12.5),
    "stats": lambda a: lum.stats(a), "histogram": lambda a: lum.histogram(a, 16, (0, 4096)),
    "otsu": lambda a: lum.threshold_otsu(a), "binarize": lambda a: lum.binarize(a, 1000, valid_bits=12),
    "opening": lambda a: lum.opening(a, (5, 3), "ellipse"), "profile": lambda a: lum.profile(a, (1, 2), (20, 9), 3),
    "contours": lambda a: [c.tolist() for c in lum.find_contours(lum.binarize(a, 2000))],
    "watershed": lambda a: lum.watershed(a, np.eye(*a.shape, dtype=np.uint16)),
    "masked": lambda a: lum.masked_stats(a, np.full((4, 5), 255, np.uint8), (3, 2)),
    "projection": lambda a: lum.projection([a, a[::-1]], "mean", "column"),
}


@pytest.mark.parametrize("name", sorted(SINGLE_IMAGE))
def test_every_layout_gives_the_contiguous_result(name):
    a = RNG.integers(0, 4096, (14, 23), dtype=np.uint16)
    run = SINGLE_IMAGE[name]
    expected = run(a)
    for layout, b in layouts(a).items():
        got = run(b)
        assert np.array_equal(got, expected) if isinstance(got, np.ndarray) else got == expected, layout
