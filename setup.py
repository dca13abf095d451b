"""Builds the Python module varnock with the project's CMake build.

The extension varnock._varnock and the two Varnock libraries it loads (libvarnock.so and the
engine libvarnockdss.so, found beside it through RPATH $ORIGIN) are built by CMake and copied
into the package. Extra CMake arguments can be given in the environment variable
VARNOCK_CMAKE_ARGS (for example "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache").
"""

import glob
import os
import shlex
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = os.path.dirname(os.path.abspath(__file__))


class CMakeExtension(Extension):
    def __init__(self, name):
        super().__init__(name, sources=[])


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        target = os.path.abspath(self.get_ext_fullpath(ext.name))
        package_dir = os.path.dirname(target)
        build_dir = os.path.abspath(os.path.join(self.build_temp, "cmake"))
        configure = [
            "cmake", "-S", ROOT, "-B", build_dir,
            "-DCMAKE_BUILD_TYPE=Release",
            "-DVARNOCK_PYTHON=ON", "-DVARNOCK_TESTS=OFF", "-DVARNOCK_BENCH=OFF",
            "-DPython_EXECUTABLE=" + sys.executable,
        ]
        if shutil.which("ninja") and not os.path.exists(os.path.join(build_dir, "CMakeCache.txt")):
            configure += ["-G", "Ninja"]
        configure += shlex.split(os.environ.get("VARNOCK_CMAKE_ARGS", ""))
        subprocess.check_call(configure)
        jobs = os.environ.get("CMAKE_BUILD_PARALLEL_LEVEL", str(os.cpu_count() or 1))
        subprocess.check_call(["cmake", "--build", build_dir, "--target", "varnock_python", "-j", jobs])
        built = os.path.join(build_dir, "python", "varnock")
        os.makedirs(package_dir, exist_ok=True)
        extension = glob.glob(os.path.join(built, "_varnock*.so"))
        if len(extension) != 1:
            raise RuntimeError("the CMake build made no single extension in " + built)
        shutil.copy2(extension[0], target)
        for library in ("libvarnock.so", "libvarnockdss.so"):
            shutil.copy2(os.path.join(built, library), os.path.join(package_dir, library))


setup(
    packages=["varnock"],
    package_dir={"": "python"},
    package_data={"varnock": ["*.pyi", "py.typed"]},
    ext_modules=[CMakeExtension("varnock._varnock")],
    cmdclass={"build_ext": CMakeBuild},
    # Out of the way of a CMake build folder named "build".
    options={"build": {"build_base": "build-pip"}},
    zip_safe=False,
)
