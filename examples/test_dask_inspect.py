"""The Dask example on a LocalCluster of two worker processes over a few small frames gives what
one process gives."""
import os
import sys

import numpy as np
import pytest
from PIL import Image

from lum._native import measure_objects_function

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import dask_inspect  # noqa: E402

pytestmark = pytest.mark.skipif(measure_objects_function() is None,
                                reason="the loaded library does not export lum_measure_objects")


def write_frames(folder):
    rng = np.random.default_rng(4)
    yy, xx = np.mgrid[:90, :120]
    for k in range(6):
        frame = rng.normal(600, 40, (90, 120))
        for _ in range(3 + k):
            cx, cy, r = rng.uniform(10, 110), rng.uniform(10, 80), rng.uniform(3, 9)
            frame[(xx - cx) ** 2 + (yy - cy) ** 2 <= r * r] += 2500
        frame = np.clip(frame, 0, 4095).astype(np.uint16)
        if k % 2:
            Image.fromarray(frame).save(os.path.join(folder, f"frame{k}.png"))  # 16-bit grey
        else:
            Image.fromarray((frame >> 4).astype(np.uint8)).save(os.path.join(folder, f"frame{k}.png"))
    np.save(os.path.join(folder, "frame6.npy"), np.zeros((20, 30), np.uint8))  # an empty frame


def test_two_worker_processes_give_the_single_process_results(tmp_path):
    from distributed import Client, LocalCluster
    write_frames(str(tmp_path))
    with LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None) as cluster, \
            Client(cluster) as client:
        assert len(client.scheduler_info()["workers"]) == 2
        spread = dask_inspect.inspect_folder(str(tmp_path), client)
    alone = [dask_inspect.inspect_path(p) for p in dask_inspect.frame_paths(str(tmp_path))]
    names = [f"frame{k}.png" for k in range(6)] + ["frame6.npy"]
    assert [r["frame"] for r in spread] == [r["frame"] for r in alone] == names
    assert all(r["worker"] != os.getpid() for r in spread)
    for d, s in zip(spread, alone):
        assert d["threshold"] == s["threshold"]
        assert d["objects"].tobytes() == s["objects"].tobytes()
    assert all(len(r["objects"]) >= 3 for r in alone[:6])  # discs, some of them touching
    assert len(alone[6]["objects"]) == 0


def test_the_command_line_prints_a_line_per_frame(tmp_path, capsys):
    write_frames(str(tmp_path))
    assert dask_inspect.main([str(tmp_path), "--workers", "2", "--pattern", "frame[01]*"]) == 0
    lines = capsys.readouterr().out.splitlines()
    assert lines[0].startswith("frame,threshold,objects") and len(lines) == 3
    assert lines[1].startswith("frame0.png,") and lines[2].startswith("frame1.png,")
