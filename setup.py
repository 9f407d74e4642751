"""Builds the compiled part of the xmldsig package, _xmldsig, with the
project's CMake build and puts it next to the package's Python files.

CMake is configured for the module alone (no tests, benchmarks or install
rules) for the interpreter that runs this build, under build-pip/ (setuptools'
build folder, moved off build/ where the checkout's own CMake build lives). CMAKE_ARGS adds
configure arguments (a compiler launcher, say); CMAKE_BUILD_PARALLEL_LEVEL
sets the jobs, as for any CMake build.
"""

import os
import pathlib
import re
import shlex
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

SOURCE_DIR = pathlib.Path(__file__).resolve().parent
MODULE_TARGET = "_xmldsig"


def project_version():
    """The version that CMakeLists.txt's project() gives, its one place."""
    text = (SOURCE_DIR / "CMakeLists.txt").read_text(encoding="utf-8")
    match = re.search(r"project\(xmldsig\s+VERSION\s+([0-9.]+)", text)
    if match is None:
        raise RuntimeError("CMakeLists.txt: no project(xmldsig VERSION ...)")
    return match.group(1)


class CMakeExtension(Extension):
    """The module CMake's target builds; setuptools compiles no sources."""

    def __init__(self, name):
        super().__init__(name, sources=[])


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        build_dir = pathlib.Path(self.build_temp).resolve() / "cmake"
        configure = [
            "cmake", "-S", str(SOURCE_DIR), "-B", str(build_dir),
            "-DCMAKE_BUILD_TYPE=Release",
            "-DXMLDSIG_PYTHON=ON", "-DXMLDSIG_TESTS=OFF", "-DXMLDSIG_BENCH=OFF", "-DXMLDSIG_INSTALL=OFF",
            f"-DPython_EXECUTABLE={sys.executable}", f"-DPYTHON_EXECUTABLE={sys.executable}",
            *shlex.split(os.environ.get("CMAKE_ARGS", "")),
        ]
        subprocess.run(configure, check=True)
        subprocess.run(["cmake", "--build", str(build_dir), "--target", MODULE_TARGET], check=True)
        built = build_dir / "python" / "xmldsig" / self.get_ext_filename(MODULE_TARGET)
        destination = pathlib.Path(self.get_ext_fullpath(ext.name))
        destination.parent.mkdir(parents=True, exist_ok=True)
        self.copy_file(str(built), str(destination))


setup(
    version=project_version(),
    options={"build": {"build_base": "build-pip"}},
    ext_modules=[CMakeExtension(f"xmldsig.{MODULE_TARGET}")],
    cmdclass={"build_ext": CMakeBuild},
)
