#!/usr/bin/env bash
# Builds the library, its DLL and the test suite for 64-bit Windows with
# Debian's MinGW-w64 and runs the suite under Wine: the same bits on Windows
# as on Linux. Needs no display: the tests are console programs, and Wine
# runs in a fresh prefix inside the build directory.
#
#   scripts/windows-test.sh [CTEST ARGS...]
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${KALVIRO_WINDOWS_BUILD_DIR:-$root/build/windows}"

bash "$root/scripts/setup.sh" g++-mingw-w64-x86-64-posix wine wine64

# Wine's own prefix, made afresh: nothing of an earlier run or of the
# user's ~/.wine takes part. No Mono or Gecko (the tests need neither, and
# their installers would ask for a window), and no messages of Wine's own.
export WINEPREFIX="$build/wineprefix"
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml="
mkdir -p "$build"
rm -rf "$WINEPREFIX"
# Made before the build, whose test discovery runs the suite under Wine with
# a time limit that a first start of Wine could exceed.
timeout 300 wineboot --init >/dev/null 2>&1 || true
wineserver --wait

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/x86_64-w64-mingw32.cmake" \
    -DKALVIRO_WERROR=ON -DKALVIRO_APPS=OFF -DKALVIRO_PYTHON=OFF -DKALVIRO_BENCH=OFF -DKALVIRO_TESTS=ON
cmake --build "$build"
status=0
ctest --test-dir "$build" --output-on-failure -j "$(nproc)" "$@" || status=$?
wineserver --kill || true
exit "$status"
