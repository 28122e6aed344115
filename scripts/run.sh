#!/usr/bin/env bash
# Builds kalviro (Release) and converts a frame with kalviro-convert: the
# built-in sample without arguments, else FRAME WIDTH HEIGHT CALTYPE [EMISSIVITY].
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${KALVIRO_BUILD_DIR:-$root/build/run}"

bash "$root/scripts/setup.sh"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DKALVIRO_TESTS=OFF -DKALVIRO_BENCH=OFF -DKALVIRO_APPS=ON -DKALVIRO_SANITIZE=OFF
cmake --build "$build" --target kalviro-convert
"$build/apps/kalviro-convert" "$@"
