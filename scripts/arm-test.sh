#!/usr/bin/env bash
# Builds kalviro and its tests for 64-bit Arm with Debian's cross compiler and
# runs the suite under qemu-user: the same bits on Arm as on x86.
# Arguments go to ctest.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${KALVIRO_ARM_BUILD_DIR:-$root/build/arm}"

bash "$root/scripts/setup.sh" g++-aarch64-linux-gnu qemu-user
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/aarch64-linux-gnu.cmake" \
    -DKALVIRO_WERROR=ON -DKALVIRO_APPS=OFF -DKALVIRO_BENCH=OFF -DKALVIRO_TESTS=ON
cmake --build "$build"
ctest --test-dir "$build" --output-on-failure -j "$(nproc)" "$@"
