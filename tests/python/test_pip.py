"""pip installs the package into a fresh virtual environment, offline, from
a copy of the source tree; it imports and converts from outside the tree,
xarray finds its engine, and pip uninstall removes it."""

import os
import pathlib
import shutil
import subprocess
import sys

import pytest

SOURCE_DIR = pathlib.Path(os.environ.get("KALVIRO_SOURCE_DIR", pathlib.Path(__file__).resolve().parents[2]))
SKIP = shutil.ignore_patterns(".git", "build*", "_skbuild", "*.egg-info", "__pycache__", "vectors", "node_modules")

CHECK = """
import sys, numpy as np, kalviro
assert kalviro.__file__.startswith(sys.prefix), kalviro.__file__
image, block = kalviro.split_frame(bytearray(2 * 4 * 3 + 512), 4, 3)
assert kalviro.Camera(21).convert(image, block).shape == (3, 4)
try:
    import xarray
except ImportError:
    pass
else:
    open("rec.raw", "wb").write(bytes(2 * (2 * 4 * 3 + 512)))
    ds = xarray.open_dataset("rec.raw", engine="kalviro", caltype=21, width=4, height=3)
    assert ds.temperature.shape == (2, 3, 4)
print("ok", kalviro.__version__)
"""


def run(args, cwd, env):
    done = subprocess.run(args, cwd=cwd, env=env, capture_output=True, text=True, timeout=900)
    assert done.returncode == 0, f"{' '.join(map(str, args))}\n{done.stdout[-3000:]}\n{done.stderr[-3000:]}"
    return done.stdout


def test_pip_install_into_a_virtual_environment_and_uninstall(tmp_path):
    pytest.importorskip("skbuild")
    source = tmp_path / "source"
    shutil.copytree(SOURCE_DIR, source, ignore=SKIP)
    venv = tmp_path / "venv"
    # The build packages are Debian's: the environment sees the system's.
    subprocess.run([sys.executable, "-m", "venv", "--system-site-packages", str(venv)], check=True, timeout=120)
    python = venv / "bin" / "python"
    env = {k: v for k, v in os.environ.items() if not k.startswith(("PYTHON", "PIP_", "VIRTUAL_ENV"))}
    env.update(PIP_NO_INDEX="1", PIP_DISABLE_PIP_VERSION_CHECK="1", CMAKE_BUILD_PARALLEL_LEVEL=str(os.cpu_count() or 2))
    if shutil.which("ccache"):
        env.update(CMAKE_CXX_COMPILER_LAUNCHER="ccache", CMAKE_C_COMPILER_LAUNCHER="ccache")
    run([python, "-m", "pip", "install", "--no-build-isolation", "--no-index", "."], source, env)
    outside = tmp_path / "elsewhere"
    outside.mkdir()
    assert run([python, "-c", CHECK], outside, env).startswith("ok")
    run([python, "-m", "pip", "uninstall", "-y", "kalviro"], outside, env)
    gone = subprocess.run([python, "-c", "import kalviro"], cwd=outside, env=env, capture_output=True, text=True)
    assert gone.returncode != 0 and "No module named 'kalviro'" in gone.stderr
    assert not list((venv / "lib").glob("python3*/site-packages/kalviro*"))
