#!/usr/bin/env python3
"""Inspects a folder of frames on a Dask cluster with lum: each frame is thresholded (Otsu),
opened and measured on whichever worker gets it, and the objects come back to this process.

    /usr/bin/python3 examples/dask_inspect.py FRAMES/                          # a local cluster
    /usr/bin/python3 examples/dask_inspect.py FRAMES/ --scheduler tcp://HEAD:8786

Frames are 8- or 16-bit grey PNG files (or .npy arrays). On a real cluster every worker needs
the package lum installed and the folder at the same path (shared storage); this script sends its
own code to the workers. Prints one CSV line per frame.
"""
import argparse
import glob
import os
import sys

import numpy as np

import lum


def load(path):
    """A frame as a uint8 or uint16 grey array."""
    if path.endswith(".npy"):
        frame = np.load(path)
    else:
        from PIL import Image
        with Image.open(path) as image:
            frame = np.asarray(image)  # 16-bit PNG files open as 32-bit integers
    if frame.dtype not in (np.uint8, np.uint16):
        if not np.issubdtype(frame.dtype, np.integer) or frame.min() < 0 or frame.max() > 65535:
            raise ValueError(f"{path}: not an 8- or 16-bit grey frame ({frame.dtype})")
        frame = frame.astype(np.uint16)
    if frame.ndim != 2:
        raise ValueError(f"{path}: not a grey frame (shape {frame.shape})")
    return frame


def inspect_frame(frame, min_area=20):
    """Otsu's threshold, the foreground opened with a 3 x 3 element, and its objects."""
    t = lum.threshold_otsu(frame)
    binary = lum.opening(lum.binarize(frame, t + 1), size=(3, 3))  # foreground: above t
    return {"threshold": t, "objects": lum.measure(binary, min_area=min_area)}


def inspect_path(path, min_area=20):
    result = inspect_frame(load(path), min_area)
    result["frame"] = os.path.basename(path)
    result["worker"] = os.getpid()
    return result


def frame_paths(folder, pattern="*"):
    return sorted(p for p in glob.glob(os.path.join(folder, pattern)) if p.endswith((".png", ".npy")))


def inspect_folder(folder, client, pattern="*", min_area=20):
    """The results of inspect_path for every frame of the folder, in name order, computed on the
    client's cluster with dask.bag (one task per frame)."""
    import dask.bag as db
    paths = frame_paths(folder, pattern)
    if not paths:
        return []
    client.upload_file(os.path.abspath(__file__))  # the workers import this module to run its functions
    bag = db.from_sequence(paths, npartitions=len(paths)).map(inspect_path, min_area=min_area)
    return client.compute(bag).result()


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("folder")
    parser.add_argument("--scheduler", help="address of a running scheduler (default: start a local cluster)")
    parser.add_argument("--workers", type=int, default=os.cpu_count() or 1,
                        help="worker processes of the local cluster (default: one per core)")
    parser.add_argument("--pattern", default="*", help="file name pattern within the folder")
    parser.add_argument("--min-area", type=int, default=20)
    args = parser.parse_args(argv)
    from distributed import Client, LocalCluster
    cluster = None
    if args.scheduler:
        client = Client(args.scheduler)
    else:
        cluster = LocalCluster(n_workers=args.workers, threads_per_worker=1, dashboard_address=None)
        client = Client(cluster)
    try:
        results = inspect_folder(args.folder, client, args.pattern, args.min_area)
    finally:
        client.close()
        if cluster is not None:
            cluster.close()
    print("frame,threshold,objects,area,mean_centroid_x,mean_centroid_y")
    for r in results:
        o = r["objects"]
        cx = f"{o['centroid_x'].mean():.2f}" if len(o) else ""
        cy = f"{o['centroid_y'].mean():.2f}" if len(o) else ""
        print(f"{r['frame']},{r['threshold']},{len(o)},{int(o['area'].sum())},{cx},{cy}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
