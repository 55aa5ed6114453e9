"""lum_measure_objects against scikit-image and OpenCV on thresholded photographs.

The library is loaded with ctypes from $LUM_LIB. scikit-image's label(connectivity=2) numbers objects in
raster order of their first pixel, as the library does, so its labels must be identical; OpenCV's
connectedComponentsWithStats(connectivity=8) numbers them its own way and is compared through the mapping
of labels that the pixels give. Areas and boxes must be identical, centroids and the moment ellipse equal
within 1e-9 relative, holes equal to 1 - euler_number of each object alone.
"""
import ctypes
import math
import os

import numpy as np
import pytest

skimage = pytest.importorskip("skimage")
cv2 = pytest.importorskip("cv2")
from skimage import data, filters, measure  # noqa: E402

FMT_8U, FMT_16U, GRAY = 1, 2, 1


class Info(ctypes.Structure):
    _fields_ = [("width", ctypes.c_int32), ("height", ctypes.c_int32),
                ("physical_width", ctypes.c_float), ("physical_height", ctypes.c_float),
                ("step_bytes", ctypes.c_uint32), ("pix_type", ctypes.c_int),
                ("valid_bits", ctypes.c_uint32), ("channels", ctypes.c_int),
                ("frame_buf", ctypes.c_void_p)]


class Object(ctypes.Structure):
    _fields_ = [("label", ctypes.c_uint32), ("area", ctypes.c_uint32),
                ("centroid_x", ctypes.c_double), ("centroid_y", ctypes.c_double),
                ("x", ctypes.c_int32), ("y", ctypes.c_int32),
                ("width", ctypes.c_int32), ("height", ctypes.c_int32),
                ("holes", ctypes.c_uint32),
                ("orientation", ctypes.c_double),
                ("major_axis", ctypes.c_double), ("minor_axis", ctypes.c_double)]


@pytest.fixture(scope="module")
def lib():
    path = os.environ.get("LUM_LIB")
    if not path:
        pytest.skip("LUM_LIB names no library")
    lib = ctypes.CDLL(path)
    lib.lum_create_image.restype = ctypes.c_int32
    lib.lum_destroy_image.argtypes = [ctypes.c_int32]
    lib.lum_init_image_ex.argtypes = [ctypes.c_int32, ctypes.POINTER(Info)]
    lib.lum_init_image_ex.restype = ctypes.c_int8
    lib.lum_measure_objects.argtypes = [ctypes.c_int32, ctypes.c_uint32, ctypes.c_int32,
                                        ctypes.POINTER(Object), ctypes.c_uint32,
                                        ctypes.POINTER(ctypes.c_uint32)]
    lib.lum_measure_objects.restype = ctypes.c_int8
    return lib


def borrow(lib, array):
    """A handle over the caller's 2-D uint8/uint16 array, which must outlive it."""
    h = lib.lum_create_image()
    fmt = FMT_8U if array.dtype == np.uint8 else FMT_16U
    info = Info(array.shape[1], array.shape[0], 0.0, 0.0, array.strides[0], fmt,
                8 if fmt == FMT_8U else 16, GRAY, array.ctypes.data)
    assert lib.lum_init_image_ex(h, ctypes.byref(info)) == 0
    return h


def lum_measure(lib, image, min_area=0):
    """Records and label image of the library for a 2-D uint8/uint16 array."""
    labels = np.zeros(image.shape, np.uint16)
    hi, hl = borrow(lib, image), borrow(lib, labels)
    try:
        count = ctypes.c_uint32()
        assert lib.lum_measure_objects(hi, min_area, hl, None, 0, ctypes.byref(count)) == 0
        records = (Object * max(count.value, 1))()
        assert lib.lum_measure_objects(hi, min_area, hl, records, count.value, ctypes.byref(count)) == 0
        return list(records)[:count.value], labels
    finally:
        lib.lum_destroy_image(hi)
        lib.lum_destroy_image(hl)


def expected_orientation(region):
    """The angle regionprops defines, with the rule for equal variances of current scikit-image (0.19's
    returns these two cases with the opposite sign)."""
    a, b, _, c = region.inertia_tensor.flat
    if a - c == 0:
        return math.pi / 4 if b < 0 else -math.pi / 4
    return 0.5 * math.atan2(-2 * b, c - a)


def same_angle(got, want):
    d = (got - want + math.pi / 2) % math.pi - math.pi / 2  # +pi/2 and -pi/2 are one axis
    return abs(d) <= 1e-9 * max(1.0, abs(want))


def close(got, want, scale=0.0):
    return abs(got - want) <= 1e-9 * max(abs(want), scale, 1e-300)


