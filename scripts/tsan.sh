#!/usr/bin/env bash
# Usage: tsan.sh TEST_REGEX TARGET...
# The ThreadSanitizer build (library and command; Python and benchmarks off;
# tests on so that ctest knows them) builds only the targets named and runs
# the tests matching TEST_REGEX, each in a process of its own. Any report
# fails the run. The pool's and the viewer's checks share the build.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${KALVIRO_BUILD_DIR:-$root/build/tsan}"
tests="$1"
shift

bash "$root/scripts/setup.sh"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DKALVIRO_WERROR=ON -DKALVIRO_SANITIZE=OFF -DKALVIRO_TESTS=ON \
    -DKALVIRO_APPS=ON -DKALVIRO_PYTHON=OFF -DKALVIRO_BENCH=OFF \
    -DCMAKE_CXX_FLAGS="-fsanitize=thread" -DCMAKE_C_FLAGS="-fsanitize=thread" \
    -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=thread" -DCMAKE_SHARED_LINKER_FLAGS="-fsanitize=thread"
cmake --build "$build" --target "$@"
# setarch -R: the sanitizer's shadow layout needs an address space without
# the randomisation some kernels apply. KALVIRO_TSAN_SUPPRESSIONS names
# a file that lists what an uninstrumented library does.
TSAN_OPTIONS="halt_on_error=1:abort_on_error=1:second_deadlock_stack=1${KALVIRO_TSAN_SUPPRESSIONS:+:suppressions=$KALVIRO_TSAN_SUPPRESSIONS}" \
    setarch "$(uname -m)" -R ctest --test-dir "$build" --output-on-failure -R "$tests"
