#!/usr/bin/env python3
"""kalviro.open and kalviro.scan against Camera.convert_sequence.

Writes a recording of FRAMES frames of 640 x 512 (CalType 21, the vectors'
blocks, random gray values) into a temporary folder, then times, in
alternating rounds, medians:
  - list(Camera.convert_sequence(path, threads=2)) stacked into one array;
  - kalviro.open(path).temperature.compute() (every core, no Dask);
  - the same with chunks={"frame": 100} on Dask's threads;
and the scan of a sparse 10,000-frame 640 x 512 recording (blocks only).
Goals: open at most 1.5 times convert_sequence, the scan under a second.

    PYTHONPATH=build/run/python /usr/bin/python3 bench/python_open.py [FRAMES]
"""

import pathlib
import statistics
import sys
import tempfile
import time

import numpy as np

import kalviro

WIDTH, HEIGHT, CALTYPE = 640, 512, 21
VECTORS = pathlib.Path(__file__).resolve().parents[1] / "tests" / "vectors"


def blocks():
    for path in sorted(VECTORS.glob("*.txt")):
        found, inside = [], False
        for line in path.read_text().splitlines():
            if line.startswith("SEQ "):
                inside = int(line.split()[1]) == CALTYPE
            elif inside and line.startswith("FRAME "):
                found.append(bytes.fromhex(line.split()[1]))
        if found:
            return found
    return [bytes(512)]


def write(path, frames):
    rng = np.random.default_rng(1)
    bs = blocks()
    image = rng.integers(3000, 9000, (HEIGHT, WIDTH)).astype("<u2").tobytes()
    with open(path, "wb") as f:
        for k in range(frames):
            f.write(image)
            f.write(bs[k % len(bs)])


def sparse(path, frames):
    """Blocks only: the images are holes, read as zeros."""
    bs, frame = blocks(), 2 * WIDTH * HEIGHT + 512
    with open(path, "wb") as f:
        f.truncate(frames * frame)
        for k in range(frames):
            f.seek(k * frame + frame - 512)
            f.write(bs[k % len(bs)])


def timed(f):
    start = time.perf_counter()
    f()
    return time.perf_counter() - start


def main():
    frames = int(sys.argv[1]) if len(sys.argv) > 1 else 1000
    with tempfile.TemporaryDirectory() as tmp:
        path = pathlib.Path(tmp) / "rec.raw"
        write(path, frames)
        runs = {
            "convert_sequence(threads=2)": lambda: np.stack(
                list(kalviro.Camera(CALTYPE).convert_sequence(path, WIDTH, HEIGHT, threads=2))
            ),
            "open().temperature.compute()": lambda: kalviro.open(path, CALTYPE, WIDTH, HEIGHT).temperature.compute(),
            "open(chunks=100 frames) on Dask's threads": lambda: kalviro.open(
                path, CALTYPE, WIDTH, HEIGHT, chunks={"frame": 100}
            ).temperature.compute(),
        }
        times = {name: [] for name in runs}
        for _ in range(3):
            for name, run in runs.items():
                times[name].append(timed(run))
        base = statistics.median(times["convert_sequence(threads=2)"])
        print(f"{frames} frames of {WIDTH} x {HEIGHT}, CalType {CALTYPE}")
        for name, t in times.items():
            m = statistics.median(t)
            print(f"  {name:44s} {m:7.3f} s  {m / frames * 1e3:6.2f} ms/frame  x{m / base:.2f}")
        path.unlink()
        deep = pathlib.Path(tmp) / "deep.raw"
        sparse(deep, 10_000)
        t = statistics.median(timed(lambda: kalviro.scan(deep, CALTYPE, WIDTH, HEIGHT)) for _ in range(3))
        print(f"  scan of 10,000 frames                        {t:7.3f} s  {t / 10_000 * 1e6:6.1f} us/frame")


if __name__ == "__main__":
    main()
