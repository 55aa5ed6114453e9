"""Calls from many threads at once give what one thread gives: the layer keeps no shared state
between calls, and each call's borrowed handles are its own."""
from concurrent.futures import ThreadPoolExecutor

import numpy as np

import lum
from lum._native import measure_objects_function


def pipeline(frame):
    t = lum.threshold_otsu(frame)
    binary = lum.opening(lum.binarize(frame, t + 1), size=(3, 3))
    objects = lum.measure(binary).tobytes() if measure_objects_function() else b""
    contours = [c.tobytes() for c in lum.find_contours(binary)]
    return (t, binary.tobytes(), objects, contours, lum.stats(frame),
            lum.resize(frame, (40, 30), "lanczos").tobytes(), lum.rotate(frame, 33).tobytes())


def test_a_thread_pool_gives_the_sequential_results():
    rng = np.random.default_rng(12)
    frames = []
    for k in range(24):
        frame = rng.integers(0, 60, (90, 120), dtype=np.uint8)
        for _ in range(4):
            y, x = rng.integers(5, 80), rng.integers(5, 110)
            frame[y:y + 8, x:x + 9] += 150
        frames.append(frame if k % 3 else frame[:, ::-1])  # some copied on the way in
    alone = [pipeline(f) for f in frames]
    shared = frames[0]
    with ThreadPoolExecutor(max_workers=8) as pool:
        together = list(pool.map(pipeline, frames * 3))
        same_input = list(pool.map(pipeline, [shared] * 16))  # one array read by many calls at once
    assert together == alone * 3
    assert all(r == alone[0] for r in same_input)
