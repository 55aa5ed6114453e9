"""Binarization, clipping, morphology, contours and the watershed through the NumPy layer,
against NumPy, OpenCV and the C interface (lum.raw)."""
import cv2
import numpy as np
import pytest
import skimage.data

import lum
from lum import raw

RNG = np.random.default_rng(29)


def test_binarize_marks_samples_at_or_above_the_threshold():
    a = RNG.integers(0, 256, (20, 30), dtype=np.uint8)
    for t in (1, 100, 255):
        assert np.array_equal(lum.binarize(a, t), np.where(a >= t, 255, 0))
        assert np.array_equal(lum.binarize(a, t, invert=True), np.where(a < t, 255, 0))
    assert np.array_equal(lum.binarize(a, 0), np.full(a.shape, 255))  # every sample is >= 0
    assert not lum.binarize(a, 256).any()
    w = RNG.integers(0, 4096, (20, 30), dtype=np.uint16)
    assert np.array_equal(lum.binarize(w, 2000, valid_bits=12), np.where(w >= 2000, 4095, 0))
    assert lum.binarize(np.array([[200, 100]], np.uint8), 150, valid_bits=7).tolist() == [[127, 0]]
    with pytest.raises(ValueError):
        lum.binarize(a, -5)


def test_threshold_and_clip_in_any_type():
    a = RNG.integers(0, 256, (20, 30), dtype=np.uint8)
    assert np.array_equal(lum.threshold(a, 100, 10, 200), np.where(a < 100, 10, 200))
    assert np.array_equal(lum.threshold(a, 0, 10, 200), np.full(a.shape, 200))
    f = RNG.random((20, 30), dtype=np.float32)
    assert np.array_equal(lum.threshold(f, 0.5, -1, 2), np.where(f < 0.5, -1, 2).astype(np.float32))
    with pytest.raises(ValueError):
        lum.threshold(a, 100, 150, 200)  # low at or above the threshold would end high as well
    assert np.array_equal(lum.clip(a, 50, 200), np.clip(a, 50, 200))
    assert np.array_equal(lum.clip(a, None, 99), np.minimum(a, 99))
    assert np.array_equal(lum.clip(f, 0.25, None), np.maximum(f, np.float32(0.25)))
    with pytest.raises(lum.LumError) as e:
        lum.clip(a, 10, 5)
    assert e.value.code == -7


@pytest.mark.parametrize("shape", ["rect", "ellipse"])
@pytest.mark.parametrize("size", [(3, 3), (5, 3), (4, 6), (1, 7), (9, 9)])
def test_opening_and_closing_are_opencvs_with_replicated_borders(shape, size):
    image = skimage.data.camera()[::2, ::2]
    element = np.ones(size[::-1], np.uint8) if shape == "rect" else \
        (lum.draw_mask(size[::-1], "ellipse") > 0).astype(np.uint8)
    for op, cv_op in ((lum.opening, cv2.MORPH_OPEN), (lum.closing, cv2.MORPH_CLOSE)):
        expected = cv2.morphologyEx(image, cv_op, element, borderType=cv2.BORDER_REPLICATE)
        assert np.array_equal(op(image, size, shape), expected)
    w = (image.astype(np.uint16) * 16)
    assert np.array_equal(lum.opening(w, size, shape),
                          cv2.morphologyEx(w, cv2.MORPH_OPEN, element, borderType=cv2.BORDER_REPLICATE))


def test_contours_are_the_c_interfaces_and_opencvs_outer_boundaries():
    bw = np.zeros((30, 40), np.uint8)
    bw[3:10, 4:15] = 255
    bw[15:25, 20:35] = 255
    bw[18:22, 24:30] = 0  # a hole: only the outer boundary is traced
    found = lum.find_contours(bw, boxes=True)
    via_c = raw.contours(raw.Image.from_array(bw))
    assert len(found) == len(via_c) == 2
    for (points, box), (c_points, c_box) in zip(found, via_c):
        assert points.dtype == np.int32 and points.shape[1] == 2
        assert np.array_equal(points, c_points) and box == c_box
    theirs, _ = cv2.findContours(bw, cv2.RETR_EXTERNAL, cv2.CHAIN_APPROX_NONE)
    assert sorted(map(lambda p: sorted(map(tuple, p.tolist())), lum.find_contours(bw))) == \
        sorted(map(lambda c: sorted(map(tuple, c[:, 0].tolist())), theirs))
    assert lum.find_contours(np.zeros((8, 8), np.uint16)) == []
    assert all(np.array_equal(p, q) for p, q in zip(lum.find_contours(bw > 0), lum.find_contours(bw)))


def test_empty_frames_leave_no_contour_sets_behind():
    empty = np.zeros((16, 16), np.uint8)
    lum.find_contours(empty)
    first, _, _ = raw.find_contours(raw.Image.from_array(empty))
    raw.release_contours(first)
    for _ in range(2000):
        lum.find_contours(empty)
    again, _, _ = raw.find_contours(raw.Image.from_array(empty))
    raw.release_contours(again)
    assert again == first


def test_expanded_contours_and_runs_match_the_c_interface():
    ring = [(5, 5), (6, 5), (7, 5), (7, 6), (7, 7), (6, 7), (5, 7), (5, 6)]
    grown, = lum.expand_contour(ring, 2)
    handle, total = raw.expand_contour(ring, (5, 5, 3, 3), 2)
    (c_points, _), = raw.split_contours(*raw.get_contours_result(handle))
    assert np.array_equal(grown, c_points + (5 - 2, 5 - 2))  # back in the ring's coordinates
    assert grown[:, 0].min() == 3 and grown[:, 0].max() == 9
    square = [(1, 1), (3, 1), (3, 3), (1, 3)]
    runs, centre, area = lum.contour_runs(square)
    c_runs, c_tail = raw.vline_contour(square, (1, 1, 3, 3))
    assert np.array_equal(runs, c_runs) and centre + (area,) == c_tail
    assert lum.contour_runs([])[2] == 0


def test_watershed_floods_from_the_seeds():
    ridge = np.zeros((9, 13), np.uint8)
    ridge[:, 6] = 200  # a wall down the middle
    markers = np.zeros((9, 13), np.int32)
    markers[4, 2], markers[4, 10] = 1, 2
    labels = lum.watershed(ridge, markers)
    assert labels.dtype == np.uint16
    assert (labels[:, :6] == 1).all() and (labels[:, 7:] == 2).all() and (labels[:, 6] == 0).all()
    m16 = markers.astype(np.uint16)
    lum.watershed(ridge, m16, out=m16)
    assert np.array_equal(m16, labels)
    with pytest.raises(ValueError):
        lum.watershed(ridge, markers - 5)