def check_against_oracles(lib, binary, image=None, min_area=0):
    image = binary.astype(np.uint8) if image is None else image
    records, labels = lum_measure(lib, image, min_area)

    # scikit-image: same numbering (after leaving small objects out), same properties.
    reference = measure.label(binary, connectivity=2)
    regions = [r for r in measure.regionprops(reference) if r.area >= min_area]
    assert len(records) == len(regions)
    kept = np.zeros(reference.max() + 1, np.int64)
    for k, r in enumerate(regions):
        kept[r.label] = k + 1
    assert np.array_equal(labels, kept[reference])
    for rec, region in zip(records, regions):
        r0, c0, r1, c1 = region.bbox
        assert (rec.area, rec.x, rec.y, rec.width, rec.height) == (region.area, c0, r0, c1 - c0, r1 - r0)
        cy, cx = region.centroid
        assert close(rec.centroid_x, cx) and close(rec.centroid_y, cy), (rec.label, rec.centroid_x, cx)
        major, minor = region.axis_major_length, region.axis_minor_length
        assert close(rec.major_axis, major), (rec.label, rec.major_axis, major)
        assert close(rec.minor_axis, minor, major), (rec.label, rec.minor_axis, minor)
        want = expected_orientation(region)
        assert same_angle(rec.orientation, want), (rec.label, rec.orientation, want)
        a, _, _, c = region.inertia_tensor.flat
        if a != c:
            assert same_angle(rec.orientation, region.orientation)
        assert rec.holes == 1 - region.euler_number, (rec.label, rec.holes, region.euler_number)

    # OpenCV: the same objects under its own numbering, same areas, boxes and centroids.
    if min_area == 0:
        n, cv_labels, stats, centroids = cv2.connectedComponentsWithStats(
            binary.astype(np.uint8), connectivity=8, ltype=cv2.CV_32S)
        assert n - 1 == len(records)
        to_ours = np.zeros(n, np.int64)
        to_ours[cv_labels.ravel()] = labels.ravel()
        assert to_ours[0] == 0
        assert np.array_equal(to_ours[cv_labels], labels)
        assert len(set(to_ours[1:].tolist())) == n - 1
        for k in range(1, n):
            rec = records[to_ours[k] - 1]
            left, top, width, height, area = stats[k]
            assert (rec.x, rec.y, rec.width, rec.height, rec.area) == (left, top, width, height, area)
            assert close(rec.centroid_x, centroids[k][0]) and close(rec.centroid_y, centroids[k][1])
    return records


def photographs():
    """Thresholded photographs: bright and dark sides of Otsu's level, and a local threshold."""
    out = []
    for name in ("camera", "coins", "page", "text", "moon", "horse", "cell", "clock"):
        try:
            picture = getattr(data, name)()
        except Exception:  # a picture this installation does not ship
            continue
        if picture.dtype == bool:
            out.append((name, ~picture))  # the horse is black on white
            continue
        level = filters.threshold_otsu(picture)
        out.append((name + " > otsu", picture > level))
        out.append((name + " <= otsu", picture <= level))
    page = data.page()
    out.append(("page local", page < filters.threshold_local(page, 35, offset=10)))
    return out


@pytest.mark.parametrize("name,binary", photographs(), ids=lambda v: v if isinstance(v, str) else "")
def test_thresholded_photographs(lib, name, binary):
    records = check_against_oracles(lib, binary)
    assert len(records) > 0


def test_synthetic_images(lib):
    rng = np.random.default_rng(5)
    check_against_oracles(lib, data.binary_blobs(length=256, volume_fraction=0.4, seed=3))
    check_against_oracles(lib, rng.random((97, 131)) < 0.45)   # noise near the percolation point
    check_against_oracles(lib, rng.random((64, 300)) < 0.08)   # sparse specks
    yy, xx = np.mgrid[:120, :160]
    check_against_oracles(lib, (xx + yy) % 2 == 0)              # one object, every inner gap a hole
    r = np.hypot(xx - 80, yy - 60)
    rings = ((r // 6) % 2 == 0) & (r < 55)                     # rings in rings around a dot
    check_against_oracles(lib, rings)
    ellipses = ((xx - 50) * 0.8 + (yy - 40) * 0.6) ** 2 / 900 + ((yy - 40) * 0.8 - (xx - 50) * 0.6) ** 2 / 64 <= 1
    check_against_oracles(lib, ellipses | (np.abs(xx - 2 * yy + 30) < 1.5))  # tilted ellipse, thin slanted line


def test_min_area_and_16_bit_samples(lib):
    picture = data.coins()
    binary = picture > filters.threshold_otsu(picture)
    for min_area in (2, 10, 500):
        check_against_oracles(lib, binary, min_area=min_area)
    # 16-bit samples whose low byte is zero count as object pixels.
    moon = data.moon()
    binary = moon > filters.threshold_otsu(moon)
    samples = np.where(binary, moon.astype(np.uint16) * 256, 0).astype(np.uint16)
    check_against_oracles(lib, binary, image=samples)


def test_record_layout():
    assert ctypes.sizeof(Object) == 72
    assert Object.holes.offset == 40 and Object.orientation.offset == 48 and Object.minor_axis.offset == 64
