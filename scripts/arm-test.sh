#!/usr/bin/env bash
# Builds kalviro and its tests for Arm with Debian's cross compiler and runs
# the suite under qemu-user: the same bits on Arm as on x86.
#
#   scripts/arm-test.sh [aarch64|armhf] [CTEST ARGS...]
#
# aarch64 (the default) is 64-bit Arm; armhf is 32-bit Arm with hard float.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
arch="aarch64"
case "${1:-}" in
    aarch64 | armhf)
        arch="$1"
        shift
        ;;
esac
case "$arch" in
    aarch64) triple=aarch64-linux-gnu ;;
    armhf) triple=arm-linux-gnueabihf ;;
esac
build="${KALVIRO_ARM_BUILD_DIR:-$root/build/arm-$arch}"

bash "$root/scripts/setup.sh" "g++-$triple" qemu-user
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/$triple.cmake" \
    -DKALVIRO_WERROR=ON -DKALVIRO_APPS=OFF -DKALVIRO_BENCH=OFF -DKALVIRO_TESTS=ON
cmake --build "$build"
ctest --test-dir "$build" --output-on-failure -j "$(nproc)" "$@"
