#!/usr/bin/env bash
# Builds kalviro with warnings as errors and runs the whole test suite.
# Arguments go to ctest (e.g. -R install).
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${KALVIRO_BUILD_DIR:-$root/build/test}"

bash "$root/scripts/setup.sh"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DKALVIRO_WERROR=ON -DKALVIRO_SANITIZE=OFF -DKALVIRO_TESTS=ON
cmake --build "$build"
ctest --test-dir "$build" --output-on-failure -j "$(nproc)" "$@"
