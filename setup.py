"""The build step pyproject.toml cannot state: compile the shared library and put it in the package.

The library is configured with CMake (tests, benchmark and demo off), only its target is built,
with one job per core (CMAKE_BUILD_PARALLEL_LEVEL overrides), and liblum_lib.so is copied into the
built package, where lum finds it first. Build files go to build/pip in the checkout, or to
$LUM_PIP_BUILD_DIR.
"""
import os
import shutil
import subprocess

from setuptools import setup
from setuptools.command.build_py import build_py
from setuptools.dist import Distribution

ROOT = os.path.dirname(os.path.abspath(__file__))
BUILD = os.path.abspath(os.environ.get("LUM_PIP_BUILD_DIR") or os.path.join(ROOT, "build", "pip"))


class BuildWithLibrary(build_py):
    def run(self):
        super().run()
        cmake_dir = os.path.join(BUILD, "cmake")
        subprocess.check_call(["cmake", "-S", ROOT, "-B", cmake_dir, "-DCMAKE_BUILD_TYPE=Release",
                               "-DLUM_BUILD_TESTS=OFF", "-DLUM_BUILD_BENCH=OFF", "-DLUM_BUILD_DEMO=OFF"])
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL") or str(os.cpu_count() or 1)
        subprocess.check_call(["cmake", "--build", cmake_dir, "--target", "lum_lib", "-j", jobs])
        library = os.path.realpath(os.path.join(cmake_dir, "liblum_lib.so"))
        target = os.path.join(self.build_lib, "lum", "liblum_lib.so")
        if not self.dry_run:
            shutil.copyfile(library, target)
            os.chmod(target, 0o755)


class BinaryDistribution(Distribution):
    """The wheel holds a compiled library: tag it for this platform."""

    def has_ext_modules(self):
        return True


os.makedirs(BUILD, exist_ok=True)
setup(cmdclass={"build_py": BuildWithLibrary}, distclass=BinaryDistribution,
      options={"build": {"build_base": BUILD}, "egg_info": {"egg_base": BUILD}})
