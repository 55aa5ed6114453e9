"""lum.measure over lum_measure_objects: the label image and records it hands back, the records
against the C interface's, and the physical units against plain NumPy. Skipped when the loaded library does not
export lum_measure_objects (the package itself imports without it)."""
import numpy as np
import pytest
import skimage.data
import skimage.measure

import lum
from lum import raw
from lum._native import measure_objects_function

pytestmark = pytest.mark.skipif(measure_objects_function() is None,
                                reason="the loaded library does not export lum_measure_objects")


def binary_images():
    coins = skimage.data.coins()
    yield "coins", lum.opening(lum.binarize(coins, lum.threshold_otsu(coins) + 1), 5)
    camera = skimage.data.camera()
    yield "camera", lum.binarize(camera, lum.threshold_otsu(camera) + 1)
    page = skimage.data.page()
    yield "page", lum.binarize(page, lum.threshold_otsu(page) + 1, invert=True).astype(np.uint16) * 300
    rng = np.random.default_rng(3)
    yield "noise", (rng.random((97, 131)) < 0.45).astype(np.uint8)


@pytest.mark.parametrize("name,binary", list(binary_images()), ids=[n for n, _ in binary_images()])
def test_labels_and_records_of_any_sample_type(name, binary):
    # The measurements themselves are checked against scikit-image and OpenCV on the C interface
    # (tests/measure/objects_oracle_test.py); here: the arrays the NumPy layer hands back.
    objects, labels = lum.measure(binary, labels=True)
    theirs = skimage.measure.label(binary > 0, connectivity=2)
    assert labels.dtype == np.uint16 and np.array_equal(labels, theirs)
    assert objects.dtype == lum.OBJECT_DTYPE and len(objects) == theirs.max()
    assert objects["area"].tolist() == np.bincount(theirs.ravel())[1:].tolist()


def test_small_objects_are_left_out_and_take_no_label():
    binary = np.zeros((20, 30), np.uint8)
    binary[2:4, 2:4] = 1     # 4 pixels
    binary[10:15, 5:15] = 1  # 50 pixels, with a hole
    binary[12, 9] = 0
    binary[3, 25] = 1        # 1 pixel
    objects, labels = lum.measure(binary, min_area=5, labels=True)
    assert objects["label"].tolist() == [1] and objects["area"].tolist() == [49]
    assert objects["holes"].tolist() == [1]
    assert set(np.unique(labels)) == {0, 1} and labels[2, 2] == 0 and labels[10, 5] == 1
    assert len(lum.measure(np.zeros((5, 5), np.uint8))) == 0
    assert lum.measure(binary > 0, min_area=5).tobytes() == objects.tobytes()  # a bool mask as it is


def test_the_same_records_as_the_c_interface():
    binary = next(binary_images())[1]
    records, count = raw.measure_objects(raw.Image.from_array(binary), 30)
    mine = lum.measure(binary, min_area=30)
    assert count == len(mine) and records.tobytes() == mine.tobytes()
    first_two, count = raw.measure_objects(raw.Image.from_array(binary), 30, capacity=2)
    assert count == len(mine) and first_two.tobytes() == mine[:2].tobytes()


def test_physical_units_from_an_anisotropic_pixel():
    rng = np.random.default_rng(8)
    binary = np.zeros((60, 80), np.uint8)
    yy, xx = np.mgrid[:60, :80]
    binary[((xx - 30) / 20.0) ** 2 + ((yy - 25) / 9.0) ** 2 + 0.3 * (xx - 30) * (yy - 25) / 180 <= 1] = 1
    binary[50:55, 60:78] = rng.integers(0, 2, (5, 18)) | 1
    sx, sy = 0.5, 2.0
    objects = lum.measure(binary, pixel_size=(sx, sy))
    for o in objects:
        ys, xs = np.nonzero(lum.measure(binary, labels=True)[1] == o["label"])
        px, py = xs * sx, ys * sy
        assert o["physical_area"] == pytest.approx(len(xs) * sx * sy)
        assert o["physical_centroid_x"] == pytest.approx(px.mean()) and o["physical_centroid_y"] == pytest.approx(py.mean())
        assert o["physical_width"] == pytest.approx(o["width"] * sx)
        cov = np.cov(np.stack([py, px]), bias=True)  # (row, column) order, as scikit-image's orientation
        low, high = np.linalg.eigvalsh(cov)
        assert o["physical_major_axis"] == pytest.approx(4 * np.sqrt(high), rel=1e-9)
        assert o["physical_minor_axis"] == pytest.approx(4 * np.sqrt(low), rel=1e-9)
        assert o["physical_orientation"] == pytest.approx(0.5 * np.arctan2(2 * cov[0, 1], cov[0, 0] - cov[1, 1]))
    square = lum.measure(binary, pixel_size=0.1)
    np.testing.assert_allclose(square["physical_major_axis"], square["major_axis"] * 0.1)
    np.testing.assert_allclose(square["physical_orientation"], square["orientation"], atol=1e-12)


def test_more_labels_than_a_label_image_holds():
    dots = np.zeros((512, 512), np.uint8)
    dots[::2, ::2] = 1  # 65536 separate pixels
    assert len(lum.measure(dots)) == 65536
    with pytest.raises(lum.LumError) as e:
        lum.measure(dots, labels=True)
    assert e.value.code == -7
