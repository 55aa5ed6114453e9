import os
import subprocess
import sys

import pytest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "python"))


class Cli:
    def __init__(self, path, workdir):
        self.path = path
        self.workdir = workdir

    def __call__(self, *args, expect=0):
        r = subprocess.run([self.path, *map(str, args)], capture_output=True, text=True, cwd=self.workdir)
        assert r.returncode == expect, f"lum {' '.join(map(str, args))} -> {r.returncode}\n{r.stdout}\n{r.stderr}"
        return r


@pytest.fixture
def lum_cli(tmp_path):
    path = os.environ.get("LUM_CLI")
    if not path:
        pytest.fail("LUM_CLI must name the lum executable")
    return Cli(path, tmp_path)
