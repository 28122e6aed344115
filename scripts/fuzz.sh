#!/usr/bin/env bash
# Fuzzes the C entries with libFuzzer under AddressSanitizer and
# UndefinedBehaviorSanitizer, from the seed corpus in fuzz/corpus, and fails on
# the first finding (the input is left in build/fuzz/artifacts/).
#
#   scripts/fuzz.sh SECONDS [LIBFUZZER FLAGS...]   fuzz for that long
#   scripts/fuzz.sh --coverage                     replay the corpus with coverage,
#                                                  report lines and branches of src/
#
# New inputs go to build/fuzz/corpus, which later runs start from as well.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${KALVIRO_FUZZ_BUILD_DIR:-$root/build/fuzz}"
found="$build/corpus"

if [ $# -lt 1 ]; then
    echo "usage: $0 SECONDS [libFuzzer flags...] | --coverage" >&2
    exit 2
fi

tools=(clang libclang-rt-dev)
if [ "$1" = "--coverage" ]; then tools+=(llvm); fi
bash "$root/scripts/setup.sh" "${tools[@]}"
if ! command -v clang++ >/dev/null 2>&1; then
    echo "fuzz: clang++ not found, the fuzz target is not built" >&2
    exit 1
fi

configure() {  # build dir, extra cmake arguments
    local dir="$1"
    shift
    cmake -S "$root/fuzz" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ "$@" >/dev/null
    cmake --build "$dir" --target kalviro_fuzz
}

if [ "$1" = "--coverage" ]; then
    cover="$build-coverage"
    configure "$cover" -DKALVIRO_FUZZ_COVERAGE=ON
    mkdir -p "$found"
    rm -f "$cover"/*.profraw
    LLVM_PROFILE_FILE="$cover/replay.profraw" \
        "$cover/kalviro_fuzz" -runs=0 -close_fd_mask=1 "$found" "$root/fuzz/corpus" 2>&1 | tail -n 2
    llvm-profdata merge -sparse -o "$cover/replay.profdata" "$cover/replay.profraw"
    llvm-cov report "$cover/kalviro_fuzz" -instr-profile="$cover/replay.profdata" \
        -show-branch-summary -show-region-summary=false "$root/src"
    exit 0
fi

seconds="$1"
shift
configure "$build"
mkdir -p "$found" "$build/artifacts"
# Standard output is closed for the target: the frame split prints its two
# error lines there, millions of times. Errors are fatal (-fno-sanitize-recover).
ASAN_OPTIONS="abort_on_error=1:detect_leaks=1:strict_string_checks=1" \
UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1" \
    "$build/kalviro_fuzz" -max_total_time="$seconds" -timeout=10 -max_len=688 -close_fd_mask=1 \
    -dict="$root/fuzz/kalviro.dict" -artifact_prefix="$build/artifacts/" -print_final_stats=1 \
    "$@" "$found" "$root/fuzz/corpus"
