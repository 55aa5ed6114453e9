"""Geometry and measurement through the NumPy layer, against NumPy, OpenCV and scikit-image
where the definitions coincide, and against plain references written here where they do not."""
import cv2
import numpy as np
import pytest
import skimage.data
import skimage.filters
import skimage.transform

import lum

RNG = np.random.default_rng(23)


def lanczos_axis(a, size, axis):
    """Lanczos-3 along one axis: centres (d + 0.5) S / D - 0.5, six taps, weights summing to 1,
    replicated borders."""
    n = a.shape[axis]
    rows = []
    for d in range(size):
        x = (d + 0.5) * n / size - 0.5
        taps = np.arange(int(np.floor(x)) - 2, int(np.floor(x)) + 4)
        w = np.sinc(x - taps) * np.sinc((x - taps) / 3)
        rows.append(np.tensordot(w / w.sum(), np.take(a, np.clip(taps, 0, n - 1), axis=axis), axes=([0], [axis])))
    return np.stack(rows, axis=axis)


@pytest.mark.parametrize("dtype", [np.uint8, np.uint16, np.float32])
def test_flips_are_numpys(dtype):
    for shape in ((7, 12), (5, 9, 3)):
        a = (RNG.random(shape) * 200).astype(dtype)
        assert np.array_equal(lum.flip(a, 0), np.flip(a, 0))
        assert np.array_equal(lum.flip(a, 1), np.flip(a, 1))
        assert np.array_equal(lum.flip(a), np.flip(a, (0, 1)))


def test_resize_by_pixel_centres():
    a = RNG.integers(0, 256, (30, 41), dtype=np.uint8)
    for w, h in ((20, 13), (83, 61), (41, 7)):
        xs = np.minimum(np.floor((np.arange(w) + 0.5) * 41 / w), 40).astype(int)
        ys = np.minimum(np.floor((np.arange(h) + 0.5) * 30 / h), 29).astype(int)
        assert np.array_equal(lum.resize(a, (w, h), "nearest"), a[ys][:, xs])
        linear = lum.resize(a, (w, h))
        assert np.abs(linear.astype(int) - cv2.resize(a, (w, h), interpolation=cv2.INTER_LINEAR)).max() <= 1
        reference = lanczos_axis(lanczos_axis(a.astype(np.float64), w, 1), h, 0)
        assert np.abs(lum.resize(a, (w, h), "lanczos") - np.clip(np.rint(reference), 0, 255)).max() <= 1
    f = (RNG.random((30, 41)) * 100).astype(np.float32)
    np.testing.assert_allclose(lum.resize(f, (77, 55)), cv2.resize(f, (77, 55)), atol=1e-3)
    np.testing.assert_allclose(lum.resize(f, (20, 13), "lanczos"),
                               lanczos_axis(lanczos_axis(f.astype(np.float64), 20, 1), 13, 0), atol=1e-3)
    c = RNG.integers(0, 65536, (9, 10, 3), dtype=np.uint16)
    assert np.array_equal(lum.resize(c, (20, 18), "nearest"), np.repeat(np.repeat(c, 2, 0), 2, 1))


def test_rotation_about_the_centre_is_scikit_images():
    camera = skimage.data.camera()[::2, ::2]
    for angle, center in ((30, None), (-75.5, (100.0, 50.0)), (180, None)):
        mine = lum.rotate(camera, angle, center=center)
        theirs = skimage.transform.rotate(camera, angle, center=center, order=1, preserve_range=True,
                                          mode="constant", cval=0)
        assert np.abs(mine.astype(int) - np.rint(theirs)).max() <= 1
    nearest = lum.rotate(camera, 30, interpolation="nearest")
    theirs = skimage.transform.rotate(camera, 30, order=0, preserve_range=True, mode="constant", cval=0)
    assert (nearest != theirs).mean() < 1e-3  # ties between two source pixels may go either way
    square = np.zeros((5, 5), np.uint8)
    square[0, 2] = 9
    assert lum.rotate(square, 90, interpolation="nearest")[2, 0] == 9  # top middle turns to the left middle
    with pytest.raises(lum.LumError) as e:
        lum.rotate(square, float("nan"))
    assert e.value.code == -5


@pytest.mark.parametrize("dtype", [np.uint8, np.uint16, np.float32])
def test_statistics_are_numpys(dtype):
    a = (RNG.random((23, 45)) * 4000).astype(dtype)
    s = lum.stats(a)
    assert (s.min, s.max) == (a.min(), a.max())
    assert s.mean == pytest.approx(a.mean(dtype=np.float64), rel=1e-9)
    assert s.stddev == pytest.approx(a.std(dtype=np.float64), rel=1e-6)
    assert s.sum == pytest.approx(a.sum(dtype=np.float64), rel=1e-9)
    part = lum.stats(a, rect=(3, 4, 10, 5))
    assert (part.min, part.max) == (a[4:9, 3:13].min(), a[4:9, 3:13].max())
    assert part.sum == pytest.approx(a[4:9, 3:13].sum(dtype=np.float64), rel=1e-9)
    c = (RNG.random((6, 7, 3)) * 200).astype(dtype)
    lo, hi = lum.min_max(c)
    assert lo == tuple(c.min(axis=(0, 1)).tolist()) and hi == tuple(c.max(axis=(0, 1)).tolist())


