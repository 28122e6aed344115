#!/usr/bin/env bash
# The viewer's server under ThreadSanitizer: the library and the command
# built with -fsanitize=thread, running the viewer's HTTP tests (the live
# ones too: the reader thread fills the store while the server's threads
# read it). Any report stops the viewer, and so fails its test.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
# The pool's ThreadSanitizer build, when there is one, has the library built.
# Tests on only so that the viewer's tests are registered: nothing is built
# but the command and the per-pixel program they compare with.
build="${KALVIRO_BUILD_DIR:-$root/build/tsan}"

bash "$root/scripts/setup.sh"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DKALVIRO_WERROR=ON -DKALVIRO_SANITIZE=OFF -DKALVIRO_TESTS=ON \
    -DKALVIRO_APPS=ON -DKALVIRO_PYTHON=OFF -DKALVIRO_BENCH=OFF \
    -DCMAKE_CXX_FLAGS="-fsanitize=thread" -DCMAKE_C_FLAGS="-fsanitize=thread" \
    -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=thread" -DCMAKE_SHARED_LINKER_FLAGS="-fsanitize=thread"
cmake --build "$build" --target kalviro_cli kalviro_per_pixel
# setarch -R: the sanitizer's shadow layout needs an address space without
# the randomisation some kernels apply.
TSAN_OPTIONS="halt_on_error=1:abort_on_error=1:second_deadlock_stack=1" \
    setarch "$(uname -m)" -R ctest --test-dir "$build" --output-on-failure -R '^view_http$'
