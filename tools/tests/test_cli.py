"""The command-line tool on PNG files written by the test itself."""
import json
import os
import subprocess

import numpy as np
import pytest

import pngfile

RNG = np.random.default_rng(7)


def built_commands():
    """The subcommands this build of lum has: it grows as the library gains operations."""
    path = os.environ.get("LUM_CLI")
    if not path:
        return set()
    out = subprocess.run([path, "--help"], capture_output=True, text=True).stdout
    return {line.split()[0] for line in out.split("commands:")[-1].splitlines() if line.startswith("  ")}


BUILT = built_commands()


def needs(*names):
    missing = [n for n in names if n not in BUILT]
    return pytest.mark.skipif(bool(missing), reason="lum lacks " + ", ".join(missing) + " (library operations missing)")


def random_image(shape, dtype, bits=None):
    top = (1 << bits) - 1 if bits else np.iinfo(dtype).max
    return RNG.integers(0, top + 1, shape, dtype=dtype)


def test_help_lists_commands_and_explains_each(lum_cli):
    out = lum_cli("--help").stdout
    assert {"info", "convert"} <= BUILT
    for name in sorted(BUILT):
        assert f"  {name} " in out
        sub = lum_cli(name, "--help").stdout
        assert sub.startswith(f"usage: lum {name}")
    assert lum_cli(expect=2).stderr.startswith("usage: lum COMMAND")
    assert "unknown command 'nope'" in lum_cli("nope", expect=2).stderr
    assert "unknown option --bogus" in lum_cli("info", "--bogus", "x.png", expect=2).stderr
    assert "expected IN.png OUT.png" in lum_cli("convert", "a.png", expect=2).stderr


def test_errors_name_the_file_and_exit_non_zero(lum_cli, tmp_path):
    r = lum_cli("info", "missing.png", expect=1)
    assert "missing.png" in r.stderr
    (tmp_path / "text.png").write_text("not an image")
    assert "text.png: not a PNG file" in lum_cli("info", "text.png", expect=1).stderr
    (tmp_path / "cut.png").write_bytes((b"\x89PNG\r\n\x1a\n" + b"\0" * 30))
    assert "cut.png" in lum_cli("info", "cut.png", expect=1).stderr


@pytest.mark.parametrize("dtype,channels,bits", [(np.uint8, 1, None), (np.uint8, 3, None),
                                                 (np.uint16, 1, 12), (np.uint16, 3, None), (np.uint16, 1, 9)])
