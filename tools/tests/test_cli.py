"""The command-line tool on PNG files written by the test itself."""
import json

import numpy as np
import pytest

import pngfile

RNG = np.random.default_rng(7)


def random_image(shape, dtype, bits=None):
    top = (1 << bits) - 1 if bits else np.iinfo(dtype).max
    return RNG.integers(0, top + 1, shape, dtype=dtype)


def test_help_lists_commands_and_explains_each(lum_cli):
    out = lum_cli("--help").stdout
    for name in ("info", "convert"):
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


def test_convert_reports_unwritable_output(lum_cli, tmp_path):
    pngfile.write(tmp_path / "in.png", random_image((4, 4), np.uint8))
    r = lum_cli("convert", "in.png", "no/such/dir/out.png", expect=1)
    assert "no/such/dir/out.png: cannot open for writing" in r.stderr
