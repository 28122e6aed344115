#!/usr/bin/env python3
"""The Python call's overhead on one 640 x 512 frame.

Camera.convert against the same work done in C++ alone (the per-frame call,
then the frame through Camera::realFrame), measured side by side in one
process on the same frame and block, in alternating rounds; medians of the
per-frame times. Needs the built package on the path:

    PYTHONPATH=build/run/python /usr/bin/python3 bench/python_bench.py [CALTYPE...]
"""

import pathlib
import statistics
import sys
import time

import numpy as np

import kalviro
from kalviro import _kalviro

WIDTH, HEIGHT = 640, 512
ROUNDS, REPEATS = 15, 40
VECTORS = pathlib.Path(__file__).resolve().parents[1] / "tests" / "vectors"


def first_block(caltype):
    """The first block written for the CalType in the reference vectors, or
    a block of zeros."""
    for path in sorted(VECTORS.glob("*.txt")):
        current = None
        with open(path) as f:
            for line in f:
                if line.startswith("SEQ "):
                    current = int(line.split()[1])
                elif line.startswith("FRAME ") and current == caltype:
                    return bytearray.fromhex(line.split()[1])
    return bytearray(kalviro.BLOCK_SIZE)


def python_seconds(call):
    times = []
    for _ in range(REPEATS):
        start = time.perf_counter()
        call()
        times.append(time.perf_counter() - start)
    return times


def measure(caltype):
    # The ramp of kalviro_bench: 1150 distinct gray values.
    y, x = np.mgrid[0:HEIGHT, 0:WIDTH]
    image = (500 + 3 * (x + y)).astype(np.uint16)
    block = first_block(caltype)
    cam = kalviro.Camera(caltype)
    out = np.empty(image.shape, np.float32)
    strided = np.zeros((HEIGHT, 2 * WIDTH), np.uint16)[:, ::2]
    strided[...] = image
    cpp = "C++ per-frame call + realFrame"
    runs = {cpp: [], "convert(out=...)": [], "convert()": [], "convert(strided)": []}
    for _ in range(ROUNDS):
        runs[cpp] += _kalviro._time_convert(caltype, image, block, 0.95, REPEATS)
        runs["convert(out=...)"] += python_seconds(lambda: cam.convert(image, block, 0.95, out=out))
        runs["convert()"] += python_seconds(lambda: cam.convert(image, block, 0.95))
        runs["convert(strided)"] += python_seconds(lambda: cam.convert(strided, block, 0.95, out=out))
    base = statistics.median(runs[cpp])
    print(f"CalType {caltype}, {WIDTH} x {HEIGHT}, median of {ROUNDS * REPEATS} frames each")
    for name, times in runs.items():
        median = statistics.median(times)
        print(f"  {name:32s} {median * 1e3:8.3f} ms  {100 * (median / base - 1):+6.1f} %")


if __name__ == "__main__":
    for arg in sys.argv[1:] or ["21", "20", "54"]:
        measure(int(arg))