def test_histograms_are_numpys_with_half_open_bins():
    a = RNG.integers(0, 256, (40, 50), dtype=np.uint8)
    assert np.array_equal(lum.histogram(a), np.bincount(a.ravel(), minlength=256))
    w = RNG.integers(0, 4096, (40, 50), dtype=np.uint16)
    assert np.array_equal(lum.histogram(w, bins=64, valid_bits=12), np.histogram(w, 64, (0, 4096))[0])
    assert np.array_equal(lum.histogram(w, bins=10, range=(100, 3000), rect=(5, 5, 20, 30)),
                          np.histogram(w[5:35, 5:25], np.linspace(100, 3000, 11)[:-1].tolist() + [2999.5])[0])
    f = RNG.random((20, 20), dtype=np.float32)
    assert np.array_equal(lum.histogram(f, 8, (0.0, 1.0)), np.histogram(f, 8, (0.0, 1.0))[0])
    assert lum.histogram(np.array([[0, 64, 128, 255]], np.uint8), 4, (0, 256)).tolist() == [1, 1, 1, 1]
    with pytest.raises(ValueError):
        lum.histogram(f)


def test_otsu_gives_scikit_images_threshold_on_real_images():
    for name in ("camera", "coins", "moon", "page", "text"):
        image = getattr(skimage.data, name)()
        assert lum.threshold_otsu(image) == skimage.filters.threshold_otsu(image), name
    assert lum.threshold_otsu(np.full((5, 5), 3000, np.uint16)) == 3000
    two = np.where(RNG.random((30, 30)) < 0.5, 1000, 3000).astype(np.uint16)
    t = lum.threshold_otsu(two)
    assert t == 1000 and np.array_equal(lum.binarize(two, t + 1) > 0, two > t)  # foreground: above t


def test_projections_over_frames():
    frames = [RNG.integers(0, 4096, (5, 7), dtype=np.uint16) for _ in range(4)]
    assert np.array_equal(lum.projection(frames), np.max(frames, axis=0))
    assert np.array_equal(lum.projection(np.stack(frames), "min"), np.min(frames, axis=0))
    assert np.array_equal(lum.projection(frames, "max", "row"), np.stack([f.max(axis=1) for f in frames], 1))
    assert np.array_equal(lum.projection(frames, "min", "column"), np.stack([f.min(axis=0) for f in frames]))
    assert np.array_equal(lum.projection(frames, "mean"), np.rint(np.mean(frames, axis=0)))  # halves to even
    assert np.array_equal(lum.projection(frames, "mean", "row"),
                          np.rint(np.stack([f.mean(axis=1) for f in frames], 1)))
    floats = [RNG.random((3, 4), dtype=np.float32) for _ in range(3)]
    np.testing.assert_allclose(lum.projection(floats, "mean"), np.mean(floats, axis=0), rtol=1e-6)


def test_profiles_sample_the_line():
    ramp = np.repeat((np.arange(10, dtype=np.uint8) * 20)[:, None], 30, axis=1)
    assert np.array_equal(lum.profile(ramp, (3, 0), (3, 9)), ramp[:, 3])
    assert np.array_equal(lum.profile(ramp, (2, 5), (20, 5), 3), np.full(19, 100))  # rows 4..6 averaged
    assert np.array_equal(lum.profile(ramp, (2, 5), (20, 5), 3, fast=True), np.full(19, 100))
    assert len(lum.profile(ramp, (0, 0), (9, 9))) == int(np.hypot(10, 10))
    w = RNG.integers(0, 4096, (20, 30), dtype=np.uint16)
    assert np.array_equal(lum.profile(w, (0, 7), (29, 7)), w[7])
    assert np.array_equal(lum.profile(w, (29, 7), (0, 7), fast=True), w[7, ::-1])


def test_masks_and_statistics_under_them():
    ellipse = lum.draw_mask((3, 5), "ellipse")
    assert ellipse.tolist() == [[0, 255, 255, 255, 0], [255] * 5, [0, 255, 255, 255, 0]]
    triangle = lum.draw_mask((10, 10), "polygon", [(0, 0), (4, 0), (0, 4)])
    assert [int(r.sum() // 255) for r in triangle[:6]] == [0, 4, 3, 2, 1, 0]
    part = lum.draw_mask((50, 50), box=(90, 90, 20, 20), origin=(100, 100))
    assert (part[:10, :10] == 255).all() and part.sum() == 100 * 255
    a = RNG.integers(0, 4096, (30, 30), dtype=np.uint16)
    disc = lum.draw_mask((9, 11), "ellipse")
    under = a[4:13, 6:17][disc > 0]
    s = lum.masked_stats(a, disc, origin=(6, 4))
    assert s.mean == pytest.approx(under.mean()) and s.stddev == pytest.approx(under.std())
    assert (s.min, s.max) == (under.min(), under.max())
    assert lum.masked_mean(a, disc, (6, 4)) == pytest.approx(under.mean())
    with pytest.raises(lum.LumError) as e:
        lum.masked_mean(a, disc, (25, 0))  # overhangs the image
    assert e.value.code == -2