def test_info_reports_layout_and_valid_bits(lum_cli, tmp_path, dtype, channels, bits):
    shape = (13, 17) if channels == 1 else (13, 17, 3)
    pngfile.write(tmp_path / "in.png", random_image(shape, dtype, bits), significant_bits=bits)
    line = lum_cli("info", "in.png").stdout.strip()
    depth = 16 if dtype == np.uint16 else 8
    layout = "colour" if channels == 3 else "grey"
    assert line.startswith(f"in.png: 17 x 13, {layout}, {depth}u, {bits or depth} valid bits")
    record = json.loads(lum_cli("info", "--json", "in.png", "in.png").stdout)
    assert len(record) == 2
    assert record[0] == {"file": "in.png", "width": 17, "height": 13, "channels": channels,
                         "format": f"{depth}u", "valid_bits": bits or depth, "step_bytes": record[0]["step_bytes"]}
    assert record[0]["step_bytes"] == (depth // 8) * 32 * channels


@pytest.mark.parametrize("dtype,channels,bits", [(np.uint8, 1, None), (np.uint8, 3, None), (np.uint8, 1, 6),
                                                 (np.uint16, 1, None), (np.uint16, 3, 10), (np.uint16, 1, 12)])
@pytest.mark.parametrize("filter_type", [0, 4])
def test_convert_round_trips_bit_exactly(lum_cli, tmp_path, dtype, channels, bits, filter_type):
    shape = (31, 65) if channels == 1 else (31, 65, 3)
    pixels = random_image(shape, dtype, bits)
    pngfile.write(tmp_path / "in.png", pixels, significant_bits=bits, filter_type=filter_type)
    lum_cli("convert", "in.png", "out.png")
    back, sbit = pngfile.read(tmp_path / "out.png")
    assert back.dtype == pixels.dtype and back.shape == pixels.shape
    np.testing.assert_array_equal(back, pixels)
    assert sbit == bits


@pytest.mark.parametrize("channels", [1, 3])
def test_convert_between_8_and_16_bits(lum_cli, tmp_path, channels):
    shape = (9, 21) if channels == 1 else (9, 21, 3)
    frame = random_image(shape, np.uint16, 12)
    pngfile.write(tmp_path / "f12.png", frame, significant_bits=12)
    lum_cli("convert", "--to", "8u", "--shift", "4", "f12.png", "f8.png")
    eight, sbit = pngfile.read(tmp_path / "f8.png")
    assert eight.dtype == np.uint8 and sbit is None
    np.testing.assert_array_equal(eight, frame >> 4)
    lum_cli("convert", "--to", "8u", "f12.png", "sat.png")
    np.testing.assert_array_equal(pngfile.read(tmp_path / "sat.png")[0], np.minimum(frame, 255))
    lum_cli("convert", "--to", "16u", "--shift", "4", "f8.png", "back.png")
    back, sbit = pngfile.read(tmp_path / "back.png")
    assert back.dtype == np.uint16 and sbit == 12
    np.testing.assert_array_equal(back, (frame >> 4) << 4)
    assert "--shift: 0 to 15 bits" in lum_cli("convert", "--shift", "16", "f12.png", "x.png", expect=2).stderr


def test_convert_reports_unwritable_output(lum_cli, tmp_path):
    pngfile.write(tmp_path / "in.png", random_image((4, 4), np.uint8))
    r = lum_cli("convert", "in.png", "no/such/dir/out.png", expect=1)
    assert "no/such/dir/out.png: cannot open for writing" in r.stderr


def write_grey(tmp_path, name, pixels, bits=None):
    pngfile.write(tmp_path / name, pixels, significant_bits=bits)
    return name


@needs("stats")
@pytest.mark.parametrize("dtype,bits", [(np.uint8, None), (np.uint16, 12)])
def test_stats_match_the_library_and_numpy(lum_cli, tmp_path, dtype, bits):
    import lum.raw as lum
    pixels = random_image((23, 41), dtype, bits)
    write_grey(tmp_path, "in.png", pixels, bits)
    record = json.loads(lum_cli("stats", "--json", "in.png").stdout)[0]
    assert record["min"] == pixels.min() and record["max"] == pixels.max()
    assert record["sum"] == pixels.sum()
    assert record["mean"] == pytest.approx(pixels.mean(), rel=1e-9)
    assert record["stddev"] == pytest.approx(pixels.std(), rel=1e-6)
    window = json.loads(lum_cli("stats", "--json", "--rect", "3,4,10,5", "in.png").stdout)[0]
    image = lum.Image.from_array(pixels, valid_bits=bits)
    assert (window["min"], window["max"]) == lum.img_min_max_rect(image, (3, 4, 10, 5))
    assert window["rect"] == [3, 4, 10, 5]
    r = lum_cli("stats", "--rect", "30,0,20,5", "in.png", expect=1)
    assert "in.png: minimum and maximum: rectangle or size beyond the image (-2)" in r.stderr


@needs("stats")
def test_stats_of_colour_images_are_per_channel(lum_cli, tmp_path):
    pixels = random_image((9, 11, 3), np.uint8)
    write_grey(tmp_path, "c.png", pixels)
    record = json.loads(lum_cli("stats", "--json", "c.png").stdout)[0]
    assert record["min"] == pixels.min(axis=(0, 1)).tolist()
    assert record["max"] == pixels.max(axis=(0, 1)).tolist()
    assert "mean" not in record
    assert lum_cli("stats", "c.png").stdout.startswith("c.png: min [")


@needs("histogram")
def test_histogram_counts_every_sample_once(lum_cli, tmp_path):
    pixels = random_image((30, 50), np.uint16, 10)
    write_grey(tmp_path, "in.png", pixels, 10)
    lines = lum_cli("histogram", "--bins", "8", "in.png").stdout.strip().split("\n")
    assert lines[0] == "from,to,count" and len(lines) == 9
    counts = [int(line.split(",")[2]) for line in lines[1:]]
    np.testing.assert_array_equal(counts, np.histogram(pixels, bins=8, range=(0, 1024))[0])
    record = json.loads(lum_cli("histogram", "--format", "json", "--range", "100,200", "--bins", "4", "in.png").stdout)
    # Half-open bins: a sample of exactly 200 is not counted.
    expected = [np.count_nonzero((pixels >= 100 + 25 * k) & (pixels < 125 + 25 * k)) for k in range(4)]
    np.testing.assert_array_equal(record["counts"], expected)
    assert "--format is csv or json" in lum_cli("histogram", "--format", "xml", "in.png", expect=2).stderr
    r = lum_cli("histogram", "--range", "5,5", "in.png", expect=1)
    assert "in.png: histogram: argument out of range (-7)" in r.stderr


@needs("threshold")
@pytest.mark.parametrize("dtype,bits", [(np.uint8, None), (np.uint16, 12)])
def test_threshold_by_value_and_by_otsu(lum_cli, tmp_path, dtype, bits):
    top = (1 << (bits or 8)) - 1
    pixels = random_image((20, 33), dtype, bits)
    write_grey(tmp_path, "in.png", pixels, bits)
    lum_cli("threshold", "in.png", "out.png", str(top // 3))
    out, sbit = pngfile.read(tmp_path / "out.png")
    np.testing.assert_array_equal(out, np.where(pixels >= top // 3, top, 0).astype(dtype))
    lum_cli("threshold", "--invert", "in.png", "inv.png", str(top // 3))
    np.testing.assert_array_equal(pngfile.read(tmp_path / "inv.png")[0], top - out)
    # Otsu: two well separated levels split between them.
    two = np.where(np.arange(20 * 33).reshape(20, 33) % 3 == 0, top // 10, top - top // 10).astype(dtype)
    write_grey(tmp_path, "two.png", two, bits)
    r = lum_cli("threshold", "--otsu", "two.png", "otsu.png", expect=None)
    if dtype == np.uint16 and "data format not supported (-1)" in r.stderr:
        pytest.skip("the library has no 16-bit Otsu threshold yet")
    assert r.returncode == 0, r.stderr
    printed = r.stdout
    assert printed.startswith("otsu ")
    np.testing.assert_array_equal(pngfile.read(tmp_path / "otsu.png")[0], np.where(two > top // 2, top, 0))
    assert "VALUE must be 1 to" in lum_cli("threshold", "in.png", "x.png", "0", expect=2).stderr
    assert "either a threshold VALUE or --otsu" in lum_cli("threshold", "in.png", "x.png", expect=2).stderr


def blobs(shape=(64, 96), dtype=np.uint8, high=200):
    pixels = np.zeros(shape, dtype)
    pixels[5:20, 6:30] = high          # a plate
    yy, xx = np.mgrid[:shape[0], :shape[1]]
    pixels[(yy - 40) ** 2 + (xx - 60) ** 2 <= 144] = high  # a disc
    pixels[(yy - 40) ** 2 + (xx - 60) ** 2 <= 16] = 0      # with a hole
    pixels[50:52, 10:12] = high        # a speck that closes within eight steps
    return pixels


@needs("contours")
@pytest.mark.parametrize("dtype,high", [(np.uint8, 200), (np.uint16, 3000)])
def test_contours_json_matches_the_c_interface(lum_cli, tmp_path, dtype, high):
    import lum.raw as lum
    pixels = blobs(dtype=dtype, high=high)
    bits = 12 if dtype == np.uint16 else None
    write_grey(tmp_path, "in.png", pixels, bits)
    record = json.loads(lum_cli("contours", "--threshold", str(high // 2), "--overlay", "ov.png", "in.png").stdout)
    binary = lum.Image(96, 64, lum.format_of(dtype), lum.GRAY, bits or 8)
    lum.binarization(lum.Image.from_array(pixels, valid_bits=bits), binary, high // 2)
    expected = lum.contours(binary)
    assert record["count"] == len(expected) == 2
    for got, (points, box) in zip(record["contours"], expected):
        assert got["points"] == points.tolist()
        assert got["bbox"] == list(box) and got["outline_points"] == len(points)
        runs, (cx, cy, area) = lum.vline_contour(points, box)
        assert got["centroid"] == [cx, cy] and got["area"] == area
    assert record["contours"][0]["bbox"] == [6, 5, 24, 15]
    overlay, _ = pngfile.read(tmp_path / "ov.png")
    assert overlay.shape == (64, 96, 3)
    for x, y in record["contours"][1]["points"]:
        assert tuple(overlay[y, x]) == (255, 0, 0)
    # Every non-zero sample is an object without a threshold; --min-area drops the plate's rival.
    plain = json.loads(lum_cli("contours", "--no-points", "--min-area", "400", "in.png").stdout)
    assert plain["threshold"] is None and plain["count"] == 1 and "points" not in plain["contours"][0]


@needs("contours")
def test_contours_with_otsu_and_on_an_empty_image(lum_cli, tmp_path):
    write_grey(tmp_path, "blobs.png", blobs())
    record = json.loads(lum_cli("contours", "--otsu", "--no-points", "blobs.png").stdout)
    assert record["count"] == 2 and 0 < record["threshold"] <= 200
    write_grey(tmp_path, "empty.png", np.zeros((8, 8), np.uint8))
    assert json.loads(lum_cli("contours", "empty.png").stdout)["count"] == 0
    write_grey(tmp_path, "colour.png", np.zeros((8, 8, 3), np.uint8))
    assert "colour.png: contours need a grey image" in lum_cli("contours", "colour.png", expect=1).stderr


@needs("morph")
def test_morph_opening_removes_specks_and_closing_fills_holes(lum_cli, tmp_path):
    import lum.raw as lum
    pixels = np.zeros((30, 40), np.uint8)
    pixels[5:20, 5:25] = 255
    pixels[25, 33] = 255        # a speck
    pixels[10, 12] = 0          # a pinhole
    write_grey(tmp_path, "in.png", pixels)
    lum_cli("morph", "--op", "open", "--size", "3", "in.png", "open.png")
    opened, _ = pngfile.read(tmp_path / "open.png")
    assert opened[25, 33] == 0 and opened[12, 12] == 255
    lum_cli("morph", "--op", "close", "--size", "3x3", "in.png", "close.png")
    closed, _ = pngfile.read(tmp_path / "close.png")
    assert closed[10, 12] == 255
    expected = lum.Image(40, 30)
    lum.morph_open_close(lum.Image.from_array(pixels), expected, (0, 3, 3, 3))
    np.testing.assert_array_equal(closed, expected.array)
    write_grey(tmp_path, "colour.png", np.zeros((4, 4, 3), np.uint8))
    r = lum_cli("morph", "colour.png", "x.png", expect=1)
    assert "colour.png: opening: channel count not supported (-65)" in r.stderr


@needs("mirror")
def test_mirror_flips_like_numpy(lum_cli, tmp_path):
    pixels = random_image((7, 9, 3), np.uint16, 12)
    write_grey(tmp_path, "in.png", pixels, 12)
    for flip, expected in (("updown", pixels[::-1]), ("leftright", pixels[:, ::-1]), ("both", pixels[::-1, ::-1])):
        lum_cli("mirror", "--flip", flip, "in.png", f"{flip}.png")
        np.testing.assert_array_equal(pngfile.read(tmp_path / f"{flip}.png")[0], expected)
    lum_cli("mirror", "--rect", "1,2,4,3", "in.png", "part.png")
    part = pixels.copy()
    part[2:5, 1:5] = pixels[2:5, 1:5][:, ::-1]
    np.testing.assert_array_equal(pngfile.read(tmp_path / "part.png")[0], part)


@needs("resize", "rotate")
def test_resize_and_rotate(lum_cli, tmp_path):
    pixels = random_image((40, 60), np.uint8)
    write_grey(tmp_path, "in.png", pixels)
    lum_cli("resize", "--size", "30x20", "--interp", "nearest", "in.png", "half.png")
    half, _ = pngfile.read(tmp_path / "half.png")
    # Nearest neighbour takes source index floor((d + 0.5) * 2) = 2d + 1.
    np.testing.assert_array_equal(half, pixels[1::2, 1::2])
    lum_cli("resize", "--factor", "1.5", "--interp", "lanczos", "in.png", "big.png")
    assert pngfile.read(tmp_path / "big.png")[0].shape == (60, 90)
    square = np.zeros((21, 21), np.uint8)
    square[10, 3:18] = 255  # a horizontal bar through the centre turns vertical
    write_grey(tmp_path, "bar.png", square)
    lum_cli("rotate", "--interp", "nearest", "bar.png", "turned.png", "90")
    np.testing.assert_array_equal(pngfile.read(tmp_path / "turned.png")[0], square.T)
    assert "ANGLE: not a number" in lum_cli("rotate", "bar.png", "x.png", "ninety", expect=2).stderr
    assert "give --size or --factor" in lum_cli("resize", "in.png", "x.png", expect=2).stderr


@needs("project")
def test_project_reduces_frames_pixel_by_pixel_and_per_row(lum_cli, tmp_path):
    frames = [random_image((6, 10), np.uint16, 12) for _ in range(5)]
    names = [write_grey(tmp_path, f"f{k}.png", f, 12) for k, f in enumerate(frames)]
    stack = np.stack(frames).astype(np.float64)
    lum_cli("project", "--op", "max", "out.png", *names)
    out, sbit = pngfile.read(tmp_path / "out.png")
    assert sbit == 12
    np.testing.assert_array_equal(out, stack.max(axis=0))
    lum_cli("project", "--op", "min", "--direction", "rows", "rows.png", *names)
    np.testing.assert_array_equal(pngfile.read(tmp_path / "rows.png")[0], stack.min(axis=2).T)  # frame k in column k
    lum_cli("project", "--op", "mean", "mean.png", *names)
    assert np.abs(pngfile.read(tmp_path / "mean.png")[0] - stack.mean(axis=0)).max() <= 0.5
    write_grey(tmp_path, "small.png", np.zeros((3, 3), np.uint16), 12)
    r = lum_cli("project", "x.png", names[0], "small.png", expect=1)
    assert "small.png: differs from f0.png in size or format" in r.stderr


@needs("profile")
def test_profile_along_a_row(lum_cli, tmp_path):
    import lum.raw as lum
    pixels = random_image((12, 16), np.uint8)
    write_grey(tmp_path, "in.png", pixels)
    lines = lum_cli("profile", "--fast", "in.png", "2,5", "11,5").stdout.strip().split("\n")
    assert lines[0] == "index,value"
    # Ten pixels, both ends included: the samples of the row as they are.
    assert [int(float(line.split(",")[1])) for line in lines[1:]] == pixels[5, 2:12].tolist()
    record = json.loads(lum_cli("profile", "--format", "json", "--thickness", "3", "in.png", "2,2", "9,9").stdout)
    expected = lum.get_profile(lum.Image.from_array(pixels), (2, 2), (9, 9), 3)
    assert record["samples"] == expected.tolist()
    r = lum_cli("profile", "in.png", "2,2", "40,2", expect=1)
    assert "in.png: profile: argument out of range (-7)" in r.stderr


@needs("scale")
@pytest.mark.parametrize("channels", [1, 3])
def test_scale_maps_ranges(lum_cli, tmp_path, channels):
    shape = (6, 11) if channels == 1 else (6, 11, 3)
    frame = random_image(shape, np.uint16, 12)
    frame.flat[0], frame.flat[1] = 0, 4095
    write_grey(tmp_path, "f.png", frame, 12)
    lum_cli("scale", "--to", "8u", "f.png", "8.png")
    eight, _ = pngfile.read(tmp_path / "8.png")
    np.testing.assert_array_equal(eight, np.round(frame * (255 / 4095)).astype(np.uint8))
    lum_cli("scale", "--a", "2", "--b", "-100", "f.png", "ab.png")
    ab, sbit = pngfile.read(tmp_path / "ab.png")
    assert sbit == 12
    # Saturated at the output's valid bits: a 12-bit PNG holds nothing above 4095.
    np.testing.assert_array_equal(ab, np.clip(frame.astype(np.int64) * 2 - 100, 0, 4095))
    narrow = (frame // 4 + 1000).astype(np.uint16)
    write_grey(tmp_path, "n.png", narrow, 12)
    lum_cli("scale", "--stretch", "--to", "8u", "n.png", "s.png")
    stretched, _ = pngfile.read(tmp_path / "s.png")
    assert stretched.min() == 0 and stretched.max() == 255


# ---- Standard output is the tool's data ------------------------------------------

def test_library_messages_go_to_standard_error(lum_cli, tmp_path):
    write_grey(tmp_path, "a.png", random_image((20, 20), np.uint8))
    r = lum_cli("rotate", "a.png", "b.png", "nan", expect=1)
    assert r.stdout == ""
    assert "IPP function failed" in r.stderr and "lum rotate: a.png: rotate: primitive failed (-5)" in r.stderr
    assert not (tmp_path / "b.png").exists()


@needs("profile")
def test_a_failed_data_command_leaves_standard_output_empty(lum_cli, tmp_path):
    write_grey(tmp_path, "a.png", random_image((20, 20), np.uint8))
    # The digital line through (20, 20) leaves the image: the kernel fails and the library prints.
    r = lum_cli("profile", "--fast", "a.png", "0,0", "20,20", expect=1)
    assert r.stdout == "" and "IPP function failed" in r.stderr
    r = lum_cli("profile", "--format", "json", "--fast", "a.png", "0,0", "20,20", expect=1)
    assert r.stdout == ""
    # A failure on the second file leaves no half array behind.
    r = lum_cli("info", "--json", "a.png", "missing.png", expect=1)
    assert r.stdout == "" and "missing.png: cannot open for reading" in r.stderr
    assert json.loads(lum_cli("profile", "--format", "json", "--fast", "a.png", "0,0", "19,19").stdout)["samples"]


def run_bytes(args, cwd):
    path = os.environ["LUM_CLI"]
    return subprocess.run([os.fsencode(path), *args], capture_output=True, cwd=cwd)


def test_json_names_are_valid_utf8_whatever_the_file_name(tmp_path):
    names = {b"caf\xc3\xa9.png": "caf\u00e9.png",          # valid UTF-8 stays as it is
             b"caf\xe9.png": "caf\ufffd.png",              # a Latin-1 byte
             b"\xed\xa0\x80x.png": "\ufffd\ufffd\ufffdx.png",  # an encoded surrogate
             b"\xc0\xafy.png": "\ufffd\ufffdy.png",          # an overlong slash
             b"q\"\\\t\x01.png": "q\"\\\t\x01.png"}        # escapes
    for raw in names:
        pngfile.write(os.path.join(os.fsencode(tmp_path), raw), random_image((4, 5), np.uint8))
    r = run_bytes([b"info", b"--json", *names], tmp_path)
    assert r.returncode == 0, r.stderr
    records = json.loads(r.stdout.decode("utf-8"))  # strict: the document itself is valid UTF-8
    assert [rec["file"] for rec in records] == list(names.values())
    if "stats" in BUILT:
        r = run_bytes([b"stats", b"--json", b"caf\xe9.png"], tmp_path)
        assert json.loads(r.stdout.decode("utf-8"))[0]["file"] == "caf\ufffd.png"


# ---- 12- and 16-bit PNG as other programs read them --------------------------------

def twelve_bit_stored(v):
    """12-bit samples as a PNG stores them: scaled to 16 bits by bit replication."""
    v = v.astype(np.uint32)
    return ((v << 4) | (v >> 8)).astype(np.uint16)


def test_lum_writes_12_bit_files_that_other_readers_see_full_range(lum_cli, tmp_path):
    from PIL import Image as PILImage
    import cv2
    eight = random_image((24, 40), np.uint8)
    eight[0, 0], eight[0, 1] = 0, 255
    PILImage.fromarray(eight).save(tmp_path / "in8.png")
    lum_cli("convert", "--to", "16u", "--shift", "4", "in8.png", "out12.png")
    assert lum_cli("info", "out12.png").stdout.startswith("out12.png: 40 x 24, grey, 16u, 12 valid bits")
    expected = twelve_bit_stored(eight.astype(np.uint16) << 4)
    assert expected[0, 0] == 0 and expected[0, 1] == 0xff0f
    stored, sbit = pngfile.read_stored(tmp_path / "out12.png")
    assert sbit == 12
    np.testing.assert_array_equal(stored, expected)
    np.testing.assert_array_equal(np.array(PILImage.open(tmp_path / "out12.png")), expected)
    np.testing.assert_array_equal(cv2.imread(str(tmp_path / "out12.png"), cv2.IMREAD_UNCHANGED), expected)
    # Colour, through OpenCV (which orders channels BGR).
    colour = random_image((9, 13, 3), np.uint16, 12)
    pngfile.write(tmp_path / "c12.png", colour, significant_bits=12)
    lum_cli("convert", "c12.png", "c12_out.png")
    seen = cv2.imread(str(tmp_path / "c12_out.png"), cv2.IMREAD_UNCHANGED)[:, :, ::-1]
    np.testing.assert_array_equal(seen, twelve_bit_stored(colour))


def test_lum_reads_standard_12_bit_files_back_to_their_values(lum_cli, tmp_path):
    from PIL import Image as PILImage, PngImagePlugin
    frame = random_image((30, 50), np.uint16, 12)
    frame[frame > 4040] = 4040
    frame[3, 7] = 4040
    chunks = PngImagePlugin.PngInfo()
    chunks.add(b"sBIT", bytes([12]))
    PILImage.fromarray(twelve_bit_stored(frame)).save(tmp_path / "std12.png", pnginfo=chunks)
    assert "12 valid bits" in lum_cli("info", "std12.png").stdout
    if "stats" in BUILT:
        record = json.loads(lum_cli("stats", "--json", "std12.png").stdout)[0]
        assert record["max"] == 4040 and record["sum"] == frame.sum()
    # Round trip: the same stored samples come out again.
    lum_cli("convert", "std12.png", "again.png")
    np.testing.assert_array_equal(pngfile.read_stored(tmp_path / "again.png")[0], twelve_bit_stored(frame))
    # A 16-bit file without sBIT has 16 valid bits and is taken as it is.
    import cv2
    full = random_image((5, 6), np.uint16)
    cv2.imwrite(str(tmp_path / "cv16.png"), full)
    assert "16 valid bits" in lum_cli("info", "cv16.png").stdout
    lum_cli("convert", "cv16.png", "cv16_out.png")
    back, sbit = pngfile.read_stored(tmp_path / "cv16_out.png")
    assert sbit is None
    np.testing.assert_array_equal(back, full)


@pytest.mark.parametrize("bits", [9, 10, 12, 15])
def test_every_valid_bit_count_round_trips_exactly(lum_cli, tmp_path, bits):
    frame = random_image((7, 300), np.uint16, bits)
    frame[0, :2] = 0, (1 << bits) - 1
    pngfile.write(tmp_path / "in.png", frame, significant_bits=bits)
    lum_cli("convert", "in.png", "out.png")
    stored, sbit = pngfile.read_stored(tmp_path / "out.png")
    assert sbit == bits and stored[0, 1] == 65535
    np.testing.assert_array_equal(stored, pngfile.widen(frame, bits, 16))
    np.testing.assert_array_equal(pngfile.read(tmp_path / "out.png")[0], frame)


# ---- Headers are cheap, bombs are refused ----------------------------------------

def claimed(path, width, height, depth=8, colour_type=0):
    """A tiny PNG whose header claims width x height; its data holds one row."""
    import struct
    import zlib
    row = b"\0" * (1 + width * (depth // 8) * (3 if colour_type == 2 else 1))
    chunks = [(b"IHDR", struct.pack(">IIBBBBB", width, height, depth, colour_type, 0, 0, 0)),
              (b"IDAT", zlib.compress(row, 9)), (b"IEND", b"")]
    out = b"\x89PNG\r\n\x1a\n"
    for kind, data in chunks:
        out += struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data) & 0xFFFFFFFF)
    path.write_bytes(out)


def test_info_reads_headers_only_and_every_command_refuses_bombs(lum_cli, tmp_path):
    claimed(tmp_path / "bomb.png", 100000, 100000)
    assert (tmp_path / "bomb.png").stat().st_size < 300
    record = json.loads(lum_cli("info", "--json", "bomb.png").stdout)[0]
    assert (record["width"], record["height"], record["format"], record["valid_bits"]) == (100000, 100000, "8u", 8)
    refusal = "bomb.png: 100000 x 100000 is 10000000000 pixels, more than the limit of 268435456 (raise it with --max-pixels)"
    calls = {"convert": ["bomb.png", "x.png"], "stats": ["bomb.png"], "histogram": ["bomb.png"],
             "threshold": ["bomb.png", "x.png", "1"], "morph": ["bomb.png", "x.png"], "contours": ["bomb.png"],
             "mirror": ["bomb.png", "x.png"], "resize": ["--factor", "0.5", "bomb.png", "x.png"],
             "rotate": ["bomb.png", "x.png", "10"], "scale": ["bomb.png", "x.png"],
             "profile": ["bomb.png", "0,0", "5,5"], "project": ["x.png", "bomb.png"], "measure": ["bomb.png"]}
    for name, arguments in calls.items():
        if name in BUILT:
            r = lum_cli(name, *arguments, expect=1)
            assert refusal in r.stderr, (name, r.stderr)
            assert r.stdout == ""
    assert {"convert", "stats"} <= BUILT


def test_max_pixels_sets_the_limit(lum_cli, tmp_path):
    write_grey(tmp_path, "a.png", random_image((100, 100), np.uint8))
    r = lum_cli("convert", "--max-pixels", "9999", "a.png", "b.png", expect=1)
    assert "a.png: 100 x 100 is 10000 pixels, more than the limit of 9999" in r.stderr
    lum_cli("convert", "--max-pixels", "10000", "a.png", "b.png")
    assert "--max-pixels N" in lum_cli("convert", "--help").stdout
    assert "--max-pixels must be at least 1" in lum_cli("convert", "--max-pixels", "0", "a.png", "b.png", expect=2).stderr
    if "resize" in BUILT:  # images the tool makes are held to the same limit
        r = lum_cli("resize", "--max-pixels", "20000", "--size", "200x200", "a.png", "big.png", expect=1)
        assert "cannot create 200 x 200 8u: more than the limit of 20000 pixels" in r.stderr


# ---- Objects (lum_measure_objects) -----------------------------------------------

@needs("measure")
def test_measure_reports_each_object(lum_cli, tmp_path):
    pixels = blobs()                   # a 24 x 15 plate, a disc with a hole, a 2 x 2 speck
    write_grey(tmp_path, "in.png", pixels)
    record = json.loads(lum_cli("measure", "in.png").stdout)
    assert (record["width"], record["height"], record["count"]) == (96, 64, 3)
    objects = sorted(record["objects"], key=lambda o: o["area"])
    assert [o["label"] for o in sorted(record["objects"], key=lambda o: o["label"])] == [1, 2, 3]
    speck, plate, disc = objects
    assert speck["area"] == 4 and speck["bbox"] == [10, 50, 2, 2] and speck["centroid"] == [10.5, 50.5]
    assert disc["holes"] == 1 and disc["bbox"] == [48, 28, 25, 25] and plate["holes"] == 0
    assert set(plate) >= {"orientation", "major_axis", "minor_axis"}

    lines = lum_cli("measure", "--format", "csv", "--min-area", "5", "in.png").stdout.strip().split("\n")
    assert lines[0] == "label,area,centroid_x,centroid_y,x,y,width,height,holes,orientation,major_axis,minor_axis"
    assert sorted(int(line.split(",")[1]) for line in lines[1:]) == [plate["area"], disc["area"]]


@needs("measure")
def test_measure_writes_the_label_image(lum_cli, tmp_path):
    write_grey(tmp_path, "in.png", blobs(dtype=np.uint16, high=4095), 12)
    record = json.loads(lum_cli("measure", "--min-area", "5", "--labels", "labels.png", "in.png").stdout)
    assert record["count"] == 2 and record["min_area"] == 5
    labels, sbit = pngfile.read(tmp_path / "labels.png")
    assert labels.dtype == np.uint16 and labels.shape == (64, 96) and sbit is None
    for obj in record["objects"]:
        mask = labels == obj["label"]
        assert mask.sum() == obj["area"]
        x, y, w, h = obj["bbox"]
        ys, xs = np.nonzero(mask)
        assert (xs.min(), ys.min(), xs.max() - xs.min() + 1, ys.max() - ys.min() + 1) == (x, y, w, h)


@needs("measure")
def test_measure_on_empty_and_unsuitable_images(lum_cli, tmp_path):
    write_grey(tmp_path, "empty.png", np.zeros((8, 8), np.uint8))
    record = json.loads(lum_cli("measure", "empty.png").stdout)
    assert record["count"] == 0 and record["objects"] == []
    assert lum_cli("measure", "--format", "csv", "empty.png").stdout.count("\n") == 1
    write_grey(tmp_path, "colour.png", np.zeros((8, 8, 3), np.uint8))
    r = lum_cli("measure", "colour.png", expect=1)
    assert r.stderr.startswith("lum measure: colour.png: object count: ") and r.stdout == ""
    assert "--format is json or csv" in lum_cli("measure", "--format", "xml", "empty.png", expect=2).stderr


@needs("demo")
def test_demo_finds_the_parts_it_drew(lum_cli, tmp_path):
    out = lum_cli("demo", "run").stdout
    report = json.loads((tmp_path / "run" / "report.json").read_text())
    assert len(report["objects"]) == report["parts_drawn"] == 12
    assert "12 objects found (12 parts drawn)" in out
    for name in ("frame12.png", "frame8.png", "binary.png", "opened.png", "overlay.png"):
        assert (tmp_path / "run" / name).stat().st_size > 0
    assert pngfile.header(tmp_path / "run" / "frame12.png") == (1600, 1200, 16, 0, 12)
    assert pngfile.header(tmp_path / "run" / "overlay.png") == (1600, 1200, 8, 2, None)
    assert set(report["timings_ms"]) >= {"Otsu threshold", "binarize", "open (5 x 5)", "measure objects"}
    opened = pngfile.read(tmp_path / "run" / "opened.png")[0] > 0
    assert sum(o["area"] for o in report["objects"]) == opened.sum()  # every object pixel, once
    assert sum(o["holes"] for o in report["objects"]) > 0  # the demo draws ring-shaped parts
