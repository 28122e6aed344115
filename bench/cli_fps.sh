#!/usr/bin/env bash
# Frames per second of `kalviro convert` on a synthetic 640x512 sequence of
# 1,000 frames, serial and threaded, for a JSON report (conversion and
# statistics), a float TIFF (1.3 MB written a frame), PNG files (false
# colour and compression, one file a frame), videos (H.264, VP8, GIF) and
# the gray-value archive (--counts).
#
#   bench/cli_fps.sh [KALVIRO] [WORK_DIR]
# KALVIRO defaults to build/run/apps/kalviro (scripts/run.sh builds it).
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
kalviro="$(realpath "${1:-$root/build/run/apps/kalviro}")"
work="${2:-$(mktemp -d)}"
frames="${KALVIRO_FPS_FRAMES:-1000}"
cores="$(nproc)"

cd "$work"
"$kalviro" synth --caltype 21 --size 640x512 --frames "$frames" --scene hotspot -o seq.raw --force
# Wall-clock frames per second, and the processor time the run took: on a
# machine shared with other work the second says what the first cannot.
TIMEFORMAT='    processor: %U s user, %S s system'
for out in json tiff png mp4 webm gif "tiff --counts"; do
    for threads in 1 "$cores"; do
        printf '%-14s %s thread(s): ' "$out" "$threads"
        # shellcheck disable=SC2086 # "tiff --counts": an extension and its flag
        time "$kalviro" convert seq.raw --caltype 21 -j "$threads" -o fps.$out --force | grep 'frames/s'
    done
done
rm -f seq.raw fps.json fps.tiff fps_*.png fps.mp4 fps.webm fps.gif
