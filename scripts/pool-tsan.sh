#!/usr/bin/env bash
# The worker pool under ThreadSanitizer: only the library and the pool's
# tests, built with -fsanitize=thread, run with more rounds than the plain
# suite gives them. Any report fails the run.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${KALVIRO_BUILD_DIR:-$root/build/tsan}"
rounds="${1:-40}"

bash "$root/scripts/setup.sh"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DKALVIRO_WERROR=ON -DKALVIRO_SANITIZE=OFF -DKALVIRO_TESTS=ON \
    -DKALVIRO_APPS=OFF -DKALVIRO_PYTHON=OFF -DKALVIRO_BENCH=OFF \
    -DCMAKE_CXX_FLAGS="-fsanitize=thread" -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=thread" \
    -DCMAKE_SHARED_LINKER_FLAGS="-fsanitize=thread"
cmake --build "$build" --target kalviro_pool_tests
# Each test in a process of its own, as ctest runs them: a child of fork()
# that starts threads must come from a process without any. setarch -R: the
# sanitizer's shadow layout needs an address space without the randomisation
# some kernels apply.
TSAN_OPTIONS="halt_on_error=1:abort_on_error=1:second_deadlock_stack=1" \
KALVIRO_POOL_ROUNDS="$rounds" \
    setarch "$(uname -m)" -R ctest --test-dir "$build" --output-on-failure -R '^Pool\.'
