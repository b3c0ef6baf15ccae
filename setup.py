"""Builds the Python package: `pip install --no-build-isolation --no-index .` (docs/python.md).

CMake compiles the extension module. An existing build in build/release that was made for the same interpreter is
reused; otherwise build/python is configured with the libraries that the module needs. ccache is used where it is
installed.
"""

import os
import re
import shutil
import subprocess
import sys
import sysconfig
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent
SUFFIX = sysconfig.get_config_var("EXT_SUFFIX")


class BuildByCMake(build_ext):
    def build_extension(self, extension):
        build = release_build() or configured_build()
        subprocess.run(["cmake", "--build", str(build), "--target", "dipx_python"], check=True)
        target = Path(self.get_ext_fullpath(extension.name))
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(build / "python" / "dipx" / f"_dipx{SUFFIX}", target)


def release_build():
    """Returns build/release if it makes the module for this interpreter."""
    build = ROOT / "build" / "release"
    cache = build / "CMakeCache.txt"
    found = re.search(r"^Python_EXECUTABLE:\w+=(.*)$", cache.read_text(), re.MULTILINE) if cache.exists() else None
    if not found:
        return None
    asked = "import sysconfig; print(sysconfig.get_config_var('EXT_SUFFIX'))"
    suffix = subprocess.run([found[1], "-c", asked], capture_output=True, text=True, check=False).stdout.strip()
    return build if suffix == SUFFIX else None


def configured_build():
    build = ROOT / "build" / "python"
    options = ["-DCMAKE_BUILD_TYPE=Release", "-DDIPX_PYTHON=ON", "-DDIPX_PAGE=OFF", "-DDIPX_BUILD_TESTS=OFF",
               "-DDIPX_BUILD_BENCHMARKS=OFF", f"-DPython_EXECUTABLE={sys.executable}"]
    if shutil.which("ninja"):
        options += ["-G", "Ninja"]
    if shutil.which("ccache") and "CMAKE_CXX_COMPILER_LAUNCHER" not in os.environ:
        options += ["-DCMAKE_C_COMPILER_LAUNCHER=ccache", "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"]
    subprocess.run(["cmake", "-S", str(ROOT), "-B", str(build), *options], check=True)
    return build


def version():
    return re.search(r"project\(dipx VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text())[1]


# All that is made on the way is in the folder of builds, which version control ignores.
BUILD = ROOT / "build" / "setuptools"
BUILD.mkdir(parents=True, exist_ok=True)
setup(
    version=version(),
    ext_modules=[Extension("dipx._dipx", sources=[])],
    cmdclass={"build_ext": BuildByCMake},
    options={"build": {"build_base": str(BUILD)}, "egg_info": {"egg_base": str(BUILD)}},
)
