#!/usr/bin/env python3
"""Frames per second of a per-frame inspection pipeline with lum, on one thread and on every core.

    /usr/bin/python3 python/bench/threads.py [--frames 48] [--size 1600x1200] [--threads N]

Each synthetic 12-bit frame (parts on an uneven background, like the demo's) goes through
right_shift to 8 bits, threshold_otsu, binarize, opening 5 x 5, measure (find_contours when the
library lacks lum_measure_objects), a profile across the frame and a resize to half size. The
frames run through a concurrent.futures.ThreadPoolExecutor of 1 and of N workers (default: the
machine's cores); the library releases the GIL in every call, so the workers overlap. Other
programs on the machine share the cores: the load average is printed with the figures.
"""
import argparse
import os
import sys
import time
from concurrent.futures import ThreadPoolExecutor

import numpy as np

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
import lum  # noqa: E402
from lum._native import measure_objects_function  # noqa: E402


def make_frames(n, width, height, seed=1):
    rng = np.random.default_rng(seed)
    yy, xx = np.mgrid[:height, :width]
    background = 400 + 300 * (xx / width) + 200 * (yy / height)
    frames = []
    for _ in range(n):
        frame = background + rng.normal(0, 30, (height, width))
        for _ in range(12):
            cx, cy = rng.uniform(60, width - 60), rng.uniform(60, height - 60)
            rx, ry = rng.uniform(15, 50), rng.uniform(15, 50)
            frame[((xx - cx) / rx) ** 2 + ((yy - cy) / ry) ** 2 <= 1] += 2500
        frames.append(np.clip(frame, 0, 4095).astype(np.uint16))
    return frames


def inspect(frame, objects_of):
    eight = lum.right_shift(frame, 4, dtype=np.uint8, valid_bits=12)
    t = lum.threshold_otsu(eight)
    binary = lum.opening(lum.binarize(eight, t + 1), size=(5, 5))
    found = objects_of(binary)
    h, w = frame.shape
    line = lum.profile(eight, (0, h // 2), (w - 1, h // 2))
    small = lum.resize(eight, (w // 2, h // 2))
    return t, len(found), int(line.sum()), int(small[h // 4, w // 4])


def run(frames, workers, objects_of):
    with ThreadPoolExecutor(max_workers=workers) as pool:
        start = time.perf_counter()
        results = list(pool.map(lambda f: inspect(f, objects_of), frames))
        return time.perf_counter() - start, results


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--frames", type=int, default=48)
    parser.add_argument("--size", default="1600x1200", help="WIDTHxHEIGHT")
    parser.add_argument("--threads", type=int, default=os.cpu_count() or 1)
    args = parser.parse_args()
    width, height = (int(v) for v in args.size.lower().split("x"))
    objects_of = lum.measure if measure_objects_function() else lum.find_contours
    frames = make_frames(args.frames, width, height)
    run(frames[:2], 1, objects_of)  # first calls choose the kernels and fault the pages in
    print(f"{args.frames} frames of {width} x {height}, 12 bits; objects by "
          f"{'measure' if objects_of is lum.measure else 'find_contours'}; {os.cpu_count()} cores, "
          f"load average {os.getloadavg()[0]:.2f} before")
    print("threads  seconds  frames/s  speed-up")
    base, reference = None, None
    for workers in sorted({1, args.threads}):
        seconds, results = run(frames, workers, objects_of)
        if reference is None:
            reference = results
        elif results != reference:
            raise SystemExit("threads changed the results")
        rate = args.frames / seconds
        base = base or rate
        print(f"{workers:7d}  {seconds:7.2f}  {rate:8.1f}  {rate / base:8.2f}")
    print(f"load average {os.getloadavg()[0]:.2f} after")
    return 0


if __name__ == "__main__":
    sys.exit(main())
