#!/usr/bin/env bash
# Compares kalviro's exp and integer powers with MPFR over every float
# argument: exp over all 2^32 float bit patterns, the powers 3 to 7 over every
# finite float. Both run at once, one per core; about an hour of processor
# time in all. Prints one summary line each (counts and seconds) and exits
# non-zero on any difference.
#
#   scripts/prove_math.sh [exp|pow]... [-- ARGS]
#
# ARGS go to each prover, e.g. `-- --from 0x80000000 --to 0xffffffff` for
# the negative floats only: a run can be split, or resumed from the last
# range its progress lines report done.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${KALVIRO_BUILD_DIR:-$root/build/test}"

bash "$root/scripts/setup.sh"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DKALVIRO_WERROR=ON -DKALVIRO_SANITIZE=OFF -DKALVIRO_TESTS=ON >/dev/null
cmake --build "$build" --target prove_rounded

which=()
while [ "$#" -gt 0 ] && [ "$1" != "--" ]; do
    which+=("$1")
    shift
done
[ "$#" -eq 0 ] || shift
[ "${#which[@]}" -gt 0 ] || which=(exp pow)
pids=()
for w in "${which[@]}"; do
    "$build/tests/prove_rounded" "$w" "$@" &
    pids+=("$!")
done
status=0
for pid in "${pids[@]}"; do
    wait "$pid" || status=1
done
exit "$status"
