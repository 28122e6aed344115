"""The Python package through the project's CMake: scikit-build configures
and builds the extension and installs the package's CMake component."""

import re
from pathlib import Path

from skbuild import setup

root = Path(__file__).resolve().parent
# The version has one home, the CMake project.
version = re.search(r"project\(kalviro VERSION ([0-9.]+)", (root / "CMakeLists.txt").read_text()).group(1)

cmake_args = [
    "-DCMAKE_BUILD_TYPE=Release",
    "-DKALVIRO_TESTS=OFF",
    "-DKALVIRO_BENCH=OFF",
    "-DKALVIRO_APPS=OFF",
    "-DKALVIRO_SANITIZE=OFF",
    "-DKALVIRO_PYTHON=ON",
    "-DKALVIRO_PYTHON_REQUIRED=ON",
    # Where package_dir says the package lies, relative to scikit-build's
    # prefix: so the installed files are the package's.
    "-DKALVIRO_PYTHON_INSTALL_DIR=python",
]
try:  # pybind11 from PyPI in an isolated build; Debian's is found by CMake
    import pybind11

    cmake_args.append(f"-Dpybind11_DIR={pybind11.get_cmake_dir()}")
except ImportError:
    pass

setup(
    version=version,
    packages=["kalviro"],
    package_dir={"kalviro": "python/kalviro"},
    cmake_args=cmake_args,
    cmake_install_target="kalviro_python_install",
)
