"""`pip install .` from the checkout into a fresh virtual environment, offline, then `import lum`
from another directory with neither PYTHONPATH nor LUM_LIB, and one operation.

Usage: pip_install_test.py SOURCE_DIR WORK_DIR (run by ctest with Debian's /usr/bin/python3)."""
import os
import shutil
import subprocess
import sys

source, work = (os.path.abspath(p) for p in sys.argv[1:3])
shutil.rmtree(work, ignore_errors=True)
os.makedirs(work)
venv = os.path.join(work, "venv")
env = {k: v for k, v in os.environ.items() if k not in ("LUM_LIB", "PYTHONPATH", "PYTHONHOME")}


def run(*command, cwd):
    print("+", " ".join(command), flush=True)
    subprocess.run(command, cwd=cwd, env=env, check=True)


run(sys.executable, "-m", "venv", "--system-site-packages", venv, cwd=work)
env["LUM_PIP_BUILD_DIR"] = os.path.join(work, "build")  # keeps the checkout free of build files
run(os.path.join(venv, "bin", "pip"), "install", "--no-build-isolation", "--no-index", ".", cwd=source)
del env["LUM_PIP_BUILD_DIR"]
check = """
import os, numpy as np, lum
package = os.path.dirname(lum.__file__)
assert os.path.realpath(package).startswith(os.path.realpath(os.environ["VENV"])), package
assert os.path.dirname(lum._native.lib._name) == package, lum._native.lib._name
binary = lum.binarize(np.array([[10, 200], [99, 100]], np.uint8), 100)
assert binary.tolist() == [[0, 255], [0, 255]], binary
print("lum", lum.__version__, "from", package)
"""
env["VENV"] = venv
run(os.path.join(venv, "bin", "python"), "-c", check, cwd=work)
