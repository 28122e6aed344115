#!/usr/bin/env bash
# Builds kalviro (Release) with its command, installs the Python package
# kalviro (with pip into the active virtual environment when there is one,
# else for the current user), then runs the command: without arguments
# `kalviro convert --demo --force`, which converts a built-in synthetic frame
# into demo.png and demo.json in the current directory; otherwise
# `kalviro ARGS...` (e.g. scripts/run.sh list).
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${KALVIRO_BUILD_DIR:-$root/build/run}"

bash "$root/scripts/setup.sh"

# The package goes where `pip install --user` would put it: the user site of
# Debian's python3, which needs no root and is searched before the system's.
python="${KALVIRO_PYTHON_EXECUTABLE:-/usr/bin/python3}"
site="$("$python" -m site --user-site)"

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DKALVIRO_TESTS=OFF -DKALVIRO_BENCH=OFF -DKALVIRO_APPS=ON -DKALVIRO_SANITIZE=OFF \
    -DKALVIRO_PYTHON=ON -DPython3_EXECUTABLE="$python" -DKALVIRO_PYTHON_INSTALL_DIR="$site"
if [ -n "${VIRTUAL_ENV:-}" ] && [ -z "${KALVIRO_PYTHON_EXECUTABLE:-}" ]; then
    # The environment's pip builds the package offline with the build
    # packages setup.sh installed (the environment must see the system's
    # site packages: python3 -m venv --system-site-packages).
    python="$VIRTUAL_ENV/bin/python"
    cmake --build "$build" --target kalviro_cli
    "$python" -m pip install --quiet --no-build-isolation --no-index "$root"
else
    cmake --build "$build" --target kalviro_cli _kalviro
    cmake --install "$build" --component python >/dev/null
fi
echo "run: Python package kalviro $("$python" -c 'import kalviro; print(kalviro.__version__, "in", kalviro.__file__)' | sed 's|/__init__.py||')"
if [ "$#" -eq 0 ]; then
    set -- convert --demo --force
fi
"$build/apps/kalviro" "$@"
