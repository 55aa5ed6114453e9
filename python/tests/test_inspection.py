"""The README's inspection task, run as the README prints it: at most 10 lines, and the same
threshold, binary image, objects, profile and resized image as the C interface gives (lum.raw)."""
import os
import re

import numpy as np
import pytest

import lum
from lum import raw
from lum._native import measure_objects_function

README = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "README.md")


def readme_task():
    text = open(README, encoding="utf-8").read()
    section = text[text.index("## From Python"):]
    return re.search(r"```python\n(.*?)```", section, re.S).group(1)


def test_the_task_fits_in_ten_lines():
    lines = [line for line in readme_task().splitlines() if line.strip()]
    assert len(lines) <= 10 and "lum.measure" in readme_task()


@pytest.mark.skipif(measure_objects_function() is None, reason="the loaded library lacks lum_measure_objects")
def test_the_task_gives_the_c_interfaces_objects(capsys):
    ns = {}
    exec(compile(readme_task(), "README.md", "exec"), ns)
    image = ns["image"]
    h, w = image.shape
    src = raw.Image.from_array(image)
    t = raw.otsu_get_threshold(src)
    binary, opened = raw.Image(w, h), raw.Image(w, h)
    raw.binarization(src, binary, t + 1)
    raw.morph_open_close(binary, opened, (0, 2, 5, 5))
    records, count = raw.measure_objects(opened, 100)
    line = raw.get_profile(src, (0, 150), (383, 150), 1)
    small = raw.Image(192, 152)
    raw.resize(src, (0, 0), (w, h), small, (0, 0), (192, 152), 2)

    assert ns["t"] == t
    assert np.array_equal(ns["binary"], opened.array)
    assert count == len(ns["objects"]) > 10 and ns["objects"].tobytes() == records.tobytes()
    assert np.array_equal(ns["line"], line) and np.array_equal(ns["small"], small.array)
    assert capsys.readouterr().out.count("\n") == count  # one printed line per object
